// The host that comes with the layer: a complete file manager for a program without one of its own.
//
//   quill::StandaloneFileManager manager;
//   QuillFileString path;
//   path.setUTF8("/etc/hostname");
//   if (IQuillFileReadOnly* file = manager.FileOpenReadOnly(path)) { ...; delete file; }
//
// What each operation promises is written at CoreFileManager. Use one manager per thread; managers share nothing. Why
// an operation failed, beyond its code, is what LastFailure answers.
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
  bool FileOrDirMoveToTrash(const QuillFileString& path, QuillFileString& trashed) override;
  bool VolumeIsReadOnly(const QuillFileString& path, bool& readOnly) override;
  bool FileSetModificationDate(const QuillFileString& path, double modified) override;
  bool FileSetReadOnly(const QuillFileString& path, bool readOnly) override;

  /// Leaves in \p path a file that was created for this call alone, in the directory that DirGetTemp gives.
  bool FileGetTempPath(QuillFileString& path) override;
  /// $TMPDIR when it is absolute, else /tmp.
  bool DirGetTemp(QuillFileString& directory) override;

  // A temporary file that cannot be opened after all is removed again.
  IQuillFileReadWriteTemp* FileOpenTemp() override;
  IQuillFileReadWriteTemp* FileOpen(const QuillFileString& path, unsigned int flags) override;

 private:
  /// What FileGetTempPath made last, while it is being opened.
  std::string temporaryFile_;
};

}  // namespace quill
