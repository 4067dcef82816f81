#include "Vantrel/platform/HoverStripPointer.h"

#include "Vantrel/platform/HoverStrip.h"

namespace vantrel::platform {

HoverStripPointer::HoverStripPointer(std::unique_ptr<DesktopPointer> inner, HoverStrip& strip,
                                     QObject* parent)
    : DesktopPointer(parent), m_inner(std::move(inner)) {
    connect(m_inner.get(), &DesktopPointer::changed, this, &HoverStripPointer::innerChanged);
    connect(&strip, &HoverStrip::pointerLeft, this, &HoverStripPointer::left);
    connect(&strip, &HoverStrip::pointerReturned, this, &HoverStripPointer::returned);
}

void HoverStripPointer::setActive(bool active) {
    m_away = false;
    m_inner->setActive(active);
}

QPointF HoverStripPointer::position() const {
    return m_away ? awayPosition() : m_inner->position();
}

// Events read after the pointer left were sent before it did (they come on another
// connection): they carry the stale position, so they wait for the return.
void HoverStripPointer::innerChanged() {
    if (!m_away) {
        emit changed();
    }
}

void HoverStripPointer::left() {
    if (m_away || !m_inner->isActive()) {
        return;
    }
    m_away = true;
    emit changed();
}

void HoverStripPointer::returned() {
    if (!m_away) {
        return;
    }
    m_away = false;
    emit changed();
}

} // namespace vantrel::platform
