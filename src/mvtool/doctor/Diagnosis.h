#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace mv::tool {

enum class Level { Ok, Warning, Failure };

/// "ok", "warning", "failure".
std::string_view NameOf(Level level);

/// One thing that was looked at.
struct Diagnosis {
  Level level = Level::Ok;
  std::string subject;  ///< "database", "table brnd_Fuel"
  std::string text;     ///< what was found, a plain sentence without its full stop
  std::string advice;   ///< what to do about it; empty where all is well

  friend bool operator==(const Diagnosis&, const Diagnosis&) = default;
};

/// A path in quotes, as people read it.
std::string Shown(const std::string& path);

/// "warning  database: it has 3 notes; "mvtool check" shows them".
std::string LineOf(const Diagnosis& diagnosis);

using Diagnoses = std::vector<Diagnosis>;

std::size_t CountOf(const Diagnoses& diagnoses, Level level);
void Append(Diagnoses& diagnoses, Diagnoses more);

// Diagnoses of the levels Ok, Warning and Failure.
Diagnosis Well(std::string subject, std::string text);
Diagnosis Doubtful(std::string subject, std::string text, std::string advice);
Diagnosis Broken(std::string subject, std::string text, std::string advice);

}  // namespace mv::tool
