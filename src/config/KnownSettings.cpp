#include "config/KnownSettings.h"

#include <algorithm>
#include <array>

#include "base/EditDistance.h"
#include "base/Text.h"
#include "config/AutoStart.h"

namespace mv {
namespace {

constexpr std::size_t kMostSlips = 2;

constexpr std::array kKnown = {
    KnownSetting{"General", "DBFileName", "Motorva.db"},
    KnownSetting{"General", "DBPath", nullptr},
    KnownSetting{"PPC_Mobile", "DesktopDBPath", nullptr},
    KnownSetting{"PPC_Mobile", "PDADBPath", "\\Program Files\\Motorva"},
    KnownSetting{"PPC_Mobile", "PCSyncSourcePath", nullptr},
    KnownSetting{"PPC_Mobile", "PCSyncDestPath", nullptr},
    KnownSetting{"PPC_Mobile", "SyncLogPath", nullptr},
    KnownSetting{"PPC_Mobile", "SyncMode", "0"},
    KnownSetting{"PPC_Mobile", "SyncLogHistory", "0"},
    KnownSetting{"PPC_Mobile", "SyncLog", "1"},
    KnownSetting{"PPC_Mobile", "AutoStart", "0"},
    KnownSetting{"PPC_Mobile", "LastSync", nullptr},
    KnownSetting{"History", "Keep", "10"},
    KnownSetting{"History", "MaxMegabytes", "2048"},
    KnownSetting{"Safety", "OnMassLoss", "warn"},
    KnownSetting{"Safety", "UnfinishedOverwrite", "stop"},
    KnownSetting{"Handheld", "Connection", nullptr},
    KnownSetting{"Handheld", "Root", nullptr},
    KnownSetting{"Handheld", "Wait", "5"},
    KnownSetting{"Handheld", "Listen", nullptr},
    KnownSetting{"Handheld", "Handhelds", nullptr},
    KnownSetting{"Handheld", "PasswordFile", nullptr},
    KnownSetting{"Handheld", "BlockSize", "65536"},
    KnownSetting{"Handheld", "ControlPortA", "5679"},
    KnownSetting{"Handheld", "ControlPortB", "990"},
    KnownSetting{"Handheld", "CallPortA", "990"},
    KnownSetting{"Handheld", "WakeUpPortB", "5679"},
};

std::size_t SlipsIn(const SettingName& name, const KnownSetting& known) {
  return EditDistance(name.key, known.key);
}

}  // namespace

std::span<const KnownSetting> KnownSettings() {
  return kKnown;
}

bool IsKnown(const SettingName& name) {
  if (EqualsIgnoreAsciiCase(name.section, kAutoStartKey)) return true;
  return std::any_of(kKnown.begin(), kKnown.end(), [&](const KnownSetting& known) {
    return EqualsIgnoreAsciiCase(name.section, known.section) && EqualsIgnoreAsciiCase(name.key, known.key);
  });
}

std::optional<KnownSetting> MeantBy(const SettingName& name) {
  const auto best = std::min_element(kKnown.begin(), kKnown.end(), [&](const auto& one, const auto& other) {
    return SlipsIn(name, one) < SlipsIn(name, other);
  });
  if (SlipsIn(name, *best) > kMostSlips) return std::nullopt;
  return *best;
}

}  // namespace mv
