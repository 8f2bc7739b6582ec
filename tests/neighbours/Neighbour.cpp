// Another program that has to do with a database file: takes hold of it, says whether it could, and lets go when told.
//
//   neighbour exclusive PATH ANSWER RELEASE              opens it for reading and writing, sharing nothing
//   neighbour reading PATH ANSWER RELEASE                opens it for reading, others may read
//   neighbour FIRST,COUNT PATH ANSWER RELEASE            locks these bytes of it
//
// "held" or "refused" is written to the file ANSWER; the program ends when RELEASE exists.

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "neighbours/ByteLock.h"
#include "platform/FileSystem.h"

namespace {

using namespace mv;

struct Hold {
  std::unique_ptr<platform::File> file;
  std::optional<testing::ByteLock> lock;
};

void Take(Hold& hold, const std::string& how, const std::string& path) {
  const bool isExclusive = how == "exclusive";
  if (isExclusive || how == "reading") {
    hold.file = platform::MakeFileSystem()->Open(
        path, isExclusive ? platform::Access::ReadWrite : platform::Access::Read, platform::Disposition::OpenExisting,
        isExclusive ? platform::Sharing::None : platform::Sharing::Read);
    return;
  }
  const std::size_t comma = how.find(',');
  hold.lock.emplace(path, std::stoull(how.substr(0, comma)), std::stoull(how.substr(comma + 1)));
}

/// Written beside and renamed, so that nobody reads half an answer.
void Answer(const std::string& path, const std::string& text) {
  std::ofstream(path + ".new") << text;
  std::filesystem::rename(path + ".new", path);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 5) return 2;
  Hold hold;
  std::string answer = "held";
  try {
    Take(hold, arguments[1], arguments[2]);
  } catch (const std::exception&) {
    answer = "refused";
  }
  Answer(arguments[3], answer);
  while (!std::filesystem::exists(arguments[4])) std::this_thread::sleep_for(std::chrono::milliseconds(5));
}
