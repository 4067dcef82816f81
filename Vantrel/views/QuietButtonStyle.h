#pragma once

namespace vantrel {

// The look of the control row's buttons: only the label, dimmed to half while
// pressed; no background, no scaling.
struct QuietButtonStyle {
    static constexpr double pressedOpacity = 0.5;

    static double labelOpacity(bool pressed) { return pressed ? pressedOpacity : 1.0; }
};

} // namespace vantrel
