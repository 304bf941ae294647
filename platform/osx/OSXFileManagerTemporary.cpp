// Making temporary items.

#include <cstring>
#include <memory>
#include <new>

#include "platform/darwin/paths/PathCalls.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/osx/OSXFileManager.h"
#include "platform/osx/PlatformString.h"

using foundation::NSFileManager;

namespace {

constexpr const char* kTemplate = "QuillTmp.XXXXXX";
constexpr unsigned kFilePermissions = 0644;
constexpr unsigned kDirectoryPermissions = 0755;

// Null when there is no memory.
std::unique_ptr<char[]> WritableCopy(const foundation::NSString& text) {
  const auto size = text.view().size() + 1;
  std::unique_ptr<char[]> copy(new (std::nothrow) char[size]);
  if (copy) std::memcpy(copy.get(), text.fileSystemRepresentation(), size);
  return copy;
}

bool MakeDirectory(char* name, QuillFileString& result) {
  const char* made = darwin::mkdtemp(name);
  if (!made) return false;
  result.setUTF8(made);
  return true;
}

bool MakeFile(char* name, QuillFileString& result) {
  const int descriptor = darwin::mkstemp(name);
  if (descriptor == -1) return false;
  (void)darwin::close(descriptor);  // nothing was written
  const auto text = NSFileManager::defaultManager()->stringWithFileSystemRepresentation(name, std::strlen(name));
  if (!text) return false;
  result.setUTF8(text->UTF8String());
  return true;
}

}  // namespace

bool OSXFileManager::FileCreateTemp(QuillFileString& path) { return _FileOrDirCreateTemp(path, /*isDirectory=*/false); }

bool OSXFileManager::DirCreateTemp(QuillFileString& path) { return _FileOrDirCreateTemp(path, /*isDirectory=*/true); }

bool OSXFileManager::FileCreateTempInDir(const QuillFileString& directory, QuillFileString& path) {
  if (!DirEnsure(directory)) return false;
  return _FileOrDirCreateTempInDir(directory, path, /*isDirectory=*/false);
}

bool OSXFileManager::DirCreateTempInDir(const QuillFileString& directory, QuillFileString& path) {
  return _FileOrDirCreateTempInDir(directory, path, /*isDirectory=*/true);
}

bool OSXFileManager::_FileOrDirCreateTemp(QuillFileString& result, bool isDirectory) {
  QuillFileString directory;
  if (!DirGetTemp(directory)) return false;
  return _FileOrDirCreateTempInDir(directory, result, isDirectory);
}

bool OSXFileManager::_FileOrDirCreateTempInDir(const QuillFileString& directory, QuillFileString& result,
                                               bool isDirectory) {
  const auto directoryText = PlatformString(directory);
  if (!directoryText) return false;
  const auto name = WritableCopy(*directoryText->stringByAppendingPathComponent(kTemplate));
  if (!name) return Fail(kQuillErrIO);
  if (!(isDirectory ? MakeDirectory(name.get(), result) : MakeFile(name.get(), result))) return Fail(kQuillErrIO);

  const unsigned permissions = isDirectory ? kDirectoryPermissions : kFilePermissions;
  // The item is usable with the mode it was made with, too.
  (void)NSFileManager::defaultManager()->setPosixPermissionsOfItemAtPath(permissions, PlatformString(result).get());
  return true;
}
