#include "Vantrel/shell/Autostart.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace vantrel;

namespace {

// Each test gets its own configuration folder through XDG_CONFIG_HOME, as a session sets it.
class AutostartTest : public ::testing::Test {
protected:
    AutostartTest() : m_oldConfig(qgetenv("XDG_CONFIG_HOME")) {
        qputenv("XDG_CONFIG_HOME", m_dir.path().toUtf8());
    }
    ~AutostartTest() override { qputenv("XDG_CONFIG_HOME", m_oldConfig); }

    QString entryPath() const { return m_dir.path() + "/autostart/org.example.Game.desktop"; }
    QString read(const QString& path) const {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
        return QString::fromUtf8(file.readAll());
    }

    QTemporaryDir m_dir;
    QByteArray m_oldConfig;
};

TEST_F(AutostartTest, NothingIsWrittenUntilAsked) {
    Autostart autostart("org.example.Game", "/usr/games/vantrel");
    EXPECT_EQ(autostart.filePath(), entryPath());
    EXPECT_FALSE(autostart.enabled());
    EXPECT_FALSE(QFileInfo::exists(m_dir.path() + "/autostart"));
}

TEST_F(AutostartTest, OnWritesAnEntryThatRunsTheProgramAndOffRemovesIt) {
    Autostart autostart("org.example.Game", "/home/ann/vantrel/build/release/Vantrel/vantrel");
    QString error;
    ASSERT_TRUE(autostart.setEnabled(true, &error)) << error.toStdString();
    EXPECT_TRUE(autostart.enabled());

    // Read back as a desktop session reads it.
    QSettings entry(entryPath(), QSettings::IniFormat);
    entry.beginGroup("Desktop Entry");
    EXPECT_EQ(entry.value("Type").toString(), "Application");
    EXPECT_EQ(entry.value("Exec").toString(), "/home/ann/vantrel/build/release/Vantrel/vantrel");
    EXPECT_EQ(entry.value("Icon").toString(), "org.example.Game");
    EXPECT_EQ(entry.value("X-GNOME-Autostart-enabled").toString(), "true");
    EXPECT_TRUE(read(entryPath()).startsWith("[Desktop Entry]\n"));

    ASSERT_TRUE(autostart.setEnabled(false, &error)) << error.toStdString();
    EXPECT_FALSE(autostart.enabled());
    EXPECT_FALSE(QFileInfo::exists(entryPath()));
    // Off twice is still off, not an error.
    EXPECT_TRUE(autostart.setEnabled(false, &error));
}

TEST_F(AutostartTest, AnEntryPutThereByHandCountsAsOn) {
    ASSERT_TRUE(QDir().mkpath(m_dir.path() + "/autostart"));
    QFile file(entryPath());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[Desktop Entry]\nType=Application\nExec=vantrel\n");
    file.close();
    EXPECT_TRUE(Autostart("org.example.Game", "/usr/games/vantrel").enabled());
}

TEST_F(AutostartTest, ProgramPathsAreQuotedByTheDesktopEntryRules) {
    EXPECT_EQ(Autostart::execWord("/usr/games/vantrel"), "/usr/games/vantrel");
    EXPECT_EQ(Autostart::execWord("/home/ann/My Games/vantrel"), "\"/home/ann/My Games/vantrel\"");
    // In quotes " ` $ \ take a backslash, and the file's escaping doubles every backslash.
    EXPECT_EQ(Autostart::execWord("/opt/a$b/vantrel"), "\"/opt/a\\\\$b/vantrel\"");
    EXPECT_EQ(Autostart::execWord("/opt/\"x\"/vantrel"), "\"/opt/\\\\\"x\\\\\"/vantrel\"");
    // A field code would be expanded by the session: a literal % is doubled.
    EXPECT_EQ(Autostart::execWord("/opt/100%/vantrel"), "\"/opt/100%%/vantrel\"");
}

TEST_F(AutostartTest, AFolderThatCannotBeMadeFailsWithAReasonAndChangesNothing) {
    // A file where the autostart folder should be.
    QFile blocker(m_dir.path() + "/autostart");
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.write("not a folder");
    blocker.close();
    Autostart autostart("org.example.Game", "/usr/games/vantrel");
    QString error;
    EXPECT_FALSE(autostart.setEnabled(true, &error));
    EXPECT_TRUE(error.contains("autostart")) << error.toStdString();
    EXPECT_FALSE(autostart.enabled());
    EXPECT_EQ(read(m_dir.path() + "/autostart"), "not a folder");
}

} // namespace
