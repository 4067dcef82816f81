#include "Vantrel/shell/AppDelegate.h"

#include "Vantrel/BuildInfo.h"
#include "Vantrel/GameStore.h"
#include "Vantrel/Logging.h"
#include "Vantrel/Preferences.h"
#include "Vantrel/SettingsValue.h"
#include "Vantrel/onboarding/OnboardingView.h"
#include "Vantrel/onboarding/OnboardingWindowController.h"
#include "Vantrel/panel/GlobalShortcut.h"
#include "Vantrel/panel/NotchPanel.h"
#include "Vantrel/panel/NotchPanelController.h"
#include "Vantrel/pixels/RetroFont.h"
#include "Vantrel/platform/Platform.h"
#include "Vantrel/shell/DesktopNotice.h"
#include "Vantrel/shell/OptionsMenu.h"
#include "Vantrel/shell/ShortcutInstructions.h"
#include "Vantrel/shell/ShortcutSetup.h"
#include "Vantrel/shell/StatusIcon.h"
#include "Vantrel/shell/StatusNotifierItem.h"
#include "Vantrel/update/VeltUpdateManager.h"

#include <QApplication>
#include <QCheckBox>
#include <QCursor>
#include <QDBusConnection>
#include <QGuiApplication>
#include <QMenu>
#include <QMessageBox>
#include <QSessionManager>
#include <QSettings>
#include <QSystemTrayIcon>
#include <QTextStream>
#include <QTimer>

