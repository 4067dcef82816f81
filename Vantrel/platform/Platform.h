#pragma once

#include "Vantrel/platform/ActiveWindow.h"
#include "Vantrel/platform/DesktopPointer.h"
#include "Vantrel/platform/HotKey.h"
#include "Vantrel/platform/ScreenNotch.h"
#include "Vantrel/platform/SystemSignals.h"
#include "Vantrel/platform/WindowTraits.h"

#include <QStringList>

#include <memory>

class QSettings;

namespace vantrel::platform {

// The operating-system services the panel uses, each behind its interface.
struct PlatformServices {
    std::unique_ptr<DesktopPointer> pointer;
    std::unique_ptr<ActiveWindow> activeWindow;
    std::unique_ptr<WindowTraits> windowTraits;
    std::unique_ptr<SystemSignals> systemSignals;
    std::unique_ptr<ScreenNotch> screenNotch;
    // Why a fallback was taken, one line each, for the user's diagnostics.
    QStringList notes;
};

// The one place that picks a backend: X11 when Qt runs on xcb, otherwise the do-nothing fallbacks
// (and a polled pointer). `settings` supplies the notch description.
PlatformServices makePlatformServices(const QSettings& settings);

// Do-nothing services throughout, for tests and for platforms we have no backend for.
PlatformServices nullPlatformServices();

std::unique_ptr<HotKey> makeHotKey();

} // namespace vantrel::platform
