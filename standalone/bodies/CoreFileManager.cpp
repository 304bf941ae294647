#include "host/CoreFileManager.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/paths/Creating.h"
#include "platform/darwin/paths/ExtendedAttributes.h"
#include "platform/osx/OSXFileSystemUtils.h"
#include "platform/osx/Operation.h"
#include "standalone/BaseDirectories.h"

namespace darwin = quill::darwin;

namespace {

// The attributes in which browsers and download programs note where a file came from (freedesktop.org, "Common Extended
// Attributes").
constexpr char kOriginAttribute[] = "user.xdg.origin.url";
constexpr char kReferrerAttribute[] = "user.xdg.referrer.url";

bool SucceededSilently(CoreFileManager& manager, darwin::Error error) {
  if (error) quill::Operation::HandUp(manager, error);
  return !error;
}

/// Records the code of a failure. True for success.
bool Succeeded(CoreFileManager& manager, darwin::Error error) {
  if (error) manager.SetLastError(OSXFileSystemUtils::_PosixErrToQuillErr(error.posix()));
  return SucceededSilently(manager, error);
}

/// Gives the path of \p leaf in \p directory if it is a directory.
bool FindDirectoryIn(CoreFileManager& manager, QuillFileString directory, const QuillFileString& leaf,
                     QuillFileString& found) {
  directory.appendLeaf(leaf);
  if (!manager.FileIsDir(directory)) return false;
  found = directory;
  return true;
}

bool FindDirectoryInDataDirectories(CoreFileManager& manager, const QuillFileString& leaf, QuillFileString& found) {
  // Unset and empty mean the same, and relative entries are to be ignored (XDG base directories 0.8).
  const char* value = std::getenv("XDG_DATA_DIRS");
  std::istringstream list(value && *value ? value : "/usr/local/share:/usr/share");
  for (std::string entry; std::getline(list, entry, ':');) {
    if (entry.starts_with('/') && FindDirectoryIn(manager, quill::PathFrom(entry), leaf, found)) return true;
  }
  return false;
}

/// The same directory each time, if it can be had. Anybody may make something of that name in a temporary directory,
/// and of the next few; a random one nobody can foresee.
darwin::Error EnsurePrivatePlace(const QuillFileString& parent, QuillFileString& place) {
  constexpr int kFixedNames = 4;
  const std::string name = "quill-" + std::to_string(darwin::EffectiveUser());
  for (int number = 1; number <= kFixedNames; ++number) {
    place = parent;
    place.appendLeaf((number == 1 ? name : name + '.' + std::to_string(number)).c_str());
    const darwin::Error error = darwin::EnsurePrivateDirectory(place.getUTF8());
    if (error != EACCES) return error;
  }
  place = parent;
  place.appendLeaf((name + ".XXXXXX").c_str());
  std::string made = place.getUTF8();
  if (const darwin::Error error = darwin::MakeTemporaryDirectoryAt(made, S_IRWXU)) return error;
  place.setUTF8(made.c_str());
  return darwin::EnsurePrivateDirectory(place.getUTF8());
}

}  // namespace

CoreFileManager::~CoreFileManager() = default;

bool CoreFileManager::DirGetLogDir(QuillFileString& directory) {
  return quill::EnsureProgramDirectory(*this, quill::StateDirectory(*this), directory);
}

// Only a name is taken from the caller, never a path: the location cannot be outside the private place.
bool CoreFileManager::DirGetQuillPlayerSandboxSafeTempLocation(const QuillFileString& name, QuillFileString& location) {
  const std::string leaf = quill::LeafOf(name);
  if (leaf.empty()) return false;
  if (leaf == "." || leaf == "..") {
    SetLastError(kQuillErrIllegalPath);
    return SucceededSilently(*this, EINVAL);
  }
  QuillFileString parent, result;
  if (!DirGetTemp(parent) || !Succeeded(*this, EnsurePrivatePlace(parent, result))) return false;
  result.appendLeaf(leaf.c_str());
  location = result;
  return true;
}

