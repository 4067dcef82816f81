#include "Vantrel/Preferences.h"

#include "Vantrel/SettingsValue.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStringDecoder>
#include <QTemporaryFile>

#include <algorithm>

namespace vantrel {

namespace {

QString freeCopyName(const QString& original) {
    QString copy = original + QStringLiteral(".unreadable");
    for (int n = 2; QFileInfo::exists(copy) || QFileInfo(copy).isSymLink(); ++n) {
        copy = original + QStringLiteral(".unreadable-%1").arg(n);
    }
    return copy;
}

// Text a person or QSettings wrote: valid UTF-8 without control characters
// other than line breaks and tabs.
bool looksLikeText(const QByteArray& bytes) {
    QStringDecoder utf8(QStringDecoder::Utf8);
    const QString text = utf8(bytes);
    if (utf8.hasError()) {
        return false;
    }
    return std::none_of(text.begin(), text.end(), [](QChar c) {
        return (c.unicode() < 0x20 && c != u'\n' && c != u'\r' && c != u'\t') || c.unicode() == 0x7f;
    });
}

bool holdsOurSettings(const QString& fileName) {
    const QFileInfo info(fileName);
    if (!info.exists() && !info.isSymLink()) {
        return true; // a fresh start
    }
    if (!info.isFile()) {
        return false; // a directory, a dangling link, a device: nothing QSettings can keep
    }
    // Ours take a few hundred bytes; anything this large is something else, and is not read whole.
    constexpr qint64 largestSettings = 1 << 20;
    if (info.size() > largestSettings) {
        return false;
    }
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        return true; // cannot be judged; QSettings will not write over it either
    }
    const QByteArray bytes = file.readAll();
    if (bytes.trimmed().isEmpty()) {
        return true;
    }
    if (!looksLikeText(bytes)) {
        return false;
    }
    // Parsed from a private copy: QSettings caches what it read by file name, and
    // what it makes of a file that is about to move must not be taken for the
    // clean file that takes its place.
    QTemporaryFile copy;
    if (!copy.open() || copy.write(bytes) != bytes.size() || !copy.flush()) {
        return true;
    }
    const QSettings settings(copy.fileName(), QSettings::IniFormat);
    if (settings.status() == QSettings::FormatError) {
        return false;
    }
    const QStringList keys = settings.allKeys();
    const QStringList ours = Preferences::programKeys();
    return keys.isEmpty() ||
           std::any_of(keys.begin(), keys.end(), [&](const QString& key) { return ours.contains(key); });
}

} // namespace

Preferences::Preferences(std::unique_ptr<QSettings> settings) : m_settings(std::move(settings)) {
    keepUnreadableFile(*m_settings);
    m_best = settingsInteger(m_settings->value(bestScoreKey)).value_or(0);
    m_soundEnabled = settingsBool(m_settings->value(soundEnabledKey)).value_or(false);
    m_roomy = settingsBool(m_settings->value(roomyKey)).value_or(false);
    m_hoverToPeek = settingsBool(m_settings->value(hoverToPeekKey))
                        .value_or(settingsBool(m_settings->value(showTabKey)).value_or(true));
}

Preferences::~Preferences() = default;

void Preferences::write(const char* key, const QVariant& value) {
    m_settings->setValue(QLatin1String(key), value);
    m_settings->sync();
}

bool Preferences::writeFlag(const char* key, bool& stored, bool value) {
    write(key, value);
    const bool changed = stored != value;
    stored = value;
    return changed;
}

void Preferences::saveBest(qint64 best) {
    m_best = best;
    write(bestScoreKey, QVariant::fromValue<qint64>(best));
}

bool Preferences::setSoundEnabled(bool enabled) {
    return writeFlag(soundEnabledKey, m_soundEnabled, enabled);
}

bool Preferences::setRoomy(bool roomy) {
    return writeFlag(roomyKey, m_roomy, roomy);
}

bool Preferences::setHoverToPeek(bool hover) {
    return writeFlag(hoverToPeekKey, m_hoverToPeek, hover);
}

QString Preferences::keepUnreadableFile(QSettings& settings) {
    (void)settings.contains(QLatin1String(bestScoreKey)); // makes QSettings read the file
    if (settings.status() != QSettings::FormatError) {
        return {};
    }
    const QString original = settings.fileName();
    const QString copy = freeCopyName(original);
    return QFile::copy(original, copy) ? copy : QString();
}

QStringList Preferences::programKeys() {
    return {QLatin1String(bestScoreKey), QLatin1String(soundEnabledKey), QLatin1String(roomyKey),
            QLatin1String(hoverToPeekKey), QLatin1String(showTabKey),
            // Read by the shell (onboarding done) and the platform services (a notch set by hand).
            QStringLiteral("hasCompletedOnboarding"), QStringLiteral("notchGeometry"),
            QStringLiteral("notchScreen")};
}

QString Preferences::moveAsideIfUnusable(const QString& fileName) {
    if (fileName.isEmpty() || holdsOurSettings(fileName)) {
        return {};
    }
    const QString copy = freeCopyName(fileName);
    // A rename keeps every byte (and a directory's whole tree) and cannot fail half way.
    if (!QDir().rename(fileName, copy)) {
        return {};
    }
    QFile clean(fileName);
    if (clean.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
        clean.close();
    }
    return copy;
}

} // namespace vantrel
