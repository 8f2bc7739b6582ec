#pragma once

#include <QDialog>

#include "ui/frmAbout.h"

class QLabel;

namespace mv::qt {

/// The about box.
class AboutView : public frmAboutView, public QDialog {
 public:
  /// `form` must outlive the box.
  AboutView(frmAbout& form, QWidget* parent);

  void SetVersion(const std::string& text) override;
  void Unload() override { done(QDialog::Accepted); }

 protected:
  /// Esc and the close box.
  void reject() override { form_.cmdOp_Click(*this); }

 private:
  frmAbout& form_;
  QLabel* version_;
};

}  // namespace mv::qt
