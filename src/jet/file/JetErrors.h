#pragma once

#include <string>

#include "base/Error.h"

namespace mv::jet {

/// The engine's errors, with the numbers and texts that the provider of the platform uses.

/// -2147467259 "Could not find file '...'."
Error FileNotFoundError(const std::string& path);
/// -2147467259 "Could not use '...'; file already in use."
Error FileInUseError(const std::string& path);
/// -2147467259 "The Microsoft Jet database engine cannot open the file '...'. It is already opened exclusively by
/// another user, or you need permission to view its data."
Error NoPermissionError(const std::string& path);
/// 75 and a text of our own: the new database cannot be written into the folder of the old one, which stays.
Error FolderNotWritableError(const std::string& path);
/// -2147467259 "Unrecognized database format '...'." `reason`, when given, is added as a sentence of its own.
Error UnrecognizedFormatError(const std::string& path, const std::string& reason = {});
/// -2147467259 and a text of our own: a structure of the file contradicts itself; nothing was changed. `what` says
/// which ("page 17: ...").
Error DamagedFileError(const std::string& what);
/// -2147467259 and a text of our own: something the engine does not know how to keep right; nothing was changed.
Error UnsupportedError(const std::string& what);
/// -2147217865 "The Microsoft Jet database engine cannot find the input table or query '...'. Make sure it exists and
/// that its name is spelled correctly."
Error NoSuchTableError(const std::string& table);
/// -2147217887 and the text given: duplicate or null key, a value that does not fit. The text names table, column or
/// index.
Error ConstraintError(const std::string& description);

}  // namespace mv::jet
