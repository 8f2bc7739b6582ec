#include "jet/Database.h"

#include <map>
#include <utility>

#include "jet/CreateDatabase.h"
#include "jet/RelationBuild.h"
#include "jet/definition/Properties.h"
#include "jet/definition/SystemTables.h"
#include "jet/file/JetErrors.h"
#include "jet/index/IndexKey.h"
#include "jet/index/IndexTree.h"
#include "jet/pages/MapPages.h"

namespace mv::jet {
namespace {

void CheckIndex(const TableDefinition& table, const IndexData& index, const std::string& name) {
  const std::string why = WhyNotWritable(table, index);
  if (!why.empty()) throw UnsupportedError("index '" + name + "' of table '" + table.name + "': " + why);
}

void CheckIndexes(const TableDefinition& table) {
  for (std::size_t i = 0; i < table.indexData.size(); ++i) CheckIndex(table, table.indexData[i], table.IndexName(i));
}

void CheckRelation(const RelationDesign& design, const TableDefinition& foreign, const TableDefinition& primary) {
  const std::size_t tree = design.primaryIndex.dataNumber;
  CheckIndex(foreign, design.foreignTree, design.foreignIndex.name);
  CheckIndex(primary, primary.indexData[tree], primary.IndexName(tree));
}

void AllocateDefinition(FreePages& freePages, TableDefinition& table) {
  const std::size_t count = DefinitionPages(BuildDefinition(table).size());
  while (table.pages.size() < count) table.pages.push_back(freePages.Allocate());
  table.page = table.pages.front();
}

/// Maps in Jet's order: owned pages, free space, one for each index, two for each long value column.
void AllocateMaps(PageFile& file, FreePages& freePages, TableDefinition& table) {
  std::vector<RowId*> places = {&table.ownedPages, &table.freeSpacePages};
  for (IndexData& index : table.indexData) places.push_back(&index.map);
  for (Column& column : table.columns) {
    if (column.IsLongValue()) places.insert(places.end(), {&column.longValuePages, &column.longValueFreeSpace});
  }
  const std::vector<RowId> maps = AddMaps(file, freePages, places.size());
  for (std::size_t i = 0; i < places.size(); ++i) *places[i] = maps[i];
}

void PlantTrees(PageFile& file, FreePages& freePages, TableDefinition& table) {
  for (IndexData& index : table.indexData) {
    index.root = freePages.Allocate();
    IndexTree::Create(file, freePages, table.page, index);
  }
}

}  // namespace

std::unique_ptr<Database> Database::Open(platform::FileSystem& files, const std::string& path, PageFile::Mode mode,
                                         ExpressionSources sources, std::shared_ptr<Committer> committer) {
  auto pages = PageFile::Open(files, path, mode, std::move(committer));
  CheckFileKind(path, pages->Read(0), std::uint64_t{pages->PageCount()} * kPageSize);
  const Header header = Header::FromPage(pages->Read(0));
  CheckAccess(path, header);
  pages->UseKey(header.PageKey());
  if (mode == PageFile::Mode::ReadWrite) CheckWritable(path, header);
  auto database = std::make_unique<Database>(Key(), std::move(pages), std::move(sources));
  if (mode == PageFile::Mode::ReadWrite) CheckPageOwners(*database->pages_, database->TablesWithPages());
  return database;
}

std::unique_ptr<Database> Database::Create(platform::FileSystem& files, const std::string& path,
                                           const CivilTime& created, ExpressionSources sources) {
  auto pages = PageFile::Create(files, path);
  FillNewDatabase(*pages, DateFromCivil(created));
  return std::make_unique<Database>(Key(), std::move(pages), std::move(sources));
}

Database::Database(Key, std::unique_ptr<PageFile> pages, ExpressionSources sources)
    : pages_(std::move(pages)),
      header_(Header::FromPage(pages_->Read(0))),
      sources_(std::move(sources)),
      relations_([this](PageNumber page) -> Table& { return TableAt(page); }),
      catalog_(SystemTable(kObjectsPage, "MSysObjects"), SystemTable(kPermissionsPage, "MSysACEs")) {}

Table& Database::SystemTable(PageNumber page, const std::string& name) {
  TableDefinition definition = ReadDefinition(*pages_, page, name);
  return *tables_.emplace(page, std::make_unique<Table>(*pages_, std::move(definition), TableRules())).first->second;
}

std::vector<NamedTable> Database::TablesWithPages() const {
  std::map<PageNumber, std::string> system = {{kObjectsPage, "MSysObjects"},
                                              {kPermissionsPage, "MSysACEs"},
                                              {kQueriesPage, "MSysQueries"},
                                              {kRelationshipsPage, "MSysRelationships"}};
  std::vector<NamedTable> tables;
  for (CatalogObject& object : catalog_.Objects()) {
    if (object.type != ObjectType::Table && object.type != ObjectType::LinkedOdbc) continue;
    const auto page = static_cast<PageNumber>(object.id);
    system.erase(page);
    tables.push_back({std::move(object.name), page});
  }
  // They have their pages even when the catalog does not list them.
  for (const auto& [page, name] : system) tables.push_back({name, page});
  return tables;
}

std::vector<std::string> Database::TableNames() const {
  std::vector<std::string> names;
  for (CatalogObject& object : catalog_.Objects()) {
    if (object.IsUserTable()) names.push_back(std::move(object.name));
  }
  return names;
}

Table& Database::OpenTable(const std::string& name) {
  const auto object = catalog_.FindRowSource(name);
  if (!object) throw NoSuchTableError(name);
  if (object->type == ObjectType::Query) throw UnsupportedError("'" + object->name + "' is a query, not a table");
  if (object->type != ObjectType::Table) {
    throw UnsupportedError("'" + object->name + "' is a linked table; its rows are in another database");
  }
  return OpenObject(*object);
}

Table& Database::OpenObject(const CatalogObject& object) {
  const auto page = static_cast<PageNumber>(object.id);
  std::unique_ptr<Table>& table = tables_[page];
  if (!table) {
    TableDefinition definition = ReadDefinition(*pages_, page, object.name);
    // Readers need no rules, and may look at a table whose property list is damaged.
    const bool isChanged = pages_->OpenMode() == PageFile::Mode::ReadWrite;
    TableRules rules = isChanged ? RulesFromProperties(catalog_.PropertyList(object), definition) : TableRules();
    table = std::make_unique<Table>(*pages_, std::move(definition), std::move(rules), &relations_, sources_);
  }
  return *table;
}

Table& Database::TableAt(PageNumber page) {
  const auto open = tables_.find(page);
  if (open != tables_.end() && open->second) return *open->second;
  const auto object = catalog_.FindTable(page);
  if (!object) throw DamagedFileError("no table has its definition on page " + std::to_string(page));
  return OpenObject(*object);
}

void Database::CreateTable(const TableSpec& design, const CivilTime& created) {
  TableDefinition table = DesignTable(design);
  CheckIndexes(table);
  RulesFromProperties(design.properties, table);  // no table gets a list that would refuse it to writers
  if (catalog_.FindRowSource(design.name)) throw ConstraintError("Table '" + design.name + "' already exists.");

  Statement statement(*pages_);
  FreePages freePages(*pages_);
  AllocateDefinition(freePages, table);
  AllocateMaps(*pages_, freePages, table);
  PlantTrees(*pages_, freePages, table);
  WriteDefinition(*pages_, BuildDefinition(table), table.pages);
  const auto id = static_cast<std::int32_t>(table.page);
  catalog_.AddObject({id, kTablesId, table.name, ObjectType::Table, 0}, header_.Identifier(Account::Admin),
                     DateFromCivil(created), design.properties);
  catalog_.InheritPermissions(id, kTablesId, header_);
  statement.Complete();
}

void Database::CreateRelation(const RelationSpec& relation, const CivilTime& created) {
  Table& foreign = OpenTable(relation.table);
  Table& primary = OpenTable(relation.references);
  if (catalog_.FindRelation(relation.name)) throw ConstraintError("Object '" + relation.name + "' already exists.");
  const RelationDesign design = DesignRelation(relation, foreign.Definition(), primary.Definition());
  CheckRelation(design, foreign.Definition(), primary.Definition());
  relations_.RequireKept(foreign);
  relations_.RequireKept(primary);

  Statement statement(*pages_);
  BuildRelation(*pages_, design, foreign, primary);
  const std::int32_t id = catalog_.NextObjectId();
  catalog_.AddObject({id, kRelationshipsId, relation.name, ObjectType::Relation, 0}, header_.Identifier(Account::Admin),
                     DateFromCivil(created));
  catalog_.InheritPermissions(id, kRelationshipsId, header_);
  ListRelation(TableAt(kRelationshipsPage), relation, design, foreign.Definition(), primary.Definition());
  TableDefinition foreignDefinition = Reread(foreign);
  TableDefinition primaryDefinition = Reread(primary);
  statement.Complete();
  foreign.Redefine(std::move(foreignDefinition));
  primary.Redefine(std::move(primaryDefinition));
  relations_.Forget();
}

TableDefinition Database::Reread(const Table& table) const {
  return ReadDefinition(*pages_, table.Definition().page, table.Definition().name);
}

}  // namespace mv::jet
