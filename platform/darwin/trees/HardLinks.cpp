#include "platform/darwin/trees/HardLinks.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cinttypes>
#include <cstdio>

#include "platform/darwin/descriptors/Retry.h"

namespace quill::darwin {
namespace {

/// The time of creation tells a file from a later one that got the same inode.
struct KeptName {
  explicit KeptName(const TreeItem& source) {
    std::snprintf(text, sizeof text, "%" PRIx64 ".%" PRIx64 ".%" PRIx64 ".%lx", source.device, source.inode,
                  static_cast<std::uint64_t>(source.created.tv_sec), source.created.tv_nsec);
  }
  char text[80];
};

int Link(int fromDirectory, const char* from, int toDirectory, const char* to) {
  return Retry([&] { return ::linkat(fromDirectory, from, toDirectory, to, 0); }) == 0 ? 0 : errno;
}

}  // namespace

int HardLinks::LinkEarlier(const TreeItem& source, int directory, const char* name) {
  if (!kept_) return ENOENT;
  const KeptName keptName(source);
  const int error = Link(kept_.get(), keptName.text, directory, name);
  if (error != EMLINK) return error;
  // The last link that the file system allows is the one by which it is remembered.
  const auto rename = [&] { return ::renameat(kept_.get(), keptName.text, directory, name); };
  return Retry(rename) == 0 ? 0 : errno;
}

int HardLinks::Remember(const TreeItem& source, int directory, const char* name) {
  if (!kept_) kept_ = MakeDirectoryAt(container_.descriptor(), kDirectoryName);
  if (!kept_) return errno;
  if (container_.lacksRights() && Retry([&] { return ::fchmod(kept_.get(), S_IRWXU); }) != 0) return errno;
  return Link(directory, name, kept_.get(), KeptName(source).text);
}

}  // namespace quill::darwin
