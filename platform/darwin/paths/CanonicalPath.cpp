#include "platform/darwin/paths/CanonicalPath.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

#include "platform/darwin/names/NameLookup.h"

namespace quill::darwin {
namespace {

struct Free {
  void operator()(char* text) const noexcept { std::free(text); }
};
using AllocatedText = std::unique_ptr<char, Free>;

}  // namespace

int CanonicalPath(const char* path, std::string& canonical) {
  AllocatedText resolved;
  const int result = OnItem(path, [&resolved](const char* item) {
    resolved.reset(::realpath(item, nullptr));
    return resolved ? 0 : -1;
  });
  if (result != 0) return errno;
  canonical = resolved.get();
  return 0;
}

int CurrentDirectory(std::string& path) {
  const AllocatedText text(::getcwd(nullptr, 0));
  if (!text) return errno;
  if (*text != '/') return ENOENT;  // "(unreachable)", from before the process's root changed
  path = text.get();
  return 0;
}

std::string ProgramPath() {
  std::array<char, PATH_MAX> buffer;
  const auto length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
  return length > 0 ? std::string(buffer.data(), static_cast<std::size_t>(length)) : std::string();
}

}  // namespace quill::darwin
