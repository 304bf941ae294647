#include "tools/quillfs/Program.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "tools/quillfs/Command.h"
#include "tools/quillfs/Suggestion.h"
#include "tools/quillfs/Text.h"

namespace {

constexpr char kDescription[] = "Works on files and directories through the operations of the Quill file system.";

constexpr char kFooter[] =
    "quillfs COMMAND --help tells what a command takes, with an example.\n"
    "\"--\" ends the options, for names that begin with \"-\".\n"
    "\n"
    "Exit status: 0 success, 1 an operation failed, 2 wrong usage, 130 interrupted.\n"
    "Names are escaped on a terminal and printed as they are elsewhere. --json prints one object a line; a byte that\n"
    "is not UTF-8 becomes one of the surrogates U+DC80 to U+DCFF.";

// The parser takes "[a,b]" for a list and "{}" for an empty one. Both are fine names for files, so an argument that
// could be taken for either travels with a guard in front.
constexpr char kGuard = '\x01';

std::string Guarded(std::string argument) {
  const bool needsGuard = !argument.empty() && std::string_view("[{%\x01").find(argument[0]) != std::string_view::npos;
  return needsGuard ? kGuard + argument : argument;
}

std::string Unguarded(const std::string& argument) {
  return argument.starts_with(kGuard) ? argument.substr(1) : argument;
}

/// A command as the parser knows it.
struct Declared {
  const CommandRow* row;
  CLI::App* app;
  std::vector<CLI::Option*> operands;
  std::vector<CLI::Option*> options;
};

CLI::Option* DeclareOperand(CLI::App& app, std::string word) {
  const bool isOptional = word.starts_with('[');
  if (isOptional) word = word.substr(1, word.size() - 2);
  const bool isMany = word.ends_with("...");
  if (isMany) word.resize(word.size() - 3);

  CLI::Option* operand = app.add_option(word);
  if (isMany) operand->expected(1, CLI::detail::expected_max_vector_size)->allow_extra_args();
  return operand->required(!isOptional);
}

CLI::Option* DeclareOption(CLI::App& app, const OptionRow& row) {
  if (row.kind == OptionKind::kFlag)
    return app.add_flag(row.names, row.help)->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  CLI::Option* option = app.add_option(row.names)->description(row.help)->take_last();
  if (row.kind == OptionKind::kText) return option->type_name("TEXT");
  if (row.kind == OptionKind::kNumber) {
    const auto check = [](const std::string& text) {
      return ParseNumber(text) ? std::string() : '"' + Printable(text) + "\" is not a whole number";
    };
    return option->type_name("NUMBER")->check(check);
  }
  const auto check = [](const std::string& text) {
    return ParseDate(text) ? std::string() : '"' + Printable(text) + "\" is not a date";
  };
  return option->type_name("DATE")->check(check);
}

Declared Declare(CLI::App& program, const CommandRow& row, const char* group) {
  CLI::App* app = program.add_subcommand(row.name, row.summary);
  app->group(group)->footer(std::string("Example:\n  ") + row.example);
  Declared declared{&row, app, {}, {}};
  std::istringstream words(row.operands);
  for (std::string word; words >> word;) declared.operands.push_back(DeclareOperand(*app, word));
  for (const OptionRow& option : row.options) declared.options.push_back(DeclareOption(*app, option));
  return declared;
}

Arguments Collect(const Declared& command) {
  Arguments arguments;
  for (const CLI::Option* operand : command.operands) {
    for (const std::string& text : operand->results()) arguments.AddOperand(Unguarded(text));
  }
  for (std::size_t index = 0; index < command.options.size(); ++index) {
    const CLI::Option* option = command.options[index];
    if (option->count() == 0) continue;
    const std::string_view names = command.row->options[index].names;
    const std::string name(names.substr(names.rfind(',') + 1));
    arguments.AddOption(name, Unguarded(option->results().back()));
  }
  return arguments;
}

bool IsKnown(std::string_view word, const std::vector<Declared>& commands) {
  if (word.starts_with('-')) return true;  // an option, for the parser to judge
  return std::any_of(commands.begin(), commands.end(),
                     [word](const Declared& command) { return command.row->name == word; });
}

int ReportUnknown(std::string_view word, const std::vector<Declared>& commands) {
  std::vector<std::string> names;
  for (const Declared& command : commands) names.emplace_back(command.row->name);
  const std::string* nearest = NearestWord(word, names);
  std::cerr << "quillfs: " << Printable(word) << ": not a command"
            << (nearest ? "; did you mean \"" + *nearest + "\"?" : std::string())
            << "\nrun quillfs --help for the commands\n";
  return kExitUsage;
}

int ReportUsage(const CLI::App& program, const CLI::ParseError& error) {
  std::ostringstream help, message;
  const int status = program.exit(error, help, message);
  if (status == 0) {
    Output output;
    (void)output.Print(help.str());  // Finish tells of a failure
    Session session;
    return session.Finish();
  }
  std::cerr << message.str();
  return kExitUsage;
}

}  // namespace

int RunProgram(int argumentCount, char** arguments) {
  CLI::App program(kDescription, "quillfs");
  program.set_version_flag("--version", "quillfs " QUILLFS_VERSION);
  program.footer(kFooter);
  program.require_subcommand(1);

  const std::vector<CommandGroup> groups = {QuestionCommands(), ListingCommands(), ContentCommands(), TreeCommands(),
                                            NameCommands(),     PlaceCommands(),   PropertyCommands()};
  std::vector<Declared> commands;
  for (const CommandGroup& group : groups) {
    for (const CommandRow& row : group.commands) commands.push_back(Declare(program, row, group.title));
  }

  if (argumentCount > 1 && !IsKnown(arguments[1], commands)) return ReportUnknown(arguments[1], commands);
  std::vector<std::string> reversed;
  for (int index = argumentCount - 1; index > 0; --index) reversed.push_back(Guarded(arguments[index]));
  try {
    program.parse(reversed);
  } catch (const CLI::ParseError& error) {
    return ReportUsage(program, error);
  }
  const auto chosen =
      std::find_if(commands.begin(), commands.end(), [](const Declared& command) { return command.app->parsed(); });
  Session session;
  chosen->row->run(session, Collect(*chosen));
  return session.Finish();
}
