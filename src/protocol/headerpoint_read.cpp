#include <string>

#include "curve/next_field.h"
#include "curve/number_format.h"
#include "protocol/catalogue.h"
#include "protocol/headerpoint.h"
#include "protocol/headerpoint_wire.h"

namespace kelvara {

using detail::Pace;
using detail::Route;
using detail::Wire;

namespace {

struct ReadRow {
    Route route;
    Pace pace;  // after "CRVHDR? " and after each "CRVPT? "
};

constexpr ReadRow kTazRead{Route::Chosen, {0.1, 0.1}};
constexpr ReadRow kDalRead{Route::Rs232Only, {0.1, 0.1}};
constexpr ReadRow kFenRead{Route::Chosen, {0.1, 0.3}};

// Field i (0-based) of a comma-separated reply; "" when the reply has fewer fields.
std::string comma_field(const std::string& reply, int index) {
    size_t begin = 0;
    for (int k = 0; k < index; ++k) {
        begin = reply.find(',', begin);
        if (begin == std::string::npos) return {};
        ++begin;
    }
    const size_t end = reply.find(',', begin);
    return reply.substr(begin, end == std::string::npos ? std::string::npos : end - begin);
}

// The reply has been checked by header_reply_parses: the numbers are in range.
void store_header(Session& s, const std::string& reply) {
    const auto [name, serial] = name_and_serial(reply);
    s.header.name = name;
    s.header.serial_number = serial;
    const int format = truncate_to_int(parse_leading_number(comma_field(reply, 2))).value_or(0);
    s.curve.data_format = format;
    select_data_format(s.header, format, s.prompts);
    s.header.setpoint_text = general_text(parse_leading_number(trim_blanks(comma_field(reply, 3))));
    // Only the first character counts: "2" (or anything beginning with it) is positive.
    s.curve.temperature_coefficient =
        truncate_to_int(parse_leading_number(comma_field(reply, 4).substr(0, 1))).value_or(0);
}

void ensure_slots(CurveRecord& curve) {
    const size_t slots = static_cast<size_t>(curve.max_breakpoints) + 1;
    if (curve.sensor_units.size() < slots) curve.sensor_units.resize(slots, UNUSED_POINT);
    if (curve.temperatures.size() < slots) curve.temperatures.resize(slots, UNUSED_POINT);
}

// Asks for the points one by one until the instrument answers 0, 0 or the model's limit is
// reached. False when the exchange failed or was cancelled.
bool read_points(Session& s, Wire& wire, const std::string& n, const Pace& pace) {
    CurveRecord& curve = s.curve;
    curve.breakpoint_count = 0;
    while (curve.breakpoint_count < curve.max_breakpoints) {
        const int i = curve.breakpoint_count + 1;
        if (!wire.send("CRVPT? " + n + "," + std::to_string(i), true) || !wire.pause(pace))
            return false;
        const std::optional<std::string> reply = wire.read();
        if (!reply) return false;
        int position = 1;
        const auto units = detail::reply_number(next_field(*reply, position));
        const auto temperature = detail::reply_number(next_field(*reply, position));
        if (!units || !temperature) return wire.fail();
        if (*units == 0 && *temperature == 0) break;
        curve.sensor_units[curve.breakpoint_count] = *units;
        curve.temperatures[curve.breakpoint_count] = *temperature;
        ++curve.breakpoint_count;
        s.progress.set_label(kPointsRead + std::to_string(curve.breakpoint_count));
    }
    return true;
}

TransferResult read_header_point_curve(Session& s, const ReadRow& row) {
    const std::string n = detail::picked_curve_number(s.picks.read);
    Wire wire(s, row.route);
    ensure_slots(s.curve);
    if (wire.check_interface()) {
        if (!wire.send("CRVHDR? " + n, true) || !wire.pause(row.pace)) return wire.result();
        const std::optional<std::string> header = wire.read();
        if (!header) return wire.result();
        if (!detail::header_reply_parses(*header)) return wire.stop_with();
        store_header(s, *header);
        if (!read_points(s, wire, n, row.pace)) return wire.result();
    }
    s.curve.clear_unused_slots();
    s.views.update_graph();
    s.views.show_grid_from_top();
    return wire.result();
}

}  // namespace

TransferResult read_curve_from_taz(Session& s) {
    return read_header_point_curve(s, kTazRead);
}
TransferResult read_curve_from_dal(Session& s) {
    return read_header_point_curve(s, kDalRead);
}
TransferResult read_curve_from_fen(Session& s) {
    return read_header_point_curve(s, kFenRead);
}
TransferResult read_curve_from_mep(Session& s) {
    return read_header_point_curve(s, kTazRead);
}
TransferResult read_curve_from_obr(Session& s) {
    return read_header_point_curve(s, kTazRead);
}

}  // namespace kelvara
