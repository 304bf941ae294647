// Commands that show or change the properties of an item.
#include <array>
#include <cctype>
#include <chrono>
#include <cstdio>

#include "tools/quillfs/Command.h"

namespace {

void Touch(Session& session, const Arguments& arguments) {
  using Milliseconds = std::chrono::duration<double, std::milli>;
  const std::string* date = arguments.Value("--date");
  // Once for all paths, so that they get the same date.
  const double now = Milliseconds(std::chrono::system_clock::now().time_since_epoch()).count();
  const double modified = date ? ParseDate(*date).value_or(now) : now;
  for (const QuillFileString& path : arguments.Paths()) {
    session.Begin();
    if (!session.manager.FileSetModificationDate(path, modified)) session.Fail(path);
  }
}

void ReadOnly(Session& session, const Arguments& arguments) {
  for (const QuillFileString& path : arguments.Paths()) {
    session.Begin();
    if (!session.manager.FileSetReadOnly(path, !arguments.Has("--off"))) session.Fail(path);
  }
}

/// The code as four characters, or as a number if they are not printable.
std::string CreatorText(unsigned int creator) {
  std::string text;
  // The first character is the highest byte, as in the codes' published spelling.
  for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(creator >> shift & 0xff);
  for (const char character : text) {
    if (std::isprint(static_cast<unsigned char>(character))) continue;
    std::array<char, 16> digits;
    const int length = std::snprintf(digits.data(), digits.size(), "0x%08x", creator);
    return {digits.data(), static_cast<std::size_t>(length)};
  }
  return text;
}

void Creator(Session& session, const Arguments& arguments) {
  for (const QuillFileString& path : arguments.Paths()) {
    session.Begin();
    const unsigned int creator = session.manager.FileGetCreator(path);
    // A code of 0 looks like a failure without a reason, and is reported as one.
    creator != 0 ? (void)session.output.Print(CreatorText(creator) + "\n") : session.Fail(path);
  }
}

void Downloaded(Session& session, const Arguments& arguments) {
  for (const QuillFileString& path : arguments.Paths()) {
    session.output.Print(session.manager.GetDownloadedStatus(path) ? "yes\n" : "no\n");
  }
}

void MarkDownloaded(Session& session, const Arguments& arguments) {
  const std::string* source = arguments.Value("--from");
  const std::string* referrer = arguments.Value("--referrer");
  for (const QuillFileString& path : arguments.Paths()) {
    session.Begin();
    const bool marked = session.manager.MarkDownloadedFileAsUnsafeOrSafe(
        path, PathOf(source ? *source : ""), PathOf(referrer ? *referrer : ""), /*isUnsafe=*/!arguments.Has("--safe"));
    if (!marked) session.Fail(path);
  }
}

}  // namespace

CommandGroup PropertyCommands() {
  return {"Properties",
          {
              {"touch",
               "PATH...",
               "set the modification date",
               "quillfs touch --date '2026-01-31 12:00' notes.txt",
               {{"--date", OptionKind::kDate, "this date (local), or @SECONDS since 1970, instead of now"}},
               Touch},
              {"readonly",
               "PATH...",
               "take away every write permission",
               "quillfs readonly --off notes.txt",
               {{"--off", OptionKind::kFlag, "give the owner's back"}},
               ReadOnly},
              {"creator", "PATH...", "print the creator code", "quillfs creator picture", {}, Creator},
              {"downloaded",
               "PATH...",
               "print whether files are marked as downloaded",
               "quillfs downloaded setup.bin",
               {},
               Downloaded},
              {"mark-downloaded",
               "PATH...",
               "mark files as downloaded",
               "quillfs mark-downloaded --from https://example.org/a a",
               {{"--from", OptionKind::kText, "the address"},
                {"--referrer", OptionKind::kText, "the page that held the address"},
                {"--safe", OptionKind::kFlag, "take the mark away"}},
               MarkDownloaded},
              {"executable",
               "PATH...",
               "make files executable, where the host wants that",
               "quillfs executable tool",
               {},
               OnEach<&CoreFileManager::FileSetExecutable>},
              {"scan-media",
               "PATH...",
               "announce new files to a media index",
               "quillfs scan-media song.ogg",
               {},
               OnEach<&CoreFileManager::ScanMediaFile>},
          }};
}
