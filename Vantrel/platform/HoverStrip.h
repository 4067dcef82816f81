#pragma once

#include <QRect>

namespace vantrel::platform {

// A small surface over the hover trigger area, so that the compositor tells us
// when the pointer rests there even above windows whose pointer we cannot see
// (native Wayland windows). Shown while hovering can reveal the panel.
class HoverStrip {
public:
    virtual ~HoverStrip() = default;

    // The trigger area in Qt's global coordinates.
    virtual void setRect(const QRect& rect) = 0;
    virtual void setShown(bool shown) = 0;
};

class NullHoverStrip final : public HoverStrip {
public:
    void setRect(const QRect&) override {}
    void setShown(bool) override {}
};

} // namespace vantrel::platform
