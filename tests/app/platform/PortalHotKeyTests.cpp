// The shortcut through the GlobalShortcuts portal, on a private session bus (run
// under dbus-run-session) with a stand-in portal that serves the published interface.
#include "Vantrel/panel/GlobalShortcut.h"
#include "Vantrel/platform/PortalHotKey.h"
#include "Vantrel/platform/WaylandHotKey.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

using namespace vantrel;
using State = platform::HotKey::State;

namespace {

constexpr const char* appId = "org.vantrel.Vantrel";

// The longest the event loop went without running a 5 ms timer while `running` held.
template <typename Condition> qint64 longestStall(int milliseconds, Condition running) {
    QElapsedTimer clock;
    clock.start();
    qint64 last = 0;
    qint64 longest = 0;
    QTimer tick;
    tick.setTimerType(Qt::PreciseTimer);
    QObject::connect(&tick, &QTimer::timeout, [&] {
        const qint64 now = clock.elapsed();
        longest = std::max(longest, now - last);
        last = now;
    });
    tick.start(5);
    while (clock.elapsed() < milliseconds && running()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return longest;
}

class PortalTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) {
            GTEST_SKIP() << "needs a private session bus: run under dbus-run-session";
        }
        if (!QFileInfo::exists("/usr/bin/python3")) {
            GTEST_SKIP() << "needs /usr/bin/python3 with python3-dbus (scripts/install-deps.sh --test)";
        }
    }

    bool startPortal(const QString& mode) {
        portal.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        portal.start("/usr/bin/python3",
                     {VANTREL_STAND_IN_PORTAL, dir.filePath("calls.log"), "--mode", mode});
        return nextLine(30000) == "ready";
    }

    // The stand-in's next non-empty line of output, or an empty one after `milliseconds`.
    QByteArray nextLine(int milliseconds) {
        QElapsedTimer waited;
        waited.start();
        while (waited.elapsed() < milliseconds) {
            while (portal.canReadLine()) {
                const QByteArray line = portal.readLine().trimmed();
                if (!line.isEmpty()) {
                    return line;
                }
            }
            if (portal.state() == QProcess::NotRunning) {
                break;
            }
            portal.waitForReadyRead(100);
        }
        return {};
    }

    // Sends a command to the stand-in and waits for it to be carried out.
    void command(const QByteArray& line) {
        portal.write(line + "\n");
        ASSERT_EQ(nextLine(5000), "done") << "the stand-in portal did not carry out " << line.toStdString();
    }

    QList<QJsonObject> calls(const QString& name) {
        QList<QJsonObject> found;
        QFile log(dir.filePath("calls.log"));
        if (!log.open(QIODevice::ReadOnly)) {
            return found;
        }
        while (!log.atEnd()) {
            const QJsonObject call = QJsonDocument::fromJson(log.readLine()).object();
            if (call.value("call").toString() == name) {
                found << call;
            }
        }
        return found;
    }

    void TearDown() override {
        if (portal.state() != QProcess::NotRunning) {
            portal.closeWriteChannel();
            if (!portal.waitForFinished(5000)) {
                portal.kill();
                portal.waitForFinished();
            }
        }
    }

    QTemporaryDir dir;
    QProcess portal;
};

} // namespace

