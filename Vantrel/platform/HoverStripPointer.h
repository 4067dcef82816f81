#pragma once

#include "Vantrel/platform/DesktopPointer.h"

#include <memory>

namespace vantrel::platform {

class HoverStrip;

// The desktop pointer as seen through a HoverStrip: after the strip reports that
// the pointer went over a surface we cannot see, the position is far off screen
// until the strip reports it back over one we can. Without this the last position
// seen (inside the trigger strip, say) would stay current indefinitely.
class HoverStripPointer final : public DesktopPointer {
    Q_OBJECT

public:
    HoverStripPointer(std::unique_ptr<DesktopPointer> inner, HoverStrip& strip, QObject* parent = nullptr);

    void setActive(bool active) override;
    bool isActive() const override { return m_inner->isActive(); }
    QPointF position() const override;
    bool buttonsPressed() const override { return !m_away && m_inner->buttonsPressed(); }
    void refresh() override { m_inner->refresh(); }

    // Where the pointer is said to be while it is over a surface we cannot see.
    static QPointF awayPosition() { return {-1.0e6, -1.0e6}; }

private:
    void innerChanged();
    void left();
    void returned();

    std::unique_ptr<DesktopPointer> m_inner;
    bool m_away = false;
};

} // namespace vantrel::platform
