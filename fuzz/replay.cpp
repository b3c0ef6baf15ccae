// Runs a fuzzer's function on stored inputs without the fuzzing library, so that the tests of every build can do it
// too.
//   NAME_replay PATH...          runs each file, and each file in each folder
//   NAME_replay --damage PATH... runs each of them truncated at every byte, and with every byte changed in several ways
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Bytes = std::vector<std::uint8_t>;

/// Runs the input from a block of exactly its size, so that reading past its end is detected.
void run(const Bytes& bytes, std::size_t size) {
  const Bytes exact(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
  LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

long run_damaged(Bytes bytes) {
  long runs = 0;
  for (std::size_t size = 0; size < bytes.size(); size++, runs++) run(bytes, size);
  for (std::uint8_t& byte : bytes) {
    const std::uint8_t whole = byte;
    for (const int flip : {0x01, 0x10, 0x80, 0xFF}) {
      byte = static_cast<std::uint8_t>(whole ^ flip);
      run(bytes, bytes.size());
      runs++;
    }
    byte = whole;
  }
  return runs;
}

std::vector<std::filesystem::path> files_in(const std::filesystem::path& path) {
  if (!std::filesystem::is_directory(path)) return {path};
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(path)) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

int main(int argc, char** argv) {
  const bool damage = argc > 1 && std::strcmp(argv[1], "--damage") == 0;
  long runs = 0;
  for (int i = damage ? 2 : 1; i < argc; i++) {
    for (const auto& file : files_in(argv[i])) {
      std::ifstream in(file, std::ios::binary);
      const Bytes bytes{std::istreambuf_iterator<char>(in), {}};
      if (in.bad() || bytes.empty()) {
        std::fprintf(stderr, "%s: nothing to read\n", file.c_str());
        return 1;
      }
      if (damage) {
        runs += run_damaged(bytes);
      } else {
        run(bytes, bytes.size());
        runs++;
      }
    }
  }
  std::fprintf(stderr, "%ld runs\n", runs);
  return runs > 0 ? 0 : 1;
}
