#include "jet/rules/RuleCheck.h"

#include <gtest/gtest.h>

#include "base/ByteOrder.h"
#include "base/Utf.h"
#include "jet/JetRecordset.h"
#include "support/ExpectError.h"
#include "support/JetDatabase.h"

// Default values and validation rules as tables and recordsets apply them.

namespace mv::jet {
namespace {

using mv::testing::ErrorOf;
using mv::testing::JetDatabase;
using mv::testing::JetTable;

Value Text(const char* text) {
  return std::string(text);
}

void Set(Table& table, RowId row, std::size_t column, const Value& value) {
  table.Update(row, {&column, 1}, {&value, 1});
}

const ExpressionSources kSources = {[] { return CivilTime{2004, 2, 29, 13, 45, 10}; },
                                    [] { return std::string("{01234567-89AB-4DEF-8123-456789ABCDEF}"); }};

class RuleCheckTest : public ::testing::Test {
 protected:
  /// A table with rules that are not in the catalog.
  Table& Open(const JetTable& design, TableRules rules) {
    table_ = std::make_unique<Table>(database_->Pages(), database_.Add(design).Definition(), std::move(rules), nullptr,
                                     kSources);
    return *table_;
  }
  static ColumnRules Default(const std::string& expression) {
    ColumnRules rules;
    rules.defaultValue = expression;
    return rules;
  }
  static ColumnRules Rule(const std::string& expression, const std::string& text = {}) {
    ColumnRules rules;
    rules.validationRule = expression;
    rules.validationText = text;
    return rules;
  }

  /// Runs `action`, expects it to fail with this number and to leave every page as it was; returns its text.
  std::string RefusedText(const std::function<void()>& action, std::int32_t number = errors::kJetConstraint) {
    const auto before = database_.Pages();
    const Error error = ErrorOf(action);
    EXPECT_EQ(error.Number(), number);
    EXPECT_TRUE(database_.Pages() == before);
    return error.Description();
  }

