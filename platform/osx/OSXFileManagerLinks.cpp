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

// The contract's limit. Linux allows 4095 bytes; a longer text is cut here without a sign, as readlink(2) cuts it.
constexpr std::size_t kLongestLinkText = 1024;

}  // namespace

// Begins no Operation, like the other questions: "no" is an answer and must not replace the note of a failure.
bool OSXFileManager::FileIsSymLink(const QuillFileString& path) {
  const auto text = PlatformString(path);
  if (!text) return false;
  const auto attributes = fileManager->attributesOfItemAtPath(text.get(), NSFinalLink::kItself);
  return attributes && attributes->isSymbolicLink();
}

// The target is text, not a path that is used: it is not looked for, and its bytes stay as they are. The codes of this
// operation and the next are stored without a call of SetLastError, as the contract says.
bool OSXFileManager::FileCreateSymLink(const QuillFileString& target, const QuillFileString& link) {
  // The link is what was to be made, so it is the first path of the note.
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

// Takes one step only, so a cycle of links cannot hold it up; hosts that want the end of a chain call it again and
// count. Nothing in the layer does.
bool OSXFileManager::_PathCanonicalizeSymLink(QuillFileString& path) {
  if (!FileIsSymLink(path)) return false;
  // A relative text counts from the directory of the link, whose path is about to be replaced.
  QuillFileString link(path);
  const auto text = NSFileManager::defaultManager()->destinationOfSymbolicLinkAtPath(PlatformString(path).get());
  // A link that is removed in this moment leaves the path without text.
  path.freeAll();
  (void)OSXFileSystemUtils::SetQuillFileStringFromNSStringPath(text.get(), path, /*normalize=*/true);
  if (!path.getUTF8()) return false;
  if (path.getUTF8()[0] == '/') return true;

  (void)link.trimLeaf(nullptr);  // a bare name lies in the current directory, where its text counts from as well
  link.appendLeaf(path);
  path = link;
  return true;
}
