#pragma once

#include "Vantrel/platform/DesktopPointer.h"

namespace vantrel::platform::wayland {

class LayerShellClient;

// The pointer as far as the compositor shows it to us: only over our own
// surfaces (the hover strip and the panel). Elsewhere it is reported as far
// away, which is all the hover logic needs, and nothing wakes us while it moves there.
class LayerDesktopPointer final : public DesktopPointer {
    Q_OBJECT

public:
    explicit LayerDesktopPointer(LayerShellClient& client, QObject* parent = nullptr);

    void setActive(bool active) override { m_active = active; }
    bool isActive() const override { return m_active; }
    QPointF position() const override;
    bool buttonsPressed() const override;
    bool positionIsLive() const override { return true; }

private:
    LayerShellClient& m_client;
    bool m_active = false;
};

} // namespace vantrel::platform::wayland
