#include "tests/sweeps/SweepTest.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string_view>

#include "tests/support/Trees.h"

namespace quill_sweep {
namespace {

constexpr std::size_t kShownFindings = 25;

dev_t DeviceOf(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? status.st_dev : 0;
}

// A program and its tracer take turns, which is several times faster if both are on one processor.
void StayOnThisProcessor() {
  cpu_set_t processor;
  CPU_ZERO(&processor);
  CPU_SET(static_cast<unsigned>(::sched_getcpu()), &processor);
  (void)::sched_setaffinity(0, sizeof processor, &processor);  // without it the sweep is only slower
}

}  // namespace

bool IsFullSweep() {
  const char* wish = std::getenv("QUILL_SWEEP");
  return wish && std::string_view(wish) == "full";
}

bool IsChosenCall(int call) {
  const char* wish = std::getenv("QUILL_SWEEP_CALL");
  return !wish || std::atoi(wish) == call;
}

bool Exchange(const std::string& one, const std::string& other) {
  if (::renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0) return true;
  if (errno != EINVAL) return false;
  // The file system cannot exchange names, so rename in three steps: the traced program is stopped and sees no
  // difference.
  const std::string between = other + "-between";
  return ::rename(one.c_str(), between.c_str()) == 0 && ::rename(other.c_str(), one.c_str()) == 0 &&
         ::rename(between.c_str(), other.c_str()) == 0;
}

void RunBeside() {
  cpu_set_t processors;
  std::memset(&processors, 0xff, sizeof processors);
  CPU_CLR(static_cast<unsigned>(::sched_getcpu()), &processors);
  (void)::sched_setaffinity(0, sizeof processors, &processors);  // refused where there is but one
}

void Findings::Add(const std::string& where, const std::string& what) {
  if (!what.empty()) lines.push_back(where + ": " + what);
}

Findings::~Findings() {
  std::cout << title << ": " << points << " points, " << lines.size() << " findings";
  std::cout << (IsFullSweep() ? "" : " (thinned; QUILL_SWEEP=full runs all)") << std::endl;
  EXPECT_GT(points, 0U) << title;
  for (std::size_t i = 0; i < lines.size() && i < kShownFindings; ++i) ADD_FAILURE() << title << ", " << lines[i];
  if (lines.size() > kShownFindings) ADD_FAILURE() << title << ": " << lines.size() << " findings in all";
}

void SweepTest::SetUp() {
  DirectoryTest::SetUp();
  StayOnThisProcessor();
  for (const char* candidate : {"/dev/shm", "/tmp", "/var/tmp", "/run"}) {
    if (DeviceOf(candidate) == DeviceOf(Root())) continue;
    elsewhere = quill_test::MakeNumberedDirectory(candidate);
    if (!elsewhere.empty()) return;
  }
}

void SweepTest::TearDown() {
  if (!elsewhere.empty()) quill_test::RemoveAll(elsewhere);
  DirectoryTest::TearDown();
}

void SweepTest::ForEach(const std::vector<Verb>& verbs, const std::function<void(Scene&, Findings&)>& sweep) {
  const char* wish = std::getenv("QUILL_SWEEP_OPERATION");
  for (const auto& operation : Operations()) {
    const bool isChosen = !wish || operation.Title() == wish;
    if (!isChosen || std::find(verbs.begin(), verbs.end(), operation.verb) == verbs.end()) continue;
    if (operation.crosses && elsewhere.empty()) {
      std::cout << "SKIPPED " << operation.Title() << ": every writable directory is on one file system" << std::endl;
      continue;
    }
    Scene scene(operation, Root(), elsewhere);
    Findings findings(operation.Title());
    sweep(scene, findings);
  }
}

}  // namespace quill_sweep
