#include "Vantrel/platform/HotKey.h"

namespace vantrel::platform {

void HotKey::setState(State state, const QString& detail, const QString& trigger) {
    if (state == m_state && detail == m_detail && trigger == m_trigger) {
        return;
    }
    m_state = state;
    m_detail = detail;
    m_trigger = trigger;
    emit stateChanged();
}

bool NullHotKey::grab(QString* error) {
    *error = QStringLiteral("global shortcuts are not available on this platform");
    setState(State::unavailable, *error);
    return false;
}

} // namespace vantrel::platform
