// The host's abstract file manager: every operation on files and directories, in one table.
//
// The order of the table is contract: add nothing in the middle, sort nothing.
//
// Paths are QuillFileString values. Results are true or a pointer on success; on failure false or null. Out-parameters
// are written only on success unless an operation says otherwise. Symbolic links are followed unless an operation says
// that it works on the link itself.
//
// Errors: a failing operation records a QuillErr code, which GetLastError then gives. "Records" means a call of
// SetLastError through this table, so that an override sees the code; "stores" means that the last error changes
// without that call. A success never clears the last error, and a failure that is documented as recording nothing
// leaves the code of an earlier one. A path without text makes every operation fail: opening as for a file that is
// missing and cannot be created, FileDelete and the two operations on link texts with kQuillErrIO, all else with no
// code.
//
// Threads: operations may run on one manager from several threads, but the last error is one plain field: an observer
// must expect another thread's code, and a manager that is used by several threads at once should be one per thread.
//
// Ownership: the caller destroys what an open operation returns and closes what FindFirst and FindFirstRoot return.
#pragma once

#include <cstddef>

#include "host/FindFile.h"
#include "host/QuillErr.h"
#include "host/QuillFile.h"
#include "host/QuillFileString.h"

/// The table.
class QUILL_EXPORT CoreFileManager {
 public:
  /// Whether files outside the program's own area may be written, on hosts that confine themselves.
  enum CoreFileManagerOverrideMode : int { kOverrideNone = 0, kOverrideAllow = 1 };

  // Entry 1.
  virtual ~CoreFileManager();

  /// Gives the directory for the program's logs; it is created when it is missing.
  virtual bool DirGetLogDir(QuillFileString& directory);

  /// Creates and opens a new file of its own that is removed when the file object is destroyed.
  /// Null, with nothing recorded, when FileGetTempPath refuses; otherwise fails as FileOpen does.
  [[nodiscard]] virtual IQuillFileReadWriteTemp* FileOpenTemp() = 0;

  /// Opens a file for appending, creating it when it is missing. Records kQuillErrIO when it cannot be created,
  /// kQuillErrAccessDenied when it may not be written; null without a code when it cannot be positioned.
  [[nodiscard]] virtual IQuillFileAppendOnly* FileOpenAppend(const QuillFileString& path, ETruncateOnOpen truncate) = 0;

  // Entry 5.
  /// Opens a file for reading. A missing path is tried once more with its ":" taken as "/". Records kQuillErrNotFound
  /// or kQuillErrAccessDenied; null without a code for a directory and for what cannot be positioned (FIFO, socket).
  [[nodiscard]] virtual IQuillFileReadOnly* FileOpenReadOnly(const QuillFileString& path) = 0;

  /// True when something exists at the path; a link whose target is missing does not exist. Records nothing.
  virtual bool FileExists(const QuillFileString& path) = 0;

  /// Gives the size in bytes, of a link's target for a link. Records nothing.
  virtual bool FileGetSize(const QuillFileString& path, long long& size) = 0;

  /// Removes a file, or a symbolic link itself. A directory is refused with kQuillErrNotAFile.
  virtual bool FileDelete(const QuillFileString& path) = 0;

  /// Renames \p path to \p newName: a bare name keeps the item in its directory, a path moves it there.
  /// Never replaces what exists at the target. Records nothing when either is empty.
  [[nodiscard]] virtual bool FileRename(const QuillFileString& newName, const QuillFileString& path) = 0;

  // Entry 10.
  /// Gives both dates in milliseconds since 1970-01-01 00:00:00 UTC, with fractions; records kQuillErrNotFound.
  virtual bool FileGetDates(const QuillFileString& path, double& created, double& modified) = 0;

  /// 0 nothing exists, 1 exists but may not be read, 2 may be read, 3 may be read and written, all asked for the
  /// effective user. Records nothing.
  virtual int FileGetEffectivePermissions(const QuillFileString& path) = 0;

  /// Starts a listing of a directory, one level deep and unsorted, and delivers its first entry. Null, with nothing
  /// recorded and \p info untouched, for an empty, missing or unreadable directory. Close the result with FindClose.
  [[nodiscard]] virtual QuillFileFindRef* FindFirst(const QuillFileString& directory, FindFileInfo& info) = 0;

  /// Delivers the next entry; false at the end, \p info untouched. \p handle must be open.
  virtual bool FindNext(QuillFileFindRef* handle, FindFileInfo& info) = 0;

  /// Ends a listing. Null is accepted; always true.
  virtual bool FindClose(QuillFileFindRef* handle) = 0;

  // Entry 15.
  /// Finds out whether a directory has no entries; records the reason if it cannot be read.
  virtual bool DirIsEmpty(const QuillFileString& directory, bool& empty) = 0;

  /// Makes a directory the process's current one; records the reason of a refusal.
  virtual bool DirSetCurrent(const QuillFileString& directory) = 0;

  /// Gives a place in the temporary directory that is private to this user, in which an item of the given name can be
  /// made: the directory exists afterwards, the item need not. Only the last component of \p name counts.
  virtual bool DirGetQuillPlayerSandboxSafeTempLocation(const QuillFileString& name, QuillFileString& location);

