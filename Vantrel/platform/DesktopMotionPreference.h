#pragma once

#include "Vantrel/platform/MotionPreference.h"

#include <memory>
#include <vector>

namespace vantrel::platform {

// The program's one answer to "fewer animations?": every desktop's own setting
// that this system has (GNOME's enable-animations, KDE's animation speed),
// followed while the program runs. Any of them asking for fewer animations is
// enough: a desktop leaves the other's setting at its default, which is full motion.
class DesktopMotionPreference final : public MotionPreference {
    Q_OBJECT

public:
    // GNOME's and KDE's settings.
    explicit DesktopMotionPreference(QObject* parent = nullptr);
    // These preferences, combined.
    explicit DesktopMotionPreference(std::vector<std::unique_ptr<MotionPreference>> sources,
                                     QObject* parent = nullptr);
    ~DesktopMotionPreference() override;

    bool reduceMotion() const override { return m_reduceMotion; }

private:
    bool combined() const;
    void update();

    std::vector<std::unique_ptr<MotionPreference>> m_sources;
    bool m_reduceMotion = false;
};

} // namespace vantrel::platform
