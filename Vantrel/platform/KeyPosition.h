#pragma once

#include <QtGlobal>

namespace vantrel::platform {

// A key named by where it sits on the keyboard, not by the letter the layout
// prints on it: the game's R and P work in the same place on every layout.
enum class KeyPosition {
    unknown, // the platform reported no scan code; go by the typed key instead
    other,   // a key the game does not find by position
    r,       // the key in R's place on a QWERTY keyboard
    p,       // the key in P's place on a QWERTY keyboard
};

// The position of a native scan code. Qt reports XKB keycodes (the evdev code
// plus 8) on both X11 and Wayland, so one table serves both; 0 means none.
KeyPosition keyPositionOf(quint32 nativeScanCode);

// The native scan code at `position` (0 for unknown and other), for tests and tools
// that synthesise key events.
quint32 nativeScanCodeOf(KeyPosition position);

} // namespace vantrel::platform
