// Commands that create, copy, move and remove items.
//
// Everything that may take long runs under Watched, which shows its progress and lets Ctrl-C end it between two
// entries, where nothing is half made.
#include <string>

#include "tools/quillfs/Command.h"
#include "tools/quillfs/Progress.h"

namespace {

constexpr OptionRow kVerbose{"-v,--verbose", OptionKind::kFlag,
                             "report what could not be kept: owners, dates and so on"};
constexpr OptionRow kClobber{"-f,--clobber", OptionKind::kFlag, "delete what is at the destination first"};

/// Runs an operation on trees with a progress display. Reports a source that was left half removed; the caller reports
/// every other failure.
template <typename Operation>
bool Watched(Session& session, const char* verb, Operation operation, bool tellsLosses = false) {
  session.Begin();
  Progress progress(session, verb, tellsLosses);
  const bool succeeded = operation(session.manager);
  progress.Clear();
  if (!succeeded && progress.LeftPartOfSource()) session.FailWithSourceLeft();
  return succeeded;
}

void Remove(Session& session, const Arguments& arguments) {
  for (const QuillFileString& path : arguments.Paths()) {
    const bool removed = Watched(session, "removed", [&](quill::StandaloneFileManager& manager) {
      return arguments.Has("--recursive") ? manager.DirDeleteWithContents(path) : manager.FileDelete(path);
    });
    // The others are removed all the same; the exit status says that one was not.
    if (!removed) session.Fail(path);
    if (WasInterrupted()) return;
  }
}

void EnsureDirectories(Session& session, const Arguments& arguments) {
  for (const QuillFileString& path : arguments.Paths()) {
    session.Begin();
    if (session.manager.DirEnsure(path)) continue;
    // A failure without a code means that the path, or a level above it, is no directory.
    const int code = path.isEmpty() ? kQuillErrNotFound : kQuillErrNotADirectory;
    session.FailOr(TextOf(path), session.manager.FileExists(path) ? kQuillErrAlreadyExists : code);
  }
}

void Rename(Session& session, const Arguments& arguments) {
  const QuillFileString path = arguments.Path(0), newName = arguments.Path(1);
  const bool renamed = Watched(
      session, "moved", [&](quill::StandaloneFileManager& manager) { return manager.FileRename(newName, path); });
  if (!renamed) session.Fail("rename", path, newName);
}

using TransferOperation = bool (CoreFileManager::*)(const QuillFileString&, const QuillFileString&, bool);

void Transfer(Session& session, const Arguments& arguments, TransferOperation operation, const char* verb,
              const char* done) {
  const QuillFileString source = arguments.Path(0), destination = arguments.Path(1);
  const auto transfer = [&](quill::StandaloneFileManager& manager) {
    return (manager.*operation)(source, destination, arguments.Has("--clobber"));
  };
  if (!Watched(session, done, transfer, arguments.Has("--verbose"))) session.Fail(verb, source, destination);
}

void Copy(Session& session, const Arguments& arguments) {
  Transfer(session, arguments, &CoreFileManager::FileOrDirCopy, "copy", "copied");
}

void Move(Session& session, const Arguments& arguments) {
  Transfer(session, arguments, &CoreFileManager::FileOrDirMove, "move", "moved");
}

void Trash(Session& session, const Arguments& arguments) {
  for (const QuillFileString& path : arguments.Paths()) {
    QuillFileString trashed;
    const bool moved = Watched(session, "moved", [&](quill::StandaloneFileManager& manager) {
      return manager.FileOrDirMoveToTrash(path, trashed);
    });
    moved ? (void)session.output.PrintNameLine(TextOf(trashed)) : session.Fail(path);
    if (WasInterrupted()) return;
  }
}

void MakeTemporary(Session& session, const Arguments& arguments) {
  session.Begin();
  quill::StandaloneFileManager& manager = session.manager;
  const bool isDirectory = arguments.Has("--directory"), isPrivate = arguments.Has("--private");
  const std::string* place = arguments.Value("--in");
  const QuillFileString directory = PathOf(place ? *place : "");
  QuillFileString path;
  bool made = false;
  // A private file is the host's business, and has its own place.
  if (isPrivate) {
    made = manager.FileGetTempPath(path);
  } else if (place) {
    made = isDirectory ? manager.DirCreateTempInDir(directory, path) : manager.FileCreateTempInDir(directory, path);
  } else {
    made = isDirectory ? manager.DirCreateTemp(path) : manager.FileCreateTemp(path);
  }
  if (!made) return session.Fail(place ? *place : "temporary item");
  if (session.output.PrintNameLine(TextOf(path)) && session.output.Finish() == 0) return;
  // Nobody could learn its name. Why is reported at the end.
  (void)(isDirectory && !isPrivate ? manager.DirDelete(path) : manager.FileDelete(path));
}

}  // namespace

CommandGroup TreeCommands() {
  return {
      "Items and trees",
      {
          {"cp",
           "SOURCE DESTINATION",
           "copy a file or a whole tree to a new name",
           "quillfs cp --clobber photos /mnt/backup/photos",
           {kClobber, kVerbose},
           Copy},
          {"mv",
           "SOURCE DESTINATION",
           "move a file or a whole tree to a new name",
           "quillfs mv draft.txt done/final.txt",
           {kClobber, kVerbose},
           Move},
          {"rename",
           "PATH NAME",
           "give an item another name; never replaces anything",
           "quillfs rename notes/a.txt b.txt",
           {},
           Rename},
          {"rm",
           "PATH...",
           "remove files and links",
           "quillfs rm -r old-build",
           {{"-r,--recursive", OptionKind::kFlag, "remove directories with everything in them"}},
           Remove},
          {"rmdir",
           "PATH...",
           "remove empty directories",
           "quillfs rmdir empty",
           {},
           OnEach<&CoreFileManager::DirDelete>},
          {"mkdir",
           "PATH...",
           "make sure that directories exist, with all levels above",
           "quillfs mkdir a/b/c",
           {},
           EnsureDirectories},
          {"trash", "PATH...", "move items to the trash and print where they are", "quillfs trash old.txt", {}, Trash},
          {"mktemp",
           "",
           "create an empty temporary item and print its path",
           "quillfs mktemp -d --in /var/tmp",
           {{"-d,--directory", OptionKind::kFlag, "create a directory"},
            {"--in", OptionKind::kText, "create it in this directory"},
            {"--private", OptionKind::kFlag, "create a file that only this user may read"}},
           MakeTemporary},
      }};
}
