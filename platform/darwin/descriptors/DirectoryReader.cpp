#include "platform/darwin/descriptors/DirectoryReader.h"

#include <dirent.h>

#include <algorithm>
#include <cstring>

#include "platform/darwin/descriptors/Retry.h"

namespace quill::darwin {
namespace {

bool IsDotOrDotDot(const char* name) noexcept {
  return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

}  // namespace

DirectoryReader::DirectoryReader(FileDescriptor open) : directory(std::move(open)) {}

bool DirectoryReader::Fill() {
  if (!buffer) buffer = std::make_unique_for_overwrite<std::byte[]>(kBufferSize);
  const ssize_t got = Retry([&] { return ::getdents64(directory.get(), buffer.get(), kBufferSize); });
  // A directory that was removed while it is read has come to its end (getdents(2)).
  if (got < 0 && errno != ENOENT) failure = errno;
  parsed = 0;
  filled = static_cast<std::size_t>(std::max<ssize_t>(got, 0));
  return filled > 0;
}

int DirectoryReader::Seek(std::int64_t position) noexcept {
  if (::lseek(directory.get(), position, SEEK_SET) == -1) return errno;
  parsed = filled = 0;
  next = position;
  failure = 0;
  return 0;
}

const DirectoryReader::Entry* DirectoryReader::Next() {
  for (;;) {
    if (parsed == filled && (failure != 0 || !Fill())) return nullptr;
    const auto* record = reinterpret_cast<const dirent64*>(buffer.get() + parsed);
    parsed += record->d_reclen;
    next = record->d_off;
    if (IsDotOrDotDot(record->d_name)) continue;
    current = {record->d_name, record->d_ino, record->d_type};
    return &current;
  }
}

}  // namespace quill::darwin
