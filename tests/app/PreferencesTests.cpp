#include "Vantrel/Preferences.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
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

namespace {

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeAll(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

QByteArray randomBytes(int count, quint32 seed) {
    QRandomGenerator random(seed);
    QByteArray bytes(count, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random.bounded(256));
    }
    return bytes;
}

// As the program starts: the rescue first, then the settings opened and used.
// Returns the keys in the file after a best score was saved.
QStringList startAndSave(const QString& path, qint64 best) {
    Preferences preferences(open(path));
    EXPECT_EQ(preferences.best(), 0);
    preferences.saveBest(best);
    return QSettings(path, QSettings::IniFormat).allKeys();
}

} // namespace

TEST(PreferencesRescue, RandomBytesAreMovedAsideWholeAndACleanFileTakesTheirPlace) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath("Vantrel.conf");
    for (quint32 seed : {1u, 2u, 3u, 4u, 5u}) {
        const QByteArray junk = randomBytes(4096, seed);
        writeAll(path, junk);
        const QString moved = Preferences::moveAsideIfUnusable(path);
        ASSERT_FALSE(moved.isEmpty()) << "seed " << seed;
        EXPECT_EQ(readAll(moved), junk) << "seed " << seed;
        EXPECT_TRUE(QFileInfo(path).isFile());
        EXPECT_EQ(QFileInfo(path).size(), 0);
        EXPECT_EQ(startAndSave(path, 42), QStringList{"bestScore"}) << "no garbage keys after a write";
        QFile::remove(moved);
    }
}

TEST(PreferencesRescue, ABinaryIsMovedAside) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath("Vantrel.conf");
    const QString binary = QFileInfo::exists("/bin/true") ? QStringLiteral("/bin/true")
                                                          : QCoreApplication::applicationFilePath();
    ASSERT_TRUE(QFile::copy(binary, path));
    const QByteArray original = readAll(path);
    ASSERT_FALSE(original.isEmpty());
    const QString moved = Preferences::moveAsideIfUnusable(path);
    EXPECT_EQ(moved, path + ".unreadable");
    EXPECT_EQ(readAll(moved), original);
    EXPECT_EQ(startAndSave(path, 7), QStringList{"bestScore"});
}

TEST(PreferencesRescue, AnEmptyOrMissingFileIsAFreshStartAndStays) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath("Vantrel.conf");
    EXPECT_EQ(Preferences::moveAsideIfUnusable(path), QString());
    EXPECT_FALSE(QFileInfo::exists(path)); // nothing created for a missing file
    for (const QByteArray& blank : {QByteArray(), QByteArray("\n\n  \n"), QByteArray("; only a comment\n")}) {
        writeAll(path, blank);
        EXPECT_EQ(Preferences::moveAsideIfUnusable(path), QString()) << blank.constData();
        EXPECT_EQ(readAll(path), blank);
    }
    EXPECT_TRUE(QDir(dir.path()).entryList({"*.unreadable*"}, QDir::AllEntries).isEmpty());
    EXPECT_EQ(startAndSave(path, 3), QStringList{"bestScore"});
}

TEST(PreferencesRescue, AHugeFileIsNoSettingsFile) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath("Vantrel.conf");
    const QByteArray huge = "[General]\nbestScore=5\n" + QByteArray(2 << 20, 'x');
    writeAll(path, huge);
    const QString moved = Preferences::moveAsideIfUnusable(path);
    ASSERT_EQ(moved, path + ".unreadable");
    EXPECT_EQ(readAll(moved), huge);
}

TEST(PreferencesRescue, ADirectoryInItsPlaceIsMovedAsideWithEverythingInIt) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath("Vantrel.conf");
    ASSERT_TRUE(QDir().mkpath(path + "/inner"));
    writeAll(path + "/inner/notes.txt", "keep me");
    const QString moved = Preferences::moveAsideIfUnusable(path);
    EXPECT_EQ(moved, path + ".unreadable");
    EXPECT_EQ(readAll(moved + "/inner/notes.txt"), "keep me");
    EXPECT_TRUE(QFileInfo(path).isFile());
    EXPECT_EQ(startAndSave(path, 11), QStringList{"bestScore"});
}

TEST(PreferencesRescue, OnlyForeignKeysAreMovedAsideButOneKnownKeyKeepsTheFile) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath("Vantrel.conf");
    const QByteArray foreign = "[General]\ncolour=red\n[Window]\ngeometry=1 2 3 4\n";
    writeAll(path, foreign);
    const QString moved = Preferences::moveAsideIfUnusable(path);
    EXPECT_EQ(moved, path + ".unreadable");
    EXPECT_EQ(readAll(moved), foreign);

    // Ours, with a bad value and a stranger beside it: kept, and the bad value reads as the default.
    const QByteArray ours = "[General]\nbestScore=lots\nroomy=true\ncolour=red\n";
    writeAll(path, ours);
    EXPECT_EQ(Preferences::moveAsideIfUnusable(path), QString());
    EXPECT_EQ(readAll(path), ours);
    Preferences preferences(open(path));
    EXPECT_EQ(preferences.best(), 0);
    EXPECT_TRUE(preferences.roomy());
    EXPECT_TRUE(QSettings(path, QSettings::IniFormat).contains("colour")); // the stranger survives a write
    for (const QString& key : Preferences::programKeys()) {
        writeAll(path, "[General]\n" + key.toUtf8() + "=whatever\nother=1\n");
        EXPECT_EQ(Preferences::moveAsideIfUnusable(path), QString()) << key.toStdString();
    }
}

TEST(PreferencesRescue, AnEarlierRescuedCopyIsNeverOverwritten) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath("Vantrel.conf");
    const QByteArray first = randomBytes(4096, 10);
    const QByteArray second = randomBytes(4096, 11);
    writeAll(path, first);
    EXPECT_EQ(Preferences::moveAsideIfUnusable(path), path + ".unreadable");
    writeAll(path, second);
    EXPECT_EQ(Preferences::moveAsideIfUnusable(path), path + ".unreadable-2");
    EXPECT_EQ(readAll(path + ".unreadable"), first);
    EXPECT_EQ(readAll(path + ".unreadable-2"), second);
}

TEST(PreferencesRescue, AReadOnlyFileIsReadAndKeptOrMovedWhole) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath("Vantrel.conf");
    const QByteArray ours = "[General]\nbestScore=99\nsoundEnabled=true\n";
    writeAll(path, ours);
    ASSERT_TRUE(QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::ReadGroup));
    EXPECT_EQ(Preferences::moveAsideIfUnusable(path), QString());
    {
        Preferences preferences(open(path));
        EXPECT_EQ(preferences.best(), 99);
        EXPECT_TRUE(preferences.soundEnabled());
    }
    EXPECT_EQ(readAll(path), ours);

    // Not ours and read-only: the directory allows the move, so it is moved, permissions and all.
    const QByteArray junk = randomBytes(4096, 20);
    ASSERT_TRUE(QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner));
    writeAll(path, junk);
    ASSERT_TRUE(QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::ReadGroup));
    const QString moved = Preferences::moveAsideIfUnusable(path);
    ASSERT_EQ(moved, path + ".unreadable");
    EXPECT_EQ(readAll(moved), junk);
    EXPECT_EQ(QFile::permissions(moved) & QFileDevice::WriteOwner, 0);
    EXPECT_EQ(startAndSave(path, 5), QStringList{"bestScore"});
}
