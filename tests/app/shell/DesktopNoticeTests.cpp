#include "Vantrel/shell/DesktopNotice.h"

#include <QApplication>
#include <QDBusConnection>
#include <QMessageBox>

#include <gtest/gtest.h>

using namespace vantrel;

TEST(DesktopNotice, WithoutNotificationServiceAWindowSaysIt) {
    if (QDBusConnection::sessionBus().isConnected()) {
        GTEST_SKIP() << "a session bus is present here; this case needs a process without one";
    }
    const auto shown = DesktopNotice::show("Vantrel is running", "Hover below the top centre to play.");
    EXPECT_EQ(shown, DesktopNotice::Shown::window);
    QMessageBox* box = nullptr;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* candidate = qobject_cast<QMessageBox*>(widget); candidate && candidate->isVisible()) {
            box = candidate;
        }
    }
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->windowTitle(), "Vantrel is running");
    EXPECT_EQ(box->text(), "Hover below the top centre to play.");
    EXPECT_FALSE(box->isModal());
    box->close();
}
