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
#include <iterator>
#include <utility>

namespace quill_sweep {
namespace {

constexpr int kTooManyCalls = 100'000;
constexpr unsigned kSecondsToLive = 60;

#define NAMED(call) std::pair(SYS_##call, #call)
constexpr std::pair<long, const char*> kNames[] = {
    NAMED(open),       NAMED(openat),     NAMED(read),      NAMED(write),      NAMED(copy_file_range),
    NAMED(ftruncate),  NAMED(fallocate),  NAMED(fsync),     NAMED(fdatasync),  NAMED(syncfs),
    NAMED(fchmod),     NAMED(fchown),     NAMED(close),     NAMED(statx),      NAMED(newfstatat),
    NAMED(fstat),      NAMED(getdents64), NAMED(unlink),    NAMED(unlinkat),   NAMED(mkdir),
    NAMED(mkdirat),    NAMED(rename),     NAMED(renameat2), NAMED(linkat),     NAMED(symlinkat),
    NAMED(readlinkat), NAMED(mknodat),    NAMED(fchmodat),  NAMED(fchownat),   NAMED(utimensat),
    NAMED(faccessat2), NAMED(fsetxattr),  NAMED(fgetxattr), NAMED(flistxattr), NAMED(lsetxattr),
    NAMED(lgetxattr),  NAMED(llistxattr), NAMED(lseek),     NAMED(ioctl),      NAMED(mmap)};
#undef NAMED

// Calls that cannot fail in a correct program, calls by which it ends or stops itself, and brk, which reports a failure
// by returning the old end.
constexpr long kCannotFail[] = {
    SYS_munmap,      SYS_mprotect,    SYS_madvise, SYS_rt_sigaction, SYS_rt_sigprocmask, SYS_rt_sigreturn, SYS_futex,
    SYS_gettid,      SYS_getpid,      SYS_getuid,  SYS_geteuid,      SYS_getgid,         SYS_getegid,      SYS_umask,
    SYS_tgkill,      SYS_sched_yield, SYS_exit,    SYS_exit_group,   SYS_clock_gettime,  SYS_alarm,        SYS_execve,
    SYS_sigaltstack, SYS_brk,
};

std::string NameOf(long number) {
  for (const auto& [known, name] : kNames)
    if (known == number) return name;
  return "system call " + std::to_string(number);
}

template <std::size_t count>
bool Contains(const long (&numbers)[count], long number) {
  return std::find(std::begin(numbers), std::end(numbers), number) != std::end(numbers);
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

void Trace(__ptrace_request request, pid_t process, std::size_t address, long data) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): ptrace takes numbers as pointers
  ::ptrace(request, process, reinterpret_cast<void*>(address), reinterpret_cast<void*>(data));
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
  ::waitpid(process, &waitStatus, 0);  // the program is now stopped at its exec
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

// Delivers the signal at which the program stopped, if any, and runs to the next stop.
void Tracee::Resume(int request) {
  Trace(static_cast<__ptrace_request>(request), process, 0, std::exchange(signalToDeliver, 0));
  ::waitpid(process, &waitStatus, 0);
  ended = !WIFSTOPPED(waitStatus);
  if (!ended && WSTOPSIG(waitStatus) != (SIGTRAP | 0x80) && WSTOPSIG(waitStatus) != SIGTRAP)
    signalToDeliver = WSTOPSIG(waitStatus);
}

// At a stop for a system call: true at its entry. At its exit, puts in the failure that was asked for.
bool Tracee::EnterCall() {
  inCall = !inCall;
  if (!inCall) {
    const long error = std::exchange(pendingError, 0);
    if (error != 0) Trace(PTRACE_POKEUSER, process, offsetof(user_regs_struct, rax), -error);
    return false;
  }
  user_regs_struct registers{};
  ::ptrace(PTRACE_GETREGS, process, nullptr, &registers);
  number = static_cast<long>(registers.orig_rax);
  arguments[0] = registers.rdi;
  arguments[1] = registers.rsi;
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
    if (WSTOPSIG(waitStatus) != (SIGTRAP | 0x80) || !EnterCall() || Contains(kCannotFail, number)) continue;
    if (++callsMade <= kTooManyCalls) return true;
    Kill();
  }
  return false;
}

bool Tracee::RunTo(int call) {
  while (callsMade < call)
    if (!Next()) return false;
  return true;
}

std::string Tracee::Path() const {
  const std::string name = NameOf(number);
  const bool isBelowDescriptor = name.ends_with("at") || name.ends_with("at2") || name == "statx";
  const std::uint64_t address = arguments[isBelowDescriptor ? 1 : 0];
  char text[512] = "";
  // NOLINTNEXTLINE(performance-no-int-to-ptr): an address in the other process
  iovec there{reinterpret_cast<void*>(address), std::min<std::size_t>(4096 - address % 4096, sizeof text - 1)};
  iovec here{text, sizeof text - 1};
  (void)::process_vm_readv(process, &here, 1, &there, 1, 0);  // if it cannot be read, the text is empty
  return text;
}

std::string Tracee::Describe() const {
  const std::string path = Path();
  return NameOf(number) + (path.empty() ? "" : "(\"" + path + "\")");
}

bool Tracee::Is(const char* name) const { return NameOf(number) == name; }

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
  if (number != SYS_close) Trace(PTRACE_POKEUSER, process, offsetof(user_regs_struct, orig_rax), -1);
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
