// Commands about directories that have a meaning for the user, the program or the process. One table names them, from
// which "dirs" prints all.
#include "tools/quillfs/Command.h"

namespace {

enum class Presence { kExpected, kOptional, kCreatedWhenAsked };

struct Place {
  const char* name;
  bool (CoreFileManager::*find)(QuillFileString&);
  Presence presence = Presence::kExpected;
};

constexpr Place kPlaces[] = {
    {"home", &CoreFileManager::DirGetUserHomePath},
    {"user", &CoreFileManager::DirGetUser},
    {"current", &CoreFileManager::DirGetCurrent},
    {"desktop", &CoreFileManager::DirGetDesktop},
    {"documents", &CoreFileManager::DirGetDocuments},
    {"downloads", &CoreFileManager::DirGetDownloads},
    {"caches", &CoreFileManager::DirGetCache},
    {"temporary", &CoreFileManager::DirGetTemp},
    {"resources", &CoreFileManager::DirGetAppResourceDir, Presence::kOptional},
    {"log", &CoreFileManager::DirGetLogDir, Presence::kCreatedWhenAsked},
    {"data", &CoreFileManager::DirGetAppData, Presence::kCreatedWhenAsked},
};

/// Reports a missing place unless it \p mayBeMissing. Most of these operations record no code.
bool Find(Session& session, const Place& place, QuillFileString& path, bool mayBeMissing = false) {
  session.Begin();
  const bool found = (session.manager.*place.find)(path);
  if (!found && !mayBeMissing) session.FailOr(place.name, kQuillErrNotFound);
  return found;
}

void PrintAll(Session& session, bool asJson) {
  JsonLine line;
  for (const Place& place : kPlaces) {
    // Printing a list must not make directories.
    if (place.presence == Presence::kCreatedWhenAsked) continue;
    QuillFileString path;
    if (!Find(session, place, path, /*mayBeMissing=*/place.presence == Presence::kOptional)) continue;
    if (asJson) {
      line.Text(place.name, TextOf(path));
      continue;
    }
    std::string label = place.name;
    label.resize(11, ' ');
    session.output.Print(label);
    session.output.PrintNameLine(TextOf(path));
  }
  if (asJson) line.PrintTo(session.output);
}

void PrintPlace(Session& session, const std::string& name) {
  for (const Place& place : kPlaces) {
    if (name != place.name) continue;
    QuillFileString path;
    if (Find(session, place, path)) session.output.PrintNameLine(TextOf(path));
    return;
  }
  session.Fail(name, kQuillErrNotFound);
}

void Directories(Session& session, const Arguments& arguments) {
  if (arguments.Count() == 0) return PrintAll(session, arguments.Has("--json"));
  for (std::size_t index = 0; index < arguments.Count(); ++index) PrintPlace(session, arguments.Text(index));
}

void CurrentDirectory(Session& session, const Arguments&) { PrintPlace(session, "current"); }

void PrivatePlace(Session& session, const Arguments& arguments) {
  session.Begin();
  QuillFileString location;
  if (!session.manager.DirGetQuillPlayerSandboxSafeTempLocation(arguments.Path(0), location)) {
    return session.Fail(arguments.Path(0));
  }
  session.output.PrintNameLine(TextOf(location));
}

void Enter(Session& session, const Arguments& arguments) {
  session.Begin();
  // The shell's own directory cannot be changed from here; the command shows where the operation leads.
  if (!session.manager.DirSetCurrent(arguments.Path(0))) return session.Fail(arguments.Path(0));
  CurrentDirectory(session, arguments);
}

void HostAnswers(Session& session, const Arguments&) {
  quill::StandaloneFileManager& manager = session.manager;
  manager.OverrideWriteableAreaSecurity(CoreFileManager::kOverrideNone);
  session.output.Print(std::string("protected mode  ") + (manager.IsProtectedModeIE() ? "yes\n" : "no\n"));
  session.output.Print(std::string("broker          ") + (manager.GetBrokerHandleWrapper(0, {}) ? "yes\n" : "no\n"));
}

}  // namespace

CommandGroup PlaceCommands() {
  return {"Places",
          {
              {"dirs",
               "[NAME...]",
               "print standard directories; naming log or data creates it",
               "quillfs dirs documents",
               {{"--json", OptionKind::kFlag, "print all as one JSON object"}},
               Directories},
              {"pwd", "", "print the current directory", "quillfs pwd", {}, CurrentDirectory},
              {"enter", "PATH", "make a directory the current one and print it", "quillfs enter ..", {}, Enter},
              {"private-place",
               "NAME",
               "print a place for temporary items that is this user's alone",
               "quillfs private-place install.bin",
               {},
               PrivatePlace},
              {"host", "", "print what the host answers about itself", "quillfs host", {}, HostAnswers},
          }};
}
