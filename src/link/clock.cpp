#include "link/clock.h"

#include <chrono>
#include <numeric>

namespace kelvara {

RealClock::RealClock(std::function<void()> events) : events_(std::move(events)) {}

double RealClock::now() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

void RealClock::pause(double seconds) {
    // A busy wait, as the instrument procedures expect: nothing else runs meanwhile.
    const double end = now() + seconds;
    while (now() < end) {
    }
}

void RealClock::yield() {
    if (events_) events_();
}

void VirtualClock::pause(double seconds) {
    pauses.push_back(seconds);
    now_ += seconds;
}

double VirtualClock::total_paused() const {
    return std::accumulate(pauses.begin(), pauses.end(), 0.0);
}

}  // namespace kelvara
