#include "mvtool/commands/Command.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "json/Json.h"
#include "mvtool/demo/DemoData.h"
#include "mvtool/demo/DemoFolder.h"
#include "mvtool/demo/SampleDatabase.h"
#include "mvtool/demo/SampleSchema.h"
#include "mvtool/text/SchemaJson.h"
#include "pdb/TableFile.h"
#include "run/Version.h"
#include "support/CommandTest.h"
#include "support/ExpectError.h"

namespace mv::tool {
namespace {

using testing::CommandTest;

constexpr std::string_view kSchema = R"({"tables":[
  {"name":"Shop","columns":[
     {"name":"KY_ID","type":"Text","size":20},{"name":"CU_COST","type":"Currency"},{"name":"DT_DAY","type":"DateTime"},
     {"name":"TX_NOTES","type":"Memo"},{"name":"BL_OPEN","type":"Boolean"},{"name":"NM_SIZE","type":"Double"},
     {"name":"NM_STARS","type":"Byte"},{"name":"BI_LOGO","type":"Binary","size":8}],
   "indexes":[{"name":"PrimaryKey","columns":["KY_ID"],"primary":true}],
   "rows":[{"KY_ID":"b","CU_COST":"12.5000","DT_DAY":"2024-05-17T08:30:00","TX_NOTES":"Zo\u00e9, \"x\"","BL_OPEN":true,
            "NM_SIZE":0.1,"NM_STARS":5,"BI_LOGO":"00ff"},
           {"KY_ID":"a"}]},
  {"name":"Empty","columns":[{"name":"N","type":"Long"}]}]})";

constexpr std::string_view kLines =
    "{\"name\":\"Parts\",\"creator\":\"BRND\",\"fields\":[{\"name\":\"KY_ID\",\"type\":5},{\"name\":\"NM\",\"type\":2}]"
    "}\n"
    "{\"_attributes\":64,\"_uniqueId\":17,\"KY_ID\":\"p,1\",\"NM\":3}\n"
    "{\"_attributes\":192,\"_uniqueId\":18,\"KY_ID\":\"\",\"NM\":-1}\n";

std::string RecordLines() {
  return std::string(kLines.substr(kLines.find('\n') + 1));
}

// --- The program ----------------------------------------------------------------------------------------------------

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

/// The commands that a line of the help names: "export, import    writes ...".
std::vector<std::string> CommandsOf(const std::string& line) {
  std::vector<std::string> names;
  std::istringstream in(line.substr(10, 16));
  for (std::string name; in >> name;) names.push_back(name.ends_with(',') ? name.substr(0, name.size() - 1) : name);
  return names;
}

TEST_F(CommandTest, HelpNamesEveryCommandOnceInTheirOrderBetweenAHeadingAndAHint) {
  EXPECT_EQ(Run({"--help"}), kSucceeded);
  const std::vector<std::string> lines = LinesOf(out_);
  std::vector<std::string> shown;
  for (std::size_t i = 1; i + 1 < lines.size(); ++i) {
    const std::vector<std::string> names = CommandsOf(lines[i]);
    EXPECT_LE(names.size(), 2u) << lines[i];
    shown.insert(shown.end(), names.begin(), names.end());
  }
  std::vector<std::string> expected;
  for (const Command& command : Commands()) expected.emplace_back(command.name);
  EXPECT_EQ(shown, expected);
  EXPECT_NE(out_.find("\nFiles     list            prints the names of a database's tables\n"), std::string::npos)
      << out_;
  EXPECT_NE(out_.find("\n          encode, decode  encodes (\"encrypts\") a database, makes it plain again\n"),
            std::string::npos)
      << out_;
  EXPECT_EQ(err_, "");
}

TEST_F(CommandTest, HelpFitsAScreenOf24LinesWithThePromptBelowIt) {
  Run({"--help"});
  EXPECT_LE(LinesOf(out_).size(), 23u);
}

TEST_F(CommandTest, CommandsOfAGroupFollowEachOtherInHelp) {
  const std::vector<Command> commands = Commands();
  EXPECT_TRUE(std::is_sorted(commands.begin(), commands.end(),
                             [](const Command& one, const Command& other) { return one.group < other.group; }));
}

