#pragma once

#include "Vantrel/platform/HoverStrip.h"
#include "Vantrel/platform/wayland/LayerShellClient.h"
#include "Vantrel/platform/wayland/LayerSurface.h"

namespace vantrel::platform::wayland {

// The hover trigger area as a transparent layer surface that takes pointer
// input, so the compositor tells us when the pointer rests there over any window.
// Only the part of the area that lies on the screen is covered.
class LayerHoverStrip final : public HoverStrip, public SurfaceInput {
    Q_OBJECT

public:
    explicit LayerHoverStrip(LayerShellClient& client, QObject* parent = nullptr);

    void setRect(const QRect& rect) override;
    void setShown(bool shown) override;

    QPointF globalOrigin() const override { return m_visible.topLeft(); }
    void pointerButton(QPointF local, Qt::MouseButton button, bool pressed) override;

private:
    void update();

    LayerSurface m_surface;
    QRect m_visible;
    bool m_shown = false;
};

} // namespace vantrel::platform::wayland
