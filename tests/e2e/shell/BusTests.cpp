// Every D-Bus call the program makes, against a private bus whose peer never
// answers: the call returns control to the event loop at once, and the
// fallback comes at its deadline. Also the sleep and screen-locker signals on
// buses Qt is pointed at through the environment.
#include "PrivateBus.h"

#include "Vantrel/platform/GnomeMotionPreference.h"
#include "Vantrel/platform/SessionSignals.h"
#include "Vantrel/shell/DesktopNotice.h"
#include "Vantrel/shell/StatusNotifierItem.h"
#include "Vantrel/update/QtUpdateDialogs.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QMessageBox>
#include <QPointer>
#include <QProcessEnvironment>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <memory>
#include <utility>

using namespace vantrel;

namespace {

const QString notifications = QStringLiteral("org.freedesktop.Notifications");
const QString fileManager = QStringLiteral("org.freedesktop.FileManager1");
const QString dconf = QStringLiteral("ca.desrt.dconf");
const QString sniWatcher = QStringLiteral("org.kde.StatusNotifierWatcher");

// Hung: owned by a process that never answers. Stalled: its program never takes the name.
std::unique_ptr<test::PrivateBus> hungBus;
std::unique_ptr<test::PrivateBus> stalledBus;
// No services but what a test starts on it.
std::unique_ptr<test::PrivateBus> openBus;

bool silentServiceRuns() {
    QProcess python;
    python.start(QStringLiteral("/usr/bin/python3"),
                 {QStringLiteral("-c"), QStringLiteral("import gi; gi.require_version('Gio', '2.0'); "
                                                       "from gi.repository import Gio")});
    return python.waitForFinished(20000) && python.exitStatus() == QProcess::NormalExit &&
           python.exitCode() == 0;
}

// Runs the event loop until `done` holds or `limitMs` passes; returns the longest
// stretch (ms) in which the loop did not get round to a 10 ms timer.
template <typename Done> qint64 runLoopUntil(Done done, int limitMs) {
    QElapsedTimer clock;
    clock.start();
    qint64 last = 0;
    qint64 longest = 0;
    QEventLoop loop;
    QTimer tick;
    tick.setInterval(10);
    QObject::connect(&tick, &QTimer::timeout, &loop, [&] {
        const qint64 now = clock.elapsed();
        longest = std::max(longest, now - last);
        last = now;
        if (done() || now > limitMs) {
            loop.quit();
        }
    });
    tick.start();
    loop.exec();
    return longest;
}

void closeNoticeWindows() {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* box = qobject_cast<QMessageBox*>(widget)) {
            box->close();
        }
    }
}

bool noticeWindowShows(const QString& title) {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* box = qobject_cast<QMessageBox*>(widget);
            box && box->isVisible() && box->windowTitle() == title) {
            return true;
        }
    }
    return false;
}

void noticeFallsBackAtItsDeadline(test::PrivateBus* bus, const char* connectionName) {
    if (!bus || bus->address().isEmpty()) {
        GTEST_SKIP() << "dbus-daemon did not start (scripts/install-deps.sh --test installs it)";
    }
    const QDBusConnection connection = QDBusConnection::connectToBus(bus->address(), connectionName);
    ASSERT_TRUE(connection.isConnected());

    QElapsedTimer clock;
    clock.start();
    DesktopNotice* notice = DesktopNotice::show(connection, "Vantrel is running", "Hover to play.");
    const qint64 returnedAfter = clock.elapsed();
    bool done = false;
    DesktopNotice::Shown how = DesktopNotice::Shown::notification;
    QObject::connect(notice, &DesktopNotice::shown, [&](DesktopNotice::Shown shown) {
        done = true;
        how = shown;
    });
    EXPECT_LT(returnedAfter, 100) << "show() waited on the bus";
    EXPECT_FALSE(noticeWindowShows("Vantrel is running"))
        << "the window came before the service had its time";

    const qint64 longestStall = runLoopUntil([&] { return done; }, 4 * DesktopNotice::answerTimeoutMs);
    const qint64 shownAfter = clock.elapsed();
    ASSERT_TRUE(done) << "no notice after " << shownAfter << " ms";
    EXPECT_EQ(how, DesktopNotice::Shown::window);
    EXPECT_TRUE(noticeWindowShows("Vantrel is running"));
    EXPECT_GE(shownAfter, DesktopNotice::answerTimeoutMs - 50);
    EXPECT_LT(shownAfter, DesktopNotice::answerTimeoutMs + 1000);
    EXPECT_LT(longestStall, 200) << "the event loop stood still while the service was asked";
    EXPECT_TRUE(bus->started(notifications)) << "the bus never started the notification service";
    closeNoticeWindows();
}

} // namespace

