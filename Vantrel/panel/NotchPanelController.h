#pragma once

#include "Vantrel/panel/PanelGeometry.h"
#include "Vantrel/platform/Platform.h"

#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QRectF>
#include <QScreen>

#include <functional>
#include <memory>
#include <optional>

class QSettings;
class QWidget;

namespace vantrel {

class Clock;
class GameStore;
class NotchHoverMonitor;
class NotchPanel;
class NotchPanelController;
class PanelSpringAnimator;

// Builds the widget shown inside the panel. It gets the controller for the
// store and for its open, close and options actions.
using PanelContentFactory = std::function<QWidget*(NotchPanelController&)>;

// Owns the game store, the panel, the hover monitor and the spring animator.
// Chooses the screen, computes every frame and hover rectangle, opens and
// closes the playfield, keeps keyboard focus where the user expects it and
// reacts to screen, workspace, sleep and focus changes.
class NotchPanelController : public QObject {
    Q_OBJECT

public:
    static constexpr double springResponse = 0.3;

    NotchPanelController(std::unique_ptr<QSettings> settings, const Clock& clock,
                         platform::PlatformServices services, const PanelContentFactory& contentFactory = {},
                         QObject* parent = nullptr);
    ~NotchPanelController() override;

    GameStore& store() { return *m_store; }
    NotchPanel& panel() { return *m_panel; }
    NotchHoverMonitor& hoverMonitor() { return *m_hoverMonitor; }
    PanelSpringAnimator& springAnimator() { return *m_springAnimator; }
    QScreen* selectedScreen() const { return m_selectedScreen; }
    // The window that had focus before the playfield opened; 0 for none.
    quint64 previousWindow() const { return m_previousWindow; }
    std::optional<PanelGeometry> geometry() const;

    // Set by the application: opens the options menu with its top left corner at
    // `anchor` (global coordinates, just below the options button).
    std::function<void(QPoint)> showOptions;
    // Set by the application: asked before every expansion.
    std::function<bool()> authorizePlay;

    // Opens the playfield on the screen under the pointer; false when refused.
    bool expand();
    // Closes the playfield; with `restoreFocus`, the previous window gets the focus back.
    void collapse(bool restoreFocus);
    // The shortcut and the tray icon: open when closed, close (handing focus back) when open.
    void toggle();
    // After the playfield size or the hover preference changed.
    void updateLayout();
    // At exit: pause (which saves the best score) and stop every timer and watcher.
    void shutdown();

    // Window-system events (public so the platform glue and tests can deliver them).
    void screenChanged();
    void spaceChanged();
    void sleeping();
    void windowDidResignKey();
    void appDeactivated();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void selectScreen(bool atPointer);
    void seedCollapsedFrame();
    void layout(bool animated, std::function<void()> completion = {});
    void setPeekVisible(bool visible);
    void updateHoverGeometry();
    void installKeyboardMonitor();
    bool handleKey(QObject* watched, QEvent* event);
    void hide();
    void watchScreen(QScreen* screen);
    void scheduleScreenChange();
    bool isOwnWindow(quint64 window) const;
    QPointF pointerPosition() const;

    std::unique_ptr<GameStore> m_store;
    platform::PlatformServices m_services;
    std::unique_ptr<NotchPanel> m_panel;
    NotchHoverMonitor* m_hoverMonitor;
    PanelSpringAnimator* m_springAnimator;
    bool m_keyboardMonitor = false;
    quint64 m_previousWindow = 0;
    QPointer<QScreen> m_selectedScreen;
    bool m_changingVisibility = false;
    // Set once the open panel has really had the keyboard. Until then a
    // deactivation is an echo of an earlier close (Qt reports it late), not the
    // user turning to another window.
    bool m_hadKeyboard = false;
    bool m_screenChangePending = false;
    bool m_shutDown = false;
};

} // namespace vantrel
