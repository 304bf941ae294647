// quillfs: every operation of the file manager from the command line.
#include <fcntl.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <exception>

#include "tools/quillfs/Program.h"
#include "tools/quillfs/Session.h"

namespace {

/// If a standard descriptor is closed, occupies it before another file gets its number. It is opened the wrong way
/// round, so that using it still fails.
void OccupyStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(descriptor, F_GETFD) != -1) continue;
    (void)::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);  // takes the lowest free number
  }
}

}  // namespace

int main(int argumentCount, char** arguments) {
  OccupyStandardDescriptors();
  (void)std::setlocale(LC_CTYPE, "C.UTF-8");  // without it only the widths of characters are wrong
  try {
    return RunProgram(argumentCount, arguments);
  } catch (const std::exception& failure) {
    (void)std::fprintf(stderr, "quillfs: %s\n", failure.what());
    return kExitFailure;
  }
}
