#include "platform/darwin/names/RememberedDirectory.h"

#include <fcntl.h>
#include <pthread.h>

#include <algorithm>
#include <memory>
#include <new>
#include <tuple>
#include <utility>

#include "platform/darwin/descriptors/NewDirectory.h"
#include "platform/darwin/names/Normalization.h"

namespace quill::darwin {
namespace {

thread_local RememberedDirectory* ofThisThread = nullptr;

// What a destructor of the thread's would do, too. To register one, glibc needs memory, and ends the program when there
// is none; a key needs none.
void Release(void* directory) {
  ofThisThread = nullptr;
  delete static_cast<RememberedDirectory*>(directory);
}

struct ReleasingKey {
  ReleasingKey() noexcept : isMade(::pthread_key_create(&key, Release) == 0) {}
  pthread_key_t key = 0;
  const bool isMade;
};

bool ReleaseWithThread(RememberedDirectory* directory) noexcept {
  static const ReleasingKey releasing;
  return releasing.isMade && ::pthread_setspecific(releasing.key, directory) == 0;
}

/// Of two equivalent entries.
bool IsPreferred(std::string_view entry, std::string_view other, const std::string& composed) {
  const std::string decomposed = FormD(composed);
  const auto rank = [&](std::string_view one) { return std::tuple(one != composed, one != decomposed, one); };
  return rank(entry) < rank(other);
}

}  // namespace

RememberedDirectory* RememberedDirectory::OfThisThread() noexcept { return ofThisThread; }

void RememberedDirectory::Remember(RememberedDirectory&& read) noexcept {
  if (!ofThisThread) {
    auto made = std::unique_ptr<RememberedDirectory>(new (std::nothrow) RememberedDirectory);
    if (!made || !ReleaseWithThread(made.get())) return;
    ofThisThread = made.release();
  }
  std::swap(*ofThisThread, read);
}

// The clock is read before the status: a change after both has a later time than the status shows.
RememberedDirectory::RememberedDirectory(std::string_view path, int directory) : path_(path) {
  const std::timespec beginning = TimeOfNewItems();
  isEligible_ = !GetStatus(directory, status_) && !MayChangeUnseen(status_, beginning);
}

void RememberedDirectory::Add(std::string_view name, std::string_view composed) {
  isEligible_ &= text_.size() + name.size() + composed.size() < kMostRemembered;
  if (!isEligible_) return;
  entries_.push_back(static_cast<std::uint32_t>(text_.size()));
  text_.append(composed).push_back('\0');
  text_.append(name).push_back('\0');
}

// Sorted, and no hash table: whoever chooses the names could choose them to collide.
void RememberedDirectory::Finish() {
  const auto isBefore = [this](std::uint32_t left, std::uint32_t right) { return FormCOf(left) < FormCOf(right); };
  std::sort(entries_.begin(), entries_.end(), isBefore);
  isComplete_ = isEligible_;
}

bool RememberedDirectory::IsCurrent(std::string_view path, Freshness freshness) noexcept {
  if (!IsOf(path)) return false;
  const std::timespec now = TimeOfNewItems();
  if (freshness == Freshness::kOfThisTick && IsSameTime(now, lastChecked_)) return true;
  ItemStatus status;
  if (GetStatusOf(AT_FDCWD, path_.empty() ? "." : path_.c_str(), FinalLink::kTarget, status)) return false;
  if (!status.IsSameAs(status_) || !IsSameTime(status.changed, status_.changed)) return false;
  lastChecked_ = now;
  return true;
}

Error RememberedDirectory::Find(std::string_view name, std::string& found) const {
  const std::string composed = FormC(name);
  const auto isBefore = [this](std::uint32_t entry, std::string_view wanted) { return FormCOf(entry) < wanted; };
  std::string_view best;
  auto at = std::lower_bound(entries_.begin(), entries_.end(), composed, isBefore);
  for (; at != entries_.end() && FormCOf(*at) == composed; ++at) {
    const std::string_view entry = NameOf(*at);
    if (entry == name) return ENOENT;
    if (best.empty() || IsPreferred(entry, best, composed)) best = entry;
  }
  if (best.empty()) return ENOENT;
  found = best;
  return {};
}

void RememberedDirectory::NoteFound(std::string_view asked, std::string_view found) {
  lastAsked_ = asked;
  lastFound_ = found;
}

bool RememberedDirectory::WasFound(std::string_view asked, Freshness freshness, std::string& found) {
  if (lastAsked_.empty() || asked != lastAsked_ || !IsCurrent(path_, freshness)) return false;
  found = lastFound_;
  return true;
}

}  // namespace quill::darwin
