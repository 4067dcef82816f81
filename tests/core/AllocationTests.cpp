// Checks that the per-tick bookkeeping does not touch the heap. Lives in its
// own program because it replaces the global allocator.
#include "VantrelCore/Runner.h"
#include "VantrelCore/ScoreCelebrations.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<long> allocations{0};
}

// The replacement pair below is matched (malloc/free); GCC cannot see that.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

void* operator new(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size == 0 ? 1 : size)) {
        return p;
    }
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}

using namespace vantrel;

TEST(Allocations, CelebrationsWithoutAwardAllocateNothing) {
    ScoreCelebrations celebrations(500);
    (void)celebrations.update(120);
    const long before = allocations.load();
    for (int64_t score = 0; score < 5000; ++score) {
        const auto awards = celebrations.update(score % 199);
        ASSERT_TRUE(awards.empty());
    }
    EXPECT_EQ(allocations.load() - before, 0);
    // An award does allocate, which shows the counter works.
    EXPECT_FALSE(celebrations.update(501).empty());
    EXPECT_GT(allocations.load() - before, 0);
}

TEST(Allocations, HitTestsAllocateNothing) {
    Runner runner(3);
    runner.act();
    runner.advance(1.0 / 60);
    const long before = allocations.load();
    long boxes = 0;
    for (int i = 0; i < 1000; ++i) {
        boxes += static_cast<long>(runner.playerCollisionBoxes().size());
        for (const Obstacle& o : runner.obstacles()) {
            boxes += static_cast<long>(o.collisionBoxes().size());
        }
    }
    EXPECT_EQ(allocations.load() - before, 0);
    EXPECT_GT(boxes, 0);
}
