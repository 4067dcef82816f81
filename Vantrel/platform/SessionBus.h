#pragma once

namespace vantrel::platform {

// Whether this session has a session bus to talk to: its address is in the
// environment, or the user's bus socket is in $XDG_RUNTIME_DIR. Asked before
// QDBusConnection::sessionBus(), because without either libdbus would
// autolaunch a bus of its own, and the main thread would wait for that.
bool sessionBusKnown();

} // namespace vantrel::platform
