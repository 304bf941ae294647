#include "standalone/StandaloneFileManager.h"

#include <cerrno>
#include <cstdlib>
#include <string>

#include "platform/darwin/CanonicalPath.h"
#include "platform/darwin/DirectoryCalls.h"
#include "platform/darwin/ItemChanges.h"
#include "platform/darwin/PathCalls.h"
#include "platform/darwin/VolumeStatus.h"
#include "platform/foundation/NSStandardDirectories.h"
#include "platform/osx/OSXFileSystemUtils.h"
#include "standalone/BaseDirectories.h"
#include "standalone/HiddenNames.h"
#include "standalone/Trash.h"

namespace {

/// Stores a path that came from the platform. Always true.
bool SetPath(const std::string& bytes, QuillFileString& path) {
  const auto text = foundation::NSString::stringWithFileSystemBytes(bytes);
  return OSXFileSystemUtils::SetQuillFileStringFromNSStringPath(text.get(), path, /*normalize=*/true);
}

}  // namespace

StandaloneFileManager::~StandaloneFileManager() = default;

bool StandaloneFileManager::DirIsEmpty(const QuillFileString& directory, bool& empty) {
  const char* text = directory.getUTF8();
  return text && Succeeded(darwin::IsEmptyDirectory(text, empty));
}

bool StandaloneFileManager::DirSetCurrent(const QuillFileString& directory) {
  const char* text = directory.getUTF8();
  return text && Succeeded(darwin::SetCurrentDirectory(text));
}

bool StandaloneFileManager::DirGetDownloads(QuillFileString& directory) {
  const auto downloads = NSSearchPathForDirectoryInUserDomain(foundation::NSSearchPathDirectory::kDownloads);
  if (!downloads) return false;
  return OSXFileSystemUtils::SetQuillFileStringFromNSStringPath(downloads.get(), directory, /*normalize=*/true);
}

bool StandaloneFileManager::FileGetCanonicalPath(const QuillFileString& path, QuillFileString& canonical) {
  const char* text = path.getUTF8();
  if (!text) return false;
  std::string resolved;
  return Succeeded(darwin::CanonicalPath(text, resolved)) && SetPath(resolved, canonical);
}

bool StandaloneFileManager::FileIsHidden(const QuillFileString& path) { return IsHiddenName(*this, path); }

bool StandaloneFileManager::DirGetAppData(QuillFileString& directory) {
  return EnsureProgramDirectory(*this, kDataDirectory, directory);
}

bool StandaloneFileManager::FileOrDirMoveToTrash(const QuillFileString& path, QuillFileString& trashed) {
  const char* text = path.getUTF8();
  if (!text) return false;
  const darwin::TreeObserverScope scope(treeObserver);
  std::string place;
  return Succeeded(MoveToTrash(*this, text, place)) && SetPath(place, trashed);
}

bool StandaloneFileManager::VolumeIsReadOnly(const QuillFileString& path, bool& readOnly) {
  const char* text = path.getUTF8();
  return text && Succeeded(darwin::IsReadOnlyVolume(text, readOnly));
}

bool StandaloneFileManager::FileSetModificationDate(const QuillFileString& path, double modified) {
  const char* text = path.getUTF8();
  return text && Succeeded(darwin::SetModificationTime(text, modified));
}

bool StandaloneFileManager::FileSetReadOnly(const QuillFileString& path, bool readOnly) {
  const char* text = path.getUTF8();
  return text && Succeeded(darwin::SetReadOnly(text, readOnly));
}

bool StandaloneFileManager::FileGetTempPath(QuillFileString& path) {
  QuillFileString place;
  if (!DirGetTemp(place)) return false;
  place.appendLeaf("QuillTmp.XXXXXX");
  std::string name = place.getUTF8();
  const int descriptor = darwin::mkstemp(name.data());
  if (descriptor < 0) return Succeeded(errno);
  (void)darwin::close(descriptor);  // nothing was written; the file is opened again by its name
  path.setUTF8(name.c_str());
  return true;
}

bool StandaloneFileManager::DirGetTemp(QuillFileString& directory) {
  const char* wanted = std::getenv("TMPDIR");
  directory.setUTF8(wanted && *wanted == '/' ? wanted : "/tmp");
  return true;
}

bool StandaloneFileManager::FileRename(const QuillFileString& newName, const QuillFileString& path) {
  const darwin::TreeObserverScope scope(treeObserver);
  return OSXFileManager::FileRename(newName, path);
}

bool StandaloneFileManager::DirDeleteWithContents(const QuillFileString& path) {
  const darwin::TreeObserverScope scope(treeObserver);
  return OSXFileManager::DirDeleteWithContents(path);
}

bool StandaloneFileManager::FileOrDirCopy(const QuillFileString& source, const QuillFileString& destination,
                                          bool clobber) {
  const darwin::TreeObserverScope scope(treeObserver);
  return OSXFileManager::FileOrDirCopy(source, destination, clobber);
}

bool StandaloneFileManager::FileOrDirMove(const QuillFileString& source, const QuillFileString& destination,
                                          bool clobber) {
  const darwin::TreeObserverScope scope(treeObserver);
  return OSXFileManager::FileOrDirMove(source, destination, clobber);
}

bool StandaloneFileManager::Succeeded(int posixError) {
  return posixError == 0 || Fail(OSXFileSystemUtils::_PosixErrToQuillErr(posixError));
}
