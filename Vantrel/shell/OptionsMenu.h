#pragma once

#include "Vantrel/shell/ShortcutCase.h"

#include <QString>

#include <functional>
#include <optional>

class QMenu;

namespace vantrel {

class GameStore;

// What the options menu's commands do; the application shell fills these in.
struct OptionsMenuCommands {
    std::function<void()> play;
    std::function<void()> freshRun;
    std::function<void()> watchAutopilot;
    std::function<void()> toggleSound;
    std::function<void()> toggleRoomy;
    std::function<void()> toggleHover;
    std::function<void()> toggleLaunchAtLogin;
    // Offered under the shortcut line where the desktop's own binding is a way in
    // (Set Up Shortcut…: set only on such sessions) and, for one this program
    // wrote, to take it away again.
    std::function<void()> setUpShortcut;
    std::function<void()> removeShortcut;
    std::function<void()> welcome;
    std::function<void()> checkUpdates;
    std::function<void()> quit;
};

// The options menu, built afresh from the store's state each time it opens
// (from the tray icon or the playfield's options button).
namespace OptionsMenu {

// Replaces the menu's items. `launchAtLogin` is whether the autostart entry exists now.
// `shortcut` says how the shortcut stands (without it: the store's shortcutAvailable),
// `trigger` how the desktop shows it.
void fill(QMenu& menu, const GameStore& store, const OptionsMenuCommands& commands,
          bool launchAtLogin = false, std::optional<ShortcutCase> shortcut = std::nullopt,
          const QString& trigger = QStringLiteral("Alt+Super+Space"));

} // namespace OptionsMenu

} // namespace vantrel
