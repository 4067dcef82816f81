#include "ViewScenes.h"

#include "Vantrel/GameStore.h"
#include "Vantrel/panel/PanelLayout.h"

#include <gtest/gtest.h>

using namespace vantrel;
using namespace vantrel::scenes;

namespace {

TEST(PanelLayoutTest, SizesAddUpFromTheNamedMeasurements) {
    EXPECT_EQ(PanelLayout::bodyHeight, 9 + 110 + 28 + 17);
    EXPECT_EQ(PanelLayout::roomyBodyHeight, 9 + 140 + 28 + 17);
    EXPECT_EQ(PanelLayout::expandedWidthFor(false), 480);
    EXPECT_EQ(PanelLayout::expandedWidthFor(true), 600);
    // The score row is the notch's height, never less than 28.
    EXPECT_EQ(PanelLayout::expandedHeight(32, false), 32 + 164);
    EXPECT_EQ(PanelLayout::expandedHeight(0, false), 28 + 164);
    EXPECT_EQ(PanelLayout::expandedHeight(37.5, true), 37.5 + 194);
    // Collapsed: the notch and a 7-point ear each side; peeking adds the 16-point lip.
    EXPECT_EQ(PanelLayout::collapsedWidth(180), 194);
    EXPECT_EQ(PanelLayout::collapsedHeight(32, false), 32);
    EXPECT_EQ(PanelLayout::collapsedHeight(32, true), 48);
    EXPECT_EQ(PanelLayout::runwayHeightFor(true), 140);
    EXPECT_LT(PanelLayout::collapsedRadius, PanelLayout::expandedRadius);
}

TEST(PanelLayoutTest, StoreSizesArePanelLayouts) {
    StoreFixture fixture;
    GameStore& store = fixture.store();
    store.setNotchWidth(200);
    store.setNotchHeight(38);
    EXPECT_EQ(store.panelWidth(), PanelLayout::collapsedWidth(200));
    store.setPeeking(true);
    EXPECT_EQ(store.panelHeight(), PanelLayout::collapsedHeight(38, true));
    store.setExpanded(true);
    store.setRoomy(true);
    EXPECT_EQ(store.panelWidth(), 600);
    EXPECT_EQ(store.panelHeight(), 38 + 194);
}

} // namespace
