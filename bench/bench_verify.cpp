// What checking a write costs: the same curve written without and with the read-back check,
// for a TAZ over GPIB (200 points), a KIP over RS-232 at its 1200 baud (97 points) and a HOX
// over RS-232 (its 192 grid points). By default on the virtual clock: the pauses the procedures
// make and the time the replies take on the line. With --real the TAZ and the KIP run against
// the in-process simulator on the real clock (about five minutes).
//
//   bench_verify [--real]
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>

#include "link/clock.h"
#include "link/instrument_link.h"
#include "protocol/transfers.h"
#include "protocol/verify.h"
#include "sim/instrument.h"
#include "sim/sim_transports.h"

namespace {

using namespace kelvara;

class QuietPrompts : public Prompts {
  public:
    void message(const std::string& text, const std::string&) override {
        std::fprintf(stderr, "message: %s\n", text.c_str());
    }
    bool ask_yes_no(const std::string&) override { return true; }
};

class DefaultScaling : public ScalingDialog {
  public:
    std::optional<ScalingFactors> ask(int, const ScalingFactors& defaults) override {
        return defaults;
    }
};

struct Case {
    const char* title;
    InstrumentModel model;
    Interface bus;
    int points;
};

// Seconds on the clock the link runs on: virtual time, or the wall clock.
double seconds(Clock& clock, bool real, const std::function<void()>& work) {
    const auto wall = std::chrono::steady_clock::now();
    const double start = clock.now();
    work();
    return real ? std::chrono::duration<double>(std::chrono::steady_clock::now() - wall).count()
                : clock.now() - start;
}

bool run(const Case& c, bool real) {
    sim::Instrument instrument(c.model);
    if (c.bus == Interface::RS232) instrument.faults.parse("speed", profile(c.model).serial.baud);
    VirtualClock virtual_clock;
    RealClock real_clock;
    Clock& clock = real ? static_cast<Clock&>(real_clock) : virtual_clock;
    QuietPrompts prompts;
    SetupChoices setup;
    setup.model = c.model;
    CurveRecord curve = CurveRecord::for_model(c.model);
    HeaderFields header = HeaderFields::for_model(c.model);
    PickLists picks = PickLists::for_model(c.model);
    TransferState transfer;
    InstrumentLink link(clock, prompts);
    RecordingProgress progress;
    DefaultScaling scaling;
    Views views;
    Session s{setup, curve, header, picks, transfer, link, prompts, progress, scaling, views};
    if (c.bus == Interface::GPIB) {
        link.set_gpib_driver(std::make_unique<sim::SimGpibDriver>(instrument, clock));
        link.setup_488(setup);
    } else {
        link.set_serial_port(std::make_unique<sim::SimSerialPort>(instrument, clock));
        link.setup_rs232(setup);
    }
    if (setup.interface == Interface::None) return false;

    for (int i = 0; i < c.points; ++i) {
        if (c.model != InstrumentModel::HOX) curve.sensor_units[i] = 0.1 + 0.0123 * i;
        curve.temperatures[i] = 1.5 + 1.5 * i;
    }
    curve.breakpoint_count = c.points;
    header.name = "BENCH-CURVE";
    header.serial_number = "B1";
    header.setpoint_text = "325";
    for (ListField* l : {&picks.write, &picks.remove}) l->selected = l->entries.empty() ? -1 : 0;

    TransferResult written = TransferResult::Failed;
    const double plain = seconds(clock, real, [&] { written = run_write_transfer(s); });
    CurveCheck check;
    double write = 0;
    const double checked = seconds(clock, real, [&] {
        write = seconds(clock, real, [&] { written = run_write_transfer(s); });
        check = verify_last_write(s);
    });
    const bool ok = written == TransferResult::Done && check.outcome == CheckOutcome::Agree;
    std::printf(
        "%-22s %-4s unchecked write %8.2f s; checked %8.2f s (write %8.2f s + check %7.2f "
        "s) = %5.2f x; %s\n",
        c.title, real ? "real" : "clock", plain, checked, write, checked - write, checked / plain,
        ok ? "verified" : "NOT VERIFIED");
    return ok;
}

}  // namespace

int main(int argc, char** argv) {
    const bool real = argc == 2 && std::strcmp(argv[1], "--real") == 0;
    if (argc > 1 && !real) {
        std::fprintf(stderr, "usage: bench_verify [--real]\n");
        return 2;
    }
    const Case cases[] = {
        {"TAZ, GPIB, 200 points", InstrumentModel::TAZ, Interface::GPIB, 200},
        {"KIP, RS-232, 97 points", InstrumentModel::KIP, Interface::RS232, 97},
        {"HOX, RS-232, 192 points", InstrumentModel::HOX, Interface::RS232, 192},
    };
    bool ok = true;
    for (const Case& c : cases)
        if (!real || c.model != InstrumentModel::HOX) ok = run(c, real) && ok;
    return ok ? 0 : 1;
}
