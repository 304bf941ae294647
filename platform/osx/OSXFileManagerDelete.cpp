// Deleting and renaming.

#include <cerrno>

#include "platform/darwin/paths/Changes.h"
#include "platform/darwin/paths/Status.h"
#include "platform/osx/OSXFileSystemUtils.h"
#include "platform/osx/Operation.h"
#include "platform/osx/PlatformString.h"

using quill::Operation;
using quill::TreeOperation;

namespace {

// A bare name keeps the item in its directory; a name with a directory part says itself where to.
QuillFileString RenameTarget(const QuillFileString& newName, const QuillFileString& path) {
  QuillFileString cut(newName);
  if (cut.trimLeaf(nullptr)) return newName;

  QuillFileString target;
  QuillFileString item(path);
  if (!item.trimLeaf(&target)) return newName;
  target.appendLeaf(newName);
  return target;
}

}  // namespace

bool OSXFileManager::FileDelete(const QuillFileString& path) {
  Operation operation(*this, __func__, path);
  if (!path.getUTF8()) return operation.Fail(kQuillErrIO, darwin::Error());
  const darwin::Error error = darwin::RemoveFile(path.getUTF8());
  return error ? operation.Fail(error) : true;
}

bool OSXFileManager::FileRename(const QuillFileString& newName, const QuillFileString& path) {
  TreeOperation operation(*this, __func__, path, newName);
  if (newName.isEmpty() || path.isEmpty()) return operation.FailWithoutText();
  const QuillFileString target = RenameTarget(newName, path);
  int code = kQuillErrNone;
  if (!OSXFileSystemUtils::_MoveItemAtPath(PlatformString(path).get(), PlatformString(target).get(), code)) {
    return operation.Fail(code, darwin::Error());  // a move knows its cause from the tree
  }
  return true;
}

bool OSXFileManager::DirDelete(const QuillFileString& directory) {
  TreeOperation operation(*this, __func__, directory);
  const auto text = PlatformString(directory);
  if (!text) return operation.FailWithoutText();
  darwin::ItemStatus status;
  const bool isLink = !darwin::GetStatus(directory.getUTF8(), darwin::FinalLink::kItself, status) && status.IsLink();
  if (isLink) return operation.Answer(OSXFileManager::FileDelete(directory));

  // The kernel decides in one step whether it is an empty directory: what comes into it meanwhile is not lost.
  const darwin::Error error = darwin::RemoveDirectory(directory.getUTF8());
  if (!error) return true;
  if (error != ENOTDIR || text->canBeConvertedToASCII()) return operation.Fail(error);

  // Under a name outside ASCII the platform's way is taken, on which a file is removed as well.
  int code = kQuillErrNone;
  if (!OSXFileSystemUtils::_RemoveItemAtPath(text.get(), code)) return operation.Fail(code, darwin::Error());
  return true;
}

bool OSXFileManager::DirDeleteWithContents(const QuillFileString& path) {
  TreeOperation operation(*this, __func__, path);
  if (!path.getUTF8()) return operation.FailWithoutText();
  if (!FileExists(path)) return operation.FailAsMissing(path);
  int code = kQuillErrNone;
  if (!OSXFileSystemUtils::_RemoveItemAtPath(PlatformString(path).get(), code)) {
    return operation.Fail(code, darwin::Error());  // a removal knows its cause from the tree
  }
  return true;
}
