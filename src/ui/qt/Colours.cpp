#include "ui/qt/Colours.h"

#include <algorithm>
#include <cmath>

namespace mv::qt {
namespace {

constexpr QRgb kOnLight = 0xFFA61B1B;
constexpr QRgb kOnDark = 0xFFFFC14D;
/// What the guidelines ask of texts.
constexpr double kReadable = 4.5;

double Linear(double part) {
  return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
}

double Luminance(const QColor& colour) {
  return 0.2126 * Linear(colour.redF()) + 0.7152 * Linear(colour.greenF()) + 0.0722 * Linear(colour.blueF());
}

QColor BetterOn(const QColor& background, const QColor& one, const QColor& other) {
  return Contrast(one, background) > Contrast(other, background) ? one : other;
}

}  // namespace

double Contrast(const QColor& text, const QColor& background) {
  const auto [darker, lighter] = std::minmax({Luminance(text), Luminance(background)});
  return (lighter + 0.05) / (darker + 0.05);
}

QColor WarningOn(const QColor& background) {
  const QColor warning = BetterOn(background, QColor(kOnLight), QColor(kOnDark));
  return Contrast(warning, background) >= kReadable ? warning : BetterOn(background, Qt::black, Qt::white);
}

}  // namespace mv::qt
