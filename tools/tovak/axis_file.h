// The time axis of a record written to a file.
#ifndef TOVAK_TOOLS_AXIS_FILE_H_
#define TOVAK_TOOLS_AXIS_FILE_H_

#include <string>
#include <vector>

namespace tovak::cli {

enum class AxisFormat { kNone, kCsv, kBinary };

// By extension: ".csv" text, ".bin" raw little-endian values; anything else
// is a usage error.
AxisFormat AxisFormatOf(const std::string& path);

// Throws UsageError when the file cannot be written.
void WriteAxis(const std::string& path, AxisFormat format, const std::vector<double>& axis);
void WriteAxis(const std::string& path, AxisFormat format, const std::vector<float>& axis);

}  // namespace tovak::cli

#endif  // TOVAK_TOOLS_AXIS_FILE_H_
