// Making temporary items.

#include <cerrno>
#include <new>
#include <string>

#include "platform/darwin/paths/Creating.h"
#include "platform/osx/Operation.h"
#include "platform/osx/PlatformString.h"

using quill::Operation;

namespace {

constexpr const char* kTemplate = "QuillTmp.XXXXXX";
constexpr mode_t kFilePermissions = 0644;
constexpr mode_t kDirectoryPermissions = 0755;

darwin::Error MakeItem(std::string& pathTemplate, bool isDirectory) {
  if (isDirectory) return darwin::MakeTemporaryDirectoryAt(pathTemplate, kDirectoryPermissions);
  darwin::FileDescriptor file;  // nothing is written
  return darwin::MakeTemporaryFileAt(pathTemplate, kFilePermissions, file);
}

}  // namespace

bool OSXFileManager::FileCreateTemp(QuillFileString& path) {
  Operation operation(*this, __func__);
  return operation.Answer(_FileOrDirCreateTemp(path, /*isDirectory=*/false));
}

bool OSXFileManager::DirCreateTemp(QuillFileString& path) {
  Operation operation(*this, __func__);
  return operation.Answer(_FileOrDirCreateTemp(path, /*isDirectory=*/true));
}

bool OSXFileManager::FileCreateTempInDir(const QuillFileString& directory, QuillFileString& path) {
  Operation operation(*this, __func__, directory);
  if (!DirEnsure(directory)) return operation.FailAsCalled();
  return operation.Answer(_FileOrDirCreateTempInDir(directory, path, /*isDirectory=*/false));
}

bool OSXFileManager::DirCreateTempInDir(const QuillFileString& directory, QuillFileString& path) {
  Operation operation(*this, __func__, directory);
  return operation.Answer(_FileOrDirCreateTempInDir(directory, path, /*isDirectory=*/true));
}

bool OSXFileManager::_FileOrDirCreateTemp(QuillFileString& result, bool isDirectory) {
  Operation operation(*this, __func__);
  QuillFileString directory;
  if (!DirGetTemp(directory)) return operation.FailAsCalled();
  return operation.Answer(_FileOrDirCreateTempInDir(directory, result, isDirectory));
}

bool OSXFileManager::_FileOrDirCreateTempInDir(const QuillFileString& directory, QuillFileString& result,
                                               bool isDirectory) {
  Operation operation(*this, __func__, directory);
  const auto directoryText = PlatformString(directory);
  if (!directoryText) return operation.FailWithoutText();
  std::string path(directoryText->stringByAppendingPathComponent(kTemplate)->view());
  if (const darwin::Error error = MakeItem(path, isDirectory)) return operation.Fail(kQuillErrIO, error);
  result.setUTF8(path.c_str());
  return true;
}
