#include "host/QuillFileString.h"

#include <cstring>

// 3 pointers, the format, 96 characters inline, and what aligns them: compiled hosts hold strings by value.
static_assert(sizeof(void*) != 8 || (sizeof(QuillFileString) == 128 && alignof(QuillFileString) == 8),
              "the size of QuillFileString is part of the binary interface");

namespace {

constexpr char kSeparator = '/';

std::string_view WithoutSeparatorsAtEnd(std::string_view path) noexcept {
  while (path.ends_with(kSeparator)) path.remove_suffix(1);
  return path;
}

std::string_view WithoutSeparatorsAtStart(std::string_view path) noexcept {
  while (path.starts_with(kSeparator)) path.remove_prefix(1);
  return path;
}

}  // namespace

QuillFileString::QuillFileString(const QuillFileString& other) { setUTF8(other.text); }

// If there is no memory for the copy, the old text stays; setUTF8 releases it last.
QuillFileString& QuillFileString::operator=(const QuillFileString& other) {
  if (this != &other) setUTF8(other.text);
  return *this;
}

QuillFileString::~QuillFileString() { freeAll(); }

void QuillFileString::setUTF8(const char* newText) {
  if (!newText) return freeAll();
  const std::size_t length = std::strlen(newText);
  if (length >= kInlineCapacity) return Replace({newText, length}, {}, {});
  // Short text, the usual case, goes straight into the object. It may be part of the present text, which is released
  // afterwards.
  std::memmove(inlineText, newText, length + 1);
  freeAll();
  text = inlineText;
  end = text + length;
  originalFormat = kOriginalUTF8;
}

void QuillFileString::appendLeaf(const char* leaf) {
  if (!leaf || *leaf == '\0') return;
  // A leaf with separators in front keeps them here: appended to nothing, "/a" is an absolute path.
  if (isEmpty()) return setUTF8(leaf);

  // Exactly one separator comes between the two, however many they had. Those at the end of the leaf stay.
  const std::string_view tail = WithoutSeparatorsAtStart(leaf);
  if (tail.empty()) return;
  const std::string_view directory(text, static_cast<std::size_t>(end - text));
  Replace(WithoutSeparatorsAtEnd(directory), {&kSeparator, 1}, tail);
}

bool QuillFileString::trimLeaf(QuillFileString* parent) {
  if (isEmpty()) return false;

  const std::string_view path = WithoutSeparatorsAtEnd({text, static_cast<std::size_t>(end - text)});
  const std::size_t separator = path.find_last_of(kSeparator);
  if (separator == std::string_view::npos) {
    // A bare name has no directory: what is left is the empty text, which still is a text.
    *(end = text) = '\0';
    return false;
  }
  std::string_view directory = WithoutSeparatorsAtEnd(path.substr(0, separator));
  if (directory.empty()) directory = path.substr(0, 1);  // the root keeps its separator

  if (parent && parent != this) parent->Replace(directory, {}, {});  // first, as it alone can fail
  *(end = text + directory.size()) = '\0';
  return true;
}

void QuillFileString::freeAll() noexcept {
  if (text != inlineText) delete[] text;
  text = end = nullptr;
  utf16 = nullptr;
  originalFormat = kNoOriginal;
}

// The parts may point into the present text, so that is released last.
void QuillFileString::Replace(std::string_view head, std::string_view middle, std::string_view tail) {
  const std::size_t length = head.size() + middle.size() + tail.size();
  // Put together outside the object, because the present text may be in its own array.
  char assembled[kInlineCapacity];
  char* const storage = length < kInlineCapacity ? assembled : new char[length + 1];

  char* position = storage;
  for (const std::string_view part : {head, middle, tail}) {
    if (!part.empty()) std::memcpy(position, part.data(), part.size());
    position += part.size();
  }
  *position = '\0';

  freeAll();
  text = storage == assembled ? inlineText : storage;
  if (text == inlineText) std::memcpy(inlineText, assembled, length + 1);
  end = text + length;
  originalFormat = kOriginalUTF8;
}
