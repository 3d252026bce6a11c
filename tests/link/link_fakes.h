// Scripted transports for the link tests, plugged into one link on a virtual clock. The GPIB
// driver logs every call; the serial instrument answers each written line with pieces that
// arrive at given delays.
#pragma once

#include <algorithm>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "link/instrument_link.h"

namespace kelvara::test {

class FakeGpib : public GpibDriver {
  public:
    std::vector<int> register_results{0};  // one per register_globals(), the last repeats
    int descriptor = 5;
    int clear_failures = 0;           // ibclr fails this many times, then succeeds
    std::deque<bool> write_fails;     // one per ibwrt; none left: succeeds
    std::deque<std::string> replies;  // one per ibrd; none left: times out
    std::int32_t high_bits = 0;       // reported above the 16 bits of ibsta
    std::vector<std::string> log;

    long count(const std::string& call) const { return std::ranges::count(log, call); }

    int register_globals() override {
        log.push_back("register");
        return register_results[std::min(registers_++, register_results.size() - 1)];
    }
    void unregister_globals() override { log.push_back("unregister"); }
    int ibdev(int board, int pad, int sad, int tmo, int eot, int eos) override {
        std::string call = "ibdev";
        for (int v : {board, pad, sad, tmo, eot, eos}) call += " " + std::to_string(v);
        log.push_back(call);
        set(descriptor < 0, 0);
        return descriptor;
    }
    int ibclr(int) override {
        log.push_back("ibclr");
        return set(clears_++ < clear_failures, 0);
    }
    int ibwrt(int, const char* buffer, long count) override {
        log.push_back("ibwrt " + std::string(buffer, count));
        const bool fail = !write_fails.empty() && write_fails.front();
        if (!write_fails.empty()) write_fails.pop_front();
        return set(fail, fail ? 0 : count);
    }
    int ibrd(int, char* buffer, long count) override {
        log.push_back("ibrd " + std::to_string(count));
        if (replies.empty()) return set(true, 0);
        const std::string reply = replies.front();
        replies.pop_front();
        const long n = std::min<long>(count, static_cast<long>(reply.size()));
        std::copy_n(reply.begin(), n, buffer);
        return set(false, n);
    }
    int ibloc(int) override {
        log.push_back("ibloc");
        return set(false, 0);
    }
    int ibonl(int, int online) override {
        log.push_back("ibonl " + std::to_string(online));
        return set(false, 0);
    }
    std::int32_t thread_ibsta() override { return sta_ | high_bits; }
    std::int32_t thread_iberr() override { return 0; }
    std::int32_t thread_ibcntl() override { return cntl_; }

  private:
    int set(bool fail, long count) {
        cntl_ = static_cast<std::int32_t>(count);
        return sta_ = fail ? 0x8000 : 0x0100;
    }
    std::size_t registers_ = 0;
    int clears_ = 0;
    std::int32_t sta_ = 0, cntl_ = 0;
};

class FakeSerial : public SerialPort {
  public:
    using Answer = std::vector<std::pair<double, std::string>>;  // (delay, text); empty: silent
    explicit FakeSerial(Clock& clock) : clock_(clock) {}

    std::deque<Answer> answers;                          // one per written line
    std::vector<std::pair<double, std::string>> coming;  // (arrival time, text)
    std::vector<std::string> writes;
    SerialSettings settings;
    std::string device;
    int discards = 0;

    bool open(int, const std::string& dev, const SerialSettings& s) override {
        settings = s;
        device = dev;
        return open_ = true;
    }
    void close() override { open_ = false; }
    bool is_open() const override { return open_; }
    void discard_input() override {
        ++discards;
        std::erase_if(coming, [&](const auto& c) { return c.first <= clock_.now(); });
    }
    void write(const std::string& bytes) override {
        writes.push_back(bytes);
        if (answers.empty()) return;
        for (const auto& [delay, text] : answers.front())
            coming.emplace_back(clock_.now() + delay, text);
        answers.pop_front();
    }
    std::string take_input() override {
        std::string out;
        while (!coming.empty() && coming.front().first <= clock_.now()) {
            out += coming.front().second;
            coming.erase(coming.begin());
        }
        return out;
    }
    std::string device_name(int) const override { return {}; }

  private:
    Clock& clock_;
    bool open_ = false;
};

// A link with both transports, set up for `model` at GPIB address 7 or on /dev/pts/9.
struct Rig {
    VirtualClock clock;
    RecordingPrompts prompts;
    InstrumentLink link{clock, prompts};
    FakeGpib* gpib = new FakeGpib;
    FakeSerial* port = new FakeSerial(clock);
    SetupChoices choices;

    explicit Rig(InstrumentModel model) {
        link.set_gpib_driver(std::unique_ptr<GpibDriver>(gpib));
        link.set_serial_port(std::unique_ptr<SerialPort>(port));
        choices.model = model;
        choices.gpib_address = 7;
        choices.serial_device = "/dev/pts/9";
    }
};

}  // namespace kelvara::test