void CoreFileManager::OverrideWriteableAreaSecurity(CoreFileManagerOverrideMode /*mode*/) {}

bool CoreFileManager::MarkDownloadedFileAsUnsafeOrSafe(const QuillFileString& path, const QuillFileString& source,
                                                       const QuillFileString& referrer, bool isUnsafe) {
  const char* text = path.getUTF8();
  if (!text) return false;
  // The referrer goes first. If the second removal fails, the file still counts as downloaded.
  if (!isUnsafe) {
    return Succeeded(*this, darwin::RemoveExtendedAttribute(text, kReferrerAttribute)) &&
           Succeeded(*this, darwin::RemoveExtendedAttribute(text, kOriginAttribute));
  }
  // The origin attribute is the mark, so it is set even if the address is not known.
  const char* origin = source.isEmpty() ? "" : source.getUTF8();
  if (!Succeeded(*this, darwin::SetExtendedAttribute(text, kOriginAttribute, origin))) return false;
  // A mark without a referrer must not keep the one of an earlier download.
  const darwin::Error error = referrer.isEmpty()
                                  ? darwin::RemoveExtendedAttribute(text, kReferrerAttribute)
                                  : darwin::SetExtendedAttribute(text, kReferrerAttribute, referrer.getUTF8());
  return Succeeded(*this, error);
}

// Asks for the length alone (size 0, see getxattr(2)): an empty origin is a mark, too. A file that cannot be asked
// counts as not marked.
bool CoreFileManager::GetDownloadedStatus(const QuillFileString& path) {
  std::size_t length = 0;
  return path.getUTF8() && !darwin::GetExtendedAttribute(path.getUTF8(), kOriginAttribute, nullptr, 0, length);
}

// Protected mode and its broker exist on other systems only. Hosts ask everywhere, and "no" lets them go on.
bool CoreFileManager::IsProtectedModeIE() { return false; }

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value, as the table has it
IQuillFileAppendOnly* CoreFileManager::GetBrokerHandleWrapper(unsigned int /*handle*/, QuillFileString /*path*/) {
  return nullptr;
}

// There is no index of media to be told; a file that is missing is an error all the same.
bool CoreFileManager::ScanMediaFile(const QuillFileString& path) {
  if (!path.getUTF8()) return false;
  if (FileExists(path)) return true;
  SetLastError(kQuillErrNotFound);
  return SucceededSilently(*this, ENOENT);
}

// Looks beside the program first, so that a program that was moved with its resources finds its own.
bool CoreFileManager::DirGetAppResourceDir(QuillFileString& directory) {
  QuillFileString beside, name, resources;
  if (!SucceededSilently(*this, quill::SplitProgramPath(beside, name))) return false;
  QuillFileString prefix = beside;
  if (prefix.trimLeaf(nullptr)) {
    prefix.appendLeaf("share");
    if (FindDirectoryIn(*this, prefix, name, directory)) return true;
  }
  resources.setUTF8("resources");
  if (FindDirectoryIn(*this, beside, resources, directory)) return true;

  return FindDirectoryInDataDirectories(*this, name, directory) || SucceededSilently(*this, ENOENT);
}

bool CoreFileManager::RedirectedFilePath(const QuillFileString& /*path*/, QuillFileString& /*redirected*/) {
  return false;
}

bool CoreFileManager::FileSetExecutable(const QuillFileString& /*path*/) { return true; }

const char* CoreFileManager::GetNativePath(const char* path) { return path; }

bool CoreFileManager::FileReopenStderr(const QuillFileString& path, bool truncate) {
  return SucceededSilently(*this, darwin::ReopenStreamAt(path.getUTF8(), truncate ? "w" : "a", stderr));
}

bool CoreFileManager::DirEnsureEnclosingDir(const QuillFileString& path) {
  QuillFileString directory = path;
  if (!directory.trimLeaf(nullptr)) return true;  // a bare name's directory is the current one, and the root has none
  return DirEnsure(directory);
}
