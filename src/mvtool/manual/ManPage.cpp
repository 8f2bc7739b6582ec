#include "mvtool/manual/ManPage.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "base/Text.h"

namespace mv::tool {
namespace {

constexpr std::size_t kTextIndent = 2;
constexpr std::size_t kOptionIndent = 4;

/// A hyphen that is typed, a backslash, and what would be a request at the start of a line.
std::string Escaped(std::string_view text) {
  std::string escaped;
  if (text.starts_with('.') || text.starts_with('\'')) escaped += "\\&";
  for (const char character : text) {
    if (character == '\\') {
      escaped += "\\e";
    } else if (character == '-') {
      escaped += "\\-";
    } else {
      escaped += character;
    }
  }
  return escaped;
}

bool IsLetter(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

std::size_t IndentOf(std::string_view line) {
  return std::min(line.find_first_not_of(' '), line.size());
}

std::vector<std::string_view> LinesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    lines.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return lines;
}

/// Writes the lines of a help text one by one, and remembers what the last one was.
class RoffWriter {
 public:
  void Take(std::string_view line, std::string_view next) {
    const std::size_t indent = IndentOf(line);
    const std::string_view text = line.substr(indent);
    if (indent <= kTextIndent) {
      TakeText(text);
    } else if (indent == kOptionIndent && StartsOption(text, next)) {
      TakeOption(text);
    } else if (kind_ == Kind::Option) {
      text_ += Escaped(text) + "\n";
    } else {
      TakeLiteral(line.substr(kOptionIndent));
    }
  }

  std::string Result() {
    Become(Kind::Nothing);
    return std::move(text_);
  }

 private:
  enum class Kind { Nothing, Text, Option, Literal };

  /// An option, or a word and what it means: its text follows after two blanks, or stands deeper in the next line.
  static bool StartsOption(std::string_view text, std::string_view next) {
    if (!IsLetter(text.front()) && text.front() != '-') return false;
    return text.find("  ") != std::string_view::npos || IndentOf(next) > 2 * kOptionIndent;
  }

  void Become(Kind kind) {
    if (kind_ == Kind::Literal && kind != Kind::Literal) text_ += ".fi\n.RE\n";
    if (kind == Kind::Literal && kind_ != Kind::Literal) text_ += ".RS 4\n.nf\n";
    if (kind == Kind::Text && (kind_ == Kind::Option || kind_ == Kind::Literal)) text_ += ".PP\n";
    kind_ = kind;
  }

  void TakeText(std::string_view text) {
    Become(Kind::Text);
    text_ += Escaped(text) + "\n";
  }

  void TakeOption(std::string_view text) {
    Become(Kind::Option);
    const std::size_t end = std::min(text.find("  "), text.size());
    text_ += ".TP\n\\fB" + Escaped(text.substr(0, end)) + "\\fR\n";
    const std::string_view meaning = text.substr(end);
    if (!meaning.empty()) text_ += Escaped(meaning.substr(IndentOf(meaning))) + "\n";
  }

  void TakeLiteral(std::string_view text) {
    Become(Kind::Literal);
    text_ += Escaped(text) + "\n";
  }

  std::string text_;
  Kind kind_ = Kind::Nothing;
};

std::string SynopsisOf(std::string_view synopsis) {
  std::string text = ".nf\n";
  for (const std::string_view line : LinesOf(synopsis)) text += "\\fB" + Escaped(line) + "\\fR\n";
  return text + ".fi\n";
}

std::string HeadOf(const ManPageHead& head) {
  const std::string name(head.name);
  return ".TH " + AsciiUpper(name) + " 1 " + std::string(head.date) + " \"MVPPCSync " + std::string(head.version) +
         "\" \"User Commands\"\n" + ".SH NAME\n" + name + " \\- " + Escaped(head.summary) + "\n.SH SYNOPSIS\n";
}

}  // namespace

std::string RoffOf(std::string_view help) {
  RoffWriter writer;
  const std::vector<std::string_view> lines = LinesOf(help);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    writer.Take(lines[i], i + 1 < lines.size() ? lines[i + 1] : std::string_view());
  }
  return writer.Result();
}

std::string ManPageOf(const ManPageHead& head, std::string_view synopsis, std::string_view help) {
  return HeadOf(head) + SynopsisOf(synopsis) + ".SH DESCRIPTION\n" + RoffOf(help) + ".SH SEE ALSO\n.BR mvtool (1)\n";
}

std::string ManPageOf(const ManPageHead& head, std::span<const Command> commands) {
  const std::string name(head.name);
  std::string page =
      HeadOf(head) + SynopsisOf(name + " COMMAND ...\n" + name + " --help | --version\n" + name + " COMMAND --help");
  page += ".SH COMMANDS\n";
  std::optional<CommandGroup> group;
  for (const Command& command : commands) {
    page += group == command.group ? ".PP\n" : ".SS " + std::string(NameOf(command.group)) + "\n";
    group = command.group;
    page += SynopsisOf(command.rules.synopsis) + ".RS 4\n" + RoffOf(command.help) + ".RE\n";
  }
  return page +
         ".SH EXIT STATUS\n0 done, 1 it failed (the message on standard error says why),\n"
         "2 the command line was not understood.\n"
         "Where a command has others, its text names them.\n.SH SEE ALSO\n.BR MVPPCSync (1)\n";
}

}  // namespace mv::tool
