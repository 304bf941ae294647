// The file manager of this host. It derives from the layer, completes the twelve operations that the layer leaves to
// its host, and overrides some others to see what happens inside.
#pragma once

#include "platform/osx/OSXFileManager.h"

class HostManager final : public OSXFileManager {
 public:
  // The twelve.
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
  bool FileGetTempPath(QuillFileString& path) override;
  bool DirGetTemp(QuillFileString& directory) override;

  // What the layer calls through the table arrives here.
  bool FileIsDir(const QuillFileString& path) override;
  bool FileExists(const QuillFileString& path) override;
  bool FileDelete(const QuillFileString& path) override;
  void SetLastError(int code) override;

 private:
  bool InHome(const char* below, QuillFileString& directory);
  bool RecordUnless(bool succeeded, int posixError);
};
