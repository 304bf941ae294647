#include "standalone/StandaloneFileManager.h"

#include <cerrno>
#include <new>
#include <string>

#include "platform/darwin/paths/Changes.h"
#include "platform/darwin/paths/Creating.h"
#include "platform/darwin/paths/Opening.h"
#include "platform/darwin/paths/Status.h"
#include "platform/darwin/paths/Volumes.h"
#include "platform/darwin/user/UserDirectories.h"
#include "platform/foundation/NSStandardDirectories.h"
#include "platform/osx/OSXFileSystemUtils.h"
#include "platform/osx/Operation.h"
#include "standalone/BaseDirectories.h"
#include "standalone/HiddenNames.h"
#include "standalone/Trash.h"

namespace quill {
namespace {

constexpr mode_t kOwnerReadsAndWrites = 0600;

/// Stores a path that came from the platform. Always true.
bool SetPath(const std::string& bytes, QuillFileString& path) {
  const auto text = foundation::NSString::stringWithFileSystemBytes(bytes);
  return OSXFileSystemUtils::SetQuillFileStringFromNSStringPath(text.get(), path, /*normalize=*/true);
}

/// Makes a platform call with a path's text.
template <typename Call>
bool Run(Operation&& operation, const QuillFileString& path, Call call) {
  const char* const text = path.getUTF8();
  if (!text) return operation.FailWithoutText();
  const darwin::Error error = call(text);
  return error ? operation.Fail(error) : true;
}

/// Removes a temporary file if it could not be opened.
class TemporaryFileGuard {
 public:
  explicit TemporaryFileGuard(std::string& path) noexcept : path_(path) { path_.clear(); }
  TemporaryFileGuard(const TemporaryFileGuard&) = delete;
  TemporaryFileGuard& operator=(const TemporaryFileGuard&) = delete;
  ~TemporaryFileGuard() {
    try {
      if (!path_.empty()) (void)darwin::RemoveFile(path_.c_str());
    } catch (const std::bad_alloc&) {
      // Only the search for another form of the name needs memory, and it means that the file has already gone.
    }
    std::string().swap(path_);  // clear() would keep the memory
  }

  /// If \p opened is a file object, the file belongs to it now.
  IQuillFileReadWriteTemp* HandOver(IQuillFileReadWriteTemp* opened) noexcept {
    if (opened) path_.clear();
    return opened;
  }

