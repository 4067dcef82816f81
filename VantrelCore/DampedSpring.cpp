#include "VantrelCore/DampedSpring.h"

#include <cmath>

namespace vantrel {

bool DampedSpring::settled() const {
    return std::fabs(m_value - m_target) < 0.1 && std::fabs(m_velocity) < 1.0;
}

void DampedSpring::advance(double dt, double response) {
    if (!(dt > 0)) {
        return;
    }
    // NaN fails the comparison and becomes the minimum too.
    const double r = response > 0.05 ? response : 0.05;
    const double omega = 6.283185307179586 / r;

    // Critical damping (ratio 1) solves x'' + 2ωx' + ω²x = 0 in closed form:
    //   x(t) = (x0 + (v0 + ω·x0)·t)·e^(−ωt)
    //   v(t) = (v0 − ω·(v0 + ω·x0)·t)·e^(−ωt)
    // so the result does not depend on how a span of time is cut into steps.
    const double x = m_value - m_target;
    const double v = m_velocity;
    const double a = v + omega * x;
    const double e = std::exp(-omega * dt);
    m_value = m_target + e * (x + a * dt);
    m_velocity = e * (v - omega * a * dt);
}

} // namespace vantrel
