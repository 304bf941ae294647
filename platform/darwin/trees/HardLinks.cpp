// Files with several names are remembered on disk and not in memory: each of them gets one more link in a hidden
// directory of the copy's private place, called by the device, the inode and the birth of its source. When the source
// comes by again under another name, that link is linked to. So a tree of a million linked files takes no memory.
#include "platform/darwin/trees/HardLinks.h"

#include <cinttypes>
#include <cstdio>

#include "platform/darwin/descriptors/NewDirectory.h"
#include "platform/darwin/descriptors/SystemCalls.h"

namespace quill::darwin {
namespace {

/// The time of creation distinguishes a file from a later one that got the same inode.
struct KeptName {
  explicit KeptName(const ItemStatus& source) {
    std::snprintf(text, sizeof text, "%" PRIx64 ".%" PRIx64 ".%" PRIx64 ".%lx", source.device, source.inode,
                  static_cast<std::uint64_t>(source.born.tv_sec), source.born.tv_nsec);
  }
  char text[80];
};

}  // namespace

Error HardLinks::LinkEarlier(const ItemStatus& source, int directory, const char* name) {
  if (!kept_.IsOpen()) return ENOENT;
  const KeptName keptName(source);
  const Error error = Link(kept_.get(), keptName.text, directory, name);
  if (error != EMLINK) return error;
  // The last link that the file system allows is the one by which it is remembered.
  return Rename(kept_.get(), keptName.text, directory, name);
}

Error HardLinks::Remember(const ItemStatus& source, int directory, const char* name) {
  if (!kept_.IsOpen()) {
    FileDescriptor made;
    if (const Error error = MakeNewDirectory(staging_.descriptor(), kDirectoryName, made)) return error;
    if (staging_.lacksRights()) {  // the umask takes even the owner's
      if (const Error error = ChangeMode({made.get()}, S_IRWXU)) return error;
    }
    kept_ = std::move(made);
  }
  return Link(directory, name, kept_.get(), KeptName(source).text);
}

}  // namespace quill::darwin
