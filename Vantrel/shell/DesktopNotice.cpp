#include "Vantrel/shell/DesktopNotice.h"

#include "Vantrel/platform/SessionBus.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QMessageBox>
#include <QTimer>
#include <QVariantMap>

namespace vantrel {

namespace {
constexpr int lateAnswerMs = 500;
} // namespace

DesktopNotice::DesktopNotice(QString title, QString body)
    : QObject(QCoreApplication::instance()), m_title(std::move(title)), m_body(std::move(body)),
      m_bus(QStringLiteral("none")) {}

DesktopNotice* DesktopNotice::show(const QString& title, const QString& body) {
    if (!platform::sessionBusKnown()) {
        auto* notice = new DesktopNotice(title, body);
        notice->finish(Shown::window);
        return notice;
    }
    return show(QDBusConnection::sessionBus(), title, body);
}

DesktopNotice* DesktopNotice::show(const QDBusConnection& bus, const QString& title, const QString& body) {
    auto* notice = new DesktopNotice(title, body);
    if (bus.isConnected()) {
        notice->ask(bus);
    } else {
        notice->finish(Shown::window);
    }
    return notice;
}

void DesktopNotice::ask(const QDBusConnection& bus) {
    m_bus = bus;
    m_asking = true;
    // A plain message, not a QDBusInterface: its constructor introspects the
    // service synchronously, past any timeout set on it.
    QDBusMessage notify = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
    notify << QStringLiteral("Vantrel") << 0u << QString() << m_title << m_body << QStringList()
           << QVariantMap() << -1;
    auto* watcher =
        new QDBusPendingCallWatcher(m_bus.asyncCall(notify, answerTimeoutMs + lateAnswerMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, &DesktopNotice::answered);
    // The deadline is ours, a precise timer (the bus library's are coarse, off by up to 5%);
    // the call itself is given up a little later.
    m_deadline = new QTimer(this);
    m_deadline->setSingleShot(true);
    m_deadline->setTimerType(Qt::PreciseTimer);
    connect(m_deadline, &QTimer::timeout, this, [this] { finish(Shown::window); });
    m_deadline->start(answerTimeoutMs);
}

void DesktopNotice::answered(QDBusPendingCallWatcher* watcher) {
    const QDBusPendingReply<uint> reply = *watcher;
    watcher->deleteLater();
    m_asking = false;
    if (!m_finished) {
        finish(reply.isValid() ? Shown::notification : Shown::window);
        return;
    }
    if (reply.isValid()) {
        // Accepted after the window said it already: one notice is enough.
        QDBusMessage close = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
            QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("CloseNotification"));
        close << reply.value();
        m_bus.asyncCall(close, answerTimeoutMs);
    }
    deleteWhenDone();
}

void DesktopNotice::deleteWhenDone() {
    if (m_announced && !m_asking) {
        deleteLater();
    }
}

void DesktopNotice::finish(Shown how) {
    if (m_finished) {
        return;
    }
    m_finished = true;
    if (m_deadline) {
        m_deadline->stop();
    }
    if (how == Shown::window) {
        auto* box = new QMessageBox(QMessageBox::Information, m_title, m_body, QMessageBox::Ok);
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setModal(false);
        box->show();
    }
    // Queued, so that a caller who has just started the notice can still connect to shown().
    QMetaObject::invokeMethod(
        this,
        [this, how] {
            emit shown(how);
            m_announced = true;
            deleteWhenDone();
        },
        Qt::QueuedConnection);
}

} // namespace vantrel
