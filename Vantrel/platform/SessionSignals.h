#pragma once

#include "Vantrel/platform/SystemSignals.h"

#include <QString>

class QDBusMessage;

namespace vantrel::platform {

// The desktop-generic part of SystemSignals, over D-Bus: sleep from logind's
// PrepareForSleep on the system bus and the screen locker's ActiveChanged on
// the session bus. Knows no windowing system, so it never reports a workspace
// change; backends that can watch workspaces derive from it.
//
// Never waits on a bus: naming logind as the sender of the subscription would
// make Qt look its owner up synchronously, so the owner is asked for
// asynchronously (and followed as it changes) and each signal's sender is
// checked against it.
class SessionSignals : public SystemSignals {
    Q_OBJECT

public:
    explicit SessionSignals(QObject* parent = nullptr);

    // How long the first look-up of logind's owner may take before it is given up.
    static constexpr int ownerTimeoutMs = 2000;

private slots:
    void prepareForSleep(bool start, const QDBusMessage& message);
    void loginOwnerChanged(const QString& name, const QString& oldOwner, const QString& newOwner,
                           const QDBusMessage& message);
    void screenSaverActive(bool active);

private:
    QString m_loginOwner; // logind's unique name on the system bus; empty while unknown
};

} // namespace vantrel::platform
