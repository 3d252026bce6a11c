#include "link/clock.h"

#include <algorithm>
#include <chrono>
#include <numeric>
#include <thread>

namespace kelvara {

namespace {

// Sleeping until just before the end of a wait and spinning the last moment keeps the wait
// exact on a loaded machine, where a pure spin loses its time slice and overruns by tens of
// milliseconds.
constexpr double kSpin = 0.002;
// How often a cancellable wait looks at its flag: well inside the second a user waits for.
constexpr double kCancelLook = 0.02;

}  // namespace

bool Clock::pause_unless(double seconds, const std::atomic<bool>& stop) {
    if (stop.load()) return false;
    pause(seconds);
    return !stop.load();
}

RealClock::RealClock(std::function<void()> events) : events_(std::move(events)) {}

double RealClock::now() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

void RealClock::pause(double seconds) {
    // The procedures expect a blocking wait: nothing else runs meanwhile.
    const double end = now() + seconds;
    if (end - now() > kSpin)
        std::this_thread::sleep_for(std::chrono::duration<double>(end - now() - kSpin));
    while (now() < end) {
    }
}

bool RealClock::pause_unless(double seconds, const std::atomic<bool>& stop) {
    const double end = now() + seconds;
    for (double left = end - now(); left > kSpin; left = end - now()) {
        if (stop.load()) return false;
        std::this_thread::sleep_for(
            std::chrono::duration<double>(std::min(left - kSpin, kCancelLook)));
    }
    while (now() < end) {
    }
    return !stop.load();
}

void RealClock::yield() {
    if (events_) {
        events_();
    } else {
        // Nothing to service: a transport that does not wait for input itself must not make
        // the reply loop spin.
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void VirtualClock::pause(double seconds) {
    pauses.push_back(seconds);
    now_ += seconds;
}

double VirtualClock::total_paused() const {
    return std::accumulate(pauses.begin(), pauses.end(), 0.0);
}

}  // namespace kelvara
