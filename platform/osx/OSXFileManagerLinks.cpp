// Symbolic links: telling, making, reading, resolving one step.

#include <array>

#include "platform/darwin/paths/Creating.h"
#include "platform/darwin/paths/Status.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/osx/OSXFileSystemUtils.h"
#include "platform/osx/Operation.h"
#include "platform/osx/PlatformString.h"

using foundation::NSFileManager;
using foundation::NSFinalLink;
using OSXFileSystemUtils::_PosixErrToQuillErr;
using quill::Operation;

namespace {

constexpr std::size_t kLongestLinkText = 1024;

}  // namespace

bool OSXFileManager::FileIsSymLink(const QuillFileString& path) {
  const auto text = PlatformString(path);
  if (!text) return false;
  const auto attributes = fileManager->attributesOfItemAtPath(text.get(), NSFinalLink::kItself);
  return attributes && attributes->isSymbolicLink();
}

bool OSXFileManager::FileCreateSymLink(const QuillFileString& target, const QuillFileString& link) {
  Operation operation(*this, __func__, link, target);
  if (!target.getUTF8() || !link.getUTF8()) return operation.FailUnobserved(kQuillErrIO, darwin::Error());
  const darwin::Error error = darwin::MakeSymbolicLink(target.getUTF8(), link.getUTF8());
  return error ? operation.FailUnobserved(_PosixErrToQuillErr(error.posix()), error) : true;
}

bool OSXFileManager::FileReadSymLink(const QuillFileString& link, QuillFileString& target) {
  Operation operation(*this, __func__, link);
  if (!link.getUTF8()) return operation.FailUnobserved(kQuillErrIO, darwin::Error());
  std::array<char, kLongestLinkText + 1> text;
  std::size_t length = 0;
  if (const darwin::Error error = darwin::ReadLinkText(link.getUTF8(), text.data(), kLongestLinkText, length)) {
    return operation.FailUnobserved(_PosixErrToQuillErr(error.posix()), error);
  }
  text[length] = '\0';
  target.setUTF8(text.data());
  return true;
}

bool OSXFileManager::_PathCanonicalizeSymLink(QuillFileString& path) {
  if (!FileIsSymLink(path)) return false;
  QuillFileString link(path);
  const auto text = NSFileManager::defaultManager()->destinationOfSymbolicLinkAtPath(PlatformString(path).get());
  path.freeAll();
  (void)OSXFileSystemUtils::SetQuillFileStringFromNSStringPath(text.get(), path, /*normalize=*/true);
  if (!path.getUTF8()) return false;
  if (path.getUTF8()[0] == '/') return true;

  (void)link.trimLeaf(nullptr);  // a bare name lies in the current directory, where its text counts from as well
  link.appendLeaf(path);
  path = link;
  return true;
}
