// The desktop library's listing and URL conversions, where it is installed.
#include <gio/gio.h>

#include <memory>

#include "bench/Listing.h"
#include "bench/Support.h"

namespace bench {
namespace {

struct Release {
  void operator()(void* object) const { g_object_unref(object); }
};
struct Free {
  void operator()(char* text) const { g_free(text); }
};

Listed ListByGLib(const std::filesystem::path& path) {
  constexpr const char* kAttributes = G_FILE_ATTRIBUTE_STANDARD_NAME "," G_FILE_ATTRIBUTE_STANDARD_TYPE;
  Listed listed;
  const std::unique_ptr<GFile, Release> directory(g_file_new_for_path(path.c_str()));
  const std::unique_ptr<GFileEnumerator, Release> entries(
      g_file_enumerate_children(directory.get(), kAttributes, G_FILE_QUERY_INFO_NONE, nullptr, nullptr));
  Require(static_cast<bool>(entries), "g_file_enumerate_children");
  GFileInfo* info = nullptr;
  while (g_file_enumerator_iterate(entries.get(), &info, nullptr, nullptr, nullptr) && info) {
    listed.Add(g_file_info_get_name(info), g_file_info_get_file_type(info) == G_FILE_TYPE_DIRECTORY);
  }
  return listed;
}

}  // namespace

void RegisterGLib() {
  RegisterListing("glib", ListByGLib);
  Register("BM_PathToUrl/glib/60", [] {
    const std::unique_ptr<char, Free> url(g_filename_to_uri(kUrlPath, nullptr, nullptr));
    return url != nullptr;
  });
  const std::shared_ptr<char> url(g_filename_to_uri(kUrlPath, nullptr, nullptr), Free());
  Register("BM_UrlToPath/glib/60", [url] {
    const std::unique_ptr<char, Free> path(g_filename_from_uri(url.get(), nullptr, nullptr));
    return path != nullptr;
  });
}

}  // namespace bench
