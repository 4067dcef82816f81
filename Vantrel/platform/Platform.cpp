#include "Vantrel/platform/Platform.h"

#include "Vantrel/platform/GnomeMotionPreference.h"
#include "Vantrel/platform/PortalHotKey.h"
#include "Vantrel/platform/SessionSignals.h"
#include "Vantrel/platform/WaylandHotKey.h"

#if VANTREL_WITH_X11
#include "Vantrel/platform/x11/X11ActiveWindow.h"
#include "Vantrel/platform/x11/X11DesktopPointer.h"
#include "Vantrel/platform/x11/X11HotKey.h"
#include "Vantrel/platform/x11/X11Support.h"
#include "Vantrel/platform/x11/X11SystemSignals.h"
#include "Vantrel/platform/x11/X11WindowTraits.h"
#endif

#include <QGuiApplication>
#include <QSettings>

namespace vantrel::platform {

namespace {

// Qt runs on xcb, and this build has the X11 backend to serve it.
bool onX11() {
#if VANTREL_WITH_X11
    return QGuiApplication::platformName() == QLatin1String("xcb");
#else
    return false;
#endif
}

} // namespace

bool waylandSession() {
    return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           qEnvironmentVariable("XDG_SESSION_TYPE") == QLatin1String("wayland") ||
           QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

PlatformServices nullPlatformServices() {
    PlatformServices services;
    services.pointer = std::make_unique<PolledDesktopPointer>();
    services.activeWindow = std::make_unique<NullActiveWindow>();
    services.windowTraits = std::make_unique<NullWindowTraits>();
    services.systemSignals = std::make_unique<NullSystemSignals>();
    services.screenNotch = std::make_unique<NoScreenNotch>();
    services.motion = std::make_unique<NullMotionPreference>();
    return services;
}

PlatformServices makePlatformServices(const QSettings& settings) {
    PlatformServices services = nullPlatformServices();
    services.motion = std::make_unique<GnomeMotionPreference>();

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
        services.systemSignals = std::make_unique<SessionSignals>();
        return services;
    }
#if VANTREL_WITH_X11
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
        services.notes << QStringLiteral("workspace changes unavailable (%1)").arg(error);
        services.systemSignals = std::make_unique<SessionSignals>();
    }
    services.activeWindow = std::make_unique<x11::X11ActiveWindow>();
    services.windowTraits = std::make_unique<x11::X11WindowTraits>();
#endif
    return services;
}

std::unique_ptr<HotKey> makeHotKey() {
    if (waylandSession()) {
        // Key grabs reach no native Wayland window: the portal is what works there.
        std::unique_ptr<HotKey> xwaylandGrab;
#if VANTREL_WITH_X11
        if (onX11()) {
            xwaylandGrab = std::make_unique<x11::X11HotKey>();
        }
#endif
        return std::make_unique<WaylandHotKey>(
            std::make_unique<PortalHotKey>(QGuiApplication::desktopFileName()), std::move(xwaylandGrab));
    }
#if VANTREL_WITH_X11
    if (onX11()) {
        return std::make_unique<x11::X11HotKey>();
    }
#endif
    return std::make_unique<NullHotKey>();
}

bool syncWithDisplayServer() {
#if VANTREL_WITH_X11
    return x11::roundTrip();
#else
    return false;
#endif
}

} // namespace vantrel::platform
