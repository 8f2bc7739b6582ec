#include "mvtool/doctor/SettingsDiagnosis.h"

#include <algorithm>
#include <array>
#include <functional>
#include <optional>

#include "base/Error.h"
#include "base/Text.h"
#include "config/HandheldSettings.h"
#include "config/KnownSettings.h"
#include "config/Settings.h"

namespace mv::tool {
namespace {

std::string ShownName(const std::string& section, const std::string& key) {
  return "[" + section + "] " + key;
}

std::string Quoted(const std::string& text) {
  return '"' + text + '"';
}

/// The paths that follow the desktop edition's folder when they are not stored.
std::optional<std::string> DerivedPath(const Settings& settings, std::string_view key) {
  if (key == "DesktopDBPath") return settings.DesktopDBPath;
  if (key == "PCSyncSourcePath") return settings.PCSyncSourcePath;
  if (key == "PCSyncDestPath") return settings.PCSyncDestPath;
  if (key == "SyncLogPath") return settings.SyncLogPath;
  return std::nullopt;
}

/// What a setting is and where that comes from.
std::string ValueText(SettingsStore& store, const KnownSetting& known, const std::optional<Settings>& settings,
                      const std::string& programFolder) {
  if (const auto stored = store.GetSetting(kSettingsApplication, known.section, known.key)) {
    return Quoted(*stored) + " (stored)";
  }
  if (known.missing != nullptr) return Quoted(known.missing) + " (default)";
  if (std::string_view(known.key) == "DBPath") return Shown(programFolder) + " (default: beside the program)";
  const auto path = settings ? DerivedPath(*settings, known.key) : std::nullopt;
  if (!path) return "not set";
  const bool follows = store.GetSetting(kSettingsApplication, "General", "DBPath").has_value();
  return Shown(*path) + (follows ? " (default: follows DBPath)" : " (default: beside the program)");
}

/// The error of a loader as a diagnosis; nothing when it has none.
std::optional<Diagnosis> ComplaintOf(const std::function<void()>& load) {
  try {
    load();
    return std::nullopt;
  } catch (const Error& error) {
    return Broken("settings", error.Description(), "no run starts until this is corrected");
  }
}

void DiagnoseValues(SettingsStore& store, const std::string& programFolder, std::optional<Settings>& settings,
                    Diagnoses& diagnoses) {
  const std::array<std::function<void()>, 4> loaders = {
      [&] { settings = LoadSettings(store, programFolder); }, [&] { LoadHandheldSettings(store); },
      [&] { LoadHistoryLimits(store); }, [&] { LoadSafetySettings(store); }};
  for (const auto& load : loaders) {
    if (auto complaint = ComplaintOf(load)) diagnoses.push_back(std::move(*complaint));
  }
  if (settings && (settings->SyncMode < 0 || settings->SyncMode > 2)) {
    diagnoses.push_back(Broken("settings", "SyncMode of [PPC_Mobile] is " + std::to_string(settings->SyncMode),
                               "0 is Synchronize, 1 Overwrite PDA, 2 Overwrite PC"));
  }
}

std::string AdviceFor(const SettingName& name) {
  const auto meant = MeantBy(name);
  if (!meant) return "take it out, or correct it (docs/user/settings.md lists all)";
  return "did you mean " + ShownName(meant->section, meant->key) + "?";
}

bool IsSame(const SettingName& one, const SettingName& other) {
  return EqualsIgnoreAsciiCase(one.section, other.section) && EqualsIgnoreAsciiCase(one.key, other.key);
}

void DiagnoseNames(const std::vector<SettingName>& names, Diagnoses& diagnoses) {
  for (auto name = names.begin(); name != names.end(); ++name) {
    const std::string shown = ShownName(name->section, name->key);
    if (std::any_of(names.begin(), name, [&](const SettingName& earlier) { return IsSame(earlier, *name); })) {
      diagnoses.push_back(Doubtful("settings", shown + " stands twice; the first counts", "take the other one out"));
    } else if (!IsKnown(*name)) {
      diagnoses.push_back(Doubtful("settings", shown + " is no setting and has no effect", AdviceFor(*name)));
    }
  }
}

}  // namespace

Diagnoses DiagnoseSettings(SettingsStore& store, const std::string& programFolder) {
  Diagnoses diagnoses;
  std::optional<Settings> settings;
  const std::string place = Shown(store.PlaceOf(kSettingsApplication));
  try {
    const std::vector<SettingName> names = store.Names(kSettingsApplication);
    diagnoses.push_back(names.empty()
                            ? Doubtful("settings", "there are none in " + place + ", so each one has its default",
                                       "\"mvtool setup\" asks for the database and the handheld and writes them")
                            : Well("settings", "in " + place));
    DiagnoseValues(store, programFolder, settings, diagnoses);
    DiagnoseNames(names, diagnoses);
    for (const KnownSetting& known : KnownSettings()) {
      diagnoses.push_back(Well(ShownName(known.section, known.key), ValueText(store, known, settings, programFolder)));
    }
  } catch (const Error& error) {
    diagnoses.push_back(
        Broken("settings", place + " cannot be read: " + error.Description(), "check your rights to it"));
  }
  return diagnoses;
}

}  // namespace mv::tool
