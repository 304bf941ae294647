// The iterators behind find handles: over the entries of a directory, and over the volumes.
#pragma once

#include <cstddef>

#include "host/FindFile.h"
#include "platform/foundation/NSObject.h"

namespace quill::foundation {
class NSDirectoryEnumerator;
class NSError;
}  // namespace quill::foundation

class OSXFileIterator final : public IFileIterator {
 public:
  OSXFileIterator() noexcept;
  ~OSXFileIterator() override;

  static void* operator new(std::size_t size);
  static void operator delete(void* memory) noexcept;

  /// False when the directory cannot be enumerated.
  bool Init(const QuillFileString& directory, quill::foundation::RetainPtr<quill::foundation::NSError>* reason);
  /// False at the end, and when the listing breaks off; the running operation learns the cause of that.
  bool GetNextItem(FindFileInfo* info) override;

 private:
  quill::foundation::RetainPtr<quill::foundation::NSDirectoryEnumerator> enumerator;
};

/// The root is delivered by FindFirstRoot itself; there is no further volume.
class TrivialVolumeIterator final : public IFileIterator {
 public:
  static void* operator new(std::size_t size);
  static void operator delete(void* memory) noexcept;

  bool GetNextItem(FindFileInfo* info) override;
};
