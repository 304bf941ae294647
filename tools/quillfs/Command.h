// What a command looks like to the program: a row of a table.
#pragma once

#include <vector>

#include "tools/quillfs/Arguments.h"
#include "tools/quillfs/Session.h"

enum class OptionKind { kFlag, kText, kNumber, kDate };

struct OptionRow {
  /// As typed, "-d,--directory"; asked for by the last of them.
  const char* names;
  OptionKind kind;
  const char* help;
};

struct CommandRow {
  const char* name;
  /// What it takes: "SOURCE DESTINATION", "PATH...", "PATH [TEXT]".
  const char* operands;
  const char* summary;
  const char* example;
  std::vector<OptionRow> options;
  /// Reports its failures to the session.
  void (*run)(Session& session, const Arguments& arguments);
};

struct CommandGroup {
  const char* title;
  std::vector<CommandRow> commands;
};

/// Runs an operation with no result but success or failure on each path.
template <bool (CoreFileManager::*operation)(const QuillFileString&)>
void OnEach(Session& session, const Arguments& arguments) {
  for (const QuillFileString& path : arguments.Paths()) {
    session.Begin();
    if (!(session.manager.*operation)(path)) session.Fail(path);
  }
}

std::vector<CommandGroup> AllCommands();

CommandGroup TourCommands();
CommandGroup QuestionCommands();
CommandGroup ContentCommands();
CommandGroup TreeCommands();
CommandGroup NameCommands();
CommandGroup ListingCommands();
CommandGroup PlaceCommands();
CommandGroup PropertyCommands();
