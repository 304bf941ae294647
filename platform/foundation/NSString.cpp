#include "platform/foundation/NSString.h"

#include <algorithm>
#include <new>
#include <string>

#include "platform/darwin/names/UTF8.h"

namespace quill::foundation {
namespace {

std::string_view WithoutTrailingSeparators(std::string_view path) noexcept {
  return path.substr(0, path.find_last_not_of('/') + 1);
}

std::string_view WithoutLeadingSeparators(std::string_view path) noexcept {
  return path.substr(std::min(path.find_first_not_of('/'), path.size()));
}

}  // namespace

RetainPtr<NSString> NSString::WithLength(std::size_t length) {
  // Object and bytes in one piece: nearly every operation makes one of these, so a second allocation would show.
  void* const memory = ::operator new(sizeof(NSString) + length + 1);
  auto string = RetainPtr<NSString>::Adopt(::new (memory) NSString(length));
  // The bytes themselves are left for the caller to fill.
  string->MutableBytes()[length] = '\0';
  return string;
}

RetainPtr<NSString> NSString::Joined(std::string_view head, std::string_view middle, std::string_view tail) {
  auto string = WithLength(head.size() + middle.size() + tail.size());
  char* end = std::copy(head.begin(), head.end(), string->MutableBytes());
  end = std::copy(middle.begin(), middle.end(), end);
  std::copy(tail.begin(), tail.end(), end);
  return string;
}

RetainPtr<NSString> NSString::Shared() const noexcept {
  return RetainPtr<NSString>(const_cast<NSString*>(this));  // it is immutable, so it can be shared instead of copied
}

RetainPtr<NSString> NSString::stringWithUTF8String(const char* text) {
  if (!text) return nullptr;
  const std::string_view bytes = text;
  return darwin::IsUTF8(bytes) ? stringWithFileSystemBytes(bytes) : nullptr;
}

// No test of the bytes: the kernel takes any name without "/" and NUL, so a path must come through unchanged.
RetainPtr<NSString> NSString::stringWithFileSystemBytes(std::string_view bytes) {
  auto string = WithLength(bytes.size());
  std::copy(bytes.begin(), bytes.end(), string->MutableBytes());
  return string;
}

bool NSString::isEqualToString(const NSString* other) const noexcept { return other && view() == other->view(); }

bool NSString::hasPrefix(std::string_view prefix) const noexcept { return view().starts_with(prefix); }

bool NSString::hasSuffix(std::string_view suffix) const noexcept { return view().ends_with(suffix); }

bool NSString::canBeConvertedToASCII() const noexcept { return darwin::IsASCII(view()); }

RetainPtr<NSString> NSString::stringByAppendingString(std::string_view tail) const { return Joined(view(), tail, {}); }

RetainPtr<NSString> NSString::stringByReplacingOccurrencesOfString(std::string_view from, std::string_view to) const {
  // Found everywhere: without this refusal the loop would never end.
  if (from.empty()) return Shared();
  std::string result;
  std::string_view rest = view();
  for (auto found = rest.find(from); found != std::string_view::npos; found = rest.find(from)) {
    result.append(rest.substr(0, found)).append(to);
    rest.remove_prefix(found + from.size());
  }
  return Joined(result, rest, {});
}

// Callers cut behind an ASCII character, never within a longer one.
RetainPtr<NSString> NSString::substringToIndex(std::size_t bytes) const {
  return stringWithFileSystemBytes(view().substr(0, bytes));
}

RetainPtr<NSString> NSString::stringByAppendingPathComponent(std::string_view component) const {
  if (view().empty()) return stringWithFileSystemBytes(component);
  const std::string_view directory = WithoutTrailingSeparators(view());
  const std::string_view leaf = WithoutLeadingSeparators(component);
  // A component that is nothing but separators adds nothing.
  const bool isSeparated = directory.empty() || !leaf.empty();  // the root always keeps its separator
  return Joined(directory, isSeparated ? "/" : "", leaf);
}

}  // namespace quill::foundation
