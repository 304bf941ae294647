// A listing as every contestant makes it.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string_view>

namespace bench {

inline constexpr int kListedEntries = 100'000;

/// Counts what was delivered, so that nothing can be left out.
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

/// Made when it is first asked for.
const std::filesystem::path& LargeDirectory();

void RegisterListing(const char* contestant, Listed (*list)(const std::filesystem::path&));

}  // namespace bench
