// The host's path string: UTF-8 text, or no text at all.
//
// Every path enters and leaves the layer in one of these. A string owns its text; copies are independent. Paths of up
// to kInlineCapacity - 1 bytes live inside the object and cost no allocation. A string may hold any bytes but NUL,
// valid UTF-8 or not. One string is used by one thread at a time; different strings by any.
//
// Members that make text grow may throw std::bad_alloc; the string then holds what it held before.
#pragma once

#include <cstddef>
#include <string_view>

#include "host/Export.h"

/// A path: text, or none.
class QUILL_EXPORT QuillFileString {
 public:
  /// An empty string without text: getUTF8 answers null until text is set.
  QuillFileString() noexcept;

  /// An independent copy. A string without text gives one without text.
  QuillFileString(const QuillFileString& other);
  /// Replaces the content by such a copy.
  QuillFileString& operator=(const QuillFileString& other);

  ~QuillFileString();

  /// Replaces the content by a copy of the NUL-terminated \p text, which may point into this string.
  /// Null leaves the string without text.
  void setUTF8(const char* text);

  /// The text, NUL-terminated and valid until the string next changes; null when there is none.
  const char* getUTF8() const noexcept { return text; }

  /// True when the string has no text or an empty one.
  bool isEmpty() const noexcept { return text == end; }

  /// Appends \p leaf, a name or a relative path, to the directory that the string names, with one "/" between the two.
  /// An empty string becomes the leaf alone; an empty or null leaf changes nothing. The leaf may point into this
  /// string.
  void appendLeaf(const char* leaf);
  /// The same; a leaf without text changes nothing.
  void appendLeaf(const QuillFileString& leaf) { appendLeaf(leaf.getUTF8()); }

  /// Removes the last component. If a directory part is left, returns true, and \p parent, unless null, receives it
  /// too; the parent of an item of the root is "/". For a bare name, "/" or no text returns false; this string becomes
  /// empty and \p parent is untouched. Separators at the end do not count as a component.
  bool trimLeaf(QuillFileString* parent);

  /// Releases the storage; the string has no text afterwards.
  void freeAll() noexcept;

 private:
  /// The form in which the content was given.
  enum EOriginalFormat : int { kNoOriginal = 0, kOriginalUTF8 = 1 };

  static constexpr std::size_t kInlineCapacity = 96;

  void Replace(std::string_view head, std::string_view middle, std::string_view tail);

  char* text = nullptr;       // null without text, else inlineText or storage of its own
  char* end = nullptr;        // the NUL behind the text
  char16_t* utf16 = nullptr;  // the 16-bit form that hosts of other platforms keep; none here
  EOriginalFormat originalFormat = kNoOriginal;
  char inlineText[kInlineCapacity];
};

// Outside the class, so that a constant string may be declared without an initialiser.
inline QuillFileString::QuillFileString() noexcept = default;
