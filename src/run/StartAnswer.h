#pragma once

#include <iosfwd>
#include <optional>
#include <string_view>

#include "run/Invocation.h"

namespace mv {

/// How the program is started, a form a line. Manual pages are made of it and of the help.
extern const std::string_view kStartSynopsis;
/// What each form does, in the lines of a command's help (mvtool/commands/Command.h).
extern const std::string_view kStartHelp;

/// Answers a start that asks for help or for the version on `out`, one with an option that is none on `errors`, and
/// returns the exit status. Nothing for any other start: the program has to run.
std::optional<int> AnswerStart(const Invocation& invocation, std::ostream& out, std::ostream& errors);

}  // namespace mv
