#include "Script.h"

#include <sstream>
#include <stdexcept>

#include "Published.h"

namespace {

DWORD Number(const std::string& word, int base = 10) {
  std::size_t used = 0;
  const unsigned long number = std::stoul(word, &used, base);
  if (used != word.size()) throw std::runtime_error(word);
  return number;
}

HRESULT Result(const std::string& word) {
  return static_cast<HRESULT>(Number(word, 16));
}

/// "3" or "3+", then perhaps an HRESULT.
Script::Fault ReadFault(std::istringstream& words) {
  Script::Fault fault;
  std::string which;
  words >> which;
  fault.andAllAfter = which.ends_with('+');
  if (fault.andAllAfter) which.pop_back();
  fault.first = Number(which);
  std::string rapiError;
  if (words >> rapiError) fault.rapiError = Result(rapiError);
  return fault;
}

void ReadStatement(const std::string& verb, std::istringstream& words, Script& script) {
  std::string argument;
  if (verb == "stubborn") {
    script.stubborn = true;
  } else if (verb == "tell-error-mode") {
    script.tellErrorMode = true;
  } else if (verb == "bad-event") {
    script.badEvent = true;
  } else if (verb == "short-writes") {
    script.shortWrites = true;
  } else if (!(words >> argument)) {
    throw std::runtime_error(verb);
  } else if (verb == "fail") {
    script.faults[argument] = ReadFault(words);
  } else if (verb == "result-at-once") {
    script.resultAtOnce = Result(argument);
  } else if (verb == "result-late") {
    script.resultLate = Result(argument);
  } else if (verb == "signal") {
    script.signalDelay = argument == "never" ? std::nullopt : std::optional<DWORD>(Number(argument));
  } else if (verb == "slow") {
    script.delayPerCall = Number(argument);
  } else if (verb == "vanish") {
    std::string nth;
    words >> nth;
    script.vanishesAt = {argument, Number(nth)};
  } else if (verb == "size") {
    script.recordSize = argument == "native" ? sizeof(StartUpRecord) : Number(argument);
  } else {
    throw std::runtime_error(verb);
  }
}

}  // namespace

Script Script::Parse(const std::string& text) {
  Script script;
  std::istringstream statements(text);
  for (std::string statement; std::getline(statements, statement, ';');) {
    std::istringstream words(statement);
    std::string verb;
    if (!(words >> verb)) continue;
    try {
      ReadStatement(verb, words, script);
    } catch (const std::exception&) {
      throw std::runtime_error(statement);
    }
    if (std::string rest; words >> rest) throw std::runtime_error(statement);
  }
  return script;
}

const Script::Fault* Script::FaultOf(const std::string& name, unsigned count) const {
  const auto found = faults.find(name);
  if (found == faults.end()) return nullptr;
  const Fault& fault = found->second;
  return count == fault.first || (fault.andAllAfter && count > fault.first) ? &fault : nullptr;
}
