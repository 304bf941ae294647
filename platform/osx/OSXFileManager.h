// The platform file manager: most operations of the CoreFileManager table over Foundation.
//
// A host derives its own manager from this class and completes the twelve operations that are left abstract: the ten
// that belong to the host alone, FileGetTempPath and DirGetTemp. What each operation promises is written at
// CoreFileManager; threads and errors likewise.
//
// These operations call others through the table, so that an override takes effect inside the layer:
//
//   FileOpen               FileIsDir
//   every open             FileGetTempPath (with kQuillOpenTemp)
//   FileGetLSize           FileOpenReadOnly, FileIsDir
//   FileGetSpaceAvailable  FileGetDiskSpace
//   DirDeleteWithContents  FileExists
//   FileOrDirCopy, -Move   FileExists, FileIsDir, DirDeleteWithContents, FileDelete, DirEnsure
//   FileCreateTempInDir    DirEnsure
//   FileCreateTemp, Dir-   DirGetTemp
//   _PathCanonicalizeSymLink  FileIsSymLink
//
// and all of them SetLastError, except for the codes that are stored unobserved: kQuillErrNotFound and
// kQuillErrCannotClearDestination of copy and move, kQuillErrNotFound of DirDeleteWithContents, and every code of
// FileCreateSymLink and FileReadSymLink.
#pragma once

#include <cstddef>

#include "host/CoreFileManager.h"
#include "platform/osx/OperationFailure.h"

class FILEWrapper;

namespace quill {
class Operation;
class TreeOperation;
struct FailureLog;
}  // namespace quill

namespace quill::darwin {
class TreeObserver;
}

namespace quill::foundation {
class NSFileManager;
class NSString;
}  // namespace quill::foundation

/// The layer's file manager, from which a host derives its own.
class QUILL_EXPORT OSXFileManager : public CoreFileManager {
 public:
  OSXFileManager();
  ~OSXFileManager() override;

  /// Managers live in the host's memory.
  static void* operator new(std::size_t size);
  /// Gives it back.
  static void operator delete(void* memory) noexcept;

  [[nodiscard]] IQuillFileReadWriteTemp* FileOpenTemp() override;
  [[nodiscard]] IQuillFileAppendOnly* FileOpenAppend(const QuillFileString& path, ETruncateOnOpen truncate) override;
  [[nodiscard]] IQuillFileReadOnly* FileOpenReadOnly(const QuillFileString& path) override;
  bool FileExists(const QuillFileString& path) override;
  bool FileGetSize(const QuillFileString& path, long long& size) override;
  bool FileDelete(const QuillFileString& path) override;
  [[nodiscard]] bool FileRename(const QuillFileString& newName, const QuillFileString& path) override;
  bool FileGetDates(const QuillFileString& path, double& created, double& modified) override;
  int FileGetEffectivePermissions(const QuillFileString& path) override;
  [[nodiscard]] QuillFileFindRef* FindFirst(const QuillFileString& directory, FindFileInfo& info) override;
  bool FindNext(QuillFileFindRef* handle, FindFileInfo& info) override;
  bool FindClose(QuillFileFindRef* handle) override;
  bool DirGetCurrent(QuillFileString& directory) override;
  bool DirEnsure(const QuillFileString& directory) override;
  bool DirDelete(const QuillFileString& directory) override;
  bool DirGetUserHomePath(QuillFileString& directory) override;
  bool FileIsDir(const QuillFileString& path) override;
  bool DirDeleteWithContents(const QuillFileString& path) override;
  bool FileGetDiskSpace(const QuillFileString& path, double& freeBytes, double& totalBytes) override;
  bool FileGetLSize(const QuillFileString& path, unsigned long long& size) override;
  bool FileGetPathUrl(const QuillFileString& path, QuillFileString& url) override;
  bool FileGetPathUrlPreVeranda(const QuillFileString& path, QuillFileString& url) override;
  bool FileGetUrlPath(const QuillFileString& url, QuillFileString& path) override;
  bool FileGetUrlPathPreVeranda(const QuillFileString& url, QuillFileString& path) override;
  bool FileIsSymLink(const QuillFileString& path) override;
  bool FileCreateSymLink(const QuillFileString& target, const QuillFileString& link) override;
  bool FileReadSymLink(const QuillFileString& link, QuillFileString& target) override;
  [[nodiscard]] IQuillFileReadWriteTemp* FileOpen(const QuillFileString& path, unsigned int flags) override;
  bool DirGetUser(QuillFileString& directory) override;
  bool DirGetDesktop(QuillFileString& directory) override;
  bool DirGetDocuments(QuillFileString& directory) override;
  bool FileCreateTemp(QuillFileString& path) override;
  bool DirCreateTemp(QuillFileString& path) override;
  [[nodiscard]] bool FileOrDirCopy(const QuillFileString& source, const QuillFileString& destination,
                                   bool clobber) override;
  [[nodiscard]] bool FileOrDirMove(const QuillFileString& source, const QuillFileString& destination,
                                   bool clobber) override;
  [[nodiscard]] QuillFileFindRef* FindFirstRoot(FindFileInfo& info) override;
  bool FileGetSpaceAvailable(const QuillFileString& path, double& freeBytes) override;
  int GetLastError() override;
  unsigned int FileGetCreator(const QuillFileString& path) override;
  bool FileCreateTempInDir(const QuillFileString& directory, QuillFileString& path) override;
  bool DirCreateTempInDir(const QuillFileString& directory, QuillFileString& path) override;
  bool DirGetCache(QuillFileString& directory) override;
  void SetLastError(int code) override;

