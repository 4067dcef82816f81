#pragma once

#include "Vantrel/platform/SystemSignals.h"

namespace vantrel::platform {

// The desktop-generic part of SystemSignals, over D-Bus: sleep from logind's
// PrepareForSleep on the system bus and the screen locker's ActiveChanged on
// the session bus. Knows no windowing system, so it never reports a workspace
// change; backends that can watch workspaces derive from it.
class SessionSignals : public SystemSignals {
    Q_OBJECT

public:
    explicit SessionSignals(QObject* parent = nullptr);

private slots:
    void prepareForSleep(bool start);
    void screenSaverActive(bool active);
};

} // namespace vantrel::platform
