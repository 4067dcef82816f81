#include "Vantrel/Preferences.h"

#include "Vantrel/SettingsValue.h"

#include <QFile>
#include <QSettings>

namespace vantrel {

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
    QString copy = original + QStringLiteral(".unreadable");
    for (int n = 2; QFile::exists(copy); ++n) {
        copy = original + QStringLiteral(".unreadable-%1").arg(n);
    }
    return QFile::copy(original, copy) ? copy : QString();
}

} // namespace vantrel
