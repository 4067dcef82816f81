#pragma once

#include "Vantrel/shell/Autostart.h"
#include "Vantrel/shell/ShortcutCase.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>

class QMenu;
class QSettings;
class QSystemTrayIcon;
class QTimer;

namespace vantrel::platform {
struct PlatformServices;
} // namespace vantrel::platform

namespace vantrel {

class Clock;
class GameStore;
class GlobalShortcut;
class NotchPanelController;
class OnboardingWindowController;
class ShortcutSetup;
class StatusNotifierItem;
class VeltUpdateManager;

// The application shell: creates the panel controller, the tray icon with its
// options menu and the global shortcut, shows onboarding at the first launch,
// answers later launches, and shuts everything down in order.
class AppDelegate : public QObject {
    Q_OBJECT
public:
    static constexpr const char* completedOnboardingKey = "hasCompletedOnboarding";
    static QString trayToolTip();

    struct Options {
        QString settingsFile;     // empty: ~/.config/Vantrel/Vantrel.conf
        bool demo = false;        // open the playfield and let the autopilot play
        bool open = false;        // open the playfield once started
        bool verbose = false;     // say which desktop services are in use
        int trayWaitSeconds = 10; // how long a missing tray may take to appear before the user is told
    };

    // What the program shows once started. A demo plays even before onboarding is
    // done: the welcome window waits for the next start without --demo.
    enum class StartWith { nothing, onboarding, demo, playfield };
    static StartWith startWith(const Options& options, bool onboarded);

    AppDelegate(const Options& options, const Clock& clock, QObject* parent = nullptr);
    ~AppDelegate() override;

    // A later launch's request: "reopen", "toggle" or "demo".
    void handleRequest(const QString& request);
    // At exit, or when the desktop session ends: pause (saving the best score),
    // release the shortcut, stop every timer and watcher.
    void shutdown();

    NotchPanelController& controller() { return *m_controller; }
    GameStore& store();
    QSystemTrayIcon& trayIcon() { return *m_tray; }
    QMenu& optionsMenu() { return *m_menu; }
    OnboardingWindowController* onboarding() const;
    // Made on the first "Check for Updates…"; null before.
    VeltUpdateManager* updates() const { return m_updates; }
    GlobalShortcut& shortcut() { return *m_shortcut; }
    ShortcutSetup& shortcutSetup() { return *m_shortcutSetup; }
    // How the shortcut stands, as the menu and onboarding show it.
    ShortcutCase shortcutCase() const;

public slots:
    void play();
    void freshRun();
    void watchAutopilot();
    void toggleSound();
    void toggleRoomy();
    void toggleHover();
    // Writes or removes the autostart entry, which runs this very program at login.
    void toggleLaunchAtLogin();
    void welcome();
    // The desktop's own binding to `vantrel --toggle`, where no portal offers the
    // shortcut: written on GNOME (and the user told what changed), shown elsewhere.
    void setUpShortcut();
    void removeShortcut();
    void checkUpdates();
    void quit();

private:
    void showOptions(QPoint anchor);
    void showOnboarding();
    void finishOnboarding(bool openPlayfield);
    bool bringOnboardingForward();
    void checkTray();
    // Some tray shows the icon: an XEmbed tray embedded it, or a StatusNotifier watcher holds it.
    bool trayAvailable() const;
    void statusItemChanged();
    // A right click on the tray icon at `at`: the options menu there, or under the
    // playfield's options button while the playfield is open.
    void showTrayMenu(QPoint at);
    void shortcutChanged();

    const Clock& m_clock;
    QString m_movedSettings; // where a settings file that held no settings went, before anything read it
    std::unique_ptr<QSettings> m_settings; // the delegate's own view of the settings file
    std::unique_ptr<NotchPanelController> m_controller;
    std::unique_ptr<GlobalShortcut> m_shortcut;
    ShortcutSetup* m_shortcutSetup = nullptr;
    bool m_setUpOffered = false; // a Wayland session: the desktop's own binding is a way in
    bool m_verbose = false;
    QString m_shortcutReport; // the last line --verbose printed about the shortcut
    QSystemTrayIcon* m_tray = nullptr;
    // Qt's icon went to a StatusNotifier host found at start; else XEmbed, with m_item for a
    // StatusNotifierWatcher that comes later.
    bool m_qtTrayIsItem = false;
    StatusNotifierItem* m_item = nullptr;
    // Parentless (a QWidget cannot have the delegate as parent), so owned here.
    std::unique_ptr<QMenu> m_menu;
    Autostart m_autostart;
    QPointer<OnboardingWindowController> m_onboarding;
    QTimer* m_trayWait = nullptr;
    VeltUpdateManager* m_updates = nullptr;
    bool m_shutDown = false;
};

} // namespace vantrel
