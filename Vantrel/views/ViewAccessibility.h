#pragma once

namespace vantrel {

// Installs (once) the accessibility of the game's custom views: the runway's
// named action that plays the game, and the decorative glyphs hidden from
// assistive technology. Called by those views' constructors.
void installViewAccessibility();

} // namespace vantrel
