#include "Vantrel/shell/SingleInstance.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace vantrel;

TEST(SingleInstance, FirstIsPrimaryAndLaterOnesDeliverTheirRequest) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    SingleInstance first(dir.path());
    ASSERT_EQ(first.start("reopen"), SingleInstance::Role::primary) << first.errorString().toStdString();
    QSignalSpy received(&first, &SingleInstance::messageReceived);

    SingleInstance second(dir.path());
    EXPECT_EQ(second.start("toggle"), SingleInstance::Role::secondary);
    ASSERT_TRUE(received.wait(2000));
    EXPECT_EQ(received.takeFirst().at(0).toString(), "toggle");

    SingleInstance third(dir.path());
    EXPECT_EQ(third.start("reopen"), SingleInstance::Role::secondary);
    ASSERT_TRUE(received.count() > 0 || received.wait(2000));
    EXPECT_EQ(received.takeFirst().at(0).toString(), "reopen");
}

TEST(SingleInstance, StaleSocketFromADeadProcessIsReplaced) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    {
        QFile stale(dir.filePath("vantrel.socket"));
        ASSERT_TRUE(stale.open(QIODevice::WriteOnly));
    }
    SingleInstance instance(dir.path());
    EXPECT_EQ(instance.start("reopen"), SingleInstance::Role::primary)
        << instance.errorString().toStdString();
}

TEST(SingleInstance, PrimaryLeavingFreesThePlace) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    {
        SingleInstance first(dir.path());
        ASSERT_EQ(first.start("reopen"), SingleInstance::Role::primary);
    }
    SingleInstance next(dir.path());
    EXPECT_EQ(next.start("reopen"), SingleInstance::Role::primary);
}

TEST(SingleInstance, UnusableDirectoryFailsWithAMessage) {
    SingleInstance instance("/proc/no-such-place/vantrel");
    EXPECT_EQ(instance.start("reopen"), SingleInstance::Role::failed);
    EXPECT_FALSE(instance.errorString().isEmpty());
}
