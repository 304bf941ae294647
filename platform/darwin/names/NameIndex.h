// The names of one directory, to be found by any of their spellings.
//
// ASCII names are left out: they are their own Form C, and the kernel finds them. All others are in it, those in Form C
// included, so that it also knows which names are not in the directory. Each name is kept as text, twice where it is
// not in Form C, up to a limit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quill::darwin {

class NameIndex {
 public:
  /// Both null if there is no such name.
  struct Found {
    const char* name = nullptr;
    const char* composed = nullptr;
  };

  void Add(std::string_view name);
  /// Comes after the last Add, and before the first Find.
  void Sort();

  /// The name itself if it is in the index; else, of those with the same Form C, that Form C, then its Form D, then the
  /// first in byte order. Valid as long as the index.
  Found Find(std::string_view name);

  /// In bytes.
  std::size_t Size() const noexcept { return text_.size() + entries_.size() * sizeof(Entry); }
  std::size_t Count() const noexcept { return entries_.size(); }

 private:
  /// Where the two spellings begin in the text; each ends with NUL.
  struct Entry {
    std::uint32_t composed;
    std::uint32_t name;
  };

  std::uint32_t Append(std::string_view spelling);
  Found At(const Entry& entry) const noexcept { return {TextAt(entry.name), TextAt(entry.composed)}; }
  const char* TextAt(std::uint32_t position) const noexcept { return text_.data() + position; }
  bool HasFormC(std::size_t entry, std::string_view composed) const noexcept;
  void Search(std::string_view composed);
  /// All with that Form C, in byte order.
  std::span<const Entry> Twins(std::string_view composed);

  std::string text_;
  std::vector<Entry> entries_;
  /// The names that were found last: mostly these are asked for again, or the next.
  std::size_t first_ = 0;
  std::size_t end_ = 0;
};

}  // namespace quill::darwin
