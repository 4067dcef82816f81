#pragma once

#include "Vantrel/panel/PanelGeometry.h"
#include "Vantrel/panel/PanelKeys.h"
#include "Vantrel/platform/Platform.h"

#include <QObject>
#include <QPoint>
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
class PanelKeyboard;
class PanelScreens;
class PanelSpringAnimator;

// Builds the widget shown inside the panel. It gets the controller for the
// store and for its open, close and options actions.
using PanelContentFactory = std::function<QWidget*(NotchPanelController&)>;

// Owns the game store, the panel, the hover monitor, the spring animator, the
// screen watcher (PanelScreens) and the panel keyboard (PanelKeyboard). Computes
// every frame and hover rectangle, opens and closes the playfield, keeps
// keyboard focus where the user expects it and reacts to screen, workspace,
// sleep and focus changes.
class NotchPanelController : public QObject {
    Q_OBJECT

public:
    NotchPanelController(std::unique_ptr<QSettings> settings, const Clock& clock,
                         platform::PlatformServices services, const PanelContentFactory& contentFactory = {},
                         QObject* parent = nullptr);
    ~NotchPanelController() override;

    GameStore& store() { return *m_store; }
    NotchPanel& panel() { return *m_panel; }
    NotchHoverMonitor& hoverMonitor() { return *m_hoverMonitor; }
    PanelSpringAnimator& springAnimator() { return *m_springAnimator; }
    PanelKeyboard& keyboard() { return *m_keyboard; }
    // The desktop's animation preference, for every animated part of the program.
    const platform::MotionPreference& motionPreference() const { return *m_services.motion; }
    // Null where the runway's frames go through Qt's backing store.
    platform::FramePresenter* framePresenter() const { return m_services.framePresenter.get(); }
    QScreen* selectedScreen() const;
    // The window that had focus before the playfield opened; 0 for none.
    quint64 previousWindow() const { return m_previousWindow; }
    std::optional<PanelGeometry> geometry() const;

    // Asked before every expansion; a false answer refuses it. A question rather
    // than a signal: expand() needs the answer before it goes on, and a signal
    // has no answer (nor a single answerer). Set once by the application; none
    // means always allowed.
    void setAuthorizePlay(std::function<bool()> authorizePlay) { m_authorizePlay = std::move(authorizePlay); }

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

signals:
    // The user asked for the options menu, with its top left corner at `anchor`
    // (global coordinates, just below the options button).
    void optionsRequested(QPoint anchor);
    // The user asked to quit Vantrel from the open playfield (Ctrl+Q).
    void quitRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void selectScreen(bool atPointer);
    void seedCollapsedFrame();
    void layout(bool animated, std::function<void()> completion = {});
    void setPeekVisible(bool visible);
    void updateHoverGeometry();
    void perform(PanelKeyAction action);
    void hide();
    bool isOwnWindow(quint64 window) const;
    QPointF pointerPosition() const;

    std::unique_ptr<GameStore> m_store;
    platform::PlatformServices m_services;
    std::unique_ptr<NotchPanel> m_panel;
    NotchHoverMonitor* m_hoverMonitor;
    PanelSpringAnimator* m_springAnimator;
    PanelScreens* m_screens;
    PanelKeyboard* m_keyboard;
    std::function<bool()> m_authorizePlay;
    quint64 m_previousWindow = 0;
    bool m_changingVisibility = false;
    // Set once the open panel has really had the keyboard. Until then a
    // deactivation is an echo of an earlier close (Qt reports it late), not the
    // user turning to another window.
    bool m_hadKeyboard = false;
    bool m_shutDown = false;
};

} // namespace vantrel
