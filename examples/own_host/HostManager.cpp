#include "HostManager.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "platform/osx/OSXFileSystemUtils.h"
#include "standalone/ErrorText.h"

namespace fs = std::filesystem;

namespace {

const char* Text(const QuillFileString& path) { return path.isEmpty() ? "" : path.getUTF8(); }

void Tell(const char* operation, const QuillFileString& path) { std::printf("    %s(%s)\n", operation, Text(path)); }

}  // namespace

bool HostManager::RecordUnless(bool succeeded, int posixError) {
  return succeeded || Fail(OSXFileSystemUtils::_PosixErrToQuillErr(posixError));
}

bool HostManager::InHome(const char* below, QuillFileString& directory) {
  QuillFileString place;
  if (!DirGetUserHomePath(place)) return false;
  place.appendLeaf(below);
  directory = place;
  return true;
}

bool HostManager::DirIsEmpty(const QuillFileString& directory, bool& empty) {
  std::error_code error;
  const bool isEmpty = fs::is_empty(Text(directory), error);
  if (!error) empty = isEmpty;
  return RecordUnless(!error, error.value());
}

bool HostManager::DirSetCurrent(const QuillFileString& directory) {
  std::error_code error;
  fs::current_path(Text(directory), error);
  return RecordUnless(!error, error.value());
}

bool HostManager::DirGetDownloads(QuillFileString& directory) { return InHome("Downloads", directory); }

bool HostManager::FileGetCanonicalPath(const QuillFileString& path, QuillFileString& canonical) {
  std::error_code error;
  const fs::path resolved = fs::canonical(Text(path), error);
  if (!error) canonical.setUTF8(resolved.c_str());
  return RecordUnless(!error, error.value());
}

bool HostManager::FileIsHidden(const QuillFileString& path) {
  const std::string_view text = Text(path);
  return text.substr(text.find_last_of('/') + 1).starts_with('.');
}

bool HostManager::DirGetAppData(QuillFileString& directory) {
  QuillFileString place;
  if (!InHome(".local/share/own_host", place) || !DirEnsure(place)) return false;
  directory = place;
  return true;
}

bool HostManager::FileOrDirMoveToTrash(const QuillFileString&, QuillFileString&) {
  return Fail(kQuillErrIO);  // this host has no trash
}

bool HostManager::VolumeIsReadOnly(const QuillFileString& path, bool& readOnly) {
  if (!FileExists(path)) return Fail(kQuillErrNotFound);
  readOnly = false;  // this host lives on disks of its own
  return true;
}

bool HostManager::FileSetModificationDate(const QuillFileString& path, double modified) {
  using Milliseconds = std::chrono::duration<double, std::milli>;
  const auto since1970 = std::chrono::duration_cast<std::chrono::nanoseconds>(Milliseconds(modified));
  const std::chrono::sys_time<std::chrono::nanoseconds> time(since1970);
  std::error_code error;
  fs::last_write_time(Text(path), std::chrono::file_clock::from_sys(time), error);
  return RecordUnless(!error, error.value());
}

bool HostManager::FileSetReadOnly(const QuillFileString& path, bool readOnly) {
  constexpr auto kAnyWrite = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
  std::error_code error;
  if (readOnly) {
    fs::permissions(Text(path), kAnyWrite, fs::perm_options::remove, error);
  } else {
    fs::permissions(Text(path), fs::perms::owner_write, fs::perm_options::add, error);
  }
  return RecordUnless(!error, error.value());
}

bool HostManager::FileGetTempPath(QuillFileString& path) { return FileCreateTemp(path); }

bool HostManager::DirGetTemp(QuillFileString& directory) {
  directory.setUTF8("/tmp");
  return true;
}

bool HostManager::FileIsDir(const QuillFileString& path) {
  Tell("FileIsDir", path);
  return OSXFileManager::FileIsDir(path);
}

bool HostManager::FileExists(const QuillFileString& path) {
  Tell("FileExists", path);
  return OSXFileManager::FileExists(path);
}

bool HostManager::FileDelete(const QuillFileString& path) {
  Tell("FileDelete", path);
  return OSXFileManager::FileDelete(path);
}

void HostManager::SetLastError(int code) {
  std::printf("    SetLastError(%d): %s\n", code, quill::QuillErrText(code));
  OSXFileManager::SetLastError(code);
}
