#include <algorithm>
#include <ostream>

#include "base/Error.h"
#include "json/Json.h"
#include "mvtool/commands/Doctor.h"
#include "mvtool/commands/UserSetup.h"
#include "mvtool/doctor/DatabaseDiagnosis.h"
#include "mvtool/doctor/HandheldDiagnosis.h"
#include "mvtool/doctor/PathsDiagnosis.h"
#include "mvtool/doctor/RunsDiagnosis.h"
#include "mvtool/doctor/SettingsDiagnosis.h"
#include "run/Preview.h"

namespace mv::tool {
namespace {

constexpr std::string_view kDoctorHelp =
    "  Looks at all that a run works with and says what is wrong and what to do:\n"
    "  every setting with its value and where that comes from, the paths, the\n"
    "  template, the database and its rows, the handheld and its tables, auto-start,\n"
    "  the last run, and what the next one would do. Changes nothing.\n"
    "    --json  one JSON object a line, then one that counts\n"
    "  Each line begins with \"ok\", \"warning\" or \"failure\". Exit status: 0 all is\n"
    "  well, 1 there are warnings, 2 there are failures.\n";

constexpr int kWarnings = 1;
constexpr int kFailures = 2;

/// The folder that stands for a handheld, before the handheld is asked.
Diagnoses DiagnoseRoot(UserSetup& setup, ToolContext& context) {
  if (setup.Chosen().folder == nullptr) return {};
  return DiagnoseCard(context.files, LoadHandheldSettings(setup.Store()).root, setup.Names().PDADBPath);
}

HandheldReport AskHandheld(UserSetup& setup, ToolContext& context) {
  HandheldReport report;
  try {
    report.diagnoses = DiagnoseRoot(setup, context);
    // Without its card it does not answer either.
    if (CountOf(report.diagnoses, Level::Failure) > 0) return report;
    HandheldReport asked = DiagnoseHandheld(setup.Handheld(), setup.Chosen());
    asked.diagnoses.insert(asked.diagnoses.begin(), report.diagnoses.begin(), report.diagnoses.end());
    return asked;
  } catch (const Error& error) {
    report.diagnoses.push_back(Broken("handheld", error.Description(), "correct the settings of [Handheld]"));
    return report;
  }
}

/// Why a run would end with another status than success.
std::string ReasonOf(const PreviewResult& result) {
  if (!result.record.error.empty()) return result.record.error;
  return result.status == ExitStatus::NoHandheld ? "the handheld does not answer a second time" : "a table would fail";
}

/// What the next run would do, as far as nothing else has said it.
Diagnoses DiagnoseNextRun(UserSetup& setup, const Diagnoses& known) {
  // It makes a connection of its own.
  setup.Handheld().Disconnect();
  const PreviewResult result = RunPreview(setup.ForPreview(), {{}, {kSilentTables.begin(), kSilentTables.end()}});
  Diagnoses diagnoses;
  for (const std::string& warning : result.record.warnings) {
    const bool isSaid = std::any_of(known.begin(), known.end(),
                                    [&](const Diagnosis& earlier) { return earlier.text.starts_with(warning); });
    if (!isSaid) diagnoses.push_back(Doubtful("next run", warning, "\"mvtool preview\" shows all"));
  }
  if (result.status == ExitStatus::Success) {
    const char* const how = diagnoses.empty() ? " would go well" : " would take every table, with these warnings";
    diagnoses.push_back(Well("next run", result.record.modeName + how));
  } else {
    const std::string status = std::to_string(static_cast<int>(result.status));
    diagnoses.push_back(Broken("next run", "it would end with status " + status + ": " + ReasonOf(result),
                               "\"mvtool preview\" shows all"));
  }
  return diagnoses;
}

Diagnoses DiagnoseSetup(UserSetup& setup, ToolContext& context) {
  const Settings& settings = setup.Names();
  Diagnoses diagnoses = DiagnosePaths(context.files, settings, context.programFolder);
  Diagnoses database = DiagnoseDatabase(context.files, settings.DesktopDBPath);
  const bool isSound = CountOf(database, Level::Failure) == 0;
  Append(diagnoses, std::move(database));
  HandheldReport handheld = AskHandheld(setup, context);
  Append(diagnoses, std::move(handheld.diagnoses));
  if (isSound) Append(diagnoses, DiagnoseTables(context.files, settings.DesktopDBPath, handheld.fields));
  Append(diagnoses, DiagnoseRuns(context.files, settings.DesktopDBPath, setup.Limits()));
  const auto registered = context.autoStart ? context.autoStart() : std::nullopt;
  diagnoses.push_back(DiagnoseAutoStart(context.files, settings, registered));
  if (isSound && handheld.answered) Append(diagnoses, DiagnoseNextRun(setup, diagnoses));
  return diagnoses;
}

void PrintJson(const Diagnoses& diagnoses, std::ostream& out) {
  for (const Diagnosis& diagnosis : diagnoses) {
    JsonWriter writer;
    writer.BeginObject().Name("level").Text(NameOf(diagnosis.level)).Name("subject").Text(diagnosis.subject);
    writer.Name("text").Text(diagnosis.text);
    if (!diagnosis.advice.empty()) writer.Name("advice").Text(diagnosis.advice);
    out << writer.EndObject().Result() << '\n';
  }
  JsonWriter sum;
  sum.BeginObject();
  sum.Name("warnings").Integer(static_cast<std::int64_t>(CountOf(diagnoses, Level::Warning)));
  sum.Name("failures").Integer(static_cast<std::int64_t>(CountOf(diagnoses, Level::Failure)));
  out << sum.EndObject().Result() << '\n';
}

int StatusOf(const Diagnoses& diagnoses) {
  if (CountOf(diagnoses, Level::Failure) > 0) return kFailures;
  return CountOf(diagnoses, Level::Warning) > 0 ? kWarnings : kSucceeded;
}

void Doctor(const Arguments& arguments, ToolContext& context) {
  const Diagnoses diagnoses = DiagnoseAll(context);
  if (!arguments.Has("--json")) return PrintDiagnoses(diagnoses, context);
  PrintJson(diagnoses, context.out);
  context.exitStatus = StatusOf(diagnoses);
}

}  // namespace

Diagnoses DiagnoseAll(ToolContext& context) {
  if (!context.openSettings) throw Failure("there are no settings");
  Diagnoses diagnoses = DiagnoseSettings(*context.openSettings(), context.programFolder);
  // What the settings mean is not known.
  if (CountOf(diagnoses, Level::Failure) > 0) return diagnoses;
  UserSetup setup(context);
  Append(diagnoses, DiagnoseSetup(setup, context));
  return diagnoses;
}

void PrintDiagnoses(const Diagnoses& diagnoses, ToolContext& context) {
  for (const Diagnosis& diagnosis : diagnoses) context.out << LineOf(diagnosis) << '\n';
  const auto count = [&](Level level, const char* word) {
    const std::size_t number = CountOf(diagnoses, level);
    return std::to_string(number) + " " + word + (number == 1 ? "" : "s");
  };
  context.out << count(Level::Failure, "failure") << ", " << count(Level::Warning, "warning") << '\n';
  context.exitStatus = StatusOf(diagnoses);
}

Command DoctorCommand() {
  return {
      .name = "doctor",
      .group = CommandGroup::Start,
      .summary = "says whether all that a run needs is in place",
      .help = kDoctorHelp,
      .rules = {.synopsis = "mvtool doctor [--json]",
                .leastOperands = 0,
                .mostOperands = 0,
                .switches = {"--json"},
                .settings = {}},
      .run = &Doctor,
  };
}

}  // namespace mv::tool
