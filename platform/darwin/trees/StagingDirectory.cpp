#include "platform/darwin/trees/StagingDirectory.h"

#include <fcntl.h>

#include <cassert>

#include "platform/darwin/descriptors/NewDirectory.h"
#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/trees/Metadata.h"

namespace quill::darwin {
namespace {

constexpr int kMostTrials = 100;

bool OthersMayExchangeEntries(int directory) {
  ItemStatus status;
  if (GetStatus(directory, status)) return true;
  return (status.mode & (S_IWGRP | S_IWOTH)) != 0 && (status.mode & S_ISVTX) == 0;
}

}  // namespace

Error ChooseHiddenName(std::string& name) {
  unsigned char random[10];
  if (const Error error = FillWithRandom(random, sizeof random)) return error;
  name = ".quill-";
  for (const unsigned char byte : random) {
    name += static_cast<char>('a' + (byte & 0x0f));
    name += static_cast<char>('a' + (byte >> 4));
  }
  return {};
}

StagingDirectory::~StagingDirectory() {
  if (!IsOpen()) return;
  const Error error = Unlink(parent_, name(), AT_REMOVEDIR);
  // A failure that passes is survived; with something in it, it stays.
  if (error && error != ENOTEMPTY) (void)Unlink(parent_, name(), AT_REMOVEDIR);
}

Error StagingDirectory::Make(int parent) {
  assert(!IsOpen() && "a staging directory is made once");
  parent_ = parent;
  for (int trial = 0; trial < kMostTrials; ++trial) {
    if (const Error error = ChooseHiddenName(name_)) return error;
    const Error error = MakeNewDirectory(parent, name(), open_);
    if (error != EEXIST) return error ? error : Secure();
  }
  return EEXIST;
}

Error StagingDirectory::Secure() {
  if (const Error error = GetStatus(descriptor(), status_)) return error;
  // Another user may have put a directory in its place before it was opened.
  if (status_.owner != EffectiveUser() && OthersMayExchangeEntries(parent_)) return Error::Replaced();
  rightsMissing_ = (status_.mode & S_IRWXU) != S_IRWXU;
  if ((status_.mode & ACCESSPERMS) != S_IRWXU) {
    const Error error = ChangeMode({descriptor()}, S_IRWXU);
    // A file system without permissions may refuse.
    if (error && error != EPERM && error != EOPNOTSUPP) return error;
  }
  return RemoveInheritedAccess(descriptor(), /*isDirectory=*/true);
}

}  // namespace quill::darwin
