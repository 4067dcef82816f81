// The desktop's "fewer animations" setting, followed while the program runs:
// GNOME's through a real GSettings keyfile backend changed by the gsettings tool,
// KDE's through real kdeglobals files. The test runner gives this program its own
// XDG_CONFIG_HOME and XDG_CONFIG_DIRS and GSETTINGS_BACKEND=keyfile.
#include "Vantrel/Clock.h"
#include "Vantrel/onboarding/OnboardingView.h"
#include "Vantrel/panel/NotchPanelController.h"
#include "Vantrel/panel/PanelSpringAnimator.h"
#include "Vantrel/platform/DesktopMotionPreference.h"
#include "Vantrel/platform/GnomeMotionPreference.h"
#include "Vantrel/platform/KdeMotionPreference.h"
#include "Vantrel/platform/Platform.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QPushButton>
#include <QSaveFile>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>

#include <gtest/gtest.h>

using namespace vantrel;
using namespace vantrel::platform;

namespace {

constexpr int waitMs = 5000;

QString userConfigDir() {
    return qEnvironmentVariable("XDG_CONFIG_HOME");
}
QString systemConfigDir() {
    return qEnvironmentVariable("XDG_CONFIG_DIRS").split(QLatin1Char(':')).value(0);
}

// Refuses to run where it would change the user's own settings.
bool isolated() {
    return qEnvironmentVariable("GSETTINGS_BACKEND") == QLatin1String("keyfile") &&
           !userConfigDir().isEmpty() && !systemConfigDir().isEmpty() &&
           userConfigDir() != QDir::home().filePath(QStringLiteral(".config"));
}

bool setGnomeAnimations(bool enabled) {
    return QProcess::execute(QStringLiteral("gsettings"),
                             {QStringLiteral("set"), QStringLiteral("org.gnome.desktop.interface"),
                              QStringLiteral("enable-animations"),
                              enabled ? QStringLiteral("true") : QStringLiteral("false")}) == 0;
}

// KConfig saves this way: a new file renamed over the old one.
void replaceFile(const QString& path, const QByteArray& text) {
    QSaveFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
    ASSERT_TRUE(file.commit());
}

void writeInPlace(const QString& path, const QByteArray& text) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text);
}

QString userKdeglobals() {
    return QDir(userConfigDir()).filePath(QStringLiteral("kdeglobals"));
}
QString systemKdeglobals() {
    return QDir(systemConfigDir()).filePath(QStringLiteral("kdeglobals"));
}

class MotionTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!isolated()) {
            GTEST_SKIP() << "needs its own XDG_CONFIG_HOME, XDG_CONFIG_DIRS and GSETTINGS_BACKEND=keyfile "
                            "(run through ctest)";
        }
        QDir().mkpath(userConfigDir());
        QDir().mkpath(systemConfigDir());
        QFile::remove(userKdeglobals());
        QFile::remove(systemKdeglobals());
    }
    void TearDown() override {
        if (isolated()) {
            QFile::remove(userKdeglobals());
            QFile::remove(systemKdeglobals());
        }
    }

    // GNOME's schema, from gsettings-desktop-schemas, with its key back at the default.
    static bool gnomeReady() {
        return QProcess::execute(QStringLiteral("gsettings"),
                                 {QStringLiteral("range"), QStringLiteral("org.gnome.desktop.interface"),
                                  QStringLiteral("enable-animations")}) == 0 &&
               setGnomeAnimations(true);
    }
};

TEST_F(MotionTest, GnomeEnableAnimationsIsFollowedWhileRunning) {
    if (!gnomeReady()) {
        GTEST_SKIP() << "org.gnome.desktop.interface is not installed (gsettings-desktop-schemas)";
    }
    GnomeMotionPreference gnome;
    EXPECT_TRUE(gnome.available());
    QSignalSpy spy(&gnome, &MotionPreference::changed);
    EXPECT_FALSE(gnome.reduceMotion());

    ASSERT_TRUE(setGnomeAnimations(false));
    ASSERT_TRUE(spy.wait(waitMs));
    EXPECT_TRUE(gnome.reduceMotion());
    EXPECT_EQ(spy.count(), 1);

    // Read at start as well.
    EXPECT_TRUE(GnomeMotionPreference().reduceMotion());

    ASSERT_TRUE(setGnomeAnimations(true));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !gnome.reduceMotion(); }, waitMs));
    EXPECT_EQ(spy.count(), 2);
}