TEST_F(PortalTest, BindsTheShortcutWithTheAppsDescriptionAndActivatedToggles) {
    ASSERT_TRUE(startPortal("answer")) << "the stand-in portal did not start (python3-dbus, python3-gi?)";
    int toggles = 0;
    GlobalShortcut shortcut(std::make_unique<platform::PortalHotKey>(appId), [&] { ++toggles; });
    int changes = 0;
    QObject::connect(&shortcut, &GlobalShortcut::stateChanged, [&] { ++changes; });

    EXPECT_TRUE(shortcut.registerHotKey());
    EXPECT_EQ(shortcut.state(), State::pending); // asked; the answer comes later
    EXPECT_FALSE(shortcut.isRegistered());
    ASSERT_TRUE(QTest::qWaitFor([&] { return shortcut.state() == State::active; }, 10000))
        << "state " << int(shortcut.state()) << ": " << shortcut.detail().toStdString();
    EXPECT_TRUE(shortcut.isRegistered());
    EXPECT_GE(changes, 2); // pending, then active
    EXPECT_EQ(shortcut.trigger(), "Alt+Meta+Space");
    EXPECT_TRUE(shortcut.detail().contains("GlobalShortcuts portal")) << shortcut.detail().toStdString();

    // The host program said who it is, before its first portal request.
    const auto registrations = calls("Registry.Register");
    ASSERT_EQ(registrations.size(), 1);
    EXPECT_EQ(registrations[0].value("app_id").toString(), appId);

    const auto sessions = calls("CreateSession");
    ASSERT_EQ(sessions.size(), 1);
    const QJsonObject createOptions = sessions[0].value("options").toObject();
    EXPECT_FALSE(createOptions.value("handle_token").toString().isEmpty());
    EXPECT_FALSE(createOptions.value("session_handle_token").toString().isEmpty());

    const auto binds = calls("BindShortcuts");
    ASSERT_EQ(binds.size(), 1);
    EXPECT_TRUE(
        binds[0].value("session_handle").toString().startsWith("/org/freedesktop/portal/desktop/session/"));
    EXPECT_EQ(binds[0].value("parent_window").toString(), "");
    EXPECT_FALSE(binds[0].value("options").toObject().value("handle_token").toString().isEmpty());
    const QJsonArray shortcuts = binds[0].value("shortcuts").toArray();
    ASSERT_EQ(shortcuts.size(), 1);
    EXPECT_EQ(shortcuts[0].toArray()[0].toString(), "toggle");
    const QJsonObject properties = shortcuts[0].toArray()[1].toObject();
    EXPECT_EQ(properties.value("description").toString(), "Open or close the Vantrel playfield");
    EXPECT_EQ(properties.value("preferred_trigger").toString(), "ALT+LOGO+space");

    // A press of the bound shortcut runs the action once; another id does nothing.
    command("activate toggle");
    EXPECT_TRUE(QTest::qWaitFor([&] { return toggles == 1; }, 5000));
    command("activate something-else");
    QTest::qWait(200);
    EXPECT_EQ(toggles, 1);
    command("activate toggle");
    EXPECT_TRUE(QTest::qWaitFor([&] { return toggles == 2; }, 5000));

    // Giving it back closes the session; later presses do nothing.
    shortcut.unregisterHotKey();
    EXPECT_EQ(shortcut.state(), State::released);
    EXPECT_TRUE(QTest::qWaitFor([&] { return calls("Session.Close").size() == 1; }, 5000));
    command("activate toggle");
    QTest::qWait(200);
    EXPECT_EQ(toggles, 2);
}

TEST_F(PortalTest, AUserWhoDeclinesLeavesItRefused) {
    ASSERT_TRUE(startPortal("decline"));
    int toggles = 0;
    GlobalShortcut shortcut(std::make_unique<platform::PortalHotKey>(appId), [&] { ++toggles; });
    EXPECT_TRUE(shortcut.registerHotKey());
    ASSERT_TRUE(QTest::qWaitFor([&] { return shortcut.state() == State::refused; }, 10000));
    EXPECT_TRUE(shortcut.errorString().contains("declined")) << shortcut.errorString().toStdString();
    command("activate toggle");
    QTest::qWait(200);
    EXPECT_EQ(toggles, 0);
}

TEST_F(PortalTest, AnAnswerWithoutTheShortcutIsNotABinding) {
    ASSERT_TRUE(startPortal("unbound"));
    GlobalShortcut shortcut(std::make_unique<platform::PortalHotKey>(appId), [] {});
    EXPECT_TRUE(shortcut.registerHotKey());
    ASSERT_TRUE(QTest::qWaitFor([&] { return shortcut.state() != State::pending; }, 10000))
        << "still pending: " << shortcut.detail().toStdString();
    EXPECT_EQ(shortcut.state(), State::refused);
    EXPECT_TRUE(shortcut.errorString().contains("without binding it"))
        << shortcut.errorString().toStdString();
}

// The reply that names a request can reach this process after the request's
// answer: the reply may land before anything watches for it, and is then queued
// behind a Response that came on its heels.
TEST_F(PortalTest, AnAnswerThatOvertakesItsReplyIsStillHeard) {
    ASSERT_TRUE(startPortal("early"));
    int toggles = 0;
    GlobalShortcut shortcut(std::make_unique<platform::PortalHotKey>(appId), [&] { ++toggles; });
    EXPECT_TRUE(shortcut.registerHotKey());
    ASSERT_TRUE(QTest::qWaitFor([&] { return shortcut.state() != State::pending; }, 10000))
        << "still pending: " << shortcut.detail().toStdString();
    EXPECT_EQ(shortcut.state(), State::active) << shortcut.detail().toStdString();
    EXPECT_EQ(calls("BindShortcuts").size(), 1);
    command("activate toggle");
    EXPECT_TRUE(QTest::qWaitFor([&] { return toggles == 1; }, 5000));
}

TEST_F(PortalTest, ASessionTheDesktopClosesIsNoLongerActive) {
    ASSERT_TRUE(startPortal("answer"));
    GlobalShortcut shortcut(std::make_unique<platform::PortalHotKey>(appId), [] {});
    shortcut.registerHotKey();
    ASSERT_TRUE(QTest::qWaitFor([&] { return shortcut.state() == State::active; }, 10000));
    command("close");
    EXPECT_TRUE(QTest::qWaitFor([&] { return shortcut.state() == State::refused; }, 5000));
    // Asked again, it starts a new session.
    EXPECT_TRUE(shortcut.registerHotKey());
    EXPECT_TRUE(QTest::qWaitFor([&] { return shortcut.state() == State::active; }, 10000));
    EXPECT_EQ(calls("CreateSession").size(), 2);
}

