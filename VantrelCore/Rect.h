#pragma once

#include <algorithm>

namespace vantrel {

// An axis-aligned rectangle in world points: (x, y) is the lower-left corner,
// y grows upward from the ground line.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double minX() const { return std::min(x, x + width); }
    double maxX() const { return std::max(x, x + width); }
    double minY() const { return std::min(y, y + height); }
    double maxY() const { return std::max(y, y + height); }

    // True when the two rectangles share interior area. Rectangles that only
    // touch along an edge or a corner do not intersect, and an empty rectangle
    // intersects nothing.
    bool intersects(const Rect& other) const {
        if (width == 0 || height == 0 || other.width == 0 || other.height == 0) {
            return false;
        }
        return minX() < other.maxX() && other.minX() < maxX() && minY() < other.maxY() &&
               other.minY() < maxY();
    }

    friend bool operator==(const Rect&, const Rect&) = default;
};

} // namespace vantrel

#include <array>
#include <cstddef>

namespace vantrel {

// A short list of rectangles kept inline, so hit tests never allocate.
// Six is the most any figure needs (a three-stem cactus).
class RectList {
public:
    static constexpr std::size_t capacity = 6;

    void push(const Rect& rect) { m_rects[m_count++] = rect; }
    std::size_t size() const { return m_count; }
    bool empty() const { return m_count == 0; }
    const Rect& operator[](std::size_t index) const { return m_rects[index]; }
    const Rect* begin() const { return m_rects.data(); }
    const Rect* end() const { return m_rects.data() + m_count; }

private:
    std::array<Rect, capacity> m_rects{};
    std::size_t m_count = 0;
};

} // namespace vantrel
