#pragma once

#include <windows.h>

#include <map>
#include <optional>
#include <string>
#include <utility>

/// What the test library is told to do wrong. README.md has the language.
class Script {
 public:
  struct Fault {
    unsigned first = 0;  ///< counted from 1
    bool andAllAfter = false;
    HRESULT rapiError = 0;  ///< 0 = the device itself refuses
  };

  /// Throws std::runtime_error with the statement that is not understood.
  static Script Parse(const std::string& text);

  /// The fault of the `count`-th call of `name`, if it has one.
  const Fault* FaultOf(const std::string& name, unsigned count) const;

  std::map<std::string, Fault> faults;  ///< by name of the call
  HRESULT resultAtOnce = 0;
  HRESULT resultLate = 0;
  std::optional<DWORD> signalDelay = 0;  ///< milliseconds; nothing = the event is never signalled
  bool badEvent = false;
  bool stubborn = false;
  bool tellErrorMode = false;
  DWORD delayPerCall = 0;  ///< milliseconds
  bool shortWrites = false;
  std::optional<std::pair<std::string, unsigned>> vanishesAt;  ///< name and number of a call
  std::optional<DWORD> recordSize;                             ///< the only one accepted
};
