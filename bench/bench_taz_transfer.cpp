// Writes a 200-point curve to a simulated TAZ and reads it back with the real clock, then
// reports how long each transfer took against the sum of the pauses it made. What is left over
// is our own cost: building lines, the link, the transport and the simulator's replies.
//
//   bench_taz_transfer                          in-process simulator over GPIB and over RS-232
//   bench_taz_transfer --serial DEVICE          a kelvara-sim pseudo-terminal, serial port
//   bench_taz_transfer --gpib-library PATH      GPIB through a library (the simulator's)
//   bench_taz_transfer --prologix DEVICE        GPIB through a kelvara-sim USB adapter
//   bench_taz_transfer --prologix-host H:PORT   GPIB through a kelvara-sim Ethernet adapter
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "curve/curve_record.h"
#include "curve/header_fields.h"
#include "curve/number_format.h"
#include "link/clock.h"
#include "link/instrument_link.h"
#include "protocol/transfers.h"
#include "sim/instrument.h"
#include "sim/sim_transports.h"

#ifdef KELVARA_HAVE_QT_SERIAL
#include <QCoreApplication>

#include "link/qt/qt_serial_port.h"
#include "link/qt/real_transports.h"
#endif

namespace {

using namespace kelvara;

// The real clock, keeping the sum of the pauses asked for.
class TallyClock : public Clock {
  public:
    explicit TallyClock(std::function<void()> events) : real_(std::move(events)) {}
    double now() override { return real_.now(); }
    void pause(double seconds) override {
        paused += seconds;
        const double start = real_.now();
        real_.pause(seconds);
        in_pauses += real_.now() - start;
    }
    void yield() override { real_.yield(); }
    double paused = 0;     // prescribed
    double in_pauses = 0;  // actually spent in them (more when the machine is busy)

  private:
    RealClock real_;
};

class PrintPrompts : public Prompts {
  public:
    void message(const std::string& text, const std::string&) override {
        std::fprintf(stderr, "message: %s\n", text.c_str());
        ++shown;
    }
    bool ask_yes_no(const std::string&) override { return true; }
    int shown = 0;
};

class NoScaling : public ScalingDialog {
  public:
    std::optional<ScalingFactors> ask(int, const ScalingFactors&) override { return std::nullopt; }
};

struct Measure {
    double elapsed = 0, paused = 0, in_pauses = 0;
};

struct Result {
    Measure write, read;
    bool same = false;
};

template <typename F>
Measure timed(TallyClock& clock, F&& f) {
    const double paused_before = clock.paused, in_before = clock.in_pauses;
    const auto start = std::chrono::steady_clock::now();
    f();
    const auto end = std::chrono::steady_clock::now();
    return {std::chrono::duration<double>(end - start).count(), clock.paused - paused_before,
            clock.in_pauses - in_before};
}

// Connects with `connect`, writes the curve to location 21, reads it back into a fresh record.
template <typename Connect>
Result run(const char* title, TallyClock& clock, Connect&& connect) {
    PrintPrompts prompts;
    SetupChoices setup;
    setup.model = InstrumentModel::TAZ;
    CurveRecord curve = CurveRecord::for_model(InstrumentModel::TAZ);
    HeaderFields header = HeaderFields::for_model(InstrumentModel::TAZ);
    PickLists picks = PickLists::for_model(InstrumentModel::TAZ);
    TransferState transfer;
    InstrumentLink link(clock, prompts);
    RecordingProgress progress;
    NoScaling scaling;
    Views views;
    Session s{setup, curve, header, picks, transfer, link, prompts, progress, scaling, views};
    connect(link, setup);
    if (setup.interface == Interface::None) {
        std::fprintf(stderr, "%s: the link did not open\n", title);
        return {};
    }

    for (int i = 0; i < 200; ++i) {
        curve.sensor_units[i] = 0.1 + 0.0123 * i;
        curve.temperatures[i] = 1.5 + 1.5 * i;
    }
    get_number_of_breakpoints(curve);
    header.name = "BENCH";
    header.serial_number = "B200";
    header.setpoint_text = "325";
    const int at21 = 21;  // the read list holds 0..60, the write list 21..60
    picks.write.selected = picks.remove.selected = 0;
    picks.read.selected = at21;

    Result r;
    const CurveRecord sent = curve;
    r.write = timed(clock, [&] { run_write_transfer(s); });
    curve = CurveRecord::for_model(InstrumentModel::TAZ);
    r.read = timed(clock, [&] { run_read_transfer(s); });
    // The instrument holds the numbers as they went out on the wire.
    r.same = prompts.shown == 0 && curve.breakpoint_count == 200;
    for (int i = 0; r.same && i < 200; ++i)
        r.same =
            format_sensor_units(curve.sensor_units[i]) ==
                format_sensor_units(sent.sensor_units[i]) &&
            format_temperature(curve.temperatures[i]) == format_temperature(sent.temperatures[i]);

    for (auto [what, m] : {std::pair{"write", r.write}, std::pair{"read", r.read}}) {
        const double over = m.elapsed - m.paused;
        std::printf(
            "%-28s %-5s %7.3f s elapsed, %7.3f s of pauses: overhead %6.3f s = %5.2f %% "
            "(work between pauses %6.3f s = %5.2f %%, pauses overrunning %6.3f s)\n",
            title, what, m.elapsed, m.paused, over, 100 * over / m.paused, m.elapsed - m.in_pauses,
            100 * (m.elapsed - m.in_pauses) / m.paused, m.in_pauses - m.paused);
    }
    std::printf("%-28s curve read back %s\n", title, r.same ? "identical" : "DIFFERENT");
    return r;
}

bool within_budget(const Result& r) {
    for (const Measure& m : {r.write, r.read})
        if (m.paused <= 0 || (m.elapsed - m.paused) / m.paused >= 0.02) return false;
    return r.same;
}

}  // namespace

