#include "ado/AdoErrors.h"

#include <gtest/gtest.h>

#include "support/FakeAdo.h"

namespace mv::ado {
namespace {

using testing::FakeAdo;
using testing::FakeAdoConnection;
using testing::PlannedFailure;
using testing::Told;

constexpr HRESULT Result(std::uint32_t bits) {
  return static_cast<HRESULT>(bits);
}

constexpr HRESULT kDuplicate = Result(0x80040E21);

class AdoErrors : public ::testing::Test {
 protected:
  AdoErrors() {
    ado_.Create(kConnectionClass, IAdoConnection::kId, connection_.ReceiveAny());
    SetErrorInfo(0, nullptr);
  }

  Error ErrorOf(HRESULT result) { return ErrorOfCall(result, *connection_, IAdoConnection::kId, connection_.Get()); }

  FakeAdo ado_;
  ComPtr<IAdoConnection> connection_;
};

TEST_F(AdoErrors, ErrorsOfAdoItselfKeepTheirOwnNumbers) {
  EXPECT_EQ(ErrorNumberOf(Result(0x800A0BB9)), errors::kRecordsetArgument);
  EXPECT_EQ(ErrorNumberOf(Result(0x800A0BCD)), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf(Result(0x800A0CC1)), errors::kItemNotFound);
  EXPECT_EQ(ErrorNumberOf(Result(0x800A0E78)), 3704);
}

TEST_F(AdoErrors, ErrorsOfProvidersAreTheResultAsASignedNumber) {
  EXPECT_EQ(ErrorNumberOf(E_FAIL), errors::kJetGeneral);
  EXPECT_EQ(ErrorNumberOf(Result(0x80040E37)), errors::kJetNoSuchTable);
  EXPECT_EQ(ErrorNumberOf(kDuplicate), errors::kJetConstraint);
  EXPECT_EQ(ErrorNumberOf(Result(0x80040E4D)), errors::kJetNotAValidPassword);
  EXPECT_EQ(ErrorNumberOf(E_ACCESSDENIED), -2147024891);
}

TEST_F(AdoErrors, ValuesMemoryAndDeletedRowsHaveTheProgramsNumbers) {
  EXPECT_EQ(ErrorNumberOf(DISP_E_TYPEMISMATCH), errors::kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf(DISP_E_OVERFLOW), errors::kOverflow);
  EXPECT_EQ(ErrorNumberOf(E_OUTOFMEMORY), errors::kOutOfMemory);
  EXPECT_EQ(ErrorNumberOf(Result(0x80040E23)), errors::kNoCurrentRecord);
}

TEST_F(AdoErrors, TextAndSourceComeFromTheErrorInformation) {
  FakeAdo::SetInfo({kDuplicate, "Microsoft JET Database Engine", "duplicate \xC3\xA9"});
  const Error error = ErrorOf(kDuplicate);
  EXPECT_EQ(error.Number(), errors::kJetConstraint);
  EXPECT_EQ(error.Source(), "Microsoft JET Database Engine");
  EXPECT_EQ(error.Description(), "duplicate \xC3\xA9");
}

TEST_F(AdoErrors, ErrorInformationIsTakenOnce) {
  FakeAdo::SetInfo({kDuplicate, "", "the first"});
  ErrorOf(kDuplicate);
  EXPECT_NE(ErrorOf(kDuplicate).Description(), "the first");
}

TEST_F(AdoErrors, InformationLeftFromElsewhereIsNotTheObjects) {
  ado_.promisesErrorInfo = false;
  FakeAdo::SetInfo({kDuplicate, "", "about something else"});
  EXPECT_EQ(ErrorOf(Result(0x800A0BCD)).Description(), StandardError(errors::kNoCurrentRecord).Description());
  SetErrorInfo(0, nullptr);
}

TEST_F(AdoErrors, WithoutInformationTheConnectionsMessageOfTheResultCounts) {
  ado_.connectionErrors.push_back({E_ACCESSDENIED, "earlier", "another failure", Told::ByConnectionErrors, 0});
  ado_.connectionErrors.push_back({kDuplicate, "the provider", "a duplicate", Told::ByConnectionErrors, 0});
  const Error error = ErrorOf(kDuplicate);
  EXPECT_EQ(error.Source(), "the provider");
  EXPECT_EQ(error.Description(), "a duplicate");
}

TEST_F(AdoErrors, MessageOfAnotherResultIsNotTaken) {
  ado_.connectionErrors.push_back({kDuplicate, "earlier", "a duplicate", Told::ByConnectionErrors, 0});
  EXPECT_NE(ErrorOf(E_ACCESSDENIED).Description(), "a duplicate");
}

TEST_F(AdoErrors, WithoutAnyMessageTheSystemsTextCounts) {
  const Error error = ErrorOfResult(E_ACCESSDENIED);
  EXPECT_FALSE(error.Description().empty());
  EXPECT_NE(error.Description().back(), '\n');
  EXPECT_NE(error.Description(), StandardError(1234567).Description());
}

TEST_F(AdoErrors, ResultThatNobodyKnowsHasATextAllTheSame) {
  EXPECT_EQ(ErrorOfResult(Result(0x8ABC1234)).Description(), StandardError(1234567).Description());
}

TEST_F(AdoErrors, OwnNumbersWithoutAMessageHaveTheirStandardText) {
  EXPECT_EQ(ErrorOf(Result(0x800A0CC1)).Description(), StandardError(errors::kItemNotFound).Description());
  EXPECT_EQ(ErrorOf(DISP_E_OVERFLOW).Description(), "Overflow");
}

TEST_F(AdoErrors, MissingClassesAndLibrariesMeanNotInstalled) {
  for (const std::uint32_t bits : {0x80040154U, 0x800401F3U, 0x80040111U, 0x800401F8U, 0x800401F9U, 0x8007007EU,
                                   0x8007007FU, 0x800700C1U, 0x800A0E7AU}) {
    EXPECT_TRUE(MeansNotInstalled(Result(bits))) << std::hex << bits;
  }
}

TEST_F(AdoErrors, WhatGoesWrongWithADatabaseDoesNotMeanNotInstalled) {
  for (const std::uint32_t bits : {0U, 1U, 0x80004005U, 0x80004002U, 0x80070002U, 0x80070005U, 0x8007000EU, 0x80040E4DU,
                                   0x80040E37U, 0x800401F0U}) {
    EXPECT_FALSE(MeansNotInstalled(Result(bits))) << std::hex << bits;
  }
}

}  // namespace
}  // namespace mv::ado
