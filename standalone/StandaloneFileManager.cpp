#include "standalone/StandaloneFileManager.h"

#include <cerrno>
#include <string>

#include "platform/darwin/paths/CanonicalPath.h"
#include "platform/darwin/paths/DirectoryCalls.h"
#include "platform/darwin/paths/ItemChanges.h"
#include "platform/darwin/paths/PathCalls.h"
#include "platform/darwin/paths/VolumeStatus.h"
#include "platform/darwin/user/UserDirectories.h"
#include "platform/foundation/NSStandardDirectories.h"
#include "platform/osx/OSXFileSystemUtils.h"
#include "standalone/BaseDirectories.h"
#include "standalone/HiddenNames.h"
#include "standalone/NotingFailures.h"
#include "standalone/Trash.h"

namespace quill {

namespace {

constexpr unsigned kOwnerReadsAndWrites = 0600;

/// Stores a path that came from the platform. Always true.
bool SetPath(const std::string& bytes, QuillFileString& path) {
  const auto text = foundation::NSString::stringWithFileSystemBytes(bytes);
  return OSXFileSystemUtils::SetQuillFileStringFromNSStringPath(text.get(), path, /*normalize=*/true);
}

}  // namespace

StandaloneFileManager::~StandaloneFileManager() = default;

/// Makes a platform call, which answers 0 or the errno, with a path's text.
template <typename Call>
bool StandaloneFileManager::Calling(const char* name, const QuillFileString& path, Call call) {
  return Noting(name, path, [&] {
    const char* text = path.getUTF8();
    return text && Succeeded(call(text));
  });
}

bool StandaloneFileManager::DirIsEmpty(const QuillFileString& directory, bool& empty) {
  return Calling("DirIsEmpty", directory, [&](const char* text) { return darwin::IsEmptyDirectory(text, empty); });
}

bool StandaloneFileManager::DirSetCurrent(const QuillFileString& directory) {
  return Calling("DirSetCurrent", directory, [&](const char* text) { return darwin::SetCurrentDirectory(text); });
}

bool StandaloneFileManager::DirGetDownloads(QuillFileString& directory) {
  const auto downloads = NSSearchPathForDirectoryInUserDomain(foundation::NSSearchPathDirectory::kDownloads);
  if (!downloads) return false;
  return OSXFileSystemUtils::SetQuillFileStringFromNSStringPath(downloads.get(), directory, /*normalize=*/true);
}

bool StandaloneFileManager::FileGetCanonicalPath(const QuillFileString& path, QuillFileString& canonical) {
  std::string resolved;
  return Calling("FileGetCanonicalPath", path,
                 [&](const char* text) { return darwin::CanonicalPath(text, resolved); }) &&
         SetPath(resolved, canonical);
}

bool StandaloneFileManager::FileIsHidden(const QuillFileString& path) { return IsHiddenName(*this, path); }

bool StandaloneFileManager::DirGetAppData(QuillFileString& directory) {
  return EnsureProgramDirectory(*this, kDataDirectory, directory);
}

bool StandaloneFileManager::FileOrDirMoveToTrash(const QuillFileString& path, QuillFileString& trashed) {
  return NotingTree("FileOrDirMoveToTrash", path, {}, [&] {
    const char* text = path.getUTF8();
    std::string place;
    return text && Succeeded(MoveToTrash(*this, text, place)) && SetPath(place, trashed);
  });
}

bool StandaloneFileManager::VolumeIsReadOnly(const QuillFileString& path, bool& readOnly) {
  return Calling("VolumeIsReadOnly", path, [&](const char* text) { return darwin::IsReadOnlyVolume(text, readOnly); });
}

bool StandaloneFileManager::FileSetModificationDate(const QuillFileString& path, double modified) {
  return Calling("FileSetModificationDate", path,
                 [&](const char* text) { return darwin::SetModificationTime(text, modified); });
}

bool StandaloneFileManager::FileSetReadOnly(const QuillFileString& path, bool readOnly) {
  return Calling("FileSetReadOnly", path, [&](const char* text) { return darwin::SetReadOnly(text, readOnly); });
}

bool StandaloneFileManager::FileGetTempPath(QuillFileString& path) {
  QuillFileString place;
  if (!DirGetTemp(place)) return false;
  place.appendLeaf("QuillTmp.XXXXXX");
  std::string name = place.getUTF8();
  temporaryFile_.reserve(name.size());
  const int descriptor = darwin::mkstemp(name.data());
  if (descriptor < 0) return Succeeded(errno);
  temporaryFile_ = name;            // what follows may fail
  (void)darwin::close(descriptor);  // nothing was written; the file is opened again by its name
  // It was made less what the umask takes, which may be what opening it needs; if that stays so, the opening tells.
  (void)darwin::SetPermissions(name.c_str(), darwin::FinalLink::kItself, kOwnerReadsAndWrites);
  path.setUTF8(name.c_str());
  return true;
}

bool StandaloneFileManager::DirGetTemp(QuillFileString& directory) {
  const char* const wanted = darwin::AbsolutePathInVariable("TMPDIR");
  directory.setUTF8(wanted ? wanted : "/tmp");
  return true;
}

bool StandaloneFileManager::Succeeded(int posixError) {
  if (posixError == 0) return true;
  (void)Fail(OSXFileSystemUtils::_PosixErrToQuillErr(posixError));  // is false
  errno = posixError;
  return false;
}

}  // namespace quill
