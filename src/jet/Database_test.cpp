#include "jet/Database.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "base/ByteOrder.h"
#include "base/Error.h"
#include "jet/file/JetErrors.h"
#include "support/ExpectError.h"
#include "support/ExpectSound.h"
#include "support/ExternalTool.h"
#include "support/Hex.h"
#include "support/MemoryFileSystem.h"
#include "support/TempFolder.h"

namespace mv::jet {
namespace {

using testing::ErrorNumberOf;
using testing::ErrorOf;
using testing::FromHex;
using Strings = std::vector<std::string>;

const CivilTime kCreated{2026, 11, 21, 14, 5, 9};

ColumnSpec Typed(const std::string& name, ColumnType type, std::uint16_t characters = 0) {
  ColumnSpec column;
  column.name = name;
  column.type = type;
  column.characters = characters;
  return column;
}

IndexSpec Index(const std::string& name, const std::string& column) {
  IndexSpec index;
  index.name = name;
  index.columns = {{column}};
  return index;
}

IndexSpec PrimaryKey(const std::string& column) {
  IndexSpec index = Index("PrimaryKey", column);
  index.primaryKey = true;
  return index;
}

TableSpec Parts(const std::string& name = "Parts") {
  return {name,
          {Typed("Code", ColumnType::Text, 20), Typed("Price", ColumnType::Currency), Typed("Notes", ColumnType::Memo)},
          {PrimaryKey("Code")}};
}

template <typename Number>
std::string Numbered(const std::string& letter, Number number) {
  return letter + std::to_string(number);
}

class DatabaseTest : public ::testing::Test {
 protected:
  static constexpr const char* kPath = "data.mdb";

  DatabaseTest() : database_(Database::Create(files_, kPath, kCreated)) {}

  /// Writes the database and lets go of the file.
  void CommitAndClose() {
    database_->Commit();
    database_.reset();
  }

  std::unique_ptr<Database> Open(PageFile::Mode mode = PageFile::Mode::ReadWrite) {
    return Database::Open(files_, kPath, mode);
  }

  /// The error that opening the closed file with some bytes replaced raises.
  Error OpenChanged(std::size_t at, std::string_view hex, PageFile::Mode mode = PageFile::Mode::ReadWrite) {
    Bytes content = files_.Content(kPath);
    const Bytes bytes = FromHex(hex);
    std::copy(bytes.begin(), bytes.end(), content.begin() + static_cast<std::ptrdiff_t>(at));
    files_.Put("changed.mdb", content);
    return ErrorOf([&] { Database::Open(files_, "changed.mdb", mode); });
  }

  /// Adds a row of MSysObjects and returns its address.
  RowId AddObject(const std::string& name, std::int16_t type, std::int32_t flags, std::int32_t id) {
    Table& objects = database_->OpenTable("MSysObjects");
    std::vector<Value> values(objects.Definition().columns.size());
    values[Position(objects, "Id")] = id;
    values[Position(objects, "ParentId")] = std::int32_t{0x0F000001};
    values[Position(objects, "Name")] = name;
    values[Position(objects, "Type")] = type;
    values[Position(objects, "Flags")] = flags;
    return objects.Insert(std::move(values));
  }

  static std::size_t Position(const Table& table, const std::string& column) {
    const std::vector<Column>& columns = table.Definition().columns;
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (columns[i].name == column) return i;
    }
    ADD_FAILURE() << "no column " << column;
    return 0;
  }

  /// The row of a table whose column has a value; fails the test when there is none.
  static RowId RowWhere(const Table& table, const std::string& column, const Value& value) {
    for (auto row = table.First(); row; row = table.Next(*row)) {
      if (table.ReadValue(*row, Position(table, column)) == value) return *row;
    }
    ADD_FAILURE() << "no row";
    return {};
  }

