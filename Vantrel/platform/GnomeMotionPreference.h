#pragma once

#include "Vantrel/platform/MotionPreference.h"

namespace vantrel::platform {

// GNOME's org.gnome.desktop.interface enable-animations, read through GIO once
// at construction. Reports full motion where that schema is not installed, so it
// serves on any desktop, with or without X11.
class GnomeMotionPreference final : public MotionPreference {
    Q_OBJECT

public:
    explicit GnomeMotionPreference(QObject* parent = nullptr);
    bool reduceMotion() const override { return m_reduceMotion; }

private:
    bool m_reduceMotion = false;
};

} // namespace vantrel::platform
