#pragma once

#include <span>
#include <string>
#include <string_view>

#include "mvtool/commands/Command.h"

namespace mv::tool {

/// What the head and foot of a manual page say.
struct ManPageHead {
  std::string_view name;     ///< "mvtool"
  std::string_view summary;  ///< "databases and table files of MVPPCSync"
  std::string_view version;  ///< "1.0.0"
  std::string_view date;     ///< "2026-11-22"
};

/// A help text (Command.h says its form) in the language of manual pages: lines indented by two become paragraphs,
/// those of options tagged ones, other lines indented by four or more stay as they stand.
std::string RoffOf(std::string_view help);

/// A manual page of section 1 for a program without commands.
std::string ManPageOf(const ManPageHead& head, std::string_view synopsis, std::string_view help);

/// One for a program with commands: a section for each.
std::string ManPageOf(const ManPageHead& head, std::span<const Command> commands);

}  // namespace mv::tool
