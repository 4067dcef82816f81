#pragma once

#include <QObject>
#include <QString>

#include <functional>
#include <memory>

namespace vantrel::platform {
class HotKey;
} // namespace vantrel::platform

namespace vantrel {

// Alt+Super+Space from any application. The key is taken from the desktop
// through a platform::HotKey backend; the application decides what it does.
class GlobalShortcut : public QObject {
    Q_OBJECT

public:
    static constexpr const char* displayName = "Alt+Super+Space";

    GlobalShortcut(std::unique_ptr<platform::HotKey> hotKey, std::function<void()> action,
                   QObject* parent = nullptr);
    ~GlobalShortcut() override;

    // True when the shortcut is live. False when another program holds it or
    // the platform has no global shortcuts; errorString() then says which.
    bool registerHotKey();
    void unregisterHotKey();
    bool isRegistered() const { return m_registered; }
    QString errorString() const { return m_error; }

private:
    std::unique_ptr<platform::HotKey> m_hotKey;
    std::function<void()> m_action;
    bool m_registered = false;
    QString m_error;
};

} // namespace vantrel
