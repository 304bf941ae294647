// Runs the benchmarks. It takes the options of Google Benchmark.
#include <sys/resource.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>

#include "bench/Support.h"

namespace bench {
namespace {

#if defined(__OPTIMIZE__) && defined(NDEBUG)
constexpr bool kIsWorthMeasuring = true;
#else
constexpr bool kIsWorthMeasuring = false;
#endif

/// Created at the first call and removed when the program ends.
class ScratchDirectory {
 public:
  ScratchDirectory() : place(std::filesystem::temp_directory_path() / "quill-bench.XXXXXX") {
    Require(::mkdtemp(place.data()), "mkdtemp");
    // With the usual permissions, new directories have nothing to inherit that they do not have already.
    std::filesystem::permissions(place, std::filesystem::perms(0755));
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;
  ~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(place, ignored);
  }

  std::filesystem::path Place() const { return place; }

 private:
  std::string place;
};

}  // namespace

void Require(bool worked, const char* what) {
  if (worked) return;
  std::fprintf(stderr, "quill_bench: %s: %s\n", what, std::strerror(errno));
  std::exit(1);
}

double ProcessorTime() {
  double total = 0;
  for (const auto who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    struct rusage used;
    Require(::getrusage(who, &used) == 0, "getrusage");
    for (const auto& time : {used.ru_utime, used.ru_stime}) {
      total += static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    }
  }
  return total;
}

std::filesystem::path Scratch(const char* name) {
  static const ScratchDirectory directory;
  return directory.Place() / name;
}

void MakeFile(const std::filesystem::path& path, std::size_t size) {
  static const std::string noise = [] {
    std::mt19937 random(1);
    std::string bytes(1 << 20, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    return bytes;
  }();
  std::ofstream file(path, std::ios::binary);
  for (std::size_t rest = size; rest > 0; rest -= std::min(rest, noise.size())) {
    file.write(noise.data(), static_cast<std::streamsize>(std::min(rest, noise.size())));
  }
  file.close();
  Require(file.good(), path.c_str());
}

std::string Sized(std::string_view name, std::size_t size) {
  return std::string(name).append("/").append(std::to_string(size));
}

QuillFileString PathString(const std::filesystem::path& path) {
  QuillFileString result;
  result.setUTF8(path.c_str());
  return result;
}

}  // namespace bench

int main(int argc, char** argv) {
  if (!bench::kIsWorthMeasuring) {
    std::fputs("quill_bench: this build is not optimised or checks assertions; build the release preset\n", stderr);
    return 1;
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  bench::RegisterStatus();
  bench::RegisterFiles();
  bench::RegisterListing();
  bench::RegisterUrls();
  bench::RegisterNames();
  bench::RegisterTrees();
  bench::RegisterGLib();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
