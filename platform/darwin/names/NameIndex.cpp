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
  return entry < entries_.size() && composed == TextAt(entries_[entry].composed);
}

std::span<const NameIndex::Entry> NameIndex::Twins(std::string_view composed) {
  if (!HasFormC(first_, composed)) first_ = end_;
  if (!HasFormC(first_, composed)) {
    const auto isBefore = [&](const Entry& entry) { return TextAt(entry.composed) < composed; };
    const auto first = std::partition_point(entries_.begin(), entries_.end(), isBefore);
    first_ = static_cast<std::size_t>(first - entries_.begin());
  }
  for (end_ = first_; HasFormC(end_, composed);) ++end_;
  return {entries_.begin() + static_cast<std::ptrdiff_t>(first_), end_ - first_};
}

NameIndex::Found NameIndex::Find(std::string_view name) {
  const bool isInFormC = HasFormC(first_, name) || HasFormC(end_, name);
  const std::string composed = isInFormC ? std::string(name) : FormC(name);
  const std::span<const Entry> twins = Twins(composed);
  if (twins.empty()) return {};
  if (twins.size() == 1) return At(twins.front());
  for (const std::string& preferred : {std::string(name), composed, FormD(name)}) {
    const auto isPreferred = [&](const Entry& twin) { return preferred == TextAt(twin.name); };
    const auto found = std::find_if(twins.begin(), twins.end(), isPreferred);
    if (found != twins.end()) return At(*found);
  }
  return At(twins.front());
}

}  // namespace quill::darwin
