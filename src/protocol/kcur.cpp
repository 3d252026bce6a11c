// KOR, LUM and NAV: "KCUR" erases, "CURV" stores the header with the first two points, "ECUR"
// appends a point, "CURV?" returns the whole curve in one line.
#include <string>

#include "curve/number_format.h"
#include "protocol/catalogue.h"
#include "protocol/headerpoint_wire.h"
#include "protocol/kcur_shared.h"
#include "protocol/older_procedures.h"
#include "protocol/write_plans.h"

namespace kelvara {

using detail::Wire;

namespace {

enum class Kcur { KOR, LUM, NAV };

// The instrument holds its whole curve in one reply line of up to 97 pairs.
constexpr int kCurveReplyBuffer = 1500;

bool rs232_only(Kcur m) {
    return m != Kcur::NAV;
}

double delay_of(Kcur m, Interface i) {
    switch (m) {
        case Kcur::KOR:
            return 1.1;
        case Kcur::LUM:
            return 0.6;
        case Kcur::NAV:
            break;
    }
    return i == Interface::GPIB ? 0.1 : 0.6;
}

// KOR and LUM only ever hold the user curve in location 11.
std::string location_text(Kcur m, const std::string& n) {
    return m == Kcur::NAV ? " " + n : "11";
}

// Followed by the header field, which begins with "S".
std::string header_command(Kcur m, const std::string& n) {
    switch (m) {
        case Kcur::KOR:
            return "CURV11,";
        case Kcur::LUM:
            return "CURV 11,";
        case Kcur::NAV:
            break;
    }
    return "CURV " + n + ",";
}

TransferResult write_curve(Session& s, Kcur m) {
    Wire wire(s);
    if (m == Kcur::NAV) {
        const std::optional<std::int32_t> free = detail::query_free_points(wire);
        if (!free) return wire.result();
        if (*free < 100) return wire.stop_with(kNotEnoughMemory);
    }
    const int count = s.curve.breakpoint_count;
    if (count < 2) return wire.stop_with(kNothingSent);
    const std::string n = m == Kcur::NAV ? curve_number_of_entry(s.picks.write.text()) : "11";
    const SentCurve& sent = s.transfer.sent = detail::plan_older_write(s, SentForm::Kcur, n);
    if (!wire.check_interface(!rs232_only(m))) return wire.result();
    const double delay = delay_of(m, s.setup.interface);
    const auto& p = sent.points;

    if (!wire.send("KCUR" + location_text(m, n)) || !wire.pause(delay)) return wire.result();
    if (!wire.send(header_command(m, n) + sent.header_field + "," + p[0].units.text + "," +
                   p[0].temperature.text + "," + p[1].units.text + "," + p[1].temperature.text +
                   "*") ||
        !wire.pause(delay))
        return wire.result();
    for (int i = 2; i < count; ++i) {
        if (m == Kcur::NAV) {
            const std::optional<std::int32_t> free = detail::query_free_points(wire);
            if (!free) return wire.result();
            if (*free < 10) return wire.stop_with(kNotEnoughMemoryForAll);
        }
        if (!wire.send("ECUR" + location_text(m, n) + "," + p[i].units.text + "," +
                       p[i].temperature.text) ||
            !wire.pause(delay))
            return wire.result();
        report_percent(s.progress, i, count - 1);
    }
    detail::read_catalogue(wire);
    return wire.result();
}

TransferResult read_curve(Session& s, Kcur m) {
    const std::string n = curve_number_of_entry(s.picks.read.text());
    Wire wire(s);
    if (!wire.check_interface(!rs232_only(m))) return wire.result();
    if (!wire.send("CURV? " + n, true) || !wire.pause(delay_of(m, s.setup.interface)))
        return wire.result();
    const std::optional<Wire::Reply> reply = wire.read_as_is(kCurveReplyBuffer);
    if (!reply) return wire.result();
    // Silence means no curve here, as an answer for another curve does; a reply cut short,
    // endless or trickling is a broken exchange.
    if (!reply->complete && !blank_reply(reply->text)) return wire.stop_with();
    if (!reply_names_curve(reply->text, curve_number_value(n)))
        return wire.stop_with(kNoCurvePresent);
    // The header field: "S", setpoint code, thermocouple flag, then name and serial number.
    const std::string& text = reply->text;
    std::string rest = text.substr(text.find(',') + 1);
    if (rest.size() > 1) select_setpoint_from_code(s.header, rest[1]);
    s.header.thermocouple = rest.size() > 2 && rest[2] == '9';
    if (!take_curve_from_reply(s, rest.size() > 3 ? rest.substr(3) : std::string()))
        return wire.stop_with();
    const int unknown = s.header.interpolation.find("Unknown");
    if (unknown >= 0) s.header.interpolation.selected = unknown;
    s.views.update_graph();
    s.views.show_grid_from_top();
    return wire.result();
}

TransferResult delete_curve(Session& s, Kcur m) {
    const std::string n = curve_number_of_entry(s.picks.remove.text());
    Wire wire(s);
    if (!wire.check_interface(!rs232_only(m))) return wire.result();
    if (!wire.send("KCUR" + location_text(m, n)) || !wire.pause(delay_of(m, s.setup.interface)))
        return wire.result();
    show_erased_location(s, n);
    return wire.result();
}

}  // namespace

TransferResult read_curve_from_kor(Session& s) {
    return read_curve(s, Kcur::KOR);
}
TransferResult read_curve_from_lum(Session& s) {
    return read_curve(s, Kcur::LUM);
}
TransferResult read_curve_from_nav(Session& s) {
    return read_curve(s, Kcur::NAV);
}
TransferResult write_curve_to_kor(Session& s) {
    return write_curve(s, Kcur::KOR);
}
TransferResult write_curve_to_lum(Session& s) {
    return write_curve(s, Kcur::LUM);
}
TransferResult write_curve_to_nav(Session& s) {
    return write_curve(s, Kcur::NAV);
}
TransferResult delete_curve_from_kor(Session& s) {
    return delete_curve(s, Kcur::KOR);
}
TransferResult delete_curve_from_lum(Session& s) {
    return delete_curve(s, Kcur::LUM);
}
TransferResult delete_curve_from_nav(Session& s) {
    return delete_curve(s, Kcur::NAV);
}

}  // namespace kelvara
