#include "check/Header.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <string_view>

#include "jet/file/Rc4.h"

namespace mv::check {
namespace {

constexpr std::size_t kMarkAt = 4;
constexpr std::size_t kMarkSize = 15;
constexpr std::size_t kVersionAt = 0x14;
constexpr std::size_t kMaskedAt = 0x18;
constexpr std::size_t kMaskedEnd = 0x98;
constexpr std::size_t kFixedPointersAt = 0x18;
constexpr std::size_t kCodePageAt = 0x3C;
constexpr std::size_t kPageKeyAt = 0x3E;
constexpr std::size_t kPasswordAt = 0x42;
constexpr std::size_t kPasswordSize = 40;
constexpr std::size_t kIdentifierKeyEnd = 0x92;
constexpr std::size_t kSortOrderAt = 0x6E;
constexpr std::size_t kCreatedAt = 0x72;
constexpr std::size_t kTagAt = 0x98;
constexpr std::size_t kEngineTextAt = 0x9C;
constexpr std::size_t kCommitWordsAt = 0xE00;
constexpr std::size_t kCommitWords = 256;

constexpr std::uint8_t kMaskKey[] = {0xC7, 0xDA, 0x39, 0x6B};
constexpr std::uint32_t kFixedPointers[] = {0x100, 0x101, 2, 3, 4, 5};
constexpr std::string_view kFixedPointerNames[] = {"map of free pages",         "map of released pages",
                                                   "definition of MSysObjects", "definition of MSysACEs",
                                                   "definition of MSysQueries", "definition of MSysRelationships"};
constexpr std::uint16_t kAnsiCodePages[] = {874,  932,  936,  949,  950,  1250, 1251,
                                            1252, 1253, 1254, 1255, 1256, 1257, 1258};
constexpr std::uint32_t kTag = 0x654;
constexpr std::string_view kEngineText("4.0\0", 4);
constexpr std::uint16_t kIdleCommitWord = 0x0100;

constexpr std::uint64_t kMaxFileSize = std::uint64_t{1} << 31;

struct AccountBytes {
  Account account;
  std::array<std::uint8_t, 2> bytes;
};
constexpr AccountBytes kAccounts[] = {{Account::Admin, {0x03, 0x01}},
                                      {Account::Users, {0x02, 0x01}},
                                      {Account::Engine, {0x02, 0x03}},
                                      {Account::Creator, {0x02, 0x04}}};

double Created(ByteView plain) {
  return std::bit_cast<double>(LoadLittle<std::uint64_t>(plain.data() + kCreatedAt));
}

std::string_view Text(ByteView file, std::size_t at, std::size_t size) {
  return {reinterpret_cast<const char*>(file.data()) + at, size};
}

std::string_view EngineOf(std::string_view mark, std::uint8_t version) {
  if (mark == "Standard ACE DB") return "a database of the later engine ACE (.accdb)";
  if (mark == "MSISAM Database") return "a database of another engine (MSISAM)";
  if (mark == "Standard Jet DB") return version == 0 ? "a Jet 3 database (Access 97 or earlier)" : "";
  return "no database";
}

}  // namespace

Header::Header(PageView page) {
  std::copy(page.begin(), page.end(), plain_.begin());
  const Bytes mask = jet::Rc4KeyStream(kMaskKey, kMaskedEnd - kMaskedAt);
  for (std::size_t i = 0; i < mask.size(); ++i) plain_[kMaskedAt + i] ^= mask[i];

  std::array<std::uint8_t, kIdentifierKeyEnd - kPasswordAt> area;
  std::copy_n(plain_.begin() + kPasswordAt, area.size(), area.begin());
  const auto day = Day();
  for (std::size_t i = 0; i < kPasswordSize; ++i) area[i] ^= day[i % day.size()];
  std::uint32_t key = Word32(plain_, kCreatedAt);
  for (std::size_t i = 0; i < area.size() / 2; ++i) key ^= std::uint32_t{area[2 * i]} << i % 24;
  std::array<std::uint8_t, 4> keyBytes;
  StoreLittle(keyBytes.data(), key);
  const Bytes stream = jet::Rc4KeyStream(keyBytes, identifierMask_.size());
  std::copy(stream.begin(), stream.end(), identifierMask_.begin());
}

/// The whole days of the creation date; zeros for a date that is none.
std::array<std::uint8_t, 4> Header::Day() const {
  std::array<std::uint8_t, 4> bytes = {};
  const double created = Created(plain_);
  if (std::isfinite(created) && std::abs(created) < 2147483648.0) {
    StoreLittle(bytes.data(), static_cast<std::int32_t>(created));
  }
  return bytes;
}

std::uint32_t Header::PageKey() const {
  return Word32(plain_, kPageKeyAt);
}

bool Header::HasPassword() const {
  const auto day = Day();
  for (std::size_t i = 0; i < kPasswordSize; ++i) {
    if (plain_[kPasswordAt + i] != day[i % day.size()]) return true;
  }
  return false;
}

SortOrderBytes Header::SortOrder() const {
  SortOrderBytes order;
  std::copy_n(plain_.begin() + kSortOrderAt, order.size(), order.begin());
  return order;
}

std::optional<Account> Header::AccountOf(ByteView identifier) const {
  if (identifier.size() != identifierMask_.size()) return std::nullopt;
  for (const AccountBytes& known : kAccounts) {
    if ((identifier[0] ^ identifierMask_[0]) == known.bytes[0] &&
        (identifier[1] ^ identifierMask_[1]) == known.bytes[1]) {
      return known.account;
    }
  }
  return std::nullopt;
}

void Header::Check(Findings& findings) const {
  const Place place = Place().OnPage(0);
  for (std::size_t i = 0; i < std::size(kFixedPointers); ++i) {
    const std::uint32_t pointer = Word32(plain_, kFixedPointersAt + 4 * i);
    if (pointer != kFixedPointers[i]) {
      findings.Damage(Kind::Header, place, "the pointer to the ", kFixedPointerNames[i], " is ", pointer, ", not ",
                      kFixedPointers[i]);
    }
  }
  const std::uint16_t codePage = Word16(plain_, kCodePageAt);
  if (std::find(std::begin(kAnsiCodePages), std::end(kAnsiCodePages), codePage) == std::end(kAnsiCodePages)) {
    findings.Note(Kind::Header, place, "the code page ", codePage, " is no ANSI code page");
  }
  if (Word32(plain_, kTagAt) != kTag || Text(plain_, kEngineTextAt, kEngineText.size()) != kEngineText) {
    findings.Note(Kind::Header, place, "the engine's version is not 4.0");
  }
  constexpr double kLatestDate = 2958466;  // the year 10000
  const double created = Created(plain_);
  if (!(created > 0 && created < kLatestDate)) findings.Note(Kind::Header, place, "the creation date is no date");
  CheckCommitWords(findings);
}

void Header::CheckCommitWords(Findings& findings) const {
  for (std::size_t i = 0; i < kCommitWords; ++i) {
    const std::uint16_t word = Word16(plain_, kCommitWordsAt + 2 * i);
    if (word >= kIdleCommitWord) continue;
    findings.Damage(Kind::CommitWord, Place().OnPage(0), "commit word ", i, " is ", word,
                    ": a writer stopped half-way, or met damage");
  }
}

bool IsCheckable(ByteView file, Findings& findings) {
  constexpr std::uint8_t kStart[] = {0x00, 0x01, 0x00, 0x00};
  const auto refuse = [&](std::string_view what) {
    findings.Damage(Kind::File, {}, "the file is ", what, " and cannot be checked");
    return false;
  };
  if (file.size() <= kVersionAt || !std::equal(std::begin(kStart), std::end(kStart), file.begin())) {
    return refuse("no database");
  }
  const std::uint8_t version = file[kVersionAt];
  const std::string_view other = EngineOf(Text(file, kMarkAt, kMarkSize), version);
  if (!other.empty()) return refuse(other);
  if (version != 1) return refuse("a database of a later engine");
  if (file.size() < 2 * kPageSize) return refuse("too short for a database");
  if (file.size() > kMaxFileSize) return refuse("longer than the 2 GiB of a database");
  if (Header(PageView(file.data(), kPageSize)).HasPassword()) return refuse("protected by a password");
  return true;
}

}  // namespace mv::check
