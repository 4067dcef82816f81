#include "Vantrel/Preferences.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

using namespace vantrel;

namespace {

std::unique_ptr<QSettings> open(const QString& path) {
    return std::make_unique<QSettings>(path, QSettings::IniFormat);
}

} // namespace

TEST(Preferences, DefaultsWithoutAFile) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    Preferences preferences(open(dir.filePath("Vantrel.conf")));
    EXPECT_EQ(preferences.best(), 0);
    EXPECT_FALSE(preferences.soundEnabled());
    EXPECT_FALSE(preferences.roomy());
    EXPECT_TRUE(preferences.hoverToPeek());
    EXPECT_FALSE(QFile::exists(dir.filePath("Vantrel.conf"))); // reading writes nothing
}

TEST(Preferences, EveryChangeIsOnDiskAtOnce) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath("Vantrel.conf");
    Preferences preferences(open(path));
    EXPECT_TRUE(preferences.setSoundEnabled(true));
    EXPECT_TRUE(preferences.setRoomy(true));
    EXPECT_TRUE(preferences.setHoverToPeek(false));
    preferences.saveBest(1234);
    // Another reader of the file, as after a crash right now.
    QSettings reread(path, QSettings::IniFormat);
    EXPECT_EQ(reread.value("soundEnabled").toString(), "true");
    EXPECT_EQ(reread.value("roomy").toString(), "true");
    EXPECT_EQ(reread.value("hoverToPeek").toString(), "false");
    EXPECT_EQ(reread.value("bestScore").toLongLong(), 1234);
    EXPECT_EQ(preferences.best(), 1234);

    Preferences next(open(path));
    EXPECT_TRUE(next.soundEnabled());
    EXPECT_TRUE(next.roomy());
    EXPECT_FALSE(next.hoverToPeek());
    EXPECT_EQ(next.best(), 1234);
}

TEST(Preferences, SettersSayWhetherTheValueChangedButWriteEitherWay) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath("Vantrel.conf");
    {
        QSettings garbage(path, QSettings::IniFormat);
        garbage.setValue("roomy", "perhaps");
    }
    Preferences preferences(open(path));
    EXPECT_FALSE(preferences.roomy());
    EXPECT_FALSE(preferences.setRoomy(false)); // unchanged, but the garbage is replaced
    EXPECT_EQ(QSettings(path, QSettings::IniFormat).value("roomy").toString(), "false");
    EXPECT_TRUE(preferences.setRoomy(true));
    EXPECT_FALSE(preferences.setRoomy(true));
}

TEST(Preferences, OnlyAnUnreadableFileIsCopiedAside) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath("Vantrel.conf");
    {
        QSettings fine(path, QSettings::IniFormat);
        fine.setValue("bestScore", 5);
    }
    QSettings readable(path, QSettings::IniFormat);
    EXPECT_EQ(Preferences::keepUnreadableFile(readable), QString());

    const QString broken = dir.filePath("Broken.conf");
    {
        QFile file(broken);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        const char junk[] = "[General\n\xff\xfe\x00 not ini at all";
        file.write(junk, sizeof junk - 1); // the NUL inside is part of it
    }
    QSettings unreadable(broken, QSettings::IniFormat);
    EXPECT_EQ(Preferences::keepUnreadableFile(unreadable), broken + ".unreadable");
    EXPECT_TRUE(QFile::exists(broken + ".unreadable"));
}
