// Commands that ask and change nothing.
#include <string>

#include "tools/quillfs/Command.h"
#include "tools/quillfs/Text.h"

namespace {

constexpr OptionRow kJson{"--json", OptionKind::kFlag, "print JSON, one object a line"};
constexpr const char* kAccessNames[] = {"missing", "none", "read", "read-write"};

struct ItemAnswers {
  bool isDirectory = false, isLink = false;
  bool hasSize = false, hasDates = false;
  long long size = 0;
  double created = 0, modified = 0;
  const char* access = kAccessNames[0];
};

/// True if something exists there; otherwise reports the reason.
bool Ask(Session& session, const QuillFileString& path, ItemAnswers& answers) {
  session.Begin();
  quill::StandaloneFileManager& manager = session.manager;
  // First, because a dangling link does not exist and is an item all the same.
  answers.isLink = manager.FileIsSymLink(path);
  if (!answers.isLink && !manager.FileExists(path)) {
    session.Fail(TextOf(path), kQuillErrNotFound);
    return false;
  }
  answers.isDirectory = manager.FileIsDir(path);
  // Each may fail alone, when the item changes meanwhile. What is missing is left out, or null in JSON.
  answers.hasSize = manager.FileGetSize(path, answers.size);
  answers.hasDates = manager.FileGetDates(path, answers.created, answers.modified);
  answers.access = kAccessNames[manager.FileGetEffectivePermissions(path)];
  return true;
}

void PrintJson(Output& output, const QuillFileString& path, const ItemAnswers& answers) {
  JsonLine line;
  line.Text("path", TextOf(path)).Text("kind", answers.isDirectory ? "directory" : "file").Flag("link", answers.isLink);
  answers.hasSize ? line.Number("size", answers.size) : line.Nothing("size");
  answers.hasDates ? line.Number("created", answers.created) : line.Nothing("created");
  answers.hasDates ? line.Number("modified", answers.modified) : line.Nothing("modified");
  line.Text("access", answers.access).PrintTo(output);
}

void PrintText(Output& output, const QuillFileString& path, const ItemAnswers& answers) {
  // Existing without a size: only a link whose target is missing is like that.
  const std::string kind = answers.isDirectory ? "directory" : answers.hasSize ? "file" : "dangling link";
  output.Print("path      " + output.Shown(TextOf(path)) + "\n");
  output.Print("kind      " + kind + (answers.isLink && answers.hasSize ? ", through a link\n" : "\n"));
  if (answers.hasSize) output.Print("size      " + std::to_string(answers.size) + "\n");
  if (answers.hasDates) output.Print("created   " + DateText(answers.created) + "\n");
  if (answers.hasDates) output.Print("modified  " + DateText(answers.modified) + "\n");
  output.Print(std::string("access    ") + answers.access + "\n");
}

void Stat(Session& session, const Arguments& arguments) {
  bool isFirst = true;
  for (const QuillFileString& path : arguments.Paths()) {
    ItemAnswers answers;
    if (!Ask(session, path, answers)) continue;
    if (arguments.Has("--json")) {
      PrintJson(session.output, path, answers);
      continue;
    }
    if (!isFirst) session.output.Print("\n");
    isFirst = false;
    PrintText(session.output, path, answers);
  }
}

void DiskSpace(Session& session, const Arguments& arguments) {
  for (const QuillFileString& path : arguments.Paths(/*orHere=*/true)) {
    session.Begin();
    double freeBytes = 0, totalBytes = 0;
    if (!session.manager.FileGetDiskSpace(path, freeBytes, totalBytes)) {
      session.Fail(path);
    } else if (arguments.Has("--json")) {
      JsonLine()
          .Text("path", TextOf(path))
          .Number("free", freeBytes)
          .Number("total", totalBytes)
          .PrintTo(session.output);
    } else {
      session.output.Print(SizeText(freeBytes) + " free of " + SizeText(totalBytes) + "  ");
      session.output.PrintName(TextOf(path));
      session.output.Print("\n");
    }
  }
}

void SpaceAvailable(Session& session, const Arguments& arguments) {
  for (const QuillFileString& path : arguments.Paths(/*orHere=*/true)) {
    session.Begin();
    double freeBytes = 0;
    if (!session.manager.FileGetSpaceAvailable(path, freeBytes)) {
      session.Fail(path);
      continue;
    }
    // Whole bytes for scripts; "df" has the units.
    session.output.Print(std::to_string(static_cast<long long>(freeBytes)) + "\n");
  }
}

/// Prints an answer for each path, followed by the path if there are several.
void PrintAnswer(Session& session, const Arguments& arguments, const QuillFileString& path, const std::string& answer) {
  session.output.Print(answer);
  if (arguments.Count() > 1) {
    session.output.Print("  ");
    session.output.PrintName(TextOf(path));
  }
  session.output.Print("\n");
}

void Access(Session& session, const Arguments& arguments) {
  for (const QuillFileString& path : arguments.Paths()) {
    const int access = session.manager.FileGetEffectivePermissions(path);
    // The operation records nothing, so the reason is this one.
    if (access == 0) {
      session.Fail(TextOf(path), kQuillErrNotFound);
    } else if (arguments.Has("--json")) {
      JsonLine().Text("path", TextOf(path)).Text("access", kAccessNames[access]).PrintTo(session.output);
    } else {
      PrintAnswer(session, arguments, path, kAccessNames[access]);
    }
  }
}

bool GetSize(quill::StandaloneFileManager& manager, const QuillFileString& path, bool throughObject, long long& size) {
  // The two may differ: the other one opens the file, so it needs the right to read it.
  if (!throughObject) return manager.FileGetSize(path, size);
  unsigned long long unsignedSize = 0;
  if (!manager.FileGetLSize(path, unsignedSize)) return false;
  size = static_cast<long long>(unsignedSize);
  return true;
}

void Size(Session& session, const Arguments& arguments) {
  for (const QuillFileString& path : arguments.Paths()) {
    session.Begin();
    long long size = 0;
    if (!GetSize(session.manager, path, arguments.Has("--lsize"), size)) {
      session.Fail(path);
    } else if (arguments.Has("--json")) {
      JsonLine().Text("path", TextOf(path)).Number("size", size).PrintTo(session.output);
    } else {
      PrintAnswer(session, arguments, path, std::to_string(size));
    }
  }
}

void Exists(Session& session, const Arguments& arguments) {
  for (const QuillFileString& path : arguments.Paths()) {
    if (!session.manager.FileExists(path)) session.Fail(TextOf(path), kQuillErrNotFound);
  }
}

/// An operation that answers yes or no, and may fail.
template <bool (*Ask)(quill::StandaloneFileManager&, const QuillFileString&, bool&)>
void YesOrNo(Session& session, const Arguments& arguments) {
  for (const QuillFileString& path : arguments.Paths(/*orHere=*/true)) {
    session.Begin();
    bool answer = false;
    if (!Ask(session.manager, path, answer)) {
      session.Fail(path);
      continue;
    }
    PrintAnswer(session, arguments, path, answer ? "yes" : "no");
  }
}

bool IsEmpty(quill::StandaloneFileManager& manager, const QuillFileString& path, bool& answer) {
  return manager.DirIsEmpty(path, answer);
}
bool IsReadOnlyVolume(quill::StandaloneFileManager& manager, const QuillFileString& path, bool& answer) {
  return manager.VolumeIsReadOnly(path, answer);
}
bool IsHidden(quill::StandaloneFileManager& manager, const QuillFileString& path, bool& answer) {
  answer = manager.FileIsHidden(path);
  return true;
}

}  // namespace

