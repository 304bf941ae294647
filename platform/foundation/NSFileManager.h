// Questions about paths, and changes at paths, as Foundation answers and makes them.
//
// Every path may be nil, which names nothing. Errors: an operation with an error out-variable fills it, when it fails,
// in NSPOSIXErrorDomain with the errno; a null variable means that nobody asks. The one instance keeps no state and may
// be used by any thread.
#pragma once

#include <optional>

#include "platform/foundation/NSError.h"
#include "platform/foundation/NSFileAttributes.h"
#include "platform/foundation/NSString.h"

namespace quill::foundation {

/// What an operation sees when the last component of its path is a symbolic link.
using NSFinalLink = darwin::FinalLink;

class NSFileManager {
 public:
  static NSFileManager* defaultManager() noexcept;

  /// Follows links; *isDirectory is written only when the item exists.
  bool fileExistsAtPath(const NSString* path, bool* isDirectory = nullptr);
  /// Asked for the effective user.
  bool isReadableFileAtPath(const NSString* path);
  bool isWritableFileAtPath(const NSString* path);

  /// kTarget answers as for the path with every link in it resolved.
  std::optional<NSFileAttributes> attributesOfItemAtPath(const NSString* path, NSFinalLink finalLink,
                                                         RetainPtr<NSError>* error = nullptr);
  std::optional<NSFileSystemAttributes> attributesOfFileSystemForPath(const NSString* path, RetainPtr<NSError>* error);
  /// An item that was exchanged for a link meanwhile does not lead to the link's target.
  bool setPosixPermissionsOfItemAtPath(unsigned permissions, const NSString* path);

  /// Creates an empty file. One that exists is emptied, or keeps its contents.
  bool createFileAtPath(const NSString* path, RetainPtr<NSError>* error, bool empties = false);
  /// Creates one level with the platform's default mode.
  bool createDirectoryAtPath(const NSString* path, RetainPtr<NSError>* error);
  /// Whether the directory has at least one entry; false as well when it cannot be read.
  bool directoryHasContentsAtPath(const NSString* path);

  /// Copies a file or a whole tree, all or nothing; never onto anything that exists.
  bool copyItemAtPath(const NSString* from, const NSString* to, RetainPtr<NSError>* error);

  /// Null when there is none.
  RetainPtr<NSString> currentDirectoryPath();
  /// The link's text; null when it cannot be read.
  RetainPtr<NSString> destinationOfSymbolicLinkAtPath(const NSString* path);
};

}  // namespace quill::foundation
