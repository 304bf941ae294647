// The file object: one platform file handle with a position, a size and a last error of its own.
//
//   position       where the next Read or prvWrite acts; may lie behind the end
//   handleOffset   where the handle's own pointer is known to stand; trusted only while lastError is 0
//   fileSize       the end as last learned from the handle
//
// Seek, Tell and Size work on these fields alone; Read and prvWrite move the handle only when it may stand elsewhere.
#pragma once

#include <cstddef>

#include "host/QuillFileBase.h"
#include "host/QuillFileString.h"
#include "platform/foundation/NSObject.h"

namespace quill::foundation {
class NSFileHandle;
}

/// The layer's file object, which every open operation gives.
class QUILL_EXPORT FILEWrapper : public QuillFileBase {
 public:
  /// \p path is the name under which the non-null \p handle was opened. An exception leaves nothing behind.
  FILEWrapper(CoreFileManager& manager, const QuillFileString& path, quill::foundation::NSFileHandle* handle,
              bool autoDelete);
  ~FILEWrapper() override;

  /// File objects live in the host's memory.
  static void* operator new(std::size_t size);
  /// Gives it back.
  static void operator delete(void* memory) noexcept;

  bool Tell(long long& position) override;
  bool Size(long long& size) override;
  bool Seek(long long offset, EQuillFileSeek origin, long long& newPosition) override;
  bool Read(void* buffer, unsigned long count, unsigned long& bytesRead) override;
  QuillFileString& GetFileName() override;
  int GetLastError() override;
  [[nodiscard]] bool Truncate() override;
  [[nodiscard]] bool Flush() override;
  bool prvWrite(const void* data, unsigned long count) override;
  bool prvAppend(const void* data, unsigned long count) override;
  void setAutoDelete(bool flag) override;

 private:
  void MoveHandleToPosition();
  void PositionForWriting(int previousError);
  void ExtendToPosition();

  quill::foundation::RetainPtr<quill::foundation::NSFileHandle> handle;
  QuillFileString fileName;
  bool autoDelete;
  long long position = 0;
  long long handleOffset = 0;
  long long fileSize = 0;
  int lastError = 0;
};
