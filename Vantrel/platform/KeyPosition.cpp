#include "Vantrel/platform/KeyPosition.h"

namespace vantrel::platform {

namespace {

// XKB keycodes: evdev KEY_R (19) and KEY_P (25), each plus 8.
constexpr quint32 xkbKeycodeR = 27;
constexpr quint32 xkbKeycodeP = 33;

} // namespace

KeyPosition keyPositionOf(quint32 nativeScanCode) {
    switch (nativeScanCode) {
    case 0:
        return KeyPosition::unknown;
    case xkbKeycodeR:
        return KeyPosition::r;
    case xkbKeycodeP:
        return KeyPosition::p;
    default:
        return KeyPosition::other;
    }
}

quint32 nativeScanCodeOf(KeyPosition position) {
    switch (position) {
    case KeyPosition::r:
        return xkbKeycodeR;
    case KeyPosition::p:
        return xkbKeycodeP;
    case KeyPosition::unknown:
    case KeyPosition::other:
        break;
    }
    return 0;
}

} // namespace vantrel::platform
