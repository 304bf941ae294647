// The scripts are written from the table of commands, so that they offer what this very program knows.
#include "tools/quillfs/Completion.h"

#include <sstream>
#include <string_view>

namespace {

/// Calls \p visit with every command.
template <typename Visit>
void ForEachCommand(const std::vector<CommandGroup>& groups, Visit visit) {
  for (const CommandGroup& group : groups) {
    for (const CommandRow& command : group.commands) visit(command);
  }
}

/// The names of an option, "-l" and "--long".
std::vector<std::string> NamesOf(const OptionRow& option) {
  std::istringstream list(option.names);
  std::vector<std::string> names;
  for (std::string name; std::getline(list, name, ',');) names.push_back(name);
  return names;
}

/// \p text with a backslash before each of \p special.
std::string Escaped(std::string_view text, std::string_view special) {
  std::string result;
  for (const char character : text) {
    if (special.find(character) != std::string_view::npos) result += '\\';
    result += character;
  }
  return result;
}

/// Puts \p text in single quotes, which every shell understands.
std::string Quoted(std::string_view text) {
  std::string result = "'";
  for (const char character : text) character == '\'' ? result.append("'\\''") : result.append(1, character);
  return result + '\'';
}

}  // namespace

// bash knows no descriptions, so the script holds names alone. Those of commands and options need no quotes.
std::string BashCompletion(const std::vector<CommandGroup>& groups) {
  std::string commands, cases;
  ForEachCommand(groups, [&](const CommandRow& command) {
    commands += std::string(command.name) + ' ';
    if (command.options.empty()) return;
    cases += std::string("    ") + command.name + ") options='";
    for (const OptionRow& option : command.options) {
      for (const std::string& name : NamesOf(option)) cases += name + ' ';
    }
    cases += "' ;;\n";
  });
  return "# Completion of quillfs for bash.\n"
         "_quillfs() {\n"
         "  local word=${COMP_WORDS[COMP_CWORD]} options=\n"
         "  COMPREPLY=()\n"
         "  if [[ $COMP_CWORD -eq 1 ]]; then\n"
         "    mapfile -t COMPREPLY < <(compgen -W '" +
         commands +
         "--help --version' -- \"$word\")\n"
         "    return\n"
         "  fi\n"
         "  [[ $word == -* ]] || return  # a path, which -o default completes\n"
         "  case ${COMP_WORDS[1]} in\n" +
         cases +
         "  esac\n"
         "  mapfile -t COMPREPLY < <(compgen -W \"$options --help\" -- \"$word\")\n"
         "}\n"
         "complete -o default -F _quillfs quillfs\n";
}

// A colon ends the name of a command, and brackets the description of an option: both are escaped in the texts.
std::string ZshCompletion(const std::vector<CommandGroup>& groups) {
  std::string commands, cases;
  ForEachCommand(groups, [&](const CommandRow& command) {
    commands += "  " + Quoted(command.name + (':' + Escaped(command.summary, ":"))) + '\n';
    cases += std::string("  ") + command.name + ") _arguments ";
    for (const OptionRow& option : command.options) {
      const std::string description =
          '[' + Escaped(option.help, ":[]") + (option.kind == OptionKind::kFlag ? "]" : "]:value:");
      for (const std::string& name : NamesOf(option)) cases += Quoted(name + description) + ' ';
    }
    cases += "'*:path:_files' ;;\n";
  });
  return "#compdef quillfs\n"
         "local -a commands=(\n" +
         commands +
         ")\n"
         "if (( CURRENT == 2 )); then\n"
         "  _describe command commands\n"
         "  return\n"
         "fi\n"
         "local command=$words[2]\n"
         "shift words\n"
         "(( CURRENT-- ))\n"
         "case $command in\n" +
         cases + "esac\n";
}

// fish takes one rule for each command and option, and finds out itself which apply.
std::string FishCompletion(const std::vector<CommandGroup>& groups) {
  std::string script = "# Completion of quillfs for fish.\n";
  ForEachCommand(groups, [&](const CommandRow& command) {
    script += std::string("complete -c quillfs -n __fish_use_subcommand -f -a ") + command.name + " -d " +
              Quoted(command.summary) + '\n';
    for (const OptionRow& option : command.options) {
      script += std::string("complete -c quillfs -n '__fish_seen_subcommand_from ") + command.name + '\'';
      for (const std::string& name : NamesOf(option)) {
        const bool isLong = name.starts_with("--");
        script += (isLong ? " -l " : " -s ") + name.substr(isLong ? 2 : 1);
      }
      script += (option.kind == OptionKind::kFlag ? " -d " : " -r -d ") + Quoted(option.help) + '\n';
    }
  });
  return script;
}
