// A program that is stopped at each of its system calls, to make one fail, to kill the program there, or to change the
// disk meanwhile.
//
// Only calls that can fail are counted, from the program's first SIGSTOP to its second, or from start to end for a
// program that does not stop itself. Linux on x86-64.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace quill_sweep {

struct Outcome {
  /// The exit status, or -1 when a signal ended it.
  int status = -1;
  int signal = 0;
  std::string output;
};

enum class Window { kBetweenStops, kWholeProgram };

class Tracee {
 public:
  Tracee(const std::vector<std::string>& command, Window window);
  Tracee(const Tracee&) = delete;
  Tracee& operator=(const Tracee&) = delete;
  ~Tracee();

  /// Runs to the entry of the next counted call; false when there is none.
  bool Next();
  /// Runs to the entry of the \p call-th counted call, from 1; false if there are fewer.
  bool RunTo(int call);

  // About the call at whose entry the program is stopped:
  std::string Describe() const;
  std::string Path() const;
  bool Is(const char* name) const;
  /// It makes data durable or closes a descriptor that data was written through, so its failure is a lost write.
  bool EndsWriting() const;
  /// It can only fail if memory runs out.
  bool OnlyTakesMemory() const;

  /// Makes that call fail without being executed. A close is executed and then fails, as close does.
  void Fail(int error);
  void Kill();
  /// Runs to the end. A program that does not end gets SIGALRM, or is killed after very many calls.
  Outcome Finish();

 private:
  void Resume(int request);
  bool EnterCall();

  pid_t process = -1;
  int outputEnd = -1;
  bool counting = false;
  bool inCall = false;
  bool ended = false;
  int waitStatus = 0;
  int signalToDeliver = 0;
  int pendingError = 0;
  int callsMade = 0;
  long number = -1;
  std::uint64_t arguments[2]{};  // the first of them
};

}  // namespace quill_sweep
