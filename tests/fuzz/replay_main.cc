// Runs a fuzz target over stored inputs, without a fuzzer: every file of
// the directories (or the files) named on the command line, in name order.
// A broken property aborts; otherwise the count of inputs is printed.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz_support.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> InputsUnder(const fs::path& path) {
  std::vector<fs::path> inputs;
  if (fs::is_regular_file(path)) {
    inputs.push_back(path);
  } else if (fs::is_directory(path)) {
    for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
      if (entry.is_regular_file()) inputs.push_back(entry.path());
    }
  }
  std::sort(inputs.begin(), inputs.end());
  return inputs;
}

std::string Contents(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace

int main(int argc, char** argv) {
  int replayed = 0;
  for (int i = 1; i < argc; ++i) {
    for (const fs::path& input : InputsUnder(argv[i])) {
      const std::string bytes = Contents(input);
      std::fprintf(stderr, "replaying %s\n", input.c_str());
      LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
      ++replayed;
    }
  }
  std::printf("%d inputs replayed\n", replayed);
  // A corpus that vanished must not pass as an empty run.
  return replayed > 0 ? 0 : 1;
}
