#include "headerpoint_rig.h"

#include <algorithm>
#include <cstring>

#include "curve/number_format.h"

namespace kelvara::test {

void TimelineClock::pause(double seconds) {
    VirtualClock::pause(seconds);
    timeline_.add("pause " + general_text(seconds));
}

void FakeSerial::write(const std::string& bytes) {
    timeline_.add(bytes);
    partial_ += bytes;
    size_t end;
    while ((end = partial_.find_first_of("\r\n")) != std::string::npos) {
        const std::string line = partial_.substr(0, end);
        partial_.erase(0, end + 1);
        if (!line.empty() && respond_) input_ += respond_(line);
    }
}

int FakeGpib::ibwrt(int, const char* buffer, long count) {
    const std::string command(buffer, static_cast<size_t>(count));
    timeline_.add(command);
    if (timeline_.recording && ++writes_ == fail_write_number) return status(0x8000, 0);
    std::string line = command;
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
    reply_ = respond_ ? respond_(line) : std::string();
    return status(0x100, count);
}

int FakeGpib::ibrd(int, char* buffer, long count) {
    const long n = std::min<long>(count, static_cast<long>(reply_.size()));
    std::memcpy(buffer, reply_.data(), static_cast<size_t>(n));
    reply_.erase(0, static_cast<size_t>(n));
    return status(0x2100, n);
}

Rig::Rig(InstrumentModel model)
    : curve(CurveRecord::for_model(model)),
      header(HeaderFields::for_model(model)),
      picks(PickLists::for_model(model)) {
    setup.model = model;
    respond = [model](const std::string& command) -> std::string {
        if (command == "*IDN?" || command == "W2")
            return "TESSALY,MODEL " + std::string(designation(model)) + ",1,1\r\n";
        return "\r\n";
    };
}

void Rig::connect(Interface i) {
    if (i == Interface::GPIB) {
        auto g = std::make_unique<FakeGpib>(timeline, respond);
        gpib = g.get();
        link.set_gpib_driver(std::move(g));
        link.setup_488(setup);
    } else if (i == Interface::RS232) {
        link.set_serial_port(std::make_unique<FakeSerial>(timeline, respond));
        link.setup_rs232(setup);
    } else {
        setup.interface = Interface::None;
        link.set_interface(Interface::None);
    }
    timeline.recording = true;
    clock.pauses.clear();
}

void Rig::load_curve(const std::vector<std::pair<double, double>>& points) {
    for (size_t k = 0; k < points.size(); ++k) {
        curve.sensor_units[k] = points[k].first;
        curve.temperatures[k] = points[k].second;
    }
    get_number_of_breakpoints(curve);
}

void Rig::pick(ListField& list, int n) {
    for (size_t k = 0; k < list.entries.size(); ++k)
        if (parse_leading_number(list.entries[k]) == n) list.selected = static_cast<int>(k);
}

}  // namespace kelvara::test
