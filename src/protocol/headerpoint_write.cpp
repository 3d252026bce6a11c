#include <optional>
#include <string>

#include "curve/header_fields.h"
#include "curve/next_field.h"
#include "curve/number_format.h"
#include "protocol/headerpoint.h"
#include "protocol/headerpoint_wire.h"

namespace kelvara {

using detail::Pace;
using detail::Route;
using detail::Wire;

namespace {

struct WriteRow {
    Route route = Route::Chosen;
    bool crlf_on_gpib = false;      // RIL: CR LF on GPIB too
    bool quoted = false;            // RIL: name and serial in double quotes
    bool save_and_poll = false;     // TAZ: "CRVSAV" then "BUSY?" until ready
    bool wun_temperatures = false;  // WUN: its own temperature picture
    Pace erase, header, point, readback;
    std::optional<Pace> reset = std::nullopt;  // DAL: "*RST" after the points
};

const WriteRow kTazWrite{.save_and_poll = true,
                         .erase = {0.1, 0.1},
                         .header = {0.1, 0.1},
                         .point = {0.1, 0.1},
                         .readback = {0.1, 0.1}};
const WriteRow kFenWrite{
    .erase = {0.1, 0.3}, .header = {0.1, 0.3}, .point = {0.1, 0.3}, .readback = {0.1, 0.3}};
const WriteRow kMepWrite{
    .erase = {0.1, 0.1}, .header = {0.1, 0.1}, .point = {0.1, 0.1}, .readback = {0.1, 0.1}};
const WriteRow kWunWrite{.wun_temperatures = true,
                         .erase = {1.0, 1.0},
                         .header = {0.2, 0.2},
                         .point = {0.1, 0.1},
                         .readback = {0.1, 0.1}};
const WriteRow kRilWrite{.crlf_on_gpib = true,
                         .quoted = true,
                         .erase = {1.0, 1.0},
                         .header = {0.1, 0.1},
                         .point = {0.1, 0.1},
                         .readback = {0.3, 0.3}};
const WriteRow kDalWrite{.route = Route::Rs232Only,
                         .erase = {5.0, 5.0},
                         .header = {0.5, 0.5},
                         .point = {0.1, 0.1},
                         .readback = {0.3, 0.3},
                         .reset = Pace{5.0, 5.0}};

struct SentHeader {
    std::string name, serial, limit;
    int format = 0;
    int coefficient = 1;
};

// Fills in the fields the instrument cannot take empty and computes what is sent. The window's
// fields keep "no name", "no number" and "0" afterwards; the cuts apply to the sent text only.
SentHeader prepare_header(Session& s) {
    HeaderFields& h = s.header;
    SentHeader out;
    if (h.name.empty()) h.name = "no name";
    out.name = h.name.size() >= 16 ? h.name.substr(0, 15) : h.name;
    if (h.serial_number.empty()) h.serial_number = "no number";
    out.serial = h.serial_number.size() >= 11 ? h.serial_number.substr(0, 10) : h.serial_number;
    out.format = data_format_from_selection(h);
    if (out.format == 0) s.prompts.message(kFormatZeroWarning);
    if (!is_numeric_text(h.setpoint_text)) h.setpoint_text = "0";
    const double limit = parse_leading_number(h.setpoint_text);
    out.limit = (limit < 0 ? "" : " ") + general_text(limit);
    out.coefficient = temperature_coefficient_of(s.curve);
    s.curve.temperature_coefficient = out.coefficient;
    return out;
}

std::string header_command(const std::string& n, const SentHeader& h, bool quoted) {
    const std::string q = quoted ? "\"" : "";
    return "CRVHDR " + n + "," + q + h.name + q + "," + q + h.serial + q + "," +
           std::to_string(h.format) + "," + h.limit + "," + std::to_string(h.coefficient);
}

void write_header_point_curve(Session& s, const WriteRow& row) {
    const SentHeader header = prepare_header(s);
    Wire wire(s, row.route, row.crlf_on_gpib);
    if (!wire.check_interface()) return;
    const std::string n = detail::picked_curve_number(s.picks.write);

    if (!wire.send("CRVDEL " + n)) return;
    wire.pause(row.erase);
    if (!wire.send(header_command(n, header, row.quoted))) return;
    wire.pause(row.header);

    const CurveRecord& c = s.curve;
    for (int i = 1; i <= c.breakpoint_count; ++i) {
        const double t = c.temperatures[i - 1];
        const std::string point =
            "CRVPT " + n + "," + std::to_string(i) + "," +
            format_sensor_units(c.sensor_units[i - 1]) + "," +
            (row.wun_temperatures ? format_temperature_wun(t) : format_temperature(t));
        if (!wire.send(point)) return;
        wire.pause(row.point);
        const double fraction = static_cast<double>(i) / c.breakpoint_count;
        s.progress.set_label(kPercentCompleted + FormatNoLocale(fraction * 100, "##0.0") + "%");
        s.progress.set_fraction(fraction);
    }

    if (row.save_and_poll) {
        if (!wire.send("CRVSAV")) return;
        s.link.pause(1.0);
        if (!detail::poll_until_ready(s, wire)) return;
    }
    if (row.reset) {
        if (!wire.send("*RST")) return;
        wire.pause(*row.reset);
    }
    detail::read_back_location(s, wire, n, row.readback, detail::Refresh::FromWrite);
}

}  // namespace

void write_curve_to_taz(Session& s) {
    write_header_point_curve(s, kTazWrite);
}
void write_curve_to_dal(Session& s) {
    write_header_point_curve(s, kDalWrite);
}
void write_curve_to_fen(Session& s) {
    write_header_point_curve(s, kFenWrite);
}
void write_curve_to_mep(Session& s) {
    write_header_point_curve(s, kMepWrite);
}
void write_curve_to_obr(Session& s) {
    write_header_point_curve(s, kMepWrite);
}
void write_curve_to_ril(Session& s) {
    write_header_point_curve(s, kRilWrite);
}
void write_curve_to_wun(Session& s) {
    write_header_point_curve(s, kWunWrite);
}

std::int32_t query_free_points(Session& s) {
    std::string reply;
    switch (s.setup.interface) {
        case Interface::GPIB:
            if (!s.link.send_command("FREE?", false)) {
                s.prompts.message(kProblemTalking);
                return 0;
            }
            s.link.pause(0.1);
            reply = s.link.read_reply(80);
            break;
        case Interface::RS232:
            s.link.send_command("FREE?", true);
            s.link.pause(0.6);
            reply = s.link.read_reply();
            break;
        default:
            s.prompts.message(kInvalidInterface);
            return 0;
    }
    return to_int32(general_text(parse_leading_number(reply))).value_or(0);
}

}  // namespace kelvara
