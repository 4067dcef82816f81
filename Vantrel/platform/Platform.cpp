#include "Vantrel/platform/Platform.h"

#include "Vantrel/platform/x11/X11ActiveWindow.h"
#include "Vantrel/platform/x11/X11DesktopPointer.h"
#include "Vantrel/platform/x11/X11HotKey.h"
#include "Vantrel/platform/x11/X11SystemSignals.h"
#include "Vantrel/platform/x11/X11WindowTraits.h"

#include <QGuiApplication>
#include <QSettings>

namespace vantrel::platform {

namespace {

bool onX11() {
    return QGuiApplication::platformName() == QLatin1String("xcb");
}

} // namespace

PlatformServices nullPlatformServices() {
    PlatformServices services;
    services.pointer = std::make_unique<PolledDesktopPointer>();
    services.activeWindow = std::make_unique<NullActiveWindow>();
    services.windowTraits = std::make_unique<NullWindowTraits>();
    services.systemSignals = std::make_unique<NullSystemSignals>();
    services.screenNotch = std::make_unique<NoScreenNotch>();
    return services;
}

PlatformServices makePlatformServices(const QSettings& settings) {
    PlatformServices services = nullPlatformServices();

    QString problem;
    if (auto notch = ConfiguredScreenNotch::parse(settings.value("notchGeometry").toString(), &problem)) {
        services.screenNotch =
            std::make_unique<ConfiguredScreenNotch>(*notch, settings.value("notchScreen").toString());
    } else if (!problem.isEmpty()) {
        services.notes << problem;
    }

    if (!onX11()) {
        services.notes << QStringLiteral("not on X11: hover sampling is polled and the previous window "
                                         "is not refocused");
        return services;
    }
    QString error;
    if (auto pointer = x11::X11DesktopPointer::create(&error)) {
        services.pointer = std::move(pointer);
    } else {
        services.notes
            << QStringLiteral("desktop pointer events unavailable (%1): polling instead").arg(error);
    }
    if (auto signals_ = x11::X11SystemSignals::create(&error)) {
        services.systemSignals = std::move(signals_);
    } else {
        services.notes << QStringLiteral("desktop signals unavailable (%1)").arg(error);
    }
    services.activeWindow = std::make_unique<x11::X11ActiveWindow>();
    services.windowTraits = std::make_unique<x11::X11WindowTraits>();
    return services;
}

std::unique_ptr<HotKey> makeHotKey() {
    if (onX11()) {
        return std::make_unique<x11::X11HotKey>();
    }
    return std::make_unique<NullHotKey>();
}

} // namespace vantrel::platform