  /// Gives the current directory, or the home directory when that is the root. Records nothing.
  virtual bool DirGetCurrent(QuillFileString& directory) = 0;

  /// Makes sure that a directory exists, creating each missing level with the owner, group and permissions of its
  /// parent. False without a code when the path, or a level of it, is something else than a directory.
  virtual bool DirEnsure(const QuillFileString& directory) = 0;

  // Entry 20.
  /// Removes an empty directory, or a symbolic link itself. kQuillErrDirNotEmpty when it has entries.
  virtual bool DirDelete(const QuillFileString& directory) = 0;

  /// Gives the user's downloads directory; records nothing.
  virtual bool DirGetDownloads(QuillFileString& directory) = 0;

  /// Gives the user's home directory; records nothing.
  virtual bool DirGetUserHomePath(QuillFileString& directory) = 0;

  /// A request for hosts that confine themselves; does nothing by default.
  virtual void OverrideWriteableAreaSecurity(CoreFileManagerOverrideMode mode);

  /// Marks a file as downloaded from \p source, on a page at \p referrer, or removes the mark when \p isUnsafe is
  /// false. Either address may be without text. Records the reason when the file system does not support such marks.
  virtual bool MarkDownloadedFileAsUnsafeOrSafe(const QuillFileString& path, const QuillFileString& source,
                                                const QuillFileString& referrer, bool isUnsafe);

  // Entry 25.
  /// True when a file is marked as downloaded. Records nothing.
  virtual bool GetDownloadedStatus(const QuillFileString& path);

  /// False by default: there is no such mode here.
  virtual bool IsProtectedModeIE();

  /// Null by default: there is no broker here.
  virtual IQuillFileAppendOnly* GetBrokerHandleWrapper(unsigned int handle, QuillFileString path);

  /// Announces a new file to a media index. There is none here: true when the file exists. Records kQuillErrNotFound.
  virtual bool ScanMediaFile(const QuillFileString& path);

  /// True when the path is a directory or a link to one. Records nothing.
  virtual bool FileIsDir(const QuillFileString& path) = 0;

  // Entry 30.
  /// Removes a directory with everything in it, or a file; a link itself, not its target. Stores kQuillErrNotFound when
  /// nothing exists; records the first reason when something could not be removed, after removing all that could be.
  virtual bool DirDeleteWithContents(const QuillFileString& path) = 0;

  /// Gives the bytes that this user may still fill on the path's volume, and the volume's size. Records nothing.
  virtual bool FileGetDiskSpace(const QuillFileString& path, double& freeBytes, double& totalBytes) = 0;

  /// Gives the size that a file object for the path reports; 0 for a directory. Fails as FileOpenReadOnly does.
  virtual bool FileGetLSize(const QuillFileString& path, unsigned long long& size) = 0;

  /// Gives "file://" and the path, percent-encoded; a leading "~" is expanded, nothing is made absolute.
  virtual bool FileGetPathUrl(const QuillFileString& path, QuillFileString& url) = 0;

  /// The earlier form: the path is made absolute, and one "/" at the end is dropped.
  virtual bool FileGetPathUrlPreVeranda(const QuillFileString& path, QuillFileString& url) = 0;

  // Entry 35.
  /// Gives the path of a URL of any scheme; "?", "#" and ";" belong to the path. False, \p path untouched and nothing
  /// recorded, when a "%" does not begin an escape or the escapes are not UTF-8.
  virtual bool FileGetUrlPath(const QuillFileString& url, QuillFileString& path) = 0;

  /// The earlier form of FileGetUrlPath; it leaves ":" and "//" unchanged.
  virtual bool FileGetUrlPathPreVeranda(const QuillFileString& url, QuillFileString& path) = 0;

  /// Gives the absolute path without links, "." or ".."; every component must exist. Records the reason of a failure.
  virtual bool FileGetCanonicalPath(const QuillFileString& path, QuillFileString& canonical) = 0;

  /// True when the last component begins with a dot, or the directory's ".hidden" file names it. Records nothing.
  virtual bool FileIsHidden(const QuillFileString& path) = 0;

  /// True when the path itself is a symbolic link. Records nothing.
  virtual bool FileIsSymLink(const QuillFileString& path) = 0;

  // Entry 40.
  /// Makes a symbolic link at \p link whose text is \p target, unchanged and unchecked. Stores the reason of a failure.
  virtual bool FileCreateSymLink(const QuillFileString& target, const QuillFileString& link) = 0;

  /// Gives a symbolic link's text, at most its first 1024 bytes, unchanged. Stores the reason of a failure.
  virtual bool FileReadSymLink(const QuillFileString& link, QuillFileString& target) = 0;

  /// Opens a file with QuillOpenFlags. A directory records kQuillErrNotAFile; flags that ValidateFileOpenFlags refuses
  /// record nothing; otherwise as FileOpenReadOnly and FileOpenAppend.
  [[nodiscard]] virtual IQuillFileReadWriteTemp* FileOpen(const QuillFileString& path, unsigned int flags) = 0;

