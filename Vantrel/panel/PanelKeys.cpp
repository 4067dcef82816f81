#include "Vantrel/panel/PanelKeys.h"

#include "Vantrel/platform/KeyPosition.h"

namespace vantrel {

namespace {

bool isPositionKey(const PanelKeyEvent& event, platform::KeyPosition wanted, Qt::Key fallback) {
    const platform::KeyPosition position = platform::keyPositionOf(event.nativeScanCode);
    return position != platform::KeyPosition::unknown ? position == wanted : event.key == fallback;
}

PanelKeyDecision handled(PanelKeyAction action) {
    return {true, action};
}

} // namespace

PanelKeyDecision decidePanelKey(const PanelKeyEvent& event) {
    if (!event.press) {
        // X11 reports a held key as release-press pairs; only the real release counts.
        PanelKeyAction action = PanelKeyAction::none;
        switch (event.key) {
        case Qt::Key_Space:
        case Qt::Key_Up:
            action = PanelKeyAction::releaseJump;
            break;
        case Qt::Key_Down:
            action = PanelKeyAction::stopDucking;
            break;
        default:
            return {};
        }
        return handled(event.autoRepeat ? PanelKeyAction::none : action);
    }

    // Quit, as in the options menu and the welcome window: by the letter, as every
    // application's Ctrl+Q is. Shift does not matter; with Alt or Super it is the desktop's.
    const Qt::KeyboardModifiers chord =
        event.modifiers & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    if (chord == Qt::ControlModifier && event.key == Qt::Key_Q) {
        return handled(event.autoRepeat ? PanelKeyAction::none : PanelKeyAction::quit);
    }
    // Other shortcuts with Control, Alt or Super belong to the rest of the desktop.
    if (chord) {
        return {};
    }
    if (event.key == Qt::Key_Escape) {
        return handled(PanelKeyAction::close);
    }
    PanelKeyAction action = PanelKeyAction::none;
    if (isPositionKey(event, platform::KeyPosition::r, Qt::Key_R)) {
        action = PanelKeyAction::freshRun;
    } else if (isPositionKey(event, platform::KeyPosition::p, Qt::Key_P)) {
        action = PanelKeyAction::togglePause;
    } else if (event.key == Qt::Key_Space || event.key == Qt::Key_Up) {
        action = PanelKeyAction::act;
    } else if (event.key == Qt::Key_Down) {
        action = PanelKeyAction::duck;
    } else {
        return {};
    }
    // Holding a game key gives one action; the repeats are swallowed.
    return handled(event.autoRepeat ? PanelKeyAction::none : action);
}

} // namespace vantrel
