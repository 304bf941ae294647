// What is created exclusively has its name from the kernel's one step. What it lacks then (rights that the umask took)
// is added through its own descriptor, never by its name.
#include "platform/darwin/paths/Creating.h"

#include <fcntl.h>

#include <cassert>
#include <cstdint>
#include <ctime>
#include <utility>

#include "platform/darwin/descriptors/ItemStatus.h"
#include "platform/darwin/descriptors/NewDirectory.h"
#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/names/NameLookup.h"

namespace quill::darwin {
namespace {

constexpr mode_t kOpenToEveryone = 0777;
constexpr mode_t kReadableAndWritable = 0666;
constexpr mode_t kOwnerReadsAndWrites = S_IRUSR | S_IWUSR;
constexpr std::string_view kTemplateEnd = "XXXXXX";
// 62 to the power of 6 names: so many that are taken in a row are no accident.
constexpr int kMostAttempts = 10'000;

Error FillAndClose(FileDescriptor& file, std::string_view contents) {
  // What the umask has taken; only a file system without permissions refuses.
  (void)ChangeMode({file.get()}, kOwnerReadsAndWrites);
  const Error error = WriteAll(file.get(), contents.data(), contents.size());
  return FirstOf(error, file.Close());
}

/// Gives the directory that was made at \p path the permissions that the umask has taken. Whoever owns the directory
/// above can have put something else in its place by now, so only what this user has made since \p beginning is
/// changed. A server's clock may lag; then a new directory looks old and stays as it is.
Error RestorePermissions(const char* path, mode_t permissions, const std::timespec& beginning) {
  FileDescriptor made;
  ItemStatus status;
  if (const Error error = Open(AT_FDCWD, path, O_PATH | O_DIRECTORY | O_NOFOLLOW, made)) return error;
  if (const Error error = GetStatus(made.get(), status)) return error;
  if (status.Permissions() == permissions) return {};
  const bool isOurs = status.owner == EffectiveUser() && IsMadeSince(status, beginning);
  return isOurs ? ChangeMode({made.get(), true}, permissions) : Error::Replaced();
}

/// Puts random letters and digits in the place of the XXXXXX.
Error ChooseName(std::string& path) {
  constexpr std::string_view kCharacters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  std::uint64_t random = 0;
  if (const Error error = FillWithRandom(&random, sizeof random)) return error;
  for (auto end = path.rbegin(); end != path.rbegin() + kTemplateEnd.size(); ++end) {
    *end = kCharacters[random % kCharacters.size()];
    random /= kCharacters.size();
  }
  return {};
}

Error MakeFile(std::string& path, mode_t permissions, FileDescriptor& file) {
  if (const Error error = MakeTemporaryFile(path, file)) return error;
  (void)ChangeMode({file.get()}, permissions);  // the file is usable with the mode it was made with, too
  return {};
}

/// The directory has its permissions from the beginning, as far as the umask lets: mostly none are to be added later.
Error MakeDirectoryFromTemplate(std::string& path, mode_t permissions) {
  const std::timespec beginning = TimeOfNewItems();
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    if (const Error error = ChooseName(path)) return error;
    const Error error = MakeDirectory(AT_FDCWD, path.c_str(), permissions);
    if (error == EEXIST) continue;
    if (error) return error;
    (void)RestorePermissions(path.c_str(), permissions, beginning);  // usable as it was made, too
    return {};
  }
  return EEXIST;
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

/// Looked at and changed through one descriptor. Rights are added for the owner alone, and only to what was just made.
Error EnsureDirectoryIn(int directory, const char* name, mode_t allowedToOthers, FileDescriptor& opened) {
  const Error notMade = MakeDirectory(directory, name, S_IRWXU);
  if (notMade && notMade != EEXIST) return notMade;
  FileDescriptor found;
  ItemStatus status;
  const Error error = Open(directory, name, O_PATH | O_DIRECTORY | O_NOFOLLOW, found);
  if (error) return error == ENOTDIR || error == ELOOP ? EACCES : error;
  if (const Error unknown = GetStatus(found.get(), status)) return unknown;
  const mode_t refused = (S_IRWXG | S_IRWXO) & ~allowedToOthers;
  if (status.owner != EffectiveUser() || (status.mode & refused) != 0) return EACCES;
  if (!notMade && (status.mode & S_IRWXU) != S_IRWXU) {
    if (const Error closed = ChangeMode({found.get(), true}, status.Permissions() | S_IRWXU)) return closed;
  }
  opened = std::move(found);
  return {};
}

}  // namespace

Error CreateFile(const char* path, ExistingContents contents, FileDescriptor& file) {
  const int flags = O_WRONLY | O_CREAT | (contents == ExistingContents::kEmpty ? O_TRUNC : 0);
  return OnPathForCreation(
      path, [&](const char* place) { return OpenWithoutWaiting(AT_FDCWD, place, flags, file, kReadableAndWritable); });
}

Error CreateExclusively(int directory, const std::string& name, std::string_view contents) {
  std::string equivalent;
  const Error missing = FindEquivalentName(directory, name, equivalent);
  if (missing != ENOENT) return FirstOf(missing, EEXIST);
  FileDescriptor file;
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW;
  if (const Error error = Open(directory, name.c_str(), kFlags, file, kOwnerReadsAndWrites)) return error;
  const Error error = FillAndClose(file, contents);
  if (error) (void)Unlink(directory, name.c_str());  // the reason of the writing is the one to report
  return error;
}

Error MakeDirectory(const char* path) {
  return OnPathForCreation(path, [](const char* place) { return MakeDirectory(AT_FDCWD, place, kOpenToEveryone); });
}

Error MakeSymbolicLink(const char* target, const char* path) {
  if (!target) return EFAULT;
  return OnPathForCreation(path, [target](const char* place) { return MakeLink(AT_FDCWD, place, target); });
}

Error MakeTemporaryFileAt(std::string& pathTemplate, mode_t permissions, FileDescriptor& file) {
  assert(pathTemplate.ends_with(kTemplateEnd) && "a template ends in XXXXXX");
  return MakeFromTemplate(pathTemplate,
                          [&, permissions](std::string& path) { return MakeFile(path, permissions, file); });
}

Error MakeTemporaryDirectoryAt(std::string& pathTemplate, mode_t permissions) {
  assert(pathTemplate.ends_with(kTemplateEnd) && "a template ends in XXXXXX");
  return MakeFromTemplate(pathTemplate,
                          [=](std::string& path) { return MakeDirectoryFromTemplate(path, permissions); });
}

Error EnsureOwnDirectory(int directory, const char* name, FileDescriptor& opened) {
  return EnsureDirectoryIn(directory, name, /*allowedToOthers=*/S_IRWXG | S_IRWXO, opened);
}

Error EnsurePrivateDirectory(const char* path) {
  FileDescriptor opened;
  return OnPathForCreation(
      path, [&](const char* place) { return EnsureDirectoryIn(AT_FDCWD, place, /*allowedToOthers=*/0, opened); });
}

Error ReopenStreamAt(const char* path, const char* mode, std::FILE* stream) {
  if (!mode) return EFAULT;
  return OnPathForCreation(path, [=](const char* place) { return ReopenStream(place, mode, stream); });
}

}  // namespace quill::darwin
