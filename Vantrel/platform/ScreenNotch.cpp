#include "Vantrel/platform/ScreenNotch.h"

#include <QScreen>
#include <QStringList>

#include <cmath>

namespace vantrel::platform {

ConfiguredScreenNotch::ConfiguredScreenNotch(NotchSize size, QString screenName)
    : m_size(size), m_screenName(std::move(screenName)) {}

std::optional<NotchSize> ConfiguredScreenNotch::parse(const QString& geometry, QString* error) {
    const QString text = geometry.trimmed();
    if (text.isEmpty()) {
        return std::nullopt;
    }
    const QStringList parts = text.split(QLatin1Char('x'));
    bool widthOk = false;
    bool heightOk = false;
    double width = parts.size() == 2 ? parts[0].toDouble(&widthOk) : 0;
    double height = parts.size() == 2 ? parts[1].toDouble(&heightOk) : 0;
    // Bounds keep a typo from producing a panel larger than any screen.
    if (!widthOk || !heightOk || !std::isfinite(width) || !std::isfinite(height) || width <= 0 ||
        height <= 0 || width > 2000 || height > 200) {
        *error = QStringLiteral("notchGeometry \"%1\" is not WIDTHxHEIGHT (for example 200x32); "
                                "using the top centre of the screen instead")
                     .arg(text);
        return std::nullopt;
    }
    return NotchSize{width, height};
}

std::optional<NotchSize> ConfiguredScreenNotch::notchFor(const QScreen* screen) const {
    if (screen == nullptr || (!m_screenName.isEmpty() && screen->name() != m_screenName)) {
        return std::nullopt;
    }
    return m_size;
}

} // namespace vantrel::platform
