#include "ui/qt/AboutView.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/Texts.h"
#include "ui/qt/Pictures.h"
#include "ui/qt/Text.h"

namespace mv::qt {
namespace {

constexpr int kPictureSize = 64;
constexpr int kMargin = 16;
constexpr int kWidth = 320;

}  // namespace

AboutView::AboutView(frmAbout& form, QWidget* parent) : QDialog(parent), form_(form), version_(new QLabel(this)) {
  setWindowTitle(Text(texts::kAboutCaption));
  auto* const picture = new PictureLabel(kPictureSize, this);
  picture->Show(Picture(QStringLiteral("MVPPCSync")));
  version_->setTextFormat(Qt::PlainText);
  auto* const ok = new QPushButton(MarkedText({texts::kOk}), this);
  ok->setDefault(true);
  connect(
      ok, &QPushButton::clicked, this, [this] { form_.cmdOp_Click(*this); }, Qt::QueuedConnection);

  auto* const top = new QHBoxLayout;
  top->setSpacing(kMargin);
  top->addWidget(picture);
  top->addWidget(version_, 1);
  auto* const buttons = new QDialogButtonBox(this);
  buttons->addButton(ok, QDialogButtonBox::AcceptRole);
  auto* const all = new QVBoxLayout(this);
  all->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
  all->setSpacing(kMargin);
  all->setSizeConstraint(QLayout::SetFixedSize);
  all->addLayout(top);
  all->addWidget(buttons);
  all->addStrut(kWidth - 2 * kMargin);
  form_.Form_Load(*this);
}

void AboutView::SetVersion(const std::string& text) {
  version_->setText(Text(text));
}

}  // namespace mv::qt
