#include "tools/quillfs/Progress.h"

#include <unistd.h>

#include <cstdio>
#include <string>

#include "tools/quillfs/Text.h"

namespace {

using namespace std::chrono_literals;

constexpr auto kQuietTime = 1s;
constexpr auto kLineInterval = 100ms;
constexpr char kClearLine[] = "\r\033[K";

}  // namespace

Progress::Progress(Session& running, std::string_view verbText)
    : session(running), verb(verbText), isTerminal(::isatty(STDERR_FILENO) == 1), nextLine(Clock::now() + kQuietTime) {
  session.manager.SetTreeObserver(this);
}

Progress::~Progress() {
  session.manager.SetTreeObserver(nullptr);
  Clear();
}

void Progress::Clear() {
  if (isShown) (void)std::fputs(kClearLine, stderr);  // a decoration; nothing depends on it
  isShown = false;
}

bool Progress::Advanced(const darwin::TreeProgress& progress) {
  if (WasInterrupted()) return false;
  if (!isTerminal || Clock::now() < nextLine) return true;
  Show(progress);
  nextLine = Clock::now() + kLineInterval;
  return true;
}

void Progress::Show(const darwin::TreeProgress& progress) {
  std::string line = kClearLine + std::to_string(progress.items) + (progress.items == 1 ? " item " : " items ");
  line += verb;
  if (progress.bytes > 0) line += ", " + SizeText(static_cast<double>(progress.bytes));
  isShown = std::fputs(line.c_str(), stderr) >= 0;
  (void)std::fflush(stderr);
}
