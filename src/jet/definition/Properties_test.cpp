#include "jet/definition/Properties.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"
#include "support/Hex.h"

namespace mv::jet {
namespace {

using testing::ErrorOf;
using testing::FromHex;

TableDefinition Users() {
  TableDefinition table;
  table.name = "users";
  for (const char* name : {"id", "name", "email"}) {
    Column column;
    column.name = name;
    table.columns.push_back(column);
  }
  return table;
}

/// Required on "name" and "email", as Jet writes it.
const std::string kRequired =
    "4D 52 32 00 | 18 00 00 00 80 00 | 10 00 \"Required\""
    "1D 00 00 00 01 00 | 0E 00 00 00 08 00 \"name\" | 09 00 01 01 00 00 01 00 01"
    "1F 00 00 00 01 00 | 10 00 00 00 0A 00 \"email\" | 09 00 01 01 00 00 01 00 01";

TEST(Properties, EmptyListGivesTheDefaults) {
  const auto rules = RulesFromProperties({}, Users()).columns;
  ASSERT_EQ(rules.size(), 3u);
  EXPECT_FALSE(rules[1].required);
  EXPECT_TRUE(rules[1].allowZeroLength);
}

TEST(Properties, RequiredBelongsToTheColumnOfItsBlock) {
  const auto rules = RulesFromProperties(FromHex(kRequired), Users()).columns;
  EXPECT_FALSE(rules[0].required);
  EXPECT_TRUE(rules[1].required);
  EXPECT_TRUE(rules[2].required);
  EXPECT_TRUE(rules[1].allowZeroLength);
}

TEST(Properties, AllowZeroLengthFalseIsARuleAndTrueIsNone) {
  const auto rules = RulesFromProperties(FromHex("4D 52 32 00 | 26 00 00 00 80 00 | 1E 00 \"AllowZeroLength\""
                                                 "1D 00 00 00 01 00 | 0E 00 00 00 08 00 \"NAME\""
                                                 "09 00 01 01 00 00 01 00 00"
                                                 "1F 00 00 00 01 00 | 10 00 00 00 0A 00 \"email\""
                                                 "09 00 01 01 00 00 01 00 01"),
                                         Users())
                         .columns;
  EXPECT_FALSE(rules[1].allowZeroLength);
  EXPECT_TRUE(rules[2].allowZeroLength);
  EXPECT_FALSE(rules[1].required);
}

TEST(Properties, TrueAsFFOrInFourBytesIsTrue) {
  for (const char* value : {"09 00 01 01 00 00 01 00 FF", "0C 00 01 01 00 00 04 00 00 00 00 80"}) {
    const Bytes entry = FromHex(value);
    Bytes list = FromHex("4D 52 32 00 | 18 00 00 00 80 00 | 10 00 \"Required\"");
    list.push_back(static_cast<std::uint8_t>(20 + entry.size()));
    const Bytes owner = FromHex("00 00 00 01 00 | 0E 00 00 00 08 00 \"name\"");
    list.insert(list.end(), owner.begin(), owner.end());
    list.insert(list.end(), entry.begin(), entry.end());
    EXPECT_TRUE(RulesFromProperties(list, Users()).columns[1].required) << value;
  }
}

TEST(Properties, OtherPropertiesAreIgnored) {
  // Caption, a text, on "name"; Description on the table itself; Required as a number, not a Boolean.
  const auto rules =
      RulesFromProperties(FromHex("4D 52 32 00 | 28 00 00 00 80 00 | 0E 00 \"Caption\" | 10 00 \"Required\""
                                  "17 00 00 00 00 00 | 06 00 00 00 00 00 | 0B 00 01 0A 01 00 03 00 01 01 01"
                                  "28 00 00 00 01 00 | 0E 00 00 00 08 00 \"name\" | 0A 00 01 0A 00 00 02 00 \"N\" | 0A "
                                  "00 01 03 01 00 02 00 01 00"),
                          Users())
          .columns;
  EXPECT_FALSE(rules[0].required);
  EXPECT_FALSE(rules[1].required);
}

TEST(Properties, ExpressionsBelongToTheirColumnOrToTheTable) {
  // DefaultValue "0" as Memo and ValidationText "no" as Text on "name"; ValidationRule "1" on the table itself.
  const TableRules rules = RulesFromProperties(
      FromHex(
          "4D 52 32 00 | 5C 00 00 00 80 00 | 18 00 \"DefaultValue\" | 1C 00 \"ValidationRule\" | 1C 00 "
          "\"ValidationText\" | 16 00 00 00 00 00 | 06 00 00 00 00 00 | 0A 00 01 0C 01 00 02 00 \"1\""
          "2A 00 00 00 01 00 | 0E 00 00 00 08 00 \"name\" | 0A 00 01 0C 00 00 02 00 \"0\" | 0C 00 01 0A 02 00 04 00 "
          "\"no\""),
      Users());
  EXPECT_EQ(rules.columns[1].defaultValue, "0");
  EXPECT_EQ(rules.columns[1].validationText, "no");
  EXPECT_EQ(rules.columns[1].validationRule, "");
  EXPECT_EQ(rules.columns[0].defaultValue, "");
  EXPECT_EQ(rules.validationRule, "1");
  EXPECT_EQ(rules.validationText, "");
}

/// Description "D" of the table; Caption "N", Format ">" and Required of "name".
const std::string kTexts =
    "4D 52 32 00 | 4E 00 00 00 80 00 | 16 00 \"Description\" | 10 00 \"Required\" | 0E 00 \"Caption\" | 0C 00 "
    "\"Format\""
    "16 00 00 00 00 00 | 06 00 00 00 00 00 | 0A 00 01 0A 00 00 02 00 \"D\""
    "31 00 00 00 01 00 | 0E 00 00 00 08 00 \"name\" | 09 00 01 01 01 00 01 00 01"
    "0A 00 01 0A 02 00 02 00 \"N\" | 0A 00 01 0A 03 00 02 00 \">\"";

TEST(Properties, TextsForDisplayBelongToTheirColumnOrToTheTable) {
  const TableProperties properties = PropertiesFromList(FromHex(kTexts), Users());
  EXPECT_EQ(properties.texts, (DisplayTexts{.description = "D"}));
  EXPECT_EQ(properties.columns[0], DisplayTexts());
  EXPECT_EQ(properties.columns[1], (DisplayTexts{.caption = "N", .format = ">"}));
  EXPECT_TRUE(properties.rules.columns[1].required);
}

TEST(Properties, AListIsWrittenAsItWasRead) {
  const std::vector<std::string> names = {"id", "name", "email"};
  for (const std::string& text : {kTexts, kRequired}) {
    const Bytes list = FromHex(text);
    EXPECT_EQ(ListFromProperties(PropertiesFromList(list, Users()), names), list);
  }
}

TEST(Properties, AListIsWrittenOnlyForWhatDiffersFromTheDefaults) {
  const std::vector<std::string> names = {"id", "name", "email"};
  EXPECT_EQ(ListFromProperties({}, names), Bytes());
  EXPECT_EQ(ListFromProperties(PropertiesFromList({}, Users()), names), Bytes());
}

TEST(Properties, EveryPropertyThatIsWrittenIsReadAgain) {
  const std::vector<std::string> names = {"id", "name", "email"};
  TableProperties properties;
  properties.rules.validationRule = "[id]>1";
  properties.rules.validationText = "Zo\u00e9";
  properties.texts.description = "\U0001F697";
  properties.rules.columns.resize(3);
  properties.rules.columns[2] = {.required = true,
                                 .allowZeroLength = false,
                                 .defaultValue = "\"x\"",
                                 .validationRule = "Is Not Null",
                                 .validationText = "no"};
  properties.columns.resize(3);
  properties.columns[0] = {.description = "d", .caption = "c", .format = "f"};
  const TableProperties again = PropertiesFromList(ListFromProperties(properties, names), Users());
  EXPECT_TRUE(again.rules.columns[2].required);
  EXPECT_FALSE(again.rules.columns[2].allowZeroLength);
  EXPECT_EQ(again.rules.columns[2].defaultValue, "\"x\"");
  EXPECT_EQ(again.rules.columns[2].validationRule, "Is Not Null");
  EXPECT_EQ(again.rules.columns[2].validationText, "no");
  EXPECT_FALSE(again.rules.columns[1].required);
  EXPECT_EQ(again.rules.validationRule, properties.rules.validationRule);
  EXPECT_EQ(again.rules.validationText, properties.rules.validationText);
  EXPECT_EQ(again.texts, properties.texts);
  EXPECT_EQ(again.columns, properties.columns);
}

TEST(Properties, ATextThatIsTooLongForAListIsRefused) {
  TableProperties properties;
  properties.texts.description = std::string(32763, 'x');
  EXPECT_NO_THROW(ListFromProperties(properties, {}));
  properties.texts.description += 'x';
  EXPECT_EQ(ErrorOf([&] { ListFromProperties(properties, {}); }).Number(), errors::kJetConstraint);
}

TEST(Properties, WhoNeedsTheRulesAloneIsNotStoppedByATextOfOddLength) {
  Bytes list = FromHex(kTexts);
  list[list.size() - 4] = 1;  // the last value's length
  EXPECT_TRUE(RulesFromProperties(list, Users()).columns[1].required);
  EXPECT_EQ(ErrorOf([&] { PropertiesFromList(list, Users()); }).Number(), errors::kJetGeneral);
}

TEST(Properties, PropertiesOfADeletedColumnAreIgnored) {
  TableDefinition table = Users();
  table.columns.pop_back();
  EXPECT_EQ(RulesFromProperties(FromHex(kRequired), table).columns.size(), 2u);
}

TEST(Properties, EveryShorterListIsDamageOrEndsBetweenBlocks) {
  const Bytes whole = FromHex(kRequired);
  for (std::size_t size = 1; size < whole.size(); ++size) {
    const ByteView part = ByteView(whole).first(size);
    if (size == 4 || size == 28 || size == 57) {
      EXPECT_NO_THROW(RulesFromProperties(part, Users())) << size;
      continue;
    }
    const Error error = ErrorOf([&] { RulesFromProperties(part, Users()); });
    EXPECT_EQ(error.Description(),
              "The database file is damaged: table 'users': its property list contradicts itself. Nothing was changed.")
        << size;
  }
}

TEST(Properties, SizesThatDoNotFitAreDamage) {
  const auto refuses = [](std::size_t at, std::uint8_t byte) {
    Bytes list = FromHex(kRequired);
    list[at] = byte;
    try {
      RulesFromProperties(list, Users());
      return false;
    } catch (const Error& error) {
      return error.Number() == errors::kJetGeneral;
    }
  };
  EXPECT_TRUE(refuses(0, 'K')) << "other magic";
  EXPECT_TRUE(refuses(4, 0x00)) << "block of no bytes, which would never end";
  EXPECT_TRUE(refuses(4, 0x05)) << "block shorter than its header";
  EXPECT_TRUE(refuses(7, 0x80)) << "block of 2 GiB";
  EXPECT_TRUE(refuses(10, 0x0F)) << "name that ends within a character";
  EXPECT_TRUE(refuses(34, 0x0D)) << "owner part shorter than its name";
  EXPECT_TRUE(refuses(37, 0x80)) << "owner part of 2 GiB";
  EXPECT_TRUE(refuses(48, 0x00)) << "entry of no bytes, which would never end";
  EXPECT_TRUE(refuses(48, 0x0A)) << "entry longer than its block";
  EXPECT_TRUE(refuses(52, 0x01)) << "number of a name that is not there";
  EXPECT_TRUE(refuses(54, 0x02)) << "value longer than its entry";
}

}  // namespace
}  // namespace mv::jet
