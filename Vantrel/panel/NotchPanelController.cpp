#include "Vantrel/panel/NotchPanelController.h"

#include "Vantrel/Clock.h"
#include "Vantrel/GameStore.h"
#include "Vantrel/Logging.h"
#include "Vantrel/panel/NotchHoverMonitor.h"
#include "Vantrel/panel/NotchPanel.h"
#include "Vantrel/panel/PanelKeyboard.h"
#include "Vantrel/panel/PanelScreens.h"
#include "Vantrel/panel/PanelSpringAnimator.h"
#include "Vantrel/views/NotchView.h"

#include <QApplication>
#include <QCursor>
#include <QSettings>
#include <QWindow>

#include <algorithm>

namespace vantrel {

namespace {

// The game's own content: the notch view, which only reads the store. This is
// the one place where what the player asks for in it reaches the store and
// the controller.
QWidget* makeNotchView(NotchPanelController& controller) {
    GameStore& store = controller.store();
    auto* view = new NotchView(store);
    view->setFramePresenter(controller.framePresenter());
    QObject::connect(view, &NotchView::actRequested, &store, &GameStore::act);
    QObject::connect(view, &NotchView::pauseRequested, &store, &GameStore::togglePause);
    QObject::connect(view, &NotchView::soundToggleRequested, &store,
                     [&store] { store.setSoundEnabled(!store.soundEnabled()); });
    QObject::connect(view, &NotchView::openRequested, &controller, [&controller] { controller.expand(); });
    QObject::connect(view, &NotchView::closeRequested, &controller,
                     [&controller] { controller.collapse(true); });
    QObject::connect(view, &NotchView::optionsRequested, &controller,
                     &NotchPanelController::optionsRequested);
    return view;
}

} // namespace

NotchPanelController::NotchPanelController(std::unique_ptr<QSettings> settings, const Clock& clock,
                                           platform::PlatformServices services,
                                           const PanelContentFactory& contentFactory, QObject* parent)
    : QObject(parent), m_store(std::make_unique<GameStore>(std::move(settings), clock)),
      m_services(std::move(services)),
      m_panel(std::make_unique<NotchPanel>(*m_services.windowTraits, m_services.panelSurface.get(),
                                           m_services.compositing.get())),
      m_hoverMonitor(new NotchHoverMonitor(*m_services.pointer, clock, this)),
      m_springAnimator(new PanelSpringAnimator(clock, this)),
      m_screens(new PanelScreens(*m_services.screenNotch, this)),
      m_keyboard(new PanelKeyboard(*m_panel, *m_store, this)) {
    if (!m_services.motion) {
        m_services.motion = std::make_unique<platform::NullMotionPreference>();
    }
    if (!m_services.hoverStrip) {
        m_services.hoverStrip = std::make_unique<platform::NullHoverStrip>();
    }
    m_springAnimator->setReduceMotion(m_services.motion->reduceMotion());
    connect(m_services.motion.get(), &platform::MotionPreference::changed, this,
            [this] { m_springAnimator->setReduceMotion(m_services.motion->reduceMotion()); });
    m_panel->setContent(contentFactory ? contentFactory(*this) : makeNotchView(*this));

    selectScreen(false);
    layout(false);

    connect(m_hoverMonitor, &NotchHoverMonitor::visibilityChanged, this,
            &NotchPanelController::setPeekVisible);
    m_hoverMonitor->setEnabled(m_store->hoverToPeek());
    m_hoverMonitor->start();
    // The hover strip stands in the trigger strip while hovering can peek; it lies over the tab's top rows.
    auto syncHoverStrip = [this] {
        m_services.hoverStrip->setShown(!m_shutDown && m_store->hoverToPeek() && !m_store->expanded());
    };
    connect(m_store.get(), &GameStore::expandedChanged, this, syncHoverStrip);
    connect(m_store.get(), &GameStore::hoverToPeekChanged, this, syncHoverStrip);
    syncHoverStrip();
    // A pointer warped in or out of the strip moved no device: look where it is.
    connect(m_services.hoverStrip.get(), &platform::HoverStrip::pointerCrossed, m_services.pointer.get(),
            &platform::DesktopPointer::refresh);
    connect(m_services.hoverStrip.get(), &platform::HoverStrip::clicked, this, [this] {
        if (m_store->peeking()) {
            expand();
        }
    });

    connect(m_keyboard, &PanelKeyboard::actionRequested, this, &NotchPanelController::perform);
    // The panel's own activation, for the focus rules below.
    m_panel->installEventFilter(this);

    connect(m_screens, &PanelScreens::changed, this, &NotchPanelController::screenChanged);
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state != Qt::ApplicationActive) {
            appDeactivated();
        }
    });
    connect(m_services.systemSignals.get(), &platform::SystemSignals::workspaceChanged, this,
            &NotchPanelController::spaceChanged);
    connect(m_services.systemSignals.get(), &platform::SystemSignals::sleeping, this,
            &NotchPanelController::sleeping);
    if (auto* view = qobject_cast<NotchView*>(m_panel->content())) {
        // The window's outline follows the painted one on every step of its animation.
        m_panel->setCornerRadius(view->shapeRadius());
        connect(view, &NotchView::shapeRadiusChanged, m_panel.get(), &NotchPanel::setCornerRadius);
    } else {
        connect(m_store.get(), &GameStore::expandedChanged, this, [this] {
            m_panel->setCornerRadius(m_store->expanded() ? NotchPanel::expandedRadius
                                                         : NotchPanel::collapsedRadius);
        });
    }
}

