#include "mvtool/commands/Arguments.h"

#include <algorithm>

#include "mvtool/files/ToolErrors.h"

namespace mv::tool {
namespace {

bool Contains(const std::vector<std::string_view>& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

Error Misuse(const ArgumentRules& rules, const std::string& complaint) {
  return UsageError(complaint + "\nusage: " + std::string(rules.synopsis));
}

}  // namespace

Arguments::Arguments(const ArgumentRules& rules, std::span<const std::string> words) {
  bool optionsEnded = false;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (!optionsEnded && word == "--") {
      optionsEnded = true;
    } else if (!optionsEnded && word.size() > 1 && word.starts_with('-')) {
      TakeOption(rules, words, i);
    } else if (operands_.size() == rules.mostOperands) {
      throw Misuse(rules, "unexpected argument \"" + word + "\"");
    } else {
      operands_.push_back(word);
    }
  }
  if (operands_.size() < rules.leastOperands) throw Misuse(rules, "an argument is missing");
}

void Arguments::TakeOption(const ArgumentRules& rules, std::span<const std::string> words, std::size_t& index) {
  const std::string& word = words[index];
  const std::size_t equals = word.find('=');
  const std::string name = word.substr(0, equals);
  std::string value;
  if (Contains(rules.switches, name)) {
    if (equals != std::string::npos) throw Misuse(rules, "option \"" + name + "\" takes no value");
  } else if (!Contains(rules.settings, name)) {
    throw Misuse(rules, "unknown option \"" + name + "\"");
  } else if (equals != std::string::npos) {
    value = word.substr(equals + 1);
  } else if (index + 1 == words.size()) {
    throw Misuse(rules, "option \"" + name + "\" needs a value");
  } else {
    value = words[++index];
  }
  if (!options_.emplace(name, value).second) throw Misuse(rules, "option \"" + name + "\" is given twice");
}

std::optional<std::string> Arguments::ValueOf(std::string_view option) const {
  const auto found = options_.find(option);
  if (found == options_.end()) return std::nullopt;
  return found->second;
}

}  // namespace mv::tool
