// URL text and percent-encoding: for any bytes, accepted text is well-formed, and encoded text decodes to the original.
#include <string>

#include "fuzz/Fuzz.h"
#include "platform/darwin/names/UTF8.h"
#include "platform/foundation/NSCharacterSet.h"
#include "platform/foundation/NSURL.h"

using fuzz::Require;
using quill::foundation::NSCharacterSet;
using quill::foundation::NSString;
using quill::foundation::NSURL;

namespace {

constexpr auto kPathAllowed = NSCharacterSet::URLPathAllowedCharacterSet();

std::string_view WithoutSlashesAtEnd(std::string_view path) noexcept {
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  return path;
}

void CheckParsing(const NSString& text) {
  const auto url = NSURL::URLWithString(&text);
  if (!url) return;
  Require(url->absoluteString()->isEqualToString(&text));
  for (const char character : text.view()) Require(character > 0x20 && character < 0x7F);

  const auto path = url->path();
  if (!path) return Require(text.containsString("%"));
  Require(quill::darwin::IsUTF8(path->view()));
  // The path alone is a reference with the same path. The authority in front keeps a "//" or ":" in it harmless.
  if (!path->hasPrefix("/")) return;
  const auto encoded = path->stringByAddingPercentEncodingWithAllowedCharacters(kPathAllowed);
  const std::string again = "s://h" + std::string(encoded->view());
  const auto same = NSURL::URLWithString(NSString::stringWithUTF8String(again.c_str()).get());
  Require(same && same->path()->view() == WithoutSlashesAtEnd(path->view()));
}

void CheckEncoding(const NSString& text, const NSCharacterSet& allowed) {
  const auto encoded = text.stringByAddingPercentEncodingWithAllowedCharacters(allowed);
  Require(static_cast<bool>(encoded) == quill::darwin::IsUTF8(text.view()));
  if (!encoded || allowed.contains('%')) return;
  for (const char character : encoded->view())
    Require(character == '%' || character < 'a' || allowed.contains(character));
  Require(encoded->stringByRemovingPercentEncoding()->isEqualToString(&text));
}

void CheckFileURL(std::string_view text) {
  // Nothing exists below a device, so the file system does not influence the result.
  const std::string path = "/dev/null/" + std::string(text);
  const auto url = NSURL::fileURLWithPath(NSString::stringWithFileSystemBytes(path).get());
  const auto parsed = NSURL::URLWithString(url->absoluteString());
  Require(static_cast<bool>(parsed));
  const auto found = parsed->path();
  Require(static_cast<bool>(found) == quill::darwin::IsUTF8(text));
  if (found) Require(found->view() == WithoutSlashesAtEnd(path) && found->isEqualToString(url->path().get()));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::TextIn(fuzz::Bytes(data, size));
  const auto string = NSString::stringWithFileSystemBytes(text);
  CheckParsing(*string);
  CheckEncoding(*string, kPathAllowed);
  CheckEncoding(*string, NSCharacterSet::characterSetWithCharactersInString(text));
  CheckFileURL(text);
  return 0;
}
