#include "ui/terminal/LogReader.h"

#include "base/Cp1252.h"
#include "base/Error.h"
#include "ui/terminal/Glyphs.h"
#include "ui/terminal/Screen.h"

namespace mv::terminal {
namespace {

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    const bool carriageReturn = end > at && text[end - 1] == '\r';
    lines.push_back(Harmless(std::string_view(text).substr(at, end - at - (carriageReturn ? 1 : 0))));
    at = end + 1;
  }
  return lines;
}

}  // namespace

bool LogReader::OpenDocument(const std::string& path) {
  try {
    const auto file =
        files_.Open(path, platform::Access::Read, platform::Disposition::OpenExisting, platform::Sharing::All);
    std::string text;
    for (const std::string& line : LinesOf(Utf8FromCp1252(platform::ReadWhole(*file)))) {
      text += Encoded(line, terminal_.OutputCharset()) + "\n";
    }
    if (!terminal_.Page(text)) terminal_.Write(text);
    return true;
  } catch (const Error&) {
    return false;  // as a shell says it
  }
}

}  // namespace mv::terminal
