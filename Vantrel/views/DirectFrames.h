#pragma once

#include <QObject>

#include <functional>

class QPainter;
class QWidget;

namespace vantrel {

namespace platform {
class FramePresenter;
}

// Sends the frames of one widget straight into its window through a
// FramePresenter, past Qt's repaint cycle, while that gives the same pixels:
// the widget is shown whole (no parent clips it, nothing lies over it, no
// child is shown), paints itself opaque and lies on whole device pixels.
// The window then shows more than Qt's backing store holds, so when the
// presenter reports the window's content lost, the widget repaints the
// ordinary way.
class DirectFrames : public QObject {
    Q_OBJECT

public:
    explicit DirectFrames(QWidget& widget);

    void setPresenter(platform::FramePresenter* presenter);

    // Paints the widget with `paint` (in its own coordinates) straight into the
    // window. False when it cannot: the caller then asks for an update().
    bool present(const std::function<void(QPainter&)>& paint);

    // The last frame went straight to the window (and none was painted the
    // ordinary way since).
    bool presented() const { return m_presented; }
    // Called from the widget's paintEvent: the backing store is current again.
    void painted() { m_presented = false; }

private:
    QWidget& m_widget;
    platform::FramePresenter* m_presenter = nullptr;
    bool m_presented = false;
};

} // namespace vantrel
