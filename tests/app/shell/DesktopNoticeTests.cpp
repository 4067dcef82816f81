#include "Vantrel/shell/DesktopNotice.h"

#include "Vantrel/platform/SessionBus.h"

#include <QApplication>
#include <QMessageBox>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace vantrel;

TEST(DesktopNotice, WithoutNotificationServiceAWindowSaysIt) {
    if (platform::sessionBusKnown()) {
        GTEST_SKIP() << "a session bus is present here; this case needs a process without one";
    }
    DesktopNotice* notice = DesktopNotice::show("Vantrel is running", "Hover below the top centre to play.");
    // Without a bus the window shows at once; shown() follows from the event loop.
    QSignalSpy shown(notice, &DesktopNotice::shown);
    ASSERT_TRUE(shown.wait(1000));
    EXPECT_EQ(shown.at(0).at(0).value<DesktopNotice::Shown>(), DesktopNotice::Shown::window);
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
