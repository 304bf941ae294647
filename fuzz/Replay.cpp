// Runs a fuzz target over the files of a directory and over random changes of them, with any compiler and without its
// fuzzing engine.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "fuzz/Fuzz.h"

namespace {

constexpr int kChangesOfEach = 25;

void Run(const std::string& bytes) {
  (void)LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

std::string Changed(std::string bytes, std::mt19937& random) {
  for (auto count = 1 + random() % 4; count > 0; --count) {
    const std::size_t place = random() % (bytes.size() + 1);
    const std::size_t length = random() % 8;
    if (random() % 2 == 0) bytes.insert(place, bytes.substr(random() % (bytes.size() + 1), length));
    if (place < bytes.size() && random() % 2 == 0) bytes[place] = static_cast<char>(random());
    if (random() % 4 == 0) bytes.erase(place, length);
  }
  return bytes;
}

void Replay(const std::filesystem::path& file, std::mt19937& random) {
  std::ifstream stream(file, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  Run(bytes);
  for (int change = 0; change < kChangesOfEach; ++change) Run(Changed(bytes, random));
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: %s directory\n", arguments[0]);
    return 2;
  }
  const auto seed = std::random_device{}();
  std::printf("seed %u\n", seed);
  std::mt19937 random(seed);
  int replayed = 0;
  for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) {
    std::printf("%s\n", entry.path().c_str());
    std::fflush(stdout);  // so that the file's name is seen if its replay ends the program
    Replay(entry.path(), random);
    ++replayed;
  }
  std::printf("%d inputs replayed\n", replayed);
  return replayed > 0 ? 0 : 1;
}
