#pragma once

class QWindow;

namespace vantrel::platform {

// What the window system needs to hear about the panel beyond Qt's own flags.
class WindowTraits {
public:
    virtual ~WindowTraits() = default;

    // Keeps the panel out of the taskbar, the pager and the window switcher, and
    // shows it on every workspace. Called before and right after each showing,
    // because window managers drop these states when a window is hidden.
    virtual void applyPanelTraits(QWindow* window) = 0;
};

class NullWindowTraits final : public WindowTraits {
public:
    void applyPanelTraits(QWindow*) override {}
};

} // namespace vantrel::platform
