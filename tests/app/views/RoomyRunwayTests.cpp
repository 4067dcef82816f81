// The runway at the larger playfield's scale (560 x 140 view points for the
// 440-point world): the landscape's clouds and specks, and the phase card.

#include "PixelProbe.h"
#include "ViewScenes.h"

#include "Vantrel/pixels/RetroFont.h"
#include "Vantrel/views/NotchView.h"
#include "Vantrel/views/RunwayView.h"

#include <gtest/gtest.h>

#include <vector>

using namespace vantrel;
using namespace vantrel::scenes;

namespace {

constexpr QSize roomySize(560, 140);
constexpr double s = 560.0 / 440.0; // view points per world point
constexpr double groundY = 100;     // world points: 140 / s − 10

class RoomyRunwayTest : public ::testing::TestWithParam<double> {
protected:
    RoomyRunwayTest() : m_view(m_fixture.store(), NotchView::runwayMint()) { store().setRoomy(true); }

    GameStore& store() { return m_fixture.store(); }
    double dpr() const { return GetParam(); }
    // Device pixels per world point.
    double k() const { return s * dpr(); }
    QImage shoot(const Moment& m) {
        m_fixture.setMoment(m);
        return render(m_view, roomySize, dpr());
    }
    // A rectangle given in world points, in view points.
    static QRectF world(double x, double y, double w, double h) { return QRectF(x * s, y * s, w * s, h * s); }

