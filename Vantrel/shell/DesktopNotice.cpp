#include "Vantrel/shell/DesktopNotice.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusReply>
#include <QMessageBox>
#include <QVariantMap>

namespace vantrel {

DesktopNotice::Shown DesktopNotice::show(const QString& title, const QString& body) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        QDBusInterface notifications(QStringLiteral("org.freedesktop.Notifications"),
                                     QStringLiteral("/org/freedesktop/Notifications"),
                                     QStringLiteral("org.freedesktop.Notifications"), bus);
        notifications.setTimeout(2000);
        if (notifications.isValid()) {
            const QDBusReply<uint> reply =
                notifications.call(QStringLiteral("Notify"), QStringLiteral("Vantrel"), 0u, QString(), title,
                                   body, QStringList(), QVariantMap(), -1);
            if (reply.isValid()) {
                return Shown::notification;
            }
        }
    }
    auto* box = new QMessageBox(QMessageBox::Information, title, body, QMessageBox::Ok);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setModal(false);
    box->show();
    return Shown::window;
}

} // namespace vantrel
