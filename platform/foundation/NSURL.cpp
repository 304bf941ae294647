#include "platform/foundation/NSURL.h"

#include "platform/darwin/paths/Status.h"
#include "platform/foundation/NSCharacterSet.h"
#include "platform/foundation/NSFileManager.h"

namespace quill::foundation {
namespace {

constexpr std::string_view kFileScheme = "file://";

constexpr auto kPathAllowed = NSCharacterSet::URLPathAllowedCharacterSet();

bool IsDirectory(const NSString& path) {
  bool isDirectory = false;
  return !darwin::IsDirectory(path.fileSystemRepresentation(), isDirectory) && isDirectory;
}

// Null when the current directory has been removed.
RetainPtr<NSString> AbsolutePath(const NSString& path) {
  const auto current = NSFileManager::defaultManager()->currentDirectoryPath();
  return current ? current->stringByAppendingPathComponent(path.view()) : nullptr;
}

}  // namespace

RetainPtr<NSURL> NSURL::URLWithString(const NSString* text) {
  if (!text) return nullptr;
  // Read once. The URL keeps its text and where in it the path is; nothing else is ever asked for.
  const auto path = PathOfURIReference(text->view());
  if (!path) return nullptr;
  // Strings are immutable, so that sharing one as const is safe; counting needs it without.
  return RetainPtr<NSURL>::Adopt(new NSURL(RetainPtr<NSString>(const_cast<NSString*>(text)), *path));
}

RetainPtr<NSURL> NSURL::fileURLWithPath(const NSString* path) {
  if (!path) return nullptr;
  const bool isAbsolute = path->hasPrefix("/");
  const auto joined = isAbsolute ? nullptr : AbsolutePath(*path);
  if (!isAbsolute && !joined) return nullptr;

  const NSString& absolute = isAbsolute ? *path : *joined;
  // The disk is asked last, for a path whose text leaves it open.
  const bool endsInSlash = absolute.hasSuffix("/");
  const bool needsSlash = !endsInSlash && (path->hasSuffix("/") || IsDirectory(absolute));
  auto text = NSString::PercentEncoded(kFileScheme, absolute.view(), kPathAllowed, needsSlash ? "/" : "");
  const URIRange pathRange{kFileScheme.size(), text->view().size()};
  return RetainPtr<NSURL>::Adopt(new NSURL(std::move(text), pathRange));
}

RetainPtr<NSString> NSURL::path() const {
  std::string_view encoded = text_->view().substr(pathRange_.begin, pathRange_.end - pathRange_.begin);
  // Only the separators of the URL itself: an escaped "/" at the end is not one of them, and stays. The root keeps its
  // own.
  while (encoded.size() > 1 && encoded.ends_with('/')) encoded.remove_suffix(1);
  return NSString::PercentDecoded(encoded);
}

}  // namespace quill::foundation
