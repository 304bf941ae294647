// The manager's conversions between paths and URLs: an absolute path comes back from its URL, and a conversion that
// fails touches nothing.
#include <algorithm>
#include <string>

#include "fuzz/Fuzz.h"
#include "platform/darwin/UTF8.h"
#include "standalone/StandaloneFileManager.h"

using fuzz::Require;

namespace {

using Conversion = bool (CoreFileManager::*)(const QuillFileString&, QuillFileString&);

QuillFileString Path(const std::string& text) {
  QuillFileString path;
  path.setUTF8(text.c_str());
  return path;
}

std::string Text(const QuillFileString& path) { return path.getUTF8() ? path.getUTF8() : "(none)"; }

/// The current pair leaves control characters as they are, and no URL holds one.
bool HasControlCharacter(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; });
}

void CheckRoundTrip(CoreFileManager& manager, Conversion toURL, Conversion toPath, std::string path) {
  QuillFileString url, back;
  Require((manager.*toURL)(Path(path), url) == darwin::IsUTF8(path));
  if (!darwin::IsUTF8(path)) return Require(!url.getUTF8());

  Require(Text(url).starts_with("file:///"));
  Require((manager.*toPath)(url, back));
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  Require(Text(back) == path);
}

void CheckAnyInput(CoreFileManager& manager, Conversion convert, const std::string& text) {
  QuillFileString result = Path("before");
  if (!(manager.*convert)(Path(text), result)) return Require(Text(result) == "before");
  Require(darwin::IsUTF8(Text(result)));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(fuzz::TextIn(fuzz::Bytes(data, size)));
  StandaloneFileManager manager;
  for (const Conversion convert : {&CoreFileManager::FileGetPathUrl, &CoreFileManager::FileGetUrlPath,
                                   &CoreFileManager::FileGetUrlPathPreVeranda}) {
    CheckAnyInput(manager, convert, text);
  }
  if (!HasControlCharacter(text)) {
    CheckRoundTrip(manager, &CoreFileManager::FileGetPathUrl, &CoreFileManager::FileGetUrlPath, "/" + text);
  }
  // The earlier pair asks the file system, which has nothing below a device.
  CheckRoundTrip(manager, &CoreFileManager::FileGetPathUrlPreVeranda, &CoreFileManager::FileGetUrlPathPreVeranda,
                 "/dev/null/" + text);
  return 0;
}
