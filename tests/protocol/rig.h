// A procedure wired to a real InstrumentLink with a virtual clock: every byte sent and every pause
// lands in one time line. A simulated instrument answers; over RS-232 a test can put replies of
// its own in front of the instrument's.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "curve/number_format.h"
#include "link/instrument_link.h"
#include "link/prologix_driver.h"
#include "protocol/catalogue.h"
#include "protocol/headerpoint.h"
#include "protocol/older_procedures.h"
#include "protocol/session.h"
#include "protocol/transfers.h"
#include "sim/instrument.h"
#include "sim/sim_transports.h"
#include "sim/simulated_transports.h"

namespace kelvara::test {

using Log = std::vector<std::string>;
constexpr auto GPIB = Interface::GPIB, RS232 = Interface::RS232, NONE = Interface::None;
using Responder = std::function<std::string(const std::string& command)>;

// "CRVDEL {n}|0.1|CRVSAV": commands get `end` appended and {n} replaced, numbers are pauses.
inline Log script(const std::string& text, const std::string& n = "", const std::string& end = "") {
    Log out;
    for (size_t from = 0; !text.empty();) {
        const size_t bar = text.find('|', from);
        std::string item = text.substr(from, bar == std::string::npos ? bar : bar - from);
        for (size_t at; (at = item.find("{n}")) != std::string::npos;) item.replace(at, 3, n);
        out.push_back(is_numeric_text(item) ? "pause " + item : item + end);
        if (bar == std::string::npos) break;
        from = bar + 1;
    }
    return out;
}

// The first location a curve is written to; the HOX's one curve.
inline int user_location(InstrumentModel m) {
    const auto& w = profile(m).write_locations;
    return w.empty() ? sim::Instrument::kHoxLocation : w.front();
}

// Once recording: every byte sent and every pause ("pause 0.1"), in order.
class TimelineClock : public VirtualClock {
  public:
    Log events;
    bool recording = false;
    std::function<void()> after_write = [] {};  // run by the lines below after each write
    void add(std::string e) {
        if (recording) events.push_back(std::move(e));
    }
    void pause(double s) override {
        VirtualClock::pause(s);
        add("pause " + general_text(s));
    }
};

class FakeSerial : public SerialPort {
  public:
    FakeSerial(TimelineClock& t, Responder& r) : t_(t), respond_(r) {}
    bool open(int, const std::string&, const SerialSettings&) override { return open_ = true; }
    void close() override { open_ = false; }
    bool is_open() const override { return open_; }
    void discard_input() override { input_.clear(); }
    void write(const std::string& bytes) override {
        t_.add(bytes);
        partial_ += bytes;
        for (size_t end; (end = partial_.find_first_of("\r\n")) != std::string::npos;) {
            const std::string line = partial_.substr(0, end);
            partial_.erase(0, end + 1);
            if (!line.empty()) input_ += respond_(line);
        }
    }
    std::string take_input() override { return std::exchange(input_, std::string()); }
    std::string device_name(int) const override { return "fake"; }

  private:
    TimelineClock& t_;
    Responder& respond_;
    bool open_ = false;
    std::string input_, partial_;
};

// The simulated instrument's own GPIB driver, every write recorded as sent.
class LoggedGpib : public sim::SimGpibDriver {
  public:
    LoggedGpib(sim::Instrument& i, TimelineClock& t) : SimGpibDriver(i, t), t_(t) {}
    int ibwrt(int ud, const char* buffer, long count) override {
        t_.add(std::string(buffer, static_cast<size_t>(count)));
        const int status = SimGpibDriver::ibwrt(ud, buffer, count);
        t_.after_write();
        return status;
    }

  private:
    TimelineClock& t_;
};

// The simulated instrument's own serial port.
class HookedSerial : public sim::SimSerialPort {
  public:
    HookedSerial(sim::Instrument& i, TimelineClock& t) : SimSerialPort(i, t), t_(t) {}
    void write(const std::string& bytes) override {
        SimSerialPort::write(bytes);
        t_.after_write();
    }

