#include "axis_file.h"

#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "command.h"

namespace tovak::cli {
namespace {

bool EndsWith(const std::string& text, const char* suffix) {
  const size_t n = std::strlen(suffix);
  return text.size() >= n && text.compare(text.size() - n, n, suffix) == 0;
}

struct FileCloser {
  void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

[[noreturn]] void Fail(const std::string& path, int error) {
  throw RunError("cannot write " + path + ": " + std::strerror(error));
}

File Open(const std::string& path) {
  File file(std::fopen(path.c_str(), "wb"));
  if (!file) Fail(path, errno);
  return file;
}

template <class T>
void Write(const std::string& path, AxisFormat format, int64_t firstSample,
           const std::vector<T>& axis) {
  File file = Open(path);
  errno = 0;
  if (format == AxisFormat::kCsv) {
    std::fprintf(file.get(), "sample,time_s\n");
    for (size_t k = 0; k < axis.size(); ++k) {
      std::fprintf(file.get(), "%lld,%.*g\n",
                   static_cast<long long>(firstSample) + static_cast<long long>(k),
                   sizeof(T) == 8 ? 17 : 9, static_cast<double>(axis[k]));
    }
  } else {
    static_assert(std::endian::native == std::endian::little,
                  "binary axis files are written little-endian as in memory");
    if (!axis.empty()) std::fwrite(axis.data(), sizeof(T), axis.size(), file.get());
  }
  if (std::ferror(file.get()) || std::fflush(file.get()) != 0) Fail(path, errno ? errno : EIO);
  if (std::fclose(file.release()) != 0) Fail(path, errno);
}

}  // namespace

AxisFormat AxisFormatOf(const std::string& path) {
  if (EndsWith(path, ".csv")) return AxisFormat::kCsv;
  if (EndsWith(path, ".bin")) return AxisFormat::kBinary;
  throw UsageError("--axis: the file name must end in .csv or .bin: " + path);
}

void WriteAxis(const std::string& path, AxisFormat format, int64_t firstSample,
               const std::vector<double>& axis) {
  Write(path, format, firstSample, axis);
}

void WriteAxis(const std::string& path, AxisFormat format, int64_t firstSample,
               const std::vector<float>& axis) {
  Write(path, format, firstSample, axis);
}

}  // namespace tovak::cli
