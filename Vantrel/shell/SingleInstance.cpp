#include "Vantrel/shell/SingleInstance.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QThread>

#include <unistd.h>

namespace vantrel {

namespace {
constexpr int connectTimeoutMs = 500;
constexpr int startupWaitMs = 3000; // a primary that is still starting gets this long to listen
constexpr qsizetype maxMessageLength = 64;
} // namespace

QString SingleInstance::defaultDirectory() {
    QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (runtime.isEmpty()) {
        runtime = QDir::tempPath() + QStringLiteral("/vantrel-%1").arg(getuid());
    }
    return runtime;
}

SingleInstance::SingleInstance(QString directory, QObject* parent)
    : QObject(parent), m_directory(directory.isEmpty() ? defaultDirectory() : std::move(directory)),
      m_lock(m_directory + QStringLiteral("/vantrel.lock")) {
    m_lock.setStaleLockTime(0); // a lock is stale only when its process is gone
}

SingleInstance::~SingleInstance() {
    if (m_server) {
        m_server->close();
    }
}

QString SingleInstance::socketPath() const {
    return m_directory + QStringLiteral("/vantrel.socket");
}

SingleInstance::Role SingleInstance::start(const QString& message) {
    if (!QDir().mkpath(m_directory)) {
        m_error = tr("Cannot create the folder %1.").arg(m_directory);
        return Role::failed;
    }
    QFile::setPermissions(m_directory, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

    const QDeadlineTimer deadline(startupWaitMs);
    while (!deadline.hasExpired()) {
        if (m_lock.tryLock(0)) {
            if (!QCoreApplication::instance()) {
                return Role::primary; // listen() follows once the application exists
            }
            return listen() ? Role::primary : Role::failed;
        }
        if (m_lock.error() != QLockFile::LockFailedError) {
            m_error = tr("Cannot use the lock file in %1.").arg(m_directory);
            return Role::failed;
        }
        // Another instance holds the lock; it may still be starting up.
        if (deliver(message)) {
            return Role::secondary;
        }
        QThread::msleep(50);
    }
    m_error = tr("Another Vantrel is running but does not answer.");
    return Role::failed;
}

bool SingleInstance::listen() {
    if (m_server) {
        return true;
    }
    // The lock is ours, so a socket file left behind belongs to a process that died.
    QLocalServer::removeServer(socketPath());
    m_server = std::make_unique<QLocalServer>();
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(socketPath())) {
        m_error = tr("Cannot listen on %1: %2").arg(socketPath(), m_server->errorString());
        m_server.reset();
        return false;
    }
    connect(m_server.get(), &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = m_server->nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                while (socket->canReadLine()) {
                    const QString line = QString::fromUtf8(socket->readLine(maxMessageLength)).trimmed();
                    if (!line.isEmpty()) {
                        emit messageReceived(line);
                    }
                }
                if (socket->bytesAvailable() > maxMessageLength) {
                    socket->abort(); // not one of ours
                }
            });
        }
    });
    return true;
}

bool SingleInstance::deliver(const QString& message) {
    QLocalSocket socket;
    socket.connectToServer(socketPath());
    if (!socket.waitForConnected(connectTimeoutMs)) {
        return false;
    }
    socket.write(message.toUtf8() + '\n');
    const bool written = socket.waitForBytesWritten(connectTimeoutMs);
    socket.disconnectFromServer();
    return written;
}

} // namespace vantrel