TEST(KdeglobalsTest, ReadsTheFactorOfTheKdeGroupOnly) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("kdeglobals"));
    writeInPlace(path,
                 "[General]\nAnimationDurationFactor=0\n\n[KDE][$i]\nSingleClick=false\n"
                 "AnimationDurationFactor = 0.5\n[KDE Action Restrictions]\nAnimationDurationFactor=0\n");
    EXPECT_EQ(KdeMotionPreference::animationDurationFactor(path), 0.5);
    writeInPlace(path, "[KDE]\nAnimationDurationFactor[$e]=0\n");
    EXPECT_EQ(KdeMotionPreference::animationDurationFactor(path), 0.0);
    writeInPlace(path, "[KDE]\nLookAndFeelPackage=org.kde.breeze.desktop\n");
    EXPECT_EQ(KdeMotionPreference::animationDurationFactor(path), std::nullopt);
    EXPECT_EQ(KdeMotionPreference::animationDurationFactor(dir.filePath(QStringLiteral("missing"))),
              std::nullopt);
}

TEST(KdeglobalsTest, DirectoriesComeFromTheXdgVariables) {
    const QByteArray home = qgetenv("XDG_CONFIG_HOME");
    const QByteArray dirs = qgetenv("XDG_CONFIG_DIRS");
    qputenv("XDG_CONFIG_HOME", "/tmp/user-config");
    qputenv("XDG_CONFIG_DIRS", "/tmp/a:/tmp/b");
    EXPECT_EQ(KdeMotionPreference::xdgConfigDirs(), QStringList({"/tmp/user-config", "/tmp/a", "/tmp/b"}));
    qunsetenv("XDG_CONFIG_HOME");
    qunsetenv("XDG_CONFIG_DIRS");
    EXPECT_EQ(KdeMotionPreference::xdgConfigDirs(),
              QStringList({QDir::home().filePath(".config"), QStringLiteral("/etc/xdg")}));
    qputenv("XDG_CONFIG_HOME", home);
    qputenv("XDG_CONFIG_DIRS", dirs);
}

TEST_F(MotionTest, KdeglobalsIsFollowedThroughWritesReplacementsAndRemoval) {
    replaceFile(userKdeglobals(), "[KDE]\nAnimationDurationFactor=0\n");
    KdeMotionPreference kde;
    QSignalSpy spy(&kde, &MotionPreference::changed);
    EXPECT_TRUE(kde.reduceMotion()); // read at start

    // Saved by a rename over the old file, as KDE's settings do.
    replaceFile(userKdeglobals(), "[KDE]\nAnimationDurationFactor=1\n");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !kde.reduceMotion(); }, waitMs));
    // Again: the replacement is watched as well.
    replaceFile(userKdeglobals(), "[KDE]\nAnimationDurationFactor=0\n");
    ASSERT_TRUE(QTest::qWaitFor([&] { return kde.reduceMotion(); }, waitMs));
    // Written in place, as some editors do.
    writeInPlace(userKdeglobals(), "[KDE]\nAnimationDurationFactor=0.25\n");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !kde.reduceMotion(); }, waitMs));
    writeInPlace(userKdeglobals(), "[KDE]\nAnimationDurationFactor=0\n");
    ASSERT_TRUE(QTest::qWaitFor([&] { return kde.reduceMotion(); }, waitMs));
    // Removed: KDE's default, full speed.
    ASSERT_TRUE(QFile::remove(userKdeglobals()));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !kde.reduceMotion(); }, waitMs));
    // Created anew.
    replaceFile(userKdeglobals(), "[KDE]\nAnimationDurationFactor=0\n");
    ASSERT_TRUE(QTest::qWaitFor([&] { return kde.reduceMotion(); }, waitMs));
    EXPECT_GE(spy.count(), 6);
}

