#include "jet/file/Header.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <string_view>

#include "base/ByteOrder.h"
#include "jet/file/JetErrors.h"
#include "jet/file/Rc4.h"

namespace mv::jet {
namespace {

constexpr std::size_t kNameAt = 0x04;
constexpr std::size_t kNameSize = 16;
constexpr std::size_t kVersionAt = 0x14;
constexpr std::size_t kFreePagesAt = 0x18;
constexpr std::size_t kReleasedPagesAt = 0x1C;
constexpr std::size_t kSystemTablesAt = 0x20;
constexpr std::size_t kCodePageAt = 0x3C;
constexpr std::size_t kPageKeyAt = 0x3E;
constexpr std::size_t kPasswordAt = 0x42;
constexpr std::size_t kPasswordSize = 40;
constexpr std::size_t kBuildAt = 0x6A;
constexpr std::size_t kLanguageAt = 0x6E;
constexpr std::size_t kSortIdAt = 0x70;
constexpr std::size_t kSortVersionAt = 0x71;
constexpr std::size_t kCreatedAt = 0x72;
constexpr std::size_t kFormatTagAt = 0x98;
constexpr std::size_t kFormatTextAt = 0x9C;
constexpr std::size_t kCommitWordsAt = 0xE00;
constexpr std::size_t kCommitWords = 256;

constexpr std::size_t kMaskAt = 0x18;
constexpr std::size_t kMaskSize = 128;
constexpr std::array<std::uint8_t, 4> kMaskKey = {0xC7, 0xDA, 0x39, 0x6B};

constexpr std::array<std::uint8_t, 4> kMagic = {0x00, 0x01, 0x00, 0x00};
constexpr std::string_view kJetName("Standard Jet DB\0", kNameSize);
constexpr std::string_view kAceName("Standard ACE DB\0", kNameSize);
constexpr std::string_view kMsisamName("MSISAM Database\0", kNameSize);
constexpr std::uint8_t kVersionJet3 = 0;
constexpr std::uint8_t kVersionJet4 = 1;

constexpr std::uint32_t kFreePagesMapWord = RowId{1, 0}.Word();
constexpr std::uint32_t kReleasedPagesMapWord = RowId{1, 1}.Word();
constexpr std::uint32_t kFirstSystemTable = 2;
constexpr std::uint32_t kSystemTables = 4;
constexpr std::uint32_t kNewBuild = 9756;
constexpr std::uint16_t kNewCodePage = 1252;
constexpr std::uint32_t kFormatTag = 0x0654;
constexpr std::string_view kFormatText("4.0\0", 4);
constexpr std::uint16_t kNeverWritten = 0x0100;
constexpr std::uint16_t kWrittenOnce = 0x0101;

/// The bytes that the key of the identifier stream is made of: every second one of the 80 from the password on.
constexpr std::size_t kIdentifierKeyBytes = 40;

void ApplyMask(Page& page) {
  ApplyRc4(kMaskKey, ByteSpan(page).subspan(kMaskAt, kMaskSize));
}

/// Whole days of a creation date as the password is scrambled with; 0 for a date that no engine can have written.
std::uint32_t DayWord(Date created) {
  const double days = std::trunc(created.days);
  if (!(std::fabs(days) <= std::numeric_limits<std::int32_t>::max())) return 0;
  return static_cast<std::uint32_t>(static_cast<std::int32_t>(days));
}

void XorWithDay(ByteSpan bytes, Date created) {
  std::array<std::uint8_t, 4> day{};
  StoreLittle(day.data(), DayWord(created));
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] ^= day[i % day.size()];
}

std::array<std::uint8_t, 2> PlainIdentifier(Account account) {
  switch (account) {
    case Account::Admin:
      return {0x03, 0x01};
    case Account::Users:
      return {0x02, 0x01};
    case Account::Engine:
      return {0x02, 0x03};
    case Account::Creator:
      break;
  }
  return {0x02, 0x04};
}

std::string AceReason(std::uint8_t version) {
  const auto reason = [](const char* release) {
    return std::string("It was made by ") + release +
           " (ACE). Open it there and save it as an Access 2000 or Access 2002-2003 database (*.mdb).";
  };
  switch (version) {
    case 2:
      return reason("Access 2007");
    case 3:
      return reason("Access 2010");
    case 4:
    case 5:
      return reason("Access 2013 or 2016");
    case 6:
      return reason("Access 2019");
    default:
      return reason("a version of Access from 2007 on");
  }
}

}  // namespace

Header Header::FromPage(const Page& page) {
  Header header(page);
  ApplyMask(header.plain_);
  return header;
}

Header Header::ForNewDatabase(Date created) {
  Page page{};
  std::uint8_t* bytes = page.data();
  std::copy(kMagic.begin(), kMagic.end(), bytes);
  std::copy(kJetName.begin(), kJetName.end(), bytes + kNameAt);
  StoreLittle<std::uint32_t>(bytes + kVersionAt, kVersionJet4);
  StoreLittle(bytes + kFreePagesAt, kFreePagesMapWord);
  StoreLittle(bytes + kReleasedPagesAt, kReleasedPagesMapWord);
  for (std::uint32_t i = 0; i < kSystemTables; ++i) StoreLittle(bytes + kSystemTablesAt + 4 * i, kFirstSystemTable + i);
  StoreLittle(bytes + kCodePageAt, kNewCodePage);
  XorWithDay(ByteSpan(bytes + kPasswordAt, kPasswordSize), created);
  StoreLittle(bytes + kBuildAt, kNewBuild);
  StoreLittle(bytes + kLanguageAt, SortOrder().language);
  StoreLittle(bytes + kCreatedAt, std::bit_cast<std::uint64_t>(created.days));
  StoreLittle(bytes + kFormatTagAt, kFormatTag);
  std::copy(kFormatText.begin(), kFormatText.end(), bytes + kFormatTextAt);
  StoreLittle(bytes + kCommitWordsAt, kWrittenOnce);
  for (std::size_t i = 1; i < kCommitWords; ++i) StoreLittle(bytes + kCommitWordsAt + 2 * i, kNeverWritten);
  return Header(page);
}

