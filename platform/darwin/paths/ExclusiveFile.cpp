#include "platform/darwin/paths/ExclusiveFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/darwin/descriptors/FileDescriptor.h"
#include "platform/darwin/descriptors/Retry.h"
#include "platform/darwin/names/NameLookup.h"

namespace quill::darwin {
namespace {

constexpr ::mode_t kOwnerReadsAndWrites = S_IRUSR | S_IWUSR;

int WriteAll(int descriptor, std::string_view contents) {
  while (!contents.empty()) {
    const auto count = Retry([&] { return ::write(descriptor, contents.data(), contents.size()); });
    if (count < 0) return errno;
    contents.remove_prefix(static_cast<std::size_t>(count));
  }
  return 0;
}

}  // namespace

int CreateExclusively(const char* path, std::string_view contents) {
  const std::string place = PathForCreation(path);
  FileDescriptor file(
      Retry([&] { return ::open(place.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kOwnerReadsAndWrites); }));
  if (!file) return errno;

  (void)::fchmod(file.get(), kOwnerReadsAndWrites);  // what the umask has taken; only a file system without refuses
  int error = WriteAll(file.get(), contents);
  if (const int closing = file.Close(); error == 0) error = closing;
  if (error != 0) (void)::unlink(place.c_str());  // the reason of the writing is the one to tell
  return error;
}

}  // namespace quill::darwin
