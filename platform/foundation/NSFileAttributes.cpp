#include "platform/foundation/NSFileAttributes.h"

#include <array>

#include "platform/darwin/paths/ExtendedAttributes.h"

namespace quill::foundation {
namespace {

// A double has 53 bits: today's seconds leave 22 of them, a quarter of a microsecond, for the fraction.
double SecondsSince1970(const std::timespec& time) noexcept {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

}  // namespace

// Where the file system keeps no time of birth, the earliest of the other times is taken: the item existed by then.
double NSFileAttributes::creationDate() const noexcept { return SecondsSince1970(status_.Created()); }

double NSFileAttributes::modificationDate() const noexcept { return SecondsSince1970(status_.modified); }

std::optional<unsigned long> NSFileAttributes::hfsCreatorCode() const {
  // File servers for the Apple platforms store 32 bytes of Finder information; the creator begins at byte 4.
  std::array<unsigned char, 32> information;
  // Linux lets ordinary users keep attributes only under "user." (xattr(7)), so the name has that in front.
  constexpr const char* kAttribute = "user.com.apple.FinderInfo";
  std::size_t size = 0;
  const char* const path = itemPath_->fileSystemRepresentation();
  if (darwin::GetExtendedAttribute(path, kAttribute, information.data(), information.size(), size)) return std::nullopt;
  // A shorter value is not Finder information; a longer one has been refused above (ERANGE).
  if (size != information.size()) return std::nullopt;
  unsigned long creator = 0;
  // Big-endian, as the platform of its origin wrote it.
  for (std::size_t index = 4; index < 8; ++index) creator = creator << 8 | information[index];
  return creator;
}

NSOwnership NSFileAttributes::ownership() const noexcept {
  return {status_.group, status_.owner, status_.Permissions()};
}

}  // namespace quill::foundation
