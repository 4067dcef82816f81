#include "Vantrel/platform/KeyPosition.h"

#include <gtest/gtest.h>

using namespace vantrel::platform;

namespace {

TEST(KeyPositionTest, XkbKeycodesOfRAndPAreFoundByPlace) {
    // XKB keycodes are evdev codes plus 8: KEY_R is 19, KEY_P is 25.
    EXPECT_EQ(keyPositionOf(27), KeyPosition::r);
    EXPECT_EQ(keyPositionOf(33), KeyPosition::p);
    EXPECT_EQ(keyPositionOf(40), KeyPosition::other); // KEY_D
    EXPECT_EQ(keyPositionOf(0), KeyPosition::unknown);
}

TEST(KeyPositionTest, ScanCodesRoundTrip) {
    for (KeyPosition position : {KeyPosition::r, KeyPosition::p}) {
        EXPECT_EQ(keyPositionOf(nativeScanCodeOf(position)), position);
    }
    EXPECT_EQ(nativeScanCodeOf(KeyPosition::other), 0u);
    EXPECT_EQ(nativeScanCodeOf(KeyPosition::unknown), 0u);
}

} // namespace
