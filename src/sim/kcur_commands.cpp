// The KCUR/CURV/ECUR command set (KOR, LUM, NAV). KOR and LUM write only location 11 and may send
// the number without a blank ("KCUR11", "CURV11,S...", "ECUR11,..."); NAV sends "KCUR 12",
// "CURV 12,S...", "ECUR 12,...". Blanks after the keyword are optional in every form.
//
// No reply: "KCUR n" (erase), "CURV n,<header>,u0,t0,u1,t1*" (header and first two points; the
// header field is kept exactly as sent, "S", setpoint code, thermocouple flag, name, serial),
// "ECUR n,u,t" (append one point; a trailing "*" is accepted). Factory locations ignore them; so
// does a full memory.
//
// "CURV? n" answers "nn,<header>,N|P,count,0.00000,000.0,u0,t0,...,9.99999,000.0": the two-digit
// location, the header as it was written (a name sent shorter than 9 characters is not padded,
// so the serial number follows it directly), "P" when the first temperature is not above the
// last, the pair count including the instrument's own first and last pair, then the pairs as
// they were sent. An empty location answers "-1,NO CURVE", which no location number matches.
// "FREE?" (shared with the header/point set) answers the bytes of memory left.
#include "sim/command_sets.h"
#include "sim/older_curves.h"

namespace kelvara::sim {

Answer handle_kcur_command(Instrument& in, const std::string& command) {
    if (command_set_of(in.model()) != CommandSet::Kcur) return Answer::not_mine();
    int location = 0;
    std::string rest;
    if (auto args = after_keyword(command, "CURV?")) {
        const auto n = location_field(*args);
        const SimCurve* c = n ? in.curve(*n) : nullptr;
        return Answer::reply(c ? older_curve_reply(in, *n, *c) : "-1,NO CURVE");
    }
    if (auto args = after_keyword(command, "CURV")) {
        if (split_location(without_star(*args), location, rest))
            older_curve_begin(in, location, rest);
        return Answer::none();
    }
    if (auto args = after_keyword(command, "ECUR")) {
        if (split_location(without_star(*args), location, rest))
            older_curve_append(in, location, rest);
        return Answer::none();
    }
    if (auto args = after_keyword(command, "KCUR")) {
        const auto n = location_field(without_star(*args));
        if (n && in.is_writable(*n)) in.erase(*n);
        return Answer::none();
    }
    return Answer::not_mine();
}

}  // namespace kelvara::sim
