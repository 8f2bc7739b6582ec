#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "base/Utf.h"
#include "jet/Database.h"
#include "jet/JetRecordset.h"
#include "support/Hex.h"
#include "support/JetDatabase.h"
#include "support/MemoryFileSystem.h"

namespace mv::testing {

/// Two tables that a relation joins, with a unique index on either side and long values, and a plain model of them:
/// runs statements at random on both, and compares what each says and leaves behind. Names and plates are made of
/// pieces that differ in little or in nothing, as the sort order sees it.
class GarageStorm {
 public:
  struct Maker {
    std::string name;
    std::optional<std::string> note;
  };
  struct Car {
    std::optional<std::string> maker;
    std::optional<std::string> plate;
    std::optional<std::string> story;
    std::optional<Bytes> picture;
  };
  /// By what the sort order sees of the name, and by number.
  using Makers = std::map<std::string, Maker>;
  using Cars = std::map<std::int32_t, Car>;

  explicit GarageStorm(std::uint32_t seed) : random_(seed) {
    auto database = jet::Database::Create(files_, kPath, kJetCreated);
    JetTable makers = JetTable("Makers").Text("Name", 40).Column("Note", jet::ColumnType::Memo).PrimaryKey("Name");
    JetTable cars = JetTable("Cars")
                        .Column("Id", jet::ColumnType::Long)
                        .Text("Maker", 40)
                        .Text("Plate", 40)
                        .Column("Story", jet::ColumnType::Memo)
                        .Column("Picture", jet::ColumnType::Ole)
                        .PrimaryKey("Id");
    cars.Index("Plate", {"Plate"}).unique = true;
    cars.Index("ByStory", {"Maker", "Id"});
    database->CreateTable(makers.Spec(), kJetCreated);
    database->CreateTable(cars.Spec(), kJetCreated);
    jet::RelationSpec relation;
    relation.name = "MakerCar";
    relation.table = "Cars";
    relation.columns = {"Maker"};
    relation.references = "Makers";
    relation.referencedColumns = {"Name"};
    relation.cascadeUpdate = true;
    relation.onDelete = jet::RelationSpec::OnDelete::Cascade;
    database->CreateRelation(relation, kJetCreated);
    database->Commit();
  }

  /// Runs statements on the database as it is, comparing each, and commits. Returns what went wrong.
  std::string Run(int statements) {
    Open open(files_);
    for (int i = 0; i < statements; ++i) {
      const std::string complaint = Statement(open);
      if (!complaint.empty()) return complaint;
    }
    const std::string complaint = Compare(open);
    open.database->Commit();
    return complaint;
  }

  /// Lets somebody else change the database, which must leave the rows' values as they are.
  void Change(const std::function<void(jet::Database&)>& change) {
    const auto database = jet::Database::Open(files_, kPath, jet::PageFile::Mode::ReadWrite);
    change(*database);
    database->Commit();
  }

  Bytes Image() const { return files_.Content(kPath); }
  void ReplaceImage(Bytes image) { files_.Put(kPath, std::move(image)); }
  const Makers& AllMakers() const { return makers_; }
  const Cars& AllCars() const { return cars_; }
  /// Statements that were done and those that were refused, as they had to be.
  int Done() const { return done_; }
  int Refused() const { return refused_; }

 private:
  static constexpr const char* kPath = "garage.mdb";

  struct Open {
    explicit Open(platform::FileSystem& files)
        : database(jet::Database::Open(files, kPath, jet::PageFile::Mode::ReadWrite)),
          makers(database->OpenTable("Makers")),
          cars(database->OpenTable("Cars")) {}
    std::unique_ptr<jet::Database> database;
    jet::Table& makers;
    jet::Table& cars;
  };

  /// What the sort order sees of a text: two texts are one key when this is the same.
  static std::string Seen(std::string_view text) {
    static const std::vector<std::pair<std::string_view, std::string_view>> kSame = {
        {"\u00DF", "ss"}, {"\u00C6", "ae"}, {"\u00E6", "ae"}, {"A", "a"}, {"E", "e"}, {"S", "s"}, {"\u015A", "\u015B"}};
    std::string seen;
    while (!text.empty()) {
      const auto same =
          std::find_if(kSame.begin(), kSame.end(), [&](const auto& pair) { return text.starts_with(pair.first); });
      seen += same == kSame.end() ? text.substr(0, 1) : same->second;
      text.remove_prefix(same == kSame.end() ? 1 : same->first.size());
    }
    return seen.substr(0, seen.find_last_not_of(' ') + 1);
  }

  std::string SomeText() {
    static const std::vector<std::string> kPieces = {
        "a", "A", "s", "ss", "\u00DF", "\u00DF", "\u00E6", "ae", "e", "\u00E9", "\u015B", "\u015A", "-", "E", "b"};
    std::string text;
    for (std::size_t i = 1 + random_() % 5; i > 0; --i) text += kPieces[random_() % kPieces.size()];
    // Half of the texts are unlikely to be met twice.
    return random_() % 2 == 0 ? text : text + std::to_string(random_() % 1000);
  }

