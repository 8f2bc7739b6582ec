#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace mv {

/// The numbers an Error can carry besides those that a class documents for itself (-1 and -2 of the record layer).
/// They are the platform's own, because the sync log prints them and users look them up.
namespace errors {
inline constexpr std::int32_t kInvalidProcedureCall = 5;
inline constexpr std::int32_t kOverflow = 6;
inline constexpr std::int32_t kOutOfMemory = 7;
inline constexpr std::int32_t kSubscriptOutOfRange = 9;
inline constexpr std::int32_t kTypeMismatch = 13;
inline constexpr std::int32_t kUserInterrupt = 18;
inline constexpr std::int32_t kInternalError = 51;
inline constexpr std::int32_t kBadFileNumber = 52;
inline constexpr std::int32_t kFileNotFound = 53;
inline constexpr std::int32_t kBadFileMode = 54;
inline constexpr std::int32_t kFileAlreadyExists = 58;
inline constexpr std::int32_t kDiskFull = 61;
inline constexpr std::int32_t kPermissionDenied = 70;
inline constexpr std::int32_t kPathFileAccess = 75;
inline constexpr std::int32_t kPathNotFound = 76;
inline constexpr std::int32_t kDeviceIo = 57;
inline constexpr std::int32_t kObjectNotSet = 91;
inline constexpr std::int32_t kOperationFailed = 513;  ///< of this program's own; the description says it all
inline constexpr std::int32_t kRecordsetArgument = 3001;
inline constexpr std::int32_t kNoCurrentRecord = 3021;
inline constexpr std::int32_t kItemNotFound = 3265;
inline constexpr std::int32_t kObjectInCollection = 3367;
inline constexpr std::int32_t kJetGeneral = -2147467259;            ///< 0x80004005: file problems, unrecognized formats
inline constexpr std::int32_t kJetNoSuchTable = -2147217865;        ///< 0x80040E37
inline constexpr std::int32_t kJetNotAValidPassword = -2147217843;  ///< 0x80040E4D
inline constexpr std::int32_t kJetConstraint =
    -2147217887;  ///< 0x80040E21: duplicate or null key, value that does not fit
}  // namespace errors

/// The one exception of the program: what the run's error handler prints. Thrown by value, caught by reference.
/// Tests compare the number, people read the description.
class Error : public std::exception {
 public:
  /// `source` names the member that failed ("adoTypeToPDBType"), empty when the number says it all.
  Error(std::int32_t number, std::string source, std::string description);

  std::int32_t Number() const { return number_; }
  const std::string& Source() const { return source_; }
  const std::string& Description() const { return description_; }
  /// What the error is about: a path, or a setting; empty when nobody told. No part of the description, because that is
  /// what the sync log prints.
  const std::string& Subject() const { return subject_; }
  /// The same error with its subject; one that it has already stays, as it was told nearer to the failure.
  Error About(const std::string& subject) const;
  /// The description.
  const char* what() const noexcept override { return description_.c_str(); }

 private:
  std::int32_t number_;
  std::string source_;
  std::string description_;
  std::string subject_;
};

/// An Error with one of the platform's numbers and its standard text, e.g. 6 "Overflow". Numbers without a standard
/// text get "Application-defined or object-defined error".
Error StandardError(std::int32_t number, std::string source = {});

/// An Error of this program's own, kOperationFailed.
Error Failure(std::string description);

/// `error` with the place where it happened in front of its description: "place: description". All else stays.
Error At(const std::string& place, const Error& error);

}  // namespace mv
