// The runway's frames and the changing scores shown straight in the window on
// a real X server (Xvfb, Qt on xcb), run at scales 1, 2 and 1.25: at whole
// scales they skip Qt's repaint and the window shows the very pixels Qt would
// have painted; where that cannot hold (a fractional scale, off the body, not
// opaque) they repaint the ordinary way; and a window uncovered again is
// repainted the ordinary way.

#include "ViewScenes.h"
#include "platform/PresenterTest.h"

#include "Vantrel/platform/Platform.h"
#include "Vantrel/views/NotchView.h"
#include "Vantrel/views/PaintedItem.h"
#include "Vantrel/views/RunwayView.h"

#include <QGuiApplication>
#include <QPainter>
#include <QTest>
#include <QWindow>

#include <xcb/xcb.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <memory>

using namespace vantrel;
using namespace vantrel::scenes;

namespace {

// Counts a widget's paint events, that is, its repaints through Qt.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(QWidget& widget) { widget.installEventFilter(this); }
    int count = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            ++count;
        }
        return false;
    }
};

class DirectFramesTest : public PresenterTest {
protected:
    static double ratio() { return qGuiApp->devicePixelRatio(); }
    static bool wholeScale() { return ratio() == std::floor(ratio()); }

    void syncServer() {
        // Qt's connection carried the frames: the server is done with them once it answers there.
        QCoreApplication::processEvents();
        ASSERT_TRUE(platform::syncWithDisplayServer());
    }

    // What the server shows of a top-level `widget`, all of its device pixels.
    QImage shown(QWidget& widget) {
        syncServer();
        const QSize size = (QSizeF(widget.size()) * ratio()).toSize();
        return m_probe->pixels(static_cast<xcb_window_t>(widget.winId()), QRect(QPoint(0, 0), size));
    }

    // What Qt paints for `widget` now, into the kind of image its window has.
    static QImage painted(QWidget& widget) {
        QImage image((QSizeF(widget.size()) * ratio()).toSize(), QImage::Format_RGB32);
        image.setDevicePixelRatio(ratio());
        image.fill(Qt::black);
        QPainter painter(&image);
        widget.render(&painter, QPoint(), QRegion(), QWidget::DrawChildren);
        painter.end();
        image.setDevicePixelRatio(1);
        return image;
    }

    static int differingPixels(const QImage& a, const QImage& b) {
        if (a.size() != b.size()) {
            return -1;
        }
        int differing = 0;
        for (int y = 0; y < a.height(); ++y) {
            for (int x = 0; x < a.width(); ++x) {
                differing += (a.pixel(x, y) | 0xff000000u) != (b.pixel(x, y) | 0xff000000u) ? 1 : 0;
            }
        }
        return differing;
    }

    void showAndSettle(QWidget& widget) {
        widget.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&widget));
        QTest::qWait(50); // Qt's first paint and flush
    }
};

Moment movingMoment(int frame) {
    Moment m;
    m.elapsed = 3 + frame / 60.0;
    m.distance = 600 + frame * 7.5;
    m.height = frame % 20 * 2.0;
    m.obstacles = {cactus(300 - frame * 7.5, 35), flyer(420 - frame * 9.0, 30)};
    return m;
}

TEST_F(DirectFramesTest, RunningFramesOnTheBodyGoStraightToTheWindowWithQtsPixels) {
    StoreFixture fixture;
    fixture.setMoment(movingMoment(0));
    RunwayView runway(fixture.store(), NotchView::runwayMint());
    runway.resize(440, 110);
    runway.setOnBody(true);
    runway.setFramePresenter(m_presenter.get());
    showAndSettle(runway);
    PaintCounter paints(runway);

    for (int frame = 1; frame <= 12; ++frame) {
        fixture.setMoment(movingMoment(frame));
        const QImage screen = shown(runway);
        const QImage expected = painted(runway);
        ASSERT_EQ(differingPixels(screen, expected), 0) << "frame " << frame << " at scale " << ratio();
    }
    if (wholeScale()) {
        EXPECT_EQ(m_presenter->framesPresented(), 12);
        // The only paints are the comparisons' own renders, one a frame.
        EXPECT_EQ(paints.count, 12);
    } else {
        // Off whole device pixels the view repaints through Qt, each frame.
        EXPECT_EQ(m_presenter->framesPresented(), 0);
        EXPECT_GE(paints.count, 24);
    }
}

TEST_F(DirectFramesTest, OffTheBodyOrWithTheCardTheRunwayRepaintsTheOrdinaryWay) {
    StoreFixture fixture;
    fixture.setMoment(movingMoment(0));
    RunwayView runway(fixture.store(), NotchView::runwayMint());
    runway.resize(440, 110);
    runway.setOnBody(false); // near the rounded corners: the panel paints the background
    runway.setFramePresenter(m_presenter.get());
    showAndSettle(runway);
    PaintCounter paints(runway);
    fixture.setMoment(movingMoment(1));
    ASSERT_TRUE(QTest::qWaitFor([&] { return paints.count >= 1; }, 2000));
    EXPECT_EQ(paints.count, 1);

    runway.setOnBody(true);
    Moment paused = movingMoment(2);
    paused.phase = RunPhase::paused; // the card is up
    fixture.setMoment(paused);
    ASSERT_TRUE(QTest::qWaitFor([&] { return paints.count >= 2; }, 2000));
    EXPECT_EQ(m_presenter->framesPresented(), 0);
    EXPECT_EQ(differingPixels(shown(runway), painted(runway)), 0);
}