  std::size_t SomeLength() {
    static constexpr std::size_t kLengths[] = {0, 10, 40, 90, 300, 1200, 3000, 9000};
    return kLengths[random_() % std::size(kLengths)];
  }
  std::optional<std::string> SomeStory() {
    if (random_() % 5 == 0) return std::nullopt;
    std::string text;
    for (std::size_t i = SomeLength(); i > 0; --i) text += static_cast<char>('a' + random_() % 26);
    return text;
  }
  std::optional<Bytes> SomePicture() {
    if (random_() % 3 == 0) return std::nullopt;
    Bytes bytes(SomeLength() + 1);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random_() % 16 * 17);
    return bytes;
  }
  std::optional<std::string> SomeMaker() {
    if (makers_.empty() || random_() % 6 == 0) return std::nullopt;
    if (random_() % 8 == 0) return SomeText();
    return std::next(makers_.begin(), static_cast<std::ptrdiff_t>(random_() % makers_.size()))->second.name;
  }

  template <typename T>
  static Value ValueOf(const std::optional<T>& value) {
    return value ? Value(*value) : Value(Null());
  }

  /// Runs a change that the model allows or not. Returns what is wrong with its outcome.
  template <typename Action>
  std::string Expect(bool isAllowed, const std::string& what, Action action) {
    bool isDone = false;
    std::string refusal;
    try {
      action();
      isDone = true;
    } catch (const Error& error) {
      refusal = error.Description();
      if (error.Number() != errors::kJetConstraint) return what + ": " + refusal;
    }
    (isDone ? done_ : refused_) += 1;
    if (isDone == isAllowed) return {};
    return what + (isDone ? " was done" : " was refused: " + refusal);
  }

  std::string Statement(Open& open) {
    switch (random_() % 8) {
      case 0:
      case 1:
        return AddMaker(open);
      case 2:
      case 3:
        return AddCar(open);
      case 4:
        return ChangeCar(open);
      case 5:
        return random_() % 2 == 0 ? RenameMaker(open) : FindMaker(open);
      case 6:
        return RemoveCar(open);
      default:
        return random_() % 2 == 0 ? RemoveMaker(open) : AddCar(open);
    }
  }

  std::string AddMaker(Open& open) {
    const Maker maker = {SomeText(), SomeStory()};
    const bool isNew = !makers_.contains(Seen(maker.name));
    const auto add = [&] { open.makers.Insert({maker.name, ValueOf(maker.note)}); };
    const std::string complaint = Expect(isNew, "adding maker " + maker.name, add);
    if (isNew) makers_[Seen(maker.name)] = maker;
    return complaint;
  }

  bool HasPlate(const std::optional<std::string>& plate, std::optional<std::int32_t> except) const {
    if (!plate) return false;
    return std::any_of(cars_.begin(), cars_.end(), [&](const auto& car) {
      return car.first != except && car.second.plate && Seen(*car.second.plate) == Seen(*plate);
    });
  }
  bool HasMaker(const std::optional<std::string>& maker) const { return !maker || makers_.contains(Seen(*maker)); }

  std::string AddCar(Open& open) {
    const Car car = {SomeMaker(), random_() % 4 == 0 ? std::nullopt : std::optional(SomeText()), SomeStory(),
                     SomePicture()};
    const std::int32_t id = nextId_++;
    const bool isAllowed = HasMaker(car.maker) && !HasPlate(car.plate, std::nullopt);
    const std::string complaint = Expect(isAllowed, "adding car " + std::to_string(id), [&] {
      open.cars.Insert({id, ValueOf(car.maker), ValueOf(car.plate), ValueOf(car.story), ValueOf(car.picture)});
    });
    if (isAllowed) cars_[id] = car;
    return complaint;
  }

  Cars::iterator SomeCar() { return std::next(cars_.begin(), static_cast<std::ptrdiff_t>(random_() % cars_.size())); }
  Makers::iterator MakerAt(std::size_t number) {
    return std::next(makers_.begin(), static_cast<std::ptrdiff_t>(number % makers_.size()));
  }

  static jet::RowId RowOfCar(const jet::Table& cars, std::int32_t id) {
    for (auto row = cars.First(); row; row = cars.Next(*row)) {
      if (cars.ReadValue(*row, 0) == Value(id)) return *row;
    }
    return {};
  }
  static jet::RowId RowOfMaker(const jet::Table& makers, const std::string& name) {
    for (auto row = makers.First(); row; row = makers.Next(*row)) {
      if (makers.ReadValue(*row, 0) == Value(name)) return *row;
    }
    return {};
  }

  std::string ChangeCar(Open& open) {
    if (cars_.empty()) return {};
    const auto found = SomeCar();
    const std::int32_t id = found->first;
    Car car = found->second;
    std::vector<std::size_t> columns;
    std::vector<Value> values;
    const auto set = [&](std::size_t column, const Value& value) {
      columns.push_back(column);
      values.push_back(value);
    };
    if (random_() % 2 == 0) set(1, ValueOf(car.maker = SomeMaker()));
    if (random_() % 2 == 0) set(2, ValueOf(car.plate = SomeText()));
    if (random_() % 3 == 0) set(3, ValueOf(car.story = SomeStory()));
    if (random_() % 3 == 0) set(4, ValueOf(car.picture = SomePicture()));
    const bool isAllowed = HasMaker(car.maker) && !HasPlate(car.plate, id);
    const std::string complaint = Expect(isAllowed, "changing car " + std::to_string(id),
                                         [&] { open.cars.Update(RowOfCar(open.cars, id), columns, values); });
    if (isAllowed) found->second = car;
    return complaint;
  }

