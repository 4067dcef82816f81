#include "Vantrel/panel/GlobalShortcut.h"

#include "Vantrel/Logging.h"
#include "Vantrel/platform/HotKey.h"

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
}

GlobalShortcut::~GlobalShortcut() {
    unregisterHotKey();
}

bool GlobalShortcut::registerHotKey() {
    if (m_registered) {
        return true;
    }
    m_error.clear();
    m_registered = m_hotKey->grab(&m_error);
    return m_registered;
}

void GlobalShortcut::unregisterHotKey() {
    if (m_registered) {
        m_hotKey->release();
        m_registered = false;
    }
}

} // namespace vantrel
