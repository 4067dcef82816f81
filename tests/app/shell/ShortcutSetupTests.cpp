// The desktop's own binding to `vantrel --toggle`: GNOME's custom keybinding written
// and removed with the real gsettings tool and schema (keyfile back end in a
// temporary folder), the menu and onboarding lines, and sway's instructions.
#include "Vantrel/Clock.h"
#include "Vantrel/GameStore.h"
#include "Vantrel/onboarding/OnboardingView.h"
#include "Vantrel/shell/OptionsMenu.h"
#include "Vantrel/shell/ShortcutInstructions.h"
#include "Vantrel/shell/ShortcutSetup.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

using namespace vantrel;

namespace {

constexpr const char* mediaKeys = "org.gnome.settings-daemon.plugins.media-keys";
constexpr const char* foreignPath =
    "/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/custom0/";

QString relocated(const QString& path) {
    return QStringLiteral("org.gnome.settings-daemon.plugins.media-keys.custom-keybinding:") + path;
}

// Runs gsettings (synchronously: this is the test's own check, not the program).
QString gsettings(const QStringList& arguments, bool* ok = nullptr) {
    QProcess process;
    process.start(QStringLiteral("gsettings"), arguments);
    const bool finished = process.waitForFinished(10000);
    if (ok) {
        *ok = finished && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    }
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

class GnomeSetUpTest : public ::testing::Test {
protected:
    void SetUp() override {
        savedBackend = qgetenv("GSETTINGS_BACKEND");
        savedConfig = qgetenv("XDG_CONFIG_HOME");
        hadConfig = qEnvironmentVariableIsSet("XDG_CONFIG_HOME");
        // Settings go to a key file in a folder of our own, never to the user's dconf.
        qputenv("GSETTINGS_BACKEND", "keyfile");
        qputenv("XDG_CONFIG_HOME", dir.path().toUtf8());
        bool ok = false;
        gsettings({"list-keys", mediaKeys}, &ok);
        if (!ok) {
            GTEST_SKIP() << "needs gsettings and GNOME's media-keys schema "
                            "(libglib2.0-bin, gnome-settings-daemon-common: scripts/install-deps.sh --test)";
        }
        // Someone's own custom shortcut, which must come through untouched.
        gsettings({"set", relocated(foreignPath), "name", "'Terminal'"});
        gsettings({"set", relocated(foreignPath), "command", "'xterm'"});
        gsettings({"set", relocated(foreignPath), "binding", "'<Super>t'"});
        gsettings({"set", mediaKeys, "custom-keybindings", QStringLiteral("['%1']").arg(foreignPath)});
    }

    void TearDown() override {
        qputenv("GSETTINGS_BACKEND", savedBackend);
        if (hadConfig) {
            qputenv("XDG_CONFIG_HOME", savedConfig);
        } else {
            qunsetenv("XDG_CONFIG_HOME");
        }
        if (savedBackend.isEmpty()) {
            qunsetenv("GSETTINGS_BACKEND");
        }
    }

    void expectForeignUntouched() {
        EXPECT_EQ(gsettings({"get", relocated(foreignPath), "name"}), "'Terminal'");
        EXPECT_EQ(gsettings({"get", relocated(foreignPath), "command"}), "'xterm'");
        EXPECT_EQ(gsettings({"get", relocated(foreignPath), "binding"}), "'<Super>t'");
    }

    QTemporaryDir dir;
    QByteArray savedBackend;
    QByteArray savedConfig;
    bool hadConfig = false;
};

} // namespace

TEST_F(GnomeSetUpTest, WritesTheBindingBesideOthersAndRemovesOnlyIt) {
    const QString ours = QString::fromLatin1(ShortcutSetup::keybindingPath);
    ShortcutSetup setup(ShortcutSetup::Desktop::gnome, "/opt/Vantrel Game/vantrel");
    EXPECT_EQ(setup.command(), "'/opt/Vantrel Game/vantrel' --toggle");
    QSignalSpy finished(&setup, &ShortcutSetup::finished);

    setup.refresh();
    QTest::qWait(500);
    EXPECT_FALSE(setup.isSetUp());

    setup.setUp();
    EXPECT_TRUE(setup.busy());
    ASSERT_TRUE(finished.wait(15000));
    ASSERT_TRUE(finished.at(0).at(0).toBool()) << finished.at(0).at(1).toString().toStdString();
    // The user is told what changed and how to undo it.
    const QString told = finished.at(0).at(1).toString();
    EXPECT_TRUE(told.contains("'/opt/Vantrel Game/vantrel' --toggle")) << told.toStdString();
    EXPECT_TRUE(told.contains("Remove Shortcut")) << told.toStdString();
    EXPECT_TRUE(setup.isSetUp());
    EXPECT_EQ(gsettings({"get", mediaKeys, "custom-keybindings"}),
              QStringLiteral("['%1', '%2']").arg(foreignPath, ours));
    EXPECT_EQ(gsettings({"get", relocated(ours), "name"}), "'Vantrel'");
    EXPECT_EQ(gsettings({"get", relocated(ours), "command"}), "\"'/opt/Vantrel Game/vantrel' --toggle\"");
    EXPECT_EQ(gsettings({"get", relocated(ours), "binding"}), "'<Alt><Super>space'");
    expectForeignUntouched();

    // A later launch reads it back; setting it up again adds no second entry.
    ShortcutSetup later(ShortcutSetup::Desktop::gnome, "/opt/Vantrel Game/vantrel");
    QSignalSpy changed(&later, &ShortcutSetup::changed);
    later.refresh();
    ASSERT_TRUE(changed.wait(10000));
    EXPECT_TRUE(later.isSetUp());
    QSignalSpy again(&later, &ShortcutSetup::finished);
    later.setUp();
    ASSERT_TRUE(again.wait(15000));
    EXPECT_EQ(gsettings({"get", mediaKeys, "custom-keybindings"}),
              QStringLiteral("['%1', '%2']").arg(foreignPath, ours));

    // Removed: out of the list, its keys back to their defaults, the other binding kept.
    finished.clear();
    setup.remove();
    ASSERT_TRUE(finished.wait(15000));
    ASSERT_TRUE(finished.at(0).at(0).toBool()) << finished.at(0).at(1).toString().toStdString();
    EXPECT_TRUE(finished.at(0).at(1).toString().contains("removed"));
    EXPECT_FALSE(setup.isSetUp());
    EXPECT_EQ(gsettings({"get", mediaKeys, "custom-keybindings"}), QStringLiteral("['%1']").arg(foreignPath));
    EXPECT_EQ(gsettings({"get", relocated(ours), "command"}), "''");
    EXPECT_EQ(gsettings({"get", relocated(ours), "binding"}), "''");
    expectForeignUntouched();
}

TEST_F(GnomeSetUpTest, WithAnEmptyListTheBindingIsTheOnlyEntryAndRemovingLeavesItEmpty) {
    gsettings({"reset", mediaKeys, "custom-keybindings"});
    ShortcutSetup setup(ShortcutSetup::Desktop::gnome, "/usr/bin/vantrel");
    QSignalSpy finished(&setup, &ShortcutSetup::finished);
    setup.setUp();
    ASSERT_TRUE(finished.wait(15000));
    EXPECT_EQ(gsettings({"get", mediaKeys, "custom-keybindings"}),
              QStringLiteral("['%1']").arg(ShortcutSetup::keybindingPath));
    EXPECT_EQ(gsettings({"get", relocated(ShortcutSetup::keybindingPath), "command"}),
              "'/usr/bin/vantrel --toggle'");
    setup.remove();
    ASSERT_TRUE(finished.wait(15000));
    EXPECT_EQ(gsettings({"get", mediaKeys, "custom-keybindings"}), "@as []");
}

TEST(ShortcutSetup, WithoutGnomesSchemaTheUserIsToldItFailed) {
    const QByteArray saved = qgetenv("GSETTINGS_SCHEMA_DIR");
    QTemporaryDir empty;
    // A schema folder without the media-keys schema, and no system folders.
    qputenv("GSETTINGS_SCHEMA_DIR", empty.path().toUtf8());
    const QByteArray dataDirs = qgetenv("XDG_DATA_DIRS");
    qputenv("XDG_DATA_DIRS", empty.path().toUtf8());
    ShortcutSetup setup(ShortcutSetup::Desktop::gnome, "/usr/bin/vantrel");
    QSignalSpy finished(&setup, &ShortcutSetup::finished);
    setup.setUp();
    const bool answered = finished.wait(15000);
    qputenv("XDG_DATA_DIRS", dataDirs);
    if (saved.isEmpty()) {
        qunsetenv("GSETTINGS_SCHEMA_DIR");
    } else {
        qputenv("GSETTINGS_SCHEMA_DIR", saved);
    }
    ASSERT_TRUE(answered);
    EXPECT_FALSE(finished.at(0).at(0).toBool());
    EXPECT_FALSE(finished.at(0).at(1).toString().isEmpty());
    EXPECT_FALSE(setup.isSetUp());
    EXPECT_FALSE(setup.busy());
}

TEST(ShortcutSetup, SwayGetsTheExactConfigLineWithACopyButton) {
    ShortcutSetup setup(ShortcutSetup::Desktop::sway, "/usr/local/bin/vantrel");
    EXPECT_FALSE(setup.canWrite());
    EXPECT_EQ(setup.swayLine(), "bindsym Mod1+Mod4+space exec /usr/local/bin/vantrel --toggle");
    QMessageBox* box = ShortcutInstructions::show(setup);
    ASSERT_NE(box, nullptr);
    EXPECT_TRUE(box->isVisible());
    EXPECT_FALSE(box->isModal());
    EXPECT_EQ(box->informativeText(), setup.swayLine());
    auto* copy = box->findChild<QPushButton*>("copyButton");
    ASSERT_NE(copy, nullptr);
    QApplication::clipboard()->clear();
    copy->click();
    EXPECT_EQ(QApplication::clipboard()->text(), setup.swayLine());
    EXPECT_TRUE(box->isVisible()); // copying does not close it
    box->close();
}

TEST(ShortcutCase, ComesFromTheHotKeyAndTheDesktopsOwnBinding) {
    using State = GlobalShortcut::State;
    EXPECT_EQ(shortcutCase(State::active, false, false), ShortcutCase::works);
    EXPECT_EQ(shortcutCase(State::active, true, true), ShortcutCase::works);
    EXPECT_EQ(shortcutCase(State::pending, true, false), ShortcutCase::pending);
    EXPECT_EQ(shortcutCase(State::refused, true, false), ShortcutCase::refused);
    EXPECT_EQ(shortcutCase(State::unavailable, false, false), ShortcutCase::unavailable);
    EXPECT_EQ(shortcutCase(State::unavailable, true, false), ShortcutCase::needsSetUp);
    EXPECT_EQ(shortcutCase(State::unavailable, true, true), ShortcutCase::setUp);
    EXPECT_EQ(shortcutCase(State::pending, true, true), ShortcutCase::setUp);
}

TEST(OptionsMenuShortcut, TheThirdLineAndTheSetUpItemFollowTheCase) {
    QTemporaryDir dir;
    ManualClock clock;
    auto store = std::make_unique<GameStore>(
        std::make_unique<QSettings>(dir.filePath("Vantrel.conf"), QSettings::IniFormat), clock, 5);
    QMenu menu;
    int setUps = 0;
    int removals = 0;
    OptionsMenuCommands commands;
    commands.setUpShortcut = [&] { ++setUps; };
    commands.removeShortcut = [&] { ++removals; };
    auto texts = [&] {
        QStringList all;
        for (QAction* action : menu.actions()) {
            all << action->text();
        }
        return all;
    };
    auto find = [&](const QString& text) -> QAction* {
        for (QAction* action : menu.actions()) {
            if (action->text() == text) {
                return action;
            }
        }
        return nullptr;
    };

    OptionsMenu::fill(menu, *store, commands, false, ShortcutCase::works, "Alt+Meta+Space");
    EXPECT_EQ(texts().at(2), "Open anywhere  Alt+Meta+Space");
    EXPECT_EQ(find("Set Up Shortcut\u2026"), nullptr);

    OptionsMenu::fill(menu, *store, commands, false, ShortcutCase::pending);
    EXPECT_EQ(texts().at(2), "Shortcut waiting for the desktop\u2019s answer");
    EXPECT_FALSE(menu.actions().at(2)->isEnabled());

    OptionsMenu::fill(menu, *store, commands, false, ShortcutCase::refused);
    EXPECT_EQ(texts().at(2), "Shortcut not allowed \u00b7 use menu icon");
    EXPECT_NE(find("Set Up Shortcut\u2026"), nullptr); // the desktop's own binding is still a way in

    OptionsMenu::fill(menu, *store, commands, false, ShortcutCase::needsSetUp);
    EXPECT_EQ(texts().at(2), "Shortcut not set up \u00b7 use menu icon");
    QAction* setUp = find("Set Up Shortcut\u2026");
    ASSERT_NE(setUp, nullptr);
    EXPECT_EQ(texts().at(3), "Set Up Shortcut\u2026");
    EXPECT_TRUE(setUp->isEnabled());
    setUp->trigger();
    EXPECT_EQ(setUps, 1);

    OptionsMenu::fill(menu, *store, commands, false, ShortcutCase::setUp);
    EXPECT_EQ(texts().at(2), "Open anywhere  Alt+Super+Space");
    QAction* remove = find("Remove Shortcut");
    ASSERT_NE(remove, nullptr);
    remove->trigger();
    EXPECT_EQ(removals, 1);
    EXPECT_EQ(find("Set Up Shortcut\u2026"), nullptr);

    // Where the desktop's own binding is no way in (an X11 session), nothing is offered.
    OptionsMenuCommands x11 = commands;
    x11.setUpShortcut = nullptr;
    OptionsMenu::fill(menu, *store, x11, false, ShortcutCase::refused);
    EXPECT_EQ(find("Set Up Shortcut\u2026"), nullptr);

    // A binding this program did not write (sway's config) has nothing to remove.
    commands.removeShortcut = nullptr;
    OptionsMenu::fill(menu, *store, commands, false, ShortcutCase::setUp);
    EXPECT_EQ(find("Remove Shortcut"), nullptr);
}

TEST(OnboardingShortcutRow, SaysHowTheShortcutStands) {
    ManualClock clock;
    OnboardingView view(true, clock, [](bool) {});
    ASSERT_NE(view.shortcutText(), nullptr);
    EXPECT_EQ(view.shortcutText()->text(), "Or click the dinosaur in your menu bar.");
    view.setShortcutText(shortcutOnboardingLine(ShortcutCase::needsSetUp));
    EXPECT_EQ(view.shortcutText()->text(),
              "Choose Set Up Shortcut\u2026 in the dinosaur\u2019s menu to turn it on.");
    EXPECT_TRUE(
        view.shortcutText()->parentWidget()->accessibleDescription().endsWith(view.shortcutText()->text()));
    EXPECT_EQ(shortcutOnboardingLine(ShortcutCase::pending), "Waiting for your desktop to allow it.");
    EXPECT_EQ(shortcutOnboardingLine(ShortcutCase::unavailable),
              "Shortcut unavailable. Use the menu bar dinosaur.");
}
