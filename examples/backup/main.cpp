// Copies a file or a whole tree into a directory of backups, under its name and the present time:
//
//   backup SOURCE DIRECTORY
//
// Shows its progress on a terminal. Ctrl-C stops it; whether it fails or is stopped, nothing half-made is left.
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "standalone/ErrorText.h"
#include "standalone/StandaloneFileManager.h"

namespace {

volatile std::sig_atomic_t interrupted = 0;

void OnInterrupt(int) { interrupted = 1; }

/// Adds up what is to be copied, as far as it can be read. Links are not followed.
void Measure(quill::StandaloneFileManager& manager, const QuillFileString& path, std::uint64_t& bytes) {
  if (interrupted || manager.FileIsSymLink(path)) return;
  long long size = 0;
  if (!manager.FileIsDir(path)) {
    if (manager.FileGetSize(path, size)) bytes += static_cast<std::uint64_t>(size);
    return;
  }
  FindFileInfo entry;
  QuillFileFindRef* const listing = manager.FindFirst(path, entry);
  if (!listing) return;
  do {
    QuillFileString item = path;
    item.appendLeaf(entry.path);
    Measure(manager, item, bytes);
  } while (manager.FindNext(listing, entry));
  manager.FindClose(listing);
}

class Progress final : public quill::darwin::TreeObserver {
 public:
  explicit Progress(std::uint64_t bytes) : total(bytes) {}

  bool Advanced(const quill::darwin::TreeProgress& progress) override {
    done = progress;
    const unsigned percent = total == 0 ? 100 : static_cast<unsigned>(done.bytes * 100 / total);
    if (isatty(STDERR_FILENO) && percent != shown) std::fprintf(stderr, "\r%3u %%", shown = percent);
    return !interrupted;
  }
  void MetadataNotKept(const char*, quill::darwin::TreeMetadata, int) override { ++notKept; }

  void Finish() const {
    if (shown != kNothing) std::fputc('\n', stderr);
  }

  quill::darwin::TreeProgress done;
  std::uint64_t notKept = 0;

 private:
  static constexpr unsigned kNothing = ~0u;

  const std::uint64_t total;
  unsigned shown = kNothing;
};

/// DIRECTORY/NAME-2024-12-31T235959
QuillFileString PlaceFor(const QuillFileString& source, const char* directory) {
  const char* leaf = std::strrchr(source.getUTF8(), '/');
  char stamped[512];
  char now[32];
  const std::time_t seconds = std::time(nullptr);
  std::strftime(now, sizeof now, "%Y-%m-%dT%H%M%S", std::localtime(&seconds));
  std::snprintf(stamped, sizeof stamped, "%s-%s", leaf ? leaf + 1 : source.getUTF8(), now);
  QuillFileString place;
  place.setUTF8(directory);
  place.appendLeaf(stamped);
  return place;
}

int Fail(quill::StandaloneFileManager& manager, const char* source) {
  const quill::OperationFailure& failure = manager.LastFailure();
  if (failure.posixError == ECANCELED) return std::fputs("backup: stopped, nothing is left of it\n", stderr), 130;
  const char* entry = failure.entry.empty() ? source : failure.entry.c_str();
  std::fprintf(stderr, "backup: %s: %s", entry, quill::QuillErrText(manager.GetLastError()));
  if (failure.posixError != 0) std::fprintf(stderr, " (%s)", std::strerror(failure.posixError));
  return std::fputc('\n', stderr), 1;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return std::fputs("usage: backup SOURCE DIRECTORY\n", stderr), 2;
  std::signal(SIGINT, OnInterrupt);

  quill::StandaloneFileManager manager;
  QuillFileString given, source;
  given.setUTF8(arguments[1]);
  // The item that a link leads to, by a path that ends in its name.
  if (!manager.FileGetCanonicalPath(given, source)) return Fail(manager, arguments[1]);
  const QuillFileString place = PlaceFor(source, arguments[2]);

  std::uint64_t bytes = 0;
  Measure(manager, source, bytes);
  Progress progress(bytes);
  manager.SetTreeObserver(&progress);
  const bool copied = manager.FileOrDirCopy(source, place, /*clobber=*/false);
  progress.Finish();
  if (!copied) return Fail(manager, arguments[1]);

  std::printf("%s: %llu items\n", place.getUTF8(), static_cast<unsigned long long>(progress.done.items));
  if (progress.notKept > 0) {
    std::printf("%llu properties could not be kept there\n", static_cast<unsigned long long>(progress.notKept));
  }
  return 0;
}
