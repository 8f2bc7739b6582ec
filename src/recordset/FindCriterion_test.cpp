#include "recordset/FindCriterion.h"

#include <gtest/gtest.h>

#include "base/Error.h"

namespace mv {
namespace {

std::int32_t ErrorOf(std::string_view criterion) {
  try {
    ParseFindCriterion(criterion);
  } catch (const Error& error) {
    return error.Number();
  }
  return 0;
}

TEST(FindCriterion, FieldAndQuotedTextAreTakenApart) {
  EXPECT_EQ(ParseFindCriterion("KY_RECID='0042'"), (FindCriterion{"KY_RECID", "0042"}));
}

TEST(FindCriterion, EmptyQuotesAreTheEmptyText) {
  EXPECT_EQ(ParseFindCriterion("TX_VIN=''"), (FindCriterion{"TX_VIN", ""}));
}

TEST(FindCriterion, DoubledQuoteInsideIsOneQuote) {
  EXPECT_EQ(ParseFindCriterion("TX_NAME='O''Brien'"), (FindCriterion{"TX_NAME", "O'Brien"}));
  EXPECT_EQ(ParseFindCriterion("TX_NAME=''''"), (FindCriterion{"TX_NAME", "'"}));
}

TEST(FindCriterion, BlanksAroundThePartsAreIgnored) {
  EXPECT_EQ(ParseFindCriterion("  KY_RECID = 'a'  "), (FindCriterion{"KY_RECID", "a"}));
}

TEST(FindCriterion, BlanksInsideTheQuotesBelongToTheText) {
  EXPECT_EQ(ParseFindCriterion("KY_RECID=' a '"), (FindCriterion{"KY_RECID", " a "}));
}

TEST(FindCriterion, EqualsSignAndTextOutsideAsciiAreTextLikeAnyOther) {
  EXPECT_EQ(ParseFindCriterion("TX_NAME='a=b \xC3\xA9'"), (FindCriterion{"TX_NAME", "a=b \xC3\xA9"}));
}

TEST(FindCriterion, LoneQuoteInsideIsMalformed) {
  EXPECT_EQ(ErrorOf("TX_NAME='O'Brien'"), errors::kRecordsetArgument);
  EXPECT_EQ(ErrorOf("TX_NAME='''"), errors::kRecordsetArgument);
}

TEST(FindCriterion, EveryOtherFormIsMalformed) {
  for (const char* criterion :
       {"", "KY_RECID", "=", "KY_RECID=", "='a'", "  ='a'", "KY_RECID=5", "KY_RECID='a", "KY_RECID=a'", "KY_RECID='",
        "KY_RECID<>'a'", "KY_RECID<='a'", "KY_RECID like 'a'", "A B='a'", "A='a' AND B='b'", "A=\"a\"", "'A'='a'"}) {
    EXPECT_EQ(ErrorOf(criterion), errors::kRecordsetArgument) << criterion;
  }
}

}  // namespace
}  // namespace mv