namespace vantrel {

namespace {

QString settingsPath(const QString& file) {
    return file.isEmpty() ? QSettings(QStringLiteral("Vantrel"), QStringLiteral("Vantrel")).fileName() : file;
}

std::unique_ptr<QSettings> openSettings(const QString& file) {
    return file.isEmpty() ? std::make_unique<QSettings>(QStringLiteral("Vantrel"), QStringLiteral("Vantrel"))
                          : std::make_unique<QSettings>(file, QSettings::IniFormat);
}

} // namespace

QString AppDelegate::trayToolTip() {
    return QStringLiteral(
        "Hover over the notch to play \u00b7 Alt+Super+Space \u00b7 Right-click for options");
}

AppDelegate::AppDelegate(const Options& options, const Clock& clock, QObject* parent)
    : QObject(parent), m_clock(clock),
      m_movedSettings(Preferences::moveAsideIfUnusable(settingsPath(options.settingsFile))),
      m_settings(openSettings(options.settingsFile)),
      m_autostart(QString::fromUtf8(BuildInfo::appId.data(), static_cast<qsizetype>(BuildInfo::appId.size())),
                  QCoreApplication::applicationFilePath()) {
    QTextStream err(stderr);

    // 1. The pixel font, before anything draws text.
    RetroFont::registerFont();

    // 2. The panel controller, with the game store and the panel.
    platform::PlatformServices services = platform::makePlatformServices(*m_settings);
    if (options.verbose) {
        for (const QString& note : services.notes) {
            err << "vantrel: " << note << Qt::endl;
        }
    }
    m_controller = std::make_unique<NotchPanelController>(openSettings(options.settingsFile), clock,
                                                          std::move(services));

    // 3-4. No playfield over an unfinished onboarding; the options menu from inside the playfield.
    m_controller->setAuthorizePlay([this] { return !bringOnboardingForward(); });
    connect(m_controller.get(), &NotchPanelController::optionsRequested, this, &AppDelegate::showOptions);
    connect(m_controller.get(), &NotchPanelController::quitRequested, this, &AppDelegate::quit);

    // 5. The tray icon. Every command is also in its menu, because some
    // desktops open the menu on any click.
    m_menu = std::make_unique<QMenu>();
    m_menu->setObjectName(QStringLiteral("optionsMenu"));
    connect(m_menu.get(), &QMenu::aboutToShow, this, [this] {
        store().pause();
        OptionsMenuCommands commands;
        commands.play = [this] { play(); };
        commands.freshRun = [this] { freshRun(); };
        commands.watchAutopilot = [this] { watchAutopilot(); };
        commands.toggleSound = [this] { toggleSound(); };
        commands.toggleRoomy = [this] { toggleRoomy(); };
        commands.toggleHover = [this] { toggleHover(); };
        commands.toggleLaunchAtLogin = [this] { toggleLaunchAtLogin(); };
        if (m_setUpOffered) {
            commands.setUpShortcut = [this] { setUpShortcut(); };
        }
        if (m_shortcutSetup->canWrite()) {
            commands.removeShortcut = [this] { removeShortcut(); };
        }
        commands.welcome = [this] { welcome(); };
        commands.checkUpdates = [this] { checkUpdates(); };
        commands.quit = [this] { quit(); };
        // Read from disk each time: the user may have added or removed the file by hand.
        OptionsMenu::fill(*m_menu, store(), commands, m_autostart.enabled(), shortcutCase(),
                          m_shortcut->trigger());
        if (m_setUpOffered) {
            m_shortcutSetup->refresh(); // the user may have changed it in the desktop's settings
        }
    });
    m_tray = new QSystemTrayIcon(StatusIcon::make(), this);
    m_tray->setToolTip(trayToolTip());
    // Where Qt gave the icon to a StatusNotifier host, the host draws the menu from
    // Qt's export. Elsewhere the program opens the menu itself on a right click, so
    // that it can open inside the playfield while the playfield is open.
    m_qtTrayIsItem = StatusNotifierItem::qtTrayIsStatusNotifier();
    if (m_qtTrayIsItem) {
        m_tray->setContextMenu(m_menu.get());
    }
    connect(m_tray, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger) {
            m_controller->toggle();
        } else if (reason == QSystemTrayIcon::Context && !m_qtTrayIsItem) {
            showTrayMenu(QCursor::pos());
        }
    });
    if (!m_qtTrayIsItem) {
        // Qt looked for a StatusNotifier host once, at the line above; a panel that
        // starts later gets this item instead.
        QList<QImage> sizes;
        for (int size : {16, 22, 24, 32, 48, 64}) {
            sizes.append(StatusIcon::render(size));
        }
        m_item = new StatusNotifierItem(
            QString::fromUtf8(BuildInfo::appId.data(), static_cast<qsizetype>(BuildInfo::appId.size())),
            QStringLiteral("Vantrel"), trayToolTip(), StatusNotifierItem::pixmapsFrom(sizes),
            QDBusConnection::sessionBus(), this);
        connect(m_item, &StatusNotifierItem::activated, this, [this] { m_controller->toggle(); });
        connect(m_item, &StatusNotifierItem::contextMenuRequested, this,
                [this](QPoint at) { showTrayMenu(at.isNull() ? QCursor::pos() : at); });
        connect(m_item, &StatusNotifierItem::trayChanged, this, &AppDelegate::statusItemChanged);
        m_item->start();
    }
    // Shown even without a tray: Qt embeds it when a tray appears later.
    m_tray->show();

    // 6. The global shortcut; the store shows a hint when it is not available.
    // A portal answers later, so the state is followed rather than read once; on a
    // Wayland session without one, the desktop's own binding can be made instead.
    m_verbose = options.verbose;
    m_shortcut = std::make_unique<GlobalShortcut>(platform::makeHotKey(), [this] { m_controller->toggle(); });
    m_setUpOffered = platform::waylandSession();
    m_shortcutSetup =
        new ShortcutSetup(ShortcutSetup::detect(), QCoreApplication::applicationFilePath(), this);
    connect(m_shortcut.get(), &GlobalShortcut::stateChanged, this, &AppDelegate::shortcutChanged);
    connect(m_shortcutSetup, &ShortcutSetup::changed, this, &AppDelegate::shortcutChanged);
    connect(m_shortcutSetup, &ShortcutSetup::finished, this, [](bool ok, const QString& message) {
        if (message.isEmpty()) {
            return;
        }
        // Told in a window of its own: the user asked for the change and should see what it was.
        auto* box = new QMessageBox(ok ? QMessageBox::Information : QMessageBox::Warning,
                                    QStringLiteral("Vantrel Shortcut"), message);
        box->setObjectName(QStringLiteral("shortcutSetUpResult"));
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setModal(false);
        box->show();
    });
    m_shortcut->registerHotKey();
    if (m_setUpOffered) {
        m_shortcutSetup->refresh();
    }
    shortcutChanged();
    if (options.verbose) {
        err << "vantrel: tray " << (QSystemTrayIcon::isSystemTrayAvailable() ? "available" : "not available")
            << Qt::endl;
    }

    // Without a tray the program still works through hover and the shortcut;
    // the user is told once how to get the icon, after giving a desktop that
    // is still starting up some time to bring its tray.
    m_trayWait = new QTimer(this);
    m_trayWait->setSingleShot(true);
    m_trayWait->setInterval(std::max(options.trayWaitSeconds, 0) * 1000);
    connect(m_trayWait, &QTimer::timeout, this, &AppDelegate::checkTray);
    if (!trayAvailable()) {
        m_trayWait->start();
    }

    // Told once: the file is not there to be moved the next time.
    if (!m_movedSettings.isEmpty()) {
        const QString file = settingsPath(options.settingsFile);
        err << "vantrel: " << file << " held no settings Vantrel can read; moved it to " << m_movedSettings
            << " and started with a clean file" << Qt::endl;
        DesktopNotice::show(QStringLiteral("Vantrel started with fresh settings"),
                            QStringLiteral("%1 did not hold Vantrel's settings, so Vantrel moved it to %2, "
                                           "unchanged, and started with a clean settings file.")
                                .arg(file, m_movedSettings));
    }

    // The desktop session is ending: save now, the process may not get another chance.
    connect(qApp, &QGuiApplication::commitDataRequest, this, [this](QSessionManager&) { store().pause(); });

    // 8. Onboarding at the first launch, unless a demo was asked for.
    switch (startWith(
        options, settingsBool(m_settings->value(QLatin1String(completedOnboardingKey))).value_or(false))) {
    case StartWith::onboarding:
        showOnboarding();
        break;
    case StartWith::demo:
        watchAutopilot();
        break;
    case StartWith::playfield:
        m_controller->expand();
        break;
    case StartWith::nothing:
        break;
    }
}

