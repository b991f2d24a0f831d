// Replays a fuzz target over every file named or in the directories named,
// in name order. No input at all fails: a vanished corpus must not pass.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz_support.h"

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  std::vector<fs::path> inputs;
  for (int i = 1; i < argc; ++i) {
    if (fs::is_regular_file(argv[i])) inputs.emplace_back(argv[i]);
    if (fs::is_directory(argv[i])) inputs.insert(inputs.end(), fs::directory_iterator(argv[i]), {});
  }
  std::sort(inputs.begin(), inputs.end());
  for (const fs::path& input : inputs) {
    std::ifstream in(input, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    std::fprintf(stderr, "replaying %s\n", input.c_str());
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  }
  std::printf("%zu inputs replayed\n", inputs.size());
  return inputs.empty() ? 1 : 0;
}
