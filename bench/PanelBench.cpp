// Work per animation frame of the panel: one spring step, the frame set on the
// window (which resizes it, reshapes its mask and repaints the notch view), and
// the paint itself, on Qt's offscreen platform (or on X11 with QT_QPA_PLATFORM=xcb).
#include "Vantrel/Clock.h"
#include "Vantrel/GameStore.h"
#include "Vantrel/panel/NotchPanel.h"
#include "Vantrel/panel/NotchPanelController.h"
#include "Vantrel/panel/PanelSpringAnimator.h"
#include "Vantrel/platform/Platform.h"

#include <QApplication>
#include <QSettings>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace vantrel;

// Waits until the display server has carried out every request sent so far (one
// round trip). The client only queues its requests, so timing a frame without this
// leaves out the server's share of it. False on platforms without a server
// (offscreen) and in builds without the X11 backend.
static bool waitForDisplayServer() {
    return platform::syncWithDisplayServer();
}

static void expansionFrames(benchmark::State& state, bool includeServer) {
    QTemporaryDir dir;
    ManualClock clock;
    NotchPanelController controller(
        std::make_unique<QSettings>(dir.filePath("Vantrel.conf"), QSettings::IniFormat), clock,
        platform::nullPlatformServices());
    PanelSpringAnimator& animator = controller.springAnimator();
    NotchPanel& panel = controller.panel();
    panel.show();
    controller.store().setExpanded(true);
    if (includeServer && !waitForDisplayServer()) {
        state.SkipWithError("no display server to wait for (run with QT_QPA_PLATFORM=xcb, in a build "
                            "with VANTREL_WITH_X11=ON)");
        return;
    }
    const QRectF collapsed(553, 0, 174, 8);
    const QRectF expanded(400, 0, 480, 192);
    for (auto _ : state) {
        state.PauseTiming();
        if (!animator.running()) {
            bool opening = panel.height() < 100;
            controller.store().setExpanded(opening);
            animator.move(&panel, opening ? expanded : collapsed, true);
        }
        clock.advance(1.0 / 120);
        state.ResumeTiming();
        animator.tick();
        panel.repaint(); // paint now, as the frame would be drawn
        if (includeServer) {
            waitForDisplayServer();
        }
    }
    waitForDisplayServer();
}

// The client's share of a frame.
static void BM_ExpansionFrame(benchmark::State& state) {
    expansionFrames(state, false);
}
BENCHMARK(BM_ExpansionFrame)->Unit(benchmark::kMicrosecond);

// The whole frame: the client's work and the X server's (resize, shape, image).
static void BM_ExpansionFrameWithServer(benchmark::State& state) {
    expansionFrames(state, true);
}
BENCHMARK(BM_ExpansionFrameWithServer)->Unit(benchmark::kMicrosecond);

// One real expansion and collapse, driven by the animator's own 120 Hz timer on
// the steady clock: counts frames and the ones that came late (more than 1.5
// frame periods after the previous one, i.e. a dropped frame at 120 Hz).
static void BM_RealTimeExpansion(benchmark::State& state) {
    QTemporaryDir dir;
    SteadyClock clock;
    NotchPanelController controller(
        std::make_unique<QSettings>(dir.filePath("Vantrel.conf"), QSettings::IniFormat), clock,
        platform::nullPlatformServices());
    PanelSpringAnimator& animator = controller.springAnimator();
    NotchPanel& panel = controller.panel();
    panel.setGeometry(553, 0, 174, 8);
    panel.show();
    QCoreApplication::processEvents();
    waitForDisplayServer();
    std::vector<double> stamps;
    QObject::connect(&animator, &PanelSpringAnimator::frameApplied, [&] { stamps.push_back(clock.now()); });
    double frames = 0;
    double late = 0;
    double worst = 0;
    for (auto _ : state) {
        for (bool opening : {true, false}) {
            stamps.clear();
            controller.store().setExpanded(opening);
            animator.move(&panel, opening ? QRectF(400, 0, 480, 192) : QRectF(553, 0, 174, 8), true);
            while (animator.running()) {
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            }
            for (size_t i = 1; i < stamps.size(); ++i) {
                double gap = stamps[i] - stamps[i - 1];
                worst = std::max(worst, gap);
                late += gap > 1.5 / 120 ? 1 : 0;
                if (gap > 1.5 / 120 && qEnvironmentVariableIsSet("VANTREL_BENCH_TRACE")) {
                    std::fprintf(stderr, "late frame %zu of %zu (%s): %.1f ms\n", i, stamps.size(),
                                 opening ? "opening" : "closing", gap * 1000);
                }
            }
            frames += static_cast<double>(stamps.size());
        }
    }
    state.counters["frames"] = frames;
    state.counters["late_frames"] = late;
    state.counters["worst_gap_ms"] = worst * 1000;
}
BENCHMARK(BM_RealTimeExpansion)->Unit(benchmark::kMillisecond)->Iterations(10);

static void BM_SpringStepOnly(benchmark::State& state) {
    DampedSpring width(174);
    width.setTarget(480);
    for (auto _ : state) {
        width.advance(1.0 / 120, 0.3);
        benchmark::DoNotOptimize(width);
        if (width.settled()) {
            width = DampedSpring(174);
            width.setTarget(480);
        }
    }
}
BENCHMARK(BM_SpringStepOnly);

int main(int argc, char** argv) {
    // Offscreen unless told otherwise (QT_QPA_PLATFORM=xcb measures against a real X server).
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