 private:
  std::string& path_;
};

}  // namespace

StandaloneFileManager::~StandaloneFileManager() = default;

// FileGetTempPath has created the file before the layer opens it, and the layer does not know that. The guards of these
// two remove it if there is no object that could.
IQuillFileReadWriteTemp* StandaloneFileManager::FileOpenTemp() {
  TemporaryFileGuard guard(temporaryFile_);
  return guard.HandOver(OSXFileManager::FileOpenTemp());
}

IQuillFileReadWriteTemp* StandaloneFileManager::FileOpen(const QuillFileString& path, unsigned int flags) {
  TemporaryFileGuard guard(temporaryFile_);
  return guard.HandOver(OSXFileManager::FileOpen(path, flags));
}

// Each of these takes the path to one function of the platform, whose answer has the reason.
bool StandaloneFileManager::DirIsEmpty(const QuillFileString& directory, bool& empty) {
  return Run({*this, __func__, directory}, directory,
             [&](const char* text) { return darwin::IsEmptyDirectory(text, empty); });
}

bool StandaloneFileManager::DirSetCurrent(const QuillFileString& directory) {
  return Run({*this, __func__, directory}, directory, darwin::SetCurrentDirectory);
}

bool StandaloneFileManager::DirGetDownloads(QuillFileString& directory) {
  Operation operation(*this, __func__);
  const auto downloads = NSSearchPathForDirectoryInUserDomain(foundation::NSSearchPathDirectory::kDownloads);
  // Only without a home directory: user-dirs.dirs need not exist.
  if (!downloads) return operation.FailSilently(ENOENT);
  return OSXFileSystemUtils::SetQuillFileStringFromNSStringPath(downloads.get(), directory, /*normalize=*/true);
}

bool StandaloneFileManager::FileGetCanonicalPath(const QuillFileString& path, QuillFileString& canonical) {
  std::string resolved;
  const auto resolve = [&](const char* text) { return darwin::GetCanonicalPath(text, resolved); };
  // The bytes on the disk may be in any normalization; the caller gets them composed.
  return Run({*this, __func__, path}, path, resolve) && SetPath(resolved, canonical);
}

// No Operation: a list that cannot be read hides nothing, and is no failure.
bool StandaloneFileManager::FileIsHidden(const QuillFileString& path) { return IsHiddenName(*this, path); }

bool StandaloneFileManager::DirGetAppData(QuillFileString& directory) {
  Operation operation(*this, __func__);
  return operation.Answer(EnsureProgramDirectory(*this, DataDirectory(*this), directory));
}

bool StandaloneFileManager::FileOrDirMoveToTrash(const QuillFileString& path, QuillFileString& trashed) {
  std::string place;
  const auto trash = [&](const char* text) { return MoveToTrash(*this, text, place); };
  // The observer and the failing entry are those of the move, which copies and removes where a rename is not possible.
  return Run(TreeOperation(*this, __func__, path), path, trash) && SetPath(place, trashed);
}

bool StandaloneFileManager::VolumeIsReadOnly(const QuillFileString& path, bool& readOnly) {
  return Run({*this, __func__, path}, path, [&](const char* text) { return darwin::IsReadOnlyVolume(text, readOnly); });
}

bool StandaloneFileManager::FileSetModificationDate(const QuillFileString& path, double modified) {
  return Run({*this, __func__, path}, path,
             [&](const char* text) { return darwin::SetModificationTime(text, modified); });
}

bool StandaloneFileManager::FileSetReadOnly(const QuillFileString& path, bool readOnly) {
  return Run({*this, __func__, path}, path, [&](const char* text) { return darwin::SetReadOnly(text, readOnly); });
}

bool StandaloneFileManager::DirGetLogDir(QuillFileString& directory) {
  Operation operation(*this, __func__);
  return operation.Answer(CoreFileManager::DirGetLogDir(directory));
}

bool StandaloneFileManager::DirGetAppResourceDir(QuillFileString& directory) {
  Operation operation(*this, __func__);
  return operation.Answer(CoreFileManager::DirGetAppResourceDir(directory));
}

bool StandaloneFileManager::DirGetQuillPlayerSandboxSafeTempLocation(const QuillFileString& name,
                                                                     QuillFileString& location) {
  Operation operation(*this, __func__, name);
  return operation.Answer(CoreFileManager::DirGetQuillPlayerSandboxSafeTempLocation(name, location));
}

bool StandaloneFileManager::MarkDownloadedFileAsUnsafeOrSafe(const QuillFileString& path, const QuillFileString& source,
                                                             const QuillFileString& referrer, bool isUnsafe) {
  Operation operation(*this, __func__, path);
  return operation.Answer(CoreFileManager::MarkDownloadedFileAsUnsafeOrSafe(path, source, referrer, isUnsafe));
}

bool StandaloneFileManager::ScanMediaFile(const QuillFileString& path) {
  Operation operation(*this, __func__, path);
  return operation.Answer(CoreFileManager::ScanMediaFile(path));
}

bool StandaloneFileManager::FileReopenStderr(const QuillFileString& path, bool truncate) {
  Operation operation(*this, __func__, path);
  return operation.Answer(CoreFileManager::FileReopenStderr(path, truncate));
}

bool StandaloneFileManager::FileGetTempPath(QuillFileString& path) {
  Operation operation(*this, __func__);
  QuillFileString place;
  if (!DirGetTemp(place)) return operation.FailAsCalled();
  place.appendLeaf("QuillTmp.XXXXXX");
  std::string name = place.getUTF8();
  temporaryFile_.reserve(name.size());
  darwin::FileDescriptor file;  // nothing is written; the file is opened again by its name
  const darwin::Error error = darwin::MakeTemporaryFileAt(name, kOwnerReadsAndWrites, file);
  if (error) return operation.Fail(error);
  temporaryFile_ = name;  // what follows may fail
  path.setUTF8(name.c_str());
  return true;
}

bool StandaloneFileManager::DirGetTemp(QuillFileString& directory) {
  const char* const wanted = darwin::AbsolutePathInVariable("TMPDIR");
  directory.setUTF8(wanted ? wanted : "/tmp");
  return true;
}

}  // namespace quill
