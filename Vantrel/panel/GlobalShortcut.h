#pragma once

#include "Vantrel/platform/HotKey.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>

namespace vantrel {

// Alt+Super+Space from any application. The key is taken from the desktop
// through a platform::HotKey backend; the application decides what it does.
// Some desktops answer later (a portal that asks the user), so the state is
// followed with stateChanged() rather than read once.
class GlobalShortcut : public QObject {
    Q_OBJECT

public:
    using State = platform::HotKey::State;
    static constexpr const char* displayName = "Alt+Super+Space";

    GlobalShortcut(std::unique_ptr<platform::HotKey> hotKey, std::function<void()> action,
                   QObject* parent = nullptr);
    ~GlobalShortcut() override;

    // Asks for the shortcut. True when it is live or the desktop is still deciding
    // (state() says which); false when another program holds it or the platform
    // has no global shortcuts, errorString() then says which.
    bool registerHotKey();
    void unregisterHotKey();
    // Live now: the key press reaches this program from any window.
    bool isRegistered() const { return m_state == State::active; }
    State state() const { return m_state; }
    // What works, in one line: how the key is taken, or why not.
    QString errorString() const { return m_error; }
    QString detail() const { return m_detail; }
    // The trigger as the desktop shows it; displayName where it did not say.
    QString trigger() const;

signals:
    void stateChanged();

private:
    void follow();

    std::unique_ptr<platform::HotKey> m_hotKey;
    std::function<void()> m_action;
    bool m_asked = false;
    State m_state = State::released;
    QString m_error;
    QString m_detail;
};

} // namespace vantrel
