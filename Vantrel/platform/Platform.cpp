#include "Vantrel/platform/Platform.h"

#include "Vantrel/platform/DesktopMotionPreference.h"
#include "Vantrel/platform/PortalHotKey.h"
#include "Vantrel/platform/SessionSignals.h"
#include "Vantrel/platform/WaylandHotKey.h"

#if VANTREL_WITH_X11
#include "Vantrel/platform/HoverStripPointer.h"
#include "Vantrel/platform/x11/X11ActiveWindow.h"
#include "Vantrel/platform/x11/X11Compositing.h"
#include "Vantrel/platform/x11/X11DesktopPointer.h"
#include "Vantrel/platform/x11/X11FramePresenter.h"
#include "Vantrel/platform/x11/X11HotKey.h"
#include "Vantrel/platform/x11/X11HoverStrip.h"
#include "Vantrel/platform/x11/X11Support.h"
#include "Vantrel/platform/x11/X11SystemSignals.h"
#include "Vantrel/platform/x11/X11WindowTraits.h"
#endif

#if VANTREL_WITH_WAYLAND
#include "Vantrel/platform/wayland/LayerDesktopPointer.h"
#include "Vantrel/platform/wayland/LayerHoverStrip.h"
#include "Vantrel/platform/wayland/LayerPanelSurface.h"
#include "Vantrel/platform/wayland/LayerShellClient.h"
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
    services.compositing = std::make_unique<NullCompositing>();
    services.systemSignals = std::make_unique<NullSystemSignals>();
    services.screenNotch = std::make_unique<NoScreenNotch>();
    services.motion = std::make_unique<NullMotionPreference>();
    services.hoverStrip = std::make_unique<NullHoverStrip>();
    return services;
}

namespace {

// The panel, its hover strip and the pointer over them as layer surfaces, where
// the compositor offers the layer shell. False (with a note) otherwise.
bool useLayerShell(PlatformServices& services) {
#if VANTREL_WITH_WAYLAND
    QString error;
    auto client = wayland::LayerShellClient::connect(&error);
    if (!client) {
        if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
            services.notes << QStringLiteral("Wayland: %1; the panel is an ordinary window").arg(error);
        }
        return false;
    }
    services.pointer = std::make_unique<wayland::LayerDesktopPointer>(*client);
    services.panelSurface = std::make_unique<wayland::LayerPanelSurface>(*client);
    services.hoverStrip = std::make_unique<wayland::LayerHoverStrip>(*client);
    services.backend = std::move(client);
    services.notes << QStringLiteral("Wayland: the panel and its hover strip are layer surfaces");
    return true;
#else
    Q_UNUSED(services);
    return false;
#endif
}

} // namespace

PlatformServices makePlatformServices(const QSettings& settings) {
    PlatformServices services = nullPlatformServices();
    services.motion = std::make_unique<DesktopMotionPreference>();

    QString problem;
    if (auto notch = ConfiguredScreenNotch::parse(settings.value("notchGeometry").toString(), &problem)) {
        services.screenNotch =
            std::make_unique<ConfiguredScreenNotch>(*notch, settings.value("notchScreen").toString());
    } else if (!problem.isEmpty()) {
        services.notes << problem;
    }

    const bool layerShell = useLayerShell(services);
    if (!onX11()) {
        if (!layerShell) {
            services.notes << QStringLiteral("not on X11: hover sampling is polled and the previous window "
                                             "is not refocused");
        }
        services.systemSignals = std::make_unique<SessionSignals>();
        return services;
    }
#if VANTREL_WITH_X11
    QString error;
    bool rawMotion = false;
    if (layerShell) {
        // The layer surfaces see the pointer over every window, native or not.
    } else if (auto pointer = x11::X11DesktopPointer::create(&error)) {
        services.pointer = std::move(pointer);
        rawMotion = true;
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
    if (!layerShell) {
        // A layer surface shows the panel through the Wayland compositor instead.
        if (auto compositing = x11::X11Compositing::create(&error)) {
            services.compositing = std::move(compositing);
        } else {
            services.notes
                << QStringLiteral("compositing unknown (%1): the panel is cut to its outline").arg(error);
        }
        if (auto presenter = x11::X11FramePresenter::create(&error)) {
            services.framePresenter = std::move(presenter);
        } else {
            services.notes << QStringLiteral("frames through Qt's backing store (%1)").arg(error);
        }
    }
    // Through XWayland the pointer over native windows is invisible to X11 clients
    // (the layer surfaces above see it where the compositor has the layer shell).
    if (waylandSession() && !layerShell) {
        if (auto strip = x11::X11HoverStrip::create(x11::X11HoverStrip::Purpose::xwayland, &error)) {
            services.pointer = std::make_unique<HoverStripPointer>(std::move(services.pointer), *strip);
            services.hoverStrip = std::move(strip);
            services.notes << QStringLiteral("Wayland session through XWayland: a transparent strip over "
                                             "the trigger area lets hovering work over native windows");
        } else {
            services.notes << QStringLiteral("Wayland session through XWayland: no hover strip (%1): "
                                             "hovering works only over X11 windows")
                                  .arg(error);
        }
    } else if (rawMotion) {
        // Raw motion misses a pointer warped by another client; the strip's crossings do not.
        if (auto strip = x11::X11HoverStrip::create(x11::X11HoverStrip::Purpose::warps, &error)) {
            services.hoverStrip = std::move(strip);
        } else {
            services.notes << QStringLiteral("no hover strip (%1): a pointer warped into the trigger area "
                                             "is seen only once it moves")
                                  .arg(error);
        }
    }
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