NotchPanelController::~NotchPanelController() {
    // Also stops the keyboard and the screen watcher, which outlive the panel as children.
    shutdown();
    // The panel's content may refer to the store: let it go first.
    m_panel.reset();
}

QScreen* NotchPanelController::selectedScreen() const {
    return m_screens->selected();
}

std::optional<PanelGeometry> NotchPanelController::geometry() const {
    return m_screens->geometry();
}

QPointF NotchPanelController::pointerPosition() const {
    return m_services.pointer->isActive() ? m_services.pointer->position() : QPointF(QCursor::pos());
}

void NotchPanelController::selectScreen(bool atPointer) {
    m_screens->select(atPointer ? std::optional<QPointF>(pointerPosition()) : std::nullopt);
    std::optional<PanelGeometry> geo = geometry();
    if (!geo) {
        return;
    }
    m_store->setNotchHeight(geo->notchHeight());
    m_store->setNotchWidth(geo->notchWidth());
    updateHoverGeometry();
}

void NotchPanelController::seedCollapsedFrame() {
    std::optional<PanelGeometry> geo = geometry();
    if (!geo) {
        return;
    }
    m_springAnimator->stop();
    m_panel->setGeometry(geo->collapsedFrame().toAlignedRect());
}

void NotchPanelController::layout(bool animated, std::function<void()> completion) {
    std::optional<PanelGeometry> geo = geometry();
    if (!geo) {
        return;
    }
    double width = std::min(m_store->panelWidth(), geo->maxPanelWidth());
    double height = m_store->panelHeight();
    m_springAnimator->move(m_panel.get(), geo->frame(width, height), animated, std::move(completion));
}

void NotchPanelController::updateHoverGeometry() {
    std::optional<PanelGeometry> geo = geometry();
    if (!geo) {
        return;
    }
    m_hoverMonitor->setTriggerRect(geo->triggerRect());
    m_services.hoverStrip->setRect(geo->triggerRect().toAlignedRect());
    m_hoverMonitor->setRetentionRect(geo->retentionRect());
}

bool NotchPanelController::isOwnWindow(quint64 window) const {
    const auto windows = QGuiApplication::allWindows();
    return std::any_of(windows.begin(), windows.end(),
                       [window](QWindow* w) { return w->handle() != nullptr && w->winId() == window; });
}

bool NotchPanelController::expand() {
    if (m_authorizePlay && !m_authorizePlay()) {
        qCDebug(lcPanel) << "expand refused: onboarding comes first";
        return false;
    }
    qCDebug(lcPanel) << "expand; expanded" << m_store->expanded() << "visible" << m_panel->isVisible();
    if (!m_store->expanded()) {
        quint64 active = m_services.activeWindow->current();
        if (active == 0) {
            m_previousWindow = 0;
        } else if (!isOwnWindow(active)) {
            m_previousWindow = active;
        }
        m_hadKeyboard = m_panel->isActiveWindow();
    }
    m_changingVisibility = true;
    selectScreen(true);
    m_store->setExpanded(true);
    m_store->setPeeking(false);
    m_hoverMonitor->setEnabled(false);
    m_panel->setAcceptsGameInput(true);
    if (!m_panel->isVisible()) {
        seedCollapsedFrame();
    }
    layout(true);
    m_panel->orderFront();
    m_panel->activateWindow();
    // Qt's own request may be refused as focus stealing; this one speaks for the user.
    m_services.activeWindow->activate(m_panel->winId());
    m_changingVisibility = false;
    return true;
}