TEST(BusCalls, NoticeOnAHungNotificationServiceFallsBackToTheWindowWithoutWaiting) {
    noticeFallsBackAtItsDeadline(hungBus.get(), "hung-notice");
}

TEST(BusCalls, NoticeOnANotificationServiceThatNeverComesUpFallsBackWithoutWaiting) {
    noticeFallsBackAtItsDeadline(stalledBus.get(), "stalled-notice");
}

namespace {

QString readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// The stand-in notification daemon (tests/e2e/shell/notification_service.py) on the open bus,
// answering Notify after `delayMs`.
class NotificationService {
public:
    NotificationService(const QString& log, int delayMs) {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("DBUS_SESSION_BUS_ADDRESS", openBus->address());
        m_process.setProcessEnvironment(env);
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start("/usr/bin/python3", {VANTREL_NOTIFICATION_SERVICE, log, QString::number(delayMs)});
        m_ready = m_process.waitForReadyRead(20000) && m_process.readLine().trimmed() == "ready";
    }
    ~NotificationService() {
        m_process.closeWriteChannel();
        if (!m_process.waitForFinished(5000)) {
            m_process.kill();
            m_process.waitForFinished();
        }
    }
    bool ready() const { return m_ready; }

private:
    QProcess m_process;
    bool m_ready = false;
};

// Shows a notice on the open bus with a stand-in daemon answering after `delayMs`; the log of
// its calls once the notice is done with the bus, and how the notice was shown.
std::pair<QString, DesktopNotice::Shown> noticeWithDaemon(int delayMs, const char* connectionName,
                                                          bool* skipped) {
    *skipped = true;
    if (!openBus || openBus->address().isEmpty() || !silentServiceRuns()) {
        return {};
    }
    QTemporaryDir dir;
    const QString log = dir.filePath("calls.log");
    NotificationService daemon(log, delayMs);
    if (!daemon.ready()) {
        return {};
    }
    *skipped = false;
    const QDBusConnection connection = QDBusConnection::connectToBus(openBus->address(), connectionName);
    QPointer<DesktopNotice> notice = DesktopNotice::show(connection, "Vantrel is running", "Hover to play.");
    DesktopNotice::Shown how = DesktopNotice::Shown::window;
    bool shown = false;
    QObject::connect(notice, &DesktopNotice::shown, [&](DesktopNotice::Shown value) {
        how = value;
        shown = true;
    });
    // Until the notice has finished with the bus (it deletes itself then).
    runLoopUntil([&] { return shown && !notice; }, 4 * DesktopNotice::answerTimeoutMs);
    EXPECT_TRUE(shown);
    EXPECT_TRUE(!notice) << "the notice never let go";
    runLoopUntil([] { return false; }, 200); // the daemon's log written
    return {readAll(log), how};
}

} // namespace

TEST(BusCalls, NoticeGoesToAWorkingNotificationService) {
    bool skipped = false;
    const auto [calls, how] = noticeWithDaemon(0, "working-notice", &skipped);
    if (skipped) {
        GTEST_SKIP()
            << "needs dbus-daemon and /usr/bin/python3 with python3-gi (scripts/install-deps.sh --test)";
    }
    EXPECT_EQ(how, DesktopNotice::Shown::notification);
    EXPECT_EQ(calls, "Notify Vantrel 1 Vantrel is running|Hover to play.\n");
    EXPECT_FALSE(noticeWindowShows("Vantrel is running"));
}

