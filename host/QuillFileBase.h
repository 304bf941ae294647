// The host's base of every file object: public writing in terms of the object's write primitives.
//
// The host supplies the bodies of Write and Append. They return a bool and let no exception of the platform out.
// Threads and ownership as in QuillFile.h.
#pragma once

#include "host/QuillFile.h"

class CoreFileManager;

/// What all file objects are: readable, writable and appendable.
class QUILL_EXPORT QuillFileBase : public IQuillFileReadWriteTemp, public IQuillFileAppendOnly {
 public:
  ~QuillFileBase() override;

  [[nodiscard]] bool Write(const void* data, unsigned long count) override;
  [[nodiscard]] bool Append(const void* data, unsigned long count) override;

  /// Writes at the position, as Write, but lets a failure of the platform out as quill::foundation::NSException.
  virtual bool prvWrite(const void* data, unsigned long count) = 0;

  /// Writes at the end of the file, as Append, but lets a failure of the platform out as
  /// quill::foundation::NSException.
  virtual bool prvAppend(const void* data, unsigned long count) = 0;

  /// Marks the file to be removed from disk, by its path, after the object's destruction has closed it.
  virtual void setAutoDelete(bool flag) = 0;

 protected:
  /// \p owner is the manager that opened the file. It must outlive the object if the object is written to.
  explicit QuillFileBase(CoreFileManager& owner) noexcept : manager(&owner) {}

  /// The owner; never null.
  CoreFileManager* manager;
};