  private:
    TimelineClock& t_;
};

// The host's end of a simulated GPIB adapter.
class HookedAdapterStream : public sim::SimAdapterStream {
  public:
    HookedAdapterStream(sim::PrologixAdapter& a, TimelineClock& t)
        : SimAdapterStream(a, t, "simulated adapter"), t_(t) {}
    bool write(const std::string& bytes) override {
        const bool ok = SimAdapterStream::write(bytes);
        t_.after_write();
        return ok;
    }

  private:
    TimelineClock& t_;
};

// Records what the scaling dialog was asked and confirms its defaults.
class RecordingScaling : public ScalingDialog {
  public:
    std::vector<int> codes;
    std::optional<ScalingFactors> ask(int code, const ScalingFactors& defaults) override {
        codes.push_back(code);
        return defaults;
    }
};

class CountingViews : public Views {
  public:
    int graphs = 0, grids = 0;
    void update_graph() override { ++graphs; }
    void show_grid_from_top() override { ++grids; }
};

// The main window's state for one model, linked to a simulated instrument.
struct Rig {
    sim::Instrument sim;
    Responder respond = [this](const std::string& c) { return sim.handle(c); };

    explicit Rig(InstrumentModel model)
        : sim(model),
          curve(CurveRecord::for_model(model)),
          header(HeaderFields::for_model(model)),
          picks(PickLists::for_model(model)) {
        setup.model = model;
    }
    // Over RS-232, answers `command` (or every command starting with it when `prefix`) with each
    // of `replies` in turn, the last one repeating, each with CR LF.
    void answer(const std::string& command, Log replies, bool prefix = false) {
        auto left = std::make_shared<Log>(std::move(replies));
        respond = [=, before = respond](const std::string& c) {
            if (prefix ? c.rfind(command, 0) != 0 : c != command) return before(c);
            const std::string r = left->front();
            if (left->size() > 1) left->erase(left->begin());
            return r + "\r\n";
        };
    }
    // Opens the link, then starts recording. Over RS-232 the replies of answer() come first,
    // unless `own_line`: then the simulated instrument's own serial port carries its line faults
    // to the link as a real line's would (GPIB always goes through its own driver).
    void connect(Interface i, bool own_line = false) {
        if (i == Interface::GPIB) {
            auto g = std::make_unique<LoggedGpib>(sim, clock);
            gpib = g.get();
            link.set_gpib_driver(std::move(g));
            link.setup_488(setup);
        } else if (i == Interface::RS232) {
            if (own_line)
                link.set_serial_port(std::make_unique<HookedSerial>(sim, clock));
            else
                link.set_serial_port(std::make_unique<FakeSerial>(clock, respond));
            link.setup_rs232(setup);
        } else {
            setup.interface = Interface::None;
        }
        start_recording();
    }
    // As connect, over GPIB through the adapter driver and a simulated adapter, whose record of
    // the bus then starts empty as well.
    void connect_through_adapter() {
        adapter = std::make_unique<sim::PrologixAdapter>(sim, clock);
        link.set_gpib_driver(std::make_unique<PrologixDriver>(
            std::make_unique<HookedAdapterStream>(*adapter, clock), clock));
        link.setup_488(setup);
        adapter->bus.clear();
        start_recording();
    }
    void start_recording() {
        clock.recording = true;
        clock.pauses.clear();
    }
    void load_curve(const std::vector<std::pair<double, double>>& points) {
        for (size_t k = 0; k < points.size(); ++k)
            std::tie(curve.sensor_units[k], curve.temperatures[k]) = points[k];
        get_number_of_breakpoints(curve);
    }
    // Selects the entry of a pick list whose curve number is n.
    static void pick(ListField& list, int n) { list.selected = find_entry_by_number(list, n); }
    void pick_all(int n) {
        for (ListField* l : {&picks.read, &picks.write, &picks.remove}) pick(*l, n);
    }

    TimelineClock clock;
    RecordingPrompts prompts;
    SetupChoices setup;
    CurveRecord curve;
    HeaderFields header;
    PickLists picks;
    TransferState transfer;
    std::unique_ptr<sim::PrologixAdapter> adapter;  // outlives the link, which closes through it
    InstrumentLink link{clock, prompts};
    RecordingProgress progress;
    RecordingScaling scaling;
    CountingViews views;
    LoggedGpib* gpib = nullptr;
    Session session{setup, curve, header, picks, transfer, link, prompts, progress, scaling, views};
};

}  // namespace kelvara::test
