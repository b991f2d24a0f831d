// The time axis of a record written to a file.
#ifndef TOVAK_TOOLS_AXIS_FILE_H_
#define TOVAK_TOOLS_AXIS_FILE_H_

#include <cstdint>
#include <string>
#include <vector>

namespace tovak::cli {

enum class AxisFormat { kNone, kCsv, kBinary };

// By extension: ".csv" text, ".bin" raw little-endian values; anything else
// is a usage error.
AxisFormat AxisFormatOf(const std::string& path);

// Entry k of axis is sample firstSample + k (the CSV "sample" column).
// Throws RunError with the system's reason when the file cannot be written.
void WriteAxis(const std::string& path, AxisFormat format, int64_t firstSample,
               const std::vector<double>& axis);
void WriteAxis(const std::string& path, AxisFormat format, int64_t firstSample,
               const std::vector<float>& axis);

}  // namespace tovak::cli

#endif  // TOVAK_TOOLS_AXIS_FILE_H_
