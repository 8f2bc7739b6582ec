#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace mv::tool {

/// What an operand names; for those who complete a command line.
enum class Operand { File, Folder, Table, Run, Word };

/// What a command takes on its command line.
struct ArgumentRules {
  std::string_view synopsis;  ///< "mvtool show FILE [TABLE]", shown when the arguments do not fit
  std::size_t leastOperands = 0;
  std::size_t mostOperands = 0;
  std::vector<std::string_view> switches;    ///< options without a value: "--csv"
  std::vector<std::string_view> settings;    ///< options with a value: "--rows"
  std::vector<Operand> operands = {};        ///< one by one; the last stands for those after it, too
  std::vector<std::string_view> words = {};  ///< those that an Operand::Word is one of
};

/// The arguments of one command, sorted into operands and options.
class Arguments {
 public:
  /// `words`: the arguments after the command's name. Options may stand anywhere, "--rows 5" and "--rows=5" are the
  /// same, and "--" ends them. Throws UsageError naming the word that does not fit, with the synopsis.
  Arguments(const ArgumentRules& rules, std::span<const std::string> words);

  std::size_t Count() const { return operands_.size(); }
  const std::string& Operand(std::size_t index) const { return operands_.at(index); }
  bool Has(std::string_view option) const { return options_.contains(option); }
  /// Value of a setting; nothing when it was not given.
  std::optional<std::string> ValueOf(std::string_view option) const;

 private:
  void TakeOption(const ArgumentRules& rules, std::span<const std::string> words, std::size_t& index);

  std::vector<std::string> operands_;
  std::map<std::string, std::string, std::less<>> options_;
};

}  // namespace mv::tool
