#pragma once

#include <QObject>
#include <QPointF>
#include <QTimer>

namespace vantrel::platform {

// Pointer movements and button changes anywhere on the desktop, not only over
// our own windows. While inactive nothing runs, so a still desktop costs nothing.
class DesktopPointer : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    virtual void setActive(bool active) = 0;
    virtual bool isActive() const = 0;
    // Global position in Qt's device-independent coordinates.
    virtual QPointF position() const = 0;
    // A mouse button is held (any of the first three).
    virtual bool buttonsPressed() const = 0;
    // position() is true now even if no event has come for a while: where the
    // compositor tells us when the pointer leaves, no news means it is still away.
    // Where positions are only sampled on events, the last one may be stale.
    virtual bool positionIsLive() const { return false; }
    // Looks where the pointer is now and reports it through changed(), while active:
    // for a hint that it moved in a way the events do not show (a warp makes no
    // device motion). Where every move is seen anyway, there is nothing to do.
    virtual void refresh() {}

signals:
    // The pointer moved or a button went down or up.
    void changed();
};

// Fallback where desktop-wide pointer events are not available: samples the
// pointer 20 times a second, and only while active. Sees buttons only over our windows.
class PolledDesktopPointer final : public DesktopPointer {
    Q_OBJECT

public:
    explicit PolledDesktopPointer(QObject* parent = nullptr);

    void setActive(bool active) override;
    bool isActive() const override { return m_timer.isActive(); }
    QPointF position() const override;
    bool buttonsPressed() const override;
    void refresh() override;

private:
    void sample();

    QTimer m_timer;
    QPointF m_last;
};

} // namespace vantrel::platform
