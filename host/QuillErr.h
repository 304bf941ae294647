// Host error codes: the numbers in which the layer reports every failure.
//
// A code is a signed 32-bit integer. A manager and a file object each keep the code of their last recorded failure;
// see CoreFileManager::GetLastError and IQuillFileReadOnly::GetLastError. A host may define further codes of its own,
// which the layer neither produces nor tests.
#pragma once

/// The codes; the gaps between their numbers mean nothing.
enum QuillErr : int {
  /// No error; also what is recorded when the platform fails without giving a reason.
  kQuillErrNone = 0,
  /// Input/output failure, and every platform failure without a code of its own below.
  kQuillErrIO = 2038,
  /// The path is not acceptable: invalid, too long, or through too many symbolic links.
  kQuillErrIllegalPath = 3000,
  /// The process lacks the permission.
  kQuillErrAccessDenied = 3001,
  /// Nothing exists at the path.
  kQuillErrNotFound = 3003,
  /// The volume is full or the quota is used up.
  kQuillErrNoSpace = 3004,
  /// The operation is not permitted on this item, such as a directory where a file is needed.
  kQuillErrNotAFile = 3006,
  /// A component of the path is not a directory.
  kQuillErrNotADirectory = 3007,
  /// The file system is read-only.
  kQuillErrReadOnlyMedia = 3008,
  /// The directory is not empty.
  kQuillErrDirNotEmpty = 3010,
  /// An item already exists at the path.
  kQuillErrAlreadyExists = 3011,
  /// The destination of a copy or move is still occupied after it should have been cleared.
  kQuillErrCannotClearDestination = 3012,
  /// The item is busy or locked.
  kQuillErrInUse = 3013,
};
