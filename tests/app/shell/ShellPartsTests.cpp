#include "Vantrel/Clock.h"
#include "Vantrel/GameStore.h"
#include "Vantrel/pixels/PixelDino.h"
#include "Vantrel/shell/AppDelegate.h"
#include "Vantrel/shell/OptionsMenu.h"
#include "Vantrel/shell/StatusIcon.h"

#include <QAction>
#include <QMenu>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

using namespace vantrel;

namespace {

// True when the status icon's pixel at bitmap cell (column, row) is lit.
bool lit(int column, int row) {
    if (column < 0 || column >= PixelDino::figureColumns || row < 0 || row >= PixelDino::figureRows) {
        return false;
    }
    const std::string_view line = row < 16 ? PixelDino::body[row] : PixelDino::feetRest[row - 16];
    return line[column] == '#';
}

} // namespace

TEST(StatusIcon, StandingDinosaurDarkWithALightOutline) {
    for (int size : {22, 44, 64}) {
        const QImage image = StatusIcon::render(size);
        ASSERT_EQ(image.size(), QSize(size, size));
        const int cell = size / 22; // 18 x 20 figure plus a cell of outline around it
        const int left = (size - cell * 18) / 2;
        const int top = (size - cell * 20) / 2;
        int figure = 0;
        int outline = 0;
        for (int row = -1; row <= 20; ++row) {
            for (int column = -1; column <= 18; ++column) {
                const QColor pixel =
                    image.pixelColor(left + column * cell + cell / 2, top + row * cell + cell / 2);
                bool nearFigure = false;
                for (int dy = -1; dy <= 1; ++dy) {
                    for (int dx = -1; dx <= 1; ++dx) {
                        nearFigure = nearFigure || lit(column + dx, row + dy);
                    }
                }
                if (lit(column, row)) {
                    EXPECT_EQ(pixel.rgba(), StatusIcon::figureColor) << size << ": " << column << "," << row;
                    ++figure;
                } else if (nearFigure) {
                    EXPECT_EQ(pixel.rgba(), StatusIcon::outlineColor) << size << ": " << column << "," << row;
                    ++outline;
                } else {
                    EXPECT_EQ(pixel.alpha(), 0) << size << ": " << column << "," << row;
                }
            }
        }
        EXPECT_GT(figure, 150);
        EXPECT_GT(outline, 50);
    }
    EXPECT_FALSE(StatusIcon::make().isNull());
    EXPECT_GE(StatusIcon::make().availableSizes().size(), 5);
}

class OptionsMenuTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    ManualClock clock;
    std::unique_ptr<GameStore> store = std::make_unique<GameStore>(
        std::make_unique<QSettings>(dir.filePath("Vantrel.conf"), QSettings::IniFormat), clock, 5);
};

TEST_F(OptionsMenuTest, ItemsInOrderWithStates) {
    store->setSoundEnabled(true);
    store->setRoomy(false);
    QStringList called;
    OptionsMenuCommands commands;
    commands.play = [&] { called << "play"; };
    commands.freshRun = [&] { called << "freshRun"; };
    commands.watchAutopilot = [&] { called << "watch"; };
    commands.toggleSound = [&] { called << "sound"; };
    commands.toggleRoomy = [&] { called << "roomy"; };
    commands.toggleHover = [&] { called << "hover"; };
    commands.toggleLaunchAtLogin = [&] { called << "login"; };
    commands.welcome = [&] { called << "welcome"; };
    commands.checkUpdates = [&] { called << "updates"; };
    commands.quit = [&] { called << "quit"; };
    QMenu menu;
    OptionsMenu::fill(menu, *store, commands, true);

    QStringList titles;
    for (QAction* action : menu.actions()) {
        titles << (action->isSeparator() ? QStringLiteral("-") : action->text());
        EXPECT_TRUE(action->shortcut().isEmpty());
    }
    EXPECT_EQ(titles, QStringList({"Vantrel", "Hover over the notch to play",
                                   "Open anywhere  Alt+Super+Space", "-", "Play / Resume", "Fresh Run",
                                   "Watch Autopilot", "-", "Sound", "Larger Playfield", "Hover to Peek",
                                   "Launch at Login", "-", QString::fromUtf8("Welcome to Vantrel\u2026"),
                                   QString::fromUtf8("Check for Updates\u2026"), "-", "Quit Vantrel"}));
    const QList<QAction*> actions = menu.actions();
    EXPECT_FALSE(actions[0]->isEnabled());
    EXPECT_FALSE(actions[1]->isEnabled());
    EXPECT_FALSE(actions[2]->isEnabled());
    EXPECT_TRUE(actions[8]->isChecked());  // Sound
    EXPECT_FALSE(actions[9]->isChecked()); // Larger Playfield
    EXPECT_TRUE(actions[10]->isChecked()); // Hover to Peek (default on)
    EXPECT_TRUE(actions[11]->isCheckable());
    EXPECT_TRUE(actions[11]->isChecked()); // Launch at Login, as the caller found the file
    for (QAction* action : actions) {
        if (action->isEnabled() && !action->isSeparator()) {
            action->trigger();
        }
    }
    EXPECT_EQ(called, QStringList({"play", "freshRun", "watch", "sound", "roomy", "hover", "login", "welcome",
                                   "updates", "quit"}));
}

TEST_F(OptionsMenuTest, UnavailableShortcutAndRebuilding) {
    store->setShortcutAvailable(false);
    QMenu menu;
    OptionsMenu::fill(menu, *store, {});
    EXPECT_EQ(menu.actions()[2]->text(), QString::fromUtf8("Shortcut unavailable \u00b7 use menu icon"));
    store->setShortcutAvailable(true);
    store->setRoomy(true);
    OptionsMenu::fill(menu, *store, {});
    EXPECT_EQ(menu.actions().size(), 17);
    EXPECT_EQ(menu.actions()[2]->text(), "Open anywhere  Alt+Super+Space");
    EXPECT_TRUE(menu.actions()[9]->isChecked());
    EXPECT_FALSE(menu.actions()[11]->isChecked()); // Launch at Login off by default
}

TEST(AppStartTest, ADemoPlaysBeforeOnboardingIsDone) {
    AppDelegate::Options options;
    options.demo = true;
    EXPECT_EQ(AppDelegate::startWith(options, false), AppDelegate::StartWith::demo);
    EXPECT_EQ(AppDelegate::startWith(options, true), AppDelegate::StartWith::demo);
    options.demo = false;
    EXPECT_EQ(AppDelegate::startWith(options, false), AppDelegate::StartWith::onboarding);
    EXPECT_EQ(AppDelegate::startWith(options, true), AppDelegate::StartWith::nothing);
    options.open = true;
    EXPECT_EQ(AppDelegate::startWith(options, false), AppDelegate::StartWith::onboarding);
    EXPECT_EQ(AppDelegate::startWith(options, true), AppDelegate::StartWith::playfield);
}
