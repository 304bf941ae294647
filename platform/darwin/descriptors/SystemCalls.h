// Every system call of this project, once each: with EINTR repeated where POSIX allows it, descriptors closed on exec,
// and the reason of a failure as an Error. Calls by path go through OnPath (names/NameLookup.h) besides, so that they
// find a name in any normalization.
//
// A name is looked for in a directory, which is a descriptor or AT_FDCWD; as it stands, without any search. Each
// function is named after what it does; the man page that it follows is the system call's. Any thread.
#pragma once

#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>

#include "platform/darwin/descriptors/FileDescriptor.h"

namespace quill::darwin {

/// An open item. One that is never opened for its contents (a link, a FIFO) is open for lookup alone (O_PATH); calls
/// that refuse such a descriptor then go through /proc/self/fd (proc(5)).
struct OpenItem {
  int descriptor;
  bool forLookupAlone = false;
};

// Opening.

/// \p flags without O_CLOEXEC, which is always added.
Error Open(int directory, const char* name, int flags, FileDescriptor& opened, mode_t mode = 0) noexcept;
/// The same, without waiting for the other end of a FIFO, and never as the program's terminal. Only a regular file that
/// somebody has a lease on is waited for, until the lease is given back or the kernel takes it away
/// (/proc/sys/fs/lease-break-time, 45 seconds).
Error OpenWithoutWaiting(int directory, const char* name, int flags, FileDescriptor& opened, mode_t mode = 0) noexcept;
/// The directory \p directory itself, for reading; it may be open for lookup alone.
Error OpenForReading(int directory, FileDescriptor& opened) noexcept;
Error Duplicate(int descriptor, FileDescriptor& copy) noexcept;

// Contents. Writing past the process's file size limit is EFBIG, never the end of the program by SIGXFSZ: where the
// program leaves that signal at its default, the first write puts a handler in its place that does nothing. What the
// program has chosen itself stays, and programs that it starts get the default again.

/// \p got is 0 at the end.
Error Read(int file, void* buffer, std::size_t size, std::size_t& got) noexcept;
/// One call, not repeated after EINTR: for the operation whose contract says so.
Error ReadOnce(int file, void* buffer, std::size_t size, std::size_t& got) noexcept;
Error ReadAt(int file, void* buffer, std::size_t size, std::uint64_t position, std::size_t& got) noexcept;
/// All bytes, in as many calls as it takes. \p written tells on failure too how far the file pointer has moved.
Error WriteAll(int file, const void* bytes, std::size_t size, std::size_t& written) noexcept;
Error WriteAll(int file, const void* bytes, std::size_t size) noexcept;
Error WriteAllAt(int file, const void* bytes, std::size_t size, std::uint64_t position) noexcept;
/// Moves the file pointer. \p whence is SEEK_SET, SEEK_CUR, SEEK_END, SEEK_DATA or SEEK_HOLE.
Error Seek(int file, std::int64_t offset, int whence, std::int64_t& position) noexcept;
Error Seek(int file, std::int64_t offset, int whence) noexcept;
Error Truncate(int file, std::int64_t length) noexcept;
/// Returns when the item's data and status are on the device.
Error Sync(int file) noexcept;
/// The same for the whole file system.
Error SyncFileSystem(int file) noexcept;
/// Makes \p to share the blocks of \p from.
Error Clone(int from, int to) noexcept;
/// Copies inside the kernel and moves both positions on; \p copied is 0 at the end.
Error CopyRange(int from, std::int64_t& in, int to, std::int64_t& out, std::size_t size, std::size_t& copied) noexcept;

// Directories and names.

/// Records of linux_dirent64; \p got is 0 at the end.
Error ReadDirectory(int directory, void* buffer, std::size_t size, std::size_t& got) noexcept;
Error MakeDirectory(int directory, const char* name, mode_t mode) noexcept;
Error MakeLink(int directory, const char* name, const char* target) noexcept;
Error MakeNode(int directory, const char* name, mode_t mode, dev_t device) noexcept;
/// \p length is at most \p size; the text is not terminated.
Error ReadLink(int directory, const char* name, char* buffer, std::size_t size, std::size_t& length) noexcept;
/// Gives the item another name. \p flags as linkat takes them.
Error Link(int fromDirectory, const char* from, int toDirectory, const char* to, int flags = 0) noexcept;
/// The same for an open file without a name.
Error LinkOpenFile(int file, int toDirectory, const char* to) noexcept;
/// \p flags is AT_REMOVEDIR for a directory.
Error Unlink(int directory, const char* name, int flags = 0) noexcept;
/// By a path, looked for as it stands.
Error Unlink(const char* path) noexcept;
/// \p flags as renameat2 takes them.
Error Rename(int fromDirectory, const char* from, int toDirectory, const char* to, unsigned flags = 0) noexcept;
/// Gives the X of \p pathTemplate other characters; -XXXXXX at its end, as mkstemp wants it.
Error MakeTemporaryFile(std::string& pathTemplate, FileDescriptor& opened);

// Status.

/// \p flags and \p mask as statx takes them; AT_NO_AUTOMOUNT is always added.
Error GetStatx(int directory, const char* name, int flags, unsigned mask, struct statx& status) noexcept;
/// The cheapest question: \p mode as in st_mode. \p flags as fstatat takes them.
Error GetMode(int directory, const char* name, int flags, mode_t& mode) noexcept;
/// Whether the effective user may do what \p mode (F_OK, R_OK, W_OK) says.
Error CheckAccess(int directory, const char* name, int mode) noexcept;
Error GetFileSystem(int descriptor, struct statfs& status) noexcept;
Error GetVolume(const char* path, struct statvfs& status) noexcept;

// Changes of what an item says about itself.

Error ChangeMode(OpenItem item, mode_t mode) noexcept;
/// Of a name itself, never of what a link points to: EOPNOTSUPP for a link.
Error ChangeModeOf(int directory, const char* name, mode_t mode) noexcept;
/// -1 leaves the owner or the group as it is.
Error ChangeOwner(OpenItem item, uid_t owner, gid_t group) noexcept;
/// Time of access, time of modification.
Error SetTimes(OpenItem item, const std::timespec (&times)[2]) noexcept;
Error SetTimesOf(int directory, const char* name, const std::timespec (&times)[2]) noexcept;

/// The names, each ended by NUL. ERANGE when \p size is too small.
Error ListAttributes(OpenItem item, char* names, std::size_t size, std::size_t& length) noexcept;
/// ENODATA without the attribute, ERANGE when \p size is too small.
Error GetAttribute(OpenItem item, const char* name, void* value, std::size_t size, std::size_t& length) noexcept;
Error SetAttribute(OpenItem item, const char* name, const void* value, std::size_t size) noexcept;
Error RemoveAttribute(OpenItem item, const char* name) noexcept;
/// By path; links are followed.
Error GetAttributeOf(const char* path, const char* name, void* value, std::size_t size, std::size_t& length) noexcept;
Error SetAttributeOf(const char* path, const char* name, const void* value, std::size_t size) noexcept;
Error RemoveAttributeOf(const char* path, const char* name) noexcept;

// The process.

uid_t EffectiveUser() noexcept;
Error ChangeCurrentDirectory(const char* path) noexcept;
/// Any length. ENOENT when it cannot be reached from the root.
Error GetCurrentDirectory(std::string& path);
/// realpath(3): absolute, free of links, "." and "..". The item must exist.
Error ResolvePath(const char* path, std::string& resolved);
/// Makes \p stream another file (C11, 7.21.5.4); it is closed when that fails.
Error ReopenStream(const char* path, const char* mode, std::FILE* stream) noexcept;
/// Unguessable.
Error FillWithRandom(void* bytes, std::size_t size) noexcept;
/// The path by which an open item is reached, even one that is open for lookup alone (proc(5)).
Error GetPathOf(int descriptor, std::string& path);

}  // namespace quill::darwin
