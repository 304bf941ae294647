// The observer of a running operation. It is called after each entry and every few megabytes, which is where Ctrl-C is
// obeyed and the line on the terminal renewed.
#include "tools/quillfs/Progress.h"

#include <unistd.h>

#include <cstdio>
#include <string>
#include <system_error>

#include "tools/quillfs/Text.h"

namespace {

using namespace std::chrono_literals;

// Work that is over at once shows nothing. After that ten lines a second are enough for the eye, and cost nothing.
constexpr auto kQuietTime = 1s;
constexpr auto kLineInterval = 100ms;
constexpr char kClearLine[] = "\r\033[K";

const char* MetadataName(quill::darwin::TreeMetadata what) {
  switch (what) {
    case quill::darwin::TreeMetadata::kOwner:
      return "owner";
    case quill::darwin::TreeMetadata::kPermissions:
      return "permissions";
    case quill::darwin::TreeMetadata::kTimes:
      return "dates";
    case quill::darwin::TreeMetadata::kExtendedAttributes:
      return "extended attributes";
    case quill::darwin::TreeMetadata::kHardLink:
      return "hard link";
  }
  return "something";
}

std::string ItemsText(std::uint64_t items) { return std::to_string(items) + (items == 1 ? " item" : " items"); }

/// "3 items copied, 1.5 GB", or "1.5 GB copied" while the first item is still being copied.
std::string AmountText(const quill::darwin::TreeProgress& progress, std::string_view verb) {
  const std::string size = SizeText(static_cast<double>(progress.bytes));
  if (progress.bytes == 0) return (ItemsText(progress.items) + ' ').append(verb);
  if (progress.items == 0) return (size + ' ').append(verb);
  return (ItemsText(progress.items) + ' ').append(verb).append(", " + size);
}

}  // namespace

Progress::Progress(Session& running, std::string_view verbText, bool wantsLosses)
    : session_(running),
      verb_(verbText),
      tellsLosses_(wantsLosses),
      isTerminal_(::isatty(STDERR_FILENO) == 1),
      nextLine_(Clock::now() + kQuietTime) {
  session_.manager.SetTreeObserver(this);
}

Progress::~Progress() {
  session_.manager.SetTreeObserver(nullptr);
  Clear();
}

void Progress::Clear() {
  if (isShown_) (void)std::fputs(kClearLine, stderr);  // cosmetic, so a failure does not matter
  isShown_ = false;
}

bool Progress::Advanced(const quill::darwin::TreeProgress& progress) {
  // Between two entries: the work stops and takes back what it has not finished.
  if (WasInterrupted()) {
    leftPartOfSource_ = progress.itemsRemovedFromSource > 0;
    return false;
  }
  // A log would keep every one of these lines.
  if (!isTerminal_ || Clock::now() < nextLine_) return true;
  Show(progress);
  nextLine_ = Clock::now() + kLineInterval;
  return true;
}

void Progress::MetadataNotKept(const char* entry, quill::darwin::TreeMetadata what, int error) {
  // A file system that cannot keep owners loses them for each entry, which is why this has to be asked for.
  if (!tellsLosses_) return;
  Clear();
  const std::string message = "quillfs: " + Printable(entry) + ": " + MetadataName(what) + " not kept, " +
                              std::generic_category().message(error) + '\n';
  (void)std::fputs(message.c_str(), stderr);
}

void Progress::Show(const quill::darwin::TreeProgress& progress) {
  std::string line = kClearLine + AmountText(progress, verb_);
  if (progress.itemsRemovedFromSource > 0) {
    line += ", " + ItemsText(progress.itemsRemovedFromSource) + " removed from the source";
  }
  isShown_ = std::fputs(line.c_str(), stderr) >= 0;
  (void)std::fflush(stderr);
}
