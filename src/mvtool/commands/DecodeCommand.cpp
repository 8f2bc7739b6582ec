#include <ostream>

#include "jet/file/PageKeyChange.h"
#include "mvtool/commands/Command.h"

namespace mv::tool {
namespace {

constexpr std::string_view kDecodeHelp =
    "  Makes the pages of an encoded (\"encrypted\") database plain: the opposite of\n"
    "  \"encode\". All else stays as it is.\n";

void Decode(const Arguments& arguments, ToolContext& context) {
  const std::string& path = arguments.Operand(0);
  jet::PageKeyChange change(context.files, path);
  if (change.PresentKey() != 0) return change.Commit(0);
  context.out << '"' << path << "\" is not encoded; nothing was changed\n";
}

}  // namespace

Command DecodeCommand() {
  return {
      .name = "decode",
      .group = CommandGroup::Files,
      .summary = "makes an encoded database plain",
      .help = kDecodeHelp,
      .rules = {.synopsis = "mvtool decode FILE.db",
                .leastOperands = 1,
                .mostOperands = 1,
                .switches = {},
                .settings = {},
                .operands = {Operand::File}},
      .run = &Decode,
  };
}

}  // namespace mv::tool
