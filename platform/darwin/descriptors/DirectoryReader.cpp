// getdents64 and not readdir: a failure is told apart from the end, the position can be handed to another reader of the
// directory, and one buffer serves all entries.
#include "platform/darwin/descriptors/DirectoryReader.h"

#include <dirent.h>
#include <unistd.h>

#include <cassert>

#include "platform/darwin/descriptors/SystemCalls.h"

namespace quill::darwin {
namespace {

bool IsDotOrDotDot(const char* name) noexcept {
  return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

}  // namespace

DirectoryReader::DirectoryReader(FileDescriptor directory) : directory_(std::move(directory)) {
  assert(directory_.IsOpen() && "the directory must be open");
}

bool DirectoryReader::Fill() {
  // Made with the first reading, which some callers never come to.
  if (!buffer_) buffer_ = std::make_unique_for_overwrite<std::byte[]>(kBufferSize);
  parsed_ = filled_ = 0;
  const Error error = ReadDirectory(directory_.get(), buffer_.get(), kBufferSize, filled_);
  // A directory that was removed while it is read has come to its end (getdents(2)).
  if (error != ENOENT) failure_ = error;
  return filled_ > 0;
}

Error DirectoryReader::GoTo(std::int64_t position) noexcept {
  if (const Error error = Seek(directory_.get(), position, SEEK_SET)) return error;
  parsed_ = filled_ = 0;
  next_ = position;
  failure_ = {};  // what broke off there says nothing about here
  return {};
}

const DirectoryReader::Entry* DirectoryReader::Next() {
  for (;;) {
    if (parsed_ == filled_ && (failure_ || !Fill())) return nullptr;
    // Linux pads the records, so each one in the buffer is aligned.
    const auto* record = reinterpret_cast<const dirent64*>(buffer_.get() + parsed_);
    parsed_ += record->d_reclen;
    next_ = record->d_off;
    // Where they come in the order differs between file systems, and some leave them out.
    if (IsDotOrDotDot(record->d_name)) continue;
    current_ = {record->d_name, record->d_ino, record->d_type};
    return &current_;
  }
}

}  // namespace quill::darwin
