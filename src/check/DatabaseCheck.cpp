#include "check/DatabaseCheck.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "check/Catalog.h"
#include "check/Context.h"
#include "check/DefinitionCheck.h"
#include "check/IndexEntryCheck.h"
#include "check/IndexTreeCheck.h"
#include "check/RelationCheck.h"
#include "check/TableCheck.h"
#include "check/UsageMaps.h"

namespace mv::check {
namespace {

class Checker {
 public:
  Checker(ByteView file, Findings& findings, Report& report)
      : findings_(findings),
        report_(report),
        header_(PageView(file.data(), kPageSize)),
        pages_(file, header_.PageKey()),
        owners_(pages_.Count(), findings),
        rows_(pages_, findings),
        context_{pages_, header_, findings, owners_, rows_, report},
        maps_(context_) {}

  void Run() {
    header_.Check(findings_);
    owners_.Claim(0, owners_.Add({PageOwners::Owner::Use::Header}), {});
    const std::vector<bool> free = maps_.CheckGlobalMaps();
    report_.checked = true;
    report_.pages = pages_.Count();
    report_.freePages = static_cast<std::size_t>(std::count(free.begin(), free.end(), true));
    if (CheckTables()) owners_.CheckFreePages(free);
  }

 private:
  /// False when the catalog cannot be read, so that nothing is known about most pages.
  bool CheckTables() {
    const Definition* objects = Read(kObjectsPage, "MSysObjects");
    if (objects == nullptr || !CheckContent(kObjectsPage)) return false;
    objects_ = ReadCatalog(context_, *objects);
    if (objects_.empty()) return false;
    CheckCatalog(objects_, findings_);
    ReadDefinitions();
    for (const auto& [page, definition] : definitions_) {
      if (page != kObjectsPage) CheckContent(page);
    }
    CheckRelationSides(definitions_, findings_);
    if (const Definition* permissions = Find(kPermissionsPage)) CheckPermissions(context_, *permissions, objects_);
    if (const Definition* relationships = Find(kRelationshipsPage)) {
      CheckRelationships(context_, *relationships, objects_, definitions_);
    }
    CheckReferences(context_, definitions_);
    return true;
  }

  Definition* Find(PageNumber page) {
    const auto found = definitions_.find(page);
    return found == definitions_.end() ? nullptr : found->second.get();
  }

  Definition* Read(PageNumber page, const std::string& name) {
    std::unique_ptr<Definition> definition = ReadDefinition(context_, page, name);
    if (definition == nullptr) return nullptr;
    CheckDefinition(*definition, header_.SortOrder(), findings_);
    return (definitions_[page] = std::move(definition)).get();
  }

  void ReadDefinitions() {
    for (const CatalogObject& object : objects_) {
      const auto page = static_cast<PageNumber>(object.id);
      if (object.type == CatalogObject::Type::LinkedOdbc) ReadLinkedDefinition(object);
      if (object.type != CatalogObject::Type::Table || page == kObjectsPage) continue;
      if (!pages_.Has(page)) {
        findings_.Damage(Kind::Catalog, Place{.table = "MSysObjects"}.AtRow(object.row), "table ", object.name,
                         " should have its definition on page ", object.id, ", outside the file");
        continue;
      }
      Definition* definition = Read(page, object.name);
      if (definition == nullptr) continue;
      definition->isUserTable = object.IsUserTable();
      for (Column& column : definition->columns) {
        column.required = std::find(object.requiredColumns.begin(), object.requiredColumns.end(), column.name) !=
                          object.requiredColumns.end();
      }
    }
  }

  /// A table linked through ODBC keeps a definition, though its rows are elsewhere.
  void ReadLinkedDefinition(const CatalogObject& object) {
    const auto page = static_cast<PageNumber>(object.id);
    if (!pages_.Has(page) || Word16(pages_.At(page), 0) != kDefinitionPage) return;
    linked_.push_back(ReadDefinition(context_, page, object.name));
  }

  bool CheckContent(PageNumber page) {
    Definition& definition = *Find(page);
    if (!TableCheck(context_, maps_, definition).Run()) return false;
    const std::size_t trees = std::min(definition.indexes.size(), kMaxIndexes);
    for (std::size_t i = 0; i < trees; ++i) CheckIndex(definition, definition.indexes[i]);
    if (definition.isUserTable) report_.indexes += trees;
    return true;
  }

  void CheckIndex(const Definition& definition, Index& index) {
    const std::size_t damagesBefore = findings_.Damages();
    std::optional<std::vector<PageNumber>> leaves = IndexTreeCheck(context_, maps_, definition, index).Run();
    if (!leaves) return;
    IndexEntryCheck entries(context_, definition, index, *leaves);
    entries.Run();
    index.keysOfOtherRules = entries.KeysOfOtherRules();
    index.leaves = std::move(*leaves);
    index.sound = findings_.Damages() == damagesBefore;
  }

  Findings& findings_;
  Report& report_;
  Header header_;
  PageReader pages_;
  PageOwners owners_;
  DataPages rows_;
  Context context_;
  UsageMaps maps_;
  std::vector<CatalogObject> objects_;
  Definitions definitions_;
  std::vector<std::unique_ptr<Definition>> linked_;  ///< kept for their names
};

}  // namespace

Report CheckDatabase(ByteView file) {
  Report report;
  Findings findings;
  if (IsCheckable(file, findings)) {
    if (file.size() % kPageSize != 0) {
      findings.Damage(Kind::File, {}, "the file has ", file.size(), " bytes, no multiple of ", kPageSize,
                      ": it was cut off or added to");
    }
    Checker(file, findings, report).Run();
  }
  findings.MoveInto(report);
  return report;
}

}  // namespace mv::check
