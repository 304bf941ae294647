// The iterators behind find handles: over the entries of a directory, and over the volumes.
#pragma once

#include <cstddef>

#include "host/FindFile.h"
#include "platform/darwin/descriptors/Error.h"
#include "platform/foundation/NSObject.h"

namespace quill::foundation {
class NSDirectoryEnumerator;
class NSError;
}  // namespace quill::foundation

namespace quill {

/// What a handle of this layer points to.
class LayerIterator : public IFileIterator {
 public:
  /// Why the listing has broken off; no error at its end.
  virtual darwin::Error error() const noexcept { return {}; }
};

}  // namespace quill

class OSXFileIterator final : public quill::LayerIterator {
 public:
  OSXFileIterator() noexcept;
  ~OSXFileIterator() override;

  static void* operator new(std::size_t size);
  static void operator delete(void* memory) noexcept;

  /// False when the directory cannot be enumerated.
  bool Init(const QuillFileString& directory, quill::foundation::RetainPtr<quill::foundation::NSError>* reason);
  bool GetNextItem(FindFileInfo* info) override;
  quill::darwin::Error error() const noexcept override;

 private:
  quill::foundation::RetainPtr<quill::foundation::NSDirectoryEnumerator> enumerator;
};

/// The root is delivered by FindFirstRoot itself; there is no further volume.
class TrivialVolumeIterator final : public quill::LayerIterator {
 public:
  static void* operator new(std::size_t size);
  static void operator delete(void* memory) noexcept;

  bool GetNextItem(FindFileInfo* info) override;
};
