// Paths to file URLs and back, in the current and the earlier form.

#include "platform/foundation/NSCharacterSet.h"
#include "platform/foundation/NSURL.h"
#include "platform/osx/OSXFileManager.h"
#include "platform/osx/PlatformString.h"

using foundation::NSCharacterSet;
using foundation::NSString;
using foundation::NSURL;
using foundation::RetainPtr;

namespace {

constexpr const char* kFileScheme = "file://";

// What would change the meaning of a URL, or may not stand in one.
const NSCharacterSet& AllowedInFileUrls() {
  static const auto allowed =
      NSCharacterSet::characterSetWithCharactersInString(" %<>\\^`\"{|}[];?:@&=+$,#").invertedSet();
  return allowed;
}

const NSCharacterSet& AllowedInQueries() {
  static const auto allowed = NSCharacterSet::URLQueryAllowedCharacterSet();
  return allowed;
}

// An input with a "%" is taken to be encoded; null when it is not well encoded.
RetainPtr<NSString> Decoded(RetainPtr<NSString> url) {
  if (!url || !url->containsString("%")) return url;
  return url->stringByRemovingPercentEncoding();
}

// Text that is no URL leaves the path without text.
bool StorePath(const NSString* encoded, QuillFileString& path) {
  const auto url = NSURL::URLWithString(encoded);
  const auto decoded = url ? url->path() : nullptr;
  path.setUTF8(decoded ? decoded->UTF8String() : nullptr);
  return true;
}

// The URLs of the root keep their "/".
bool HasSuperfluousSlash(const NSString& url) {
  const auto text = url.view();
  return text.starts_with(kFileScheme) && text.ends_with('/') && text != "file://localhost/" && text != kFileScheme &&
         text != "file:///";
}

}  // namespace

bool OSXFileManager::FileGetPathUrl(const QuillFileString& path, QuillFileString& url) {
  const auto text = PlatformString(path);
  if (!text) return false;
  const auto encoded =
      text->stringByExpandingTildeInPath()->stringByAddingPercentEncodingWithAllowedCharacters(AllowedInFileUrls());
  if (!encoded) return false;
  const auto whole = NSString::stringWithUTF8String(kFileScheme)->stringByAppendingString(encoded->view());
  const auto parsed = NSURL::URLWithString(whole.get());
  // A control character is left unencoded and makes no URL; the result then has no text.
  url.setUTF8(parsed ? parsed->absoluteString()->UTF8String() : nullptr);
  return true;
}

bool OSXFileManager::FileGetUrlPath(const QuillFileString& url, QuillFileString& path) {
  const auto decoded = Decoded(PlatformString(url));
  if (!decoded) return false;
  const auto encoded = decoded->stringByAddingPercentEncodingWithAllowedCharacters(AllowedInFileUrls());
  if (!encoded) return false;
  return StorePath(encoded->stringByReplacingOccurrencesOfString("%3A//", "://").get(), path);
}

bool OSXFileManager::FileGetPathUrlPreVeranda(const QuillFileString& path, QuillFileString& url) {
  const auto text = PlatformString(path);
  if (!text) return false;
  const auto fileUrl = NSURL::fileURLWithPath(text->stringByExpandingTildeInPath().get());
  if (!fileUrl) return false;
  const NSString& whole = *fileUrl->absoluteString();
  const auto length = whole.view().size() - (HasSuperfluousSlash(whole) ? 1 : 0);
  url.setUTF8(whole.substringToIndex(length)->UTF8String());
  return true;
}

bool OSXFileManager::FileGetUrlPathPreVeranda(const QuillFileString& url, QuillFileString& path) {
  const auto decoded = Decoded(PlatformString(url));
  if (!decoded) return false;
  const auto encoded = decoded->stringByAddingPercentEncodingWithAllowedCharacters(AllowedInQueries());
  if (!encoded) return false;
  return StorePath(encoded->stringByReplacingOccurrencesOfString("?", "%3F").get(), path);
}
