#pragma once

#include <functional>

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
    std::function<void()> welcome;
    std::function<void()> checkUpdates;
    std::function<void()> quit;
};

// The options menu, built afresh from the store's state each time it opens
// (from the tray icon or the playfield's options button).
namespace OptionsMenu {

// Replaces the menu's items. `launchAtLogin` is whether the autostart entry exists now.
void fill(QMenu& menu, const GameStore& store, const OptionsMenuCommands& commands,
          bool launchAtLogin = false);

} // namespace OptionsMenu

} // namespace vantrel