TEST(BusCalls, NoticeAcceptedAfterTheDeadlineIsClosedAgain) {
    bool skipped = false;
    const auto [calls, how] = noticeWithDaemon(DesktopNotice::answerTimeoutMs + 200, "late-notice", &skipped);
    if (skipped) {
        GTEST_SKIP()
            << "needs dbus-daemon and /usr/bin/python3 with python3-gi (scripts/install-deps.sh --test)";
    }
    EXPECT_EQ(how, DesktopNotice::Shown::window);
    EXPECT_TRUE(noticeWindowShows("Vantrel is running"));
    EXPECT_EQ(calls, "Notify Vantrel 1 Vantrel is running|Hover to play.\nCloseNotification 1\n");
    closeNoticeWindows();
}

TEST(BusCalls, RevealOnAFileManagerThatNeverComesUpReturnsAtOnce) {
    if (!stalledBus || stalledBus->address().isEmpty()) {
        GTEST_SKIP() << "dbus-daemon did not start (scripts/install-deps.sh --test installs it)";
    }
    QTemporaryDir dir;
    const QString file = dir.filePath("Vantrel 1.4.0.zip");
    QElapsedTimer clock;
    clock.start();
    bool done = false;
    bool byFileManager = true;
    revealInFileManager(file, [&](bool taken) {
        done = true;
        byFileManager = taken;
    });
    EXPECT_LT(clock.elapsed(), 100) << "revealInFileManager waited on the bus";
    const qint64 longestStall = runLoopUntil([&] { return done; }, 3 * revealTimeoutMs);
    ASSERT_TRUE(done);
    EXPECT_FALSE(byFileManager);
    EXPECT_GE(clock.elapsed(), revealTimeoutMs * 9 / 10); // the bus library's timers are coarse
    EXPECT_LT(longestStall, 200) << "the event loop stood still while the file manager was asked";
    EXPECT_TRUE(stalledBus->started(fileManager));
}

TEST(BusCalls, GnomeMotionPreferenceReadsWithoutTheSettingsService) {
    if (!stalledBus || stalledBus->address().isEmpty()) {
        GTEST_SKIP() << "dbus-daemon did not start (scripts/install-deps.sh --test installs it)";
    }
    // GSettings reads dconf's database file; its D-Bus service, which never comes up here, is only
    // for writing.
    QElapsedTimer clock;
    clock.start();
    platform::GnomeMotionPreference motion;
    EXPECT_LT(clock.elapsed(), 200) << "reading the GNOME setting waited on the bus";
}

namespace {

void sendSignal(QDBusConnection& from, const QString& path, const QString& interface, const QString& name,
                bool value) {
    QDBusMessage signal = QDBusMessage::createSignal(path, interface, name);
    signal << value;
    ASSERT_TRUE(from.send(signal));
}

void prepareForSleep(QDBusConnection& from, bool start) {
    sendSignal(from, QStringLiteral("/org/freedesktop/login1"),
               QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"), start);
}

// Sends PrepareForSleep(true) from `from` until `sleeping` hears it, for at most `limitMs`.
bool heardFrom(QDBusConnection& from, QSignalSpy& sleeping, int limitMs) {
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < limitMs) {
        prepareForSleep(from, true);
        if (sleeping.wait(100)) {
            return true;
        }
    }
    return false;
}

void sleepSignalsOnlyFromLogind(bool ownerFirst) {
    if (!stalledBus || stalledBus->address().isEmpty()) {
        GTEST_SKIP() << "dbus-daemon did not start (scripts/install-deps.sh --test installs it)";
    }
    // The test's buses are the process's system and session bus (see main).
    QDBusConnection logind =
        QDBusConnection::connectToBus(stalledBus->address(), ownerFirst ? "logind-a" : "logind-b");
    QDBusConnection stranger =
        QDBusConnection::connectToBus(stalledBus->address(), ownerFirst ? "stranger-a" : "stranger-b");
    ASSERT_TRUE(logind.isConnected() && stranger.isConnected());
    if (ownerFirst) {
        ASSERT_TRUE(logind.registerService(QStringLiteral("org.freedesktop.login1")));
    }
    QElapsedTimer clock;
    clock.start();
    platform::SessionSignals watched;
    EXPECT_LT(clock.elapsed(), 100);
    QSignalSpy sleeping(&watched, &platform::SystemSignals::sleeping);
    if (!ownerFirst) {
        prepareForSleep(stranger, true);
        EXPECT_FALSE(sleeping.wait(300)) << "a signal from a stranger counted as logind's";
        ASSERT_TRUE(logind.registerService(QStringLiteral("org.freedesktop.login1")));
    }
    EXPECT_TRUE(heardFrom(logind, sleeping, 3000)) << "logind's PrepareForSleep(true) was not heard";
    sleeping.clear();
    prepareForSleep(logind, false); // waking up is not going to sleep
    prepareForSleep(stranger, true);
    EXPECT_FALSE(sleeping.wait(300)) << sleeping.count() << " sleeping() from a wake-up or a stranger";
    // The screen locker, on the session bus.
    sendSignal(stranger, QStringLiteral("/org/freedesktop/ScreenSaver"),
               QStringLiteral("org.freedesktop.ScreenSaver"), QStringLiteral("ActiveChanged"), true);
    EXPECT_TRUE(sleeping.wait(2000)) << "the screen locker's ActiveChanged(true) was not heard";
    logind.unregisterService(QStringLiteral("org.freedesktop.login1"));
}

} // namespace

