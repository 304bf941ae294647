// The host that comes with the layer: a complete file manager for a program without one of its own.
//
//   quill::StandaloneFileManager manager;
//   QuillFileString path;
//   path.setUTF8("/etc/hostname");
//   if (IQuillFileReadOnly* file = manager.FileOpenReadOnly(path)) { ...; delete file; }
//
// CoreFileManager documents what each operation promises. Use one manager per thread; managers share nothing.
// LastFailure gives the reason of a failure beyond its code.
#pragma once

#include <string>

#include "platform/darwin/trees/TreeObserver.h"
#include "platform/osx/OSXFileManager.h"

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
  [[nodiscard]] bool FileOrDirMoveToTrash(const QuillFileString& path, QuillFileString& trashed) override;
  bool VolumeIsReadOnly(const QuillFileString& path, bool& readOnly) override;
  bool FileSetModificationDate(const QuillFileString& path, double modified) override;
  bool FileSetReadOnly(const QuillFileString& path, bool readOnly) override;

  // CoreFileManager's own bodies; only LastFailure is added.
  bool DirGetLogDir(QuillFileString& directory) override;
  bool DirGetAppResourceDir(QuillFileString& directory) override;
  bool DirGetQuillPlayerSandboxSafeTempLocation(const QuillFileString& name, QuillFileString& location) override;
  bool MarkDownloadedFileAsUnsafeOrSafe(const QuillFileString& path, const QuillFileString& source,
                                        const QuillFileString& referrer, bool isUnsafe) override;
  bool ScanMediaFile(const QuillFileString& path) override;
  bool FileReopenStderr(const QuillFileString& path, bool truncate) override;

  /// Creates a new file in the directory that DirGetTemp gives, and puts its path into \p path.
  bool FileGetTempPath(QuillFileString& path) override;
  /// $TMPDIR if it is absolute, else /tmp.
  bool DirGetTemp(QuillFileString& directory) override;

  // If the temporary file cannot be opened after all, these remove it.
  [[nodiscard]] IQuillFileReadWriteTemp* FileOpenTemp() override;
  [[nodiscard]] IQuillFileReadWriteTemp* FileOpen(const QuillFileString& path, unsigned int flags) override;

 private:
  /// The file that FileGetTempPath created last, while it is being opened.
  std::string temporaryFile_;
};

}  // namespace quill
