#pragma once

#include "VantrelCore/Rect.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace vantrel {

enum class ObstacleKind { cactus, pterodactyl };

std::string_view toString(ObstacleKind kind);
std::optional<ObstacleKind> obstacleKindFromString(std::string_view raw);

// Something on the runway. x is the left edge in world points and falls as
// the world scrolls; elevation is the bottom edge above the ground (0 for cacti).
struct Obstacle {
    int64_t id = 0;
    double x = 0;
    double width = 0;
    double height = 0;
    bool clustered = false;
    ObstacleKind kind = ObstacleKind::cactus;
    double elevation = 0;

    // Hit boxes, deliberately smaller than the drawn figure. Pterodactyl:
    // body then head and wing. Cactus: per stem, trunk then arms, stem 0 first.
    RectList collisionBoxes() const;

    friend bool operator==(const Obstacle&, const Obstacle&) = default;
};

} // namespace vantrel