TEST_F(PortalTest, APortalThatNeverAnswersLeavesThePendingStateAndTheEventLoopFree) {
    ASSERT_TRUE(startPortal("silent"));
    GlobalShortcut shortcut(std::make_unique<platform::PortalHotKey>(appId), [] {});
    QElapsedTimer call;
    call.start();
    EXPECT_TRUE(shortcut.registerHotKey());
    EXPECT_LT(call.elapsed(), 50);
    const qint64 stall = longestStall(1500, [] { return true; });
    EXPECT_LT(stall, 100) << "the event loop stood still for " << stall << " ms";
    EXPECT_EQ(calls("CreateSession").size(), 1);
    EXPECT_EQ(shortcut.state(), State::pending);
    std::cout << "[ MEASURED ] longest event-loop stall with a silent portal: " << stall << " ms"
              << std::endl;
}

TEST_F(PortalTest, APortalThatHangsIsGivenUpAfterTheProbeTimeout) {
    ASSERT_TRUE(startPortal("hang"));
    auto hotKey = std::make_unique<platform::PortalHotKey>(appId);
    hotKey->setProbeTimeout(600);
    GlobalShortcut shortcut(std::move(hotKey), [] {});
    QElapsedTimer call;
    call.start();
    EXPECT_TRUE(shortcut.registerHotKey());
    EXPECT_LT(call.elapsed(), 50);
    const qint64 stall = longestStall(3000, [&] { return shortcut.state() == State::pending; });
    EXPECT_LT(stall, 100) << "the event loop stood still for " << stall << " ms";
    EXPECT_EQ(shortcut.state(), State::unavailable);
    EXPECT_GE(call.elapsed(), 550);
    EXPECT_TRUE(shortcut.errorString().contains("no GlobalShortcuts portal"))
        << shortcut.errorString().toStdString();
}

TEST_F(PortalTest, WithoutAPortalItIsUnavailable) {
    GlobalShortcut shortcut(std::make_unique<platform::PortalHotKey>(appId), [] {});
    EXPECT_TRUE(shortcut.registerHotKey());
    ASSERT_TRUE(QTest::qWaitFor([&] { return shortcut.state() != State::pending; }, 5000));
    EXPECT_EQ(shortcut.state(), State::unavailable);
    EXPECT_TRUE(shortcut.errorString().contains("no GlobalShortcuts portal"))
        << shortcut.errorString().toStdString();
}

namespace {

// A synchronous grab that always succeeds, standing in for the XWayland key grab.
class AlwaysGrab final : public platform::HotKey {
public:
    bool grab(QString*) override {
        held = true;
        return true;
    }
    void release() override { held = false; }
    void press() { emit activated(); }
    bool held = false;
};

} // namespace

TEST_F(PortalTest, OnWaylandThePortalDecidesAndTheXWaylandGrabStandsInUntilItBinds) {
    auto grab = std::make_unique<AlwaysGrab>();
    AlwaysGrab* xwayland = grab.get();
    int toggles = 0;
    GlobalShortcut shortcut(std::make_unique<platform::WaylandHotKey>(
                                std::make_unique<platform::PortalHotKey>(appId), std::move(grab)),
                            [&] { ++toggles; });
    shortcut.registerHotKey();
    EXPECT_TRUE(xwayland->held);
    ASSERT_TRUE(QTest::qWaitFor([&] { return shortcut.state() == State::unavailable; }, 5000));
    // No portal: the grab alone is not reported as a working shortcut, but it still fires.
    EXPECT_FALSE(shortcut.isRegistered());
    EXPECT_TRUE(shortcut.detail().contains("only while an X11 window has focus"))
        << shortcut.detail().toStdString();
    xwayland->press();
    EXPECT_EQ(toggles, 1);

    ASSERT_TRUE(startPortal("answer"));
    shortcut.unregisterHotKey();
    EXPECT_FALSE(xwayland->held);
    shortcut.registerHotKey();
    EXPECT_TRUE(xwayland->held); // while the portal is asked
    ASSERT_TRUE(QTest::qWaitFor([&] { return shortcut.state() == State::active; }, 10000));
    // Bound: the compositor takes the key first, so the grab is given back.
    EXPECT_FALSE(xwayland->held);
    command("activate toggle");
    EXPECT_TRUE(QTest::qWaitFor([&] { return toggles == 2; }, 5000));
    // The desktop ends the session: the grab is taken again.
    command("close");
    EXPECT_TRUE(QTest::qWaitFor([&] { return shortcut.state() == State::refused; }, 5000));
    EXPECT_TRUE(xwayland->held);
    shortcut.unregisterHotKey();
    EXPECT_FALSE(xwayland->held);
}
