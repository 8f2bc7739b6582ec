#include "ui/frmMain.h"

#include <utility>

#include "base/Error.h"
#include "ui/MainWindowLayout.h"
#include "ui/Texts.h"
#include "ui/frmConfig.h"

namespace mv {
namespace {

using layout::Command;
using layout::Menu;
using layout::Panel;

}  // namespace

frmMain::frmMain(Toolkit& toolkit, Services services)
    : toolkit_(toolkit), services_(std::move(services)), about_(services_.version) {}

frmMain::~frmMain() = default;

void frmMain::Show() {
  view_ = toolkit_.MakeMainView(*this);
  if (hourglass_) view_->SetHourglass(true);
  DisableStart();
  Form_Load();
  view_->Show();
}

void frmMain::Unload() {
  if (!Open()) return;
  Form_Unload();
  view_->Unload();
}

void frmMain::EnableStart() {
  EnableStart(true);
}
void frmMain::DisableStart() {
  EnableStart(false);
}
void frmMain::EnableCommands() {
  EnableCommands(true);
}
void frmMain::DisableCommands() {
  EnableCommands(false);
}

void frmMain::EnableStart(bool enabled) {
  if (!Open()) return;
  for (const layout::ToolButton& button : layout::kToolBar) {
    if (button.command == Command::Start) view_->EnableButton(button.index, enabled);
  }
  view_->EnableMenuItem(Command::Start, enabled);
}

void frmMain::EnableCommands(bool enabled) {
  if (!Open()) return;
  for (const layout::ToolButton& button : layout::kToolBar) {
    if (button.command) view_->EnableButton(button.index, enabled);
  }
  view_->EnableMenu(Menu::Sync, enabled);
  view_->EnableMenu(Menu::View, enabled);
}

void frmMain::RunUntilClosed() {
  if (Open()) view_->RunUntilClosed();
}

void frmMain::SetStatus(const std::string& text) {
  if (Open()) view_->SetPanel(Panel::Status, text);
}

void frmMain::AddProgressLine(const std::string& text) {
  if (!Open()) return;
  view_->AddProgressItem(text);
  HandleMessages();
}

void frmMain::AdvanceSpinner(bool reset) {
  if (!Open()) return;
  const auto now = services_.now();
  if (!reset && now < nextFrame_) return;
  nextFrame_ = now + kFrameTime;
  spinnerFrame_ = reset ? 0 : (spinnerFrame_ + 1) % frmMainView::kSpinnerFrames;
  view_->ShowSpinnerFrame(spinnerFrame_);
  HandleMessages();
}

MessageAnswer frmMain::ShowMessage(const std::string& text, const std::string& title, MessageButtons buttons,
                                   MessageIcon icon) {
  if (!Open()) return RefusingAnswer(buttons);
  return view_->ShowMessage(text, title.empty() ? texts::kProgramName : title, buttons, icon);
}

void frmMain::SetHourglass(bool on) {
  hourglass_ = on;
  if (Open()) view_->SetHourglass(on);
}

void frmMain::ProcessMessages() {
  if (!running_ || services_.now() >= nextMessages_) HandleMessages();
}

void frmMain::HandleMessages() {
  if (!Open()) return;
  view_->ProcessMessages();
  nextMessages_ = services_.now() + kMessageTime;
}

void frmMain::Form_Load() {
  view_->SetUpProgressColumn();
  Handle([this] {
    const std::string last = LoadLastSync(services_.store);
    SetStatus(texts::kLastSync + (last.empty() ? texts::kUnknown : last));
  });
}

void frmMain::Form_Activate() {
  if (!Open()) return;
  const std::int16_t mode = services_.settings.SyncMode;
  const bool known = mode >= 0 && static_cast<std::size_t>(mode) < services_.modeNames.size();
  const std::string name = known ? services_.modeNames[static_cast<std::size_t>(mode)] : std::string();
  view_->SetPanel(Panel::Mode, name);
  view_->ShowMode(mode, texts::kModeTip + name);
  HandleMessages();
}

void frmMain::Form_Unload() {
  if (!Open()) return;
  Handle([this] { SaveSettings(services_.store, services_.settings); });
  closed_ = true;
}

void frmMain::mnuSyncStart_Click() {
  // A second run inside the first one's message loop would work on the same files.
  if (running_) return;
  running_ = true;
  services_.startRun();
  running_ = false;
}

void frmMain::mnuSyncExit_Click() {
  Unload();
}

void frmMain::mnuViewSettings_Click() {
  if (!Open()) return;
  frmConfig form(services_.settings, services_.registry, services_.files, {&services_.store, services_.autoStart});
  view_->ShowModal(form);
  if (form.Notice().empty()) return;
  ShowMessage(form.Notice(), texts::kMainTitle, MessageButtons::Ok, MessageIcon::Information);
}

void frmMain::mnuViewLog_Click() {
  const std::string& path = services_.settings.SyncLogPath;
  if (!LogIsReadable()) {
    ShowMessage(texts::LogDoesNotExist(path), texts::kLogTitle, MessageButtons::Ok, MessageIcon::Information);
  } else if (!services_.shell.OpenDocument(path)) {
    ShowMessage(texts::UnableToOpen(path), texts::kLogTitle, MessageButtons::Ok, MessageIcon::Exclamation);
  }
}

void frmMain::mnuAbout_Click() {
  if (Open()) view_->ShowAbout(about_);
}

void frmMain::tb_ButtonClick(int index) {
  const std::optional<Command> command = layout::CommandOfButton(index);
  if (command) Perform(*command);
}

void frmMain::Perform(Command command) {
  switch (command) {
    case Command::Start:
      return mnuSyncStart_Click();
    case Command::Exit:
      return mnuSyncExit_Click();
    case Command::Settings:
      return mnuViewSettings_Click();
    case Command::Log:
      return mnuViewLog_Click();
    case Command::About:
      return mnuAbout_Click();
  }
}

bool frmMain::LogIsReadable() const {
  try {
    services_.files.Open(services_.settings.SyncLogPath, platform::Access::Read, platform::Disposition::OpenExisting,
                         platform::Sharing::All);
    return true;
  } catch (const Error&) {
    return false;
  }
}

void frmMain::Handle(const std::function<void()>& action) {
  try {
    action();
  } catch (const Error& error) {
    ShowMessage(texts::ErrorOccurred(error), "", MessageButtons::Ok, MessageIcon::Exclamation);
  }
}

}  // namespace mv
