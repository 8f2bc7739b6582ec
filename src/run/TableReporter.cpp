#include "run/TableReporter.h"

#include "base/Error.h"
#include "run/RunTexts.h"

namespace mv {

TableReporter::TableReporter(const RunContext& run)
    : run_(run), window_(run.state.InteractiveRun ? run.ui : noWindow_) {}

void TableReporter::Connecting() {
  window_.SetStatus(window_texts::kConnecting);
}

void TableReporter::Retrieving(const std::string& table) {
  window_.SetStatus(window_texts::Retrieving(table));
  Log(log_texts::Retrieving(table));
}

void TableReporter::NotRetrieved(const std::string& table, std::int32_t code) {
  run_.ui.SetStatus(window_texts::NotRetrieved(table));
  Log(log_texts::NotRetrieved(table, code));
  window_.AddProgressLine(window_texts::NotRetrievedLine(table, code));
}

void TableReporter::Retrieved(const std::string& table) {
  Log(log_texts::Retrieved(table));
}

void TableReporter::Converting(const std::string& table) {
  window_.SetStatus(window_texts::Reading(table));
  Log(log_texts::Converting(table));
}

void TableReporter::SourceCreated(const std::string& table) {
  Log(log_texts::SourceCreated(table));
}

void TableReporter::ResultCreated(const std::string& table) {
  Log(log_texts::ResultCreated(table));
}

void TableReporter::NotSupported(const std::string& table) {
  window_.ShowMessage(window_texts::NotSupported(table), "", MessageButtons::Ok, MessageIcon::None);
}

void TableReporter::Synchronizing(const std::string& table) {
  window_.SetStatus(window_texts::Synchronizing(table));
  Log(log_texts::Synchronizing(table));
}

void TableReporter::Transferring(const std::string& table) {
  window_.SetStatus(window_texts::kTransferring);
  Log(log_texts::Transferring(table));
}

void TableReporter::Returned(const std::string& table) {
  window_.SetStatus(window_texts::Completed(table));
  Log(log_texts::Successful(table, ModeResultText(run_.state)));
  window_.AddProgressLine(window_texts::Successful(table, ModeResultText(run_.state)));
}

void TableReporter::NotReturned(const std::string& table, std::int32_t code) {
  window_.ShowMessage(window_texts::NotReturnedMessage(table, code), "", MessageButtons::Ok, MessageIcon::Exclamation);
  window_.SetStatus(window_texts::NotReturned(table));
  Log(log_texts::NotReturned(table, code));
}

void TableReporter::TableEnded() {
  Log(log_texts::kTableEnd);
}

std::string NameOfMode(const RunState& state) {
  const std::int16_t mode = state.settings.SyncMode;
  const bool known = mode >= 0 && static_cast<std::size_t>(mode) < state.ModeNames.size();
  return known ? state.ModeNames[static_cast<std::size_t>(mode)] : std::string();
}

const std::string& ModeResultText(const RunState& state) {
  const std::int16_t mode = state.settings.SyncMode;
  if (mode < 0 || static_cast<std::size_t>(mode) >= state.ModeResultTexts.size()) {
    throw StandardError(errors::kSubscriptOutOfRange);
  }
  return state.ModeResultTexts[static_cast<std::size_t>(mode)];
}

}  // namespace mv
