#include "link/clock.h"

#include <chrono>
#include <numeric>
#include <thread>

namespace kelvara {

RealClock::RealClock(std::function<void()> events) : events_(std::move(events)) {}

double RealClock::now() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

void RealClock::pause(double seconds) {
    // The procedures expect a blocking wait: nothing else runs meanwhile. Sleeping until just
    // before the end and spinning the last moment keeps the wait exact on a loaded machine,
    // where a pure spin loses its time slice and overruns by tens of milliseconds.
    const double end = now() + seconds;
    constexpr double kSpin = 0.002;
    if (end - now() > kSpin)
        std::this_thread::sleep_for(std::chrono::duration<double>(end - now() - kSpin));
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
