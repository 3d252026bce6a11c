#include "sim/simulated_transports.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "link/prologix_driver.h"
#include "sim/sim_transports.h"

namespace kelvara::sim {

SimAdapterStream::SimAdapterStream(PrologixAdapter& adapter, Clock& clock, std::string where)
    : adapter_(adapter),
      clock_(clock),
      where_(std::move(where)),
      virtual_time_(dynamic_cast<VirtualClock*>(&clock) != nullptr) {}

bool SimAdapterStream::open() {
    open_ = can_open && !adapter_.hung_up();
    return open_;
}

void SimAdapterStream::close() {
    if (open_) adapter_.disconnected();
    open_ = false;
}

bool SimAdapterStream::write(const std::string& bytes) {
    if (!is_open()) return false;
    adapter_.receive(bytes);
    return true;
}

std::string SimAdapterStream::read(double wait_seconds) {
    if (!is_open()) return {};
    std::string out = adapter_.take_output();
    if (!out.empty() || wait_seconds <= 0 || virtual_time_) return out;
    double sleep = wait_seconds;
    if (const auto next = adapter_.next_event())
        sleep = std::clamp(*next - clock_.now(), 0.0, sleep);
    std::this_thread::sleep_for(std::chrono::duration<double>(sleep));
    return adapter_.take_output();
}

std::string SimAdapterStream::error() const {
    if (!can_open) return "Connection refused";
    return adapter_.hung_up() ? "the adapter hung up" : std::string();
}

Instrument& SimulatedTransports::instrument(InstrumentModel model) {
    auto& slot = instruments_[model];
    if (!slot) slot = std::make_unique<Instrument>(model);
    return *slot;
}

Instrument* SimulatedTransports::find(InstrumentModel model) const {
    const auto it = instruments_.find(model);
    return it == instruments_.end() ? nullptr : it->second.get();
}

PrologixAdapter& SimulatedTransports::adapter(InstrumentModel model, Clock& clock) {
    auto& slot = adapters_[model];
    if (!slot) slot = std::make_unique<PrologixAdapter>(instrument(model), clock);
    return *slot;
}

void SimulatedTransports::attach(InstrumentLink& link, const SetupChoices& choices) {
    Instrument& simulated = instrument(choices.model);
    Clock& clock = link.clock();
    if (choices.interface == Interface::RS232) {
        link.set_gpib_driver(nullptr);
        link.set_serial_port(std::make_unique<SimSerialPort>(simulated, clock));
        return;
    }
    if (choices.interface != Interface::GPIB) return;
    link.set_serial_port(nullptr);
    if (choices.gpib_route == GpibRoute::Library) {
        link.set_gpib_driver(std::make_unique<SimGpibDriver>(simulated, clock));
        return;
    }
    const char* where =
        choices.gpib_route == GpibRoute::UsbAdapter ? "(simulated, USB)" : "(simulated, Ethernet)";
    link.set_gpib_driver(std::make_unique<PrologixDriver>(
        std::make_unique<SimAdapterStream>(adapter(choices.model, clock), clock, where), clock));
}

}  // namespace kelvara::sim
