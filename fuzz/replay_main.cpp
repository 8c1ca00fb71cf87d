// Runs a fuzz target without a fuzzer: once over every file of the folders given as arguments, or
// over random bytes:
//
//     replay-NAME FOLDER...
//     replay-NAME --random FIRST_SEED COUNT

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void Replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  file.exceptions(std::ios::badbit | std::ios::failbit);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  // The last name printed is the input that a crash belongs to.
  std::fprintf(stderr, "%s\n", path.c_str());
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

/// The bytes of a seed are always the same.
void RunRandom(unsigned long first, unsigned long count) {
  constexpr std::size_t LongestInput = 600;
  for (unsigned long seed = first; seed < first + count; ++seed) {
    std::fprintf(stderr, "\rseed %lu ", seed);
    std::mt19937 random(static_cast<std::mt19937::result_type>(seed));
    std::vector<std::uint8_t> bytes(random() % LongestInput);
    for (std::uint8_t& byte : bytes) {
      byte = static_cast<std::uint8_t>(random());
    }
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  }
  std::fprintf(stderr, "\r%lu seeds run\n", count);
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc == 4 && std::string(argv[1]) == "--random") {
    RunRandom(std::stoul(argv[2]), std::stoul(argv[3]));
    return 0;
  }
  std::size_t replayed = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
      if (entry.is_regular_file()) {
        Replay(entry.path());
        ++replayed;
      }
    }
  }
  std::fprintf(stderr, "%zu inputs replayed\n", replayed);
  return replayed > 0 ? 0 : 1;
} catch (const std::exception& error) {
  std::fprintf(stderr, "replay stopped: %s\n", error.what());
  return 1;
}
