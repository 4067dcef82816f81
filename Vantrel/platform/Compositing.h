#pragma once

#include <QObject>

class QRegion;
class QWindow;

namespace vantrel::platform {

// Whether a compositing manager blends windows onto the desktop, so that a
// translucent window's painted, antialiased edge is what the user sees; and the
// input shape such a window needs so that clicks beside its painted outline go
// to the windows underneath.
class Compositing : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    virtual bool active() const = 0;

    // Pointer input reaches `window` only inside `region` (its own coordinates);
    // elsewhere it goes through. What the window shows is not clipped. An empty
    // region drops the input shape: input then follows the window's own shape.
    virtual void setInputShape(QWindow* window, const QRegion& region) = 0;

signals:
    // A compositing manager started or stopped.
    void activeChanged(bool active);
};

// No compositing known: windows are cut to their outline instead.
class NullCompositing final : public Compositing {
    Q_OBJECT

public:
    using Compositing::Compositing;

    bool active() const override { return false; }
    void setInputShape(QWindow*, const QRegion&) override {}
};

} // namespace vantrel::platform
