#pragma once

#include "Vantrel/platform/GnomeAnimationSetting.h"
#include "Vantrel/platform/MotionPreference.h"

namespace vantrel::platform {

// GNOME's org.gnome.desktop.interface enable-animations, followed while the
// program runs. Reports full motion where that schema is not installed, so it
// serves on any desktop, with or without X11.
class GnomeMotionPreference final : public MotionPreference {
    Q_OBJECT

public:
    explicit GnomeMotionPreference(QObject* parent = nullptr);
    bool reduceMotion() const override { return m_reduceMotion; }
    // The setting exists here.
    bool available() const { return m_setting.available(); }

private:
    void reread();

    GnomeAnimationSetting m_setting;
    bool m_reduceMotion = false;
};

} // namespace vantrel::platform
