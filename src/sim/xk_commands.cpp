// The XK/XC/XE/XD command set (KIP, DUN, ELK). Locations are sent as two digits ("05"); blanks
// after the keyword are accepted.
//
// No reply: "XK nn*" (erase), "XC nn,<header>,u0,t0,u1,t1*" (header and first two points; the
// header field is kept exactly as sent: interpolation character, setpoint code, thermocouple
// character, name, serial), "XE nn,u,t*" (append one point). Factory locations and a full memory
// ignore them.
//
// "XD nn" answers "nn,<header>,N|P,count,0.00000,000.0,u0,t0,...,9.99999,000.0" (count includes
// the instrument's own first and last pair, "P" when the first temperature is not above the
// last). An empty location answers "nn,<free> BYTES FREE,", e.g. "07,16168 BYTES FREE,".
// "XDT" (the catalogue) is answered in catalogue_commands.cpp.
#include "sim/command_sets.h"
#include "sim/older_curves.h"

namespace kelvara::sim {

Answer handle_xk_command(Instrument& in, const std::string& command) {
    if (command_set_of(in.model()) != CommandSet::Xk || command == "XDT") return Answer::not_mine();
    int location = 0;
    std::string rest;
    if (auto args = after_keyword(command, "XK")) {
        const auto n = location_field(without_star(*args));
        if (n && in.is_writable(*n)) in.erase(*n);
        return Answer::none();
    }
    if (auto args = after_keyword(command, "XC")) {
        if (split_location(without_star(*args), location, rest))
            older_curve_begin(in, location, rest);
        return Answer::none();
    }
    if (auto args = after_keyword(command, "XE")) {
        if (split_location(without_star(*args), location, rest))
            older_curve_append(in, location, rest);
        return Answer::none();
    }
    if (auto args = after_keyword(command, "XD")) {
        const auto n = location_field(*args);
        if (!n) return Answer::reply(std::to_string(in.free_bytes()) + " BYTES FREE,");
        const SimCurve* c = in.curve(*n);
        if (!c)
            return Answer::reply(two_digits(*n) + "," + std::to_string(in.free_bytes()) +
                                 " BYTES FREE,");
        return Answer::reply(older_curve_reply(in, *n, *c));
    }
    return Answer::not_mine();
}

}  // namespace kelvara::sim
