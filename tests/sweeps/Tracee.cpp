#include "tests/sweeps/Tracee.h"

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace quill_sweep {
namespace {

constexpr int kTooManyCalls = 100'000;
constexpr unsigned kSecondsToLive = 60;

struct CallName {
  long number;
  const char* name;
  int pathArgument;
  bool mayBeRepeated;
};

constexpr CallName kCallNames[] = {
    {SYS_open, "open", 0, true},
    {SYS_openat, "openat", 1, true},
    {SYS_openat2, "openat2", 1, true},
    {SYS_read, "read", -1, true},
    {SYS_pread64, "pread64", -1, true},
    {SYS_write, "write", -1, true},
    {SYS_pwrite64, "pwrite64", -1, true},
    {SYS_copy_file_range, "copy_file_range", -1, true},
    {SYS_sendfile, "sendfile", -1, true},
    {SYS_ftruncate, "ftruncate", -1, true},
    {SYS_fallocate, "fallocate", -1, true},
    {SYS_fsync, "fsync", -1, true},
    {SYS_fdatasync, "fdatasync", -1, true},
    {SYS_fchmod, "fchmod", -1, true},
    {SYS_fchown, "fchown", -1, true},
    {SYS_close, "close", -1, true},
    {SYS_syncfs, "syncfs", -1, false},
    {SYS_statx, "statx", 1, false},
    {SYS_newfstatat, "newfstatat", 1, false},
    {SYS_fstat, "fstat", -1, false},
    {SYS_getdents64, "getdents64", -1, false},
    {SYS_unlink, "unlink", 0, false},
    {SYS_unlinkat, "unlinkat", 1, false},
    {SYS_rmdir, "rmdir", 0, false},
    {SYS_mkdir, "mkdir", 0, false},
    {SYS_mkdirat, "mkdirat", 1, false},
    {SYS_rename, "rename", 0, false},
    {SYS_renameat2, "renameat2", 1, false},
    {SYS_linkat, "linkat", 1, false},
    {SYS_symlinkat, "symlinkat", 2, false},
    {SYS_readlinkat, "readlinkat", 1, false},
    {SYS_mknodat, "mknodat", 1, false},
    {SYS_fchmodat, "fchmodat", 1, false},
    {SYS_chmod, "chmod", 0, false},
    {SYS_chown, "chown", 0, false},
    {SYS_lchown, "lchown", 0, false},
    {SYS_fchownat, "fchownat", 1, false},
    {SYS_utimensat, "utimensat", 1, false},
    {SYS_faccessat, "faccessat", 1, false},
    {SYS_faccessat2, "faccessat2", 1, false},
    {SYS_fsetxattr, "fsetxattr", 1, false},
    {SYS_fgetxattr, "fgetxattr", 1, false},
    {SYS_flistxattr, "flistxattr", -1, false},
    {SYS_setxattr, "setxattr", 0, false},
    {SYS_lsetxattr, "lsetxattr", 0, false},
    {SYS_lgetxattr, "lgetxattr", 0, false},
    {SYS_llistxattr, "llistxattr", 0, false},
    {SYS_lseek, "lseek", -1, false},
    {SYS_ioctl, "ioctl", -1, false},
    {SYS_fcntl, "fcntl", -1, false},
    {SYS_mmap, "mmap", -1, false},
};

// Calls that cannot fail in a correct program, those by which it ends or stops itself, and brk, which answers a failure
// with the old end.
constexpr long kCannotFail[] = {
    SYS_munmap,      SYS_mprotect,    SYS_madvise, SYS_rt_sigaction, SYS_rt_sigprocmask, SYS_rt_sigreturn, SYS_futex,
    SYS_gettid,      SYS_getpid,      SYS_getuid,  SYS_geteuid,      SYS_getgid,         SYS_getegid,      SYS_umask,
    SYS_tgkill,      SYS_sched_yield, SYS_exit,    SYS_exit_group,   SYS_clock_gettime,  SYS_alarm,        SYS_execve,
    SYS_sigaltstack, SYS_brk,
};

const CallName* NameOf(long number) {
  const auto found = std::find_if(std::begin(kCallNames), std::end(kCallNames),
                                  [&](const CallName& call) { return call.number == number; });
  return found == std::end(kCallNames) ? nullptr : &*found;
}

bool CanFail(long number) {
  return std::find(std::begin(kCannotFail), std::end(kCannotFail), number) == std::end(kCannotFail);
}

[[noreturn]] void Become(const std::vector<std::string>& command, int output) {
  std::vector<char*> words;
  for (const auto& word : command) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  ::dup2(output, STDOUT_FILENO);
  if (const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC); nowhere >= 0) ::dup2(nowhere, STDERR_FILENO);
  ::setenv("LD_BIND_NOW", "1", 1);
  ::setenv("ASAN_OPTIONS", "detect_leaks=0", 1);  // the leak detector itself needs ptrace
  ::alarm(kSecondsToLive);
  ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
  ::execvp(words[0], words.data());
  ::_exit(127);
}

void SetRegister(pid_t process, std::size_t offset, long value) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): ptrace takes numbers as pointers
  ::ptrace(PTRACE_POKEUSER, process, reinterpret_cast<void*>(offset), reinterpret_cast<void*>(value));
}

}  // namespace

