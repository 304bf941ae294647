// Commands about directories that have a meaning for the user, the program or the process.
#include "tools/quillfs/Command.h"

namespace {

struct Place {
  const char* name;
  bool (CoreFileManager::*find)(QuillFileString&);
  /// Asking for it creates it.
  bool isCreated;
};

constexpr Place kPlaces[] = {
    {"home", &CoreFileManager::DirGetUserHomePath, false},
    {"user", &CoreFileManager::DirGetUser, false},
    {"current", &CoreFileManager::DirGetCurrent, false},
    {"desktop", &CoreFileManager::DirGetDesktop, false},
    {"documents", &CoreFileManager::DirGetDocuments, false},
    {"downloads", &CoreFileManager::DirGetDownloads, false},
    {"caches", &CoreFileManager::DirGetCache, false},
    {"temporary", &CoreFileManager::DirGetTemp, false},
    {"resources", &CoreFileManager::DirGetAppResourceDir, false},
    {"log", &CoreFileManager::DirGetLogDir, true},
    {"data", &CoreFileManager::DirGetAppData, true},
};

void PrintAll(Session& session, bool asJson) {
  JsonLine line;
  for (const Place& place : kPlaces) {
    QuillFileString path;
    if (place.isCreated || !(session.manager.*place.find)(path)) continue;
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
    session.Begin();
    QuillFileString path;
    if (!(session.manager.*place.find)(path)) return session.Fail(name);
    session.output.PrintNameLine(TextOf(path));
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
  if (!session.manager.DirSetCurrent(arguments.Path(0))) return session.Fail(arguments.Path(0));
  CurrentDirectory(session, arguments);
}

void HostAnswers(Session& session, const Arguments&) {
  StandaloneFileManager& manager = session.manager;
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
               "print the standard directories; log and data, when named, are created",
               "quillfs dirs documents",
               {{"--json", OptionKind::kFlag, "print all as one JSON object"}},
               Directories},
              {"pwd", "", "print the current directory", "quillfs pwd", {}, CurrentDirectory},
              {"enter", "PATH", "make a directory the current one and print it", "quillfs enter ..", {}, Enter},
              {"private-place",
               "NAME",
               "print a place in the temporary directory that is this user's alone",
               "quillfs private-place install.bin",
               {},
               PrivatePlace},
              {"host", "", "print what the host answers about itself", "quillfs host", {}, HostAnswers},
          }};
}
