#pragma once

#include "Vantrel/platform/HotKey.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QVariantMap>

namespace vantrel::platform {

// Alt+Super+Space through the desktop's GlobalShortcuts portal
// (org.freedesktop.portal.GlobalShortcuts), for Wayland sessions where no
// program may grab keys itself. Every call is asynchronous: grab() only starts
// the conversation (is the portal there? CreateSession, BindShortcuts) and the
// answer arrives as stateChanged(). The portal may show the user a dialog, so
// the answer can take as long as the user does; a portal that never answers
// leaves the state pending and costs the main thread nothing.
class PortalHotKey final : public HotKey, protected QDBusContext {
    Q_OBJECT

public:
    static constexpr const char* service = "org.freedesktop.portal.Desktop";
    static constexpr const char* path = "/org/freedesktop/portal/desktop";
    static constexpr const char* interface = "org.freedesktop.portal.GlobalShortcuts";
    static constexpr const char* shortcutId = "toggle";

    // `appId` is the desktop-file ID the portal knows this program by; it is
    // registered with the host registry where the portal has one.
    explicit PortalHotKey(QString appId, QDBusConnection bus = QDBusConnection::sessionBus(),
                          QObject* parent = nullptr);
    ~PortalHotKey() override;

    bool grab(QString* error) override;
    void release() override;

    // How long the portal may take to say whether it is there at all.
    void setProbeTimeout(int milliseconds) { m_probeTimeout = milliseconds; }
    QString sessionHandle() const { return m_session; }

private slots:
    void onActivated(const QDBusMessage& signal);
    void onResponse(uint response, const QVariantMap& results);
    void onSessionClosed(const QVariantMap& details);

private:
    enum class Step { idle, probing, creating, binding, bound };

    void probe();
    void registerHost();
    void createSession();
    void bindShortcuts();
    // Calls `method` after listening for the Response of the request it will make.
    void request(const QString& method, const QList<QVariant>& arguments, const QString& token);
    void stopListening();
    void fail(State state, const QString& detail);
    QString requestPath(const QString& token) const;
    QString nextToken();

    QString m_appId;
    QDBusConnection m_bus;
    QString m_portal; // the unique bus name of the portal that answered the probe
    int m_probeTimeout = 2000;
    Step m_step = Step::idle;
    QString m_request; // the Request object whose Response we wait for
    QString m_session;
    int m_tokenCount = 0;
    bool m_subscribed = false; // to Activated
    quint64 m_generation = 0;  // replies to calls made before release() are ignored
};

} // namespace vantrel::platform
