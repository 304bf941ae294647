// Runs a fuzz target over the files of a directory, with any compiler and without its fuzzing engine.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz/Fuzz.h"

namespace {

void Replay(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  (void)LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: %s directory\n", arguments[0]);
    return 2;
  }
  int replayed = 0;
  for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) {
    std::printf("%s\n", entry.path().c_str());
    std::fflush(stdout);  // names the file should its replay end the program
    Replay(entry.path());
    ++replayed;
  }
  std::printf("%d inputs replayed\n", replayed);
  return replayed > 0 ? 0 : 1;
}
