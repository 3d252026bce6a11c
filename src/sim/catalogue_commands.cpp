// The catalogue queries of the older instruments: one reply line naming every stored curve.
// Empty locations are left out (the pick lists keep the bare location number for them).
//
// "CUID?" (KOR, LUM, NAV): one record per stored curve, in location order,
//     location number + "," + the three code characters of the header ("S", setpoint code,
//     thermocouple flag)
//     + name (the header's next 9 characters, or fewer when the field is shorter) + ","
//     + serial number + "," + "N" or "P" + ","
//   e.g. "0,S20DT-470   ,STD,N,11,S10MYCURVE12,SN9,P," (header "S10MYCURVE12SN9"; a name
//   written shorter than 9 characters runs into the serial number, as the curve reader sees
//   it too).
//
// "XDT" (KIP, DUN, ELK): "<free bytes> BYTES FREE,<k> CURVES," then one record per stored curve
// with increasing location numbers,
//     "nn," + interpolation character + "," + setpoint code + "," + name + ","
//   (the catalogue drops three fields from the number on and takes the fourth as the name)
//   e.g. "16168 BYTES FREE,5 CURVES,00,L,2,0,DT-470   ,". The first field is the free byte count
//   followed by exactly 11 characters (" BYTES FREE"), which is what the free-memory query cuts
//   off.
#include "sim/command_sets.h"
#include "sim/older_curves.h"

namespace kelvara::sim {

namespace {

std::string cuid_reply(const Instrument& in) {
    std::string out;
    for (int location : profile(in.model()).read_locations) {
        const SimCurve* c = in.curve(location);
        if (!c) continue;
        out += std::to_string(location) + "," + fit(c->header, 3) + fit(older_curve_name(*c), 9) +
               "," + older_curve_serial(*c) + "," + (rising(c->points) ? "P" : "N") + ",";
    }
    return out;
}

std::string xdt_reply(const Instrument& in) {
    std::string records;
    int stored = 0;
    for (int location : profile(in.model()).read_locations) {
        const SimCurve* c = in.curve(location);
        if (!c) continue;
        ++stored;
        const std::string codes = fit(c->header, 3);
        records += two_digits(location) + "," + codes.substr(0, 1) + "," + codes.substr(1, 1) +
                   "," + fit(older_curve_name(*c), 9) + ",";
    }
    return std::to_string(in.free_bytes()) + " BYTES FREE," + std::to_string(stored) + " CURVES," +
           records;
}

}  // namespace

Answer handle_catalogue_command(Instrument& in, const std::string& command) {
    const CatalogueQuery query = profile(in.model()).catalogue;
    if (command == "CUID?" && query == CatalogueQuery::Cuid) return Answer::reply(cuid_reply(in));
    if (command == "XDT" && query == CatalogueQuery::Xdt) return Answer::reply(xdt_reply(in));
    return Answer::not_mine();
}

}  // namespace kelvara::sim
