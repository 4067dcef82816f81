#include "Vantrel/shell/OptionsMenu.h"

#include "Vantrel/GameStore.h"

#include <QAction>
#include <QMenu>

namespace vantrel::OptionsMenu {

namespace {

void addInfo(QMenu& menu, const QString& text) {
    menu.addAction(text)->setEnabled(false);
}

void addCommand(QMenu& menu, const QString& text, const std::function<void()>& command) {
    QAction* action = menu.addAction(text);
    if (command) {
        QObject::connect(action, &QAction::triggered, &menu, [command] { command(); });
    }
}

void addToggle(QMenu& menu, const QString& text, bool on, const std::function<void()>& command) {
    QAction* action = menu.addAction(text);
    action->setCheckable(true);
    action->setChecked(on);
    if (command) {
        QObject::connect(action, &QAction::triggered, &menu, [command] { command(); });
    }
}

} // namespace

void fill(QMenu& menu, const GameStore& store, const OptionsMenuCommands& commands, bool launchAtLogin,
          std::optional<ShortcutCase> shortcut, const QString& trigger) {
    menu.clear();
    addInfo(menu, QStringLiteral("Vantrel"));
    addInfo(menu, QStringLiteral("Hover over the notch to play"));
    const ShortcutCase state =
        shortcut.value_or(store.shortcutAvailable() ? ShortcutCase::works : ShortcutCase::unavailable);
    addInfo(menu, shortcutMenuLine(state, trigger));
    // After a refusal too: the desktop's own binding is the user's other way in.
    if ((state == ShortcutCase::needsSetUp || state == ShortcutCase::refused) && commands.setUpShortcut) {
        addCommand(menu, QStringLiteral("Set Up Shortcut\u2026"), commands.setUpShortcut);
    } else if (state == ShortcutCase::setUp && commands.removeShortcut) {
        addCommand(menu, QStringLiteral("Remove Shortcut"), commands.removeShortcut);
    }
    menu.addSeparator();
    addCommand(menu, QStringLiteral("Play / Resume"), commands.play);
    addCommand(menu, QStringLiteral("Fresh Run"), commands.freshRun);
    addCommand(menu, QStringLiteral("Watch Autopilot"), commands.watchAutopilot);
    menu.addSeparator();
    addToggle(menu, QStringLiteral("Sound"), store.soundEnabled(), commands.toggleSound);
    addToggle(menu, QStringLiteral("Larger Playfield"), store.roomy(), commands.toggleRoomy);
    addToggle(menu, QStringLiteral("Hover to Peek"), store.hoverToPeek(), commands.toggleHover);
    addToggle(menu, QStringLiteral("Launch at Login"), launchAtLogin, commands.toggleLaunchAtLogin);
    menu.addSeparator();
    addCommand(menu, QStringLiteral("Welcome to Vantrel\u2026"), commands.welcome);
    addCommand(menu, QStringLiteral("Check for Updates\u2026"), commands.checkUpdates);
    menu.addSeparator();
    addCommand(menu, QStringLiteral("Quit Vantrel"), commands.quit);
}

} // namespace vantrel::OptionsMenu
