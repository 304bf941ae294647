// Commands that list directories and volumes.
//
// Entries are collected and sorted, or shown as they come (-U), when even a directory of millions takes no memory. How
// they look is decided once, by the options and by what standard output is: columns are for eyes, lines for programs.
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tools/quillfs/Columns.h"
#include "tools/quillfs/Command.h"
#include "tools/quillfs/Text.h"

namespace {

constexpr int kUsualWidth = 80;

struct Entry {
  std::string name;
  bool isDirectory;
};

/// How entries are shown.
enum class Style { kColumns, kLines, kLong, kJson, kZero };

Style StyleOf(const Arguments& arguments, const Output& output) {
  if (arguments.Has("--json")) return Style::kJson;
  if (arguments.Has("--zero")) return Style::kZero;
  if (arguments.Has("--long")) return Style::kLong;
  const bool wantsLines = arguments.Has("-1") || arguments.Has("--unsorted") || !output.IsTerminal();
  return wantsLines ? Style::kLines : Style::kColumns;
}

/// Some terminals, as serial lines, do not know it and answer 0.
int TerminalWidth() {
  struct ::winsize size {};
  return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsualWidth;
}

/// Prints the entries of one directory.
class Lister {
 public:
  Lister(Session& running, const QuillFileString& listed, Style shownAs)
      : session_(running), directory_(listed), style_(shownAs) {}

  void Show(const Entry& entry) {
    switch (style_) {
      case Style::kColumns:
        return columns_.push_back({ColoredName(entry), DisplayWidth(Printable(entry.name))});
      case Style::kLines:
        return Print(ColoredName(entry) + '\n');
      case Style::kLong:
        return Print(LongLine(entry));
      case Style::kZero:
        return Print(entry.name + '\0');
      case Style::kJson:
        return ShowJson(entry);
    }
  }

  void Finish() {
    if (!columns_.empty()) Print(InColumns(columns_, TerminalWidth()));
  }

 private:
  void Print(const std::string& text) { session_.output.Print(text); }

  QuillFileString PathOfEntry(const Entry& entry) const {
    QuillFileString path = directory_;
    path.appendLeaf(entry.name.c_str());
    return path;
  }

  std::string ColoredName(const Entry& entry) const {
    std::string shown = session_.output.Shown(entry.name);
    if (!session_.output.HasColor()) return shown;
    // A listing follows links to tell the kind, so whether it is one is asked apart.
    if (session_.manager.FileIsSymLink(PathOfEntry(entry))) return "\033[36m" + shown + "\033[0m";
    return entry.isDirectory ? "\033[1;34m" + shown + "\033[0m" : shown;
  }

  std::string LongLine(const Entry& entry) const {
    constexpr std::size_t kSizeWidth = 15;
    const QuillFileString path = PathOfEntry(entry);
    const bool isLink = session_.manager.FileIsSymLink(path);
    long long bytes = 0;
    double created = 0, modified = 0;
    // The size of a directory says nothing about what is in it.
    const bool hasSize = !entry.isDirectory && session_.manager.FileGetSize(path, bytes);
    const std::string size = hasSize ? std::to_string(bytes) : "-";
    const std::string date = session_.manager.FileGetDates(path, created, modified) ? DateText(modified) : "-";

    std::string line = isLink ? "link" : entry.isDirectory ? "dir " : "file";
    line.append(kSizeWidth - std::min(size.size(), kSizeWidth), ' ').append(size).append("  ").append(date);
    // The longest date has 29 characters, so that names begin in one column.
    line.append(date.size() < 29 ? 29 - date.size() : 0, ' ').append("  ").append(ColoredName(entry));
    QuillFileString target;
    if (isLink && session_.manager.FileReadSymLink(path, target))
      line += " -> " + session_.output.Shown(TextOf(target));
    return line + '\n';
  }

  void ShowJson(const Entry& entry) {
    const QuillFileString path = PathOfEntry(entry);
    long long bytes = 0;
    double created = 0, modified = 0;
    JsonLine line;
    line.Text("name", entry.name).Text("kind", entry.isDirectory ? "directory" : "file");
    line.Flag("link", session_.manager.FileIsSymLink(path));
    session_.manager.FileGetSize(path, bytes) ? line.Number("size", bytes) : line.Nothing("size");
    const bool hasDates = session_.manager.FileGetDates(path, created, modified);
    hasDates ? line.Number("modified", modified) : line.Nothing("modified");
    line.PrintTo(session_.output);
  }

