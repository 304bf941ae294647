// A running operation of the table, and the only way to report that it failed.
//
// Every body that can fail begins with one:
//
//   Operation operation(*this, __func__, path);
//   if (const darwin::Error error = ...) return operation.Fail(error);
//
// Operations nest, as bodies call each other through the table. The failure of an inner one hands its cause to the
// outer ones of the same manager; only what the outermost answers is kept for LastFailure, under its name and with its
// paths. A success costs no system call and no memory.
#pragma once

#include "platform/darwin/descriptors/Error.h"
#include "platform/darwin/trees/TreeFailure.h"
#include "platform/darwin/trees/TreeObserver.h"
#include "platform/foundation/NSError.h"
#include "platform/osx/OSXFileManager.h"

namespace quill {

class Operation {
 public:
  /// \p name is __func__: it must live as long as the program. The paths must outlive the operation.
  Operation(OSXFileManager& manager, const char* name) noexcept;
  Operation(OSXFileManager& manager, const char* name, const QuillFileString& path) noexcept;
  Operation(OSXFileManager& manager, const char* name, const QuillFileString& path,
            const QuillFileString& secondPath) noexcept;
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;
  ~Operation();

  // Each answers false.

  /// Records the host code of \p cause through the table.
  bool Fail(darwin::Error cause);
  bool Fail(const foundation::NSError* cause);
  /// Records \p code through the table.
  bool Fail(int code, darwin::Error cause);
  /// Stores \p code unseen by overrides of SetLastError.
  bool FailUnobserved(int code, darwin::Error cause);
  /// Records no code.
  bool FailSilently(darwin::Error cause);
  bool FailSilently(const foundation::NSError* cause);
  /// For want of a path text, which has no cause: records no code.
  bool FailWithoutText() { return FailSilently(darwin::Error()); }
  /// An operation that was called has failed, and has recorded what is to be recorded: its cause is this one's.
  bool FailAsCalled();
  /// There is no item at \p path, or it cannot be asked for.
  bool FailAsMissing(const QuillFileString& path);

  /// Of the operation that was called last and failed; none if no one did.
  darwin::Error causeOfCalled() const noexcept { return cause_; }
  /// For the bodies of a manager that need not be an OSXFileManager: gives \p cause to the operation that runs them.
  static void HandUp(const CoreFileManager& manager, darwin::Error cause) noexcept;
  /// For what belongs to no manager: to the innermost operation of this thread.
  static void HandUp(darwin::Error cause) noexcept;

  /// Answers what a called operation has answered, null or false for its failure.
  template <typename Result>
  Result Answer(Result result) {
    if (!result) (void)FailAsCalled();  // is false
    return result;
  }

 protected:
  /// From here on a failure's cause and entry are those of \p failure, if it has one.
  void LearnFrom(const darwin::TreeFailure& failure) noexcept { treeFailure_ = &failure; }

 private:
  bool Note(darwin::Error cause) noexcept;

  OSXFileManager& manager_;
  const char* const name_;
  const QuillFileString* const path_ = nullptr;
  const QuillFileString* const secondPath_ = nullptr;
  Operation* const outer_;
  darwin::Error cause_;
  const darwin::TreeFailure* treeFailure_ = nullptr;
};

/// One that works on a tree: it reports to the manager's observer, and learns at which entry it failed.
class TreeOperation final : public Operation {
 public:
  TreeOperation(OSXFileManager& manager, const char* name, const QuillFileString& path) noexcept;
  TreeOperation(OSXFileManager& manager, const char* name, const QuillFileString& path,
                const QuillFileString& secondPath) noexcept;

 private:
  const darwin::TreeObserverScope observer_;
  darwin::TreeFailure failure_;
};

/// The errno that an error object holds, if it is of the POSIX domain.
darwin::Error CauseOf(const foundation::NSError* error) noexcept;

}  // namespace quill
