#include "host/QuillFile.h"

// An open that cannot succeed must not empty or create anything, so flags that contradict each other are refused before
// anything is touched.
bool ValidateFileOpenFlags(unsigned int flags) {
  constexpr unsigned int kAccess = kQuillOpenRead | kQuillOpenWrite;
  // Creating, emptying and appending change the file, so they need the right to write to it. kQuillOpenTemp alone does
  // not: the path is then the host's choice.
  constexpr unsigned int kNeedsWrite = kQuillOpenCreate | kQuillOpenTruncate | kQuillOpenAppend;
  constexpr unsigned int kKnown = kAccess | kNeedsWrite | kQuillOpenTemp;

  if ((flags & ~kKnown) != 0) return false;
  if ((flags & kAccess) == 0) return false;
  return (flags & kQuillOpenWrite) != 0 || (flags & kNeedsWrite) == 0;
}
