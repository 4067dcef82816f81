#include "Vantrel/platform/SessionSignals.h"

#include <QDBusConnection>

namespace vantrel::platform {

SessionSignals::SessionSignals(QObject* parent) : SystemSignals(parent) {
    QDBusConnection::systemBus().connect(
        QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"), this,
        SLOT(prepareForSleep(bool)));
    // Without a session bus address libdbus would launch a bus of its own; don't.
    if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) {
        QDBusConnection::sessionBus().connect(QString(), QStringLiteral("/org/freedesktop/ScreenSaver"),
                                              QStringLiteral("org.freedesktop.ScreenSaver"),
                                              QStringLiteral("ActiveChanged"), this,
                                              SLOT(screenSaverActive(bool)));
    }
}

void SessionSignals::prepareForSleep(bool start) {
    if (start) {
        emit sleeping();
    }
}

void SessionSignals::screenSaverActive(bool active) {
    if (active) {
        emit sleeping();
    }
}

} // namespace vantrel::platform
