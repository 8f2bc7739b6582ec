#pragma once

#include <string>

namespace mv {

/// The about box as its toolkit shows it.
class frmAboutView {
 public:
  virtual ~frmAboutView() = default;
  /// Caption of the label lblVer.
  virtual void SetVersion(const std::string& text) = 0;
  virtual void Unload() = 0;
};

/// Behaviour of the about box.
class frmAbout {
 public:
  /// `version`: "major.minor.revision".
  explicit frmAbout(const std::string& version) : version_(version) {}

  void Form_Load(frmAboutView& view) const;
  /// The box's one button, the default one; Esc and the close box press it too.
  void cmdOp_Click(frmAboutView& view) const;

 private:
  std::string version_;
};

}  // namespace mv
