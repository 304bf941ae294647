// What is known about a failed operation beside its code.
#pragma once

#include <string>

#include "host/QuillFileString.h"

namespace quill {

/// One failed operation.
struct OperationFailure {
  /// The operation as it is called in the table, "FileOrDirCopy"; empty while nothing has failed.
  const char* operation = "";
  /// What it was called with; without text where it takes no path.
  QuillFileString path;
  /// Its second path, where it takes two.
  QuillFileString secondPath;
  /// In a tree, the entry at which it failed, relative to the tree; empty for other operations.
  std::string entry;
  /// The errno of the system call that made it fail, in a tree the first one; 0 when none did.
  int posixError = 0;
};

}  // namespace quill
