#include <iostream>

#include "base/Error.h"
#include "mvtool/demo/SampleDatabase.h"
#include "platform/Console.h"
#include "platform/FileSystem.h"

/// Part of the build, not of the product: writes the template database "_20", from which an "Overwrite PC" run starts,
/// to the path given. The file is the same whenever and wherever it is made.
int main(int argc, char** argv) {
  mv::platform::UseUtf8Streams();
  const std::vector<std::string> words = mv::platform::Arguments(argc, argv);
  if (words.size() != 1) {
    std::cerr << "usage: make_template FILE\n";
    return 2;
  }
  try {
    const auto files = mv::platform::MakeFileSystem();
    mv::tool::MakeSampleDatabase(*files, words[0])->Commit();
    return 0;
  } catch (const mv::Error& error) {
    std::cerr << "make_template: " << error.Description() << '\n';
    return 1;
  }
}
