#pragma once

namespace vantrel::platform {

// GNOME's "enable-animations" switched off. False where that setting does not exist.
// (Kept apart from Qt code: GLib's headers use names that Qt defines as macros.)
// GnomeMotionPreference is its one reader; everything else asks MotionPreference.
bool gnomeAnimationsDisabled();

} // namespace vantrel::platform