void NotchPanelController::collapse(bool restoreFocus) {
    if (!m_store->expanded()) {
        return;
    }
    qCDebug(lcPanel) << "collapse; restore focus" << restoreFocus;
    m_changingVisibility = true;
    m_store->pause();
    m_store->setExpanded(false);
    m_store->setPeeking(false);
    m_panel->setAcceptsGameInput(false);
    m_hoverMonitor->setEnabled(m_store->hoverToPeek());
    m_hoverMonitor->suppressUntilExit();
    layout(true, [this] { hide(); });
    if (restoreFocus && m_previousWindow != 0 && m_services.activeWindow->exists(m_previousWindow)) {
        m_services.activeWindow->activate(m_previousWindow);
    }
    m_changingVisibility = false;
}

void NotchPanelController::toggle() {
    if (m_store->expanded()) {
        collapse(true);
    } else {
        expand();
    }
}

void NotchPanelController::hide() {
    if (!m_store->expanded() && !m_store->peeking()) {
        qCDebug(lcPanel) << "panel hidden";
        m_panel->orderOut();
    }
}

void NotchPanelController::setPeekVisible(bool visible) {
    if (m_store->expanded() || m_store->peeking() == visible) {
        return;
    }
    if (visible && selectedScreen() != nullptr) {
        // Over a full-screen window (a film, a game, a presentation) hovering never reveals the tab.
        if (m_services.activeWindow->fullScreenOn(selectedScreen())) {
            return;
        }
    }
    m_store->setPeeking(visible);
    if (visible) {
        if (!m_panel->isVisible()) {
            seedCollapsedFrame();
        }
        m_panel->orderFront();
        layout(true);
    } else {
        layout(true, [this] { hide(); });
    }
}

void NotchPanelController::updateLayout() {
    m_store->pause();
    m_hoverMonitor->setEnabled(m_store->hoverToPeek() && !m_store->expanded());
    if (m_store->expanded()) {
        layout(true);
    } else if (!m_store->hoverToPeek()) {
        setPeekVisible(false);
    }
}

void NotchPanelController::screenChanged() {
    if (m_shutDown) {
        return;
    }
    collapse(false);
    m_hoverMonitor->reset();
    // The selected screen clears itself when it is gone; then the primary screen takes over.
    selectScreen(false);
    layout(false);
}

void NotchPanelController::spaceChanged() {
    collapse(false);
    m_hoverMonitor->suppressUntilExit();
}

void NotchPanelController::sleeping() {
    spaceChanged();
}

void NotchPanelController::windowDidResignKey() {
    qCDebug(lcPanel) << "panel lost the keyboard";
    if (!m_changingVisibility && m_hadKeyboard) {
        collapse(false);
    }
}

void NotchPanelController::appDeactivated() {
    qCDebug(lcPanel) << "application no longer active";
    if (!m_changingVisibility && m_hadKeyboard) {
        collapse(false);
    }
}

bool NotchPanelController::eventFilter(QObject* watched, QEvent* event) {
    if (watched != m_panel.get()) {
        return false;
    }
    switch (event->type()) {
    case QEvent::WindowActivate:
        qCDebug(lcPanel) << "panel has the keyboard";
        m_hadKeyboard = m_store->expanded();
        return false;
    case QEvent::WindowDeactivate:
        windowDidResignKey();
        return false;
    case QEvent::Enter:
    case QEvent::Leave:
        // Also for a pointer warped onto or off the tab, which moved no device.
        m_services.pointer->refresh();
        return false;
    default:
        return false;
    }
}

// What the panel keyboard asks for, carried out while its key is being delivered.
void NotchPanelController::perform(PanelKeyAction action) {
    switch (action) {
    case PanelKeyAction::none:
        break;
    case PanelKeyAction::act:
        m_store->act();
        break;
    case PanelKeyAction::releaseJump:
        m_store->releaseJump();
        break;
    case PanelKeyAction::duck:
        m_store->setDucking(true);
        break;
    case PanelKeyAction::stopDucking:
        m_store->setDucking(false);
        break;
    case PanelKeyAction::togglePause:
        m_store->togglePause();
        break;
    case PanelKeyAction::freshRun:
        m_store->freshRun();
        break;
    case PanelKeyAction::close:
        collapse(true);
        break;
    case PanelKeyAction::quit:
        emit quitRequested();
        break;
    }
}

void NotchPanelController::shutdown() {
    if (m_shutDown) {
        return;
    }
    m_shutDown = true;
    m_store->pause();
    m_springAnimator->stop();
    m_hoverMonitor->stop();
    m_services.hoverStrip->setShown(false);
    m_keyboard->stop();
    m_screens->stop();
    if (m_panel) {
        m_panel->removeEventFilter(this);
    }
    disconnect(qGuiApp, nullptr, this, nullptr);
    disconnect(m_services.systemSignals.get(), nullptr, this, nullptr);
}

} // namespace vantrel
