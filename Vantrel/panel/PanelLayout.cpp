#include "Vantrel/panel/PanelLayout.h"

#include <algorithm>

namespace vantrel {

double PanelLayout::scoreRowHeight(double notchHeight) {
    return std::max(notchHeight, minimumScoresHeight);
}

} // namespace vantrel
