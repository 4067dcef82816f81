#include "Vantrel/panel/PanelKeyboard.h"

#include "Vantrel/GameStore.h"

#include <QApplication>
#include <QKeyEvent>
#include <QWidget>
#include <QWindow>

namespace vantrel {

PanelKeyboard::PanelKeyboard(QWidget& panel, const GameStore& store, QObject* parent)
    : QObject(parent), m_panel(panel), m_store(store) {
    qApp->installEventFilter(this);
    m_watching = true;
}

PanelKeyboard::~PanelKeyboard() {
    stop();
}

void PanelKeyboard::stop() {
    if (m_watching && qApp != nullptr) {
        qApp->removeEventFilter(this);
    }
    m_watching = false;
}

bool PanelKeyboard::forPanel(QObject* watched) const {
    auto* widget = qobject_cast<QWidget*>(watched);
    // Qt may leave the active window unset after a quick hide and show whose
    // focus-out it has not processed yet (its focus window never changed), so
    // the focus window counts too.
    const bool focused = m_panel.isActiveWindow() ||
                         (m_panel.windowHandle() && QGuiApplication::focusWindow() == m_panel.windowHandle());
    return widget != nullptr && widget->window() == &m_panel && m_store.expanded() && focused;
}

bool PanelKeyboard::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease) {
        return false;
    }
    if (!forPanel(watched)) {
        return false;
    }
    auto* key = static_cast<QKeyEvent*>(event);
    PanelKeyDecision decision =
        decidePanelKey(PanelKeyEvent{event->type() == QEvent::KeyPress, key->key(), key->nativeScanCode(),
                                     key->modifiers(), key->isAutoRepeat()});
    if (decision.action != PanelKeyAction::none) {
        emit actionRequested(decision.action);
    }
    return decision.handled;
}

} // namespace vantrel
