// Symbolic links: telling, making, reading, resolving one step.

#include <array>
#include <cerrno>

#include "platform/darwin/paths/PathCalls.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/osx/OSXFileManager.h"
#include "platform/osx/OSXFileSystemUtils.h"
#include "platform/osx/PlatformString.h"

using foundation::NSFileManager;
using foundation::NSFileType;
using foundation::NSFinalLink;
using OSXFileSystemUtils::_PosixErrToQuillErr;

namespace {

constexpr std::size_t kLongestLinkText = 1024;

}  // namespace

bool OSXFileManager::FileIsSymLink(const QuillFileString& path) {
  const auto text = PlatformString(path);
  if (!text) return false;
  const auto attributes = fileManager->attributesOfItemAtPath(text.get(), NSFinalLink::kItself);
  return attributes && attributes->fileType() == NSFileType::kSymbolicLink;
}

bool OSXFileManager::FileCreateSymLink(const QuillFileString& target, const QuillFileString& link) {
  if (!target.getUTF8() || !link.getUTF8()) return FailUnobserved(kQuillErrIO);
  if (darwin::symlink(target.getUTF8(), link.getUTF8()) != 0) return FailUnobserved(_PosixErrToQuillErr(errno));
  return true;
}

bool OSXFileManager::FileReadSymLink(const QuillFileString& link, QuillFileString& target) {
  if (!link.getUTF8()) return FailUnobserved(kQuillErrIO);
  std::array<char, kLongestLinkText + 1> text;
  const long length = darwin::readlink(link.getUTF8(), text.data(), kLongestLinkText);
  if (length < 0) return FailUnobserved(_PosixErrToQuillErr(errno));
  text[static_cast<std::size_t>(length)] = '\0';
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
