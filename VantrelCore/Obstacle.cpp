#include "VantrelCore/Obstacle.h"

namespace vantrel {

std::string_view toString(ObstacleKind kind) {
    return kind == ObstacleKind::pterodactyl ? "pterodactyl" : "cactus";
}

std::optional<ObstacleKind> obstacleKindFromString(std::string_view raw) {
    if (raw == "cactus") {
        return ObstacleKind::cactus;
    }
    if (raw == "pterodactyl") {
        return ObstacleKind::pterodactyl;
    }
    return std::nullopt;
}

RectList Obstacle::collisionBoxes() const {
    RectList boxes;
    if (kind == ObstacleKind::pterodactyl) {
        boxes.push({x + 5, elevation + 6, width - 10, height - 12});
        boxes.push({x + 12, elevation + 3, width - 21, height - 6});
        return boxes;
    }
    // Stems stand 14 points apart; a cluster of width 30 has two, 44 has three.
    int stems = 1;
    if (clustered) {
        // max(truncate((width - 2) / 14), 2), capped at the three stems a
        // cluster can have so the inline box list never overflows.
        const double fitting = (width - 2) / 14;
        stems = fitting >= 3 ? 3 : 2;
    }
    for (int i = 0; i < stems; ++i) {
        const double sx = x + 14 * i;
        const double sh = i == 0 ? height : 0.8 * height;
        boxes.push({sx + 6, 1, 4, sh - 2});
        boxes.push({sx + 2, 0.35 * sh, 12, 0.4 * sh});
    }
    return boxes;
}

} // namespace vantrel
