#pragma once

#include "Vantrel/panel/GlobalShortcut.h"

#include <QString>

namespace vantrel {

// Which way the shortcut reaches the user, as the menu and onboarding say it.
enum class ShortcutCase {
    works,       // taken from the desktop (X11 key grab, or bound through the portal)
    pending,     // the portal has been asked and has not answered
    refused,     // the portal, or the user in its dialog, said no; or another program holds it
    unavailable, // no way to take it, and nothing to set up
    needsSetUp,  // no portal: the desktop's own binding can be made (Set Up Shortcut…)
    setUp,       // that binding exists
};

// `setUpOffered`: the session is one where the desktop's own binding is the way
// (a Wayland session); `setUp`: that binding exists.
ShortcutCase shortcutCase(GlobalShortcut::State state, bool setUpOffered, bool setUp);

// The options menu's third line.
QString shortcutMenuLine(ShortcutCase shortcut, const QString& trigger);
// The description under onboarding's "Open anywhere" key row.
QString shortcutOnboardingLine(ShortcutCase shortcut);
// Whether the shortcut opens the playfield from anywhere now.
inline bool shortcutWorks(ShortcutCase shortcut) {
    return shortcut == ShortcutCase::works || shortcut == ShortcutCase::setUp;
}

} // namespace vantrel
