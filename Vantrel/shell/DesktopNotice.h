#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

class QDBusPendingCallWatcher;
class QTimer;

namespace vantrel {

// Tells the user something once, where they will see it without a tray icon:
// a desktop notification (org.freedesktop.Notifications), or, when no
// notification service accepts it by the deadline, a small non-modal message
// window. The service is asked asynchronously: a bus without one, or with one
// that has hung, never holds up the program, and the window shows at the
// deadline whatever the service does.
class DesktopNotice final : public QObject {
    Q_OBJECT

public:
    enum class Shown { notification, window };
    Q_ENUM(Shown)
    static constexpr int answerTimeoutMs = 2000;

    // Starts telling on the session bus, or at once in a window where the
    // session has no bus. The notice deletes itself after emitting shown()
    // (and after the service's answer, if that comes late: a notification
    // accepted after the window showed is closed again).
    static DesktopNotice* show(const QString& title, const QString& body);
    // The same on `bus`.
    static DesktopNotice* show(const QDBusConnection& bus, const QString& title, const QString& body);

signals:
    void shown(vantrel::DesktopNotice::Shown how);

private:
    DesktopNotice(QString title, QString body);
    void ask(const QDBusConnection& bus);
    void answered(QDBusPendingCallWatcher* watcher);
    void finish(Shown how);
    void deleteWhenDone();

    QString m_title;
    QString m_body;
    QDBusConnection m_bus;
    QTimer* m_deadline = nullptr;
    bool m_asking = false;    // the call to the service is unanswered
    bool m_finished = false;  // shown one way or the other
    bool m_announced = false; // shown() emitted
};

} // namespace vantrel
