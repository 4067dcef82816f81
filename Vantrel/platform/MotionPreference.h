#pragma once

#include <QObject>

namespace vantrel::platform {

// The desktop's "fewer animations" preference. The panel's springs and the
// onboarding fades both read it here, so there is one answer for the program.
class MotionPreference : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // The user asked the desktop for fewer animations.
    virtual bool reduceMotion() const = 0;

signals:
    // reduceMotion() has a new value. Implementations that read the setting
    // once never send it.
    void changed();
};

// Where the desktop has no such preference: full motion.
class NullMotionPreference final : public MotionPreference {
    Q_OBJECT

public:
    using MotionPreference::MotionPreference;
    bool reduceMotion() const override { return false; }
};

} // namespace vantrel::platform
