#include "base/Error.h"

#include <array>
#include <utility>

namespace mv {
namespace {

struct StandardText {
  std::int32_t number;
  const char* text;
};

constexpr std::array kStandardTexts = {
    StandardText{errors::kInvalidProcedureCall, "Invalid procedure call or argument"},
    StandardText{errors::kOverflow, "Overflow"},
    StandardText{errors::kOutOfMemory, "Out of memory"},
    StandardText{errors::kSubscriptOutOfRange, "Subscript out of range"},
    StandardText{errors::kTypeMismatch, "Type mismatch"},
    StandardText{errors::kUserInterrupt, "User interrupt occurred"},
    StandardText{errors::kInternalError, "Internal error"},
    StandardText{errors::kBadFileNumber, "Bad file name or number"},
    StandardText{errors::kFileNotFound, "File not found"},
    StandardText{errors::kBadFileMode, "Bad file mode"},
    StandardText{errors::kDeviceIo, "Device I/O error"},
    StandardText{errors::kFileAlreadyExists, "File already exists"},
    StandardText{errors::kDiskFull, "Disk full"},
    StandardText{errors::kPermissionDenied, "Permission denied"},
    StandardText{errors::kPathFileAccess, "Path/File access error"},
    StandardText{errors::kPathNotFound, "Path not found"},
    StandardText{errors::kObjectNotSet, "Object variable or With block variable not set"},
    StandardText{errors::kRecordsetArgument,
                 "Arguments are of the wrong type, are out of acceptable range, or are in conflict with one another."},
    StandardText{errors::kNoCurrentRecord,
                 "Either BOF or EOF is True, or the current record has been deleted. Requested operation requires a "
                 "current record."},
    StandardText{errors::kItemNotFound,
                 "Item cannot be found in the collection corresponding to the requested name or ordinal."},
    StandardText{errors::kObjectInCollection, "Object is already in collection. Cannot append."},
    StandardText{errors::kJetNotAValidPassword, "Not a valid password."},
};

}  // namespace

Error::Error(std::int32_t number, std::string source, std::string description)
    : number_(number), source_(std::move(source)), description_(std::move(description)) {}

Error Error::About(const std::string& subject) const {
  Error error = *this;
  if (error.subject_.empty()) error.subject_ = subject;
  return error;
}

Error StandardError(std::int32_t number, std::string source) {
  for (const StandardText& entry : kStandardTexts) {
    if (entry.number == number) return Error(number, std::move(source), entry.text);
  }
  return Error(number, std::move(source), "Application-defined or object-defined error");
}

Error Failure(std::string description) {
  return Error(errors::kOperationFailed, "", std::move(description));
}

Error At(const std::string& place, const Error& error) {
  return Error(error.Number(), error.Source(), place + ": " + error.Description()).About(error.Subject());
}

}  // namespace mv
