#pragma once

#include <QIcon>
#include <QImage>

namespace vantrel {

// The tray icon: the standing dinosaur (body and resting feet, 18 x 20
// pixels). Tray panels can be light or dark and Linux has no template
// images, so the figure is drawn dark with a light one-pixel outline: one of
// the two always stands out.
namespace StatusIcon {

QIcon make();

// One size of the icon, `size` device pixels square.
QImage render(int size);

inline constexpr QRgb figureColor = 0xff1c1c1e;
inline constexpr QRgb outlineColor = 0xfff2f2f2;

} // namespace StatusIcon

} // namespace vantrel
