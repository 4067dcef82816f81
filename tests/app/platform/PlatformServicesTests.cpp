#include "Vantrel/platform/Platform.h"

#include <gtest/gtest.h>

using namespace vantrel::platform;

namespace {

TEST(PlatformServicesTest, TheFallbacksProvideEveryService) {
    PlatformServices services = nullPlatformServices();
    ASSERT_NE(services.pointer, nullptr);
    ASSERT_NE(services.activeWindow, nullptr);
    ASSERT_NE(services.windowTraits, nullptr);
    ASSERT_NE(services.systemSignals, nullptr);
    ASSERT_NE(services.screenNotch, nullptr);
    ASSERT_NE(services.motion, nullptr);
    ASSERT_NE(services.hoverStrip, nullptr);
    EXPECT_FALSE(services.motion->reduceMotion());
    EXPECT_EQ(services.activeWindow->current(), 0u);
    EXPECT_FALSE(services.activeWindow->fullScreenOn(nullptr));
}

TEST(PlatformServicesTest, OffscreenHasNoDisplayServerToWaitFor) {
    // The tests run on Qt's offscreen platform, which has no server behind it.
    EXPECT_FALSE(syncWithDisplayServer());
}

} // namespace
