// All commands, and those about the program itself.
#include "tools/quillfs/Command.h"
#include "tools/quillfs/Completion.h"
#include "tools/quillfs/Manual.h"

namespace {

void PrintManual(Session& session, const Arguments&) { session.output.Print(ManualPage(AllCommands())); }

void PrintCompletion(Session& session, const Arguments& arguments) {
  const std::string& shell = arguments.Text(0);
  if (shell == "bash") return void(session.output.Print(BashCompletion(AllCommands())));
  if (shell == "zsh") return void(session.output.Print(ZshCompletion(AllCommands())));
  if (shell == "fish") return void(session.output.Print(FishCompletion(AllCommands())));
  session.Fail("completion for " + shell, kQuillErrNotFound);
}

CommandGroup OwnCommands() {
  return {"This program",
          {
              {"completion",
               "SHELL",
               "print a completion script for bash, zsh or fish",
               "source <(quillfs completion bash)",
               {},
               PrintCompletion},
              {"manual", "", "print the manual page for man", "quillfs manual | man -l -", {}, PrintManual},
          }};
}

}  // namespace

std::vector<CommandGroup> AllCommands() {
  // In the order of the help, which is the order in which a newcomer needs them.
  return {TourCommands(), QuestionCommands(), ListingCommands(),  ContentCommands(), TreeCommands(),
          NameCommands(), PlaceCommands(),    PropertyCommands(), OwnCommands()};
}