CommandGroup QuestionCommands() {
  return {
      "Questions",
      {
          {"stat", "PATH...", "print kind, size, dates and access", "quillfs stat /etc/hostname", {kJson}, Stat},
          {"exists",
           "PATH...",
           "succeed when something exists at each path",
           "quillfs exists a b && echo both",
           {},
           Exists},
          {"size",
           "PATH...",
           "print the size in bytes",
           "quillfs size --lsize /etc/hostname",
           {{"--lsize", OptionKind::kFlag, "ask a file object instead of the directory"}, kJson},
           Size},
          {"access",
           "PATH...",
           "print what this user may do: none, read, read-write",
           "quillfs access /etc/shadow",
           {kJson},
           Access},
          {"df",
           "[PATH...]",
           "print the free and total space of volumes",
           "quillfs df --json /home",
           {kJson},
           DiskSpace},
          {"free", "[PATH...]", "print the free space of volumes in bytes", "quillfs free /tmp", {}, SpaceAvailable},
          {"empty",
           "[PATH...]",
           "print whether directories have no entries",
           "quillfs empty /lost+found",
           {},
           YesOrNo<IsEmpty>},
          {"hidden",
           "PATH...",
           "print whether items are hidden from a desktop",
           "quillfs hidden ~/.profile",
           {},
           YesOrNo<IsHidden>},
          {"read-only-volume",
           "[PATH...]",
           "print whether volumes are mounted read-only",
           "quillfs read-only-volume /boot",
           {},
           YesOrNo<IsReadOnlyVolume>},
      }};
}
