// quillfs: every operation of the file manager from the command line.
#include <fcntl.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <exception>

#include "tools/quillfs/Program.h"
#include "tools/quillfs/Session.h"

namespace {

/// A standard stream that was closed must not become the descriptor of some file. The stand-in refuses what the stream
/// is for, so that its use is still told as a failure.
void OccupyStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(descriptor, F_GETFD) != -1) continue;
    (void)::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);  // takes the lowest free number
  }
}

}  // namespace

int main(int argumentCount, char** arguments) {
  OccupyStandardDescriptors();
  (void)std::setlocale(LC_CTYPE, "C.UTF-8");  // only the widths of characters depend on it
  try {
    return RunProgram(argumentCount, arguments);
  } catch (const std::exception& failure) {
    (void)std::fprintf(stderr, "quillfs: %s\n", failure.what());
    return kExitFailure;
  }
}
