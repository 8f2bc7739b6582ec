#include "run/StartAnswer.h"

#include <ostream>

#include "base/Utf.h"
#include "run/RunContext.h"
#include "run/Version.h"

namespace mv {

const std::string_view kStartSynopsis =
    "MVPPCSync\n"
    "MVPPCSync -Mode0 | -Mode1 | -Mode2\n"
    "MVPPCSync --terminal\n"
    "MVPPCSync --help | --version";

const std::string_view kStartHelp =
    "  Keeps a vehicle-records database (Motorva.db) and the tables of its handheld\n"
    "  in step. Without a mode it opens its window. With one it does a run at once\n"
    "  and shows nothing; the sync log tells what it did.\n"
    "    -Mode0      Synchronize: merges both sides record by record\n"
    "    -Mode1      Overwrite PDA: the desktop tables replace the handheld's\n"
    "    -Mode2      Overwrite PC: backs the database up, lays the template \"_20\"\n"
    "                over it and fills it from the handheld\n"
    "    --terminal  the window's work in a terminal (Linux)\n"
    "    --help      this\n"
    "    --version   the version of the program\n"
    "  Exit status: 0 all tables went well, 1 a table failed, 2 an error stopped the\n"
    "  run, 3 there was no handheld.\n"
    "  First \"mvtool setup\" asks for the database and the handheld, \"mvtool doctor\"\n"
    "  says whether all is in place, \"mvtool preview\" shows what a run would do.\n";

std::optional<int> AnswerStart(const Invocation& invocation, std::ostream& out, std::ostream& errors) {
  if (!invocation.unknownOption.empty()) {
    errors << "MVPPCSync: unknown option \"" << ValidUtf8(invocation.unknownOption)
           << "\"; \"MVPPCSync --help\" lists them\n";
    return static_cast<int>(ExitStatus::Stopped);
  }
  if (invocation.wantsHelp) {
    out << kStartSynopsis << '\n' << kStartHelp;
  } else if (invocation.wantsVersion) {
    out << "MVPPCSync " << kProgramVersion << '\n';
  } else {
    return std::nullopt;
  }
  return static_cast<int>(ExitStatus::Success);
}

}  // namespace mv
