#include "Vantrel/platform/DesktopPointer.h"

#include <QCursor>
#include <QGuiApplication>

namespace vantrel::platform {

PolledDesktopPointer::PolledDesktopPointer(QObject* parent) : DesktopPointer(parent) {
    m_timer.setInterval(50);
    connect(&m_timer, &QTimer::timeout, this, &PolledDesktopPointer::sample);
}

void PolledDesktopPointer::setActive(bool active) {
    if (active) {
        m_timer.start();
    } else {
        m_timer.stop();
    }
}

QPointF PolledDesktopPointer::position() const {
    return QCursor::pos();
}

bool PolledDesktopPointer::buttonsPressed() const {
    return QGuiApplication::mouseButtons() != Qt::NoButton;
}

void PolledDesktopPointer::refresh() {
    if (isActive()) {
        sample();
    }
}

void PolledDesktopPointer::sample() {
    QPointF now = position();
    if (now != m_last) {
        m_last = now;
        emit changed();
    }
}

} // namespace vantrel::platform
