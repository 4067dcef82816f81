// Revealing a saved update in the file manager, on a private session bus
// (run under dbus-run-session) with a stand-in file manager.
#include "Vantrel/update/QtUpdateDialogs.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>
#include <QUrl>

#include <gtest/gtest.h>

using namespace vantrel;

namespace {

// Reveals `path` and runs the event loop until the answer; whether the file manager took it.
bool reveal(const QString& path) {
    QEventLoop loop;
    bool taken = false;
    revealInFileManager(path, [&](bool byFileManager) {
        taken = byFileManager;
        loop.quit();
    });
    QTimer::singleShot(revealTimeoutMs * 2, &loop, &QEventLoop::quit);
    loop.exec();
    return taken;
}

QString readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

class RevealTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) {
            GTEST_SKIP() << "needs a private session bus: run under dbus-run-session";
        }
        if (!QFileInfo::exists("/usr/bin/python3")) {
            GTEST_SKIP() << "needs /usr/bin/python3 with python3-dbus (scripts/install-deps.sh --test)";
        }
        file = dir.filePath("Vantrel 1.4.0.zip");
        QFile saved(file);
        saved.open(QIODevice::WriteOnly);
        saved.write("zip");
    }

    bool startFileManager() {
        fileManager.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        fileManager.start("/usr/bin/python3", {VANTREL_FAKE_FILE_MANAGER, dir.filePath("calls.log")});
        return fileManager.waitForReadyRead(30000) && fileManager.readLine().trimmed() == "ready";
    }

    void TearDown() override {
        if (fileManager.state() != QProcess::NotRunning) {
            fileManager.closeWriteChannel();
            if (!fileManager.waitForFinished(5000)) {
                fileManager.kill();
                fileManager.waitForFinished();
            }
        }
    }

    QTemporaryDir dir;
    QString file;
    QProcess fileManager;
};

} // namespace

TEST_F(RevealTest, AsksTheFileManagerToSelectTheFile) {
    if (!startFileManager()) {
        GTEST_SKIP() << "the stand-in file manager did not start (python3-dbus and python3-gi missing?)";
    }
    EXPECT_TRUE(reveal(file));
    const QString expected =
        "ShowItems file://" + QString(QUrl::toPercentEncoding(dir.path(), "/")) + "/Vantrel%201.4.0.zip\n";
    EXPECT_EQ(readAll(dir.filePath("calls.log")), expected);
    // Through the dialogs interface too.
    QtUpdateDialogs dialogs;
    dialogs.reveal(file);
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (readAll(dir.filePath("calls.log")) == expected + expected) {
            loop.quit();
        }
    });
    poll.start(20);
    QTimer::singleShot(revealTimeoutMs, &loop, &QEventLoop::quit);
    loop.exec();
    EXPECT_EQ(readAll(dir.filePath("calls.log")), expected + expected);
}

TEST_F(RevealTest, WithoutAFileManagerFallsBackQuietly) {
    EXPECT_FALSE(reveal(file));
    EXPECT_TRUE(QFileInfo::exists(file)); // the saved file is untouched
}