  JetDatabase database_;
  std::unique_ptr<Table> table_;
};

TEST_F(RuleCheckTest, UnassignedFieldsOfANewRowGetTheirDefaultValues) {
  JetTable design = JetTable("T")
                        .Column("L", ColumnType::Long)
                        .Text("T", 20)
                        .Column("D", ColumnType::DateTime)
                        .Column("B", ColumnType::Boolean)
                        .Column("G", ColumnType::Guid)
                        .Column("C", ColumnType::Currency)
                        .Column("P", ColumnType::Decimal)
                        .Column("M", ColumnType::Memo)
                        .Column("N", ColumnType::Byte);
  Table& table = Open(design, {{Default("0"),
                                Default("=\"new \"\"one\"\"\""),
                                Default("Date()"),
                                Default("Yes"),
                                Default("GenGUID()"),
                                Default("1.25"),
                                Default("-2.5"),
                                Default("\"memo\""),
                                {}}});
  JetRecordset rows(table);
  rows.AddNew();
  EXPECT_EQ(rows.FieldValue(0), Value(Null()));
  EXPECT_EQ(rows.FieldValue(3), Value(false));
  rows.Update();
  const std::vector<Value> expected = {std::int32_t{0},
                                       Text("new \"one\""),
                                       DateFromCivil({2004, 2, 29, 0, 0, 0}),
                                       true,
                                       Text("{01234567-89AB-4DEF-8123-456789ABCDEF}"),
                                       Currency{12500},
                                       Text("-2.5000"),
                                       Text("memo"),
                                       Null()};
  EXPECT_EQ(table.ReadRow(*table.First()), expected);
}

TEST_F(RuleCheckTest, AssignedFieldsKeepWhatWasAssigned) {
  JetTable design = JetTable("T").Column("L", ColumnType::Long).Column("B", ColumnType::Boolean).Text("X", 9);
  Table& table = Open(design, {{Default("5"), Default("True"), Default("Unknown()")}});
  JetRecordset rows(table);
  rows.AddNew();
  rows.SetFieldValue(0, Null());
  rows.SetFieldValue(1, false);
  rows.SetFieldValue(2, Text("x"));
  rows.Update();
  EXPECT_EQ(table.ReadRow(*table.First()), (std::vector<Value>{Null(), false, Text("x")}));
}

TEST_F(RuleCheckTest, DefaultThatIsNotUnderstoodIsRefusedWhereItWouldBeNeeded) {
  Table& table = Open(JetTable("T").Text("A", 9).Text("B", 9), {{Default("DLookup(\"x\")")}});
  JetRecordset rows(table);
  rows.AddNew();
  rows.SetFieldValue(1, Text("b"));
  EXPECT_EQ(RefusedText([&] { rows.Update(); }, errors::kJetGeneral),
            "Not supported: table 'T', column 'A': its default value 'DLookup(\"x\")' is not understood. Nothing was "
            "changed.");
}

TEST_F(RuleCheckTest, DefaultThatDoesNotFitItsColumnIsRefusedByName) {
  Table& table = Open(JetTable("T").Column("N", ColumnType::Byte).Text("B", 9), {{Default("256")}});
  JetRecordset rows(table);
  rows.AddNew();
  EXPECT_EQ(RefusedText([&] { rows.Update(); }), "Overflow. Table 'T', column 'N'.");
}

TEST_F(RuleCheckTest, AutonumberIsDrawnWhateverItsDefaultSays) {
  Table& table = Open(JetTable("T").Autonumber("ID"), {{Default("0")}});
  JetRecordset rows(table);
  rows.AddNew();
  rows.Update();
  rows.AddNew();
  rows.Update();
  EXPECT_EQ(rows.FieldValue(0), Value(std::int32_t{2}));
}

TEST_F(RuleCheckTest, BrokenRuleIsRefusedByNameAndText) {
  Table& table = Open(JetTable("T").Column("N", ColumnType::Long).Text("X", 9), {{Rule(">0 And <10")}});
  const std::string expected =
      "One or more values are prohibited by the validation rule '>0 And <10' set for 'T.N'. Enter a value that the "
      "expression for this field can accept.";
  EXPECT_EQ(RefusedText([&] { table.Insert({std::int32_t{0}, Null()}); }), expected);
  const RowId row = table.Insert({std::int32_t{9}, Null()});
  EXPECT_EQ(RefusedText([&] { Set(table, row, 0, std::int32_t{10}); }), expected);
  Set(table, row, 0, std::int32_t{1});
}

TEST_F(RuleCheckTest, ValidationTextIsSaidInsteadOfTheRule) {
  Table& table = Open(JetTable("T").Column("N", ColumnType::Long), {{Rule(">0", "Must be more than nothing.")}});
  EXPECT_EQ(RefusedText([&] { table.Insert({std::int32_t{0}}); }), "Must be more than nothing. Table 'T', column 'N'.");
}

TEST_F(RuleCheckTest, NullBreaksOnlyARuleThatAsksForAValue) {
  Table& table = Open(JetTable("T").Column("N", ColumnType::Long).Column("M", ColumnType::Long),
                      {{Rule(">0"), Rule("Is Not Null")}});
  const RowId row = table.Insert({Null(), std::int32_t{1}});
  RefusedText([&] { table.Insert({std::int32_t{1}, Null()}); });
  RefusedText([&] { Set(table, row, 1, Null()); });
}

TEST_F(RuleCheckTest, RuleOfAnotherColumnIsNotAskedAgain) {
  Table& table = Open(JetTable("T").Column("N", ColumnType::Long).Text("X", 9), {});
  const RowId row = table.Insert({std::int32_t{0}, Null()});
  Table ruled(database_->Pages(), table.Definition(), {{Rule(">0")}});
  Set(ruled, row, 1, Text("x"));
  RefusedText([&] { Set(ruled, row, 0, std::int32_t{-1}); });
}

TEST_F(RuleCheckTest, RuleOfTheTableSeesTheRowAsItWillBe) {
  JetTable design = JetTable("T").Column("FROM", ColumnType::DateTime).Column("TO", ColumnType::DateTime).Text("X", 9);
  Table& table = Open(design, {{}, "[FROM] <= [TO]", ""});
  const Value early = DateFromCivil({2004, 1, 1, 0, 0, 0});
  const Value late = DateFromCivil({2004, 1, 2, 0, 0, 0});
  EXPECT_EQ(RefusedText([&] {
              table.Insert({late, early, Null()});
            }),
            "One or more values are prohibited by the validation rule '[FROM] <= [TO]' set for 'T'. Enter a value that "
            "the expression for this field can accept.");
  table.Insert({late, Null(), Null()});
  const RowId row = table.Insert({early, early, Null()});
  RefusedText([&] { Set(table, row, 0, late); });
  Set(table, row, 1, late);
  Set(table, row, 0, late);
}

TEST_F(RuleCheckTest, ValidationTextOfTheTableNamesTheTable) {
  Table& table = Open(JetTable("T").Column("N", ColumnType::Long), {{}, "[N] > 0", "No."});
  EXPECT_EQ(RefusedText([&] { table.Insert({std::int32_t{0}}); }), "No. Table 'T'.");
}

TEST_F(RuleCheckTest, RuleThatIsNotUnderstoodRefusesValuesForItsColumnOnly) {
  Table& table = Open(JetTable("T").Column("N", ColumnType::Long).Text("X", 9), {{Rule("IsNumeric([N])")}});
  EXPECT_EQ(RefusedText(
                [&] {
                  table.Insert({std::int32_t{1}, Null()});
                },
                errors::kJetGeneral),
            "Not supported: table 'T', column 'N': its validation rule 'IsNumeric([N])' is not understood. Nothing was "
            "changed.");
  const RowId row = table.Insert({Null(), Text("a")});
  Set(table, row, 1, Text("b"));
  RefusedText([&] { Set(table, row, 0, std::int32_t{1}); }, errors::kJetGeneral);
  table.Delete(row);
}

TEST_F(RuleCheckTest, RuleThatCannotBeAppliedToAValueIsNotUnderstood) {
  Table& table = Open(JetTable("T").Text("X", 9), {{Rule(">5")}});
  EXPECT_NE(RefusedText([&] { table.Insert({Text("a")}); }, errors::kJetGeneral).find("'>5' is not understood"),
            std::string::npos);
}

TEST_F(RuleCheckTest, TableRuleThatIsNotUnderstoodRefusesEveryRow) {
  Table& table = Open(JetTable("T").Column("N", ColumnType::Long), {});
  const RowId row = table.Insert({std::int32_t{1}});
  Table ruled(database_->Pages(), table.Definition(), {{}, "Eval(1)", ""});
  EXPECT_EQ(RefusedText([&] { ruled.Insert({Null()}); }, errors::kJetGeneral),
            "Not supported: table 'T': its validation rule 'Eval(1)' is not understood. Nothing was changed.");
  RefusedText([&] { Set(ruled, row, 0, std::int32_t{2}); }, errors::kJetGeneral);
  ruled.Delete(row);
}

TEST_F(RuleCheckTest, RulesOfRowsThatACascadeChangesAreChecked) {
  database_.Add(JetTable("P").Column("K", ColumnType::Long).PrimaryKey("K"));
  JetTable design = JetTable("F").Column("K", ColumnType::Long);
  TableSpec foreignDesign = design.Spec();
  // One property, ValidationRule "<10", of column K.
  const auto append = [&](const auto value) {
    foreignDesign.properties.resize(foreignDesign.properties.size() + sizeof(value));
    StoreLittle(foreignDesign.properties.data() + foreignDesign.properties.size() - sizeof(value), value);
  };
  const auto appendText = [&](std::u16string_view text) {
    append(static_cast<std::uint16_t>(2 * text.size()));
    for (const char16_t unit : text) append(static_cast<std::uint16_t>(unit));
  };
  append(std::uint32_t{0x0032524D});
  append(std::uint32_t{6 + 2 + 28});
  append(std::uint16_t{0x80});
  appendText(u"ValidationRule");
  append(std::uint32_t{6 + 8 + 8 + 6});
  append(std::uint16_t{1});
  append(std::uint32_t{8});
  appendText(u"K");
  append(std::uint16_t{8 + 6});
  append(std::uint8_t{1});
  append(std::uint8_t{12});
  append(std::uint16_t{0});
  appendText(u"<10");
  database_->CreateTable(foreignDesign, mv::testing::kJetCreated);
  database_->CreateRelation({"R", "F", {"K"}, "P", {"K"}, true, RelationSpec::OnDelete::Refuse},
                            mv::testing::kJetCreated);
  Table& primary = database_->OpenTable("P");
  Table& foreign = database_->OpenTable("F");
  const RowId row = primary.Insert({std::int32_t{1}});
  foreign.Insert({std::int32_t{1}});
  EXPECT_NE(RefusedText([&] { Set(primary, row, 0, std::int32_t{10}); }).find("'<10' set for 'F.K'"),
            std::string::npos);
  Set(primary, row, 0, std::int32_t{9});
  EXPECT_EQ(foreign.ReadValue(*foreign.First(), 0), Value(std::int32_t{9}));
}

}  // namespace
}  // namespace mv::jet