TEST_F(CommandTest, EveryCommandHasASummaryAndASynopsisWithItsName) {
  for (const Command& command : Commands()) {
    EXPECT_FALSE(command.summary.empty()) << command.name;
    EXPECT_FALSE(command.summary.ends_with('.')) << command.name;
    EXPECT_TRUE(command.rules.synopsis.starts_with("mvtool " + std::string(command.name))) << command.rules.synopsis;
  }
}

TEST_F(CommandTest, HelpOfACommandIsThatCommandsAlone) {
  EXPECT_EQ(Run({"list", "--help"}), kSucceeded);
  EXPECT_EQ(out_, "mvtool list FILE.db\n  Prints the names of the database's tables, one a line.\n");
}

TEST_F(CommandTest, HelpOfACommandNamesEachOptionThatItTakes) {
  for (const Command& command : Commands()) {
    Run({std::string(command.name), "--help"});
    for (const auto& options : {command.rules.switches, command.rules.settings}) {
      for (const std::string_view option : options) {
        EXPECT_NE(out_.find("\n    " + std::string(option)), std::string::npos) << command.name << option;
      }
    }
  }
}

TEST_F(CommandTest, HelpFitsATerminal) {
  Run({"--help"});
  std::string all = out_;
  for (const Command& command : Commands()) {
    Run({std::string(command.name), "--help"});
    all += out_;
  }
  for (const std::string& line : LinesOf(all)) EXPECT_LE(line.size(), 80u) << line;
}

TEST_F(CommandTest, VersionIsThatOfTheProgram) {
  EXPECT_EQ(Run({"--version"}), kSucceeded);
  EXPECT_EQ(out_, "mvtool " + std::string(kProgramVersion) + "\n");
}

TEST_F(CommandTest, NoCommandIsNotUnderstood) {
  EXPECT_EQ(Run({}), kNotUnderstood);
  EXPECT_EQ(err_, "mvtool: a command is missing; \"mvtool --help\" lists them\n");
}

TEST_F(CommandTest, UnknownCommandIsNotUnderstood) {
  EXPECT_EQ(Run({"frob"}), kNotUnderstood);
  EXPECT_EQ(err_, "mvtool: unknown command \"frob\"; \"mvtool --help\" lists them\n");
}

TEST_F(CommandTest, MissingAndUnknownArgumentsAreNotUnderstood) {
  for (const auto& words : std::vector<std::vector<std::string>>{{"list"},
                                                                 {"list", "a", "b"},
                                                                 {"list", "--csv", "a"},
                                                                 {"show"},
                                                                 {"show", "a", "b", "c"},
                                                                 {"show", "a", "--csv", "--schema"},
                                                                 {"create", "a"},
                                                                 {"make"},
                                                                 {"make", "a", "b"},
                                                                 {"export", "a"},
                                                                 {"apply", "a"},
                                                                 {"apply", "a", "b", "--force"},
                                                                 {"template", "a"},
                                                                 {"demo"},
                                                                 {"demo", "a", "--rows"},
                                                                 {"demo", "a", "--rows", "0"},
                                                                 {"demo", "a", "--rows", "32001"},
                                                                 {"demo", "a", "--rows=1x"},
                                                                 {"runs", "a"},
                                                                 {"restore"},
                                                                 {"restore", "a", "b"},
                                                                 {"restore", "a", "--force"},
                                                                 {"send"},
                                                                 {"send", "a", "--from"},
                                                                 {"prune", "a"},
                                                                 {"prune", "--keep", "x"}}) {
    EXPECT_EQ(Run(words), kNotUnderstood) << ::testing::PrintToString(words);
    EXPECT_TRUE(err_.starts_with("mvtool: ")) << err_;
    EXPECT_EQ(out_, "");
  }
}

TEST_F(CommandTest, ArgumentThatIsNotUtf8IsReportedAsText) {
  EXPECT_EQ(Run({"\xFF\xFE"}), kNotUnderstood);
  EXPECT_EQ(err_, "mvtool: unknown command \"\xEF\xBF\xBD\xEF\xBF\xBD\"; \"mvtool --help\" lists them\n");
}

TEST_F(CommandTest, OutputThatCannotBeWrittenFails) {
  std::istringstream in;
  std::ostringstream out;
  std::ostringstream err;
  out.setstate(std::ios::badbit);
  ToolContext context{in, out, err, files_, clock_};
  EXPECT_EQ(RunTool(std::vector<std::string>{"--help"}, context), kOperationFailed);
  EXPECT_EQ(err.str(), "mvtool: the output could not be written\n");
}

