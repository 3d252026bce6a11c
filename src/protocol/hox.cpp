// HOX: one curve of temperatures over a fixed grid of 192 sensor-unit values, addressed point by
// point by the units themselves, plus a serial number. RS-232 only: a send fails only when the
// line has died.
#include <string>

#include "curve/number_format.h"
#include "protocol/older_procedures.h"
#include "protocol/wire.h"
#include "protocol/write_plans.h"

namespace kelvara {

using detail::Wire;

namespace {

constexpr double kEraseWait = 20.1;
constexpr double kStoreWait = 3.1;
constexpr double kPointQueryWait = 0.6;
constexpr std::size_t kSerialLength = 8;

double grid_units(const CurveRecord& c, int index) {
    return index < static_cast<int>(c.sensor_units.size()) ? c.sensor_units[index]
                                                           : hox_grid_units(index);
}

constexpr const char* kGridPicture = "0.00";
constexpr const char* kHoxTemperaturePicture = "000.000";

std::string grid_text(const CurveRecord& c, int index) {
    return FormatNoLocale(grid_units(c, index), kGridPicture);
}

// The reply without the line end the instrument sends after it.
std::string without_line_end(std::string reply) {
    while (!reply.empty() && (reply.back() == '\r' || reply.back() == '\n')) reply.pop_back();
    return reply;
}

int grid_size(const Session& s) {
    return s.curve.max_breakpoints > 0 ? s.curve.max_breakpoints
                                       : max_breakpoints_of(InstrumentModel::HOX);
}

}  // namespace

namespace detail {

SentCurve plan_hox_write(const Session& s) {
    const CurveRecord& c = s.curve;
    SentCurve out;
    out.form = SentForm::Hox;
    out.serial = s.header.serial_number.substr(0, kSerialLength);
    // Every grid point goes out, empty ones too: the instrument's table has no gaps.
    const int points = grid_size(s);
    for (int i = 0; i < points; ++i) {
        const double t = i < static_cast<int>(c.temperatures.size()) ? c.temperatures[i] : 0.0;
        out.points.push_back({{grid_text(c, i), kGridPicture},
                              {FormatNoLocale(t, kHoxTemperaturePicture), kHoxTemperaturePicture}});
    }
    return out;
}

}  // namespace detail

TransferResult write_curve_to_hox(Session& s) {
    Wire wire(s);
    if (!wire.check_interface(false)) return wire.result();
    const SentCurve& sent = s.transfer.sent = detail::plan_hox_write(s);
    const int points = static_cast<int>(sent.points.size());
    if (!wire.send("ERASE!") || !wire.pause(kEraseWait)) return wire.result();
    for (int i = 1; i <= points; ++i) {
        const SentPoint& p = sent.points[i - 1];
        if (!wire.send("C" + p.units.text + "," + p.temperature.text) || !wire.pause(kStoreWait))
            return wire.result();
        const double percent = 100.0 * i / points;
        s.progress.set_label("PERCENT COMPLETED: " + FormatNoLocale(percent, "##0.0") + "%");
        s.progress.set_fraction(percent / 100.0);
    }
    if (!wire.send("SID" + sent.serial) || !wire.pause(kStoreWait)) return wire.result();
    return wire.result();
}

TransferResult read_curve_from_hox(Session& s) {
    Wire wire(s);
    if (!wire.check_interface(false)) return wire.result();
    CurveRecord& c = s.curve;
    if (!wire.send("SID?", true) || !wire.pause(kStoreWait)) return wire.result();
    const std::optional<std::string> serial = wire.read();
    if (!serial) return wire.result();
    s.header.serial_number = serial->substr(0, serial->find('\r'));

    const int points = grid_size(s);
    c.max_breakpoints = points;
    if (c.sensor_units.size() < static_cast<std::size_t>(points) + 1) {
        c.sensor_units.resize(points + 1, UNUSED_POINT);
        for (int i = 0; i < points; ++i) c.sensor_units[i] = hox_grid_units(i);
    }
    if (c.temperatures.size() < c.sensor_units.size())
        c.temperatures.resize(c.sensor_units.size(), UNUSED_POINT);
    c.breakpoint_count = points;
    for (int i = 1; i <= points; ++i) {
        if (!wire.send("C?" + grid_text(c, i - 1), true) || !wire.pause(kPointQueryWait))
            return wire.result();
        // The instrument's own "bad point" answer is reported and read on; silence is not an
        // answer.
        const std::optional<std::string> reply = wire.read();
        if (!reply) return wire.result();
        if (const std::optional<double> t = detail::reply_number(*reply)) {
            c.temperatures[i - 1] = *t;
        } else {
            s.prompts.message(kBadDataPoint + without_line_end(*reply));
            c.temperatures[i - 1] = 0;
        }
        s.progress.set_label("NUMBER OF POINTS READ: " + std::to_string(i));
        s.progress.set_fraction(static_cast<double>(i) / points);
    }
    s.views.update_graph();
    s.views.show_grid_from_top();
    return wire.result();
}

TransferResult delete_curve_from_hox(Session& s) {
    Wire wire(s);
    if (!wire.check_interface(false)) return wire.result();
    if (!wire.send("ERASE!")) return wire.result();
    wire.pause(kEraseWait);
    return wire.result();
}

}  // namespace kelvara
