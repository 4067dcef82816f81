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
