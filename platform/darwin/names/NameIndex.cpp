// A sorted list, and no hash table: whoever chooses the names in a directory could choose them to collide.
#include "platform/darwin/names/NameIndex.h"

#include <algorithm>
#include <cstring>
#include <span>

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

const char* NameIndex::Find(std::string_view name) const {
  const std::string composed = FormC(name);
  const auto isBefore = [&](const Entry& entry) { return composed.compare(TextAt(entry.composed)) > 0; };
  const auto isEqual = [&](const Entry& entry) { return composed == TextAt(entry.composed); };
  const auto first = std::partition_point(entries_.begin(), entries_.end(), isBefore);
  const std::span twins(first, std::find_if_not(first, entries_.end(), isEqual));
  if (twins.empty()) return nullptr;
  if (twins.size() > 1) {
    for (const std::string& preferred : {std::string(name), composed, FormD(name)}) {
      const auto is = [&](const Entry& twin) { return preferred == TextAt(twin.name); };
      const auto found = std::find_if(twins.begin(), twins.end(), is);
      if (found != twins.end()) return TextAt(found->name);
    }
  }
  return TextAt(twins.front().name);
}

}  // namespace quill::darwin