TEST_F(DirectFramesTest, AWindowUncoveredAfterDirectFramesIsRepaintedTheOrdinaryWay) {
    StoreFixture fixture;
    fixture.setMoment(movingMoment(0));
    RunwayView runway(fixture.store(), NotchView::runwayMint());
    runway.resize(440, 112); // on whole device pixels at 1.25 too
    runway.setOnBody(true);
    runway.setFramePresenter(m_presenter.get());
    showAndSettle(runway);
    fixture.setMoment(movingMoment(5));
    ASSERT_EQ(m_presenter->framesPresented(), 1);
    PaintCounter paints(runway);
    // Qt's backing store still holds an older frame; the uncovered part must
    // show the current one, so the view repaints.
    m_probe->coverAndUncover(runway.mapToGlobal(QPoint(0, 0)) * ratio());
    ASSERT_TRUE(QTest::qWaitFor([&] { return paints.count >= 1; }, 2000))
        << "no repaint after the window was uncovered";
    const QImage screen = shown(runway);
    EXPECT_EQ(differingPixels(screen, painted(runway)), 0);
}

TEST_F(DirectFramesTest, AnOpaqueItemShowsItsChangeStraightInTheWindow) {
    int value = 1;
    PaintedItem item([&value](QPainter& painter, const QRectF& rect) {
        painter.fillRect(QRectF(rect.left() + 4, rect.top() + 4, value * 6, 10), QColor(80, 220, 160));
        painter.setPen(Qt::white);
        painter.drawLine(QPointF(0, rect.bottom() - 2), QPointF(value * 9.5, rect.top()));
    });
    item.setOpaqueBackground(Qt::black);
    item.resize(120, 24);
    item.setFramePresenter(m_presenter.get());
    showAndSettle(item);
    PaintCounter paints(item);
    for (value = 2; value <= 8; ++value) {
        item.refresh();
        const QImage screen = shown(item);
        ASSERT_EQ(differingPixels(screen, painted(item)), 0) << "value " << value;
    }
    // 120 x 24 points lie on whole device pixels at 1, 2 and 1.25: the
    // comparisons' renders are the only paints.
    EXPECT_EQ(paints.count, 7);
    EXPECT_EQ(m_presenter->framesPresented(), 7);
}

TEST_F(DirectFramesTest, AnItemWithoutItsOwnBackgroundRepaintsTheOrdinaryWay) {
    PaintedItem item([](QPainter& painter, const QRectF& rect) { painter.fillRect(rect, Qt::red); });
    item.resize(60, 20);
    item.setFramePresenter(m_presenter.get());
    showAndSettle(item);
    PaintCounter paints(item);
    item.refresh();
    ASSERT_TRUE(QTest::qWaitFor([&] { return paints.count >= 1; }, 2000));
    EXPECT_EQ(paints.count, 1);
    EXPECT_EQ(m_presenter->framesPresented(), 0);
}

TEST_F(DirectFramesTest, AnItemClippedOrCoveredRepaintsTheOrdinaryWay) {
    QWidget window;
    window.resize(200, 60);
    window.setAutoFillBackground(true);
    auto* item = new PaintedItem(
        [](QPainter& painter, const QRectF& rect) { painter.fillRect(rect, Qt::red); }, &window);
    item->setOpaqueBackground(Qt::black);
    item->setGeometry(150, 10, 100, 20); // half of it beyond the window's right edge
    item->setFramePresenter(m_presenter.get());
    showAndSettle(window);
    PaintCounter paints(*item);
    item->refresh();
    ASSERT_TRUE(QTest::qWaitFor([&] { return paints.count >= 1; }, 2000));
    EXPECT_EQ(m_presenter->framesPresented(), 0);

    item->setGeometry(20, 8, 100, 20);  // on whole device pixels at 1.25 too
    auto* cover = new QWidget(&window); // an opaque sibling above a corner of it
    cover->setAutoFillBackground(true);
    cover->setGeometry(100, 0, 40, 20);
    cover->show();
    QTest::qWait(50);
    paints.count = 0;
    item->refresh();
    ASSERT_TRUE(QTest::qWaitFor([&] { return paints.count >= 1; }, 2000));
    EXPECT_EQ(m_presenter->framesPresented(), 0);

    delete cover;
    QTest::qWait(50);
    paints.count = 0;
    item->refresh(); // whole and uncovered now
    EXPECT_EQ(m_presenter->framesPresented(), 1);
    QTest::qWait(50);
    EXPECT_EQ(paints.count, 0);
}

} // namespace
