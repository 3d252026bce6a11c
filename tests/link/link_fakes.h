// Scripted transports for the link tests: every call is recorded with the virtual time at which
// it happened, and the replies are scripted per test.
#pragma once

#include <algorithm>
#include <deque>
#include <string>
#include <vector>

#include "link/clock.h"
#include "link/gpib_driver.h"
#include "link/serial_port.h"

namespace kelvara::test {

struct TimedEvent {
    double time;
    std::string what;
};

inline std::vector<std::string> whats(const std::vector<TimedEvent>& events) {
    std::vector<std::string> out;
    for (const auto& e : events) out.push_back(e.what);
    return out;
}

class ScriptedGpib : public GpibDriver {
  public:
    explicit ScriptedGpib(Clock& clock) : clock_(clock) {}

    // Script.
    std::vector<int> register_results = {0};  // one per register_globals() call, last repeats
    int descriptor = 5;
    int clear_failures = 0;           // ibclr fails this many times before it succeeds
    std::deque<bool> write_fails;     // per ibwrt; empty: succeeds
    std::deque<std::string> replies;  // one per ibrd; empty: nothing arrives (timeout)
    std::int32_t sta_override = -1;   // >= 0: thread_ibsta reports this instead

    // Record.
    std::vector<TimedEvent> calls;

    std::vector<std::string> names() const { return whats(calls); }
    long count(const std::string& prefix) const {
        return std::count_if(calls.begin(), calls.end(), [&](const TimedEvent& e) {
            return e.what.compare(0, prefix.size(), prefix) == 0;
        });
    }

    int register_globals() override {
        record("register");
        const auto n = std::min(registers_++, register_results.size() - 1);
        return register_results[n];
    }
    void unregister_globals() override { record("unregister"); }
    int ibdev(int board, int pad, int sad, int tmo, int eot, int eos) override {
        record("ibdev " + std::to_string(board) + " " + std::to_string(pad) + " " +
               std::to_string(sad) + " " + std::to_string(tmo) + " " + std::to_string(eot) + " " +
               std::to_string(eos));
        set(descriptor < 0 ? kErr : kCmpl, descriptor < 0 ? 4 : 0, 0);
        return descriptor;
    }
    int ibclr(int ud) override {
        record("ibclr " + std::to_string(ud));
        const bool fail = clears_++ < clear_failures;
        set(fail ? kErr : kCmpl, fail ? 2 : 0, 0);
        return sta_;
    }
    int ibwrt(int ud, const char* buffer, long count) override {
        record("ibwrt " + std::to_string(ud) + " [" + std::string(buffer, count) + "]");
        bool fail = false;
        if (!write_fails.empty()) {
            fail = write_fails.front();
            write_fails.pop_front();
        }
        set(fail ? kErr : kCmpl, fail ? 2 : 0, fail ? 0 : count);
        return sta_;
    }
    int ibrd(int ud, char* buffer, long count) override {
        record("ibrd " + std::to_string(ud) + " " + std::to_string(count));
        if (replies.empty()) {
            set(kErr | kTimo, 6, 0);
            return sta_;
        }
        const std::string r = replies.front();
        replies.pop_front();
        const long n = std::min<long>(count, static_cast<long>(r.size()));
        std::copy(r.begin(), r.begin() + n, buffer);
        set(kCmpl | kEnd, 0, n);
        return sta_;
    }
    int ibloc(int ud) override {
        record("ibloc " + std::to_string(ud));
        return kCmpl;
    }
    int ibonl(int ud, int online) override {
        record("ibonl " + std::to_string(ud) + " " + std::to_string(online));
        return kCmpl;
    }
    std::int32_t thread_ibsta() override { return sta_override >= 0 ? sta_override : sta_; }
    std::int32_t thread_iberr() override { return err_; }
    std::int32_t thread_ibcntl() override { return cntl_; }

    std::int32_t cntl_ = 0;

    static constexpr int kErr = 0x8000, kTimo = 0x4000, kEnd = 0x2000, kCmpl = 0x0100;

  private:
    void record(std::string what) { calls.push_back({clock_.now(), std::move(what)}); }
    void set(int sta, int err, std::int32_t cntl) {
        sta_ = sta;
        err_ = err;
        cntl_ = cntl;
    }
    Clock& clock_;
    std::size_t registers_ = 0;
    int clears_ = 0;
    int sta_ = 0, err_ = 0;
};

// A serial port whose instrument answers each written line with a scripted reply, delivered in
// pieces at given delays after the line was written.
class ScriptedSerial : public SerialPort {
  public:
    struct Piece {
        double delay;  // seconds after the command line was written
        std::string text;
    };
    using Answer = std::vector<Piece>;  // empty: the instrument stays silent

    explicit ScriptedSerial(Clock& clock) : clock_(clock) {}

    std::deque<Answer> answers;
    bool can_open = true;

    std::vector<TimedEvent> writes;  // exact bytes written
    std::vector<TimedEvent> events;  // open/close/discard
    SerialSettings settings;
    int opened_port = 0;
    std::string opened_device;

    // Bytes that are already waiting, as if the instrument had sent them unasked.
    void arrive_now(const std::string& text) { pending_.push_back({clock_.now(), text}); }

    bool open(int port, const std::string& device, const SerialSettings& s) override {
        events.push_back({clock_.now(), "open"});
        if (!can_open) return false;
        open_ = true;
        settings = s;
        opened_port = port;
        opened_device = device;
        return true;
    }
    void close() override {
        events.push_back({clock_.now(), "close"});
        open_ = false;
    }
    bool is_open() const override { return open_; }
    void discard_input() override {
        events.push_back({clock_.now(), "discard"});
        const double now = clock_.now();
        std::erase_if(pending_, [&](const Piece& p) { return p.delay <= now; });
    }
    void write(const std::string& bytes) override {
        writes.push_back({clock_.now(), bytes});
        if (answers.empty()) return;
        for (const auto& piece : answers.front())
            pending_.push_back({clock_.now() + piece.delay, piece.text});
        answers.pop_front();
    }
    std::string take_input() override {
        std::string out;
        const double now = clock_.now();
        while (!pending_.empty() && pending_.front().delay <= now) {
            out += pending_.front().text;
            pending_.pop_front();
        }
        return out;
    }
    std::string device_name(int port) const override { return "port" + std::to_string(port); }

  private:
    Clock& clock_;
    bool open_ = false;
    std::deque<Piece> pending_;  // delay holds the absolute arrival time here
};

}  // namespace kelvara::test
