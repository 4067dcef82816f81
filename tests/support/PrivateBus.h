#pragma once

// A private dbus-daemon for one test process, with exactly the services a test
// names: "hung" ones are activatable and owned by a process that never answers
// (tests/e2e/shell/silent_service.py), "stalled" ones are activatable but their
// program never takes the name, so the bus holds calls to them. Everything it
// started is stopped again.
#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <QThread>

#include <csignal>
#include <sys/types.h>

namespace vantrel::test {

class PrivateBus {
public:
    PrivateBus(const QStringList& hung, const QStringList& stalled, const QString& silentService) {
        QDir root(m_dir.path());
        root.mkdir(QStringLiteral("services"));
        for (const QString& name : hung + stalled) {
            const QString pidFile = root.filePath(name + QStringLiteral(".pid"));
            m_pidFiles << pidFile;
            const QString exec =
                hung.contains(name)
                    ? QStringLiteral("/usr/bin/python3 %1 %2 %3").arg(silentService, name, pidFile)
                    : QStringLiteral("/bin/sh -c 'echo $$ > %1; exec sleep 300'").arg(pidFile);
            write(root.filePath(QStringLiteral("services/") + name + QStringLiteral(".service")),
                  QStringLiteral("[D-BUS Service]\nName=%1\nExec=%2\n").arg(name, exec));
        }
        const QString config = root.filePath(QStringLiteral("bus.conf"));
        write(config, QStringLiteral(
                          R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir=%1</listen>
  <servicedir>%2</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
  <limit name="service_start_timeout">120000</limit>
</busconfig>
)")
                          .arg(m_dir.path(), root.filePath(QStringLiteral("services"))));
        m_daemon.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--config-file"), config, QStringLiteral("--nofork"),
                        QStringLiteral("--print-address")});
        if (m_daemon.waitForReadyRead(10000)) {
            m_address = QString::fromUtf8(m_daemon.readLine().trimmed());
        }
    }

    ~PrivateBus() {
        for (const QString& pidFile : m_pidFiles) {
            QFile file(pidFile);
            if (file.open(QIODevice::ReadOnly)) {
                if (const int pid = file.readAll().trimmed().toInt(); pid > 0) {
                    ::kill(static_cast<pid_t>(pid), SIGTERM);
                }
            }
        }
        m_daemon.terminate();
        m_daemon.waitForFinished(5000);
    }

    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    // Empty when dbus-daemon could not be started.
    QString address() const { return m_address; }

    // Whether the program for `name` was started by the bus (its pid file is written).
    bool started(const QString& name) const {
        return QFile::exists(QDir(m_dir.path()).filePath(name + QStringLiteral(".pid")));
    }

private:
    static void write(const QString& path, const QString& text) {
        QFile file(path);
        if (file.open(QIODevice::WriteOnly)) {
            file.write(text.toUtf8());
        }
    }

    QTemporaryDir m_dir;
    QProcess m_daemon;
    QString m_address;
    QStringList m_pidFiles;
};

} // namespace vantrel::test
