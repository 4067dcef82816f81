#include "Vantrel/platform/HoverStripPointer.h"

#include "Vantrel/platform/HoverStrip.h"

namespace vantrel::platform {

HoverStripPointer::HoverStripPointer(std::unique_ptr<DesktopPointer> inner, HoverStrip& strip,
                                     QObject* parent)
    : DesktopPointer(parent), m_inner(std::move(inner)) {
    connect(m_inner.get(), &DesktopPointer::changed, this, &HoverStripPointer::innerChanged);
    connect(&strip, &HoverStrip::pointerLeft, this, &HoverStripPointer::left);
}

void HoverStripPointer::setActive(bool active) {
    m_away = false;
    m_inner->setActive(active);
}

QPointF HoverStripPointer::position() const {
    return m_away ? awayPosition() : m_inner->position();
}

// The server keeps the last position while the pointer is over a surface it does not
// own, so a late event still reports that position: only a new one means the pointer is back.
void HoverStripPointer::innerChanged() {
    if (m_away && m_inner->position() == m_positionWhenLeft) {
        return;
    }
    m_away = false;
    emit changed();
}

void HoverStripPointer::left() {
    if (m_away || !m_inner->isActive()) {
        return;
    }
    m_away = true;
    m_positionWhenLeft = m_inner->position();
    emit changed();
}

} // namespace vantrel::platform
