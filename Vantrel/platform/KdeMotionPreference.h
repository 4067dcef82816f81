#pragma once

#include "Vantrel/platform/MotionPreference.h"

#include <QFileSystemWatcher>
#include <QStringList>

#include <optional>

namespace vantrel::platform {

// KDE's animation speed: AnimationDurationFactor in the [KDE] group of
// kdeglobals, where 0 ("Instant") means no animations. kdeglobals cascades like
// every KDE configuration file: the first directory that sets the key wins.
// Followed while the program runs; the directories are watched too, because
// KDE (and most editors) save by writing a new file over the old one.
class KdeMotionPreference final : public MotionPreference {
    Q_OBJECT

public:
    // `configDirs`: most important first (the user's, then the system's).
    explicit KdeMotionPreference(QStringList configDirs = xdgConfigDirs(), QObject* parent = nullptr);
    bool reduceMotion() const override { return m_reduceMotion; }

    // XDG_CONFIG_HOME (or ~/.config), then XDG_CONFIG_DIRS (or /etc/xdg).
    static QStringList xdgConfigDirs();
    // The factor one kdeglobals file sets, if it sets one.
    static std::optional<double> animationDurationFactor(const QString& kdeglobals);

private:
    void reread();
    void watch();
    bool readReduceMotion() const;

    QStringList m_files;
    QFileSystemWatcher m_watcher;
    bool m_reduceMotion = false;
};

} // namespace vantrel::platform
