// Frames put straight into a window with shared memory, on a real X server (run
// under Xvfb on the xcb platform): the server shows exactly the pixels painted,
// in opaque and translucent windows, frame after frame and at changing sizes,
// and says when the window lost them.

#include "PresenterTest.h"

#include "Vantrel/platform/Platform.h"
#include "Vantrel/platform/x11/X11FramePresenter.h"

#include <QGuiApplication>
#include <QPainter>
#include <QTest>
#include <QWidget>
#include <QWindow>

#include <xcb/xcb.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

using vantrel::platform::x11::X11FramePresenter;

namespace {

// A pattern no two neighbouring frames share: every pixel of every frame differs.
QRgb patternAt(int x, int y, int frame) {
    return qRgb((x * 7 + frame * 31) & 0xff, (y * 11 + frame * 17) & 0xff, (x + y + frame * 53) & 0xff);
}

void paintPattern(QImage& image, int frame) {
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            image.setPixel(x, y, patternAt(x, y, frame));
        }
    }
}

class X11FramePresenterTest : public PresenterTest {
protected:
    void TearDown() override {
        m_window.reset();
        PresenterTest::TearDown();
    }

    // A shown, exposed top-level window of 240 x 160 points painted grey by Qt.
    QWindow* showWindow(bool translucent) {
        m_window = std::make_unique<QWidget>();
        m_window->setAttribute(Qt::WA_TranslucentBackground, translucent);
        m_window->setAutoFillBackground(!translucent);
        m_window->setPalette(QPalette(QColor(90, 90, 90)));
        m_window->resize(240, 160);
        m_window->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(m_window.get()));
        QWindow* handle = m_window->windowHandle();
        QTest::qWait(50); // Qt's first flush
        return handle;
    }

    // Presents frame `frame` of the pattern at `rect` and waits for the server.
    void present(QWindow* window, const QRect& rect, int frame) {
        QImage* image = m_presenter->beginFrame(window, rect);
        ASSERT_NE(image, nullptr);
        ASSERT_EQ(image->size(), rect.size());
        paintPattern(*image, frame);
        m_presenter->endFrame();
        // The server takes each client's requests in order, but not the clients':
        // Qt's connection carried the frame, so it is the one to wait on.
        ASSERT_TRUE(vantrel::platform::syncWithDisplayServer());
    }

    void expectPattern(QWindow* window, const QRect& rect, int frame) {
        const QImage shown = serverPixels(window, rect);
        ASSERT_EQ(shown.size(), rect.size());
        int wrong = 0;
        for (int y = 0; y < rect.height(); ++y) {
            for (int x = 0; x < rect.width(); ++x) {
                if (shown.pixel(x, y) != (0xff000000u | patternAt(x, y, frame))) {
                    ++wrong;
                }
            }
        }
        EXPECT_EQ(wrong, 0) << "pixels of frame " << frame << " at " << rect.x() << "," << rect.y() << " "
                            << rect.width() << "x" << rect.height() << " not shown as painted";
    }

    QImage serverPixels(QWindow* window, const QRect& rect) {
        return m_probe->pixels(static_cast<xcb_window_t>(window->winId()), rect);
    }
    uint8_t depthOf(QWindow* window) { return m_probe->depth(static_cast<xcb_window_t>(window->winId())); }

    std::unique_ptr<QWidget> m_window;
};

TEST_F(X11FramePresenterTest, AnOpaqueWindowShowsTheFrameAsPaintedAndNothingBeside) {
    QWindow* window = showWindow(false);
    EXPECT_EQ(depthOf(window), 24);
    const QRect rect(13, 21, 96, 40);
    const QImage before = serverPixels(window, QRect(0, 0, 240, 160));
    present(window, rect, 0);
    expectPattern(window, rect, 0);
    // Around the frame the window keeps what Qt painted.
    const QImage after = serverPixels(window, QRect(0, 0, 240, 160));
    int changedOutside = 0;
    for (int y = 0; y < 160; ++y) {
        for (int x = 0; x < 240; ++x) {
            if (!rect.contains(x, y) && after.pixel(x, y) != before.pixel(x, y)) {
                ++changedOutside;
            }
        }
    }
    EXPECT_EQ(changedOutside, 0);
    EXPECT_EQ(m_presenter->framesPresented(), 1);
}

TEST_F(X11FramePresenterTest, ATranslucentWindowShowsTheFrameAsPainted) {
    QWindow* window = showWindow(true);
    if (depthOf(window) != 32) {
        GTEST_SKIP() << "this X server gave the translucent window no 32-bit visual";
    }
    const QRect rect(40, 30, 120, 64);
    present(window, rect, 3);
    expectPattern(window, rect, 3);
}

TEST_F(X11FramePresenterTest, FrameAfterFrameAtChangingSizesEachIsShownWhole) {
    QWindow* window = showWindow(false);
    // Like a tick: a wide frame and two small ones, over and over, the sizes shifting.
    for (int frame = 0; frame < 30; ++frame) {
        const QRect wide(0, 60, 200 + frame % 3 * 10, 80);
        const QRect small(frame % 5 * 4, 4, 40, 12);
        const QRect other(150, 4, 50 + frame % 2 * 20, 12);
        present(window, wide, frame);
        present(window, small, frame + 100);
        present(window, other, frame + 200);
        expectPattern(window, wide, frame);
        expectPattern(window, small, frame + 100);
        expectPattern(window, other, frame + 200);
    }
    EXPECT_EQ(m_presenter->framesPresented(), 90);
}

TEST_F(X11FramePresenterTest, ManyFramesWithoutWaitingForTheServerAreAllShown) {
    QWindow* window = showWindow(false);
    // More frames in flight than the presenter has images: it must wait for the
    // server rather than paint into an image the server has yet to read.
    const QRect rect(0, 0, 24, 24);
    const auto place = [&rect](int frame) { return rect.translated(frame % 8 * 30, frame / 8 * 30); };
    for (int frame = 0; frame < 40; ++frame) {
        QImage* image = m_presenter->beginFrame(window, place(frame));
        ASSERT_NE(image, nullptr);
        paintPattern(*image, frame);
        m_presenter->endFrame();
    }
    ASSERT_TRUE(vantrel::platform::syncWithDisplayServer());
    for (int frame = 0; frame < 40; ++frame) {
        expectPattern(window, place(frame), frame);
    }
}

TEST_F(X11FramePresenterTest, NoFrameForAHiddenWindowOrAnEmptyRectangle) {
    QWindow* window = showWindow(false);
    EXPECT_EQ(m_presenter->beginFrame(window, QRect()), nullptr);
    m_window->hide();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !window->isExposed(); }, 2000));
    EXPECT_EQ(m_presenter->beginFrame(window, QRect(0, 0, 10, 10)), nullptr);
    m_presenter->endFrame(); // after a refused frame: nothing to show, and no harm
    EXPECT_EQ(m_presenter->framesPresented(), 0);
}

TEST_F(X11FramePresenterTest, AWindowUncoveredAfterAFrameReportsItsContentLost) {
    QWindow* window = showWindow(false);
    present(window, QRect(0, 0, 100, 50), 1);
    QList<QWindow*> lost;
    QObject::connect(m_presenter.get(), &X11FramePresenter::contentLost,
                     [&lost](QWindow* w) { lost.append(w); });
    m_probe->coverAndUncover(window->mapToGlobal(QPoint(0, 0)) * window->devicePixelRatio());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !lost.isEmpty(); }, 2000));
    EXPECT_EQ(lost.first(), window);
}

} // namespace
