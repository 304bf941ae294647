#include "platform/osx/Operation.h"

#include <atomic>
#include <cerrno>
#include <mutex>
#include <new>
#include <utility>

#include "platform/darwin/paths/Status.h"
#include "platform/osx/OSXFileSystemUtils.h"

namespace quill {

/// The last failure of a manager, which several threads may use at once.
struct FailureLog {
  std::mutex mutex;
  OperationFailure last;
};

namespace {

// One chain for each thread, of all managers together: a host's override may work with a second manager inside an
// operation of the first.
thread_local Operation* innermost = nullptr;

/// Null when no operation has failed yet. Another thread may be making it.
FailureLog* Existing(FailureLog* const& place) noexcept {
  return std::atomic_ref<FailureLog*>(const_cast<FailureLog*&>(place)).load(std::memory_order_acquire);
}

/// Made when it is first needed; null without memory.
FailureLog* Obtain(FailureLog*& place) noexcept {
  const std::atomic_ref<FailureLog*> log(place);
  FailureLog* current = log.load(std::memory_order_acquire);
  if (current) return current;
  // Two threads may fail for the first time at once. The one that comes second deletes its own and takes the other's.
  auto* const made = new (std::nothrow) FailureLog;
  if (made && log.compare_exchange_strong(current, made, std::memory_order_acq_rel)) return made;
  delete made;
  return current;
}

// A manager without an observer leaves the one in place that the program has set for this thread.
darwin::TreeObserver* Choose(darwin::TreeObserver* ofManager) noexcept {
  return ofManager ? ofManager : darwin::TreeObserver::Current();
}

}  // namespace

darwin::Error CauseOf(const foundation::NSError* error) noexcept {
  const bool isPosix = error && error->domain() && error->domain()->isEqualToString(foundation::NSPOSIXErrorDomain());
  return isPosix ? darwin::Error(static_cast<int>(error->code())) : darwin::Error();
}

Operation::Operation(OSXFileManager& manager, const char* name) noexcept
    : manager_(manager), name_(name), outer_(std::exchange(innermost, this)) {}

Operation::Operation(OSXFileManager& manager, const char* name, const QuillFileString& path) noexcept
    : manager_(manager), name_(name), path_(&path), outer_(std::exchange(innermost, this)) {}

Operation::Operation(OSXFileManager& manager, const char* name, const QuillFileString& path,
                     const QuillFileString& secondPath) noexcept
    : manager_(manager), name_(name), path_(&path), secondPath_(&secondPath), outer_(std::exchange(innermost, this)) {}

Operation::~Operation() { innermost = outer_; }

bool Operation::Fail(darwin::Error cause) {
  return Fail(OSXFileSystemUtils::_PosixErrToQuillErr(cause.posix()), cause);
}

bool Operation::Fail(const foundation::NSError* cause) {
  return Fail(OSXFileSystemUtils::_NSErrorToQuillErr(cause), CauseOf(cause));
}

bool Operation::Fail(int code, darwin::Error cause) {
  manager_.SetLastError(code);
  return Note(cause);
}

bool Operation::FailUnobserved(int code, darwin::Error cause) {
  // The field itself: an override of SetLastError must not hear of it.
  manager_.lastError = code;
  return Note(cause);
}

bool Operation::FailSilently(darwin::Error cause) { return Note(cause); }

bool Operation::FailSilently(const foundation::NSError* cause) { return Note(CauseOf(cause)); }

bool Operation::FailAsCalled() { return Note(cause_); }

bool Operation::FailAsMissing(const QuillFileString& path) {
  darwin::ItemStatus status;
  const darwin::Error reason = darwin::GetStatus(path.getUTF8(), darwin::FinalLink::kItself, status);
  return FailUnobserved(kQuillErrNotFound, darwin::FirstOf(reason, ENOENT));
}

void Operation::HandUp(const CoreFileManager& manager, darwin::Error cause) noexcept {
  for (Operation* running = innermost; running; running = running->outer_) {
    if (&running->manager_ == &manager) running->cause_ = cause;
  }
}

bool Operation::Note(darwin::Error cause) noexcept {
  // The first entry that failed is the cause. What the whole operation ends with may only be a consequence of it.
  const bool isInTree = treeFailure_ && treeFailure_->error();
  cause_ = isInTree ? treeFailure_->error() : cause;
  bool isOutermost = true;
  // All of them learn it, since any of them may answer FailAsCalled. An outer one that succeeds after all notes
  // nothing.
  for (Operation* outer = outer_; outer; outer = outer->outer_) {
    if (&outer->manager_ != &manager_) continue;
    outer->cause_ = cause_;
    isOutermost = false;
  }
  FailureLog* const log = isOutermost ? Obtain(manager_.failures_) : nullptr;
  if (!log) return false;
  const std::lock_guard lock(log->mutex);
  // First what needs no memory, so that name and cause are kept in any case.
  log->last = {name_, {}, {}, {}, cause_.posix()};
  try {
    if (path_) log->last.path = *path_;
    if (secondPath_) log->last.secondPath = *secondPath_;
    if (isInTree) log->last.entry = treeFailure_->entry();
  } catch (const std::bad_alloc&) {
    // What there is no memory for is left out.
  }
  return false;
}

void Operation::HandUp(darwin::Error cause) noexcept {
  if (innermost) innermost->cause_ = cause;
}

TreeOperation::TreeOperation(OSXFileManager& manager, const char* name, const QuillFileString& path) noexcept
    : Operation(manager, name, path), observer_(Choose(manager.treeObserver_)) {
  LearnFrom(failure_);
}

TreeOperation::TreeOperation(OSXFileManager& manager, const char* name, const QuillFileString& path,
                             const QuillFileString& secondPath) noexcept
    : Operation(manager, name, path, secondPath), observer_(Choose(manager.treeObserver_)) {
  LearnFrom(failure_);
}

}  // namespace quill

OSXFileManager::~OSXFileManager() { delete failures_; }

quill::OperationFailure OSXFileManager::LastFailure() const {
  quill::FailureLog* const log = quill::Existing(failures_);
  if (!log) return {};
  const std::lock_guard lock(log->mutex);
  return log->last;
}

void OSXFileManager::ForgetFailure() noexcept {
  quill::FailureLog* const log = quill::Existing(failures_);
  if (!log) return;
  const std::lock_guard lock(log->mutex);
  log->last = {};
}
