#include "platform/foundation/NSFileAttributes.h"

#include <sys/stat.h>

#include <array>

#include "platform/darwin/paths/ExtendedAttributes.h"

namespace quill::foundation {
namespace {

constexpr unsigned kPermissionBits = 07777;

double SecondsSince1970(const std::timespec& time) noexcept {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

}  // namespace

NSFileType NSFileAttributes::fileType() const noexcept {
  switch (status_.mode & S_IFMT) {
    case S_IFREG:
      return NSFileType::kRegular;
    case S_IFDIR:
      return NSFileType::kDirectory;
    case S_IFLNK:
      return NSFileType::kSymbolicLink;
    case S_IFSOCK:
      return NSFileType::kSocket;
    case S_IFCHR:
      return NSFileType::kCharacterSpecial;
    case S_IFBLK:
      return NSFileType::kBlockSpecial;
    default:
      return NSFileType::kUnknown;
  }
}

std::optional<double> NSFileAttributes::creationDate() const noexcept { return SecondsSince1970(status_.created); }

std::optional<double> NSFileAttributes::modificationDate() const noexcept { return SecondsSince1970(status_.modified); }

std::optional<unsigned long> NSFileAttributes::hfsCreatorCode() const {
  // 32 bytes of Finder information as file servers for the Apple platforms keep them; the creator begins at byte 4.
  std::array<unsigned char, 32> information;
  const char* const path = itemPath_->fileSystemRepresentation();
  const long size =
      darwin::GetExtendedAttribute(path, "user.com.apple.FinderInfo", information.data(), information.size());
  if (size != static_cast<long>(information.size())) return std::nullopt;
  unsigned long creator = 0;
  for (std::size_t index = 4; index < 8; ++index) creator = creator << 8 | information[index];
  return creator;
}

NSOwnership NSFileAttributes::ownership() const noexcept {
  return {status_.group, status_.owner, status_.mode & kPermissionBits};
}

}  // namespace quill::foundation
