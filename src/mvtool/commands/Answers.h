#pragma once

#include <functional>
#include <string>

#include "mvtool/commands/Command.h"

namespace mv::tool {

/// Something that a command wants to know.
struct Question {
  const char* option;  ///< "--root": gives the answer on the command line
  std::string text;    ///< for people, without what ends it
  std::string usual;   ///< what an empty answer means; may be empty
  /// What is wrong with an answer, as a sentence without its full stop; empty for a good one. Null: any is good.
  std::function<std::string(const std::string& answer)> complaint = {};
};

/// Where answers come from: options, else the user, else what is usual.
class Answers {
 public:
  /// Both must outlive this object. With the switch `yes` nothing is asked.
  Answers(const Arguments& arguments, ToolContext& context, const char* yes)
      : arguments_(arguments), context_(context), yes_(yes) {}

  /// A good answer. The user is asked again until he gives one; UsageError for an option's value that is none, and for
  /// a usual one where nothing is asked. Failure when the user's answers end.
  std::string To(const Question& question);
  /// Whether the user says yes; so it is where nothing is asked.
  bool Confirms(const std::string& question);

 private:
  std::string Ask(const std::string& prompt);

  const Arguments& arguments_;
  ToolContext& context_;
  const char* yes_;
};

}  // namespace mv::tool