  std::string RenameMaker(Open& open) {
    if (makers_.empty()) return {};
    const auto found = MakerAt(random_());
    const std::string old = found->second.name;
    const std::string name = SomeText();
    const bool isSame = Seen(name) == Seen(old);
    const bool isAllowed = isSame || !makers_.contains(Seen(name));
    const std::size_t column = 0;
    const Value value = name;
    const std::string complaint = Expect(isAllowed, "renaming maker " + old + " to " + name, [&] {
      open.makers.Update(RowOfMaker(open.makers, old), {&column, 1}, {&value, 1});
    });
    if (!isAllowed) return complaint;
    Maker maker = found->second;
    makers_.erase(found);
    maker.name = name;
    makers_[Seen(name)] = maker;
    for (auto& [id, car] : cars_) {
      if (!isSame && car.maker && Seen(*car.maker) == Seen(old)) car.maker = name;
    }
    return complaint;
  }

  std::string RemoveCar(Open& open) {
    if (cars_.empty()) return {};
    const auto found = SomeCar();
    const std::int32_t id = found->first;
    cars_.erase(found);
    return Expect(true, "removing car " + std::to_string(id), [&] { open.cars.Delete(RowOfCar(open.cars, id)); });
  }

  std::string RemoveMaker(Open& open) {
    if (makers_.empty()) return {};
    const auto found = MakerAt(random_());
    const std::string name = found->second.name;
    makers_.erase(found);
    std::erase_if(cars_, [&](const auto& car) { return car.second.maker && Seen(*car.second.maker) == Seen(name); });
    return Expect(true, "removing maker " + name, [&] { open.makers.Delete(RowOfMaker(open.makers, name)); });
  }

  std::string FindMaker(Open& open) {
    if (makers_.empty()) return {};
    const std::string name = MakerAt(random_())->second.name;
    jet::JetRecordset records(open.makers);
    records.Find("Name='" + name + "'");
    if (!records.Eof() && records.FieldValue(0) == Value(name)) return {};
    return "maker " + name + " is not found";
  }

  /// Compares all rows, and looks every row up by the indexes.
  std::string Compare(Open& open) const {
    Makers makers;
    for (auto row = open.makers.First(); row; row = open.makers.Next(*row)) {
      const std::vector<Value> values = open.makers.ReadRow(*row);
      const auto& name = std::get<std::string>(values[0]);
      makers[Seen(name)] = {name, OptionalOf<std::string>(values[1])};
      if (!IsFound(open.makers, *row, values)) return "maker " + name + " is not found by an index";
    }
    Cars cars;
    for (auto row = open.cars.First(); row; row = open.cars.Next(*row)) {
      const std::vector<Value> values = open.cars.ReadRow(*row);
      const auto id = std::get<std::int32_t>(values[0]);
      cars[id] = {OptionalOf<std::string>(values[1]), OptionalOf<std::string>(values[2]),
                  OptionalOf<std::string>(values[3]), OptionalOf<Bytes>(values[4])};
      if (!IsFound(open.cars, *row, values)) return "car " + std::to_string(id) + " is not found by an index";
    }
    const auto sameMaker = [](const auto& left, const auto& right) {
      return left.second.name == right.second.name && left.second.note == right.second.note;
    };
    const auto sameCar = [](const auto& left, const auto& right) {
      return left.first == right.first && left.second.maker == right.second.maker &&
             left.second.plate == right.second.plate && left.second.story == right.second.story &&
             left.second.picture == right.second.picture;
    };
    if (!std::equal(makers.begin(), makers.end(), makers_.begin(), makers_.end(), sameMaker)) return "makers differ";
    if (!std::equal(cars.begin(), cars.end(), cars_.begin(), cars_.end(), sameCar)) return "cars differ";
    return {};
  }

  template <typename T>
  static std::optional<T> OptionalOf(const Value& value) {
    return IsNull(value) ? std::nullopt : std::optional<T>(std::get<T>(value));
  }

  static bool IsFound(const jet::Table& table, jet::RowId row, const std::vector<Value>& values) {
    const jet::TableDefinition& definition = table.Definition();
    for (std::size_t index = 0; index < definition.indexData.size(); ++index) {
      const jet::IndexKey key = jet::KeyOf(definition, definition.indexData[index], values);
      const std::vector<jet::RowId> rows = table.RowsWithKey(index, key);
      if (std::find(rows.begin(), rows.end(), row) == rows.end()) return false;
    }
    return true;
  }

  MemoryFileSystem files_;
  std::mt19937 random_;
  Makers makers_;
  Cars cars_;
  std::int32_t nextId_ = 1;
  int done_ = 0;
  int refused_ = 0;
};

}  // namespace mv::testing
