#include "Vantrel/shell/ShortcutCase.h"

namespace vantrel {

ShortcutCase shortcutCase(GlobalShortcut::State state, bool setUpOffered, bool setUp) {
    using State = GlobalShortcut::State;
    if (state == State::active) {
        return ShortcutCase::works;
    }
    // The desktop's own binding, once made, works whatever the portal says.
    if (setUp) {
        return ShortcutCase::setUp;
    }
    switch (state) {
    case State::pending:
        return ShortcutCase::pending;
    case State::refused:
        return ShortcutCase::refused;
    default:
        return setUpOffered ? ShortcutCase::needsSetUp : ShortcutCase::unavailable;
    }
}

QString shortcutMenuLine(ShortcutCase shortcut, const QString& trigger) {
    switch (shortcut) {
    case ShortcutCase::works:
        return QStringLiteral("Open anywhere  ") + trigger;
    case ShortcutCase::setUp:
        return QStringLiteral("Open anywhere  Alt+Super+Space");
    case ShortcutCase::pending:
        return QStringLiteral("Shortcut waiting for the desktop\u2019s answer");
    case ShortcutCase::refused:
        return QStringLiteral("Shortcut not allowed \u00b7 use menu icon");
    case ShortcutCase::needsSetUp:
        return QStringLiteral("Shortcut not set up \u00b7 use menu icon");
    case ShortcutCase::unavailable:
        break;
    }
    return QStringLiteral("Shortcut unavailable \u00b7 use menu icon");
}

QString shortcutOnboardingLine(ShortcutCase shortcut) {
    switch (shortcut) {
    case ShortcutCase::works:
        return QStringLiteral("Or click the dinosaur in your menu bar.");
    case ShortcutCase::setUp:
        return QStringLiteral("Set up in your desktop\u2019s keyboard settings.");
    case ShortcutCase::pending:
        return QStringLiteral("Waiting for your desktop to allow it.");
    case ShortcutCase::refused:
        return QStringLiteral("Not allowed by your desktop. Use the menu bar dinosaur.");
    case ShortcutCase::needsSetUp:
        return QStringLiteral("Choose Set Up Shortcut\u2026 in the dinosaur\u2019s menu to turn it on.");
    case ShortcutCase::unavailable:
        break;
    }
    return QStringLiteral("Shortcut unavailable. Use the menu bar dinosaur.");
}

} // namespace vantrel