  /// Gives the user's home directory; records nothing.
  virtual bool DirGetUser(QuillFileString& directory) = 0;

  /// Gives the user's desktop directory; records nothing.
  virtual bool DirGetDesktop(QuillFileString& directory) = 0;

  // Entry 45.
  /// Gives the user's documents directory; records nothing.
  virtual bool DirGetDocuments(QuillFileString& directory) = 0;

  /// Gives the directory for the program's own data; it is created when it is missing.
  virtual bool DirGetAppData(QuillFileString& directory) = 0;

  /// Gives the directory of the program's read-only resources; false when there is none.
  virtual bool DirGetAppResourceDir(QuillFileString& directory);

  /// Creates an empty file with permissions 0644 in the directory that DirGetTemp gives. Records kQuillErrIO.
  virtual bool FileCreateTemp(QuillFileString& path) = 0;

  /// Creates an empty directory with permissions 0755 in the directory that DirGetTemp gives. Records kQuillErrIO.
  virtual bool DirCreateTemp(QuillFileString& path) = 0;

  // Entry 50.
  /// Copies a file or a whole tree; missing parents of \p destination are created. With \p clobber what exists at the
  /// destination is deleted first, and stays deleted when the copy then fails. Stores kQuillErrNotFound for a missing
  /// source and kQuillErrCannotClearDestination for a destination that is still occupied; records the rest.
  [[nodiscard]] virtual bool FileOrDirCopy(const QuillFileString& source, const QuillFileString& destination,
                                           bool clobber) = 0;

  /// Moves a file or a whole tree; otherwise as FileOrDirCopy. The source is removed only when all of it has arrived.
  [[nodiscard]] virtual bool FileOrDirMove(const QuillFileString& source, const QuillFileString& destination,
                                           bool clobber) = 0;

  /// Moves an item to the trash of its volume and gives the path where it is now. Records the reason of a failure.
  [[nodiscard]] virtual bool FileOrDirMoveToTrash(const QuillFileString& path, QuillFileString& trashed) = 0;

  /// Starts a listing of the volumes, which is the root "/" alone. Never null.
  [[nodiscard]] virtual QuillFileFindRef* FindFirstRoot(FindFileInfo& info) = 0;

  /// Finds out whether the path's volume is mounted read-only; records the reason if that fails.
  virtual bool VolumeIsReadOnly(const QuillFileString& path, bool& readOnly) = 0;

  // Entry 55.
  /// Gives what FileGetDiskSpace gives as the free bytes.
  virtual bool FileGetSpaceAvailable(const QuillFileString& path, double& freeBytes) = 0;

  /// Sets the modification date, in milliseconds since 1970-01-01 00:00:00 UTC; records the reason of a failure.
  virtual bool FileSetModificationDate(const QuillFileString& path, double modified) = 0;

  /// Removes every write permission, or restores the owner's; records the reason of a failure.
  virtual bool FileSetReadOnly(const QuillFileString& path, bool readOnly) = 0;

  /// Gives the path that should be used instead of \p path; false, the usual case, when there is none.
  virtual bool RedirectedFilePath(const QuillFileString& path, QuillFileString& redirected);

  /// The code of the last failure that was recorded or stored; kQuillErrNone before the first.
  virtual int GetLastError() = 0;

  // Entry 60.
  /// True by default, without touching the file.
  virtual bool FileSetExecutable(const QuillFileString& path);

  /// Returns \p path itself by default.
  virtual const char* GetNativePath(const char* path);

  /// Sends the process's standard error to a file, emptied first when \p truncate is true, appended to otherwise.
  /// Records nothing. When it fails, standard error is closed (C11, 7.21.5.4).
  virtual bool FileReopenStderr(const QuillFileString& path, bool truncate);

  /// Gives the item's four-character creator code. 0 with kQuillErrNotFound recorded when it has none.
  virtual unsigned int FileGetCreator(const QuillFileString& path) = 0;

  /// Ensures \p directory as DirEnsure does, then as FileCreateTemp.
  virtual bool FileCreateTempInDir(const QuillFileString& directory, QuillFileString& path) = 0;

  // Entry 65.
  /// As DirCreateTemp, in a directory that must exist.
  virtual bool DirCreateTempInDir(const QuillFileString& directory, QuillFileString& path) = 0;

  /// Gives the user's caches directory; records nothing.
  virtual bool DirGetCache(QuillFileString& directory) = 0;

  /// Makes \p code the last error. Every recorded failure arrives here, so an override can observe it.
  virtual void SetLastError(int code) = 0;

  /// Asked by an open with kQuillOpenTemp: may replace \p path, which is empty in FileOpenTemp, by the path of the file
  /// to open. False makes the open fail.
  virtual bool FileGetTempPath(QuillFileString& path) = 0;

  // Entry 69.
  /// Gives the directory in which FileCreateTemp and DirCreateTemp make their items; it must exist.
  virtual bool DirGetTemp(QuillFileString& directory) = 0;

  /// Makes sure that the directory that is to hold \p path exists, as DirEnsure does. Not in the table.
  bool DirEnsureEnclosingDir(const QuillFileString& path);
};
