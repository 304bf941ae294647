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

DirectoryReader::DirectoryReader(FileDescriptor open) : directory_(std::move(open)) {}

bool DirectoryReader::Fill() {
  if (!buffer_) buffer_ = std::make_unique_for_overwrite<std::byte[]>(kBufferSize);
  const ssize_t got = Retry([&] { return ::getdents64(directory_.get(), buffer_.get(), kBufferSize); });
  // A directory that was removed while it is read has come to its end (getdents(2)).
  if (got < 0 && errno != ENOENT) failure_ = errno;
  parsed_ = 0;
  filled_ = static_cast<std::size_t>(std::max<ssize_t>(got, 0));
  return filled_ > 0;
}

int DirectoryReader::Seek(std::int64_t position) noexcept {
  if (::lseek(directory_.get(), position, SEEK_SET) == -1) return errno;
  parsed_ = filled_ = 0;
  next_ = position;
  failure_ = 0;
  return 0;
}

const DirectoryReader::Entry* DirectoryReader::Next() {
  for (;;) {
    if (parsed_ == filled_ && (failure_ != 0 || !Fill())) return nullptr;
    const auto* record = reinterpret_cast<const dirent64*>(buffer_.get() + parsed_);
    parsed_ += record->d_reclen;
    next_ = record->d_off;
    if (IsDotOrDotDot(record->d_name)) continue;
    current_ = {record->d_name, record->d_ino, record->d_type};
    return &current_;
  }
}

}  // namespace quill::darwin