TEST_F(MotionTest, TheUsersKdeglobalsWinsOverTheSystems) {
    replaceFile(systemKdeglobals(), "[KDE]\nAnimationDurationFactor=0\n");
    replaceFile(userKdeglobals(), "[General]\nColorScheme=BreezeDark\n");
    KdeMotionPreference kde;
    EXPECT_TRUE(kde.reduceMotion()); // the user's file leaves the key to the system's
    replaceFile(userKdeglobals(), "[KDE]\nAnimationDurationFactor=1\n");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !kde.reduceMotion(); }, waitMs));
}

TEST_F(MotionTest, ThePanelsSpringsMoveInstantlyAfterTheDesktopChanges) {
    const bool gnome = gnomeReady();
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    ManualClock clock;
    // The services the program makes.
    auto settings = std::make_unique<QSettings>(dir.filePath("Vantrel.conf"), QSettings::IniFormat);
    PlatformServices services = makePlatformServices(*settings);
    NotchPanelController controller(std::move(settings), clock, std::move(services));
    const MotionPreference& motion = controller.motionPreference();
    PanelSpringAnimator& springs = controller.springAnimator();
    QWidget panel;
    panel.setGeometry(100, 0, 200, 30);
    EXPECT_FALSE(motion.reduceMotion());
    springs.move(&panel, QRectF(50, 0, 300, 120), true);
    EXPECT_TRUE(springs.running()); // full motion: a spring
    springs.stop();

    auto expectInstant = [&](const QRectF& target) {
        bool done = false;
        springs.move(&panel, target, true, [&] { done = true; });
        EXPECT_TRUE(done);
        EXPECT_FALSE(springs.running());
        EXPECT_EQ(QRectF(panel.geometry()), target);
    };

    // KDE's animation speed set to "Instant" while running.
    replaceFile(userKdeglobals(), "[KDE]\nAnimationDurationFactor=0\n");
    ASSERT_TRUE(QTest::qWaitFor([&] { return springs.reduceMotion(); }, waitMs));
    EXPECT_TRUE(motion.reduceMotion());
    expectInstant(QRectF(60, 0, 280, 110));
    ASSERT_TRUE(QFile::remove(userKdeglobals()));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !springs.reduceMotion(); }, waitMs));
    springs.move(&panel, QRectF(100, 0, 200, 30), true);
    EXPECT_TRUE(springs.running());
    springs.stop();

    if (!gnome) {
        GTEST_SKIP() << "org.gnome.desktop.interface is not installed (gsettings-desktop-schemas)";
    }
    // GNOME's switch, while running.
    ASSERT_TRUE(setGnomeAnimations(false));
    ASSERT_TRUE(QTest::qWaitFor([&] { return springs.reduceMotion(); }, waitMs));
    expectInstant(QRectF(70, 0, 260, 100));
    ASSERT_TRUE(setGnomeAnimations(true));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !springs.reduceMotion(); }, waitMs));
}

TEST_F(MotionTest, OnboardingPageChangesFollowTheSamePreference) {
    DesktopMotionPreference motion;
    ManualClock clock;
    OnboardingView view(true, clock, [](bool) {});
    view.followMotionPreference(motion);
    view.getStartedButton()->click();
    EXPECT_TRUE(view.animating()); // fades in
    view.backButton()->click();

    replaceFile(userKdeglobals(), "[KDE]\nAnimationDurationFactor=0\n");
    ASSERT_TRUE(QTest::qWaitFor([&] { return motion.reduceMotion(); }, waitMs));
    view.getStartedButton()->click();
    EXPECT_FALSE(view.animating()); // the next change is immediate
    EXPECT_EQ(view.currentPage()->graphicsEffect(), nullptr);
}

} // namespace
