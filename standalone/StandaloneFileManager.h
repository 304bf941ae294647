// The host that comes with the layer: a complete file manager for a program without one of its own.
//
//   StandaloneFileManager manager;
//   QuillFileString path;
//   path.setUTF8("/etc/hostname");
//   if (IQuillFileReadOnly* file = manager.FileOpenReadOnly(path)) { ...; delete file; }
//
// What each operation promises is written at CoreFileManager. Use one manager per thread; managers share nothing.
#pragma once

#include <string>

#include "platform/darwin/trees/TreeObserver.h"
#include "platform/osx/OSXFileManager.h"
#include "standalone/OperationFailure.h"

namespace quill {

/// A file manager that completes every operation of the table.
class QUILL_EXPORT StandaloneFileManager : public OSXFileManager {
 public:
  StandaloneFileManager() noexcept = default;
  ~StandaloneFileManager() override;

  bool DirIsEmpty(const QuillFileString& directory, bool& empty) override;
  bool DirSetCurrent(const QuillFileString& directory) override;
  bool DirGetDownloads(QuillFileString& directory) override;
  bool FileGetCanonicalPath(const QuillFileString& path, QuillFileString& canonical) override;
  bool FileIsHidden(const QuillFileString& path) override;
  bool DirGetAppData(QuillFileString& directory) override;
  bool FileOrDirMoveToTrash(const QuillFileString& path, QuillFileString& trashed) override;
  bool VolumeIsReadOnly(const QuillFileString& path, bool& readOnly) override;
  bool FileSetModificationDate(const QuillFileString& path, double modified) override;
  bool FileSetReadOnly(const QuillFileString& path, bool readOnly) override;

  /// Leaves in \p path a file that was created for this call alone, in the directory that DirGetTemp gives.
  bool FileGetTempPath(QuillFileString& path) override;
  /// $TMPDIR when it is absolute, else /tmp.
  bool DirGetTemp(QuillFileString& directory) override;

  // The layer's operations, with their failures noted; those on trees report to the observer too.
  IQuillFileReadWriteTemp* FileOpenTemp() override;
  IQuillFileAppendOnly* FileOpenAppend(const QuillFileString& path, ETruncateOnOpen truncate) override;
  IQuillFileReadOnly* FileOpenReadOnly(const QuillFileString& path) override;
  bool FileGetSize(const QuillFileString& path, long long& size) override;
  bool FileDelete(const QuillFileString& path) override;
  bool FileRename(const QuillFileString& newName, const QuillFileString& path) override;
  bool FileGetDates(const QuillFileString& path, double& created, double& modified) override;
  bool DirEnsure(const QuillFileString& directory) override;
  bool DirDelete(const QuillFileString& directory) override;
  bool DirDeleteWithContents(const QuillFileString& path) override;
  bool FileGetDiskSpace(const QuillFileString& path, double& freeBytes, double& totalBytes) override;
  bool FileGetLSize(const QuillFileString& path, unsigned long long& size) override;
  bool FileCreateSymLink(const QuillFileString& target, const QuillFileString& link) override;
  bool FileReadSymLink(const QuillFileString& link, QuillFileString& target) override;
  IQuillFileReadWriteTemp* FileOpen(const QuillFileString& path, unsigned int flags) override;
  bool FileCreateTemp(QuillFileString& path) override;
  bool DirCreateTemp(QuillFileString& path) override;
  bool FileOrDirCopy(const QuillFileString& source, const QuillFileString& destination, bool clobber) override;
  bool FileOrDirMove(const QuillFileString& source, const QuillFileString& destination, bool clobber) override;
  unsigned int FileGetCreator(const QuillFileString& path) override;
  bool FileCreateTempInDir(const QuillFileString& directory, QuillFileString& path) override;
  bool DirCreateTempInDir(const QuillFileString& directory, QuillFileString& path) override;

  /// Who watches, and may stop, copying, moving and removing by this manager; null for nobody. Not owned: it must live
  /// until it is replaced. A stopped operation is false.
  void SetTreeObserver(darwin::TreeObserver* observer) noexcept { treeObserver_ = observer; }

  /// The last operation of this manager that failed, whether or not it recorded a code. A success never changes it.
  const OperationFailure& LastFailure() const noexcept { return lastFailure_; }
  /// LastFailure then tells of none, until the next one.
  void ForgetFailure() noexcept { lastFailure_ = {}; }

 private:
  template <typename Operation>
  auto Noting(const char* name, const QuillFileString& path, const QuillFileString& secondPath, Operation operation);
  template <typename Operation>
  auto Noting(const char* name, const QuillFileString& path, Operation operation);
  template <typename Operation>
  bool NotingTree(const char* name, const QuillFileString& path, const QuillFileString& secondPath,
                  Operation operation);
  template <typename Call>
  bool Calling(const char* name, const QuillFileString& path, Call call);
  void Note(const char* name, const QuillFileString& path, const QuillFileString& secondPath, int posixError) noexcept;

  /// Records the reason, unless \p posixError is 0, and tells whether it was. Leaves it in errno too.
  bool Succeeded(int posixError);

  darwin::TreeObserver* treeObserver_ = nullptr;
  /// What FileGetTempPath made last.
  std::string temporaryFile_;
  OperationFailure lastFailure_;
};

}  // namespace quill
