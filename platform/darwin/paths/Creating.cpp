#include "platform/darwin/paths/Creating.h"

#include <fcntl.h>

#include <cassert>

#include "platform/darwin/descriptors/ItemStatus.h"
#include "platform/darwin/descriptors/NewDirectory.h"
#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/names/NameLookup.h"

namespace quill::darwin {
namespace {

constexpr mode_t kOpenToEveryone = 0777;
constexpr mode_t kReadableAndWritable = 0666;
constexpr mode_t kOwnerReadsAndWrites = S_IRUSR | S_IWUSR;

Error FillAndClose(FileDescriptor& file, std::string_view contents) {
  // What the umask has taken; only a file system without permissions refuses.
  (void)ChangeMode({file.get()}, kOwnerReadsAndWrites);
  const Error error = WriteAll(file.get(), contents.data(), contents.size());
  return FirstOf(error, file.Close());
}

/// Lets \p make fill the template. Where its directory exists only in another form, the item is made there.
template <typename Make>
Error MakeFromTemplate(std::string& pathTemplate, Make make) {
  const Error error = make(pathTemplate);
  if (!MayStandUnderAnotherName(error)) return error;
  const std::size_t slash = pathTemplate.rfind('/');
  if (slash == std::string::npos) return error;
  std::string path;
  if (const Error missing = FindEquivalentPath(pathTemplate.substr(0, slash).c_str(), path)) {
    return missing == ENOENT ? error : missing;
  }
  path.append(pathTemplate, slash);
  if (const Error failed = make(path)) return failed;
  pathTemplate.replace(slash, std::string::npos, path, path.rfind('/'));
  return {};
}

Error MakeClosedDirectory(const char* place) {
  if (const Error error = MakeDirectory(AT_FDCWD, place, S_IRWXU)) return error;
  FileDescriptor made;
  if (const Error error = OpenNewDirectory(AT_FDCWD, place, made)) return error;
  return GiveOwnerRights(made.get());
}

Error EnsureDirectory(const char* path, mode_t allowedToOthers) {
  return OnPathForCreation(path, [=](const char* place) -> Error {
    if (const Error error = MakeClosedDirectory(place); error != EEXIST) return error;
    ItemStatus status;
    if (const Error error = GetStatusOf(AT_FDCWD, place, FinalLink::kItself, status)) return error;
    const mode_t refused = (S_IRWXG | S_IRWXO) & ~allowedToOthers;
    const bool isFit = status.IsDirectory() && status.owner == EffectiveUser() && (status.mode & refused) == 0;
    return isFit ? 0 : EACCES;
  });
}

}  // namespace

Error CreateFile(const char* path, ExistingContents contents, FileDescriptor& file) {
  const int flags = O_WRONLY | O_CREAT | (contents == ExistingContents::kEmpty ? O_TRUNC : 0);
  return OnPathForCreation(
      path, [&](const char* place) { return OpenWithoutWaiting(AT_FDCWD, place, flags, file, kReadableAndWritable); });
}

Error CreateExclusively(const char* path, std::string_view contents) {
  return OnPathForCreation(path, [&](const char* place) -> Error {
    FileDescriptor file;
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL;
    if (const Error error = Open(AT_FDCWD, place, kFlags, file, kOwnerReadsAndWrites)) return error;
    const Error error = FillAndClose(file, contents);
    if (error) (void)Unlink(AT_FDCWD, place);  // the reason of the writing is the one to report
    return error;
  });
}

Error MakeDirectory(const char* path) {
  return OnPathForCreation(path, [](const char* place) { return MakeDirectory(AT_FDCWD, place, kOpenToEveryone); });
}

Error MakeSymbolicLink(const char* target, const char* path) {
  if (!target) return EFAULT;
  return OnPathForCreation(path, [target](const char* place) { return MakeLink(AT_FDCWD, place, target); });
}

Error MakeTemporaryFileAt(std::string& pathTemplate, FileDescriptor& file) {
  assert(pathTemplate.ends_with("XXXXXX") && "a template ends in XXXXXX");
  return MakeFromTemplate(pathTemplate, [&file](std::string& path) { return MakeTemporaryFile(path, file); });
}

Error MakeTemporaryDirectoryAt(std::string& pathTemplate) {
  assert(pathTemplate.ends_with("XXXXXX") && "a template ends in XXXXXX");
  return MakeFromTemplate(pathTemplate, [](std::string& path) { return MakeTemporaryDirectory(path); });
}

Error EnsureOwnDirectory(const char* path) { return EnsureDirectory(path, /*allowedToOthers=*/S_IRWXG | S_IRWXO); }

Error EnsurePrivateDirectory(const char* path) { return EnsureDirectory(path, /*allowedToOthers=*/0); }

Error ReopenStreamAt(const char* path, const char* mode, std::FILE* stream) {
  if (!mode) return EFAULT;
  return OnPathForCreation(path, [=](const char* place) { return ReopenStream(place, mode, stream); });
}

}  // namespace quill::darwin
