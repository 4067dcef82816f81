#pragma once

namespace vantrel::platform {

// GNOME's "enable-animations" switched off. False where that setting does not exist.
// (Kept apart from Qt code: GLib's headers use names that Qt defines as macros.)
bool gnomeAnimationsDisabled();

} // namespace vantrel::platform
