#pragma once

namespace vantrel {

// Every measurement of the notch panel, in points (device-independent
// pixels), and the panel sizes they add up to. The store's panelWidth and
// panelHeight, the panel's frames (PanelGeometry), its mask (NotchPanel) and
// the notch view's layout all read them here.
//
// Expanded, from the top:
//   score row     max(notch height, 28)     beside the notch, level with it
//   top padding   9
//   runway        110 (roomy 140)
//   gap           3                         between the runway and the control row
//   control row   28
//   bottom pad    14                        room for the rounded bottom corners
//   ------------------------------------------------------------------------
//   body          9 + 110 + 3 + 28 + 14 = 164   (roomy 9 + 140 + 3 + 28 + 14 = 194)
// and across: 20 + runway 440 (roomy 560) + 20 = 480 (roomy 600).
struct PanelLayout {
    // Collapsed and peeking: the notch itself plus its ears, and the peek strip below it.
    static constexpr double earWidth = 7;         // each side of the notch shape
    static constexpr double lipHeight = 16;       // the peek strip under the notch
    static constexpr double peekGlyphWidth = 14;  // the peeking head's frame, centred in the strip
    static constexpr double peekGlyphHeight = 12; // and bottom-aligned in it

    // The notch shape's corner radius, animated between the two.
    static constexpr double collapsedRadius = 13;
    static constexpr double expandedRadius = 25;

    // Expanded body.
    static constexpr double bodyPaddingX = 20;        // left and right of the runway and control row
    static constexpr double bodyPaddingTop = 9;       // above the score row
    static constexpr double scoresPaddingX = 20;      // the score row starts this far inside the body
    static constexpr double minimumScoresHeight = 28; // the score row on a screen without a notch
    static constexpr double notchGapExtra = 28;       // the scores' gap is the notch's width plus this
    static constexpr double runwayWidth = 440;        // one world point to the point
    static constexpr double roomyRunwayWidth = 560;
    static constexpr double runwayHeight = 110;
    static constexpr double roomyRunwayHeight = 140;
    static constexpr double controlRowGap = 3; // the stack's spacing: the rest of the body's height
    static constexpr double controlRowHeight = 28;
    static constexpr double bodyPaddingBottom = 14;

    // The body under the score row: 9 + 110 + 3 + 28 + 14 = 164, roomy 9 + 140 + 3 + 28 + 14 = 194.
    static constexpr double bodyHeight =
        bodyPaddingTop + runwayHeight + controlRowGap + controlRowHeight + bodyPaddingBottom;
    static constexpr double roomyBodyHeight =
        bodyPaddingTop + roomyRunwayHeight + controlRowGap + controlRowHeight + bodyPaddingBottom;
    static_assert(bodyHeight == 164 && roomyBodyHeight == 194);

    // 20 + 440 + 20 = 480, roomy 20 + 560 + 20 = 600.
    static constexpr double expandedWidth = bodyPaddingX + runwayWidth + bodyPaddingX;
    static constexpr double roomyExpandedWidth = bodyPaddingX + roomyRunwayWidth + bodyPaddingX;
    static_assert(expandedWidth == 480 && roomyExpandedWidth == 600);

    // The score row's height: the notch's, but never less than 28.
    static double scoreRowHeight(double notchHeight);
    static double runwayHeightFor(bool roomy) { return roomy ? roomyRunwayHeight : runwayHeight; }

    // The panel's size in each state.
    static double collapsedWidth(double notchWidth) { return notchWidth + 2 * earWidth; }
    static double collapsedHeight(double notchHeight, bool peeking) {
        return notchHeight + (peeking ? lipHeight : 0);
    }
    static double expandedWidthFor(bool roomy) { return roomy ? roomyExpandedWidth : expandedWidth; }
    static double expandedHeight(double notchHeight, bool roomy) {
        return scoreRowHeight(notchHeight) + (roomy ? roomyBodyHeight : bodyHeight);
    }
};

} // namespace vantrel