  testing::MemoryFileSystem files_;
  std::unique_ptr<Database> database_;
};

TEST_F(DatabaseTest, MissingFileIsNotFound) {
  const Error error = ErrorOf([&] { Database::Open(files_, "missing.mdb", PageFile::Mode::ReadWrite); });
  EXPECT_EQ(error.Number(), errors::kJetGeneral);
  EXPECT_EQ(error.Description(), "Could not find file 'missing.mdb'.");
}

TEST_F(DatabaseTest, FileHeldForWritingIsInUse) {
  CommitAndClose();
  const auto first = Open();
  EXPECT_EQ(ErrorOf([&] { Open(); }).Description(), "Could not use 'data.mdb'; file already in use.");
}

TEST_F(DatabaseTest, FilesOfOtherKindsAreRefusedEachWithItsText) {
  CommitAndClose();
  EXPECT_EQ(OpenChanged(0, "01").Description(), "Unrecognized database format 'changed.mdb'.");
  EXPECT_NE(OpenChanged(0x14, "00").Description().find("Access 97"), std::string::npos);
  EXPECT_NE(OpenChanged(0x14, "02").Description().find("newer version"), std::string::npos);
  EXPECT_NE(OpenChanged(0x0D, "41 43 45").Description().find("ACE"), std::string::npos);
  EXPECT_EQ(OpenChanged(0x42, "00").Number(), errors::kJetNotAValidPassword);
}

TEST_F(DatabaseTest, Access97FileWithHalfAPageAtItsEndIsNotCalledDamaged) {
  CommitAndClose();
  Bytes content = files_.Content(kPath);
  content[0x14] = 0;
  content.resize(content.size() + 2048);
  files_.Put("old.mdb", content);
  const Error error = ErrorOf([&] { Database::Open(files_, "old.mdb", PageFile::Mode::ReadOnly); });
  EXPECT_NE(error.Description().find("Access 97"), std::string::npos) << error.Description();
}

TEST_F(DatabaseTest, LengthThatIsNoMultipleOfAPageIsRefused) {
  CommitAndClose();
  Bytes content = files_.Content(kPath);
  content.resize(content.size() - 1);
  files_.Put("cut.mdb", content);
  EXPECT_EQ(ErrorNumberOf([&] { Database::Open(files_, "cut.mdb", PageFile::Mode::ReadOnly); }), errors::kJetGeneral);
}

TEST_F(DatabaseTest, UnfinishedWriteOfSomebodyElseForbidsWritingButNotReading) {
  CommitAndClose();
  EXPECT_NE(OpenChanged(0xE02, "00 00").Description().find("commit word 1"), std::string::npos);
  EXPECT_NO_THROW(Database::Open(files_, "changed.mdb", PageFile::Mode::ReadOnly));
}

TEST_F(DatabaseTest, CatalogWithoutItsColumnsIsDamaged) {
  CommitAndClose();
  // The type of the first column block of MSysObjects' neighbour: MSysACEs loses its Long "ACM".
  const std::size_t acm = 3 * kPageSize + 63 + 12;
  EXPECT_EQ(OpenChanged(acm, "05").Number(), errors::kJetGeneral);
}

TEST_F(DatabaseTest, TableNamesAreTheUsersTablesInCatalogOrder) {
  database_->CreateTable(Parts("Zebra"), kCreated);
  database_->CreateTable(Parts("Ant"), kCreated);
  AddObject("Hidden", 1, 8, 900);
  AddObject("OfAccess", 1, 2, 901);
  AddObject("MSysMine", 1, 0, 902);
  AddObject("~TMPCLP1", 1, 0, 903);
  AddObject("Query", 5, 0, -1);
  AddObject("Linked", 6, 0, -2);
  EXPECT_EQ(database_->TableNames(), (Strings{"Zebra", "Ant"}));
}

TEST_F(DatabaseTest, OpenTableIgnoresCaseAndGivesTheSameObject) {
  database_->CreateTable(Parts("\u00C4pfel"), kCreated);
  Table& table = database_->OpenTable("\u00C4pfel");
  EXPECT_EQ(&database_->OpenTable("\u00E4PFEL"), &table);
  EXPECT_EQ(table.Definition().name, "\u00C4pfel");
}

TEST_F(DatabaseTest, OpenTablePrefersTheNameSpelledAlike) {
  database_->CreateTable(Parts("\u0463"), kCreated);
  database_->CreateTable(Parts("other"), kCreated);
  Table& objects = database_->OpenTable("MSysObjects");
  const std::size_t column = Position(objects, "Name");
  const Value name = std::string("\u0462");
  objects.Update(RowWhere(objects, "Name", std::string("other")), std::span(&column, 1), std::span(&name, 1));
  EXPECT_EQ(database_->OpenTable("\u0462").Definition().name, "\u0462");
  EXPECT_EQ(database_->OpenTable("\u0463").Definition().name, "\u0463");
}

TEST_F(DatabaseTest, UnknownTableHasTheProvidersError) {
  const Error error = ErrorOf([&] { database_->OpenTable("brnd_Fuel"); });
  EXPECT_EQ(error.Number(), -2147217865);
  EXPECT_EQ(
      error.Description(),
      "The Microsoft Jet database engine cannot find the input table or query 'brnd_Fuel'. Make sure it exists and "
      "that its name is spelled correctly.");
}

TEST_F(DatabaseTest, ContainersAndFormsAreNoTables) {
  AddObject("Form1", -32768, 0, -1);
  EXPECT_EQ(ErrorNumberOf([&] { database_->OpenTable("Tables"); }), -2147217865);
  EXPECT_EQ(ErrorNumberOf([&] { database_->OpenTable("Form1"); }), -2147217865);
}

TEST_F(DatabaseTest, QueriesAndLinkedTablesAreRefusedByName) {
  AddObject("Totals", 5, 0, -1);
  AddObject("Remote", 6, 0, -2);
  AddObject("Server", 4, 0, 905);
  EXPECT_EQ(ErrorOf([&] { database_->OpenTable("totals"); }).Description(),
            "Not supported: 'Totals' is a query, not a table. Nothing was changed.");
  EXPECT_EQ(ErrorOf([&] { database_->OpenTable("Remote"); }).Description(),
            "Not supported: 'Remote' is a linked table; its rows are in another database. Nothing was changed.");
  EXPECT_NE(ErrorOf([&] { database_->OpenTable("Server"); }).Description().find("linked table"), std::string::npos);
}

TEST_F(DatabaseTest, TableWhoseDefinitionIsElsewhereIsDamaged) {
  AddObject("Nowhere", 1, 0, 4000);
  AddObject("Negative", 1, 0, -7);
  AddObject("Rows", 1, 0, 15);
  for (const char* name : {"Nowhere", "Negative", "Rows"}) {
    EXPECT_EQ(ErrorNumberOf([&] { database_->OpenTable(name); }), errors::kJetGeneral) << name;
    EXPECT_EQ(ErrorNumberOf([&] { database_->OpenTable(name); }), errors::kJetGeneral) << name;
  }
}

TEST_F(DatabaseTest, ObjectWithoutANameIsDamage) {
  Table& objects = database_->OpenTable("MSysObjects");
  const std::size_t column = Position(objects, "Name");
  const Value null;
  objects.Update(RowWhere(objects, "Name", std::string("MSysDb")), std::span(&column, 1), std::span(&null, 1));
  const Error error = ErrorOf([&] { database_->TableNames(); });
  EXPECT_EQ(error.Description(),
            "The database file is damaged: a row of table 'MSysObjects' lacks its Name. Nothing was changed.");
}

TEST_F(DatabaseTest, RulesOfThePropertyListAreEnforced) {
  database_->CreateTable({"users", {Typed("name", ColumnType::Text, 20), Typed("email", ColumnType::Text, 20)}, {}},
                         kCreated);
  Table& objects = database_->OpenTable("MSysObjects");
  const std::size_t column = Position(objects, "LvProp");
  const Value list = FromHex(
      "4D 52 32 00 | 38 00 00 00 80 00 | 10 00 \"Required\" | 1E 00 \"AllowZeroLength\""
      "1D 00 00 00 01 00 | 0E 00 00 00 08 00 \"name\" | 09 00 01 01 00 00 01 00 01"
      "1F 00 00 00 01 00 | 10 00 00 00 0A 00 \"email\" | 09 00 01 01 01 00 01 00 00");
  objects.Update(RowWhere(objects, "Name", std::string("users")), std::span(&column, 1), std::span(&list, 1));
  Table& users = database_->OpenTable("users");
  EXPECT_EQ(ErrorNumberOf([&] { users.Insert({Null{}, std::string("e")}); }), errors::kJetConstraint);
  EXPECT_EQ(ErrorNumberOf([&] { users.Insert({std::string("n"), std::string()}); }), errors::kJetConstraint);
  EXPECT_NO_THROW(users.Insert({std::string(), Null{}}));
}

TEST_F(DatabaseTest, PropertyListOfANewTableIsKeptAndEnforced) {
  TableSpec users = {"users", {Typed("name", ColumnType::Text, 20)}, {}};
  users.properties = FromHex(
      "4D 52 32 00 | 18 00 00 00 80 00 | 10 00 \"Required\""
      "1D 00 00 00 01 00 | 0E 00 00 00 08 00 \"name\" | 09 00 01 01 00 00 01 00 01");
  database_->CreateTable(users, kCreated);
  CommitAndClose();
  const auto database = Open();
  EXPECT_EQ(database->PropertyList(database->Objects().back()), users.properties);
  EXPECT_EQ(ErrorNumberOf([&] { database->OpenTable("users").Insert({Null{}}); }), errors::kJetConstraint);
}

TEST_F(DatabaseTest, PropertyListThatContradictsItselfRefusesTheTableToWriters) {
  database_->CreateTable(Parts(), kCreated);
  Table& objects = database_->OpenTable("MSysObjects");
  const std::size_t column = Position(objects, "LvProp");
  const Value list = FromHex("4D 52 32 00 | 39");
  objects.Update(RowWhere(objects, "Name", std::string("Parts")), std::span(&column, 1), std::span(&list, 1));
  const Error error = ErrorOf([&] { database_->OpenTable("Parts"); });
  EXPECT_EQ(error.Number(), errors::kJetGeneral);
  EXPECT_NE(error.Description().find("'Parts'"), std::string::npos);
  CommitAndClose();
  EXPECT_EQ(Open(PageFile::Mode::ReadOnly)->OpenTable("Parts").Count(), 0);
}

TEST_F(DatabaseTest, PropertyListThatContradictsItselfIsNotGivenToANewTable) {
  TableSpec parts = Parts();
  parts.properties = FromHex("4D 52 32 00 | 39");
  EXPECT_EQ(ErrorNumberOf([&] { database_->CreateTable(parts, kCreated); }), errors::kJetGeneral);
  EXPECT_EQ(database_->TableNames(), Strings());
}

TEST_F(DatabaseTest, NewTableTakesDefinitionMapsAndRootsInThatOrder) {
  TableSpec design = Parts();
  design.indexes.push_back(Index("byPrice", "Price"));
  database_->CreateTable(design, kCreated);
  const TableDefinition& table = database_->OpenTable("Parts").Definition();
  EXPECT_EQ(table.page, 16u);
  EXPECT_EQ(table.ownedPages, (RowId{17, 0}));
  EXPECT_EQ(table.freeSpacePages, (RowId{17, 1}));
  EXPECT_EQ(table.indexData[0].map, (RowId{17, 2}));
  EXPECT_EQ(table.indexData[1].map, (RowId{17, 3}));
  EXPECT_EQ(table.columns[2].longValuePages, (RowId{17, 4}));
  EXPECT_EQ(table.columns[2].longValueFreeSpace, (RowId{17, 5}));
  EXPECT_EQ(table.indexData[0].root, 18u);
  EXPECT_EQ(table.indexData[1].root, 19u);
  EXPECT_EQ(UsageMap(database_->Pages(), table.indexData[1].map).Pages(), std::vector<PageNumber>{19});
  EXPECT_TRUE(UsageMap(database_->Pages(), table.ownedPages).Pages().empty());
  EXPECT_EQ(database_->Pages().PageCount(), 20u);
}

TEST_F(DatabaseTest, NewTableIsInTheCatalogWithTheRightsThatTablesInherit) {
  database_->CreateTable(Parts(), CivilTime{2026, 12, 1, 0, 0, 0});
  const Header header = Header::FromPage(database_->Pages().Read(0));
  const Table& objects = database_->OpenTable("MSysObjects");
  const RowId row = RowWhere(objects, "Name", std::string("Parts"));
  const auto value = [&](const char* column) { return objects.ReadValue(row, Position(objects, column)); };
  EXPECT_EQ(value("Id"), Value(std::int32_t{16}));
  EXPECT_EQ(value("ParentId"), Value(std::int32_t{0x0F000001}));
  EXPECT_EQ(value("Type"), Value(std::int16_t{1}));
  EXPECT_EQ(value("Flags"), Value(std::int32_t{0}));
  EXPECT_EQ(value("Owner"), Value(header.Identifier(Account::Admin)));
  EXPECT_EQ(value("DateCreate"), Value(DateFromCivil({2026, 12, 1, 0, 0, 0})));
  EXPECT_EQ(value("DateUpdate"), value("DateCreate"));
  EXPECT_EQ(value("LvProp"), Value(Null{}));

  const Table& permissions = database_->OpenTable("MSysACEs");
  std::vector<std::vector<Value>> rights;
  for (auto at = permissions.First(); at; at = permissions.Next(*at)) {
    if (permissions.ReadValue(*at, Position(permissions, "ObjectId")) != Value(std::int32_t{16})) continue;
    rights.push_back({permissions.ReadValue(*at, Position(permissions, "SID")),
                      permissions.ReadValue(*at, Position(permissions, "ACM")),
                      permissions.ReadValue(*at, Position(permissions, "FInheritable"))});
  }
  const std::vector<std::vector<Value>> expected = {{header.Identifier(Account::Admin), std::int32_t{0xF00FE}, false},
                                                    {header.Identifier(Account::Users), std::int32_t{0xFFEFF}, false}};
  EXPECT_EQ(rights, expected);
}

TEST_F(DatabaseTest, NameInUseIsRefusedWithoutRegardToCaseAndForQueriesToo) {
  database_->CreateTable(Parts(), kCreated);
  AddObject("Totals", 5, 0, -1);
  const Error error = ErrorOf([&] { database_->CreateTable(Parts("PARTS"), kCreated); });
  EXPECT_EQ(error.Number(), errors::kJetConstraint);
  EXPECT_EQ(error.Description(), "Table 'PARTS' already exists.");
  EXPECT_EQ(ErrorNumberOf([&] { database_->CreateTable(Parts("totals"), kCreated); }), errors::kJetConstraint);
  EXPECT_EQ(ErrorNumberOf([&] { database_->CreateTable(Parts("MSysACEs"), kCreated); }), errors::kJetConstraint);
}

TEST_F(DatabaseTest, RefusedTableChangesNothing) {
  database_->Commit();
  TableSpec bad = Parts();
  bad.columns.push_back(bad.columns[0]);
  EXPECT_EQ(ErrorNumberOf([&] { database_->CreateTable(bad, kCreated); }), errors::kJetConstraint);
  EXPECT_FALSE(database_->Changed());
  EXPECT_EQ(database_->Pages().PageCount(), 16u);
}

TEST_F(DatabaseTest, IndexThatCannotBeKeptIsNotSupported) {
  TableSpec design{"T", {Typed("D", ColumnType::Decimal)}, {Index("byD", "D")}};
  design.indexes[0].columns[0].ascending = false;
  const Error error = ErrorOf([&] { database_->CreateTable(design, kCreated); });
  EXPECT_EQ(error.Number(), errors::kJetGeneral);
  EXPECT_NE(error.Description().find("byD"), std::string::npos) << error.Description();
}

TEST_F(DatabaseTest, CreationThatFailsHalfWayIsTakenBackWhole) {
  // The index of the catalog holds a key of this id already, so the catalog row is refused after pages were taken.
  AddObject("Squatter", 1, 0, 16);
  database_->Commit();
  EXPECT_EQ(ErrorNumberOf([&] { database_->CreateTable(Parts(), kCreated); }), errors::kJetConstraint);
  EXPECT_FALSE(database_->Changed());
  EXPECT_EQ(database_->Pages().PageCount(), 16u);
}

TEST_F(DatabaseTest, TableWithManyMapsAndALongDefinitionReadsBack) {
  TableSpec design{"Wide", {}, {}};
  for (int i = 0; i < 60; ++i) design.columns.push_back(Typed(Numbered("Memo column ", i), ColumnType::Memo));
  for (int i = 0; i < 32; ++i) {
    design.columns.push_back(Typed(Numbered("Number ", i), ColumnType::Long));
    design.indexes.push_back(Index(Numbered("Index over number ", i), Numbered("Number ", i)));
  }
  database_->CreateTable(design, kCreated);
  CommitAndClose();
  database_ = Open();
  Table& table = database_->OpenTable("Wide");
  EXPECT_GT(table.Definition().pages.size(), 1u);
  EXPECT_EQ(table.Definition().columns[59].name, "Memo column 59");
  EXPECT_NE(table.Definition().columns[59].longValuePages.page, table.Definition().ownedPages.page);
  std::vector<Value> row(92, Null{});
  row[59] = std::string(5000, 'x');
  row[91] = std::int32_t{7};
  const RowId at = table.Insert(row);
  EXPECT_EQ(table.ReadRow(at), row);
}

TEST_F(DatabaseTest, CommittedTableIsThereWhenTheFileIsOpenedAnew) {
  database_->CreateTable(Parts(), kCreated);
  database_->OpenTable("Parts").Insert({std::string("bolt"), Currency{12500}, std::string("n")});
  CommitAndClose();
  const auto again = Open(PageFile::Mode::ReadOnly);
  Table& table = again->OpenTable("parts");
  ASSERT_EQ(table.Count(), 1);
  EXPECT_EQ(table.ReadRow(*table.First()),
            (std::vector<Value>{std::string("bolt"), Currency{12500}, std::string("n")}));
}

TEST_F(DatabaseTest, WithoutCommitNothingReachesTheFile) {
  database_->CreateTable(Parts(), kCreated);
  EXPECT_TRUE(database_->Changed());
  database_.reset();
  EXPECT_FALSE(files_.FileExists(kPath));
}

/// A database on disk with a table of every column type, many rows, long values and a second table with deletions.
std::string MakeSample(const testing::TempFolder& folder) {
  const std::string path = (std::filesystem::path(folder.Path()) / "sample.mdb").string();
  const auto files = platform::MakeFileSystem();
  const auto database = Database::Create(*files, path, kCreated);
  ColumnSpec id = Typed("Id", ColumnType::Long);
  id.autonumber = true;
  TableSpec design{
      "All types",
      {id, Typed("Flag", ColumnType::Boolean), Typed("Small", ColumnType::Byte), Typed("Int", ColumnType::Integer),
       Typed("Money", ColumnType::Currency), Typed("Single", ColumnType::Single), Typed("Double", ColumnType::Double),
       Typed("When", ColumnType::DateTime), Typed("Text", ColumnType::Text, 50), Typed("Memo", ColumnType::Memo),
       Typed("Bin", ColumnType::Binary, 20), Typed("Ole", ColumnType::Ole), Typed("Guid", ColumnType::Guid),
       Typed("Dec", ColumnType::Decimal)},
      {PrimaryKey("Id"), Index("byText", "Text"), Index("byWhen", "When")}};
  design.indexes[2].columns[0].ascending = false;
  database->CreateTable(design, kCreated);
  Table& all = database->OpenTable("All types");
  for (std::int32_t i = 0; i < 300; ++i) {
    const auto size = static_cast<std::size_t>(i) * 20;
    all.Insert({Null{}, i % 2 == 0, static_cast<std::uint8_t>(i % 256), static_cast<std::int16_t>(-i),
                Currency{i * 1250}, 0.5f * static_cast<float>(i), 0.25 * i, Date{40000.5 + i},
                Numbered("text ", i % 50), std::string(size, 'm'), Bytes(20, 7), Bytes(size, 9),
                std::string("{01234567-89AB-CDEF-0123-456789ABCDEF}"), std::to_string(i)});
  }
  database->CreateTable(Parts(), kCreated);
  Table& parts = database->OpenTable("Parts");
  for (int i = 0; i < 200; ++i) parts.Insert({Numbered("code ", i), Currency{i}, Null{}});
  for (auto row = parts.First(); row; row = parts.Next(*row)) {
    if (row->slot % 3 == 0) parts.Delete(*row);
  }
  database->Commit();
  return path;
}

TEST(DatabaseByOthers, NewTablesAndRowsAreSound) {
  const testing::TempFolder folder;
  const std::string path = MakeSample(folder);
  testing::ExpectSound(platform::ReadWhole(*platform::MakeFileSystem(), path));
}

TEST(DatabaseByOthers, WideTableIsSound) {
  const testing::TempFolder folder;
  const std::string path = (std::filesystem::path(folder.Path()) / "wide.mdb").string();
  const auto files = platform::MakeFileSystem();
  auto database = Database::Create(*files, path, kCreated);
  for (int table = 0; table < 20; ++table) {
    TableSpec design{Numbered("Wide ", table), {}, {}};
    for (int i = 0; i < 60; ++i) design.columns.push_back(Typed(Numbered("Memo column ", i), ColumnType::Memo));
    for (int i = 0; i < 32; ++i) {
      design.columns.push_back(Typed(Numbered("Number ", i), ColumnType::Long));
      design.indexes.push_back(Index(Numbered("Index over number ", i), Numbered("Number ", i)));
    }
    database->CreateTable(design, kCreated);
    std::vector<Value> row(92, Null{});
    row[59] = std::string(5000, 'x');
    database->OpenTable(design.name).Insert(row);
  }
  EXPECT_GT(database->Pages().PageCount(), 512u);
  database->Commit();
  database.reset();
  testing::ExpectSound(platform::ReadWhole(*files, path));
}

TEST(DatabaseByOthers, AnotherReaderSeesTheSameTablesAndRows) {
  if (!testing::IsOnPath("mdb-tables") || !testing::IsOnPath("mdb-export")) {
    GTEST_SKIP() << "mdb-tables and mdb-export are not installed";
  }
  const testing::TempFolder folder;
  const std::string path = MakeSample(folder);
  EXPECT_EQ(testing::RunTool("mdb-tables -1 \"" + path + "\"").Lines(), (Strings{"All types", "Parts"}));

  const auto files = platform::MakeFileSystem();
  const auto database = Database::Open(*files, path, PageFile::Mode::ReadOnly);
  const Table& parts = database->OpenTable("Parts");
  Strings expected = {"Code,Price,Notes"};
  for (auto row = parts.First(); row; row = parts.Next(*row)) {
    const auto price = std::get<Currency>(parts.ReadValue(*row, 1)).tenThousandths;
    char text[16];
    std::snprintf(text, sizeof text, "0.%04d", static_cast<int>(price));
    expected.push_back("\"" + std::get<std::string>(parts.ReadValue(*row, 0)) + "\"," + text + ",");
  }
  EXPECT_EQ(testing::RunTool("mdb-export \"" + path + "\" Parts").Lines(), expected);
  EXPECT_EQ(testing::RunTool("mdb-export -b strip \"" + path + "\" \"All types\"").Lines().size(), 301u);
}

}  // namespace
}  // namespace mv::jet
