#pragma once

#include <QTimer>
#include <QWidget>

#include <functional>

class QCheckBox;
class QLabel;
class QPushButton;
class QStackedWidget;

namespace vantrel {

class Clock;

namespace platform {
class MotionPreference;
}

// The two-page introduction shown at first launch: a welcome page and the
// controls. It knows nothing of the game; it is told whether the global
// shortcut works and calls `finish` once when the user leaves (true: open
// the playfield now). Page changes fade in, timed on the injected clock.
class OnboardingView : public QWidget {
    Q_OBJECT
public:
    static constexpr int pageCount = 2;
    // How long a new page takes to fade in.
    static constexpr int pageChangeMilliseconds = 180;

    // `clock` must outlive the view.
    OnboardingView(bool shortcutAvailable, const Clock& clock, std::function<void(bool)> finish,
                   QWidget* parent = nullptr);

    int step() const { return m_step; }
    bool reduceMotion() const { return m_reduceMotion; }
    void setReduceMotion(bool reduce) { m_reduceMotion = reduce; }
    // Takes reduceMotion() from the desktop's preference, now and whenever it
    // changes, as the panel's springs do; the next page change follows it.
    // `motion` must outlive the view.
    void followMotionPreference(const platform::MotionPreference& motion);
    // True while a page change is still fading in.
    bool animating() const { return m_fadeFrames.isActive(); }
    // One frame of the fade, as the frame timer delivers it: the new page's
    // opacity for the clock's time since the change. Tests step it by hand.
    void runFrame();

    // The widgets tests and accessibility tools look at.
    QLabel* pageTitle() const { return m_pageTitle; }
    QLabel* stepCounter() const { return m_counter; }
    QPushButton* backButton() const { return m_back; }
    QPushButton* getStartedButton() const { return m_getStarted; }
    QPushButton* letsPlayButton() const { return m_letsPlay; }
    // "Launch at Login" on the last page: unticked unless the caller says it is on already.
    QCheckBox* launchAtLoginBox() const { return m_launchAtLogin; }
    QWidget* currentPage() const;
    // The "Open anywhere" row's description: how the shortcut stands on this desktop
    // (it may change while onboarding is open, when the desktop answers).
    QLabel* shortcutText() const { return m_shortcutText; }
    void setShortcutText(const QString& text);

private:
    void moveTo(int step);
    QWidget* makeWelcomePage();
    QWidget* makeControlsPage(bool shortcutAvailable);

    const Clock& m_clock;
    std::function<void(bool)> m_finish;
    int m_step = 0;
    bool m_reduceMotion = false;
    QLabel* m_pageTitle;
    QLabel* m_counter;
    QStackedWidget* m_pages;
    QPushButton* m_back;
    QPushButton* m_getStarted;
    QPushButton* m_letsPlay;
    QCheckBox* m_launchAtLogin = nullptr;
    QLabel* m_shortcutText = nullptr;
    // Repaints while a page fades in; the clock, not the timer, says how far it is.
    QTimer m_fadeFrames;
    double m_fadeStart = 0; // seconds on m_clock
};

} // namespace vantrel
