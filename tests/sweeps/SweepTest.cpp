#include "tests/sweeps/SweepTest.h"

#include <sched.h>
#include <sys/stat.h>

#include <cstdlib>
#include <iostream>

namespace quill_sweep {
namespace {

dev_t DeviceOf(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? status.st_dev : 0;
}

// A program and its tracer take turns: on one processor each turn costs a fraction.
void StayOnThisProcessor() {
  cpu_set_t processor;
  CPU_ZERO(&processor);
  CPU_SET(static_cast<unsigned>(::sched_getcpu()), &processor);
  (void)::sched_setaffinity(0, sizeof processor, &processor);  // only slower without
}

}  // namespace

void SweepTest::SetUp() {
  DirectoryTest::SetUp();
  StayOnThisProcessor();
  for (const char* candidate : {"/dev/shm", "/tmp", "/var/tmp", "/run"}) {
    std::string name = std::string(candidate) + "/quill-test.XXXXXX";
    if (DeviceOf(candidate) == DeviceOf(Root()) || !::mkdtemp(name.data())) continue;
    elsewhere = name;
    return;
  }
}

void SweepTest::TearDown() {
  if (!elsewhere.empty()) RemoveAll(elsewhere);
  DirectoryTest::TearDown();
}

void SweepTest::RecordSkipped(const std::string& title) {
  std::cout << "SKIPPED " << title << ": every writable directory is on one file system" << std::endl;
}

}  // namespace quill_sweep
