// The host that comes with the layer: a complete file manager for a program without one of its own.
//
//   StandaloneFileManager manager;
//   QuillFileString path;
//   path.setUTF8("/etc/hostname");
//   if (IQuillFileReadOnly* file = manager.FileOpenReadOnly(path)) { ...; delete file; }
//
// What each operation promises is written at CoreFileManager. Use one manager per thread; managers share nothing.
#pragma once

#include "platform/darwin/TreeObserver.h"
#include "platform/osx/OSXFileManager.h"

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

  // These report to the observer.
  bool FileRename(const QuillFileString& newName, const QuillFileString& path) override;
  bool DirDeleteWithContents(const QuillFileString& path) override;
  bool FileOrDirCopy(const QuillFileString& source, const QuillFileString& destination, bool clobber) override;
  bool FileOrDirMove(const QuillFileString& source, const QuillFileString& destination, bool clobber) override;

  /// Who watches, and may stop, copying, moving and removing by this manager; null for nobody. Not owned: it must live
  /// until it is replaced. A stopped operation is false.
  void SetTreeObserver(darwin::TreeObserver* observer) noexcept { treeObserver = observer; }

 private:
  /// Records the reason, unless \p posixError is 0, and tells whether it was.
  bool Succeeded(int posixError);

  darwin::TreeObserver* treeObserver = nullptr;
};
