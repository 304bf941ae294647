// What the benchmarks share: their working directory and the timing of prepared work. A failure ends the program, since
// the time of work that was not done means nothing.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "host/QuillFileString.h"

namespace bench {

/// Ends the program, naming \p what and errno's text.
void Require(bool worked, const char* what);

/// A path in the benchmarks' working directory below TMPDIR, which is removed at the end.
std::filesystem::path Scratch(const char* name);

/// Writes \p size bytes that no file system can compress away.
void MakeFile(const std::filesystem::path& path, std::size_t size);

/// The name of a benchmark with the size that it works on.
std::string Sized(std::string_view name, std::size_t size);

QuillFileString PathString(const std::filesystem::path& path);

/// Registers `operation`, measured as one piece each time.
template <typename Operation>
void Register(const std::string& name, Operation operation) {
  benchmark::RegisterBenchmark(name.c_str(), [operation](benchmark::State& state) {
    for (auto iteration : state) benchmark::DoNotOptimize(operation());
  });
}

/// The processor time of this program and of the children that it has waited for, in seconds.
double ProcessorTime();

/// As Register, with `prepare` run unmeasured before each piece of `work`. The counter "cpu" is the processor time in
/// seconds, which other programs on the machine disturb least. The result takes further settings.
template <typename Prepare, typename Work>
benchmark::internal::Benchmark* RegisterPrepared(const std::string& name, Prepare prepare, Work work) {
  const auto run = [prepare, work](benchmark::State& state) {
    double processor = 0;
    for (auto iteration : state) {
      prepare();
      const double processorBefore = ProcessorTime();
      const auto start = std::chrono::steady_clock::now();
      work();
      const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
      processor += ProcessorTime() - processorBefore;
      state.SetIterationTime(passed.count());
    }
    state.counters["cpu"] = benchmark::Counter(processor, benchmark::Counter::kAvgIterations);
  };
  return benchmark::RegisterBenchmark(name.c_str(), run)->UseManualTime()->Unit(benchmark::kMicrosecond);
}

/// The path whose conversions are measured.
inline constexpr const char* kUrlPath = "/home/somebody/Documents/Letters and Notes/a letter 2024.txt";

// Each registers the benchmarks of one subject, which are called BM_<Operation>/<contestant>[/<size>].
void RegisterStatus();
void RegisterFiles();
void RegisterListing();
void RegisterUrls();
void RegisterNames();
void RegisterTrees();
/// Registers the desktop library's benchmarks of these subjects; does nothing in a build without it.
void RegisterGLib();

}  // namespace bench
