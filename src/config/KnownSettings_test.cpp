#include "config/KnownSettings.h"

#include <gtest/gtest.h>

#include "config/HandheldSettings.h"
#include "config/Settings.h"
#include "support/RecordingSettings.h"

namespace mv {
namespace {

TEST(KnownSettingsTest, EverySettingThatTheProgramReadsIsKnown) {
  testing::RecordingSettings store;
  LoadSettings(store, "C:\\Motorva");
  LoadHistoryLimits(store);
  LoadSafetySettings(store);
  LoadHandheldSettings(store);
  LoadLastSync(store);
  const std::string prefix = "get Motorva32/";
  for (const std::string& call : store.calls) {
    const std::string name = call.substr(prefix.size());
    const std::size_t slash = name.find('/');
    EXPECT_TRUE(IsKnown({name.substr(0, slash), name.substr(slash + 1)})) << name;
  }
  EXPECT_EQ(store.calls.size(), KnownSettings().size()) << "a setting is known that nobody reads";
}

TEST(KnownSettingsTest, WhatCountsForAMissingSettingIsWhatTheProgramTakes) {
  testing::RecordingSettings nothing;
  testing::RecordingSettings defaults;
  for (const KnownSetting& known : KnownSettings()) {
    if (known.missing != nullptr) defaults.Put(known.section, known.key, known.missing);
  }
  EXPECT_EQ(LoadSettings(defaults, "C:\\Motorva"), LoadSettings(nothing, "C:\\Motorva"));
  EXPECT_EQ(LoadHistoryLimits(defaults), LoadHistoryLimits(nothing));
  EXPECT_EQ(LoadSafetySettings(defaults), LoadSafetySettings(nothing));
  EXPECT_EQ(LoadHandheldSettings(defaults), LoadHandheldSettings(nothing));
}

TEST(KnownSettingsTest, NamesAreKnownInAnyCase) {
  EXPECT_TRUE(IsKnown({"handheld", "ROOT"}));
  EXPECT_FALSE(IsKnown({"General", "Root"}));
  EXPECT_FALSE(IsKnown({"Handheld", "Rooot"}));
}

TEST(KnownSettingsTest, AMistypedOrMisplacedKeyHasOneThatWasMeant) {
  EXPECT_STREQ(MeantBy({"Handheld", "Rooot"}).value().key, "Root");
  EXPECT_STREQ(MeantBy({"PPC_Mobile", "DBPath"}).value().section, "General");
  EXPECT_STREQ(MeantBy({"Handhold", "Listen"}).value().section, "Handheld");
  EXPECT_FALSE(MeantBy({"Mine", "Colour"}).has_value());
}

}  // namespace
}  // namespace mv
