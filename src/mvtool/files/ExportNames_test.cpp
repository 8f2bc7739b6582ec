#include "mvtool/files/ExportNames.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"

namespace mv::tool {
namespace {

using Names = std::vector<std::string>;

TEST(ExportNames, OrdinaryNamesStayAsTheyAre) {
  EXPECT_EQ(ExportFileNames({"brnd_Fuel", "Séjour 2", "a.b", "-x"}),
            (Names{"brnd_Fuel.csv", "Séjour 2.csv", "a.b.csv", "-x.csv"}));
}

TEST(ExportNames, CharactersThatFilesCannotHaveBecomeNumbersThatReadBack) {
  EXPECT_EQ(ExportFileNames({"a/b\\c:d", "<>|?*\"", "50%", "tab\there", "../x"}),
            (Names{"a%2Fb%5Cc%3Ad.csv", "%3C%3E%7C%3F%2A%22.csv", "50%25.csv", "tab%09here.csv", "..%2Fx.csv"}));
}

TEST(ExportNames, NamesOfDevicesAreNoNamesOfFiles) {
  EXPECT_EQ(ExportFileNames({"con", "NUL", "Com1", "lpt\u00B2", "prn .x", "aux.b"}),
            (Names{"%63on.csv", "%4EUL.csv", "%43om1.csv", "%6Cpt\u00B2.csv", "%70rn .x.csv", "%61ux.b.csv"}));
  EXPECT_EQ(ExportFileNames({"Console", "COM", "COM12", "LPTX"}),
            (Names{"Console.csv", "COM.csv", "COM12.csv", "LPTX.csv"}));
}

TEST(ExportNames, NamesThatDifferInCaseOnlyAreTakenApart) {
  EXPECT_EQ(ExportFileNames({"abc", "ABC", "Abc", "aBC"}), (Names{"abc.csv", "%41BC.csv", "%41%62c.csv", "%61BC.csv"}));
  EXPECT_EQ(ExportFileNames({"ÉT", "ét"}), (Names{"ÉT.csv", "%C3%A9t.csv"}));
}

TEST(ExportNames, NameThatLooksLikeAnEscapedOneDoesNotClash) {
  EXPECT_EQ(ExportFileNames({"a:b", "a%3Ab"}), (Names{"a%3Ab.csv", "a%253Ab.csv"}));
}

TEST(ExportNames, NamesThatCannotBeTakenApartFail) {
  EXPECT_EQ(testing::ErrorOf([] {
              ExportFileNames({"a", "a", "a"});
            }).Description(),
            "there is no file name for table \"a\"");
  EXPECT_EQ(testing::ErrorOf([] { ExportFileNames({std::string(70, '?')}); }).Description(),
            "there is no file name for table \"" + std::string(70, '?') + "\"");
}

TEST(SafeFileNameTest, NamesFromOutsideLeadNowhereElse) {
  std::set<std::string> used;
  EXPECT_EQ(SafeFileName("brnd_Fuel.pdb", used), "brnd_Fuel.pdb");
  EXPECT_EQ(SafeFileName("BRND_fuel.pdb", used), "%42RND_fuel.pdb");
  EXPECT_EQ(SafeFileName("..", used), "%2E%2E");
  EXPECT_EQ(SafeFileName(".", used), "%2E");
  EXPECT_EQ(SafeFileName("a. ", used), "%61%2E%20");
  EXPECT_EQ(SafeFileName("..\\..\\x", used), "..%5C..%5Cx");
  EXPECT_EQ(SafeFileName("../x", used), "..%2Fx");
  EXPECT_EQ(SafeFileName("C:x", used), "C%3Ax");
  EXPECT_EQ(SafeFileName("nul.txt", used), "%6Eul.txt");
  EXPECT_EQ(SafeFileName("", used), std::nullopt);
  EXPECT_EQ(SafeFileName(std::string(300, 'a'), used), std::nullopt);
}

}  // namespace
}  // namespace mv::tool
