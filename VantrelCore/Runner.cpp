#include "VantrelCore/Runner.h"

#include "VantrelCore/CheckedMath.h"

#include <algorithm>
#include <cmath>

namespace vantrel {

namespace {

constexpr double subStep = 1.0 / 120;
constexpr double stallThreshold = 0.25;   // a longer frame means the machine slept
constexpr double resumeGraceTime = 0.65;  // frozen after a resume so the player can get ready
constexpr double jumpBufferTime = 0.09;   // a press just before landing still counts
constexpr double jumpCutHeight = 30;      // a released jump keeps full power up to here
constexpr double jumpCutVelocity = 170;   // then its upward speed is capped at this
constexpr double fastFallVelocity = -240; // pressing down in the air drops at least this fast
constexpr double downGravityFactor = 3;
constexpr double pointsPerScore = 12;
constexpr double difficultyRamp = 110; // seconds until the obstacle mix is hardest
constexpr int64_t speedLevels = 5;

constexpr double flyerElevations[3] = {6, 24, 54};

} // namespace

// A zero state would make the generator's first draws predictable, so 0 becomes 1.
Runner::Runner(uint64_t seed) : m_randomState(seed == 0 ? 1 : seed) {}

Runner Runner::posed(const Pose& pose, uint64_t seed) {
    Runner runner(seed);
    runner.m_phase = pose.phase;
    runner.m_elapsed = pose.elapsed;
    runner.m_distance = pose.distance;
    runner.m_height = pose.height;
    runner.m_downHeld = pose.downHeld;
    runner.m_resumeGrace = pose.resumeGrace;
    runner.m_obstacles = pose.obstacles;
    return runner;
}

void Runner::reinitialize(uint64_t seed) {
    const double width = m_worldWidth;
    *this = Runner(seed);
    m_worldWidth = width;
}

int64_t Runner::scoreFor(double distance) {
    return checkedTruncate(distance / pointsPerScore);
}

double Runner::speedAt(double elapsed) {
    return std::min(initialSpeed + acceleration * elapsed, maximumSpeed);
}

double Runner::difficultyAt(double elapsed) {
    return std::min(elapsed / difficultyRamp, 1.0);
}

int64_t Runner::speedLevelAt(double elapsed) {
    return std::min(checkedTruncate(difficultyAt(elapsed) * speedLevels) + 1, speedLevels);
}

RectList Runner::playerCollisionBoxes() const {
    RectList boxes;
    if (ducking()) {
        boxes.push({dinoX + 6, 3, 29, 10}); // body, flat on the ground
        boxes.push({dinoX + 29, 7, 10, 7}); // the head stretched forward
        return boxes;
    }
    const double h = m_height;
    boxes.push({dinoX + 14, h + 20, 14, 12}); // head
    boxes.push({dinoX + 6, h + 9, 17, 15});   // body
    boxes.push({dinoX + 9, h + 2, 12, 9});    // legs
    return boxes;
}

double Runner::nextRandom() {
    // 64-bit LCG; unsigned arithmetic wraps modulo 2^64 by definition.
    m_randomState = m_randomState * 0x5851F42D4C957F2DULL + 1;
    return static_cast<double>(m_randomState >> 33) / 2147483647.0;
}

void Runner::start() {
    reinitialize(m_randomState);
    m_phase = RunPhase::running;
    m_obstacles.push_back({0, m_worldWidth + 12, 16, 26, false, ObstacleKind::cactus, 0});
}

void Runner::act() {
    switch (m_phase) {
    case RunPhase::paused:
        m_phase = RunPhase::running;
        m_resumeGrace = resumeGraceTime;
        return;
    case RunPhase::ready:
    case RunPhase::over:
        start();
        tryJump();
        return;
    case RunPhase::running:
        tryJump();
        return;
    }
}

void Runner::tryJump() {
    if (m_resumeGrace > 0 || m_downHeld) {
        return;
    }
    if (m_height > 0) {
        m_jumpBuffer = jumpBufferTime;
        return;
    }
    takeOff();
}

void Runner::takeOff() {
    m_velocity = jumpVelocity;
    m_jumpReleased = false;
    m_jumps = checkedAdd(m_jumps, 1);
}

void Runner::releaseJump() {
    m_jumpReleased = true;
}

void Runner::setDucking(bool down) {
    if (m_phase != RunPhase::running) {
        m_downHeld = false;
        return;
    }
    m_downHeld = down;
    if (down) {
        m_jumpBuffer = 0;
        if (m_height > 0) {
            m_velocity = std::min(m_velocity, fastFallVelocity);
        }
    }
}

void Runner::pause() {
    if (m_phase == RunPhase::running) {
        m_phase = RunPhase::paused;
    }
    m_downHeld = false;
    m_jumpBuffer = 0;
}

void Runner::reset() {
    reinitialize(m_randomState);
}

void Runner::advance(double delta) {
    if (m_phase != RunPhase::running) {
        return;
    }
    if (!std::isfinite(delta) || delta <= 0) {
        return;
    }
    if (delta >= stallThreshold) {
        // The clock was held up (sleep, a stuck main thread): pause rather than
        // jump the world forward by time the player never saw.
        pause();
        return;
    }
    double remaining = delta;
    do {
        if (m_phase != RunPhase::running) {
            return;
        }
        const double h = std::min(remaining, subStep);
        step(h);
        remaining -= h;
    } while (remaining > 0);
}

void Runner::step(double dt) {
    if (m_resumeGrace > 0) {
        m_resumeGrace = std::max(m_resumeGrace - dt, 0.0);
        return;
    }

    // Ground motion at the speed reached by the end of the sub-step.
    const double elapsedAfter = m_elapsed + dt;
    const double dx = speedAt(elapsedAfter) * dt;
    m_elapsed = elapsedAfter;
    m_distance += dx;

    m_jumpBuffer = std::max(m_jumpBuffer - dt, 0.0);

    if (m_height > 0 || m_velocity > 0) {
        double v = m_velocity;
        if (m_jumpReleased && m_height >= jumpCutHeight && v > jumpCutVelocity) {
            v = jumpCutVelocity;
        }
        const double g = m_downHeld ? gravity * downGravityFactor : gravity;
        m_height += v * dt - 0.5 * g * dt * dt;
        m_velocity = v - g * dt;
        if (m_height <= 0) {
            m_height = 0;
            m_velocity = 0;
            if (m_jumpBuffer > 0) {
                if (!m_downHeld) {
                    takeOff();
                }
                m_jumpBuffer = 0;
            }
        }
    }

    for (Obstacle& obstacle : m_obstacles) {
        obstacle.x -= dx;
    }
    std::erase_if(m_obstacles, [](const Obstacle& o) { return o.x + o.width < -20; });

    if (m_obstacles.empty() || m_obstacles.back().x < m_worldWidth - m_nextGap) {
        spawn();
    }

    const RectList player = playerCollisionBoxes();
    double playerMinX = player[0].minX();
    double playerMaxX = player[0].maxX();
    for (const Rect& part : player) {
        playerMinX = std::min(playerMinX, part.minX());
        playerMaxX = std::max(playerMaxX, part.maxX());
    }
    for (const Obstacle& obstacle : m_obstacles) {
        // Every hit box lies within [x, x + max(width, 42)] (three stems 14
        // apart at most), so an obstacle wholly beside the player cannot hit
        // and is skipped without building its boxes.
        if (obstacle.x >= playerMaxX || obstacle.x + std::max(obstacle.width, 42.0) <= playerMinX) {
            continue;
        }
        for (const Rect& box : obstacle.collisionBoxes()) {
            for (const Rect& part : player) {
                if (box.intersects(part)) {
                    m_phase = RunPhase::over;
                    return;
                }
            }
        }
    }
}

void Runner::spawn() {
    const double u = nextRandom();
    const int64_t s = score();
    const double d = difficulty();

    Obstacle obstacle;
    bool flyer = false;
    if (s >= flyingUnlockScore && m_consecutiveFlyers < 2) {
        if (m_flyersSpawned == 0) {
            // The first flyer of a run always comes at mid height: the one
            // that teaches ducking.
            flyer = true;
            obstacle.elevation = flyerElevations[1];
        } else if (u < 0.22 + 0.16 * d) {
            flyer = true;
            const double u2 = nextRandom();
            const auto index = std::min(static_cast<int>(u2 * 3), 2);
            obstacle.elevation = flyerElevations[index];
        }
    }
    if (flyer) {
        obstacle.kind = ObstacleKind::pterodactyl;
        obstacle.width = 36;
        obstacle.height = 22;
        obstacle.clustered = false;
        m_flyersSpawned = checkedAdd(m_flyersSpawned, 1);
        m_consecutiveFlyers = checkedAdd(m_consecutiveFlyers, 1);
    } else {
        obstacle.kind = ObstacleKind::cactus;
        obstacle.clustered = s > 99 && u > 0.6;
        obstacle.width = !obstacle.clustered ? 16 : (u > 0.84 && s > 599 ? 44 : 30);
        obstacle.height = u < 0.4 ? 23 : 29;
        obstacle.elevation = 0;
        m_consecutiveFlyers = 0;
    }
    obstacle.id = m_nextID;
    obstacle.x = m_worldWidth + 24;
    m_obstacles.push_back(obstacle);
    m_nextID = checkedAdd(m_nextID, 1);

    // The gap is time at the current speed: 1.04-1.46 s of travel at first,
    // 0.74-1.16 s once the difficulty is full, plus the obstacle's own width.
    const double u3 = nextRandom();
    m_nextGap = obstacle.width + speed() * (0.42 * u3 + 1.04 - 0.3 * d);
}

} // namespace vantrel
