// Mounts a separate file system for a test, where the machine allows that.
#pragma once

#include <sys/mount.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

namespace quill_test {

class Mount {
 public:
  /// \p type is one that needs no device: tmpfs, ramfs.
  Mount(const char* type, std::string directory, const char* options) : where(std::move(directory)) {
    if (::mount("quill-test", where.c_str(), type, 0, options) != 0) reason = errno;
  }
  Mount(const Mount&) = delete;
  Mount& operator=(const Mount&) = delete;
  ~Mount() {
    if (reason == 0) (void)::umount2(where.c_str(), MNT_DETACH);  // if this fails, the fixture reports what is left
  }

  explicit operator bool() const noexcept { return reason == 0; }
  /// The reason to give when the test is skipped.
  std::string WhyNot() const { return std::string("mounting is not allowed here: ") + std::strerror(reason); }

 private:
  std::string where;
  int reason = 0;
};

}  // namespace quill_test
