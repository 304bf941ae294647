// The layer's operations as the standalone manager offers them: what fails is noted, and work on trees is watched.
#include <new>

#include "platform/darwin/paths/PathCalls.h"
#include "standalone/NotingFailures.h"

namespace quill {

namespace {

/// Takes a temporary file away unless its name is cleared, which tells that somebody got to open it.
class TemporaryFileGuard {
 public:
  explicit TemporaryFileGuard(std::string& name) noexcept : path_(name) { path_.clear(); }
  TemporaryFileGuard(const TemporaryFileGuard&) = delete;
  TemporaryFileGuard& operator=(const TemporaryFileGuard&) = delete;
  ~TemporaryFileGuard() {
    const int reason = errno;
    try {
      if (!path_.empty()) (void)darwin::unlink(path_.c_str());
    } catch (const std::bad_alloc&) {
      // Only a file that has gone already is searched for.
    }
    std::string().swap(path_);  // keeps no memory, as clearing would
    errno = reason;
  }

 private:
  std::string& path_;
};

/// Opens a file that may be temporary, as \p open does, and leaves none behind that could not be opened after all.
template <typename Open>
IQuillFileReadWriteTemp* OpenGuarded(std::string& temporaryFile, Open open) {
  const TemporaryFileGuard guard(temporaryFile);
  IQuillFileReadWriteTemp* const file = open();
  if (file) temporaryFile.clear();
  return file;
}

}  // namespace

void StandaloneFileManager::Note(const char* name, const QuillFileString& path, const QuillFileString& secondPath,
                                 int posixError) noexcept {
  try {
    lastFailure_ = {name, path, secondPath, {}, posixError};
  } catch (const std::bad_alloc&) {
    lastFailure_ = {name, {}, {}, {}, posixError};
  }
}

IQuillFileReadWriteTemp* StandaloneFileManager::FileOpenTemp() {
  return Noting("FileOpenTemp", {},
                [&] { return OpenGuarded(temporaryFile_, [&] { return OSXFileManager::FileOpenTemp(); }); });
}

IQuillFileAppendOnly* StandaloneFileManager::FileOpenAppend(const QuillFileString& path, ETruncateOnOpen truncate) {
  return Noting("FileOpenAppend", path, [&] { return OSXFileManager::FileOpenAppend(path, truncate); });
}

IQuillFileReadOnly* StandaloneFileManager::FileOpenReadOnly(const QuillFileString& path) {
  return Noting("FileOpenReadOnly", path, [&] { return OSXFileManager::FileOpenReadOnly(path); });
}

bool StandaloneFileManager::FileGetSize(const QuillFileString& path, long long& size) {
  return Noting("FileGetSize", path, [&] { return OSXFileManager::FileGetSize(path, size); });
}

bool StandaloneFileManager::FileDelete(const QuillFileString& path) {
  return Noting("FileDelete", path, [&] { return OSXFileManager::FileDelete(path); });
}

bool StandaloneFileManager::FileRename(const QuillFileString& newName, const QuillFileString& path) {
  return NotingTree("FileRename", path, newName, [&] { return OSXFileManager::FileRename(newName, path); });
}

bool StandaloneFileManager::FileGetDates(const QuillFileString& path, double& created, double& modified) {
  return Noting("FileGetDates", path, [&] { return OSXFileManager::FileGetDates(path, created, modified); });
}

bool StandaloneFileManager::DirEnsure(const QuillFileString& directory) {
  return Noting("DirEnsure", directory, [&] { return OSXFileManager::DirEnsure(directory); });
}

bool StandaloneFileManager::DirDelete(const QuillFileString& directory) {
  return Noting("DirDelete", directory, [&] { return OSXFileManager::DirDelete(directory); });
}

bool StandaloneFileManager::DirDeleteWithContents(const QuillFileString& path) {
  return NotingTree("DirDeleteWithContents", path, {}, [&] { return OSXFileManager::DirDeleteWithContents(path); });
}

bool StandaloneFileManager::FileGetDiskSpace(const QuillFileString& path, double& freeBytes, double& totalBytes) {
  return Noting("FileGetDiskSpace", path,
                [&] { return OSXFileManager::FileGetDiskSpace(path, freeBytes, totalBytes); });
}

bool StandaloneFileManager::FileGetLSize(const QuillFileString& path, unsigned long long& size) {
  return Noting("FileGetLSize", path, [&] { return OSXFileManager::FileGetLSize(path, size); });
}

bool StandaloneFileManager::FileCreateSymLink(const QuillFileString& target, const QuillFileString& link) {
  return Noting("FileCreateSymLink", link, target, [&] { return OSXFileManager::FileCreateSymLink(target, link); });
}

bool StandaloneFileManager::FileReadSymLink(const QuillFileString& link, QuillFileString& target) {
  return Noting("FileReadSymLink", link, [&] { return OSXFileManager::FileReadSymLink(link, target); });
}

IQuillFileReadWriteTemp* StandaloneFileManager::FileOpen(const QuillFileString& path, unsigned int flags) {
  return Noting("FileOpen", path,
                [&] { return OpenGuarded(temporaryFile_, [&] { return OSXFileManager::FileOpen(path, flags); }); });
}

bool StandaloneFileManager::FileCreateTemp(QuillFileString& path) {
  return Noting("FileCreateTemp", {}, [&] { return OSXFileManager::FileCreateTemp(path); });
}

bool StandaloneFileManager::DirCreateTemp(QuillFileString& path) {
  return Noting("DirCreateTemp", {}, [&] { return OSXFileManager::DirCreateTemp(path); });
}

bool StandaloneFileManager::FileOrDirCopy(const QuillFileString& source, const QuillFileString& destination,
                                          bool clobber) {
  return NotingTree("FileOrDirCopy", source, destination,
                    [&] { return OSXFileManager::FileOrDirCopy(source, destination, clobber); });
}

bool StandaloneFileManager::FileOrDirMove(const QuillFileString& source, const QuillFileString& destination,
                                          bool clobber) {
  return NotingTree("FileOrDirMove", source, destination,
                    [&] { return OSXFileManager::FileOrDirMove(source, destination, clobber); });
}

unsigned int StandaloneFileManager::FileGetCreator(const QuillFileString& path) {
  return Noting("FileGetCreator", path, [&] { return OSXFileManager::FileGetCreator(path); });
}

bool StandaloneFileManager::FileCreateTempInDir(const QuillFileString& directory, QuillFileString& path) {
  return Noting("FileCreateTempInDir", directory, [&] { return OSXFileManager::FileCreateTempInDir(directory, path); });
}

bool StandaloneFileManager::DirCreateTempInDir(const QuillFileString& directory, QuillFileString& path) {
  return Noting("DirCreateTempInDir", directory, [&] { return OSXFileManager::DirCreateTempInDir(directory, path); });
}

}  // namespace quill
