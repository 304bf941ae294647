// Ensuring a directory chain.

#include <cerrno>

#include "platform/darwin/paths/DirectoryChain.h"
#include "platform/osx/Operation.h"
#include "platform/osx/PlatformString.h"

bool OSXFileManager::DirEnsure(const QuillFileString& directory) {
  quill::Operation operation(*this, __func__, directory);
  if (directory.isEmpty()) return operation.FailWithoutText();
  bool isDirectory = false;
  if (_FileExists(directory, &isDirectory)) return isDirectory || operation.FailSilently(ENOTDIR);
  const darwin::Error error = darwin::EnsureDirectoryChain(directory.getUTF8());
  if (!error) return true;
  // Something else at a level of the path has no code.
  return error == ENOTDIR ? operation.FailSilently(error) : operation.Fail(error);
}
