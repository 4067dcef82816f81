// The sound cues are synthesised on the GUI thread, right after Qt has painted.
// Qt's AVX2 fills can leave the vector unit in a state that makes the synthesis
// many times slower; the application's render path clears it first.
#include "Vantrel/audio/ArcadeAudio.h"
#include "Vantrel/platform/VectorState.h"
#include "VantrelCore/Chiptune.h"

#include <QImage>

#include <gtest/gtest.h>

using namespace vantrel;

namespace {

// A fill as every paint of the playfield does one.
void paintSomething() {
    QImage image(480, 192, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
}

} // namespace

TEST(VectorState, ClearingLeavesTheUpperHalvesUnused) {
    if (!platform::upperVectorStateInUse().has_value()) {
        GTEST_SKIP() << "this processor cannot report which vector registers are in use";
    }
    paintSomething();
    platform::clearUpperVectorState();
    EXPECT_EQ(platform::upperVectorStateInUse(), std::optional<bool>(false));
}

TEST(VectorState, CueRenderingStartsFromACleanVectorUnitAfterAPaint) {
    if (!platform::upperVectorStateInUse().has_value()) {
        GTEST_SKIP() << "this processor cannot report which vector registers are in use";
    }
    paintSomething();
    if (platform::upperVectorStateInUse() != std::optional<bool>(true)) {
        GTEST_SKIP() << "Qt's fill left the upper halves unused on this processor; nothing to clear";
    }
    const std::vector<uint8_t> wav = ArcadeAudio::renderCue(ArcadeCue::jump);
    // Synthesis itself (SSE and VEX-128 code) does not dirty them again, so a clean
    // state here means the render path cleared it before starting.
    EXPECT_EQ(platform::upperVectorStateInUse(), std::optional<bool>(false));
    EXPECT_EQ(wav, Chiptune::waveData(ArcadeCue::jump));
}
