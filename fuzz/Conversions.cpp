// The manager's conversions between paths and URLs: an absolute path comes back from its URL, a conversion that fails
// changes nothing, and the fast conversions give the same results as the step-by-step ones.
#include <algorithm>
#include <string>

#include "fuzz/Fuzz.h"
#include "platform/darwin/names/UTF8.h"
#include "platform/foundation/NSCharacterSet.h"
#include "platform/foundation/NSURL.h"
#include "standalone/StandaloneFileManager.h"

using fuzz::Require;
using quill::foundation::NSCharacterSet;
using quill::foundation::NSString;
using quill::foundation::NSURL;

namespace {

using Conversion = bool (CoreFileManager::*)(const QuillFileString&, QuillFileString&);

QuillFileString Path(const std::string& text) {
  QuillFileString path;
  path.setUTF8(text.c_str());
  return path;
}

std::string Text(const QuillFileString& path) { return path.getUTF8() ? path.getUTF8() : "(none)"; }

/// The current pair leaves control characters as they are, and no URL may contain one.
bool HasControlCharacter(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; });
}

void CheckRoundTrip(CoreFileManager& manager, Conversion toURL, Conversion toPath, std::string path) {
  QuillFileString url, back;
  Require((manager.*toURL)(Path(path), url) == quill::darwin::IsUTF8(path));
  if (!quill::darwin::IsUTF8(path)) return Require(!url.getUTF8());

  Require(Text(url).starts_with("file:///"));
  Require((manager.*toPath)(url, back));
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  Require(Text(back) == path);
}

void CheckAnyInput(CoreFileManager& manager, Conversion convert, const std::string& text) {
  QuillFileString result = Path("before");
  if (!(manager.*convert)(Path(text), result)) return Require(Text(result) == "before");
  Require(quill::darwin::IsUTF8(Text(result)));
}

/// Converts a URL to its path step by step: decode, encode, replace \p from by \p to, parse.
std::string PathByEveryStep(const std::string& url, const NSCharacterSet& allowed, const char* from, const char* to) {
  const auto text = NSString::stringWithUTF8String(url.c_str());
  const auto decoded = text && text->containsString("%") ? text->stringByRemovingPercentEncoding() : text;
  if (!decoded) return "before";
  const auto encoded = decoded->stringByAddingPercentEncodingWithAllowedCharacters(allowed);
  const auto parsed = NSURL::URLWithString(encoded->stringByReplacingOccurrencesOfString(from, to).get());
  return parsed ? parsed->path()->UTF8String() : "(none)";
}

void CheckShortWays(CoreFileManager& manager, const std::string& url) {
  constexpr auto kFileAllowed =
      NSCharacterSet::characterSetWithCharactersInString(" %<>\\^`\"{|}[];?:@&=+$,#").invertedSet();
  QuillFileString path = Path("before"), earlier = Path("before");
  (void)manager.FileGetUrlPath(Path(url), path);
  (void)manager.FileGetUrlPathPreVeranda(Path(url), earlier);
  Require(Text(path) == PathByEveryStep(url, kFileAllowed, "%3A//", "://"));
  Require(Text(earlier) == PathByEveryStep(url, NSCharacterSet::URLQueryAllowedCharacterSet(), "?", "%3F"));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(fuzz::TextIn(fuzz::Bytes(data, size)));
  quill::StandaloneFileManager manager;
  for (const Conversion convert : {&CoreFileManager::FileGetPathUrl, &CoreFileManager::FileGetUrlPath,
                                   &CoreFileManager::FileGetUrlPathPreVeranda}) {
    CheckAnyInput(manager, convert, text);
  }
  CheckShortWays(manager, text);
  CheckShortWays(manager, "file:///" + text);
  QuillFileString url;
  if (!HasControlCharacter(text)) {
    CheckRoundTrip(manager, &CoreFileManager::FileGetPathUrl, &CoreFileManager::FileGetUrlPath, "/" + text);
  } else if (manager.FileGetPathUrl(Path("/" + text), url)) {
    Require(!url.getUTF8());
  }
  // The earlier pair asks the file system. Nothing can exist below a device, so the answer is always the same.
  CheckRoundTrip(manager, &CoreFileManager::FileGetPathUrlPreVeranda, &CoreFileManager::FileGetUrlPathPreVeranda,
                 "/dev/null/" + text);
  return 0;
}
