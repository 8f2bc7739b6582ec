#include "mvtool/manual/Completion.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "sync/Tables.h"

namespace mv::tool {
namespace {

std::string TableNames() {
  std::string names;
  for (const SyncTable& table : kTables) names += (names.empty() ? "" : " ") + std::string(table.name);
  return names;
}

std::string Joined(const std::vector<std::string_view>& words) {
  std::string joined;
  for (const std::string_view word : words) joined += (joined.empty() ? "" : " ") + std::string(word);
  return joined;
}

/// Between single quotes, for all three shells.
std::string Quoted(std::string_view text) {
  std::string quoted = "'";
  for (const char character : text) {
    quoted += character == '\'' ? std::string("'\\''") : std::string(1, character);
  }
  return quoted + "'";
}

/// What the value of an option is.
Operand ValueOf(std::string_view option) {
  return option.starts_with("--table") ? Operand::Table : Operand::File;
}

std::string_view WordFor(Operand operand) {
  switch (operand) {
    case Operand::File:
      return "file";
    case Operand::Folder:
      return "folder";
    case Operand::Table:
      return "table";
    case Operand::Run:
      return "run";
    case Operand::Word:
      return "word";
  }
  return {};
}

/// What each operand of a command is, as many as it may have.
std::vector<Operand> OperandsOf(const ArgumentRules& rules) {
  std::vector<Operand> operands = rules.operands;
  operands.resize(rules.mostOperands, operands.empty() ? Operand::File : operands.back());
  return operands;
}

std::string BashCaseOf(const Command& command) {
  std::string operands;
  for (const Operand operand : OperandsOf(command.rules)) operands += std::string(WordFor(operand)) + " ";
  return "    " + std::string(command.name) + ") switches=" + Quoted(Joined(command.rules.switches)) +
         " settings=" + Quoted(Joined(command.rules.settings)) + " operands=(" + operands +
         ") known=" + Quoted(Joined(command.rules.words)) + " ;;\n";
}

/// "_arguments" counts operands itself.
std::string ZshActionOf(Operand operand, const ArgumentRules& rules) {
  switch (operand) {
    case Operand::File:
      return "file:_files";
    case Operand::Folder:
      return "folder:_files -/";
    case Operand::Table:
      return "table:(" + TableNames() + ")";
    case Operand::Run:
      return "run:(last)";
    case Operand::Word:
      return "word:(" + Joined(rules.words) + ")";
  }
  return {};
}

std::string ZshCaseOf(const Command& command) {
  const ArgumentRules& rules = command.rules;
  std::string text = "    " + std::string(command.name) + ") _arguments";
  for (const std::string_view option : rules.switches) text += " " + Quoted(option);
  for (const std::string_view option : rules.settings) {
    text += " " + Quoted(std::string(option) + "=:" + ZshActionOf(ValueOf(option), rules));
  }
  std::size_t number = 0;
  for (const Operand operand : OperandsOf(rules)) {
    text += " " + Quoted(std::to_string(++number) + ":" + ZshActionOf(operand, rules));
  }
  return text + " " + Quoted("--help") + " ;;\n";
}

std::string FishWordsOf(Operand operand, const ArgumentRules& rules) {
  switch (operand) {
    case Operand::File:
      return {};
    case Operand::Folder:
      return "(__fish_complete_directories)";
    case Operand::Table:
      return TableNames();
    case Operand::Run:
      return "last";
    case Operand::Word:
      return Joined(rules.words);
  }
  return {};
}

std::string FishLinesOf(const Command& command) {
  const ArgumentRules& rules = command.rules;
  const std::string line =
      "complete -c mvtool -n " + Quoted("__fish_seen_subcommand_from " + std::string(command.name)) + " ";
  std::string text = "complete -c mvtool -f -n __fish_use_subcommand -a " + std::string(command.name) + " -d " +
                     Quoted(command.summary) + "\n";
  for (const std::string_view option : rules.switches) text += line + "-l " + std::string(option.substr(2)) + "\n";
  for (const std::string_view option : rules.settings) {
    const std::string words = FishWordsOf(ValueOf(option), rules);
    text +=
        line + "-r -l " + std::string(option.substr(2)) + (words.empty() ? " -F" : " -f -a " + Quoted(words)) + "\n";
  }
  std::vector<Operand> operands = OperandsOf(rules);
  std::sort(operands.begin(), operands.end());
  operands.erase(std::unique(operands.begin(), operands.end()), operands.end());
  for (const Operand operand : operands) {
    const std::string words = FishWordsOf(operand, rules);
    text += line + (words.empty() ? "-F" : "-a " + Quoted(words)) + "\n";
  }
  return text;
}

constexpr std::string_view kBashHead = R"(# bash completion of mvtool
_mvtool() {
  local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}
  local switches settings known operands kind place=0 i
  COMPREPLY=()
  if [ "$COMP_CWORD" -eq 1 ]; then
    mapfile -t COMPREPLY < <(compgen -W "$_mvtool_commands --help --version" -- "$current")
    return
  fi
  case ${COMP_WORDS[1]} in
)";

constexpr std::string_view kBashTail = R"(    *) return ;;
  esac
  if [[ " $settings " == *" $before "* ]]; then
    kind=file
    [[ $before == --table* ]] && kind=table
  elif [[ $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$switches $settings --help" -- "$current")
    return
  else
    for ((i = 2; i < COMP_CWORD; ++i)); do
      if [[ " $settings " == *" ${COMP_WORDS[i]} "* ]]; then
        ((++i))
      elif [[ ${COMP_WORDS[i]} != -* ]]; then
        ((++place))
      fi
    done
    kind=${operands[place]-}
  fi
  case $kind in
    file) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    folder) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
    table) mapfile -t COMPREPLY < <(compgen -W "$_mvtool_tables" -- "$current") ;;
    run) mapfile -t COMPREPLY < <(compgen -W last -- "$current") ;;
    word) mapfile -t COMPREPLY < <(compgen -W "$known" -- "$current") ;;
  esac
}
complete -F _mvtool mvtool
)";

constexpr std::string_view kZshTail = R"(  esac
}
_mvtool "$@"
)";

}  // namespace

std::string BashCompletionOf(std::span<const Command> commands) {
  std::string cases;
  std::vector<std::string_view> names;
  for (const Command& command : commands) {
    names.push_back(command.name);
    cases += BashCaseOf(command);
  }
  return "_mvtool_commands=" + Quoted(Joined(names)) + "\n_mvtool_tables=" + Quoted(TableNames()) + "\n" +
         std::string(kBashHead) + cases + std::string(kBashTail);
}

std::string ZshCompletionOf(std::span<const Command> commands) {
  std::string text = "#compdef mvtool\n_mvtool() {\n  local -a commands\n  commands=(\n";
  for (const Command& command : commands) {
    text += "    " + Quoted(std::string(command.name) + ":" + std::string(command.summary)) + "\n";
  }
  text +=
      "  )\n  if (( CURRENT == 2 )); then\n    _describe command commands\n    return\n  fi\n"
      "  shift words\n  (( CURRENT-- ))\n  case $words[1] in\n";
  for (const Command& command : commands) text += ZshCaseOf(command);
  return text + std::string(kZshTail);
}

std::string FishCompletionOf(std::span<const Command> commands) {
  std::string text = "# fish completion of mvtool\ncomplete -c mvtool -f\n";
  for (const Command& command : commands) text += FishLinesOf(command);
  return text;
}

}  // namespace mv::tool
