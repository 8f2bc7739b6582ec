#include "ui/frmAbout.h"

#include "ui/Texts.h"

namespace mv {

void frmAbout::Form_Load(frmAboutView& view) const {
  view.SetVersion(texts::kVersion + version_);
}

void frmAbout::cmdOp_Click(frmAboutView& view) const {
  view.Unload();
}

}  // namespace mv
