#pragma once

#include <QSize>
#include <QWidget>

#include <functional>

namespace vantrel {

class Clock;
class OnboardingView;

// The onboarding window: a plain titled window around OnboardingView. A
// program without a menu bar has no Edit or application menu, so the window
// carries their keys itself: Cut, Copy, Paste and Select All for the text
// under focus, Ctrl+W to close and Ctrl+Q to quit.
class OnboardingWindowController : public QWidget {
    Q_OBJECT
public:
    // The size the pages are laid out for, in points.
    static constexpr QSize preferredSize{600, 610};
    // Room kept for the window manager's title bar and frame when the screen is small, in points.
    static constexpr int titleBarAllowance = 40;

    // `clock` times the page fades and must outlive the window.
    OnboardingWindowController(bool shortcutAvailable, const Clock& clock, std::function<void(bool)> finish,
                               QWidget* parent = nullptr);

    OnboardingView* view() const { return m_view; }
    // Shows the window, raised and focused, centred on the screen under the pointer and no
    // larger than it (the pages scroll then).
    void showAndActivate();

signals:
    void quitRequested();

private:
    void editFocused(const char* action);

    OnboardingView* m_view;
};

} // namespace vantrel
