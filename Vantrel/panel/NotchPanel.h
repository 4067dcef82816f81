#pragma once

#include "Vantrel/panel/PanelLayout.h"

#include <QWidget>

namespace vantrel::platform {
class Compositing;
class PanelSurface;
class WindowTraits;
} // namespace vantrel::platform

namespace vantrel {

// The borderless panel at the top of the screen: above other windows, on every
// workspace, out of the taskbar and the window switcher, without decoration or
// shadow. It takes pointer input only inside its black notch shape, so what is
// beside and below its rounded corners stays clickable, and keyboard focus only
// while it holds the open playfield. Where the desktop composites, the window is
// translucent and its painted, antialiased outline is the visible edge (the shape
// limits input only); elsewhere the window is cut to the outline, which follows
// the corner radius as it animates.
class NotchPanel : public QWidget {
    Q_OBJECT

public:
    static constexpr double expandedRadius = PanelLayout::expandedRadius;
    static constexpr double collapsedRadius = PanelLayout::collapsedRadius;

    // With a `surface`, the panel paints without a window of its own on screen and
    // is shown through that surface instead (a layer surface on Wayland). Without
    // `compositing`, the window is always cut to its outline.
    explicit NotchPanel(platform::WindowTraits& traits, platform::PanelSurface* surface = nullptr,
                        platform::Compositing* compositing = nullptr, QWidget* parent = nullptr);

    bool acceptsGameInput() const { return m_acceptsGameInput; }
    void setAcceptsGameInput(bool accepts);

    void setCornerRadius(double radius);
    double cornerRadius() const { return m_radius; }

    // The window shows its translucent painting, not a cut-out (a compositor runs).
    bool translucentOutline() const;

    void setContent(QWidget* content);
    QWidget* content() const { return m_content; }

    // Shows the panel without taking focus, keeping the panel's window-manager states.
    void orderFront();
    void orderOut();

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void updateMask();

    platform::WindowTraits& m_traits;
    platform::PanelSurface* m_surface;
    platform::Compositing* m_compositing;
    QWidget* m_content = nullptr;
    bool m_acceptsGameInput = false;
    double m_radius = collapsedRadius;
    bool m_inputShaped = false; // an input shape of its own, beside the window's cut
};

} // namespace vantrel
