#pragma once

#include <functional>

namespace vantrel::platform {

// GNOME's org.gnome.desktop.interface enable-animations, read and watched through
// GIO. Kept apart from Qt code: GLib's headers use names that Qt defines as macros.
// GIO delivers its change notices on the main context, which Qt's event loop runs,
// so `changed` is called on the thread that made this object. Reading the key
// never waits on D-Bus: GSettings backends read their store directly and only
// subscribe to change notices asynchronously.
class GnomeAnimationSetting {
public:
    // `changed` runs whenever the key changes (it may run when the value stays).
    explicit GnomeAnimationSetting(std::function<void()> changed);
    ~GnomeAnimationSetting();
    GnomeAnimationSetting(const GnomeAnimationSetting&) = delete;
    GnomeAnimationSetting& operator=(const GnomeAnimationSetting&) = delete;

    // The schema and key exist on this system.
    bool available() const { return m_settings != nullptr; }
    // Animations switched off. False where the setting does not exist.
    bool animationsDisabled() const;

private:
    static void onChanged(void* settings, const char* key, void* self);

    std::function<void()> m_changed;
    void* m_settings = nullptr; // GSettings*
    unsigned long m_handler = 0;
};

} // namespace vantrel::platform
