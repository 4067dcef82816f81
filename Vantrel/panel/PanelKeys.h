#pragma once

#include <Qt>

namespace vantrel {

// What a key does to the open playfield. Pure, so the whole table can be tested.
enum class PanelKeyAction { none, act, releaseJump, duck, stopDucking, togglePause, freshRun, close, quit };

struct PanelKeyDecision {
    bool handled = false; // swallowed: nothing else in the application sees the key
    PanelKeyAction action = PanelKeyAction::none;
    friend bool operator==(const PanelKeyDecision&, const PanelKeyDecision&) = default;
};

struct PanelKeyEvent {
    bool press = true;
    int key = 0;                // Qt::Key
    quint32 nativeScanCode = 0; // see platform::keyPositionOf; 0 when the platform gives none
    Qt::KeyboardModifiers modifiers;
    bool autoRepeat = false;
};

// R and P go by their position on the keyboard (platform::KeyPosition), not by
// the letter they type, so they work with any layout. Other shortcuts with
// Control, Alt or Super pass through, except Control+Q: the options menu's Quit,
// which no menu is open to catch while the playfield has the keyboard.
PanelKeyDecision decidePanelKey(const PanelKeyEvent& event);

} // namespace vantrel