// --- list, create, show ---------------------------------------------------------------------------------------------

TEST_F(CommandTest, CreatedTablesAreListed) {
  Put("s.json", kSchema);
  ASSERT_EQ(Run({"create", "new.db", "s.json"}), kSucceeded) << err_;
  EXPECT_EQ(Run({"list", "new.db"}), kSucceeded);
  EXPECT_EQ(out_, "Shop\nEmpty\n");
}

TEST_F(CommandTest, RowsOfADatabaseAreShownInPhysicalOrder) {
  Put("s.json", kSchema);
  ASSERT_EQ(Run({"create", "new.db", "s.json"}), kSucceeded) << err_;
  EXPECT_EQ(Run({"show", "new.db", "shop"}), kSucceeded);
  EXPECT_EQ(
      out_,
      "{\"KY_ID\":\"b\",\"CU_COST\":\"12.5000\",\"DT_DAY\":\"2024-05-17T08:30:00\",\"TX_NOTES\":\"Zoé, \\\"x\\\"\","
      "\"BL_OPEN\":true,\"NM_SIZE\":0.1,\"NM_STARS\":5,\"BI_LOGO\":\"00ff\"}\n"
      "{\"KY_ID\":\"a\",\"CU_COST\":null,\"DT_DAY\":null,\"TX_NOTES\":null,\"BL_OPEN\":false,\"NM_SIZE\":null,"
      "\"NM_STARS\":null,\"BI_LOGO\":null}\n");
}

TEST_F(CommandTest, RowsOfADatabaseAreShownAsCsv) {
  Put("s.json", kSchema);
  ASSERT_EQ(Run({"create", "new.db", "s.json"}), kSucceeded) << err_;
  EXPECT_EQ(Run({"show", "--csv", "new.db", "Shop"}), kSucceeded);
  EXPECT_EQ(out_,
            "KY_ID,CU_COST,DT_DAY,TX_NOTES,BL_OPEN,NM_SIZE,NM_STARS,BI_LOGO\r\n"
            "b,12.5000,2024-05-17T08:30:00,\"Zoé, \"\"x\"\"\",true,0.1,5,00ff\r\n"
            "a,,,,false,,,\r\n");
}

TEST_F(CommandTest, SchemaOfADatabaseTableMakesTheSameTableAgain) {
  Put("s.json", kSchema);
  ASSERT_EQ(Run({"create", "new.db", "s.json"}), kSucceeded) << err_;
  EXPECT_EQ(Run({"show", "--schema", "new.db", "Shop"}), kSucceeded);
  const std::string schema = out_;
  EXPECT_TRUE(
      schema.starts_with(R"({"name":"Shop","columns":[{"name":"KY_ID","type":"Text","size":20,"compressed":true},)"))
      << schema;
  Put("again.json", "{\"tables\":[" + schema + "]}");
  ASSERT_EQ(Run({"create", "again.db", "again.json"}), kSucceeded) << err_;
  Run({"show", "--schema", "again.db", "Shop"});
  EXPECT_EQ(out_, schema);
}

TEST_F(CommandTest, EmptyTableShowsNothing) {
  Put("s.json", kSchema);
  ASSERT_EQ(Run({"create", "new.db", "s.json"}), kSucceeded) << err_;
  EXPECT_EQ(Run({"show", "new.db", "Empty"}), kSucceeded);
  EXPECT_EQ(out_, "");
}

TEST_F(CommandTest, UnknownTableFailsWithTheEnginesText) {
  Put("s.json", kSchema);
  ASSERT_EQ(Run({"create", "new.db", "s.json"}), kSucceeded) << err_;
  EXPECT_EQ(Run({"show", "new.db", "Nowhere"}), kOperationFailed);
  EXPECT_EQ(err_,
            "mvtool: The Microsoft Jet database engine cannot find the input table or query 'Nowhere'. Make sure it "
            "exists and that its name is spelled correctly.\n");
}