Header Header::WithPageKey(std::uint32_t key) const {
  Header header = *this;
  StoreLittle(header.plain_.data() + kPageKeyAt, key);
  return header;
}

Page Header::ToPage() const {
  Page page = plain_;
  ApplyMask(page);
  return page;
}

std::uint16_t Header::CodePage() const {
  return LoadLittle<std::uint16_t>(plain_.data() + kCodePageAt);
}

std::uint32_t Header::PageKey() const {
  return LoadLittle<std::uint32_t>(plain_.data() + kPageKeyAt);
}

std::uint32_t Header::Build() const {
  return LoadLittle<std::uint32_t>(plain_.data() + kBuildAt);
}

SortOrder Header::TextOrder() const {
  return {LoadLittle<std::uint16_t>(plain_.data() + kLanguageAt), plain_[kSortIdAt], plain_[kSortVersionAt]};
}

Date Header::Created() const {
  return Date{std::bit_cast<double>(LoadLittle<std::uint64_t>(plain_.data() + kCreatedAt))};
}

bool Header::HasPassword() const {
  const Bytes password = Password();
  return std::any_of(password.begin(), password.end(), [](std::uint8_t byte) { return byte != 0; });
}

std::optional<std::size_t> Header::SuspectCommitWord() const {
  for (std::size_t i = 0; i < kCommitWords; ++i) {
    if (LoadLittle<std::uint16_t>(plain_.data() + kCommitWordsAt + 2 * i) < kNeverWritten) return i;
  }
  return std::nullopt;
}

bool Header::HasMapsInPlace() const {
  return LoadLittle<std::uint32_t>(plain_.data() + kFreePagesAt) == kFreePagesMapWord &&
         LoadLittle<std::uint32_t>(plain_.data() + kReleasedPagesAt) == kReleasedPagesMapWord;
}

Bytes Header::Password() const {
  Bytes password(plain_.begin() + kPasswordAt, plain_.begin() + kPasswordAt + kPasswordSize);
  XorWithDay(password, Created());
  return password;
}

Bytes Header::IdentifierStream(std::size_t length) const {
  Bytes area = Password();
  area.insert(area.end(), plain_.begin() + kPasswordAt + kPasswordSize,
              plain_.begin() + kPasswordAt + 2 * kIdentifierKeyBytes);
  auto key = LoadLittle<std::uint32_t>(plain_.data() + kCreatedAt);
  for (std::size_t i = 0; i < kIdentifierKeyBytes; ++i) key ^= static_cast<std::uint32_t>(area[2 * i]) << (i % 24);
  std::array<std::uint8_t, 4> keyBytes{};
  StoreLittle(keyBytes.data(), key);
  return Rc4KeyStream(keyBytes, length);
}

Bytes Header::Identifier(Account account) const {
  const auto plain = PlainIdentifier(account);
  Bytes identifier = IdentifierStream(plain.size());
  for (std::size_t i = 0; i < plain.size(); ++i) identifier[i] ^= plain[i];
  return identifier;
}

void CheckFileKind(const std::string& path, ByteView start, std::uint64_t length) {
  if (length < 2 * kPageSize || start.size() < kPageSize) throw UnrecognizedFormatError(path);
  if (!std::equal(kMagic.begin(), kMagic.end(), start.begin())) throw UnrecognizedFormatError(path);

  const std::string name(start.begin() + kNameAt, start.begin() + kNameAt + kNameSize);
  const std::uint8_t version = start[kVersionAt];
  if (name == kAceName) throw UnrecognizedFormatError(path, AceReason(version));
  if (name == kMsisamName)
    throw UnrecognizedFormatError(path,
                                  "It is an MSISAM database, which another program made; export its tables "
                                  "there.");
  if (name != kJetName) throw UnrecognizedFormatError(path);
  if (version == kVersionJet3) {
    throw UnrecognizedFormatError(
        path,
        "It is an Access 97 database (Jet 3). Open it with Access 2000, 2002 or 2003 and convert it to the Access 2000 "
        "format.");
  }
  if (version != kVersionJet4) {
    throw UnrecognizedFormatError(
        path, "It was made by a newer version of the engine (version " + std::to_string(version) + ").");
  }
  if (length % kPageSize != 0) {
    throw UnrecognizedFormatError(
        path, "Its length of " + std::to_string(length) + " bytes is no multiple of 4096; it is damaged or cut off.");
  }
}

void CheckAccess(const std::string& path, const Header& header) {
  if (!header.HasPassword()) return;
  throw Error(errors::kJetNotAValidPassword, "",
              "Not a valid password. '" + path + "' is protected by a password; remove it in Access.");
}

void CheckWritable(const std::string& path, const Header& header) {
  if (!header.HasMapsInPlace()) throw UnsupportedError("'" + path + "' keeps its map of free pages in another place");
  const auto word = header.SuspectCommitWord();
  if (!word) return;
  throw DamagedFileError("the header of '" + path + "' says that a program stopped while writing to it or met damage" +
                         " (commit word " + std::to_string(*word) + "); repair the file before it is changed");
}

}  // namespace mv::jet