AppDelegate::StartWith AppDelegate::startWith(const Options& options, bool onboarded) {
    if (options.demo) {
        return StartWith::demo;
    }
    if (!onboarded) {
        return StartWith::onboarding;
    }
    return options.open ? StartWith::playfield : StartWith::nothing;
}

ShortcutCase AppDelegate::shortcutCase() const {
    return vantrel::shortcutCase(m_shortcut->state(), m_setUpOffered, m_shortcutSetup->isSetUp());
}

void AppDelegate::shortcutChanged() {
    const ShortcutCase state = shortcutCase();
    store().setShortcutAvailable(shortcutWorks(state));
    if (m_onboarding) {
        m_onboarding->view()->setShortcutText(shortcutOnboardingLine(state));
    }
    if (!m_verbose || m_shortcut->state() == GlobalShortcut::State::released) {
        return; // released only when shutting down
    }
    // What actually works, each time it changes: a portal's answer comes later.
    QString report = m_shortcut->detail().isEmpty() ? m_shortcut->errorString() : m_shortcut->detail();
    if (state == ShortcutCase::setUp) {
        report = QStringLiteral("set up in the desktop's keyboard settings (runs %1)")
                     .arg(m_shortcutSetup->command());
    } else if (state == ShortcutCase::needsSetUp) {
        report += QStringLiteral("; not set up: choose Set Up Shortcut\u2026 in the menu");
    }
    if (report != m_shortcutReport) {
        m_shortcutReport = report;
        QTextStream(stderr) << "vantrel: shortcut " << GlobalShortcut::displayName << ": " << report
                            << Qt::endl;
    }
}

void AppDelegate::setUpShortcut() {
    m_controller->collapse(false);
    if (!m_shortcutSetup->canWrite()) {
        ShortcutInstructions::show(*m_shortcutSetup);
        return;
    }
    m_shortcutSetup->setUp();
}

void AppDelegate::removeShortcut() {
    m_controller->collapse(false);
    m_shortcutSetup->remove();
}

AppDelegate::~AppDelegate() {
    shutdown();
    delete m_onboarding;
}

GameStore& AppDelegate::store() {
    return m_controller->store();
}

OnboardingWindowController* AppDelegate::onboarding() const {
    return m_onboarding;
}

void AppDelegate::shutdown() {
    if (m_shutDown) {
        return;
    }
    m_shutDown = true;
    m_trayWait->stop();
    m_shortcut->unregisterHotKey();
    m_controller->shutdown();
    if (m_item) {
        m_item->stop();
    }
    m_tray->hide();
}

bool AppDelegate::trayAvailable() const {
    // Qt's own item: it found a host at start (asking Qt again would wait on the bus).
    return m_qtTrayIsItem || (m_item && m_item->isRegistered()) || QSystemTrayIcon::isSystemTrayAvailable();
}

void AppDelegate::statusItemChanged() {
    if (m_shutDown) {
        return;
    }
    // One icon: where a panel draws the item, an XEmbed icon would be a second one
    // (panels with both kinds of tray, and proxies that turn XEmbed icons into items).
    m_tray->setVisible(!m_item->hostPresent());
    if (m_verbose) {
        QTextStream(stderr) << "vantrel: tray "
                            << (m_item->hostPresent()    ? "shown by a StatusNotifier host"
                                : m_item->isRegistered() ? "registered with a StatusNotifier watcher"
                                                         : "StatusNotifier watcher gone")
                            << Qt::endl;
    }
}

