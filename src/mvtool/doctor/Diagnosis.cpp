#include "mvtool/doctor/Diagnosis.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/Text.h"

namespace mv::tool {

std::string_view NameOf(Level level) {
  switch (level) {
    case Level::Ok:
      return "ok";
    case Level::Warning:
      return "warning";
    case Level::Failure:
      return "failure";
  }
  return {};
}

std::string Shown(const std::string& path) {
  return '"' + ShownPath(path) + '"';
}

std::string LineOf(const Diagnosis& diagnosis) {
  constexpr std::size_t kLevelColumns = 9;
  std::string line(NameOf(diagnosis.level));
  line.resize(kLevelColumns, ' ');
  line += diagnosis.subject + ": " + diagnosis.text;
  return diagnosis.advice.empty() ? line : line + "; " + diagnosis.advice;
}

std::size_t CountOf(const Diagnoses& diagnoses, Level level) {
  return static_cast<std::size_t>(std::count_if(diagnoses.begin(), diagnoses.end(),
                                                [&](const Diagnosis& diagnosis) { return diagnosis.level == level; }));
}

void Append(Diagnoses& diagnoses, Diagnoses more) {
  diagnoses.insert(diagnoses.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

Diagnosis Well(std::string subject, std::string text) {
  return {Level::Ok, std::move(subject), std::move(text), {}};
}

Diagnosis Doubtful(std::string subject, std::string text, std::string advice) {
  return {Level::Warning, std::move(subject), std::move(text), std::move(advice)};
}

Diagnosis Broken(std::string subject, std::string text, std::string advice) {
  return {Level::Failure, std::move(subject), std::move(text), std::move(advice)};
}

}  // namespace mv::tool
