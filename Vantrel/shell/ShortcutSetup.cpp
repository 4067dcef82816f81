#include "Vantrel/shell/ShortcutSetup.h"

#include "Vantrel/Logging.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>

namespace vantrel {

namespace {

// GVariant text for a string: single quotes, with backslash and quote escaped.
QString gvariantString(const QString& text) {
    QString escaped = text;
    escaped.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    escaped.replace(QLatin1Char('\''), QLatin1String("\\'"));
    return QLatin1Char('\'') + escaped + QLatin1Char('\'');
}

QString gvariantStringList(const QStringList& items) {
    if (items.isEmpty()) {
        return QStringLiteral("@as []");
    }
    QStringList quoted;
    for (const QString& item : items) {
        quoted << gvariantString(item);
    }
    return QLatin1Char('[') + quoted.join(QLatin1String(", ")) + QLatin1Char(']');
}

// `gsettings get` prints an array of strings as "['/a/', '/b/']" or "@as []".
QStringList parseStringList(const QString& text) {
    QStringList items;
    static const QRegularExpression quoted(QStringLiteral(R"re('((?:[^'\\]|\\.)*)'|"((?:[^"\\]|\\.)*)")re"));
    for (auto match = quoted.globalMatch(text); match.hasNext();) {
        const auto m = match.next();
        QString item = m.captured(1).isNull() ? m.captured(2) : m.captured(1);
        item.replace(QRegularExpression(QStringLiteral(R"(\\(.))")), QStringLiteral("\\1"));
        items << item;
    }
    return items;
}

// A word for sh (sway's exec and GNOME's command line both split like a shell).
QString shellWord(const QString& word) {
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9_./+:@%=-]+$"));
    if (plain.match(word).hasMatch()) {
        return word;
    }
    QString escaped = word;
    escaped.replace(QLatin1Char('\''), QLatin1String("'\\''"));
    return QLatin1Char('\'') + escaped + QLatin1Char('\'');
}

QString swayConfigPath() {
    const QString config = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    const QString xdg = config + QStringLiteral("/sway/config");
    return QFile::exists(xdg) ? xdg : QDir::homePath() + QStringLiteral("/.sway/config");
}

} // namespace

ShortcutSetup::Desktop ShortcutSetup::detect() {
    const QStringList desktops =
        qEnvironmentVariable("XDG_CURRENT_DESKTOP").toLower().split(QLatin1Char(':'), Qt::SkipEmptyParts);
    if (desktops.contains(QLatin1String("gnome"))) {
        return Desktop::gnome;
    }
    if (desktops.contains(QLatin1String("sway")) || !qEnvironmentVariableIsEmpty("SWAYSOCK")) {
        return Desktop::sway;
    }
    return Desktop::other;
}

ShortcutSetup::ShortcutSetup(Desktop desktop, QString program, QObject* parent)
    : QObject(parent), m_desktop(desktop), m_program(std::move(program)) {}

QString ShortcutSetup::command() const {
    return shellWord(m_program) + QStringLiteral(" --toggle");
}

QString ShortcutSetup::swayLine() const {
    return QStringLiteral("bindsym Mod1+Mod4+space exec ") + command();
}

void ShortcutSetup::refresh() {
    if (m_desktop == Desktop::sway) {
        // Only the user writes sway's config; a line that runs this program counts.
        QFile config(swayConfigPath());
        const bool found =
            config.open(QIODevice::ReadOnly) && QString::fromUtf8(config.readAll()).contains(command());
        setSetUp(found);
        return;
    }
    if (m_desktop != Desktop::gnome || m_busy) {
        return;
    }
    readList([this](bool ok, const QStringList& paths, const QString&) {
        if (ok) {
            setSetUp(paths.contains(QLatin1String(keybindingPath)));
        }
    });
}

void ShortcutSetup::setUp() {
    if (!canWrite()) {
        emit finished(false, QString());
        return;
    }
    if (m_busy) {
        return;
    }
    m_busy = true;
    readList([this](bool ok, const QStringList& paths, const QString& error) {
        if (!ok) {
            finish(false, error);
            return;
        }
        const QString relocated =
            QLatin1String(keybindingSchema) + QLatin1Char(':') + QLatin1String(keybindingPath);
        // The binding's keys first, then the list that makes it live: GNOME never
        // sees an entry without its command.
        QList<QStringList> steps{
            {QStringLiteral("set"), relocated, QStringLiteral("name"),
             gvariantString(QStringLiteral("Vantrel"))},
            {QStringLiteral("set"), relocated, QStringLiteral("command"), gvariantString(command())},
            {QStringLiteral("set"), relocated, QStringLiteral("binding"),
             gvariantString(QLatin1String(gnomeBinding))},
        };
        if (!paths.contains(QLatin1String(keybindingPath))) {
            steps << QStringList{QStringLiteral("set"), QLatin1String(mediaKeysSchema),
                                 QStringLiteral("custom-keybindings"),
                                 gvariantStringList(paths + QStringList{QLatin1String(keybindingPath)})};
        }
        runAll(steps, [this](bool done, const QString& output) {
            if (!done) {
                finish(false,
                       QStringLiteral("GNOME's keyboard settings could not be changed: %1").arg(output));
                return;
            }
            setSetUp(true);
            finish(true,
                   QStringLiteral("Vantrel added a keyboard shortcut to GNOME's settings: Alt+Super+Space "
                                  "now runs \u201c%1\u201d. It is listed as \u201cVantrel\u201d under "
                                  "Settings \u203a Keyboard \u203a Custom Shortcuts. To take it away, "
                                  "choose Remove Shortcut in Vantrel's menu.")
                       .arg(command()));
        });
    });
}

void ShortcutSetup::remove() {
    if (!canWrite() || m_busy) {
        return;
    }
    m_busy = true;
    readList([this](bool ok, QStringList paths, const QString& error) {
        if (!ok) {
            finish(false, error);
            return;
        }
        const QString relocated =
            QLatin1String(keybindingSchema) + QLatin1Char(':') + QLatin1String(keybindingPath);
        // Out of the list first, so the binding stops before its keys go.
        QList<QStringList> steps;
        if (paths.removeAll(QLatin1String(keybindingPath)) > 0) {
            steps << QStringList{QStringLiteral("set"), QLatin1String(mediaKeysSchema),
                                 QStringLiteral("custom-keybindings"), gvariantStringList(paths)};
        }
        steps << QStringList{QStringLiteral("reset-recursively"), relocated};
        runAll(steps, [this](bool done, const QString& output) {
            if (!done) {
                finish(false,
                       QStringLiteral("GNOME's keyboard settings could not be changed: %1").arg(output));
                return;
            }
            setSetUp(false);
            finish(true,
                   QStringLiteral("Vantrel removed its keyboard shortcut (Alt+Super+Space) from GNOME's "
                                  "settings. Your other custom shortcuts are unchanged."));
        });
    });
}

void ShortcutSetup::readList(std::function<void(bool, const QStringList&, const QString&)> done) {
    run({QStringLiteral("get"), QLatin1String(mediaKeysSchema), QStringLiteral("custom-keybindings")},
        [done](bool ok, const QString& output) {
            if (!ok) {
                done(false, {},
                     QStringLiteral("GNOME's keyboard settings could not be read: %1").arg(output));
                return;
            }
            done(true, parseStringList(output), QString());
        });
}

void ShortcutSetup::run(const QStringList& arguments, Done done) {
    auto* process = new QProcess(this);
    process->setProgram(QStringLiteral("gsettings"));
    process->setArguments(arguments);
    connect(process, &QProcess::finished, this, [process, done](int code, QProcess::ExitStatus status) {
        process->deleteLater();
        const bool ok = status == QProcess::NormalExit && code == 0;
        const QString output =
            QString::fromUtf8(ok ? process->readAllStandardOutput() : process->readAllStandardError())
                .trimmed();
        done(ok, output);
    });
    connect(process, &QProcess::errorOccurred, this, [process, done](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            process->deleteLater();
            done(false, QStringLiteral("the gsettings program is missing"));
        }
    });
    process->start();
}

void ShortcutSetup::runAll(QList<QStringList> steps, std::function<void(bool, const QString&)> done) {
    if (steps.isEmpty()) {
        done(true, QString());
        return;
    }
    const QStringList first = steps.takeFirst();
    run(first, [this, steps, done](bool ok, const QString& output) {
        if (!ok) {
            done(false, output);
            return;
        }
        runAll(steps, done);
    });
}

void ShortcutSetup::finish(bool ok, const QString& message) {
    m_busy = false;
    if (ok) {
        qCInfo(lcShell) << "shortcut set-up:" << message;
    } else {
        qCWarning(lcShell) << "shortcut set-up:" << message;
    }
    emit finished(ok, message);
}

void ShortcutSetup::setSetUp(bool setUp) {
    if (setUp != m_setUp) {
        m_setUp = setUp;
        emit changed();
    }
}

} // namespace vantrel