  Session& session_;
  const QuillFileString& directory_;
  Style style_;
  std::vector<ShownName> columns_;
};

/// The errno at which the listing broke off; 0 when it came to its end.
template <typename Visit>
int ForEachEntry(quill::StandaloneFileManager& manager, QuillFileFindRef* handle, FindFileInfo& info, Visit visit) {
  do {
    visit(Entry{std::string(TextOf(info.path)), info.type == kQuillFileTypeDirectory});
    manager.ForgetFailure();  // of the questions about this entry: what is noted next is the listing's own
  } while (manager.FindNext(handle, info));
  const int brokeOff = manager.LastFailure().posixError;
  manager.FindClose(handle);
  return brokeOff;
}

void ListDirectory(Session& session, const Arguments& arguments, const QuillFileString& directory) {
  session.Begin();
  FindFileInfo info;
  QuillFileFindRef* handle = session.manager.FindFirst(directory, info);
  if (!handle) {
    const int cause = session.manager.LastFailure().posixError;
    // FindFirst answers null both for an empty directory and for one that cannot be read.
    bool isEmpty = false;
    if (!session.manager.DirIsEmpty(directory, isEmpty)) return session.Fail(directory);
    if (cause != 0) session.FailForSystem(TextOf(directory), cause);
    return;
  }
  Lister lister(session, directory, StyleOf(arguments, session.output));
  std::vector<Entry> entries;
  const int brokeOff = ForEachEntry(session.manager, handle, info, [&](Entry entry) {
    if (arguments.Has("--unsorted")) return lister.Show(entry);
    entries.push_back(std::move(entry));
  });
  std::sort(entries.begin(), entries.end(), [](const Entry& one, const Entry& other) { return one.name < other.name; });
  for (const Entry& entry : entries) lister.Show(entry);
  lister.Finish();
  if (brokeOff) session.FailForSystem(TextOf(directory), brokeOff);
}

void List(Session& session, const Arguments& arguments) {
  const std::vector<QuillFileString> paths = arguments.Paths(/*orHere=*/true);
  bool isFirst = true;
  for (const QuillFileString& path : paths) {
    const bool isItem =
        !session.manager.FileIsDir(path) && (session.manager.FileExists(path) || session.manager.FileIsSymLink(path));
    if (isItem) {
      Lister(session, {}, StyleOf(arguments, session.output)).Show({std::string(TextOf(path)), false});
      continue;
    }
    const Style style = StyleOf(arguments, session.output);
    if (paths.size() > 1 && style != Style::kJson && style != Style::kZero) {
      session.output.Print((isFirst ? "" : "\n") + session.output.Shown(TextOf(path)) + ":\n");
    }
    isFirst = false;
    ListDirectory(session, arguments, path);
  }
}

void Roots(Session& session, const Arguments&) {
  FindFileInfo info;
  QuillFileFindRef* handle = session.manager.FindFirstRoot(info);
  if (!handle) return session.Fail("volumes");
  (void)ForEachEntry(session.manager, handle, info,
                     [&](const Entry& entry) { session.output.PrintNameLine(entry.name); });  // it cannot break off
}

}  // namespace

CommandGroup ListingCommands() {
  return {"Listings",
          {
              {"ls",
               "[PATH...]",
               "list directories, one level deep",
               "quillfs ls -l /etc",
               {{"-1", OptionKind::kFlag, "print one name a line, as when standard output is no terminal"},
                {"-l,--long", OptionKind::kFlag, "print kind, size and date too"},
                {"-U,--unsorted", OptionKind::kFlag, "print entries as they come, with memory that does not grow"},
                {"-0,--zero", OptionKind::kFlag, "end each name, unescaped, with a zero byte"},
                {"--json", OptionKind::kFlag, "print JSON, one object a line"}},
               List},
              {"roots", "", "list the volumes", "quillfs roots", {}, Roots},
          }};
}
