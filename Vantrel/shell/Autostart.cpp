#include "Vantrel/shell/Autostart.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <QStandardPaths>

namespace vantrel {

Autostart::Autostart(QString appId, QString program)
    : m_appId(std::move(appId)), m_program(std::move(program)) {}

QString Autostart::filePath() const {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/autostart/") + m_appId + QStringLiteral(".desktop");
}

bool Autostart::enabled() const {
    return QFileInfo(filePath()).isFile();
}

bool Autostart::setEnabled(bool on, QString* error) {
    const QString path = filePath();
    if (!on) {
        if (!QFileInfo::exists(path) || QFile::remove(path)) {
            return true;
        }
        *error = QStringLiteral("%1 could not be removed.").arg(path);
        return false;
    }
    const QString folder = QFileInfo(path).path();
    if (!QDir().mkpath(folder)) {
        *error = QStringLiteral("The folder %1 could not be made.").arg(folder);
        return false;
    }
    // Written whole or not at all: a half-written entry would start nothing.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(desktopEntry(m_appId, m_program).toUtf8()) < 0 ||
        !file.commit()) {
        *error = QStringLiteral("%1 could not be written: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

QString Autostart::execWord(const QString& program) {
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9/._-]+$"));
    if (plain.match(program).hasMatch()) {
        return program;
    }
    // Inside double quotes, " ` $ and \ take a backslash; a literal % is written %%.
    QString quoted;
    for (QChar c : program) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\') {
            quoted += u'\\';
        }
        quoted += c;
    }
    quoted.replace(u'%', QStringLiteral("%%"));
    // The file's own escape rules apply on top: every backslash is written twice.
    quoted.replace(u'\\', QStringLiteral("\\\\"));
    return u'"' + quoted + u'"';
}

QString Autostart::desktopEntry(const QString& appId, const QString& program) {
    return QStringLiteral("[Desktop Entry]\n"
                          "Type=Application\n"
                          "Name=Vantrel\n"
                          "Comment=A tiny pixel dinosaur runner that waits at the top of your screen\n"
                          "Exec=%1\n"
                          "Icon=%2\n"
                          "Terminal=false\n"
                          "StartupNotify=false\n"
                          "X-GNOME-Autostart-enabled=true\n")
        .arg(execWord(program), appId);
}

} // namespace vantrel
