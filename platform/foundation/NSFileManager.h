// Questions about paths, and changes at paths, with the behaviour of Foundation.
//
// Every path may be nil, which names nothing. Errors: an operation that has an error out-variable and fails puts the
// errno into it, in NSPOSIXErrorDomain; a null variable means that the caller does not want it. The one instance has no
// state and may be used by any thread.
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
  /// For the effective user.
  bool isReadableFileAtPath(const NSString* path);
  bool isWritableFileAtPath(const NSString* path);

  /// With kTarget, the attributes are those of the path with every link in it resolved.
  std::optional<NSFileAttributes> attributesOfItemAtPath(const NSString* path, NSFinalLink finalLink,
                                                         RetainPtr<NSError>* error = nullptr);
  std::optional<NSFileSystemAttributes> attributesOfFileSystemForPath(const NSString* path, RetainPtr<NSError>* error);

  /// Creates an empty file. An existing one is emptied or keeps its contents.
  bool createFileAtPath(const NSString* path, RetainPtr<NSError>* error, bool empties = false);
  /// Creates one level with the platform's default mode.
  bool createDirectoryAtPath(const NSString* path, RetainPtr<NSError>* error);

  /// Copies a file or a whole tree, all or nothing; never onto anything that exists.
  bool copyItemAtPath(const NSString* from, const NSString* to, RetainPtr<NSError>* error);

  /// Null when there is none any more, or it is outside the process's root.
  RetainPtr<NSString> currentDirectoryPath(RetainPtr<NSError>* error = nullptr);
  /// The link's text; null when it cannot be read.
  RetainPtr<NSString> destinationOfSymbolicLinkAtPath(const NSString* path);
};

}  // namespace quill::foundation
