#include <optional>
#include <string>

#include "curve/header_fields.h"
#include "curve/next_field.h"
#include "curve/number_format.h"
#include "protocol/headerpoint.h"
#include "protocol/headerpoint_wire.h"
#include "protocol/write_plans.h"

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

std::string header_command(const std::string& n, const SentCurve& h, bool quoted) {
    const std::string q = quoted ? "\"" : "";
    return "CRVHDR " + n + "," + q + h.name + q + "," + q + h.serial + q + "," +
           std::to_string(h.data_format) + "," + h.setpoint_limit + "," +
           std::to_string(h.coefficient);
}

TransferResult write_header_point_curve(Session& s, const WriteRow& row) {
    const std::string n = detail::picked_curve_number(s.picks.write);
    const SentCurve& sent = s.transfer.sent =
        detail::plan_header_point_write(s, row.wun_temperatures, n);
    Wire wire(s, row.route, row.crlf_on_gpib);
    if (!wire.check_interface()) return wire.result();

    if (!wire.send("CRVDEL " + n) || !wire.pause(row.erase)) return wire.result();
    if (!wire.send(header_command(n, sent, row.quoted)) || !wire.pause(row.header))
        return wire.result();

    const int count = static_cast<int>(sent.points.size());
    for (int i = 1; i <= count; ++i) {
        const SentPoint& p = sent.points[i - 1];
        if (!wire.send("CRVPT " + n + "," + std::to_string(i) + "," + p.units.text + "," +
                       p.temperature.text) ||
            !wire.pause(row.point))
            return wire.result();
        const double fraction = static_cast<double>(i) / count;
        s.progress.set_label(kPercentCompleted + FormatNoLocale(fraction * 100, "##0.0") + "%");
        s.progress.set_fraction(fraction);
    }

    bool saved = true;
    if (row.save_and_poll) {
        if (!wire.send("CRVSAV") || !wire.pause(1.0)) return wire.result();
        const std::optional<bool> ready = detail::poll_until_ready(s, wire);
        if (!ready) return wire.result();
        saved = *ready;
    }
    if (row.reset && (!wire.send("*RST") || !wire.pause(*row.reset))) return wire.result();
    if (!detail::read_back_location(s, wire, n, row.readback, detail::Refresh::FromWrite))
        return wire.result();
    // The instrument is read back as if it were ready; the user still has to know it was not.
    return saved ? wire.result() : wire.stop_with(kNotConfirmedSaved);
}

}  // namespace

TransferResult write_curve_to_taz(Session& s) {
    return write_header_point_curve(s, kTazWrite);
}
TransferResult write_curve_to_dal(Session& s) {
    return write_header_point_curve(s, kDalWrite);
}
TransferResult write_curve_to_fen(Session& s) {
    return write_header_point_curve(s, kFenWrite);
}
TransferResult write_curve_to_mep(Session& s) {
    return write_header_point_curve(s, kMepWrite);
}
TransferResult write_curve_to_obr(Session& s) {
    return write_header_point_curve(s, kMepWrite);
}
TransferResult write_curve_to_ril(Session& s) {
    return write_header_point_curve(s, kRilWrite);
}
TransferResult write_curve_to_wun(Session& s) {
    return write_header_point_curve(s, kWunWrite);
}

namespace detail {

SentCurve plan_header_point_write(Session& s, bool wun_temperatures, const std::string& n) {
    // The window's fields keep "no name", "no number" and "0" afterwards; the cuts apply to the
    // sent text only.
    HeaderFields& h = s.header;
    SentCurve out;
    out.form = SentForm::HeaderPoint;
    out.location = n;
    if (h.name.empty()) h.name = "no name";
    out.name = h.name.size() >= 16 ? h.name.substr(0, 15) : h.name;
    if (h.serial_number.empty()) h.serial_number = "no number";
    out.serial = h.serial_number.size() >= 11 ? h.serial_number.substr(0, 10) : h.serial_number;
    out.data_format = data_format_from_selection(h);
    if (out.data_format == 0) s.prompts.message(kFormatZeroWarning);
    if (!is_numeric_text(h.setpoint_text)) h.setpoint_text = "0";
    const double limit = parse_leading_number(h.setpoint_text);
    out.setpoint_limit = (limit < 0 ? "" : " ") + general_text(limit);
    out.coefficient = temperature_coefficient_of(s.curve);
    s.curve.temperature_coefficient = out.coefficient;

    const CurveRecord& c = s.curve;
    for (int i = 0; i < c.breakpoint_count; ++i) {
        const double u = c.sensor_units[i];
        const double t = c.temperatures[i];
        const char* picture =
            wun_temperatures ? temperature_wun_picture(t) : temperature_picture(t);
        out.points.push_back({{FormatNoLocale(u, sensor_units_picture(u)), sensor_units_picture(u)},
                              {FormatNoLocale(t, picture), picture}});
    }
    return out;
}

std::optional<std::int32_t> query_free_points(Wire& wire) {
    if (!wire.interface_named()) return 0;
    if (!wire.send_query("FREE?", {0.1, 0.6})) return std::nullopt;
    const std::optional<std::string> reply = wire.read();
    if (!reply) return std::nullopt;
    const std::optional<double> free = reply_number(*reply);
    if (!free) {
        wire.fail();
        return std::nullopt;
    }
    return to_int32(general_text(*free)).value_or(0);
}

}  // namespace detail

std::optional<std::int32_t> query_free_points(Session& s) {
    Wire wire(s);
    return detail::query_free_points(wire);
}

}  // namespace kelvara
