// What the benchmarks share: a directory of their own, timing of prepared work, and a loud end when something fails,
// since the time of work that was not done says nothing.
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

/// A path in the benchmarks' own directory below TMPDIR, which is removed at the end.
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

/// Seconds of the processor for this program and the programs that it has waited for.
double ProcessorTime();

/// As Register, with `prepare` run unmeasured before each piece of `work`. The counter "cpu" tells the seconds of the
/// processor, which others on the machine disturb least. More
/// settings may be made through the result.
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

// One subject each. Every benchmark is called BM_<Operation>/<contestant>[/<size>].
void RegisterStatus();
void RegisterFiles();
void RegisterListing();
void RegisterUrls();
void RegisterNames();
void RegisterTrees();
/// The desktop library's share of the subjects above; does nothing in a build without it.
void RegisterGLib();

}  // namespace bench
