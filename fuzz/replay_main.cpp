// Replays fuzz inputs without libFuzzer: every file named on the command line,
// or every file in a named folder, is passed once to LLVMFuzzerTestOneInput.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

static void runFile(const std::filesystem::path& p, size_t& count) {
  std::ifstream in(p, std::ios::binary);
  std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  // A copy of exactly the input's size, so out-of-bounds reads are caught.
  std::vector<uint8_t> data(bytes.begin(), bytes.end());
  LLVMFuzzerTestOneInput(data.data(), data.size());
  ++count;
}

int main(int argc, char** argv) {
  size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    std::filesystem::path p(argv[i]);
    if (std::filesystem::is_directory(p)) {
      std::vector<std::filesystem::path> files;
      for (auto& e : std::filesystem::recursive_directory_iterator(p))
        if (e.is_regular_file()) files.push_back(e.path());
      std::sort(files.begin(), files.end());
      for (auto& f : files) runFile(f, count);
    } else {
      runFile(p, count);
    }
  }
  std::printf("replayed %zu inputs\n", count);
  return count ? 0 : 1;
}
