#pragma once

#include "Vantrel/platform/WindowTraits.h"

namespace vantrel::platform::x11 {

// EWMH states: skip taskbar and pager (which also keeps it out of Alt+Tab), sticky, above,
// on desktop 0xFFFFFFFF (all of them).
class X11WindowTraits final : public WindowTraits {
public:
    void applyPanelTraits(QWindow* window) override;
};

} // namespace vantrel::platform::x11
