#pragma once

#include <QColor>

namespace vantrel {

// The few colours the game's views share, in sRGB.
struct ViewPalette {
    // White at `opacity` (0 to 1): every quiet text, line and figure over the black panel.
    static QColor white(double opacity) { return QColor::fromRgbF(1, 1, 1, static_cast<float>(opacity)); }

    // The panel's accent: (0.72, 0.91, 0.76). The runway keeps its own,
    // (0.7, 0.91, 0.76); the two differ on purpose.
    static QColor defaultMint() { return QColor::fromRgbF(0.72f, 0.91f, 0.76f, 1); }
    static QColor runwayMint() { return QColor::fromRgbF(0.7f, 0.91f, 0.76f, 1); }
};

} // namespace vantrel
