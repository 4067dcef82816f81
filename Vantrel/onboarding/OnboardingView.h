#pragma once

#include <QWidget>

#include <functional>

class QLabel;
class QPushButton;
class QStackedWidget;
class QVariantAnimation;

namespace vantrel {

// The two-page introduction shown at first launch: a welcome page and the
// controls. It knows nothing of the game; it is told whether the global
// shortcut works and calls `finish` once when the user leaves (true: open
// the playfield now).
class OnboardingView : public QWidget {
    Q_OBJECT
public:
    static constexpr int pageCount = 2;
    static constexpr int pageChangeMilliseconds = 180;

    OnboardingView(bool shortcutAvailable, std::function<void(bool)> finish, QWidget* parent = nullptr);

    int step() const { return m_step; }
    bool reduceMotion() const { return m_reduceMotion; }
    void setReduceMotion(bool reduce) { m_reduceMotion = reduce; }
    // True while a page change is still fading in.
    bool animating() const;

    // The widgets tests and accessibility tools look at.
    QLabel* pageTitle() const { return m_pageTitle; }
    QLabel* stepCounter() const { return m_counter; }
    QPushButton* backButton() const { return m_back; }
    QPushButton* getStartedButton() const { return m_getStarted; }
    QPushButton* letsPlayButton() const { return m_letsPlay; }
    QWidget* currentPage() const;

signals:
    void stepChanged(int step);

private:
    void moveTo(int step);
    QWidget* makeWelcomePage();
    QWidget* makeControlsPage(bool shortcutAvailable);

    std::function<void(bool)> m_finish;
    int m_step = 0;
    bool m_reduceMotion = false;
    QLabel* m_pageTitle;
    QLabel* m_counter;
    QStackedWidget* m_pages;
    QPushButton* m_back;
    QPushButton* m_getStarted;
    QPushButton* m_letsPlay;
    QVariantAnimation* m_fade;
};

} // namespace vantrel
