#pragma once

#include "Vantrel/platform/ActiveWindow.h"
#include "Vantrel/platform/Compositing.h"
#include "Vantrel/platform/DesktopPointer.h"
#include "Vantrel/platform/FramePresenter.h"
#include "Vantrel/platform/HotKey.h"
#include "Vantrel/platform/HoverStrip.h"
#include "Vantrel/platform/MotionPreference.h"
#include "Vantrel/platform/PanelSurface.h"
#include "Vantrel/platform/ScreenNotch.h"
#include "Vantrel/platform/SystemSignals.h"
#include "Vantrel/platform/WindowTraits.h"

#include <QStringList>

#include <memory>

class QSettings;

namespace vantrel::platform {

// The operating-system services the panel uses, each behind its interface.
struct PlatformServices {
    // A connection the services below share (the Wayland one); declared first so it goes last.
    std::unique_ptr<QObject> backend;
    std::unique_ptr<DesktopPointer> pointer;
    std::unique_ptr<ActiveWindow> activeWindow;
    std::unique_ptr<WindowTraits> windowTraits;
    // Whether the panel's window may be translucent (an X11 compositing manager runs).
    std::unique_ptr<Compositing> compositing;
    std::unique_ptr<SystemSignals> systemSignals;
    std::unique_ptr<ScreenNotch> screenNotch;
    std::unique_ptr<MotionPreference> motion;
    // Null where the panel's own window is shown (X11); a layer surface on Wayland.
    std::unique_ptr<PanelSurface> panelSurface;
    // Frames of the runway straight into the panel's window (X11 with shared
    // memory); null where they go through Qt's backing store.
    std::unique_ptr<FramePresenter> framePresenter;
    // Only on Wayland sessions (a layer surface, or an X11 window through XWayland);
    // elsewhere the do-nothing strip.
    std::unique_ptr<HoverStrip> hoverStrip;
    // Why a fallback was taken, one line each, for the user's diagnostics.
    QStringList notes;
};

// The one place that picks a backend: on a Wayland compositor with the layer shell, the
// panel, hover strip and pointer are layer surfaces (and the rest X11 where Qt runs on XWayland);
// X11 when Qt runs on xcb (and the X11 library is built in); otherwise the do-nothing
// fallbacks (and a polled pointer). Sleep signals and the motion
// preference come from the desktop session, whatever the windowing system.
// `settings` supplies the notch description.
PlatformServices makePlatformServices(const QSettings& settings);

// Do-nothing services throughout, for tests and for platforms we have no backend for.
PlatformServices nullPlatformServices();

// X11: the key grab. A Wayland session: the GlobalShortcuts portal, with the key
// grab beside it while Qt runs on XWayland. Elsewhere: none.
std::unique_ptr<HotKey> makeHotKey();

// WAYLAND_DISPLAY or XDG_SESSION_TYPE say the desktop is a Wayland compositor,
// whether Qt runs on it natively or through XWayland.
bool waylandSession();

// Waits until the display server has carried out every request the application
// has sent so far, so a measurement includes the server's share of the work.
// False where there is no server to ask (offscreen, or a build without X11).
bool syncWithDisplayServer();

} // namespace vantrel::platform
