#pragma once

#include <QObject>

namespace vantrel::platform {

// Desktop events the panel reacts to, and the desktop's animation preference.
class SystemSignals : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // The user asked the desktop for fewer animations.
    virtual bool reduceMotion() const = 0;

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
    bool reduceMotion() const override { return false; }
};

} // namespace vantrel::platform