int main(int argc, char** argv) {
    bool ok = true;
    const std::string mode = argc == 3 ? argv[1] : "";
    if (mode == "--gpib-library") {
        TallyClock clock({});
        const std::string path = argv[2];
        ok = within_budget(run("GPIB library", clock, [&](InstrumentLink& l, SetupChoices& c) {
            std::string error;
            l.set_gpib_driver(load_gpib_library(path, &error));
            if (!error.empty()) std::fprintf(stderr, "%s\n", error.c_str());
            l.setup_488(c);
        }));
    } else if (mode == "--serial" || mode == "--prologix" || mode == "--prologix-host") {
#ifdef KELVARA_HAVE_QT_SERIAL
        int qt_argc = 1;
        QCoreApplication app(qt_argc, argv);
        TallyClock clock([] { QCoreApplication::processEvents(); });
        const std::string target = argv[2];
        RealTransports transports;
        const char* title = mode == "--serial"     ? "kelvara-sim over a pty"
                            : mode == "--prologix" ? "GPIB adapter, USB (pty)"
                                                   : "GPIB adapter, Ethernet (TCP)";
        ok = within_budget(run(title, clock, [&](InstrumentLink& l, SetupChoices& c) {
            if (mode == "--serial") {
                l.set_serial_port(std::make_unique<QtSerialPort>());
                c.serial_device = target;
                l.setup_rs232(c);
                return;
            }
            c.interface = Interface::GPIB;
            c.gpib_route =
                mode == "--prologix" ? GpibRoute::UsbAdapter : GpibRoute::EthernetAdapter;
            (mode == "--prologix" ? c.adapter_device : c.adapter_host) = target;
            transports.attach(l, c);
            l.setup_488(c);
            if (!transports.failure().empty())
                std::fprintf(stderr, "%s\n", transports.failure().c_str());
        }));
#else
        std::fprintf(stderr, "built without the Qt serial port\n");
        return 2;
#endif
    } else if (argc == 1) {
        for (Interface i : {Interface::GPIB, Interface::RS232}) {
            sim::Instrument instrument(InstrumentModel::TAZ);
            TallyClock clock({});
            const char* title = i == Interface::GPIB ? "in-process simulator, GPIB"
                                                     : "in-process simulator, RS-232";
            ok = within_budget(run(title, clock,
                                   [&](InstrumentLink& l, SetupChoices& c) {
                                       if (i == Interface::GPIB) {
                                           l.set_gpib_driver(std::make_unique<sim::SimGpibDriver>(
                                               instrument, clock));
                                           l.setup_488(c);
                                       } else {
                                           l.set_serial_port(std::make_unique<sim::SimSerialPort>(
                                               instrument, clock));
                                           l.setup_rs232(c);
                                       }
                                   })) &&
                 ok;
        }
    } else {
        std::fprintf(stderr,
                     "usage: bench_taz_transfer [--serial DEVICE | --gpib-library PATH |\n"
                     "                           --prologix DEVICE | --prologix-host HOST:PORT]\n");
        return 2;
    }
    std::printf("overhead beyond the pauses %s 2 %%\n", ok ? "under" : "NOT under");
    return ok ? 0 : 1;
}
