// The header/point command set (TAZ, DAL, FEN, MEP, OBR, PIX, QUA/RIL, GIR, VEM, WUN, ZEK).
//
// Replies (without the "\r\n" every reply ends in):
//   "CRVHDR? n"  name padded to 15, ",", serial padded to 10, ",", format, ",", limit, ",",
//                coefficient, e.g. "DT-470         ,STANDARD  ,2,475.000,1". An empty location
//                (or one the instrument does not have) answers blanks and zeros:
//                "               ,          ,0,0.000,0".
//   "CRVPT? n,i" units, ",", temperature, exactly as they were sent ("0.09062,475.000"; in
//                exponent form with Faults::exponent, as the limit above); a point
//                beyond the curve answers "0.00000,0.000", which ends a reader's loop.
//   "BUSY?"      "1" while a save is in progress (Faults::busy_polls answers after each
//                "CRVSAV"), then "0".
//   "FREE?"      bytes of curve memory left, as an integer.
// No reply: "CRVHDR n,name,serial,format,limit,coefficient" (name and serial may be enclosed in
// double quotation marks; name kept to 15 characters, serial to 10), "CRVPT n,i,units,temp",
// "CRVDEL n", "CRVSAV", "*RST". Writes and erasures of factory locations are ignored, as the
// instrument refuses them.
#include "sim/command_sets.h"

namespace kelvara::sim {

namespace {

constexpr const char* kEmptyPoint = "0.00000,0.000";

std::string header_reply(const Instrument& in, const SimCurve* c) {
    if (!c) return fit("", 15) + "," + fit("", 10) + ",0,0.000,0";
    return fit(c->name, 15) + "," + fit(c->serial, 10) + "," + c->format + "," +
           in.reply_number(c->limit) + "," + c->coefficient;
}

Answer header_query(Instrument& in, const std::string& args) {
    const auto n = location_field(args);
    return Answer::reply(header_reply(in, n ? in.curve(*n) : nullptr));
}

Answer point_query(Instrument& in, const std::string& args) {
    const auto fields = split_fields(args);
    if (fields.size() != 2) return Answer::reply(kEmptyPoint);
    const auto n = location_field(fields[0]);
    const auto i = location_field(fields[1]);
    const SimCurve* c = n ? in.curve(*n) : nullptr;
    if (!c || !i || *i < 1 || *i > static_cast<int>(c->points.size()))
        return Answer::reply(kEmptyPoint);
    const SimPoint& p = c->points[static_cast<std::size_t>(*i - 1)];
    return Answer::reply(in.reply_number(p.units) + "," + in.reply_number(p.temperature));
}

SimCurve& curve_for_writing(Instrument& in, int location) {
    if (!in.curve(location)) in.store(location, SimCurve{});
    return *in.mutable_curve(location);
}

void header_write(Instrument& in, const std::string& args) {
    const auto fields = split_fields(args, true);
    if (fields.size() != 6) return;
    const auto n = location_field(fields[0]);
    if (!n || !in.is_writable(*n)) return;
    SimCurve& c = curve_for_writing(in, *n);
    c.name = fields[1].substr(0, 15);
    if (in.faults.corrupt_header && !c.name.empty()) c.name.pop_back();
    c.serial = fields[2].substr(0, 10);
    c.format = trim_text(fields[3]);
    c.limit = trim_text(fields[4]);
    c.coefficient = trim_text(fields[5]);
    in.touch();
}

void point_write(Instrument& in, const std::string& args, int max_points) {
    const auto fields = split_fields(args);
    if (fields.size() != 4) return;
    const auto n = location_field(fields[0]);
    const auto i = location_field(fields[1]);
    if (!n || !i || !in.is_writable(*n) || *i < 1 || *i > max_points) return;
    curve_for_writing(in, *n);
    in.put_point(*n, static_cast<std::size_t>(*i - 1),
                 {trim_text(fields[2]), trim_text(fields[3])});
}

}  // namespace

Answer handle_headerpoint_command(Instrument& in, const std::string& command) {
    if (command_set_of(in.model()) != CommandSet::HeaderPoint) {
        // The older instruments that report free memory share the query.
        if (command == "FREE?" && command_set_of(in.model()) == CommandSet::Kcur)
            return Answer::reply(std::to_string(in.free_bytes()));
        return Answer::not_mine();
    }
    if (auto args = after_keyword(command, "CRVHDR?")) return header_query(in, *args);
    if (auto args = after_keyword(command, "CRVPT?")) return point_query(in, *args);
    if (auto args = after_keyword(command, "CRVHDR")) {
        header_write(in, *args);
        return Answer::none();
    }
    if (auto args = after_keyword(command, "CRVPT")) {
        point_write(in, *args, max_breakpoints_of(in.model()));
        return Answer::none();
    }
    if (auto args = after_keyword(command, "CRVDEL")) {
        const auto n = location_field(*args);
        if (n && in.is_writable(*n)) in.erase(*n);
        return Answer::none();
    }
    if (command == "CRVSAV") {
        in.busy_counter() = in.faults.busy_polls;
        return Answer::none();
    }
    if (command == "BUSY?") {
        if (in.busy_counter() == Faults::kBusyForever) return Answer::reply("1");
        if (in.busy_counter() > 0) {
            --in.busy_counter();
            return Answer::reply("1");
        }
        return Answer::reply("0");
    }
    if (command == "FREE?") return Answer::reply(std::to_string(in.free_bytes()));
    if (command == "*RST") {
        in.busy_counter() = 0;
        return Answer::none();
    }
    return Answer::not_mine();
}

}  // namespace kelvara::sim
