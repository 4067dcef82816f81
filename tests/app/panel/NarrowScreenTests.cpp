// The playfield on a screen narrower than it: run on the offscreen platform
// with one 500-point-wide screen (narrow-screen.json).

#include "Vantrel/Clock.h"
#include "Vantrel/GameStore.h"
#include "Vantrel/panel/NotchPanel.h"
#include "Vantrel/panel/NotchPanelController.h"
#include "Vantrel/panel/PanelSpringAnimator.h"
#include "Vantrel/platform/Platform.h"
#include "Vantrel/views/NotchView.h"
#include "Vantrel/views/RunwayView.h"

#include <QGuiApplication>
#include <QScreen>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace vantrel;

namespace {

class NarrowScreenTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        QScreen* screen = QGuiApplication::primaryScreen();
        ASSERT_NE(screen, nullptr);
        if (screen->geometry().width() != 500) {
            GTEST_SKIP() << "needs the 500-point screen of narrow-screen.json, not "
                         << screen->geometry().width();
        }
        controller = std::make_unique<NotchPanelController>(
            std::make_unique<QSettings>(dir.filePath("Vantrel.conf"), QSettings::IniFormat), clock,
            platform::nullPlatformServices());
        controller->springAnimator().setReduceMotion(true);
    }
    QTemporaryDir dir;
    ManualClock clock;
    std::unique_ptr<NotchPanelController> controller;
};

TEST_F(NarrowScreenTest, ThePlayfieldIsTheScreenWidthLess24) {
    ASSERT_TRUE(controller->expand());
    const QRect frame = controller->panel().geometry();
    EXPECT_EQ(frame.width(), 476);
    EXPECT_EQ(frame.left(), 12); // centred: 12 points free on either side
    EXPECT_EQ(frame.top(), 0);
    EXPECT_EQ(frame.height(), static_cast<int>(controller->store().panelHeight()));
    // The content follows the panel, not the store's wish of 480.
    auto* view = qobject_cast<NotchView*>(controller->panel().content());
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->width(), 476);
    EXPECT_EQ(view->runway()->width(), 476 - 40);
}

TEST_F(NarrowScreenTest, TheRoomyPlayfieldToo) {
    controller->store().setRoomy(true);
    controller->updateLayout();
    ASSERT_TRUE(controller->expand());
    EXPECT_EQ(controller->panel().geometry(), QRect(12, 0, 476, 28 + 194));
    // Switching size while open stays inside the screen.
    controller->store().setRoomy(false);
    controller->updateLayout();
    EXPECT_EQ(controller->panel().geometry(), QRect(12, 0, 476, 28 + 164));
}

TEST_F(NarrowScreenTest, TheCollapsedAndPeekFramesAreUntouched) {
    // 160 + 14 fits: the notch tab keeps its size and centre.
    EXPECT_EQ(controller->geometry()->collapsedFrame(), QRectF(250 - 87, 0, 174, 8));
    EXPECT_EQ(controller->geometry()->maxPanelWidth(), 476);
}

} // namespace