  /// Gives \p path with each ":" turned into "/" and one "/" in front when it holds a ":"; unchanged otherwise. Always
  /// true.
  bool FileGetPOSIXPath(const QuillFileString& path, QuillFileString& result);

  /// Creates an empty file or empties an existing one. Records kQuillErrIO; nothing when the path has no text.
  bool _FileCreate(const QuillFileString& path);

  /// Replaces the path of a symbolic link by the path that it points to, one step. False when it is no link (\p path
  /// unchanged) or its text cannot be read (\p path without text). Records nothing.
  bool _PathCanonicalizeSymLink(QuillFileString& path);

  /// Who watches, and may stop, copying, moving and removing by this manager; null for this thread's observer. Not
  /// owned: it must live until it is replaced. A stopped operation is false.
  void SetTreeObserver(quill::darwin::TreeObserver* observer) noexcept { treeObserver_ = observer; }

  /// The last operation of this manager that failed, whether or not it recorded a code. A success never changes it. May
  /// be asked from any thread.
  quill::OperationFailure LastFailure() const;
  /// LastFailure then answers that nothing has failed, until the next one.
  void ForgetFailure() noexcept;

 protected:
  /// For operations that a host completes: records \p code through the table and answers false. LastFailure does not
  /// learn of it.
  bool Fail(int code);

 private:
  friend class quill::Operation;
  friend class quill::TreeOperation;

  FILEWrapper* _FileOpen(const QuillFileString& path, unsigned int flags);
  bool PrepareDestination(quill::Operation& operation, const QuillFileString& source,
                          const QuillFileString& destination, bool clobber);
  bool _HandleClobber(OSXFileManager& manager, const QuillFileString& destination, bool clobber);
  bool _FileOrDirCreateTemp(QuillFileString& result, bool isDirectory);
  bool _FileOrDirCreateTempInDir(const QuillFileString& directory, QuillFileString& result, bool isDirectory);

  int lastError = kQuillErrNone;
  quill::foundation::NSFileManager* fileManager;
  quill::darwin::TreeObserver* treeObserver_ = nullptr;
  /// Of LastFailure; made with the first failure.
  quill::FailureLog* failures_ = nullptr;
};
