#include "protocol/headerpoint_wire.h"

#include "curve/next_field.h"
#include "curve/number_format.h"
#include "protocol/catalogue.h"
#include "protocol/headerpoint.h"

namespace kelvara::detail {

Wire::Wire(Session& s, Route route, bool crlf_on_gpib)
    : s_(s), route_(route), crlf_on_gpib_(crlf_on_gpib) {}

bool Wire::on_gpib() const {
    return route_ == Route::Chosen && s_.setup.interface == Interface::GPIB;
}

bool Wire::check_interface() {
    if (route_ == Route::Rs232Only) return true;
    const Interface i = s_.setup.interface;
    if (i == Interface::GPIB || i == Interface::RS232) return true;
    s_.prompts.message(kInvalidInterface);
    return false;
}

bool Wire::send(const std::string& command, bool clear_input) {
    if (route_ == Route::Rs232Only) return s_.link.send_command_rs232(command, clear_input);
    if (on_gpib()) {
        // The GPIB driver marks the last byte itself; only the RIL procedure adds CR LF there.
        if (s_.link.send_command(crlf_on_gpib_ ? command + "\r\n" : command, clear_input))
            return true;
        s_.prompts.message(kProblemTalking);
        return false;
    }
    return s_.link.send_command(command, clear_input);
}

std::string Wire::read(int gpib_buffer) {
    if (route_ == Route::Rs232Only) return s_.link.read_reply_rs232();
    return s_.link.read_reply(gpib_buffer);
}

void Wire::pause(const Pace& pace) {
    s_.link.pause(on_gpib() ? pace.gpib : pace.rs232);
}

bool poll_until_ready(Session& s, Wire& wire) {
    constexpr int kMaxPolls = 90;
    const bool clear = !wire.on_gpib();
    if (!wire.send("BUSY?", clear)) return false;
    wire.pause({0.1, 0.1});
    std::string reply = wire.read();
    int polls = 0;
    while ((reply.empty() || reply[0] != '0') && polls < kMaxPolls) {
        s.link.pause(1.0);
        ++polls;
        if (!wire.send("BUSY?", clear)) return false;
        wire.pause({0.1, 0.1});
        reply = wire.read();
        s.progress.set_label(s.progress.label().empty() ? kWaitingForInstrument : "");
    }
    return true;
}

bool read_back_location(Session& s, Wire& wire, const std::string& n, const Pace& pace,
                        Refresh refresh) {
    if (!wire.send("CRVHDR? " + n, !wire.on_gpib())) return false;
    wire.pause(pace);
    const auto [name, serial] = name_and_serial(wire.read());
    refresh_location_entry(s.picks,
                           refresh == Refresh::FromWrite ? PickedIn::Write : PickedIn::Delete, n,
                           header_point_entry(n, name, serial));
    return true;
}

std::string picked_curve_number(const ListField& list) {
    return trim_blanks(curve_number_field(list.text()));
}

}  // namespace kelvara::detail