TEST_F(CommandTest, DatabaseWithoutATableNameIsNotUnderstood) {
  Put("s.json", kSchema);
  ASSERT_EQ(Run({"create", "new.pdb", "s.json"}), kSucceeded) << err_;
  EXPECT_EQ(Run({"show", "new.pdb"}), kNotUnderstood);
  EXPECT_EQ(err_, "mvtool: a database holds several tables: name the one to show\n");
}

TEST_F(CommandTest, MissingFilesFail) {
  EXPECT_EQ(Run({"list", "no.db"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: Could not find file 'no.db'.\n");
  EXPECT_EQ(Run({"show", "no.pdb"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: no.pdb: File not found\n");
  EXPECT_EQ(Run({"create", "new.db", "no.json"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: no.json: File not found\n");
}

TEST_F(CommandTest, FileOfAnotherKindFails) {
  Put("text.db", "just some text");
  EXPECT_EQ(Run({"show", "text.db", "T"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: \"text.db\" is neither a database nor a table file\n");
}

TEST_F(CommandTest, CreateReplacesNothingWithoutForce) {
  Put("s.json", kSchema);
  Put("old.db", "old");
  EXPECT_EQ(Run({"create", "old.db", "s.json"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: \"old.db\" exists; --force replaces it\n");
  EXPECT_EQ(files_.Content("old.db"), (Bytes{'o', 'l', 'd'}));
  EXPECT_EQ(Run({"create", "old.db", "s.json", "--force"}), kSucceeded) << err_;
  Run({"list", "old.db"});
  EXPECT_EQ(out_, "Shop\nEmpty\n");
}

TEST_F(CommandTest, MistakeInASchemaIsNamedAndMakesNoFile) {
  Put("s.json", "{\"tables\":[{\"name\":\"T\",\n \"columns\":[{\"name\":\"A\",\"type\":\"Word\"}]}]}");
  EXPECT_EQ(Run({"create", "new.db", "s.json"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: s.json: line 2, column 32: unknown column type \"Word\"\n");
  EXPECT_FALSE(files_.FileExists("new.db"));
}

TEST_F(CommandTest, RowThatTheDatabaseRefusesIsNamedAndMakesNoFile) {
  Put("s.json",
      "{\"tables\":[{\"name\":\"T\",\"columns\":[{\"name\":\"A\",\"type\":\"Long\"}],\n"
      "\"indexes\":[{\"name\":\"PrimaryKey\",\"columns\":[\"A\"],\"primary\":true}],\n"
      "\"rows\":[{\"A\":1},\n{\"A\":1}]}]}");
  EXPECT_EQ(Run({"create", "new.db", "s.json"}), kOperationFailed);
  EXPECT_TRUE(err_.starts_with("mvtool: s.json: row at line 4, column 1: ")) << err_;
  EXPECT_FALSE(files_.FileExists("new.db"));
}

constexpr std::string_view kRelatedTables = R"({"tables":[
  {"name":"Visit","columns":[{"name":"N","type":"Long"},{"name":"SHOP","type":"Text","size":9}],"rows":[{"N":1,"SHOP":"A"}]},
  {"name":"Shop","columns":[{"name":"K","type":"Text","size":9}],
   "indexes":[{"name":"PrimaryKey","columns":["K"],"primary":true}],"rows":[{"K":"a"}]}],
  "relations":[
)";

TEST_F(CommandTest, CreatedRelationsAreEnforced) {
  Put("s.json", std::string(kRelatedTables) + R"({"name":"ShopVisit","table":"Visit","columns":["SHOP"],
      "references":"Shop","referencedColumns":["K"],"onUpdate":"cascade","onDelete":"cascade"}]})");
  ASSERT_EQ(Run({"create", "new.db", "s.json"}), kSucceeded) << err_;
  const auto database = jet::Database::Open(files_, "new.db", jet::PageFile::Mode::ReadWrite);
  jet::Table& shops = database->OpenTable("Shop");
  jet::Table& visits = database->OpenTable("Visit");
  EXPECT_EQ(testing::ErrorNumberOf([&] {
              visits.Insert({std::int32_t{2}, std::string("b")});
            }),
            errors::kJetConstraint);
  shops.Delete(*shops.First());
  EXPECT_EQ(visits.Count(), 0);
}

TEST_F(CommandTest, RelationThatTheDatabaseRefusesIsNamedAndMakesNoFile) {
  Put("s.json", std::string(kRelatedTables) + R"({"name":"R","table":"Shop","columns":["K"],
      "references":"Visit","referencedColumns":["SHOP"]}]})");
  EXPECT_EQ(Run({"create", "new.db", "s.json"}), kOperationFailed);
  EXPECT_EQ(
      err_,
      "mvtool: s.json: relation at line 6, column 1: Relation 'R': No unique index found for the referenced field "
      "of the primary table 'Visit'.\n");
  EXPECT_FALSE(files_.FileExists("new.db"));
}

// --- make, show -----------------------------------------------------------------------------------------------------

TEST_F(CommandTest, MadeTableFileIsShownAsItsLines) {
  ASSERT_EQ(Run({"make", "f.pdb"}, std::string(kLines)), kSucceeded) << err_;
  EXPECT_EQ(out_, "");
  EXPECT_EQ(Run({"show", "f.pdb"}), kSucceeded);
  EXPECT_EQ(out_, RecordLines());
}

TEST_F(CommandTest, TableFileIsShownAsCsv) {
  ASSERT_EQ(Run({"make", "f.pdb"}, std::string(kLines)), kSucceeded) << err_;
  EXPECT_EQ(Run({"show", "f.pdb", "--csv"}), kSucceeded);
  EXPECT_EQ(out_, "_attributes,_uniqueId,KY_ID,NM\r\n64,17,\"p,1\",3\r\n192,18,\"\",-1\r\n");
}

TEST_F(CommandTest, TableFileIsRecognisedWhateverItsName) {
  ASSERT_EQ(Run({"make", "dir.x.db"}, std::string(kLines)), kSucceeded) << err_;
  EXPECT_EQ(Run({"show", "dir.x.db"}), kSucceeded);
  EXPECT_EQ(out_, RecordLines());
}

TEST_F(CommandTest, TableFileWithATableNameIsNotUnderstood) {
  ASSERT_EQ(Run({"make", "f.pdb"}, std::string(kLines)), kSucceeded) << err_;
  EXPECT_EQ(Run({"show", "f.pdb", "Parts"}), kNotUnderstood);
  EXPECT_EQ(err_, "mvtool: a table file holds one table: give no table name\n");
}

TEST_F(CommandTest, SchemaAndRowsOfATableFileMakeTheSameBytesAgain) {
  ASSERT_EQ(Run({"make", "f.pdb"}, std::string(kLines)), kSucceeded) << err_;
  Run({"show", "f.pdb", "--schema"});
  std::string lines = out_;
  Run({"show", "f.pdb"});
  lines += out_;
  EXPECT_EQ(lines, kLines);
  ASSERT_EQ(Run({"make", "g.pdb"}, lines), kSucceeded) << err_;
  EXPECT_EQ(files_.Content("g.pdb"), files_.Content("f.pdb"));
}

TEST_F(CommandTest, EveryDemoTableMakesTheSameBytesAgain) {
  LayOutDemo(files_, "demo", DemoPlan::Varied());
  clock_ = testing::FakeClock({kFixedDate});
  for (const jet::TableSpec& table : SampleTables()) {
    const std::string path = "demo/handheld/Program Files/Motorva/" + table.name + ".pdb";
    Run({"show", path, "--schema"});
    std::string lines = out_;
    Run({"show", path});
    lines += out_;
    ASSERT_EQ(Run({"make", "copy.pdb", "--force"}, lines), kSucceeded) << err_;
    EXPECT_EQ(files_.Content("copy.pdb"), files_.Content(path)) << table.name;
  }
}

TEST_F(CommandTest, MakeTakesTheTablesNameFromTheFile) {
  ASSERT_EQ(Run({"make", "dir.x\\brnd_Fuel.v2.pdb"}, "{\"fields\":[]}"), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: dir.x\\brnd_Fuel.v2.pdb: Path not found\n");
  files_.CreateFolders("dir.x");
  ASSERT_EQ(Run({"make", "dir.x\\brnd_Fuel.v2.pdb"}, "{\"fields\":[]}"), kSucceeded) << err_;
  Run({"show", "dir.x/brnd_Fuel.v2.pdb", "--schema"});
  EXPECT_EQ(out_, "{\"name\":\"brnd_Fuel.v2\",\"creator\":\"BRND\",\"fields\":[]}\n");
}

TEST_F(CommandTest, MakeSkipsBlankLinesAndCarriageReturns) {
  std::string lines = "\r\n";
  for (const char character : kLines) lines += character == '\n' ? std::string("\r\n\n") : std::string(1, character);
  ASSERT_EQ(Run({"make", "f.pdb"}, lines), kSucceeded) << err_;
  Run({"show", "f.pdb"});
  EXPECT_EQ(out_, RecordLines());
}

TEST_F(CommandTest, MakeReplacesNothingWithoutForce) {
  Put("f.pdb", "old");
  EXPECT_EQ(Run({"make", "f.pdb"}, std::string(kLines)), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: \"f.pdb\" exists; --force replaces it\n");
  EXPECT_EQ(files_.Content("f.pdb"), (Bytes{'o', 'l', 'd'}));
  EXPECT_EQ(Run({"make", "f.pdb", "--force"}, std::string(kLines)), kSucceeded) << err_;
}

TEST_F(CommandTest, MistakesInTheLinesAreNamedAndMakeNoFile) {
  const std::string first(kLines.substr(0, kLines.find('\n') + 1));
  EXPECT_EQ(Run({"make", "f.pdb"}, ""), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: standard input is empty; its first line must describe the fields\n");
  EXPECT_EQ(Run({"make", "f.pdb"}, first + "\n{\"values\":[\"x\",70000]}"), kOperationFailed);
  EXPECT_EQ(err_,
            "mvtool: line 3, column 16: a whole number from -32768 to 32767 is wanted here, not 70000. Table 'Parts', "
            "column 'NM'.\n");
  EXPECT_EQ(Run({"make", "f.pdb"}, "{\"fields\":[{\"name\":\"D\",\"type\":7}]}\n{\"values\":[\"1903-12-31\"]}"),
            kOperationFailed);
  EXPECT_EQ(err_, "mvtool: line 2: a handheld's dates run from 1904-01-01T00:00:00 to 2040-02-06T06:28:15\n");
  EXPECT_FALSE(files_.FileExists("f.pdb"));
}

// --- demo -----------------------------------------------------------------------------------------------------------

TEST_F(CommandTest, DemoLaysOutBothSidesAndTheSettings) {
  ASSERT_EQ(Run({"demo", "x/demo"}), kSucceeded) << err_;
  EXPECT_EQ(out_,
            "desktop database   x/demo/Motorva.db\n"
            "handheld tables    x/demo/handheld/Program Files/Motorva\n"
            "settings folder    x/demo/config\n");
  EXPECT_EQ(files_.List("x/demo/handheld/Program Files/Motorva").size(), kSampleTableCount);
  EXPECT_TRUE(files_.FolderExists("x/demo/sync/source"));
  EXPECT_TRUE(files_.FolderExists("x/demo/sync/dest"));
  const Bytes settings = files_.Content("x/demo/config/Motorva32.ini");
  const std::string text(settings.begin(), settings.end());
  for (const char* line : {"[General]", "DBPath=x/demo\n", "[Handheld]", "Root=x/demo/handheld\n", "[PPC_Mobile]",
                           "DesktopDBPath=x/demo/Motorva.db\n", "PDADBPath=\\Program Files\\Motorva\n",
                           "PCSyncSourcePath=x/demo/sync/source\n", "PCSyncDestPath=x/demo/sync/dest\n",
                           "SyncLogPath=x/demo/SyncLog.txt\n", "SyncLog=1\n"}) {
    EXPECT_NE(text.find(line), std::string::npos) << line << "in\n" << text;
  }
}

TEST_F(CommandTest, DemoTablesHoldTheDemoData) {
  ASSERT_EQ(Run({"demo", "demo"}), kSucceeded) << err_;
  Run({"list", "demo/Motorva.db"});
  std::string names;
  for (std::size_t i = 0; i < kSampleTableCount; ++i) {
    const DemoTable table = MakeDemoTable(i, DemoPlan::Varied());
    names += table.design.name + "\n";
    const auto database = jet::Database::Open(files_, "demo/Motorva.db", jet::PageFile::Mode::ReadOnly);
    const jet::Table& stored = database->OpenTable(table.design.name);
    std::vector<std::vector<Value>> rows;
    for (auto row = stored.First(); row; row = stored.Next(*row)) rows.push_back(stored.ReadRow(*row));
    EXPECT_EQ(rows, table.desktopRows) << table.design.name;
    TableFileReader reader(files_, "demo/handheld/Program Files/Motorva/" + table.design.name + ".pdb");
    for (const HandheldRecord& expected : table.handheldRecords) {
      const std::optional<HandheldRecord> record = reader.Next();
      ASSERT_TRUE(record.has_value());
      EXPECT_EQ(record->attributes, expected.attributes);
      EXPECT_EQ(record->uniqueId, expected.uniqueId);
      EXPECT_EQ(record->values, expected.values);
    }
    EXPECT_FALSE(reader.Next().has_value());
  }
  EXPECT_EQ(out_, names);
}

TEST_F(CommandTest, DemoIsTheSameEachTime) {
  ASSERT_EQ(Run({"demo", "one/demo"}), kSucceeded) << err_;
  clock_ = testing::FakeClock({CivilTime{2030, 1, 1, 0, 0, 0}});
  ASSERT_EQ(Run({"demo", "two/demo"}), kSucceeded) << err_;
  EXPECT_EQ(files_.Content("one/demo/Motorva.db"), files_.Content("two/demo/Motorva.db"));
  const std::string vehicles = "/demo/handheld/Program Files/Motorva/brnd_Vehicle.pdb";
  EXPECT_EQ(files_.Content("one" + vehicles), files_.Content("two" + vehicles));
}

TEST_F(CommandTest, DemoRefusesAFolderThatIsNotEmpty) {
  Put("demo/mine.txt", "mine");
  EXPECT_EQ(Run({"demo", "demo"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: the folder \"demo\" is not empty; --force replaces an earlier demo in it\n");
  EXPECT_EQ(files_.List("demo"), (std::vector<std::string>{"mine.txt"}));
}

TEST_F(CommandTest, DemoWithForceTouchesNothingElse) {
  Put("demo/mine.txt", "mine");
  Put("demo/Motorva.db", "old");
  Put("demo/config/Motorva32.ini", "[Mine]\nKey=1\n");
  EXPECT_EQ(Run({"demo", "demo", "--force"}), kSucceeded) << err_;
  EXPECT_EQ(files_.Content("demo/mine.txt").size(), 4u);
  EXPECT_GT(files_.Content("demo/Motorva.db").size(), 4096u);
  const Bytes settings = files_.Content("demo/config/Motorva32.ini");
  EXPECT_TRUE(std::string(settings.begin(), settings.end()).starts_with("[Mine]\nKey=1\n"));
}

TEST_F(CommandTest, DemoUsesAnEmptyFolder) {
  files_.CreateFolders("demo");
  EXPECT_EQ(Run({"demo", "demo"}), kSucceeded) << err_;
}

TEST_F(CommandTest, DemoRefusesAFile) {
  Put("demo", "x");
  EXPECT_EQ(Run({"demo", "demo", "--force"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: \"demo\" is a file, not a folder\n");
}

TEST_F(CommandTest, DemoWithRowsHasThatManyRowsATable) {
  ASSERT_EQ(Run({"demo", "demo", "--rows", "200"}), kSucceeded) << err_;
  Run({"show", "demo/Motorva.db", "brnd_Trip"});
  EXPECT_EQ(std::count(out_.begin(), out_.end(), '\n'), 200);
  Run({"show", "demo/handheld/Program Files/Motorva/brnd_Trip.pdb"});
  EXPECT_EQ(std::count(out_.begin(), out_.end(), '\n'), 202);
}

// --- The template database ------------------------------------------------------------------------------------------

TEST_F(CommandTest, SampleDatabaseHasTheThirteenEmptyTablesAndIsTheSameEachTime) {
  MakeSampleDatabase(files_, "_20")->Commit();
  MakeSampleDatabase(files_, "again")->Commit();
  EXPECT_EQ(files_.Content("_20"), files_.Content("again"));
  for (const jet::TableSpec& table : SampleTables()) {
    EXPECT_EQ(Run({"show", "_20", table.name}), kSucceeded) << err_;
    EXPECT_EQ(out_, "");
    EXPECT_EQ(Run({"show", "--schema", "_20", table.name}), kSucceeded);
    JsonWriter writer;
    WriteTableSpec(writer, table);
    EXPECT_EQ(out_, writer.Result() + "\n");
  }
}

}  // namespace
}  // namespace mv::tool
