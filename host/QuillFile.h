// The file interfaces through which a host reads and writes, and the flags with which it opens.
//
// A file object comes from a manager's open operation. The caller owns it and destroys it through the virtual
// destructor of whichever interface it holds; that closes the file. The object keeps a position, a size and a last
// error of its own; it never touches the manager's. One object is used by one thread at a time.
//
// The order of the virtual functions is contract: all three interfaces are used across library boundaries.
#pragma once

#include "host/Export.h"

class QuillFileString;

/// Open flags: a bit set, as FileOpen takes it.
enum QuillOpenFlags : unsigned int {
  /// The file is read. Without kQuillOpenWrite a path that does not exist is tried again with ":" as the separator.
  kQuillOpenRead = 0x01,
  /// The file is written.
  kQuillOpenWrite = 0x02,
  /// A missing file is created, empty. No effect on an existing one.
  kQuillOpenCreate = 0x10,
  /// An existing file is emptied before it is opened. No effect on a missing one.
  kQuillOpenTruncate = 0x20,
  /// The platform's file pointer starts at the end; the object's own position still starts at 0.
  kQuillOpenAppend = 0x40,
  /// The manager's FileGetTempPath is asked for the path first.
  kQuillOpenTemp = 0x80,
};

/// Whether FileOpenAppend empties an existing file. Every value but kQuillTruncateOnOpen keeps the contents.
enum ETruncateOnOpen : int { kQuillKeepOnOpen = 0, kQuillTruncateOnOpen = 1 };

/// Where Seek counts from. Any other value counts like kQuillFileSeekCurrent.
enum EQuillFileSeek : int {
  kQuillFileSeekCurrent = 0,
  kQuillFileSeekBegin = 1,
  /// The size that the object last learned from the platform.
  kQuillFileSeekEnd = 2,
};

/// True if an open may proceed with \p flags. Refuses any bit outside 0xF3, flags with neither read nor write, and
/// create, truncate or append without write. The host supplies the body; it must accept 0x01, 0x52, 0x72 and 0x93,
/// which the layer itself uses.
QUILL_EXPORT bool ValidateFileOpenFlags(unsigned int flags);

/// A file that can be read and positioned.
class QUILL_EXPORT IQuillFileReadOnly {
 public:
  /// Closes the file, and removes it from disk when it is marked with setAutoDelete.
  virtual ~IQuillFileReadOnly();

  /// Gives the position in bytes from the start of the file. Always true; asks the platform nothing.
  virtual bool Tell(long long& position) = 0;

  /// Gives the size in bytes as last learned: at opening and at each write or truncation through this object, so a
  /// change made by others shows only after the next of these. Always true; asks the platform nothing.
  virtual bool Size(long long& size) = 0;

  /// Moves the position; beyond the end is allowed and changes nothing on disk until the next write.
  /// A target before the start, or above 2^63 - 1: false, kQuillErrIO, and both the position and \p newPosition become
  /// 0.
  virtual bool Seek(long long offset, EQuillFileSeek origin, long long& newPosition) = 0;

  /// Reads up to \p count bytes at the position with one system call and advances by the number of bytes read, which
  /// may be fewer. True with 0 bytes at or behind the end. On failure: false, 0 bytes, the position stays.
  virtual bool Read(void* buffer, unsigned long count, unsigned long& bytesRead) = 0;

  /// The path under which the file was opened, as the caller gave it; valid while the object lives.
  virtual QuillFileString& GetFileName() = 0;

  /// The code of this object's last operation, kQuillErrNone after a success; Tell and Size leave it as it is.
  virtual int GetLastError() = 0;
};

/// A file that can also be written.
class QUILL_EXPORT IQuillFileReadWriteTemp : public IQuillFileReadOnly {
 public:
  /// Cuts the file at the position, or extends it to there with zero bytes.
  /// Throws quill::foundation::NSException when the platform fails.
  [[nodiscard]] virtual bool Truncate() = 0;

  /// Writes all of \p count bytes at the position and advances; a gap behind the end is filled with zero bytes.
  /// On failure: false, the manager that opened the file records the code, and the position stays where it was;
  /// some of the bytes may be in the file.
  [[nodiscard]] virtual bool Write(const void* data, unsigned long count) = 0;

  /// Returns when the data is on the storage device. Throws quill::foundation::NSException when the platform fails.
  [[nodiscard]] virtual bool Flush() = 0;
};

/// A file that can only grow.
class QUILL_EXPORT IQuillFileAppendOnly {
 public:
  /// Writes all of \p count bytes at the end of the file, wherever that is by now. Fails as Write does.
  [[nodiscard]] virtual bool Append(const void* data, unsigned long count) = 0;

  /// Closes the file exactly as the destructor of IQuillFileReadOnly does.
  virtual ~IQuillFileAppendOnly();
};