void AppDelegate::showTrayMenu(QPoint at) {
    // While the playfield is open the menu belongs to it, where its options button opens it,
    // rather than at a tray across the screen. Opening it pauses the run either way.
    if (store().expanded()) {
        auto* button = m_controller->panel().findChild<QWidget*>(QStringLiteral("optionsButton"));
        if (button && button->isVisible()) {
            showOptions(button->mapToGlobal(QPoint(0, button->height())));
            return;
        }
    }
    m_menu->popup(at);
}

void AppDelegate::checkTray() {
    if (trayAvailable()) {
        return;
    }
    DesktopNotice::show(
        QStringLiteral("Vantrel is running"),
        QStringLiteral(
            "Your desktop shows no tray icons, so Vantrel's dinosaur icon is hidden. Rest the pointer "
            "just below the top centre of the screen, or press Alt+Super+Space, to play. On GNOME, "
            "turn on the \u201cAppIndicator and KStatusNotifierItem Support\u201d extension to get "
            "the icon and its menu."));
}

void AppDelegate::handleRequest(const QString& request) {
    qCDebug(lcShell) << "request from another launch:" << request;
    if (request == QLatin1String("toggle")) {
        m_controller->toggle();
    } else if (request == QLatin1String("demo")) {
        // Asked for by name: the demo plays, and an unfinished welcome comes back at the next start.
        if (m_onboarding && m_onboarding->isVisible()) {
            m_onboarding->close();
        }
        watchAutopilot();
    } else {
        m_controller->expand(); // a second launch opens the playfield
    }
}

void AppDelegate::showOptions(QPoint anchor) {
    // Under the playfield's options button; kept on the button's screen by QMenu.
    m_menu->popup(anchor);
}

bool AppDelegate::bringOnboardingForward() {
    if (!m_onboarding || !m_onboarding->isVisible()) {
        return false;
    }
    m_onboarding->showAndActivate();
    return true;
}

void AppDelegate::showOnboarding() {
    m_controller->collapse(false);
    if (bringOnboardingForward()) {
        return;
    }
    delete m_onboarding;
    m_onboarding = new OnboardingWindowController(store().shortcutAvailable(), m_clock,
                                                  [this](bool open) { finishOnboarding(open); });
    m_onboarding->view()->setShortcutText(shortcutOnboardingLine(shortcutCase()));
    // The same preference the panel's springs follow.
    m_onboarding->view()->followMotionPreference(m_controller->motionPreference());
    m_onboarding->view()->launchAtLoginBox()->setChecked(m_autostart.enabled());
    connect(m_onboarding, &OnboardingWindowController::quitRequested, this, &AppDelegate::quit);
    m_onboarding->showAndActivate();
}

void AppDelegate::finishOnboarding(bool openPlayfield) {
    m_settings->setValue(QLatin1String(completedOnboardingKey), true);
    m_settings->sync();
    if (m_onboarding && m_onboarding->view()->launchAtLoginBox()->isChecked() != m_autostart.enabled()) {
        toggleLaunchAtLogin();
    }
    if (m_onboarding) {
        m_onboarding->close();
    }
    if (openPlayfield) {
        m_controller->expand();
    }
}

void AppDelegate::play() {
    if (m_controller->expand()) {
        store().act();
    }
}

void AppDelegate::freshRun() {
    if (m_controller->expand()) {
        store().freshRun();
    }
}

void AppDelegate::watchAutopilot() {
    if (m_controller->expand()) {
        store().setAutopilot(true);
    }
}

void AppDelegate::toggleSound() {
    store().setSoundEnabled(!store().soundEnabled());
}

void AppDelegate::toggleRoomy() {
    store().setRoomy(!store().roomy());
    m_controller->updateLayout();
}

void AppDelegate::toggleLaunchAtLogin() {
    QString error;
    const bool on = !m_autostart.enabled();
    if (m_autostart.setEnabled(on, &error)) {
        qCInfo(lcShell) << (on ? "launch at login: wrote" : "launch at login: removed")
                        << m_autostart.filePath();
        return;
    }
    qCWarning(lcShell) << "launch at login:" << error;
    DesktopNotice::show(on ? QStringLiteral("Vantrel cannot start at login")
                           : QStringLiteral("Vantrel still starts at login"),
                        error);
}

void AppDelegate::toggleHover() {
    store().setHoverToPeek(!store().hoverToPeek());
    m_controller->updateLayout();
}

void AppDelegate::welcome() {
    showOnboarding();
}

void AppDelegate::checkUpdates() {
    m_controller->collapse(false);
    if (!m_updates) {
        m_updates = new VeltUpdateManager(this);
    }
    m_updates->checkForUpdates();
}

void AppDelegate::quit() {
    QCoreApplication::quit();
}

} // namespace vantrel
