#pragma once

#include <QObject>

class QImage;
class QRect;
class QWindow;

namespace vantrel::platform {

// Puts the frames of a widget that changes sixty times a second straight into
// its window, past Qt's repaint cycle. On X11 that cycle waits for the server
// before every paint, clears and flushes through the backing store and takes a
// second turn of the event loop: more than painting the runway itself costs.
// A presented frame does not reach the window's backing store, so the widget
// paints the ordinary way once it stops presenting (and after contentLost).
class FramePresenter : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // An image of `rect`'s size to paint the next frame into, in a format the
    // window shows as it is; `rect` is in the window's device pixels and the
    // frame must be opaque. Null when frames cannot go straight to `window` now
    // (not shown, or a kind of window this presenter cannot draw into): the
    // caller then paints the ordinary way.
    virtual QImage* beginFrame(QWindow* window, const QRect& rect) = 0;
    // Shows the image of the last beginFrame at its rectangle.
    virtual void endFrame() = 0;

signals:
    // The display server lost what was presented into `window` (part of it was
    // exposed again): it must be painted the ordinary way.
    void contentLost(QWindow* window);
};

} // namespace vantrel::platform
