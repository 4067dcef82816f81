#pragma once

#include <QLockFile>
#include <QObject>
#include <QString>

#include <memory>

class QLocalServer;

namespace vantrel {

// Keeps one Vantrel per user. The first instance takes a lock file and
// listens on a local socket beside it; a later launch finds the lock taken,
// hands its request ("reopen", "toggle") to the running instance and exits,
// so only one process ever holds the tray icon and the global shortcut.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    enum class Role { primary, secondary, failed };

    // `directory` holds the lock and the socket; empty means the user's
    // runtime directory (or a per-user folder in /tmp without one).
    explicit SingleInstance(QString directory = QString(), QObject* parent = nullptr);
    ~SingleInstance() override;

    // Becomes the primary instance, or, when another one runs, delivers
    // `message` to it. `failed`: neither worked; errorString() says why.
    // A primary started before the application object exists does not listen
    // yet (a socket notifier needs the event dispatcher): call listen() once
    // the application is made. Later launches wait a few seconds for that.
    Role start(const QString& message);
    // Accepts later launches' requests; false with errorString() on failure.
    bool listen();
    QString errorString() const { return m_error; }
    QString socketPath() const;

    static QString defaultDirectory();

signals:
    // A later launch asked for something.
    void messageReceived(const QString& message);

private:
    bool deliver(const QString& message);

    QString m_directory;
    QLockFile m_lock;
    std::unique_ptr<QLocalServer> m_server;
    QString m_error;
};

} // namespace vantrel
