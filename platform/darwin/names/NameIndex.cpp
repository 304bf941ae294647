// A sorted list, and no hash table: whoever chooses the names in a directory could choose them to collide.
#include "platform/darwin/names/NameIndex.h"

#include <algorithm>
#include <cstring>

#include "platform/darwin/names/Normalization.h"

namespace quill::darwin {

std::uint32_t NameIndex::Append(std::string_view spelling) {
  const auto position = static_cast<std::uint32_t>(text_.size());
  text_.append(spelling) += '\0';
  return position;
}

void NameIndex::Add(std::string_view name) {
  if (IsASCII(name)) return;
  const std::string composed = FormC(name);
  const std::uint32_t position = Append(composed);
  entries_.push_back({position, composed == name ? position : Append(name)});
}

void NameIndex::Sort() {
  std::sort(entries_.begin(), entries_.end(), [this](const Entry& one, const Entry& other) {
    const int order = std::strcmp(TextAt(one.composed), TextAt(other.composed));
    return order != 0 ? order < 0 : std::strcmp(TextAt(one.name), TextAt(other.name)) < 0;
  });
  text_.shrink_to_fit();
  entries_.shrink_to_fit();
}

bool NameIndex::HasFormC(std::size_t entry, std::string_view composed) const noexcept {
  if (entry >= entries_.size()) return false;
  const char* const text = TextAt(entries_[entry].composed);
  return std::strncmp(text, composed.data(), composed.size()) == 0 && text[composed.size()] == '\0';
}

void NameIndex::Search(std::string_view composed) {
  const auto isBefore = [&](const Entry& entry) { return TextAt(entry.composed) < composed; };
  const auto isTwin = [&](const Entry& entry) { return TextAt(entry.composed) == composed; };
  const auto first = std::partition_point(entries_.begin(), entries_.end(), isBefore);
  first_ = static_cast<std::size_t>(first - entries_.begin());
  end_ = static_cast<std::size_t>(std::partition_point(first, entries_.end(), isTwin) - entries_.begin());
}

std::span<const NameIndex::Entry> NameIndex::Twins(std::string_view composed) {
  const bool isLast = first_ < end_ && HasFormC(first_, composed);
  if (!isLast && HasFormC(end_, composed) && !HasFormC(end_ + 1, composed)) {
    first_ = end_++;
  } else if (!isLast) {
    Search(composed);
  }
  return std::span(entries_).subspan(first_, end_ - first_);
}

NameIndex::Found NameIndex::Find(std::string_view name) {
  const bool isInFormC = HasFormC(first_, name) || HasFormC(end_, name);
  const std::string otherwise = isInFormC ? std::string() : FormC(name);
  const std::string_view composed = isInFormC ? name : otherwise;
  const std::span<const Entry> twins = Twins(composed);
  if (twins.empty()) return {};
  if (twins.size() == 1) return At(twins.front());
  for (const std::string& preferred : {std::string(name), std::string(composed), FormD(name)}) {
    const auto isBefore = [&](const Entry& twin) { return TextAt(twin.name) < preferred; };
    const auto twin = std::partition_point(twins.begin(), twins.end(), isBefore);
    if (twin != twins.end() && TextAt(twin->name) == preferred) return At(*twin);
  }
  return At(twins.front());
}

}  // namespace quill::darwin
