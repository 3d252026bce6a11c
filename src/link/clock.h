// Time for the link. The real clock waits on a monotonic clock; the virtual clock advances
// instantly and records every pause, so tests assert exact waits without waiting.
#pragma once

#include <atomic>
#include <functional>
#include <vector>

namespace kelvara {

class Clock {
  public:
    virtual ~Clock() = default;
    virtual double now() = 0;                // seconds, monotonic
    virtual void pause(double seconds) = 0;  // busy wait: the user interface is not serviced
    // A pause that ends early once `stop` is set (a cancelled transfer must not sit out a 20 s
    // wait); false when it did. The default looks at `stop` only before pausing.
    virtual bool pause_unless(double seconds, const std::atomic<bool>& stop);
    // One pass of the event loop while a serial reply is awaited; the virtual clock advances by a
    // small step instead so that a silent instrument times out.
    virtual void yield() = 0;
};

class RealClock : public Clock {
  public:
    // events: called by yield() to let the GUI/serial port deliver data (may be empty).
    explicit RealClock(std::function<void()> events = {});
    double now() override;
    void pause(double seconds) override;
    bool pause_unless(double seconds, const std::atomic<bool>& stop) override;
    void yield() override;

  private:
    std::function<void()> events_;
};

class VirtualClock : public Clock {
  public:
    double now() override { return now_; }
    void pause(double seconds) override;
    void yield() override { now_ += yield_step; }
    void advance(double seconds) { now_ += seconds; }

    std::vector<double> pauses;  // every pause(), in order
    double yield_step = 0.01;
    double total_paused() const;

  private:
    double now_ = 0;
};

}  // namespace kelvara
