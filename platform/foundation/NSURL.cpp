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

RetainPtr<NSString> AbsolutePath(const NSString& path) {
  const auto current = NSFileManager::defaultManager()->currentDirectoryPath();
  return current ? current->stringByAppendingPathComponent(path.view()) : nullptr;
}

}  // namespace

RetainPtr<NSURL> NSURL::URLWithString(const NSString* text) {
  if (!text) return nullptr;
  const auto path = PathOfURIReference(text->view());
  if (!path) return nullptr;
  return RetainPtr<NSURL>::Adopt(new NSURL(RetainPtr<NSString>(const_cast<NSString*>(text)), *path));
}

RetainPtr<NSURL> NSURL::fileURLWithPath(const NSString* path) {
  if (!path) return nullptr;
  const bool isAbsolute = path->hasPrefix("/");
  const auto joined = isAbsolute ? nullptr : AbsolutePath(*path);
  if (!isAbsolute && !joined) return nullptr;

  const NSString& absolute = isAbsolute ? *path : *joined;
  const bool endsInSlash = absolute.hasSuffix("/");
  const bool needsSlash = !endsInSlash && (path->hasSuffix("/") || IsDirectory(absolute));
  auto text = NSString::PercentEncoded(kFileScheme, absolute.view(), kPathAllowed, needsSlash ? "/" : "");
  const URIRange pathRange{kFileScheme.size(), text->view().size()};
  return RetainPtr<NSURL>::Adopt(new NSURL(std::move(text), pathRange));
}

RetainPtr<NSString> NSURL::path() const {
  std::string_view encoded = text_->view().substr(pathRange_.begin, pathRange_.end - pathRange_.begin);
  while (encoded.size() > 1 && encoded.ends_with('/')) encoded.remove_suffix(1);
  return NSString::PercentDecoded(encoded);
}

}  // namespace quill::foundation
