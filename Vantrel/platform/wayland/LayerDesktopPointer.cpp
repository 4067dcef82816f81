#include "Vantrel/platform/wayland/LayerDesktopPointer.h"

#include "Vantrel/platform/wayland/LayerShellClient.h"

namespace vantrel::platform::wayland {

namespace {
// Far outside any screen: what the hover logic should think of a pointer we cannot see.
constexpr double farAway = -1.0e6;
} // namespace

LayerDesktopPointer::LayerDesktopPointer(LayerShellClient& client, QObject* parent)
    : DesktopPointer(parent), m_client(client) {
    connect(&m_client, &LayerShellClient::pointerChanged, this, [this] {
        if (m_active) {
            emit changed();
        }
    });
}

QPointF LayerDesktopPointer::position() const {
    return m_client.pointerPosition().value_or(QPointF(farAway, farAway));
}

bool LayerDesktopPointer::buttonsPressed() const {
    return m_client.pointerButtonsHeld();
}

} // namespace vantrel::platform::wayland
