#include "device/wire/RemoteCalls.h"

#include <gtest/gtest.h>

#include "support/Hex.h"
#include "support/ScriptedCalls.h"

namespace mv::wire {
namespace {

using testing::FromHex;
using testing::ScriptedCalls;
using testing::ToHex;

constexpr auto kV1 = MessageVersion::V1;
constexpr auto kV2 = MessageVersion::V2;
constexpr const char* kPath = "\\T\\a.pdb";
constexpr const char* kPathHex = "5c005400 5c006100 2e007000 64006200 0000";
constexpr std::int32_t kFailed = static_cast<std::int32_t>(0x80004005);

/// The request that `call` sends, when `reply` comes back; the call's result goes to `check`.
template <typename Call>
std::string RequestOf(MessageVersion version, const std::string& reply, Call call) {
  ScriptedCalls script(version, {reply});
  call(script.Calls());
  EXPECT_EQ(script.Calls().Error(), 0);
  return ToHex(script.Requests().at(0));
}

std::string Hex(const std::string& hex) {
  return ToHex(FromHex(hex));
}

// ---- Each call, byte for byte

TEST(CallBytes, CreateFile) {
  const auto create = [](RemoteCalls& calls) { EXPECT_EQ(calls.CreateFile(kPath, 0x40000000, 1, 2, 0x80), 0x1A2C0U); };
  EXPECT_EQ(
      RequestOf(kV1, "0c000000 00000000 00000000 c0a20100", create),
      Hex(std::string("32000000 05000000 00000040 01000000 02000000 80000000 00000000 01000000 09000000") + kPathHex));
  EXPECT_EQ(RequestOf(kV2, "08000000 00000000 c0a20100", create),
            Hex(std::string("2e000000 16000000 12000000") + kPathHex + "00000040 01000000 02000000 80000000 00000000"));
}

TEST(CallBytes, CreateFileThatFails) {
  const auto open = [](RemoteCalls& calls) {
    EXPECT_FALSE(calls.CreateFile("/T/a.pdb", 0x80000000, 1, 3, 0x80));
    EXPECT_EQ(calls.LastError(), 2U);
  };
  EXPECT_EQ(
      RequestOf(kV1, "0c000000 00000000 02000000 ffffffff", open),
      Hex(std::string("32000000 05000000 00000080 01000000 03000000 80000000 00000000 01000000 09000000") + kPathHex));
  EXPECT_EQ(RequestOf(kV2, "08000000 02000000 ffffffff", open),
            Hex(std::string("2e000000 16000000 12000000") + kPathHex + "00000080 01000000 03000000 80000000 00000000"));
}

TEST(CallBytes, CreateFileOverAnExistingOneSucceedsWithAnErrorCode) {
  ScriptedCalls script(kV1, {"0c000000 00000000 b7000000 c0a20100"});
  EXPECT_EQ(script.Calls().CreateFile(kPath, 0x40000000, 1, 2, 0x80), 0x1A2C0U);
  EXPECT_EQ(script.Calls().LastError(), 183U);
}

TEST(CallBytes, WriteFile) {
  const auto write = [](RemoteCalls& calls) { EXPECT_TRUE(calls.WriteFile(0x1A2C0, FromHex("48454c4c4f"))); };
  EXPECT_EQ(RequestOf(kV1, "10000000 00000000 00000000 01000000 05000000", write),
            Hex("19000000 07000000 c0a20100 01000000 05000000 48454c4c4f 00000000"));
  EXPECT_EQ(RequestOf(kV2, "0c000000 00000000 01000000 05000000", write),
            Hex("11000000 18000000 c0a20100 05000000 48454c4c4f"));
}

TEST(CallBytes, ShortWriteFails) {
  const auto write = [](RemoteCalls& calls) { EXPECT_FALSE(calls.WriteFile(0x1A2C0, FromHex("48454c4c4f"))); };
  RequestOf(kV1, "10000000 00000000 00000000 01000000 04000000", write);
  RequestOf(kV2, "0c000000 00000000 01000000 04000000", write);
}

TEST(CallBytes, ReadFile) {
  const auto read = [](RemoteCalls& calls) {
    Bytes out(16);
    EXPECT_EQ(calls.ReadFile(0x1A2E0, out), 5U);
    EXPECT_EQ(ToHex(ByteView(out).first(6)), Hex("48454c4c4f00"));
  };
  EXPECT_EQ(RequestOf(kV1, "15000000 00000000 00000000 01000000 05000000 48454c4c4f", read),
            Hex("18000000 06000000 e0a20100 01000000 10000000 00000000 00000000"));
  EXPECT_EQ(RequestOf(kV2, "11000000 00000000 01000000 05000000 48454c4c4f", read),
            Hex("0c000000 17000000 e0a20100 10000000"));
}

TEST(CallBytes, ReadFileTakesUnusualRepliesToo) {
  const std::pair<MessageVersion, const char*> replies[] = {
      {kV1, "19000000 01000000 00000000 00000000 01000000 05000000 48454c4c4f"},  // an HRESULT that is none
      {kV1, "19000000 00000000 00000000 01000000 05000000 48454c4c4f 01020304"},  // bytes at the end
      {kV2, "15000000 00000000 01000000 05000000 48454c4c4f 01020304"},           //
      {kV1,
       "29000000 00000000 00000000 01000000 05000000 48454c4c4f"
       "0102030405060708"  // more than was asked for
       "0102030405060708 01020304"},
      {kV1, "15000000 00000000 00000000 ffffffff 05000000 48454c4c4f"},  // another kind of true
  };
  for (const auto& [version, reply] : replies) {
    ScriptedCalls script(version, {reply, "0c000000 00000000 01000000 01000000"});
    Bytes out(6);
    EXPECT_EQ(script.Calls().ReadFile(0x1A2E0, out), 5U) << reply;
    EXPECT_EQ(ToHex(ByteView(out).first(5)), Hex("48454c4c4f")) << reply;
    EXPECT_TRUE(script.Calls().CloseHandle(0x1A2E0)) << reply << ": the next reply is in step";
  }
}

TEST(CallBytes, ReadFileThatFailsKeepsTheConnection) {
  for (const char* reply : {"10000000 00000000 05000000 00000000 00000000", "0c000000 00000000 05000000 00000000",
                            "15000000 00000000 05000000 00000000 05000000 48454c4c4f"}) {
    ScriptedCalls script(kV1, {reply});
    Bytes out(16);
    EXPECT_FALSE(script.Calls().ReadFile(0x1A2E0, out)) << reply;
    EXPECT_EQ(script.Calls().LastError(), 5U) << reply;
    EXPECT_EQ(script.Calls().Error(), 0) << reply;
  }
}

TEST(CallBytes, ReadFileAtTheEndReadsNothing) {
  ScriptedCalls script(kV1, {"10000000 00000000 00000000 01000000 00000000"});
  Bytes out(16);
  EXPECT_EQ(script.Calls().ReadFile(0x1A2E0, out), 0U);
}

TEST(CallBytes, CloseHandle) {
  const auto close = [](RemoteCalls& calls) { EXPECT_TRUE(calls.CloseHandle(0x1A2C0)); };
  EXPECT_EQ(RequestOf(kV1, "0c000000 00000000 00000000 01000000", close), Hex("08000000 08000000 c0a20100"));
  EXPECT_EQ(RequestOf(kV2, "08000000 00000000 01000000", close), Hex("08000000 19000000 c0a20100"));
}

TEST(CallBytes, CloseHandleThatIsUnknown) {
  ScriptedCalls script(kV1, {"0c000000 00000000 06000000 00000000"});
  EXPECT_FALSE(script.Calls().CloseHandle(0x1A2C0));
  EXPECT_EQ(script.Calls().LastError(), 6U);
  EXPECT_EQ(script.Calls().Error(), 0);
}

TEST(CallBytes, GetFileSize) {
  const auto ask = [](RemoteCalls& calls) { EXPECT_EQ(calls.GetFileSize(0x1A2E0), 5U); };
  EXPECT_EQ(RequestOf(kV1, "10000000 00000000 00000000 05000000 00000000", ask),
            Hex("0c000000 1d000000 e0a20100 00000000"));
  EXPECT_EQ(RequestOf(kV2, "0c000000 00000000 05000000 00000000", ask), Hex("0c000000 2e000000 e0a20100 00000000"));
}

TEST(CallBytes, GetFileSizeTakesAHighPartOrNoneAtTheEnd) {
  const auto ask = [](RemoteCalls& calls) { EXPECT_EQ(calls.GetFileSize(0x1A2E0), 5U); };
  RequestOf(kV1, "1c000000 00000000 00000000 05000000 01000000 04000000 01000000 00000000", ask);
  RequestOf(kV1, "0c000000 00000000 00000000 05000000", ask);
  RequestOf(kV2, "0c000000 00000000 05000000 00000000", ask);
  RequestOf(kV2, "08000000 00000000 05000000", ask);
  RequestOf(kV2, "18000000 00000000 05000000 01000000 04000000 01000000 00000000", ask);
}

TEST(CallBytes, EmptyFileHasASizeInBothVersions) {
  const auto ask = [](RemoteCalls& calls) { EXPECT_EQ(calls.GetFileSize(0x1A2E0), 0U); };
  RequestOf(kV1, "10000000 00000000 00000000 00000000 00000000", ask);
  RequestOf(kV2, "0c000000 00000000 00000000 00000000", ask);
}

constexpr const char* kFindRecord =
    "20000000 0060c191 8070c301 0060c191 8070c301 0060c191 8070c301 00000000 05000000 42000001"
    "61002e00 70006400 62000000";

TEST(CallBytes, FindFirstFile) {
  const auto find = [](RemoteCalls& calls) {
    const auto found = calls.FindFirstFile(kPath);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->handle, 0x1A2D0U);
    EXPECT_EQ(found->sizeLow, 5U);
  };
  EXPECT_EQ(RequestOf(kV1, std::string("44000000 00000000 00000000 d0a20100 34000000") + kFindRecord, find),
            Hex(std::string("1e000000 00000000 01000000 09000000") + kPathHex));
  EXPECT_EQ(RequestOf(kV2, std::string("40000000 00000000 d0a20100 34000000") + kFindRecord, find),
            Hex(std::string("1a000000 11000000 12000000") + kPathHex));
}

TEST(CallBytes, FindRecordMayBeSentInFull) {
  ScriptedCalls script(kV1, {std::string("40020000 00000000 00000000 d0a20100 30020000") + kFindRecord +
                             std::string(2 * (560 - 52), '0')});
  EXPECT_EQ(script.Calls().FindFirstFile(kPath)->sizeLow, 5U);
}

TEST(CallBytes, FindFirstFileThatFindsNothingMayLeaveTheRecordOut) {
  for (const char* reply : {"10000000 00000000 12000000 ffffffff 00000000", "0c000000 00000000 02000000 ffffffff"}) {
    ScriptedCalls script(kV1, {reply});
    EXPECT_FALSE(script.Calls().FindFirstFile(kPath)) << reply;
    EXPECT_EQ(script.Calls().Error(), 0) << reply;
    EXPECT_TRUE(script.Calls().IsUsable()) << reply;
  }
  ScriptedCalls script(kV2, {"0c000000 12000000 ffffffff 00000000"});
  EXPECT_FALSE(script.Calls().FindFirstFile(kPath));
}

TEST(CallBytes, FoundFileWithoutARecordIsFound) {
  ScriptedCalls script(kV1, {"0c000000 00000000 00000000 d0a20100"});
  const auto found = script.Calls().FindFirstFile(kPath);
  ASSERT_TRUE(found);
  EXPECT_FALSE(found->sizeLow);
}

TEST(CallBytes, FindClose) {
  const auto close = [](RemoteCalls& calls) { EXPECT_TRUE(calls.FindClose(0x1A2D0)); };
  EXPECT_EQ(RequestOf(kV1, "0c000000 00000000 00000000 01000000", close), Hex("08000000 02000000 d0a20100"));
  EXPECT_EQ(RequestOf(kV2, "08000000 00000000 01000000", close), Hex("08000000 13000000 d0a20100"));
}

TEST(CallBytes, GetVersionEx) {
  const auto ask = [](RemoteCalls& calls) { EXPECT_EQ(calls.GetVersionEx(), (SystemVersion{4, 20, 1081})); };
  const std::string record = "14010000 04000000 14000000 39040000 03000000" + std::string(512, '0');
  EXPECT_EQ(RequestOf(kV1, "24010000 00000000 00000000 01000000 14010000" + record, ask), Hex("04000000 3b000000"));
  EXPECT_EQ(RequestOf(kV2, "20010000 00000000 01000000 14010000" + record, ask), Hex("04000000 43000000"));
}

TEST(CallBytes, VersionMayBeAsShortAsItsNumbers) {
  ScriptedCalls script(kV2, {"20000000 00000000 01000000 14000000 14000000 05000000 01000000 c3000000 03000000"});
  EXPECT_EQ(script.Calls().GetVersionEx(), (SystemVersion{5, 1, 195}));
}

const DeviceEntry kEntry{"a.pdb", 0x20, 5, 0x01C3708091C16000};
constexpr const char* kEntryFields = "20000000 0060c191 8070c301 00000000 05000000";

TEST(CallBytes, FindAllFiles) {
  const auto list = [](RemoteCalls& calls) {
    EXPECT_EQ(calls.FindAllFiles("\\T\\*"), std::vector<DeviceEntry>{kEntry});
  };
  const std::string entry = std::string(kEntryFields) + "61002e00 70006400 62000000";
  EXPECT_EQ(RequestOf(kV1, "2c000000 00000000 01000000 06000000" + entry, list),
            Hex("1a000000 09000000 01000000 05000000 5c005400 5c002a00 0000 b9000000"));
  EXPECT_EQ(RequestOf(kV2, "30000000 00000000 01000000 01000000 0c000000" + entry, list),
            Hex("16000000 1a000000 0a000000 5c005400 5c002a00 0000 b9000000"));
}

TEST(CallBytes, NamesInAListMayBeCountedWithTheirNulOrWithoutAndMayLackIt) {
  const std::string fields(kEntryFields);
  const std::string name = "61002e00 70006400 6200";
  const std::string nul = "0000";
  const std::pair<MessageVersion, std::string> cases[] = {
      {kV1, "06000000" + fields + name + nul}, {kV1, "05000000" + fields + name + nul},
      {kV1, "05000000" + fields + name},       {kV2, "0c000000" + fields + name + nul},
      {kV2, "0a000000" + fields + name + nul}, {kV2, "0a000000" + fields + name}};
  for (const auto& [version, entry] : cases) {
    MessageWriter body;
    body.Word(0);
    if (version == kV2) body.Word(1);
    body.Word(2);
    body.Raw(FromHex(entry));
    body.Raw(FromHex(entry));
    ScriptedCalls script(version, {ToHex(body.Framed())});
    EXPECT_EQ(script.Calls().FindAllFiles("\\T\\*"), (std::vector<DeviceEntry>{kEntry, kEntry})) << entry;
  }
}

TEST(CallBytes, ListWithoutEntriesIsEmptyOrAnErrorOfVersion2) {
  ScriptedCalls v1(kV1, {"08000000 00000000 00000000"});
  EXPECT_EQ(v1.Calls().FindAllFiles("\\T\\*"), std::vector<DeviceEntry>());
  for (const char* reply : {"0c000000 12000000 00000000 00000000", "08000000 02000000 00000000"}) {
    ScriptedCalls v2(kV2, {reply});
    EXPECT_EQ(v2.Calls().FindAllFiles("\\T\\*"), std::vector<DeviceEntry>()) << reply;
  }
  ScriptedCalls denied(kV2, {"08000000 05000000 00000000"});
  EXPECT_FALSE(denied.Calls().FindAllFiles("\\T\\*"));
  EXPECT_EQ(denied.Calls().Error(), 0);
}

// ---- Refusals and mistakes

TEST(CallErrors, HresultOfVersion1IsTheErrorAndTheConnectionStays) {
  ScriptedCalls script(kV1, {"08000000 01000000 05000780", "0c000000 00000000 00000000 01000000"});
  EXPECT_FALSE(script.Calls().CloseHandle(7));
  EXPECT_EQ(script.Calls().Error(), static_cast<std::int32_t>(0x80070005));
  EXPECT_TRUE(script.Calls().IsUsable());
  EXPECT_TRUE(script.Calls().CloseHandle(7));
  EXPECT_EQ(script.Calls().Error(), 0);
}

TEST(CallErrors, HresultOfZeroIsFollowedByTheResult) {
  ScriptedCalls script(kV1, {"10000000 01000000 00000000 00000000 01000000"});
  EXPECT_TRUE(script.Calls().CloseHandle(7));
  EXPECT_EQ(script.Calls().Error(), 0);
}

struct AnyCall {
  const char* name;
  bool (*succeeds)(RemoteCalls& calls);
};

const AnyCall kCalls[] = {
    {"CeCreateFile", [](RemoteCalls& calls) { return calls.CreateFile(kPath, 0x80000000, 1, 3, 0x80).has_value(); }},
    {"CeReadFile",
     [](RemoteCalls& calls) {
       Bytes out(16);
       return calls.ReadFile(7, out).has_value();
     }},
    {"CeWriteFile", [](RemoteCalls& calls) { return calls.WriteFile(7, FromHex("48454c4c4f")); }},
    {"CeGetFileSize", [](RemoteCalls& calls) { return calls.GetFileSize(7).has_value(); }},
    {"CeCloseHandle", [](RemoteCalls& calls) { return calls.CloseHandle(7); }},
    {"CeFindFirstFile", [](RemoteCalls& calls) { return calls.FindFirstFile(kPath).has_value(); }},
    {"CeFindClose", [](RemoteCalls& calls) { return calls.FindClose(7); }},
    {"CeFindAllFiles", [](RemoteCalls& calls) { return calls.FindAllFiles("\\T\\*").has_value(); }},
    {"CeGetVersionEx", [](RemoteCalls& calls) { return calls.GetVersionEx().has_value(); }},
};

/// Version 2 has no status word; how a handheld tells that it did not run a call is not known.
TEST(CallErrors, ErrorCodeAloneInVersion2IsTheErrorAndTheConnectionStays) {
  const std::pair<const char*, std::uint32_t> refusals[] = {{"04000000 05000000", 5U},
                                                            {"04000000 05000780", 0x80070005U}};
  for (const AnyCall& call : kCalls) {
    for (const auto& [reply, lastError] : refusals) {
      ScriptedCalls script(kV2, {reply, "08000000 00000000 01000000"});
      EXPECT_FALSE(call.succeeds(script.Calls())) << call.name;
      EXPECT_EQ(script.Calls().Error(), static_cast<std::int32_t>(0x80070005)) << call.name;
      EXPECT_EQ(script.Calls().LastError(), lastError) << call.name;
      EXPECT_TRUE(script.Calls().CloseHandle(8)) << call.name << ": the next reply is in step";
      EXPECT_EQ(script.Calls().Error(), 0) << call.name;
    }
  }
}

TEST(CallErrors, ErrorCodeAndZeroInVersion2IsAFailedCall) {
  for (const AnyCall& call : kCalls) {
    ScriptedCalls script(kV2, {"08000000 78000000 00000000", "08000000 00000000 01000000"});
    EXPECT_FALSE(call.succeeds(script.Calls())) << call.name;
    EXPECT_EQ(script.Calls().Error(), 0) << call.name;
    EXPECT_EQ(script.Calls().LastError(), 120U) << call.name;
    EXPECT_TRUE(script.Calls().CloseHandle(8)) << call.name;
  }
}

TEST(CallErrors, UnknownBytesAtTheEndAreIgnored) {
  ScriptedCalls script(kV2, {"0b000000 00000000 01000000 aabbcc", "08000000 00000000 01000000"});
  EXPECT_TRUE(script.Calls().CloseHandle(7));
  EXPECT_TRUE(script.Calls().CloseHandle(7));
}

/// After `reply` the call has failed for good.
void ExpectDead(MessageVersion version, const std::string& reply, ScriptedCalls::End end = ScriptedCalls::End::Closes) {
  ScriptedCalls script(version, {reply}, end,
                       std::chrono::milliseconds(end == ScriptedCalls::End::Closes ? 10000 : 20));
  Bytes out(4);
  EXPECT_FALSE(script.Calls().ReadFile(7, out)) << reply;
  EXPECT_EQ(script.Calls().Error(), kFailed) << reply;
  EXPECT_FALSE(script.Calls().IsUsable()) << reply;
  EXPECT_FALSE(script.Calls().CloseHandle(7)) << reply;
  EXPECT_EQ(script.Calls().Error(), kFailed) << reply;
}

TEST(CallErrors, RepliesThatMakeNoSenseEndTheConnection) {
  for (const char* reply : {
           "00000000",                                                 // nothing in it
           "03000000 000000",                                          // part of a status
           "04000000 02000000",                                        // no such status
           "04000000 01000000",                                        // no HRESULT
           "08000000 00000000 00000000",                               // no value
           "08000000 00000000 05000000",                               //
           "0c000000 00000000 00000000 01000000",                      // no count
           "14000000 00000000 00000000 01000000 05000000 48454c4c",    // fewer bytes than the count
           "15000000 00000000 00000000 01000000 05000000 48454c4c4f",  // more bytes than asked for
           "10000000 00000000 00000000 01000000 ffffffff",
       }) {
    ExpectDead(kV1, reply);
  }
  for (const char* reply : {"00000000", "03000000 000000", "04000000 00000000", "08000000 00000000 01000000",
                            "0c000000 00000000 01000000 ffffffff"}) {
    ExpectDead(kV2, reply);
  }
}

TEST(CallErrors, ImpossibleLengthsEndTheConnectionBeforeAnythingIsAllocated) {
  for (const char* reply : {"01000001", "ffffff7f", "ffffffff"}) ExpectDead(kV1, reply);
}

TEST(CallErrors, ReplyThatIsCutOrNeverComesEndsTheConnection) {
  for (const char* reply : {"", "10", "100000", "10000000", "10000000 00000000 0000"}) {
    ExpectDead(kV1, reply);
    ExpectDead(kV1, reply, ScriptedCalls::End::FallsSilent);
  }
}

TEST(CallErrors, SecondReplyToOneRequestEndsTheConnectionAtTheNextCallAtTheLatest) {
  ScriptedCalls script(kV2, {"08000000 00000000 01000000 08000000 00000000 01000000"});
  script.Calls().CloseHandle(7);
  EXPECT_FALSE(script.Calls().CloseHandle(8));
  EXPECT_EQ(script.Calls().Error(), kFailed);
}

TEST(CallErrors, HandheldThatLeavesEndsACall) {
  ScriptedCalls script(kV2, {""});
  script.Lost().Signal();
  EXPECT_FALSE(script.Calls().CloseHandle(7));
  EXPECT_EQ(script.Calls().Error(), kFailed);
}

TEST(CallErrors, HostileListsEndTheConnection) {
  for (const char* reply : {"08000000 00000000 ffffffff", "08000000 00000000 01000000",
                            "20000000 00000000 01000000 ffffffff 20000000 0060c191 8070c301 00000000 05000000"}) {
    ScriptedCalls script(kV1, {reply});
    EXPECT_FALSE(script.Calls().FindAllFiles("\\T\\*")) << reply;
    EXPECT_EQ(script.Calls().Error(), kFailed) << reply;
  }
}

TEST(CallErrors, FindRecordBeyondTheReplyEndsTheConnection) {
  ScriptedCalls script(kV1, {"14000000 00000000 00000000 d0a20100 34000000 20000000"});
  EXPECT_FALSE(script.Calls().FindFirstFile(kPath));
  EXPECT_EQ(script.Calls().Error(), kFailed);
}

TEST(CallErrors, PathsThatHandheldsCannotTakeAreNotSent) {
  ScriptedCalls script(kV1, {"0c000000 00000000 00000000 c0a20100"});
  const std::string longest = "\\" + std::string(258, 'x');
  for (const std::string& path : {longest + "x", std::string("\\a\0b", 4)}) {
    EXPECT_FALSE(script.Calls().CreateFile(path, 0x80000000, 1, 3, 0x80));
    EXPECT_FALSE(script.Calls().FindFirstFile(path));
    EXPECT_FALSE(script.Calls().FindAllFiles(path));
    EXPECT_EQ(script.Calls().Error(), 0);
    EXPECT_EQ(script.Calls().LastError(), 123U);
  }
  EXPECT_TRUE(script.Calls().CreateFile(longest, 0x80000000, 1, 3, 0x80));
  EXPECT_EQ(script.Requests().size(), 1U);
}

}  // namespace
}  // namespace mv::wire
