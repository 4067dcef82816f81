#include "Vantrel/platform/SessionSignals.h"

#include "Vantrel/platform/SessionBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace vantrel::platform {

namespace {
const QString login1 = QStringLiteral("org.freedesktop.login1");
const QString busService = QStringLiteral("org.freedesktop.DBus");
} // namespace

SessionSignals::SessionSignals(QObject* parent) : SystemSignals(parent) {
    QDBusConnection system = QDBusConnection::systemBus();
    if (system.isConnected()) {
        system.connect(QString(), QStringLiteral("/org/freedesktop/login1"),
                       QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"),
                       this, SLOT(prepareForSleep(bool, QDBusMessage)));
        system.connect(QString(), QStringLiteral("/org/freedesktop/DBus"), busService,
                       QStringLiteral("NameOwnerChanged"), {login1}, QString(), this,
                       SLOT(loginOwnerChanged(QString, QString, QString, QDBusMessage)));
        // Asked after subscribing to the changes, so no change falls between the two.
        QDBusMessage owner = QDBusMessage::createMethodCall(
            busService, QStringLiteral("/org/freedesktop/DBus"), busService, QStringLiteral("GetNameOwner"));
        owner << login1;
        auto* watcher = new QDBusPendingCallWatcher(system.asyncCall(owner, ownerTimeoutMs), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
            const QDBusPendingReply<QString> reply = *finished;
            finished->deleteLater();
            // The answer is newer than any change heard before it.
            m_loginOwner = reply.isValid() ? reply.value() : QString();
        });
    }
    // Without a session bus address libdbus would launch a bus of its own; don't.
    if (sessionBusKnown()) {
        QDBusConnection::sessionBus().connect(QString(), QStringLiteral("/org/freedesktop/ScreenSaver"),
                                              QStringLiteral("org.freedesktop.ScreenSaver"),
                                              QStringLiteral("ActiveChanged"), this,
                                              SLOT(screenSaverActive(bool)));
    }
}

void SessionSignals::prepareForSleep(bool start, const QDBusMessage& message) {
    // Anyone on the bus may send a signal by that name; only logind's counts.
    if (start && !m_loginOwner.isEmpty() && message.service() == m_loginOwner) {
        emit sleeping();
    }
}

void SessionSignals::loginOwnerChanged(const QString& name, const QString&, const QString& newOwner,
                                       const QDBusMessage& message) {
    if (name == login1 && message.service() == busService) {
        m_loginOwner = newOwner;
    }
}

void SessionSignals::screenSaverActive(bool active) {
    if (active) {
        emit sleeping();
    }
}

} // namespace vantrel::platform
