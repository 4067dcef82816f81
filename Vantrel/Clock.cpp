#include "Vantrel/Clock.h"

#include <chrono>

namespace vantrel {

double SteadyClock::now() const {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

} // namespace vantrel
