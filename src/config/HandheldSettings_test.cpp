#include "config/HandheldSettings.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"
#include "support/RecordingSettings.h"

namespace mv {
namespace {

class HandheldSettingsTest : public ::testing::Test {
 protected:
  HandheldSettings Load() { return LoadHandheldSettings(store_); }
  HandheldSettings With(const char* key, const char* text) {
    store_.Put("Handheld", key, text);
    return Load();
  }
  std::string Complaint(const char* key, const char* text) {
    store_.Put("Handheld", key, text);
    const std::string complaint(testing::ErrorOf([&] { Load(); }).Description());
    store_ = {};
    return complaint;
  }

  testing::RecordingSettings store_;
};

TEST_F(HandheldSettingsTest, NothingIsSetByItself) {
  EXPECT_EQ(Load(), HandheldSettings());
  EXPECT_EQ(Load().wait, std::chrono::seconds(5));
}

TEST_F(HandheldSettingsTest, PlaceIsTheFolderAndWhetherTheNetworkIsUsed) {
  EXPECT_EQ(LoadHandheldPlace(store_), HandheldPlace());
  store_.Put("Handheld", "Root", "/home/kim/handheld");
  EXPECT_EQ(LoadHandheldPlace(store_), (HandheldPlace{"/home/kim/handheld", false}));
  store_.Put("Handheld", "Connection", "Network");
  EXPECT_EQ(LoadHandheldPlace(store_), (HandheldPlace{"/home/kim/handheld", true}));
  store_.Put("Handheld", "Connection", "netwrok");
  EXPECT_EQ(LoadHandheldPlace(store_), HandheldPlace());
}

TEST_F(HandheldSettingsTest, OnlyWhatChangedOfThePlaceIsStored) {
  const HandheldPlace before{"/old", false};
  SaveHandheldPlace(store_, before, before);
  EXPECT_EQ(Load(), HandheldSettings());
  SaveHandheldPlace(store_, before, {"/new", false});
  EXPECT_EQ(Load().root, "/new");
  EXPECT_EQ(Load().way, std::nullopt);
  SaveHandheldPlace(store_, before, {"/old", true});
  EXPECT_EQ(Load().root, "/new");
  EXPECT_EQ(Load().way, HandheldWay::Network);
  SaveHandheldPlace(store_, {"/new", true}, {"/new", false});
  EXPECT_EQ(Load().way, HandheldWay::Folder);
}

TEST_F(HandheldSettingsTest, NoFolderInsteadOfTheNetworkLeavesTheWayOpen) {
  SaveHandheldPlace(store_, {}, {"", true});
  SaveHandheldPlace(store_, {"", true}, {"", false});
  EXPECT_EQ(Load().way, std::nullopt);
}

TEST_F(HandheldSettingsTest, WayIsOneOfThreeWords) {
  EXPECT_EQ(With("Connection", "folder").way, HandheldWay::Folder);
  EXPECT_EQ(With("Connection", "Library").way, HandheldWay::Library);
  EXPECT_EQ(With("Connection", " NETWORK ").way, HandheldWay::Network);
  EXPECT_EQ(With("Connection", "").way, std::nullopt);
  EXPECT_EQ(Complaint("Connection", "netwrok"),
            "the setting Connection of [Handheld], \"netwrok\", is none of \"folder\", \"library\" and \"network\"");
}

TEST_F(HandheldSettingsTest, ListenIsAListOfAddresses) {
  const ListenAddress serial{{192, 168, 131, 102}, 24};
  const ListenAddress loopback{{127, 0, 0, 1}, 8};
  EXPECT_EQ(With("Listen", "192.168.131.102").listen, std::vector{serial});
  EXPECT_EQ(With("Listen", "127.0.0.1, 192.168.131.102").listen, (std::vector{loopback, serial}));
  EXPECT_EQ(With("Listen", "10.1.2.3/16 127.0.0.1/32").listen,
            (std::vector{ListenAddress{{10, 1, 2, 3}, 16}, ListenAddress{{127, 0, 0, 1}, 32}}));
  EXPECT_EQ(Complaint("Listen", "127.0.0.1 eth0"),
            "the setting Listen of [Handheld], \"127.0.0.1 eth0\", holds \"eth0\", which is not an address such as "
            "192.168.131.102 or 192.168.131.102/24");
  for (const char* text :
       {"1.2.3", "1.2.3.4:5", "1.2.3.4:0", "1.2.3.4/33", "1.2.3.4/", "1.2.3.4/x", "1.2.3.4/-1", "256.1.1.1"})
    EXPECT_NE(Complaint("Listen", text).find("which is not an address"), std::string::npos) << text;
}

TEST_F(HandheldSettingsTest, NumbersHaveTheirRanges) {
  EXPECT_EQ(With("Wait", "90").wait, std::chrono::seconds(90));
  EXPECT_EQ(With("BlockSize", "8192").blockSize, 8192U);
  EXPECT_EQ(With("ControlPortB", "0").ports.controlB, 0);
  EXPECT_EQ(With("CallPortA", "9990").ports.callsA, 9990);
  EXPECT_EQ(Complaint("Wait", "0"), "the setting Wait of [Handheld], \"0\", is no whole number from 1 to 3600");
  EXPECT_EQ(Complaint("Wait", "5 s"), "the setting Wait of [Handheld], \"5 s\", is no whole number from 1 to 3600");
  EXPECT_EQ(Complaint("BlockSize", "1"),
            "the setting BlockSize of [Handheld], \"1\", is no whole number from 512 to 1048576");
  EXPECT_EQ(Complaint("CallPortA", "0"),
            "the setting CallPortA of [Handheld], \"0\", is no whole number from 1 to 65535");
  EXPECT_EQ(Complaint("ControlPortA", "65536"),
            "the setting ControlPortA of [Handheld], \"65536\", is no whole number from 0 to 65535");
}

TEST_F(HandheldSettingsTest, HandheldsToCallAreAddresses) {
  EXPECT_EQ(With("Handhelds", "169.254.2.1 127.0.0.2").handhelds,
            (std::vector<std::array<std::uint8_t, 4>>{{169, 254, 2, 1}, {127, 0, 0, 2}}));
  EXPECT_NE(Complaint("Handhelds", "pocket").find("\"pocket\", which is not an address"), std::string::npos);
}

}  // namespace
}  // namespace mv