Tracee::Tracee(const std::vector<std::string>& command, Window window) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) std::abort();
  std::fflush(nullptr);
  process = ::fork();
  if (process < 0) std::abort();
  if (process == 0) Become(command, ends[1]);
  ::close(ends[1]);
  outputEnd = ends[0];
  ::waitpid(process, &waitStatus, 0);  // stands at the exec
  ended = !WIFSTOPPED(waitStatus);
  if (ended) return;
  ::ptrace(PTRACE_SETOPTIONS, process, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  counting = window == Window::kWholeProgram;
  while (!ended && !counting) {
    Resume(PTRACE_CONT);
    counting = !ended && WSTOPSIG(waitStatus) == SIGSTOP;
    if (counting) signalToDeliver = 0;
  }
}

Tracee::~Tracee() {
  Kill();
  ::close(outputEnd);
}

// Runs to the next stop. A signal at which the program stopped is delivered first.
void Tracee::Resume(int request) {
  const long signal = std::exchange(signalToDeliver, 0);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): ptrace takes numbers as pointers
  ::ptrace(static_cast<__ptrace_request>(request), process, nullptr, reinterpret_cast<void*>(signal));
  ::waitpid(process, &waitStatus, 0);
  ended = !WIFSTOPPED(waitStatus);
  if (!ended && WSTOPSIG(waitStatus) != (SIGTRAP | 0x80) && WSTOPSIG(waitStatus) != SIGTRAP)
    signalToDeliver = WSTOPSIG(waitStatus);
}

// At a stop for a system call: true at its entry. At its exit, gives the failure that was asked for.
bool Tracee::EnterCall() {
  inCall = !inCall;
  if (!inCall) {
    if (const int error = std::exchange(pendingError, 0))
      SetRegister(process, offsetof(user_regs_struct, rax), -static_cast<long>(error));
    return false;
  }
  user_regs_struct registers{};
  ::ptrace(PTRACE_GETREGS, process, nullptr, &registers);
  number = static_cast<long>(registers.orig_rax);
  const std::uint64_t given[] = {registers.rdi, registers.rsi, registers.rdx,
                                 registers.r10, registers.r8,  registers.r9};
  std::copy(std::begin(given), std::end(given), std::begin(arguments));
  return true;
}

bool Tracee::Next() {
  while (!ended && counting) {
    Resume(PTRACE_SYSCALL);
    if (ended) return false;
    if (WSTOPSIG(waitStatus) == SIGSTOP) {
      signalToDeliver = 0;
      counting = false;
    }
    if (WSTOPSIG(waitStatus) != (SIGTRAP | 0x80) || !EnterCall() || !CanFail(number)) continue;
    if (++callsMade <= kTooManyCalls) return true;
    Kill();
  }
  return false;
}

std::string Tracee::TextAt(std::uint64_t address) const {
  char text[512] = "";
  // NOLINTNEXTLINE(performance-no-int-to-ptr): an address in the other process
  iovec there{reinterpret_cast<void*>(address), 4096 - address % 4096};
  iovec here{text, sizeof text - 1};
  there.iov_len = std::min(there.iov_len, here.iov_len);
  (void)::process_vm_readv(process, &here, 1, &there, 1, 0);  // unreadable: no text
  return text;
}

std::string Tracee::Path() const {
  const auto* name = NameOf(number);
  return name && name->pathArgument >= 0 ? TextAt(arguments[name->pathArgument]) : "";
}

std::string Tracee::Describe() const {
  const auto* name = NameOf(number);
  if (!name) return "system call " + std::to_string(number);
  return name->pathArgument < 0 ? name->name : std::string(name->name) + "(\"" + Path() + "\")";
}

bool Tracee::MayBeRepeated() const {
  const auto* name = NameOf(number);
  return name && name->mayBeRepeated;
}

bool Tracee::Is(const char* name) const {
  const auto* known = NameOf(number);
  return known && std::strcmp(known->name, name) == 0;
}

bool Tracee::OnlyTakesMemory() const { return number == SYS_mmap; }

bool Tracee::EndsWriting() const {
  if (number == SYS_fsync || number == SYS_fdatasync || number == SYS_syncfs) return true;
  if (number != SYS_close) return false;
  const std::string path = "/proc/" + std::to_string(process) + "/fdinfo/" + std::to_string(arguments[0]);
  std::FILE* description = std::fopen(path.c_str(), "re");
  if (!description) return false;
  unsigned flags = 0;
  const int found = std::fscanf(description, "%*[^\n] flags: %o", &flags);
  std::fclose(description);
  return found == 1 && (flags & O_ACCMODE) != O_RDONLY;
}

void Tracee::Fail(int error) {
  pendingError = error;
  if (number != SYS_close) SetRegister(process, offsetof(user_regs_struct, orig_rax), -1);
}

void Tracee::Kill() {
  if (ended) return;
  ::kill(process, SIGKILL);
  while (!ended) {
    ::waitpid(process, &waitStatus, 0);
    ended = !WIFSTOPPED(waitStatus);
  }
}

Outcome Tracee::Finish() {
  while (!ended) {
    Resume(inCall ? PTRACE_SYSCALL : PTRACE_CONT);
    if (ended) break;
    if (WSTOPSIG(waitStatus) == (SIGTRAP | 0x80)) (void)EnterCall();
    if (signalToDeliver == SIGSTOP) signalToDeliver = 0;
  }
  Outcome outcome;
  if (WIFEXITED(waitStatus)) outcome.status = WEXITSTATUS(waitStatus);
  if (WIFSIGNALED(waitStatus)) outcome.signal = WTERMSIG(waitStatus);
  char piece[1024];
  for (ssize_t size; (size = ::read(outputEnd, piece, sizeof piece)) > 0;)
    outcome.output.append(piece, static_cast<std::size_t>(size));
  return outcome;
}

}  // namespace quill_sweep
