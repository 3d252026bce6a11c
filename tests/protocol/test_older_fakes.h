// A scripted instrument under a real InstrumentLink for the older instruments' procedures: the
// log interleaves every command line the instrument received with every pause that followed, so
// a test states a transfer as the table of lines and waits it should be.
#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "curve/number_format.h"
#include "link/instrument_link.h"
#include "protocol/older_procedures.h"
#include "protocol/session.h"
#include "protocol/transfers.h"
#include "sim/instrument.h"
#include "sim/sim_transports.h"

namespace kelvara::test {

// The instrument's reply to one command line (with its terminator), or "" for none.
using Responder = std::function<std::string(const std::string& command)>;

inline std::string wait_entry(double seconds) {
    return "wait " + general_text(seconds);
}

// "KCUR11|wait 1.1|..." as the log entries it stands for ("" is the empty log).
inline std::vector<std::string> entries(const std::string& text) {
    std::vector<std::string> out;
    for (std::size_t from = 0; !text.empty();) {
        const std::size_t bar = text.find('|', from);
        out.push_back(text.substr(from, bar == std::string::npos ? std::string::npos : bar - from));
        if (bar == std::string::npos) break;
        from = bar + 1;
    }
    return out;
}

class LoggingClock : public VirtualClock {
  public:
    explicit LoggingClock(std::vector<std::string>& log) : log_(log) {}
    void pause(double seconds) override {
        log_.push_back(wait_entry(seconds));
        VirtualClock::pause(seconds);
    }

  private:
    std::vector<std::string>& log_;
};

class ScriptedSerialPort : public SerialPort {
  public:
    ScriptedSerialPort(std::vector<std::string>& log, Responder& respond)
        : log_(log), respond_(respond) {}
    bool open(int, const std::string&, const SerialSettings&) override { return open_ = true; }
    void close() override { open_ = false; }
    bool is_open() const override { return open_; }
    void discard_input() override { waiting_.clear(); }
    void write(const std::string& bytes) override {
        std::string line = bytes;
        // Every line must leave with CR LF; a missing terminator shows up in the log.
        if (line.size() >= 2 && line.compare(line.size() - 2, 2, "\r\n") == 0)
            line.resize(line.size() - 2);
        else
            line += "<no CR LF>";
        log_.push_back(line);
        waiting_ += respond_(line);
    }
    std::string take_input() override { return std::exchange(waiting_, std::string()); }
    std::string device_name(int) const override { return "scripted"; }

  private:
    std::vector<std::string>& log_;
    Responder& respond_;
    bool open_ = false;
    std::string waiting_;
};

class ScriptedGpibDriver : public GpibDriver {
  public:
    ScriptedGpibDriver(std::vector<std::string>& log, Responder& respond,
                       std::function<bool(const std::string&)>& refuse)
        : log_(log), respond_(respond), refuse_(refuse) {}
    int register_globals() override { return 0; }
    void unregister_globals() override {}
    int ibdev(int, int, int, int, int, int) override {
        ok(0);
        return 3;
    }
    int ibclr(int) override { return ok(0); }
    int ibwrt(int, const char* buffer, long count) override {
        const std::string line(buffer, static_cast<std::size_t>(count));
        log_.push_back(line);
        if (refuse_ && refuse_(line)) return sta_ = 0x8000;
        reply_ = respond_(line);
        return ok(count);
    }
    int ibrd(int, char* buffer, long count) override {
        const long n = std::min<long>(count, static_cast<long>(reply_.size()));
        reply_.copy(buffer, static_cast<std::size_t>(n));
        reply_.erase(0, static_cast<std::size_t>(n));
        return ok(n);
    }
    int ibloc(int) override { return ok(0); }
    int ibonl(int, int) override { return ok(0); }
    std::int32_t thread_ibsta() override { return sta_; }
    std::int32_t thread_iberr() override { return 0; }
    std::int32_t thread_ibcntl() override { return cnt_; }

