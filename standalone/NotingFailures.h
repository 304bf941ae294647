// How the standalone manager notes what failed; for its own source files.
#pragma once

#include <cerrno>
#include <string>

#include "standalone/StandaloneFileManager.h"

namespace quill {

/// Passes on what an operation on a tree tells, and keeps where it failed.
class FailureWatch final : public darwin::TreeObserver {
 public:
  explicit FailureWatch(darwin::TreeObserver* listener) noexcept : next_(listener) {}

  bool Advanced(const darwin::TreeProgress& progress) override { return !next_ || next_->Advanced(progress); }
  void MetadataNotKept(const char* name, darwin::TreeMetadata what, int posixError) override {
    if (next_) next_->MetadataNotKept(name, what, posixError);
  }
  void Failed(const char* name, int posixError) override {
    entry = name;
    error = posixError;
    if (next_) next_->Failed(name, posixError);
  }

  std::string entry;
  int error = 0;

 private:
  darwin::TreeObserver* next_;
};

/// Runs an operation whose result is false or null when it fails. A success costs nothing and leaves errno as it was.
template <typename Operation>
auto StandaloneFileManager::Noting(const char* name, const QuillFileString& path, const QuillFileString& secondPath,
                                   Operation operation) {
  const int before = errno;
  errno = 0;
  const auto result = operation();
  if (result) {
    errno = before;
  } else {
    Note(name, path, secondPath, errno);
  }
  return result;
}

template <typename Operation>
auto StandaloneFileManager::Noting(const char* name, const QuillFileString& path, Operation operation) {
  return Noting(name, path, {}, operation);
}

template <typename Operation>
bool StandaloneFileManager::NotingTree(const char* name, const QuillFileString& path, const QuillFileString& secondPath,
                                       Operation operation) {
  FailureWatch watch(treeObserver_);
  const bool succeeded = Noting(name, path, secondPath, [&] {
    const darwin::TreeObserverScope scope(&watch);
    return operation();
  });
  if (!succeeded && watch.error != 0) {
    lastFailure_.entry = std::move(watch.entry);
    lastFailure_.posixError = watch.error;
  }
  return succeeded;
}

}  // namespace quill
