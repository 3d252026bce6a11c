// A simulated NI-488.2 library: the C entry points a GPIB program calls, answered by one
// simulated instrument. Configured by the environment when the first device is opened:
//   KELVARA_SIM_MODEL     model designation (default TAZ)
//   KELVARA_SIM_IDENTITY  reply to the identification query, when set
//   KELVARA_SIM_STATE     file holding the user curves: read at ibdev, rewritten after every
//                         command that changes a curve, so separate processes share one
//                         instrument
//   KELVARA_SIM_FAULTS    misbehaviour, e.g. "clear=3,writefail=10,readfail=5,hangup=8,noterm"
//                         (see Faults::parse; the serial pacing faults do not apply to GPIB)
// Delays are real: a slow reply makes ibrd wait.
#include <cstdlib>
#include <memory>
#include <mutex>

#include "link/clock.h"
#include "sim/instrument.h"
#include "sim/sim_transports.h"
#include "sim/state_file.h"

#define KELVARA_EXPORT __attribute__((visibility("default")))

extern "C" {
KELVARA_EXPORT int ibsta = 0;
KELVARA_EXPORT int iberr = 0;
KELVARA_EXPORT int ibcnt = 0;
KELVARA_EXPORT long ibcntl = 0;
}

namespace {

using kelvara::sim::Instrument;
using kelvara::sim::SimGpibDriver;

thread_local int thread_ibsta = 0;
thread_local int thread_iberr = 0;
thread_local int thread_ibcnt = 0;
thread_local long thread_ibcntl = 0;

struct Bus {
    kelvara::RealClock clock;
    std::unique_ptr<Instrument> instrument;
    std::unique_ptr<SimGpibDriver> driver;
    std::unique_ptr<kelvara::sim::StateKeeper> state;
};

std::mutex bus_mutex;

Bus& bus() {
    static Bus b;
    return b;
}

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

// Builds the instrument on the first ibdev; false when the environment names no known model or
// unreadable faults.
bool ensure_instrument(Bus& b) {
    if (b.instrument) return true;
    const std::string model_text = environment("KELVARA_SIM_MODEL");
    const auto model = kelvara::model_from_designation(model_text.empty() ? "TAZ" : model_text);
    if (!model) return false;
    auto instrument = std::make_unique<Instrument>(*model);
    if (const std::string identity = environment("KELVARA_SIM_IDENTITY"); !identity.empty())
        instrument->set_identity(identity);
    if (!instrument->faults.parse(environment("KELVARA_SIM_FAULTS"),
                                  kelvara::profile(*model).serial.baud))
        return false;
    b.instrument = std::move(instrument);
    b.driver = std::make_unique<SimGpibDriver>(*b.instrument, b.clock);
    b.state = std::make_unique<kelvara::sim::StateKeeper>(*b.instrument,
                                                          environment("KELVARA_SIM_STATE"));
    return true;
}

int publish(int result) {
    const kelvara::GpibStatus& s = bus().driver->status();
    const int status = static_cast<std::uint16_t>(s.ibsta);
    ibsta = thread_ibsta = status;
    iberr = thread_iberr = s.iberr;
    ibcnt = thread_ibcnt = static_cast<int>(s.ibcntl);
    ibcntl = thread_ibcntl = s.ibcntl;
    return result;
}

int fail_without_device() {
    ibsta = thread_ibsta = SimGpibDriver::ERR;
    iberr = thread_iberr = SimGpibDriver::EDVR;
    ibcnt = thread_ibcnt = 0;
    ibcntl = thread_ibcntl = 0;
    return SimGpibDriver::ERR;
}

}  // namespace

extern "C" {

KELVARA_EXPORT int ibdev(int board, int pad, int sad, int tmo, int eot, int eos) {
    std::lock_guard lock(bus_mutex);
    Bus& b = bus();
    if (!ensure_instrument(b)) return fail_without_device(), -1;
    // Another process may have changed the instrument since this one last opened it.
    b.state->load();
    return publish(b.driver->ibdev(board, pad, sad, tmo, eot, eos));
}

KELVARA_EXPORT int ibclr(int ud) {
    std::lock_guard lock(bus_mutex);
    if (!bus().driver) return fail_without_device();
    return publish(bus().driver->ibclr(ud));
}

KELVARA_EXPORT int ibwrt(int ud, const void* buffer, long count) {
    std::lock_guard lock(bus_mutex);
    Bus& b = bus();
    if (!b.driver) return fail_without_device();
    const int result = b.driver->ibwrt(ud, static_cast<const char*>(buffer), count);
    b.state->save_if_changed();
    return publish(result);
}

KELVARA_EXPORT int ibrd(int ud, void* buffer, long count) {
    std::lock_guard lock(bus_mutex);
    if (!bus().driver) return fail_without_device();
    return publish(bus().driver->ibrd(ud, static_cast<char*>(buffer), count));
}

KELVARA_EXPORT int ibloc(int ud) {
    std::lock_guard lock(bus_mutex);
    if (!bus().driver) return fail_without_device();
    return publish(bus().driver->ibloc(ud));
}

KELVARA_EXPORT int ibonl(int ud, int online) {
    std::lock_guard lock(bus_mutex);
    if (!bus().driver) return fail_without_device();
    return publish(bus().driver->ibonl(ud, online));
}

KELVARA_EXPORT int ThreadIbsta() {
    return thread_ibsta;
}
KELVARA_EXPORT int ThreadIberr() {
    return thread_iberr;
}
KELVARA_EXPORT int ThreadIbcnt() {
    return thread_ibcnt;
}
KELVARA_EXPORT long ThreadIbcntl() {
    return thread_ibcntl;
}

}  // extern "C"
