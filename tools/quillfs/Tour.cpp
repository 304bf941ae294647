// A tour of the layer on real files in a fresh directory, which is removed at the end.

#include <memory>
#include <string>

#include "standalone/ErrorText.h"
#include "tools/quillfs/Command.h"

namespace {

/// A manager that keeps each code that is recorded through its table.
class ListeningManager final : public quill::StandaloneFileManager {
 public:
  void SetLastError(int code) override {
    heard = code;
    quill::StandaloneFileManager::SetLastError(code);
  }
  int heard = kQuillErrNone;
};

class Guide {
 public:
  explicit Guide(Session& theSession) : session_(theSession) {}

  void Show() {
    QuillFileString root;
    if (!manager_.DirCreateTemp(root)) return session_.Fail("temporary directory", manager_.GetLastError());
    place_ = root;
    Say("A fresh directory: " + session_.output.Shown(TextOf(root)));
    const bool whole = WriteAndRead() && CopyAndMove() && Break() && MeetAnotherForm();
    const int code = manager_.GetLastError();
    // Whatever happened, nothing is left; the code was kept, as the removal may record another.
    const bool clean = manager_.DirDeleteWithContents(root);
    if (!whole || !clean) return session_.Fail(TextOf(root), clean ? code : manager_.GetLastError());
    Say("\nThe directory is gone again. quillfs --help shows what else there is.");
  }

 private:
  void Say(const std::string& line) { session_.output.Print(line + "\n"); }
  void Call(const std::string& call, const std::string& answer) { Say("  " + call + "  ->  " + answer); }

  QuillFileString At(const char* name) const {
    QuillFileString path(place_);
    path.appendLeaf(name);
    return path;
  }

  bool WriteAndRead() {
    Say("\nOpen, write, read: a file object has a position and a size of its own.");
    const std::unique_ptr<IQuillFileReadWriteTemp> file(
        manager_.FileOpen(At("letter.txt"), kQuillOpenRead | kQuillOpenWrite | kQuillOpenCreate));
    long long position = 0;
    char text[32];
    unsigned long count = 0;
    if (!file || !file->Write("Dear reader", 11) || !file->Seek(-6, kQuillFileSeekCurrent, position)) return false;
    Call("Write(\"Dear reader\"), Seek(-6, current)", "position " + std::to_string(position));
    if (!file->Read(text, sizeof text, count)) return false;
    Call("Read", '"' + std::string(text, count) + '"');
    return true;
  }

  bool CopyAndMove() {
    Say("\nCopy, move, list: copies appear whole or not at all; parents are made.");
    if (!manager_.FileOrDirCopy(At("letter.txt"), At("archive/2026/letter.txt"), /*clobber=*/false)) return false;
    Call("FileOrDirCopy(letter.txt, archive/2026/letter.txt)", "true");
    if (!manager_.FileOrDirMove(At("archive"), At("old letters"), /*clobber=*/false)) return false;
    Call("FileOrDirMove(archive, old letters)", "true");
    List();
    return true;
  }

  void List() {
    FindFileInfo entry;
    QuillFileFindRef* const listing = manager_.FindFirst(place_, entry);
    for (bool more = listing != nullptr; more; more = manager_.FindNext(listing, entry)) {
      Call(entry.type == kQuillFileTypeDirectory ? "directory" : "file     ",
           session_.output.Shown(TextOf(entry.path)));
    }
    // Null for an empty listing, which is allowed.
    manager_.FindClose(listing);
  }

  /// Shows the code that a failure left, and whether SetLastError was called with it.
  bool Refused(const std::string& call, bool succeeded) {
    const int code = manager_.GetLastError();
    Call(call, "false");
    Say(std::string("      ") + quill::QuillErrName(code) + " (" + std::to_string(code) +
        "): " + quill::QuillErrText(code));
    Say(manager_.heard == code ? "      SetLastError heard it" : "      stored without a call");
    manager_.heard = kQuillErrNone;
    return !succeeded;
  }

  bool Break() {
    Say("\nBreak something: failures are numbers, and the host's table hears most.");
    return Refused("FileDelete(old letters)", manager_.FileDelete(At("old letters"))) &&
           Refused("DirDelete(old letters)", manager_.DirDelete(At("old letters"))) &&
           Refused("FileOrDirCopy(letter.txt, old letters)",
                   manager_.FileOrDirCopy(At("letter.txt"), At("old letters"), /*clobber=*/false));
  }

  bool MeetAnotherForm() {
    Say("\nNames: one is stored as e + U+0301, listed as \u00e9, and found by either.");
    // In decomposed form, which stays on the disk.
    const std::unique_ptr<IQuillFileReadWriteTemp> made(
        manager_.FileOpen(At("cafe\u0301"), kQuillOpenWrite | kQuillOpenCreate));
    if (!made) return false;
    List();
    const bool found = manager_.FileExists(At("caf\u00e9"));
    Call("FileExists(caf\u00e9)", found ? "true" : "false");
    return found;
  }

  Session& session_;
  ListeningManager manager_;
  QuillFileString place_;
};

void Tour(Session& session, const Arguments&) { Guide(session).Show(); }

}  // namespace

CommandGroup TourCommands() {
  return {"To begin with", {{"tour", "", "show the layer at work on real files", "quillfs tour", {}, Tour}}};
}
