#pragma once

#include "Vantrel/panel/PanelLayout.h"
#include "Vantrel/platform/ScreenNotch.h"

#include <QRectF>

#include <optional>

namespace vantrel {

// Everything the panel needs to know about one screen, in Qt's coordinates
// (origin top left, y growing downward, device-independent pixels).
struct ScreenFacts {
    QRectF frame;        // the whole screen
    QRectF visibleFrame; // without the desktop's panels (top bar, docks)
    std::optional<platform::NotchSize> notch;
};

// The panel's frames and hover rectangles on one screen. Every frame hangs
// from the top edge `top` and is centred on `centreX`. The panel's own sizes
// are PanelLayout's; these are the screen's: where it hangs and where the
// pointer wakes it. All in points.
class PanelGeometry {
public:
    static constexpr double noNotchHeight = 8; // the collapsed strip on ordinary screens
    static constexpr double noNotchWidth = 160;
    static constexpr double screenMargin = 24;   // the playfield never gets wider than the screen minus this
    static constexpr double triggerBand = 18;    // below a real notch
    static constexpr double stripHalfWidth = 44; // trigger strip on ordinary screens
    static constexpr double stripHalfHeight = 3;
    static constexpr double retentionGrowth = 4; // the peek frame grown by this on each side

    explicit PanelGeometry(const ScreenFacts& facts);

    bool hasNotch() const { return m_hasNotch; }
    double centreX() const { return m_centreX; }
    double top() const { return m_top; }
    double notchWidth() const { return m_notchWidth; }
    double notchHeight() const { return m_notchHeight; }
    double maxPanelWidth() const { return m_screenWidth - screenMargin; }

    // A frame of this size, hung from the top edge and centred on the notch.
    QRectF frame(double width, double height) const;
    QRectF collapsedFrame() const {
        return frame(PanelLayout::collapsedWidth(m_notchWidth),
                     PanelLayout::collapsedHeight(m_notchHeight, false));
    }
    QRectF peekFrame() const {
        return frame(PanelLayout::collapsedWidth(m_notchWidth),
                     PanelLayout::collapsedHeight(m_notchHeight, true));
    }

    // Resting here asks the panel to peek.
    QRectF triggerRect() const;
    // A peeking panel stays while the pointer is here.
    QRectF retentionRect() const;

private:
    bool m_hasNotch;
    double m_centreX;
    double m_top;
    double m_screenTop;
    double m_notchWidth;
    double m_notchHeight;
    double m_screenWidth;
};

} // namespace vantrel