TEST(BusCalls, SleepIsHeardOnlyFromLogindWhenItWasThereFirst) {
    sleepSignalsOnlyFromLogind(true);
}

TEST(BusCalls, SleepIsHeardOnlyFromLogindWhenItComesLater) {
    sleepSignalsOnlyFromLogind(false);
}

TEST(BusCalls, StatusNotifierItemOnAHungWatcherNeverStopsTheEventLoop) {
    if (!hungBus || hungBus->address().isEmpty()) {
        GTEST_SKIP() << "no hung service here (dbus-daemon, /usr/bin/python3 with python3-gi)";
    }
    const QDBusConnection connection = QDBusConnection::connectToBus(hungBus->address(), "hung-watcher");
    // The item never starts a watcher itself; a call that may start it brings the silent one up.
    QDBusMessage wake = QDBusMessage::createMethodCall(sniWatcher, "/StatusNotifierWatcher",
                                                       "org.kde.StatusNotifierWatcher", "Wake");
    connection.asyncCall(wake, 100);
    runLoopUntil([] { return hungBus->started(sniWatcher); }, 10000);
    ASSERT_TRUE(hungBus->started(sniWatcher)) << "the silent watcher did not start";

    QElapsedTimer clock;
    clock.start();
    StatusNotifierItem item("org.vantrel.Test", "Vantrel", "tip", {}, connection);
    ASSERT_TRUE(item.start());
    EXPECT_LT(clock.elapsed(), 100) << "starting the item waited on the bus";
    // The registration call goes unanswered until its own timeout; the loop runs all along.
    const qint64 longest = runLoopUntil([] { return false; }, 3000);
    EXPECT_LT(longest, 100) << "the event loop stood still for " << longest << " ms";
    EXPECT_FALSE(item.isRegistered());
    item.stop();
}

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM",
            qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    bool listing = false;
    for (int i = 1; i < argc; ++i) {
        listing = listing || QByteArray(argv[i]).startsWith("--gtest_list_tests");
    }
    if (!listing) {
        const QStringList none;
        if (silentServiceRuns()) {
            hungBus = std::make_unique<test::PrivateBus>(QStringList{notifications, sniWatcher}, none,
                                                         VANTREL_SILENT_SERVICE);
        } else {
            std::fprintf(stderr, "note: /usr/bin/python3 with python3-gi missing: no hung service here\n");
        }
        openBus = std::make_unique<test::PrivateBus>(none, none, VANTREL_SILENT_SERVICE);
        stalledBus = std::make_unique<test::PrivateBus>(none, QStringList{notifications, fileManager, dconf},
                                                        VANTREL_SILENT_SERVICE);
        // Qt reads these at the first use of its session and system bus, all on the stalled bus.
        qputenv("DBUS_SESSION_BUS_ADDRESS", stalledBus->address().toUtf8());
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", stalledBus->address().toUtf8());
    }
    const int status = RUN_ALL_TESTS();
    // GLib's own session-bus connection (dconf's, from reading the GNOME setting) raises SIGTERM
    // in this process when its bus goes away, as it does next.
    std::signal(SIGTERM, SIG_IGN);
    hungBus.reset();
    openBus.reset();
    stalledBus.reset();
    return status;
}
