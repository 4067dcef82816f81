#pragma once

#include "VantrelCore/Runner.h"

#include <string>

namespace vantrel::sim {

// One line of JSON with the runner's visible state. Doubles are written in
// the shortest form that reads back to the same value, so the text is
// identical on every machine that computes the same bits.
void appendStateJson(std::string& out, const Runner& runner);

void appendDouble(std::string& out, double value);

} // namespace vantrel::sim
