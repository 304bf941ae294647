// Normalization Form C of names.
#include <unicode/bytestream.h>
#include <unicode/normalizer2.h>

#include <string>

#include "bench/Support.h"
#include "platform/foundation/NSString.h"
#include "platform/osx/OSXFileSystemUtils.h"

namespace bench {
namespace {

using quill::foundation::NSString;

/// \p start, then \p unit as often as it fits into \p size bytes.
std::string Repeated(std::string_view unit, std::size_t size, std::string_view start = {}) {
  std::string text(start);
  while (text.size() + unit.size() <= size) text += unit;
  return text;
}

std::string ByICU(const std::string& text) {
  UErrorCode error = U_ZERO_ERROR;
  std::string result;
  icu::StringByteSink<std::string> sink(&result);
  icu::Normalizer2::getNFCInstance(error)->normalizeUTF8(0, text, sink, nullptr, error);
  return result;
}

/// Copies the result into a path string.
void RegisterLayer(const std::string& operation, const std::string& text) {
  const auto string = NSString::stringWithUTF8String(text.c_str());
  Require(static_cast<bool>(string), "NSString");
  Register(Sized(operation + "/layer", text.size()), [=] {
    QuillFileString result;
    return OSXFileSystemUtils::SetQuillFileStringFromNSStringPath(string.get(), result, /*normalize=*/true);
  });
}

void RegisterAgainstICU(const std::string& operation, const std::string& text) {
  RegisterLayer(operation, text);
  Register(Sized(operation + "/icu", text.size()), [=] { return ByICU(text); });
}

void RegisterASCII(const std::string& text) {
  RegisterAgainstICU("BM_FormCOfASCII", text);
  Register(Sized("BM_FormCOfASCII/copy", text.size()), [=] {
    std::string result = text;
    benchmark::DoNotOptimize(result.data());
    return result.size();
  });
}

}  // namespace

void RegisterNames() {
  constexpr std::size_t kPathLength = 60;
  RegisterASCII(Repeated("/ordinary path", kPathLength));
  RegisterAgainstICU("BM_FormCOfComposed", Repeated("/caf\u00e9 \u00fcber", kPathLength));
  RegisterAgainstICU("BM_FormCOfDecomposed", Repeated("/cafe\u0301 u\u0308ber", kPathLength));
  // Marks above and below alternate, so that each has to be sorted. ICU alone would take quadratic time.
  for (const std::size_t kibibytes : {64u, 256u, 1024u}) {
    RegisterLayer("BM_FormCOfMarks", Repeated("\u0301\u0323", kibibytes * 1024, "a"));
  }
}

}  // namespace bench
