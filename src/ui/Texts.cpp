#include "ui/Texts.h"

#include "base/NumberText.h"

namespace mv::texts {

std::string LogDoesNotExist(const std::string& path) {
  return "Sync Log: " + path + " does not exist.";
}

std::string UnableToOpen(const std::string& path) {
  return "Unable to open: " + path;
}

std::string DatabaseInUse(const std::string& desktopDBPath) {
  return "Unable to overwite [" + desktopDBPath + "] database. Close the Desktop Edition and retry.";
}

std::string ErrorOccurred(const Error& error) {
  const std::string text =
      "Error: " + TextOfInteger(error.Number()) + " has occurred.\rDescription: " + error.Description();
  return error.Subject().empty() ? text : text + "\r" + error.Subject();
}

std::string TablesDone(int done, int of) {
  return TextOfInteger(done) + " of " + TextOfInteger(of);
}

}  // namespace mv::texts
