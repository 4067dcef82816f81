#include "Vantrel/panel/GlobalShortcut.h"

#include "Vantrel/Logging.h"

namespace vantrel {

GlobalShortcut::GlobalShortcut(std::unique_ptr<platform::HotKey> hotKey, std::function<void()> action,
                               QObject* parent)
    : QObject(parent), m_hotKey(std::move(hotKey)), m_action(std::move(action)) {
    connect(m_hotKey.get(), &platform::HotKey::activated, this, [this] {
        qCDebug(lcShell) << "global shortcut pressed";
        if (m_action) {
            m_action();
        }
    });
    connect(m_hotKey.get(), &platform::HotKey::stateChanged, this, [this] {
        if (m_asked) {
            follow();
        }
    });
}

GlobalShortcut::~GlobalShortcut() {
    unregisterHotKey();
    // The backend still reports while it is destroyed after this object's fields.
    m_hotKey->disconnect(this);
}

bool GlobalShortcut::registerHotKey() {
    if (m_asked && m_state != State::refused && m_state != State::unavailable) {
        return true;
    }
    m_error.clear();
    m_asked = true;
    const bool asked = m_hotKey->grab(&m_error);
    if (asked && m_hotKey->state() == State::released) {
        // A synchronous grab: the key is ours as soon as the call returns.
        m_state = State::active;
        m_detail = QStringLiteral("registered (X11 key grab)");
        emit stateChanged();
        return true;
    }
    follow();
    if (!asked && m_state != State::unavailable) {
        m_state = State::refused;
        m_detail = m_error;
        emit stateChanged();
    }
    return asked;
}

void GlobalShortcut::unregisterHotKey() {
    if (m_asked) {
        m_asked = false;
        m_hotKey->release();
        if (m_state != State::released) {
            m_state = State::released;
            m_detail.clear();
            emit stateChanged();
        }
    }
}

QString GlobalShortcut::trigger() const {
    const QString shown = m_hotKey->trigger();
    return shown.isEmpty() ? QString::fromLatin1(displayName) : shown;
}

void GlobalShortcut::follow() {
    const State state = m_hotKey->state();
    const QString detail = m_hotKey->detail().isEmpty() ? m_error : m_hotKey->detail();
    if (state == m_state && detail == m_detail) {
        return;
    }
    m_state = state;
    m_detail = detail;
    if (state != State::active && state != State::pending) {
        m_error = detail;
    }
    qCDebug(lcShell) << "global shortcut:" << state << detail;
    emit stateChanged();
}

} // namespace vantrel
