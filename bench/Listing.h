// What every contestant's listing does with its entries.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string_view>

namespace bench {

inline constexpr int kListedEntries = 100'000;

/// Counts what was delivered, so that a contestant cannot skip entries.
struct Listed {
  int entries = 0;
  int directories = 0;
  std::size_t bytes = 0;

  void Add(std::string_view name, bool isDirectory) {
    ++entries;
    directories += isDirectory;
    bytes += name.size();
  }
};

/// Created at the first call.
const std::filesystem::path& LargeDirectory();

void RegisterListing(const char* contestant, Listed (*list)(const std::filesystem::path&));

}  // namespace bench
