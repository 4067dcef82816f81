#pragma once

#include <QObject>

namespace vantrel::platform {

// Desktop events the panel reacts to. (The animation preference is MotionPreference's.)
class SystemSignals : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

signals:
    // The current workspace (virtual desktop) changed.
    void workspaceChanged();
    // The system is about to sleep, or the screen locker came on.
    void sleeping();
};

class NullSystemSignals final : public SystemSignals {
    Q_OBJECT

public:
    using SystemSignals::SystemSignals;
};

} // namespace vantrel::platform
