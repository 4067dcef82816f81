// One full frame of the expanded notch view (480 x 192 points, a run in
// progress with obstacles) rendered into an image, at 1x and 2x; and the sound
// cues synthesised right after a paint, as the game does on the first play.
#include "ViewScenes.h"

#include "Vantrel/audio/ArcadeAudio.h"
#include "Vantrel/views/NotchView.h"
#include "VantrelCore/Chiptune.h"

#include <QApplication>
#include <QPainter>

#include <benchmark/benchmark.h>

using namespace vantrel;
using namespace vantrel::scenes;

namespace {

void BM_NotchViewFrame(benchmark::State& state) {
    const double dpr = static_cast<double>(state.range(0));
    StoreFixture fixture;
    GameStore& store = fixture.store();
    store.setNotchHeight(0); // 0 + 28 + 164 = 192 points high
    store.setExpanded(true);
    store.setBest(1234);
    NotchView view(store);
    view.setAnimated(false);
    view.setAttribute(Qt::WA_DontShowOnScreen);
    view.resize(480, 192);
    view.show();

    Moment moment{.elapsed = 40, .distance = 2950};
    moment.obstacles = {cactus(150, 34), cactus(260, 30, 44, true), flyer(380, 30)};
    QImage image((QSizeF(480, 192) * dpr).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(dpr);

    int64_t frame = 0;
    for (auto _ : state) {
        // Each frame moves the run on, as the clock does, so nothing is cached between frames.
        moment.distance += 4;
        moment.elapsed += 1.0 / 60;
        fixture.setMoment(moment);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        view.render(&painter, QPoint(), QRegion(), QWidget::DrawChildren);
        painter.end();
        benchmark::DoNotOptimize(image.constBits());
        ++frame;
    }
    state.SetItemsProcessed(frame);
}
// Process CPU time: the raster engine hands large fills to worker threads.
BENCHMARK(BM_NotchViewFrame)->Arg(1)->Arg(2)->MeasureProcessCPUTime()->Unit(benchmark::kMicrosecond);

// All five cues with their WAV images after a fill: argument 0 calls the synthesis
// directly, 1 goes through the application's path, which first clears the vector
// state that Qt's fills can leave behind.
void BM_RenderAllCuesAfterAPaint(benchmark::State& state) {
    const bool applicationPath = state.range(0) == 1;
    QImage image(480, 192, QImage::Format_ARGB32_Premultiplied);
    std::size_t bytes = 0;
    for (auto _ : state) {
        state.PauseTiming();
        image.fill(Qt::transparent);
        state.ResumeTiming();
        for (ArcadeCue cue : allArcadeCues) {
            bytes += applicationPath ? ArcadeAudio::renderCue(cue).size() : Chiptune::waveData(cue).size();
        }
    }
    benchmark::DoNotOptimize(bytes);
    state.SetLabel(applicationPath ? "ArcadeAudio::renderCue" : "Chiptune::waveData");
}
BENCHMARK(BM_RenderAllCuesAfterAPaint)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