  private:
    int ok(long count) {
        cnt_ = static_cast<std::int32_t>(count);
        return sta_ = 0x0100;
    }
    std::vector<std::string>& log_;
    Responder& respond_;
    std::function<bool(const std::string&)>& refuse_;
    std::string reply_;
    std::int32_t sta_ = 0;
    std::int32_t cnt_ = 0;
};

// Scaling dialog that records what it was asked and answers as scripted.
class ScriptedScaling : public ScalingDialog {
  public:
    struct Asked {
        int code;
        ScalingFactors defaults;
    };
    std::vector<Asked> asked;
    bool confirm = true;                   // OK with the defaults
    std::optional<ScalingFactors> answer;  // when set, OK with these instead
    std::optional<ScalingFactors> ask(int code, const ScalingFactors& defaults) override {
        asked.push_back({code, defaults});
        if (!confirm) return std::nullopt;
        return answer ? answer : std::optional<ScalingFactors>(defaults);
    }
};

class CountingViews : public Views {
  public:
    int graphs = 0;
    int grids = 0;
    void update_graph() override { ++graphs; }
    void show_grid_from_top() override { ++grids; }
};

// The main window's state for one model, connected over the chosen interface to a scripted
// instrument. The identification exchange is answered and left out of the log.
struct OlderRig {
    std::vector<std::string> log;
    Responder respond;
    std::function<bool(const std::string&)> refuse;
    LoggingClock clock{log};
    RecordingPrompts prompts;
    SetupChoices setup;
    CurveRecord curve;
    HeaderFields header;
    PickLists picks;
    TransferState transfer;
    InstrumentLink link{clock, prompts};
    RecordingProgress progress;
    ScriptedScaling scaling;
    CountingViews views;
    Session session{setup, curve, header, picks, transfer, link, prompts, progress, scaling, views};

    OlderRig(InstrumentModel model, Interface bus, Responder instrument = {}) {
        setup.model = model;
        curve = CurveRecord::for_model(model);
        header = HeaderFields::for_model(model);
        picks = PickLists::for_model(model);
        respond = [this, instrument](const std::string& line) -> std::string {
            if (line == "*IDN?")
                return "TESSALY,MODEL " + std::string(designation(setup.model)) + ",1,1.0\r\n";
            if (line == "W2") return "W2,1\r\n";
            return instrument ? instrument(line) : std::string();
        };
        if (bus == Interface::RS232) {
            link.set_serial_port(std::make_unique<ScriptedSerialPort>(log, respond));
            link.setup_rs232(setup);
        } else if (bus == Interface::GPIB) {
            link.set_gpib_driver(std::make_unique<ScriptedGpibDriver>(log, respond, refuse));
            link.setup_488(setup);
        }
        setup.interface = bus;
        log.clear();
        clock.pauses.clear();
        prompts.shown.clear();
    }

    // Connected to a simulated instrument instead of a scripted one.
    OlderRig(InstrumentModel model, Interface bus, sim::Instrument& instrument) {
        setup.model = model;
        curve = CurveRecord::for_model(model);
        header = HeaderFields::for_model(model);
        picks = PickLists::for_model(model);
        if (bus == Interface::RS232) {
            link.set_serial_port(std::make_unique<sim::SimSerialPort>(instrument, clock));
            link.setup_rs232(setup);
        } else {
            link.set_gpib_driver(std::make_unique<sim::SimGpibDriver>(instrument, clock));
            link.setup_488(setup);
        }
        log.clear();
        clock.pauses.clear();
    }

    void set_points(const std::vector<std::pair<double, double>>& points) {
        curve = CurveRecord::for_model(setup.model);
        for (std::size_t i = 0; i < points.size(); ++i) {
            curve.sensor_units[i] = points[i].first;
            curve.temperatures[i] = points[i].second;
        }
        get_number_of_breakpoints(curve);
    }

    // Selects the entry of a pick list whose curve number is n.
    static void pick(ListField& list, int n) {
        for (std::size_t i = 0; i < list.entries.size(); ++i)
            if (parse_leading_number(list.entries[i]) == n) list.selected = static_cast<int>(i);
    }

    double waited() const { return clock.total_paused(); }

    // The model's procedures, as the progress dialogs choose them.
    void write() { run_write_transfer(session); }
    void read() { run_read_transfer(session); }
    void remove() { run_delete_transfer(session); }
};

}  // namespace kelvara::test
