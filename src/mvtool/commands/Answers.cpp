#include "mvtool/commands/Answers.h"

#include <istream>
#include <optional>
#include <ostream>

#include "base/Error.h"
#include "base/Text.h"
#include "base/Utf.h"
#include "mvtool/files/ToolErrors.h"

namespace mv::tool {
namespace {

/// Paths that are copied from a window or a shell often stand in quotes.
std::string_view WithoutQuotes(std::string_view text) {
  const bool isQuoted = text.size() >= 2 && text.starts_with('"') && text.ends_with('"');
  return isQuoted ? text.substr(1, text.size() - 2) : text;
}

}  // namespace

std::string Answers::To(const Question& question) {
  const auto complaintAbout = [&](const std::string& answer) {
    return question.complaint ? question.complaint(answer) : std::string();
  };
  const std::optional<std::string> given = arguments_.ValueOf(question.option);
  if (given || arguments_.Has(yes_)) {
    const std::string answer = given.value_or(question.usual);
    const std::string complaint = complaintAbout(answer);
    if (complaint.empty()) return answer;
    throw UsageError(std::string(question.option) + ": " + complaint);
  }
  const std::string prompt = question.text + (question.usual.empty() ? "" : " [" + question.usual + "]") + ": ";
  for (;;) {
    const std::string typed = Ask(prompt);
    const std::string answer = typed.empty() ? question.usual : typed;
    const std::string complaint = complaintAbout(answer);
    if (complaint.empty()) return answer;
    context_.out << "  " << complaint << ".\n";
  }
}

bool Answers::Confirms(const std::string& question) {
  if (arguments_.Has(yes_)) return true;
  for (;;) {
    const std::string answer = AsciiLower(Ask(question + " [y/n]: "));
    if (answer == "y" || answer == "yes") return true;
    if (answer == "n" || answer == "no") return false;
  }
}

std::string Answers::Ask(const std::string& prompt) {
  context_.out << prompt << std::flush;
  std::string line;
  if (!std::getline(context_.in, line)) {
    context_.out << '\n';  // the prompt's line is still open
    throw Failure("an answer is missing; nothing was written");
  }
  if (line.ends_with('\r')) line.pop_back();
  return ValidUtf8(WithoutQuotes(Trim(line)));
}

}  // namespace mv::tool
