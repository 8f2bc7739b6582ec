#include <charconv>
#include <cstdint>
#include <ostream>
#include <random>

#include "jet/file/PageKeyChange.h"
#include "mvtool/commands/Command.h"
#include "mvtool/files/ToolErrors.h"

namespace mv::tool {
namespace {

constexpr std::string_view kKey = "--key";

constexpr std::string_view kEncodeHelp =
    "  Encodes (\"encrypts\") a database: a look into the file shows none of its texts\n"
    "  any more. The key lies in the file, so programs that know the format read it\n"
    "  without a password: it is a disguise, no protection. All commands and runs\n"
    "  work with encoded databases and leave them encoded.\n"
    "    --key HEX8  the key of the pages, eight hexadecimal digits, not all 0; else\n"
    "                a random one. Gives an encoded database another key\n";

std::uint32_t KeyFrom(const std::string& text) {
  constexpr std::size_t kDigits = 8;
  std::uint32_t key = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), key, 16);
  const bool isWhole = code == std::errc() && end == text.data() + text.size();
  if (isWhole && text.size() == kDigits && key != 0) return key;
  throw UsageError("--key needs eight hexadecimal digits that are not all 0, not \"" + text + "\"");
}

std::uint32_t RandomKey() {
  std::random_device device;
  return std::uniform_int_distribution<std::uint32_t>(1)(device);
}

void Encode(const Arguments& arguments, ToolContext& context) {
  const std::string& path = arguments.Operand(0);
  const auto given = arguments.ValueOf(kKey);
  const std::uint32_t key = given ? KeyFrom(*given) : RandomKey();
  jet::PageKeyChange change(context.files, path);
  const bool isDone = given ? change.PresentKey() == key : change.PresentKey() != 0;
  if (!isDone) return change.Commit(key);
  context.out << '"' << path << "\" is encoded already; nothing was changed\n";
}

}  // namespace

Command EncodeCommand() {
  return {
      .name = "encode",
      .group = CommandGroup::Files,
      .summary = "encodes (\"encrypts\") a database",
      .help = kEncodeHelp,
      .rules = {.synopsis = "mvtool encode FILE.db [--key HEX8]",
                .leastOperands = 1,
                .mostOperands = 1,
                .switches = {},
                .settings = {kKey},
                .operands = {Operand::File}},
      .run = &Encode,
  };
}

}  // namespace mv::tool
