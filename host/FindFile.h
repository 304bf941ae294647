// Listing a directory: the record that each step fills, the opaque handle and the iterator behind it.
//
// A handle is used by one thread at a time. Nothing here records an error.
#pragma once

#include "host/Export.h"
#include "host/QuillFileString.h"

/// The kinds that a listing distinguishes.
enum EQuillFileType : int {
  /// A regular file, any other item that is not a directory, or a symbolic link whose target is missing.
  kQuillFileTypeFile = 0,
  /// A directory, or a symbolic link to one.
  kQuillFileTypeDirectory = 1,
};

/// What one step of a listing delivers; the caller owns it.
struct FindFileInfo {
  /// The kind of the entry, or of its target if it is a link.
  EQuillFileType type = kQuillFileTypeFile;
  /// The entry's name without its directory, in Normalization Form C; "/" for the root.
  QuillFileString path;
};

/// The handle of a running listing. The caller owns it until it is passed to FindClose.
struct QuillFileFindRef;

/// What a handle of this layer points to.
class QUILL_EXPORT IFileIterator {
 public:
  virtual ~IFileIterator();

  /// Fills \p info with the next entry and returns true; at the end returns false and leaves it untouched.
  virtual bool GetNextItem(FindFileInfo* info) = 0;
};
