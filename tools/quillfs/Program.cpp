// quillfs: every operation of the file manager from the command line. Reads the arguments and runs the one command that
// they name.
#include <fcntl.h>
#include <unistd.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <clocale>
#include <cstdio>
#include <exception>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tools/quillfs/Command.h"
#include "tools/quillfs/Suggestion.h"
#include "tools/quillfs/Text.h"

namespace {

constexpr char kDescription[] = "Works on files and directories through the operations of the Quill file system.";

constexpr char kFooter[] =
    "quillfs COMMAND --help shows what a command takes, with an example.\n"
    "\"--\" ends the options, for names that begin with \"-\".\n"
    "\n"
    "Exit status: 0 success, 1 an operation failed, 2 wrong usage, 130 interrupted\n"
    "by Ctrl-C. Names are escaped on a terminal and printed as they are elsewhere.\n"
    "--json prints one object a line; a byte that is not UTF-8 becomes one of the\n"
    "surrogates U+DC80 to U+DCFF.";

// The parser reads "[a,b]" as a list and "{}" as an empty one. Both are valid file names, so arguments of that shape
// get a guard in front while they pass through it.
constexpr char kGuard = '\x01';

std::string Guarded(std::string argument) {
  const bool needsGuard = !argument.empty() && std::string_view("[{%\x01").find(argument[0]) != std::string_view::npos;
  return needsGuard ? kGuard + argument : argument;
}

std::string Unguarded(const std::string& argument) {
  return argument.starts_with(kGuard) ? argument.substr(1) : argument;
}

class HelpFormatter final : public CLI::Formatter {
 public:
  HelpFormatter() {
    label("SUBCOMMAND", "COMMAND");
    label("OPTIONS", "OPTION...");
    column_width(20);  // every line fits a terminal of 80 columns
  }
  /// Left out, since the usage line already names the operands.
  std::string make_positionals(const CLI::App*) const override { return {}; }
};

/// A command as the parser knows it.
struct Declared {
  const CommandRow* row;
  CLI::App* app;
  std::vector<CLI::Option*> operands;
  std::vector<CLI::Option*> options;
};

CLI::Option* DeclareOperand(CLI::App& app, std::string word) {
  const bool isOptional = word.starts_with('[');
  // A word of the table: "PATH", "PATH...", "[PATH]" or "[PATH...]".
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

// The table is the only source: parser, help, completion and manual page are all made from it.
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
    // Commands ask for an option by its last name, the long one.
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
  names.reserve(commands.size());
  for (const Declared& command : commands) names.emplace_back(command.row->name);
  const std::string* nearest = NearestWord(word, names);
  std::cerr << "quillfs: " << Printable(word) << ": not a command"
            << (nearest ? "; did you mean \"" + *nearest + "\"?" : std::string())
            << "\nrun quillfs --help for the commands\n";
  return kExitUsage;
}

/// Prints help that was asked for; anything else is wrong usage.
int Report(const CLI::App& program, const CLI::ParseError& error) {
  std::ostringstream help, unused;
  if (program.exit(error, help, unused) == 0) {
    Session session;
    std::string text = help.str();
    while (text.ends_with('\n')) text.pop_back();
    (void)session.output.Print(text + '\n');  // Finish reports a failure
    return session.Finish();
  }
  std::string reason = Printable(error.what());
  const auto letter = [&reason](std::size_t index) { return static_cast<unsigned char>(reason[index]); };
  // The parser writes sentences; messages of this program begin in lower case. A name in capitals stays.
  const bool beginsSentence = reason.size() > 1 && std::isupper(letter(0)) && !std::isupper(letter(1));
  if (beginsSentence) reason[0] = static_cast<char>(std::tolower(letter(0)));
  const auto chosen = program.get_subcommands();
  const std::string command = chosen.empty() ? std::string() : chosen[0]->get_name() + ' ';
  std::cerr << "quillfs: " << reason << "\nrun quillfs " << command << "--help for the usage\n";
  return kExitUsage;
}

void Describe(CLI::App& program) {
  program.set_version_flag("--version", "quillfs " QUILLFS_VERSION, "print the version and exit");
  program.set_help_flag("-h,--help", "print this help and exit");
  program.formatter(std::make_shared<HelpFormatter>());
  program.footer(kFooter);
  program.require_subcommand(1);  // exactly one, so that a file may have the name of a command
}

std::vector<Declared> DeclareAll(CLI::App& program, const std::vector<CommandGroup>& groups) {
  std::vector<Declared> commands;
  for (const CommandGroup& group : groups) {
    for (const CommandRow& row : group.commands) commands.push_back(Declare(program, row, group.title));
  }
  return commands;
}

int RunProgram(int argumentCount, char** arguments) {
  const std::vector<CommandGroup> groups = AllCommands();
  CLI::App program(kDescription, "quillfs");
  Describe(program);
  const std::vector<Declared> commands = DeclareAll(program, groups);
  // Judged before the parser, which has no suggestions.
  if (argumentCount > 1 && !IsKnown(arguments[1], commands)) return ReportUnknown(arguments[1], commands);

  std::vector<std::string> reversed;
  // The parser takes arguments from the back of the list.
  for (int index = argumentCount - 1; index > 0; --index) reversed.push_back(Guarded(arguments[index]));
  try {
    program.parse(reversed);
  } catch (const CLI::ParseError& error) {
    return Report(program, error);
  }
  const auto chosen =
      std::find_if(commands.begin(), commands.end(), [](const Declared& command) { return command.app->parsed(); });
  Session session;
  chosen->row->run(session, Collect(*chosen));
  return session.Finish();
}

/// If a standard descriptor is closed, occupies it before another file gets its number. It is opened the wrong way
/// round, so that using it still fails.
void OccupyStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(descriptor, F_GETFD) != -1) continue;
    (void)::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);  // takes the lowest free number
  }
}

}  // namespace

int main(int argumentCount, char** arguments) {
  OccupyStandardDescriptors();
  (void)std::setlocale(LC_CTYPE, "C.UTF-8");  // without it only the widths of characters are wrong
  try {
    return RunProgram(argumentCount, arguments);
  } catch (const std::exception& failure) {
    // Mostly std::bad_alloc: a failed operation is an answer, not an exception.
    (void)std::fprintf(stderr, "quillfs: %s\n", failure.what());
    return kExitFailure;
  }
}
