#include "platform/darwin/names/DirectoryMemory.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <pthread.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>

#include "platform/darwin/descriptors/DirectoryReader.h"
#include "platform/darwin/descriptors/NewDirectory.h"
#include "platform/darwin/descriptors/SystemCalls.h"

namespace quill::darwin {
namespace {

/// A path leads through few directories whose names need a search.
constexpr std::size_t kMostDirectories = 8;
/// In bytes, for all of them; 200,000 names of 80 characters.
constexpr std::size_t kMostMemory = 32 << 20;

/// As many finds are worth the reading of a small directory. A large one is read again only after as many finds as it
/// had names, so that reading never takes more than a constant share of the time, however often it changes.
constexpr std::size_t kFindsWorthReading = 32;

const char* PathOf(const std::string& prefix) { return prefix.empty() ? "." : prefix.c_str(); }

/// File systems of this machine, whose stamps come from its own clock. An overlay gives the stamps of its upper layer,
/// which alone may change.
bool HasTrueStamps(int directory) {
  constexpr unsigned kTrusted[] = {EXT4_SUPER_MAGIC, XFS_SUPER_MAGIC, BTRFS_SUPER_MAGIC,
                                   F2FS_SUPER_MAGIC, TMPFS_MAGIC,     OVERLAYFS_SUPER_MAGIC};
  struct statfs fileSystem;
  if (GetFileSystem(directory, fileSystem)) return false;
  return std::find(std::begin(kTrusted), std::end(kTrusted), static_cast<unsigned>(fileSystem.f_type)) !=
         std::end(kTrusted);
}

/// False if the directory has more than may be remembered, or cannot be read to its end.
bool ReadNames(DirectoryReader& reader, NameIndex& names) {
  while (const DirectoryReader::Entry* entry = reader.Next()) {
    names.Add(entry->name);
    if (names.Size() > kMostMemory) return false;
  }
  names.Sort();
  return !reader.error();
}

// Every question about a path looks here first, and a pointer is found faster than what belongs to the key.
thread_local DirectoryMemory* ofThisThread = nullptr;

/// Not a thread_local object: registering its destructor ends the program when memory runs out.
const std::optional<pthread_key_t>& Key() noexcept {
  static const auto key = []() -> std::optional<pthread_key_t> {
    pthread_key_t made;
    const auto forget = [](void* memory) {
      ofThisThread = nullptr;
      delete static_cast<DirectoryMemory*>(memory);
    };
    if (::pthread_key_create(&made, forget) != 0) return std::nullopt;
    return made;
  }();
  return key;
}

}  // namespace

DirectoryMemory* DirectoryMemory::OfThread() noexcept { return ofThisThread; }

DirectoryMemory* DirectoryMemory::OfThreadOrNew() {
  if (DirectoryMemory* const existing = OfThread()) return existing;
  auto made = std::make_unique<DirectoryMemory>();
  const bool isKept = Key() && ::pthread_setspecific(*Key(), made.get()) == 0;
  return isKept ? ofThisThread = made.release() : nullptr;
}

DirectoryMemory::Directory* DirectoryMemory::Suppose(std::string_view prefix) noexcept {
  const auto isThis = [&](const Directory& directory) { return directory.prefix == prefix; };
  const auto known = std::find_if(directories_.begin(), directories_.end(), isThis);
  return known == directories_.end() ? nullptr : &*known;
}

bool DirectoryMemory::Confirm(const Directory& supposed) {
  ItemStatus status;
  const Error error = GetStatusOf(AT_FDCWD, PathOf(*supposed.prefix), FinalLink::kTarget, status);
  return !error && Unchanged(status) == &supposed;
}

DirectoryMemory::Directory* DirectoryMemory::Unchanged(const ItemStatus& status) {
  const auto isSame = [&](const Directory& directory) { return directory.status.IsSameAs(status); };
  const auto known = std::find_if(directories_.begin(), directories_.end(), isSame);
  if (known == directories_.end()) return nullptr;
  if (!IsSameTime(known->status.changed, status.changed)) return directories_.erase(known), nullptr;
  directories_.splice(directories_.begin(), directories_, known);
  return &directories_.front();
}

NameIndex* DirectoryMemory::Recall(int directory, const std::string& prefix) {
  // By a descriptor it may be any of them. By a path it is one that was read by this path, or it is looked for anew.
  if (directories_.empty() || (directory == AT_FDCWD && !Suppose(prefix))) return nullptr;
  ItemStatus status;
  if (GetStatusOf(directory, PathOf(prefix), FinalLink::kTarget, status)) return nullptr;
  Directory* const known = Unchanged(status);
  return known ? &known->names : nullptr;
}

NameIndex* DirectoryMemory::Read(int directory, const std::string& prefix) {
  FileDescriptor descriptor;
  if (Open(directory, PathOf(prefix), O_RDONLY | O_DIRECTORY, descriptor)) return nullptr;
  Directory read;
  if (directory == AT_FDCWD) read.prefix = prefix;
  // In this order: a change that the reading may miss is then not earlier than the beginning.
  const std::timespec beginning = TimeOfNewItems();
  if (GetStatus(descriptor.get(), read.status)) return nullptr;
  if (Directory* const known = Unchanged(read.status)) {
    if (read.prefix) known->prefix = std::move(read.prefix);
    return &known->names;
  }
  if (MayChangeUnseen(read.status, beginning) || read.status.isEncrypted || !HasTrueStamps(descriptor.get())) {
    return nullptr;
  }
  DirectoryReader reader(std::move(descriptor));
  return ReadNames(reader, read.names) ? Keep(std::move(read)) : nullptr;
}

NameIndex* DirectoryMemory::Keep(Directory&& read) {
  if (read.prefix == searched_) worthReading_ = std::max(kFindsWorthReading, read.names.Count());
  directories_.push_front(std::move(read));
  std::size_t memory = 0;
  const auto isTooMuch = [&](const Directory& directory) { return (memory += directory.names.Size()) > kMostMemory; };
  directories_.erase(std::find_if(directories_.begin(), directories_.end(), isTooMuch), directories_.end());
  if (directories_.size() > kMostDirectories) directories_.pop_back();
  return &directories_.front().names;
}

bool DirectoryMemory::ShouldReadAfterFinding(const std::string& prefix) {
  if (prefix != searched_) {
    searched_ = prefix;
    found_ = 0;
    worthReading_ = kFindsWorthReading;
  }
  if (++found_ < worthReading_) return false;
  found_ = 0;
  return true;
}

}  // namespace quill::darwin