    StoreFixture m_fixture;
    RunwayView m_view;
};

// Where runs of pixels brighter than `minAlpha` start along device row `py`, in world points.
std::vector<double> runStarts(const QImage& image, int py, double devicePerWorld, int minAlpha) {
    std::vector<double> starts;
    bool inRun = false;
    for (int px = 0; px < image.width(); ++px) {
        const bool lit = image.pixelColor(px, py).alpha() > minAlpha;
        if (lit && !inRun) {
            starts.push_back(px / devicePerWorld);
        }
        inRun = lit;
    }
    return starts;
}

// An edge of lit pixels found by probe::litBounds (view points) lies where an
// antialiased edge at `v` view points starts (`start`) or ends: on the device
// pixel that holds it, give or take a twentieth of a pixel for rounding.
::testing::AssertionResult edgeAt(double found, double v, double dpr, bool start) {
    const double lo = start ? std::floor(v * dpr - 0.05) : std::ceil(v * dpr - 0.05);
    const double hi = start ? std::floor(v * dpr + 0.05) : std::ceil(v * dpr + 0.05);
    if (found * dpr >= lo - 1e-6 && found * dpr <= hi + 1e-6) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << "edge at " << found << " view points, expected the device pixel of " << v
           << (start ? " (start)" : " (end)");
}

TEST_P(RoomyRunwayTest, CloudsSitWhereTheWorldPutsThem) {
    // Distance 0: cloud 0 at x 130, top 15; cloud 1 at 317, top 29; cloud 2 (504) lies beyond the world.
    const QImage image = shoot({.distance = 0});
    const QRectF first = probe::litBounds(image, world(100, 0, 120, 50), 0);
    ASSERT_FALSE(first.isEmpty());
    // The outline is one world point thick: its runs reach half a point above and below their lines.
    EXPECT_TRUE(edgeAt(first.left(), 130 * s, dpr(), true));
    EXPECT_TRUE(edgeAt(first.right(), 159 * s, dpr(), false));
    EXPECT_TRUE(edgeAt(first.top(), 14.5 * s, dpr(), true));
    EXPECT_TRUE(edgeAt(first.bottom(), 21.5 * s, dpr(), false));
    const QRectF second = probe::litBounds(image, world(300, 0, 140, 50), 0);
    ASSERT_FALSE(second.isEmpty());
    EXPECT_TRUE(edgeAt(second.left(), 317 * s, dpr(), true));
    EXPECT_TRUE(edgeAt(second.right(), 346 * s, dpr(), false));
    EXPECT_TRUE(edgeAt(second.top(), 28.5 * s, dpr(), true));
    EXPECT_TRUE(edgeAt(second.bottom(), 35.5 * s, dpr(), false));
    EXPECT_TRUE(probe::litBounds(image, world(0, 0, 120, 50), 0).isEmpty());
}

TEST_P(RoomyRunwayTest, CloudsAreOneWorldPointOfWhiteAtOpacity01) {
    const QImage image = shoot({.distance = 0});
    // Down the column through the top run of cloud 0 (x 141 to 148 on y 15).
    const int px = static_cast<int>(144.5 * k());
    double sum = 0;
    for (int py = static_cast<int>(10 * k()); py <= static_cast<int>(20 * k()); ++py) {
        const QColor c = image.pixelColor(px, py);
        EXPECT_LE(c.alphaF(), 0.1 + 0.01) << "row " << py;
        if (c.alpha() > 0) {
            EXPECT_EQ(c.red(), 255);
            EXPECT_EQ(c.green(), 255);
            EXPECT_EQ(c.blue(), 255);
        }
        sum += c.alphaF();
    }
    EXPECT_NEAR(sum / k(), 0.1, 0.01) << "the line carries one world point of 0.1 white";
}

TEST_P(RoomyRunwayTest, CloudsDriftAtATenthOfTheGroundAndWrap) {
    // 1000 points on, they have moved 130: at 0, 187 and 374.
    const QImage later = shoot({.distance = 1000});
    const QRectF zero = probe::litBounds(later, world(0, 0, 100, 50), 0);
    ASSERT_FALSE(zero.isEmpty());
    EXPECT_TRUE(edgeAt(zero.left(), 0, dpr(), true));
    EXPECT_TRUE(edgeAt(zero.right(), 29 * s, dpr(), false));
    EXPECT_TRUE(edgeAt(probe::litBounds(later, world(150, 0, 120, 50), 0).left(), 187 * s, dpr(), true));
    const QRectF third = probe::litBounds(later, world(330, 0, 110, 50), 0);
    ASSERT_FALSE(third.isEmpty());
    EXPECT_TRUE(edgeAt(third.left(), 374 * s, dpr(), true));
    EXPECT_TRUE(edgeAt(third.top(), 14.5 * s, dpr(), true)); // cloud 2 is even: it flies high

    // Every 561 points of their own travel the sky repeats exactly.
    const QImage a = shoot({.distance = 700});
    const QImage b = shoot({.distance = 700 + 561 / 0.13});
    const QRect sky(0, 0, a.width(), static_cast<int>(50 * k()));
    int differing = 0;
    for (int y = sky.top(); y <= sky.bottom(); ++y) {
        for (int x = sky.left(); x <= sky.right(); ++x) {
            differing += std::abs(a.pixelColor(x, y).alpha() - b.pixelColor(x, y).alpha()) > 1 ? 1 : 0;
        }
    }
    EXPECT_EQ(differing, 0);
    EXPECT_GT(probe::count(a, world(0, 0, 440, 50), [](const QColor& c) { return c.alpha() > 0; }), 0);
}

TEST_P(RoomyRunwayTest, ManyGroundSpecksEvery273WorldPoints) {
    const QImage image = shoot({.distance = 0});
    // The specks' rows (1 world point high) and the threshold of a pixel they cover at least half.
    const int nearRow = static_cast<int>((groundY + 5.5) * k());
    const int farRow = static_cast<int>((groundY + 8.5) * k());
    const int half = qRound(0.1 * 255);
    const std::vector<double> near = runStarts(image, nearRow, k(), half);
    const std::vector<double> far = runStarts(image, farRow, k(), half);
    ASSERT_EQ(near.size(), 9u) << "even specks 0, 2, ... 16 lie inside the world";
    ASSERT_EQ(far.size(), 8u) << "odd specks 1, 3, ... 15";
    for (size_t j = 0; j < near.size(); ++j) {
        EXPECT_NEAR(near[j], 2 * j * 27.3, 1) << "even speck " << 2 * j;
    }
    for (size_t j = 0; j < far.size(); ++j) {
        EXPECT_NEAR(far[j], (2 * j + 1) * 27.3, 1) << "odd speck " << 2 * j + 1;
    }
    // Inside a speck: one world point of white at 0.2 down its column (its rows are blended at
    // this scale); speck 3 is a long one (81.9 to 85.9), speck 1 short (27.3 to 28.8).
    double sum = 0;
    const int column = static_cast<int>(84 * k());
    for (int py = static_cast<int>((groundY + 6.5) * k()); py <= static_cast<int>((groundY + 9.9) * k());
         ++py) {
        const QColor c = image.pixelColor(column, py);
        EXPECT_LE(c.alphaF(), 0.2 + 0.01);
        sum += c.alphaF();
    }
    EXPECT_NEAR(sum / k(), 0.2, 0.02);
    EXPECT_EQ(probe::alphaAt(image, 30.5 * s, (groundY + 8.5) * s), 0);
    // And they travel with the ground: 10 points on, speck 1 is at 17.3.
    const QImage moved = shoot({.distance = 10});
    const std::vector<double> farMoved = runStarts(moved, farRow, k(), half);
    ASSERT_FALSE(farMoved.empty());
    EXPECT_NEAR(farMoved.front(), 17.3, 1);
}

// Rows (device pixels) of the card that hold text, grouped into bands. The
// clouds behind the card (white at 0.1) stay under the threshold; the pixel
// font's dimmest line, the key hint, is at 0.32.
constexpr int textAlpha = 40;

struct Band {
    int top;
    int bottom;
    int maxAlpha;
};

std::vector<Band> textBands(const QImage& image, const QRect& device) {
    std::vector<Band> bands;
    bool inBand = false;
    for (int y = device.top(); y <= device.bottom(); ++y) {
        int rowMax = 0;
        for (int x = device.left(); x <= device.right(); ++x) {
            rowMax = std::max(rowMax, image.pixelColor(x, y).alpha());
        }
        if (rowMax > textAlpha) {
            if (!inBand) {
                bands.push_back({y, y, rowMax});
                inBand = true;
            }
            bands.back().bottom = y;
            bands.back().maxAlpha = std::max(bands.back().maxAlpha, rowMax);
        } else {
            inBand = false;
        }
    }
    return bands;
}

TEST_P(RoomyRunwayTest, CardColoursAndPaddings) {
    if (!RetroFont::available()) {
        GTEST_SKIP() << "the pixel font is missing: the fall-back font's lines have no exact edges";
    }
    const QImage image = shoot({.phase = RunPhase::ready, .distance = 0});
    const QRectF card = m_view.cardRect();
    ASSERT_FALSE(card.isEmpty());
    // Leading: 119 world points; trailing: the view's edge.
    EXPECT_EQ(card.left(), std::round(119 * s));
    EXPECT_EQ(card.right(), roomySize.width());
    // Centred in the height left after 21 world points of padding at the bottom.
    const double above = card.top();
    const double below = roomySize.height() - card.bottom();
    EXPECT_NEAR(below - above, 21 * s, 1);

    // The ground line and specks lie below the card; the dinosaur left of it.
    const double dpr = this->dpr();
    const QRect device = QRectF(card.topLeft() * dpr, card.size() * dpr).toAlignedRect();
    const std::vector<Band> bands = textBands(image, device);
    ASSERT_EQ(bands.size(), 3u) << "headline, subtitle, key hint";
    const auto points = [&](int deviceRows) { return deviceRows / dpr; };
    // 12 points above the headline and below the last line.
    EXPECT_NEAR(points(bands[0].top - device.top()), 12, 1);
    EXPECT_NEAR(points(device.bottom() - bands[2].bottom), 12, 1);
    // The key hint has 5 points more above it than the subtitle has.
    const double subtitleGap = points(bands[1].top - bands[0].bottom);
    const double hintGap = points(bands[2].top - bands[1].bottom);
    EXPECT_NEAR(hintGap - subtitleGap, 5, 1);
    // Colours: white at 0.92, 0.48 and 0.32.
    EXPECT_NEAR(bands[0].maxAlpha, 0.92 * 255, 2);
    EXPECT_NEAR(bands[1].maxAlpha, 0.48 * 255, 2);
    EXPECT_NEAR(bands[2].maxAlpha, 0.32 * 255, 2);
    const int white = probe::count(image, card, [](const QColor& c) {
        return c.alpha() > textAlpha && (c.red() != 255 || c.green() != 255 || c.blue() != 255);
    });
    EXPECT_EQ(white, 0) << "every text of the card is white";

    // A new high score: the headline turns mint (red 0.7, green 0.91, blue 0.76), the subtitle stays.
    GameStoreTestAccess::setIsNewBest(store(), true);
    const QImage best = shoot({.phase = RunPhase::over, .distance = 120});
    const QRectF overCard = m_view.cardRect();
    const QRect overDevice = QRectF(overCard.topLeft() * dpr, overCard.size() * dpr).toAlignedRect();
    const std::vector<Band> overBands = textBands(best, overDevice);
    ASSERT_EQ(overBands.size(), 2u);
    EXPECT_NEAR(overBands[0].maxAlpha, 255, 1);
    QColor brightest(0, 0, 0, 0);
    for (int y = overBands[0].top; y <= overBands[0].bottom; ++y) {
        for (int x = overDevice.left(); x <= overDevice.right(); ++x) {
            const QColor c = best.pixelColor(x, y);
            if (c.alpha() > brightest.alpha()) {
                brightest = c;
            }
        }
    }
    EXPECT_NEAR(brightest.redF(), 0.7, 0.01);
    EXPECT_NEAR(brightest.greenF(), 0.91, 0.01);
    EXPECT_NEAR(brightest.blueF(), 0.76, 0.01);
    EXPECT_NEAR(overBands[1].maxAlpha, 0.48 * 255, 2);
    EXPECT_NEAR(points(overDevice.bottom() - overBands[1].bottom), 12, 1) << "no key hint after a run";
}

INSTANTIATE_TEST_SUITE_P(Scales, RoomyRunwayTest, ::testing::Values(1.0, 2.0));

} // namespace
