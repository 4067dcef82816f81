#include "Vantrel/platform/KdeMotionPreference.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

namespace vantrel::platform {

KdeMotionPreference::KdeMotionPreference(QStringList configDirs, QObject* parent) : MotionPreference(parent) {
    for (const QString& dir : configDirs) {
        m_files << QDir(dir).filePath(QStringLiteral("kdeglobals"));
    }
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, &KdeMotionPreference::reread);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &KdeMotionPreference::reread);
    watch();
    m_reduceMotion = readReduceMotion();
}

QStringList KdeMotionPreference::xdgConfigDirs() {
    QStringList dirs;
    const QString home = qEnvironmentVariable("XDG_CONFIG_HOME");
    dirs << (home.isEmpty() ? QDir::home().filePath(QStringLiteral(".config")) : home);
    const QString system = qEnvironmentVariable("XDG_CONFIG_DIRS");
    dirs << (system.isEmpty() ? QStringList{QStringLiteral("/etc/xdg")}
                              : system.split(QLatin1Char(':'), Qt::SkipEmptyParts));
    return dirs;
}

std::optional<double> KdeMotionPreference::animationDurationFactor(const QString& kdeglobals) {
    QFile file(kdeglobals);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return std::nullopt;
    }
    // KConfig's syntax, not QSettings' INI: groups may carry [$i]-style flags after
    // the name, keys may carry [$e] or a locale, and values are not quoted.
    static const QRegularExpression keyLine(
        QStringLiteral(R"(^AnimationDurationFactor(\[[^\]]*\])*\s*=\s*(.*)$)"));
    bool inKde = false;
    std::optional<double> factor;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            inKde = line == QLatin1String("[KDE]") || line.startsWith(QLatin1String("[KDE]["));
            continue;
        }
        if (!inKde) {
            continue;
        }
        const QRegularExpressionMatch match = keyLine.match(line);
        if (match.hasMatch()) {
            bool ok = false;
            const double value = match.captured(2).trimmed().toDouble(&ok);
            if (ok) {
                factor = value; // a later line wins, as in KConfig
            }
        }
    }
    return factor;
}

bool KdeMotionPreference::readReduceMotion() const {
    for (const QString& file : m_files) {
        if (const auto factor = animationDurationFactor(file)) {
            return *factor <= 0;
        }
    }
    return false;
}

void KdeMotionPreference::watch() {
    // A file written over by a rename is a new file that the old watch does not see,
    // so the files are watched afresh each time; the directories' notices (a file
    // created, renamed or removed) are what catch the replacement.
    if (!m_watcher.files().isEmpty()) {
        m_watcher.removePaths(m_watcher.files());
    }
    const QStringList directories = m_watcher.directories();
    for (const QString& path : std::as_const(m_files)) {
        const QString dir = QFileInfo(path).absolutePath();
        if (!directories.contains(dir) && QFileInfo(dir).isDir()) {
            m_watcher.addPath(dir);
        }
        if (QFileInfo::exists(path)) {
            m_watcher.addPath(path);
        }
    }
}

void KdeMotionPreference::reread() {
    watch();
    const bool reduce = readReduceMotion();
    if (reduce != m_reduceMotion) {
        m_reduceMotion = reduce;
        emit changed();
    }
}

} // namespace vantrel::platform
