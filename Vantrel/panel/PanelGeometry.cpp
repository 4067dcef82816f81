#include "Vantrel/panel/PanelGeometry.h"

namespace vantrel {

PanelGeometry::PanelGeometry(const ScreenFacts& facts)
    : m_hasNotch(facts.notch.has_value()), m_centreX(facts.frame.center().x()),
      // A notch sits in the screen's very top edge; elsewhere the panel hangs just below the top bar.
      m_top(m_hasNotch ? facts.frame.top() : facts.visibleFrame.top()), m_screenTop(facts.frame.top()),
      m_notchWidth(m_hasNotch ? facts.notch->width : noNotchWidth),
      m_notchHeight(m_hasNotch ? facts.notch->height : noNotchHeight), m_screenWidth(facts.frame.width()) {}

QRectF PanelGeometry::frame(double width, double height) const {
    return QRectF(m_centreX - width / 2, m_top, width, height);
}

QRectF PanelGeometry::triggerRect() const {
    QRectF rect = m_hasNotch
                      ? QRectF(m_centreX - m_notchWidth / 2, m_top, m_notchWidth, m_notchHeight + triggerBand)
                      : QRectF(m_centreX - stripHalfWidth, m_top - stripHalfHeight, 2 * stripHalfWidth,
                               2 * stripHalfHeight);
    // A pointer pushed against the top of the screen reports the top row (or,
    // with fractional scaling, a hair above it): it still counts as inside.
    if (rect.top() <= m_screenTop + 0.5) {
        rect.setTop(m_screenTop - stripHalfHeight);
    }
    return rect;
}

QRectF PanelGeometry::retentionRect() const {
    QRectF lip = peekFrame().adjusted(-retentionGrowth, -retentionGrowth, retentionGrowth, retentionGrowth);
    return lip.united(triggerRect());
}

} // namespace vantrel
