#include "jet/file/JetErrors.h"

namespace mv::jet {

Error FileNotFoundError(const std::string& path) {
  return Error(errors::kJetGeneral, "", "Could not find file '" + path + "'.");
}

Error FileInUseError(const std::string& path) {
  return Error(errors::kJetGeneral, "", "Could not use '" + path + "'; file already in use.");
}

Error NoPermissionError(const std::string& path) {
  return Error(errors::kJetGeneral, "",
               "The Microsoft Jet database engine cannot open the file '" + path +
                   "'. It is already opened exclusively by another user, or you need permission to view its data.");
}

Error FolderNotWritableError(const std::string& path) {
  return Error(errors::kPathFileAccess, "",
               "The new database cannot be written beside '" + path + "': its folder takes no new file.");
}

Error UnrecognizedFormatError(const std::string& path, const std::string& reason) {
  std::string text = "Unrecognized database format '" + path + "'.";
  if (!reason.empty()) text += " " + reason;
  return Error(errors::kJetGeneral, "", text);
}

Error DamagedFileError(const std::string& what) {
  return Error(errors::kJetGeneral, "", "The database file is damaged: " + what + ". Nothing was changed.");
}

Error UnsupportedError(const std::string& what) {
  return Error(errors::kJetGeneral, "", "Not supported: " + what + ". Nothing was changed.");
}

Error NoSuchTableError(const std::string& table) {
  return Error(errors::kJetNoSuchTable, "",
               "The Microsoft Jet database engine cannot find the input table or query '" + table +
                   "'. Make sure it exists and that its name is spelled correctly.");
}

Error ConstraintError(const std::string& description) {
  return Error(errors::kJetConstraint, "", description);
}

}  // namespace mv::jet
