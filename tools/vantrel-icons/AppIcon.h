#pragma once

#include <QImage>
#include <QString>

namespace vantrel::AppIcon {

// The application icon: the pixel dinosaur on a black tile the shape of the
// panel's corners. Every lit bitmap pixel covers whole device pixels at every
// size, so the figure stays crisp; below 32 pixels only the head fits.
QImage render(int size);

// The same icon as a scalable drawing: one square per lit pixel.
QString svg();

// The sizes the desktop's icon theme looks for, in pixels.
inline constexpr int sizes[] = {16, 22, 24, 32, 48, 64, 128, 256};

} // namespace vantrel::AppIcon
