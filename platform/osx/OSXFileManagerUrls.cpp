// Paths to file URLs and back, in the current and the earlier form.
//
// The current pair works on the text alone. It encodes whatever could end the path of a URL, so every name comes back,
// but makes a relative path look like a host: "docs/a" becomes "file://docs/a". The earlier pair asks NSURL, which
// makes the path absolute and needs the disk to know whether it is a directory. docs/urls.md compares them with each
// other and with what browsers do.

#include <cerrno>
#include <cstring>
#include <string_view>

#include "platform/foundation/NSCharacterSet.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/foundation/NSURL.h"
#include "platform/osx/Operation.h"
#include "platform/osx/PlatformString.h"

using foundation::NSCharacterSet;
using foundation::NSError;
using foundation::NSString;
using foundation::NSURL;
using foundation::RetainPtr;
using quill::Operation;

namespace {

constexpr std::string_view kFileScheme = "file://";

// Everything but what would change the meaning of a URL, or may not stand in one.
constexpr auto kAllowedInFileUrls =
    NSCharacterSet::characterSetWithCharactersInString(" %<>\\^`\"{|}[];?:@&=+$,#").invertedSet();
constexpr auto kAllowedInQueries = NSCharacterSet::URLQueryAllowedCharacterSet();

// One allocation for the whole URL: prefix and encoding are written into one string.
RetainPtr<NSString> FileUrlText(const char* path) {
  return NSString::stringByAddingPercentEncodingToUTF8String(path, kAllowedInFileUrls, kFileScheme);
}

// Null when the path has no text or its text is not UTF-8.
RetainPtr<NSString> FileUrlText(const QuillFileString& path) {
  const char* text = path.getUTF8();
  // Nearly every path ends here, and needs no platform string.
  if (!text || *text != '~') return FileUrlText(text);
  const auto string = PlatformString(path);
  return string ? FileUrlText(string->stringByExpandingTildeInPath()->UTF8String()) : nullptr;
}

// An input with a "%" is taken to be encoded; null when it has no text or is not well encoded.
RetainPtr<NSString> Decoded(const QuillFileString& url) {
  const char* text = url.getUTF8();
  if (!text || !std::strchr(text, '%')) return NSString::stringWithUTF8String(text);
  return NSString::stringByRemovingPercentEncodingFromUTF8String(text);
}

// Without a way out and with nothing to convert, compilers turn this loop into vector instructions.
bool HasControlCharacter(std::string_view text) {
  int found = 0;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    found |= (byte < 0x20) | (byte == 0x7F);
  }
  return found != 0;
}

// The path in a decoded file URL without a host, if it stands there as it will be stored: encoding the whole and taking
// it apart again, which is what it takes otherwise, would give the same. Null for any other URL.
const char* PathInFileUrl(const NSString& decoded) {
  const auto text = decoded.view();
  if (!text.starts_with("file:///")) return nullptr;
  const auto path = text.substr(kFileScheme.size());
  return path == "/" || !path.ends_with('/') ? path.data() : nullptr;
}

/// Text that is not UTF-8, or an escape that is none.
bool FailFor(Operation& operation, const QuillFileString& input) {
  return input.getUTF8() ? operation.FailSilently(EILSEQ) : operation.FailWithoutText();
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
  Operation operation(*this, __func__, path);
  const auto whole = FileUrlText(path);
  if (!whole) return FailFor(operation, path);
  // A control character is left unencoded and makes no URL; the result then has no text. Anything else is a URL.
  url.setUTF8(HasControlCharacter(whole->view()) ? nullptr : whole->UTF8String());
  return true;
}

bool OSXFileManager::FileGetUrlPath(const QuillFileString& url, QuillFileString& path) {
  Operation operation(*this, __func__, url);
  const auto decoded = Decoded(url);
  if (!decoded) return FailFor(operation, url);
  const char* const plainPath = HasControlCharacter(decoded->view()) ? nullptr : PathInFileUrl(*decoded);
  if (plainPath) {
    path.setUTF8(plainPath);
    return true;
  }
  const auto encoded = decoded->stringByAddingPercentEncodingWithAllowedCharacters(kAllowedInFileUrls);
  if (!encoded) return FailFor(operation, url);
  // The colon of the scheme was encoded with all the others. Each "%3A//" is turned back, not only the first, so
  // "file:///a%3A//b" gives "/a://b", as the contract has it.
  return StorePath(encoded->stringByReplacingOccurrencesOfString("%3A//", "://").get(), path);
}

bool OSXFileManager::FileGetPathUrlPreVeranda(const QuillFileString& path, QuillFileString& url) {
  Operation operation(*this, __func__, path);
  const auto text = NSString::stringWithUTF8String(path.getUTF8());
  if (!text) return FailFor(operation, path);
  const auto fileUrl = NSURL::fileURLWithPath(text->stringByExpandingTildeInPath().get());
  if (!fileUrl) {  // the path is relative, and there may be no current directory any more
    RetainPtr<NSError> error;
    return fileManager->currentDirectoryPath(&error) ? FailFor(operation, path) : operation.FailSilently(error.get());
  }
  const NSString& whole = *fileUrl->absoluteString();
  const auto length = whole.view().size() - (HasSuperfluousSlash(whole) ? 1 : 0);
  url.setUTF8(whole.substringToIndex(length)->UTF8String());
  return true;
}

bool OSXFileManager::FileGetUrlPathPreVeranda(const QuillFileString& url, QuillFileString& path) {
  Operation operation(*this, __func__, url);
  const auto decoded = Decoded(url);
  if (!decoded) return FailFor(operation, url);
  if (const char* const plainPath = PathInFileUrl(*decoded)) {
    path.setUTF8(plainPath);
    return true;
  }
  const auto encoded = decoded->stringByAddingPercentEncodingWithAllowedCharacters(kAllowedInQueries);
  if (!encoded) return FailFor(operation, url);
  // A query may hold "?", so the set has let it pass. Here it belongs to a name.
  return StorePath(encoded->stringByReplacingOccurrencesOfString("?", "%3F").get(), path);
}
