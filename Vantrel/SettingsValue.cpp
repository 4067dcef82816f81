#include "Vantrel/SettingsValue.h"

#include <QString>

namespace vantrel {

std::optional<bool> settingsBool(const QVariant& value) {
    if (value.typeId() == QMetaType::Bool) {
        return value.toBool();
    }
    if (value.typeId() == QMetaType::QString) {
        const QString text = value.toString();
        if (text == QLatin1String("true")) {
            return true;
        }
        if (text == QLatin1String("false")) {
            return false;
        }
    }
    return std::nullopt;
}

std::optional<qint64> settingsInteger(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::Short:
    case QMetaType::Long: {
        bool ok = false;
        const qint64 number = value.toLongLong(&ok);
        return ok ? std::optional<qint64>(number) : std::nullopt;
    }
    case QMetaType::QString: {
        bool ok = false;
        const qint64 number = value.toString().toLongLong(&ok, 10);
        return ok ? std::optional<qint64>(number) : std::nullopt;
    }
    default:
        return std::nullopt;
    }
}

} // namespace vantrel

#include <QFile>
#include <QSettings>

namespace vantrel {

QString keepUnreadableSettingsFile(QSettings& settings) {
    (void)settings.contains(QStringLiteral("bestScore")); // makes QSettings read the file
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
