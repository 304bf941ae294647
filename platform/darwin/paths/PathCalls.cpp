#include "platform/darwin/paths/PathCalls.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "platform/darwin/names/NameLookup.h"
#include "platform/darwin/paths/ItemStatus.h"

namespace quill::darwin {
namespace {

int Fail(int reason) noexcept {
  errno = reason;
  return -1;
}

/// Lets \p make (which answers -1 with errno on failure) fill the six characters at the end of the template. Where the
/// template's directory exists only in another form, the item is made there, and found by the template's own text.
template <typename Make>
int MakeFromTemplate(char* pathTemplate, Make make) {
  if (!pathTemplate) return Fail(EFAULT);
  const std::string original = pathTemplate;  // a failed attempt may fill it all the same
  const int made = make(pathTemplate);
  if (made != -1 || !MayStandUnderAnotherName(errno)) return made;

  const int reason = errno;
  const std::size_t separator = original.rfind('/');
  if (separator == std::string::npos) return Fail(reason);
  auto path = EquivalentPath(original.substr(0, separator).c_str());
  if (!path) return Fail(reason);

  const std::size_t leafLength = original.size() - separator;
  path->append(original, separator);
  const int madeThere = make(path->data());
  if (madeThere != -1) std::memcpy(pathTemplate + separator, path->data() + path->size() - leafLength, leafLength);
  return madeThere;
}

}  // namespace

int unlink(const char* path) {
  if (!path) return Fail(EFAULT);
  const int result = OnItem(path, [](const char* name) { return ::unlink(name); });
  // POSIX gives EPERM for a directory; only Linux says EISDIR.
  return result == -1 && errno == EISDIR ? Fail(EPERM) : result;
}

int rmdir(const char* path) {
  if (!path) return Fail(EFAULT);
  return OnItem(path, [](const char* name) { return ::rmdir(name); });
}

bool IsSymbolicLink(const char* path) {
  ItemStatus status;
  return GetItemStatus(path, FinalLink::kItself, status) == 0 && status.IsSymbolicLink();
}

int symlink(const char* target, const char* linkPath) {
  if (!target || !linkPath) return Fail(EFAULT);
  return ::symlink(target, PathForCreation(linkPath).c_str());
}

long readlink(const char* path, char* buffer, std::size_t size) {
  if (!path) return Fail(EFAULT);
  return OnItem(path, [=](const char* name) { return ::readlink(name, buffer, size); });
}

int mkstemp(char* pathTemplate) {
  return MakeFromTemplate(pathTemplate, [](char* name) { return ::mkostemp(name, O_CLOEXEC); });
}

char* mkdtemp(char* pathTemplate) {
  const int made = MakeFromTemplate(pathTemplate, [](char* name) { return ::mkdtemp(name) ? 0 : -1; });
  return made == 0 ? pathTemplate : nullptr;
}

int close(int descriptor) {
  // Linux has released the descriptor even when it answers EINTR (close(2)): repeating could close another's.
  return ::close(descriptor) == 0 || errno == EINTR ? 0 : -1;
}

long read(int descriptor, void* buffer, std::size_t count) { return ::read(descriptor, buffer, count); }

std::FILE* freopen(const char* path, const char* mode, std::FILE* stream) {
  if (!path || !mode) {
    errno = EFAULT;
    return nullptr;
  }
  return std::freopen(PathForCreation(path).c_str(), mode, stream);
}

}  // namespace quill::darwin
