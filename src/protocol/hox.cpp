// HOX: one curve of temperatures over a fixed grid of 192 sensor-unit values, addressed point by
// point by the units themselves, plus a serial number. RS-232 only; sends are not checked.
#include <string>

#include "curve/number_format.h"
#include "protocol/older_procedures.h"

namespace kelvara {

namespace {

constexpr double kEraseWait = 20.1;
constexpr double kStoreWait = 3.1;
constexpr double kPointQueryWait = 0.6;
constexpr std::size_t kSerialLength = 8;

bool on_serial_line(Session& s) {
    if (s.setup.interface == Interface::RS232) return true;
    s.prompts.message("Invalid communication interface.");
    return false;
}

double grid_units(const CurveRecord& c, int index) {
    return index < static_cast<int>(c.sensor_units.size()) ? c.sensor_units[index]
                                                           : hox_grid_units(index);
}

std::string grid_text(const CurveRecord& c, int index) {
    return FormatNoLocale(grid_units(c, index), "0.00");
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

void write_curve_to_hox(Session& s) {
    if (!on_serial_line(s)) return;
    const CurveRecord& c = s.curve;
    const int points = grid_size(s);
    s.link.send_command("ERASE!", false);
    s.link.pause(kEraseWait);
    // Every grid point goes out, empty ones too: the instrument's table has no gaps.
    for (int i = 1; i <= points; ++i) {
        const double t =
            i - 1 < static_cast<int>(c.temperatures.size()) ? c.temperatures[i - 1] : 0.0;
        s.link.send_command("C" + grid_text(c, i - 1) + "," + FormatNoLocale(t, "000.000"), false);
        s.link.pause(kStoreWait);
        const double percent = 100.0 * i / points;
        s.progress.set_label("PERCENT COMPLETED: " + FormatNoLocale(percent, "##0.0") + "%");
        s.progress.set_fraction(percent / 100.0);
    }
    s.link.send_command("SID" + s.header.serial_number.substr(0, kSerialLength), false);
    s.link.pause(kStoreWait);
}

void read_curve_from_hox(Session& s) {
    if (!on_serial_line(s)) return;
    CurveRecord& c = s.curve;
    s.link.send_command("SID?", true);
    s.link.pause(kStoreWait);
    const std::string serial = s.link.read_reply();
    s.header.serial_number = serial.substr(0, serial.find('\r'));

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
        s.link.send_command("C?" + grid_text(c, i - 1), true);
        s.link.pause(kPointQueryWait);
        const std::string reply = s.link.read_reply();
        if (is_numeric_text(reply)) {
            c.temperatures[i - 1] = parse_leading_number(reply);
        } else {
            s.prompts.message("Bad data point: " + without_line_end(reply));
            c.temperatures[i - 1] = 0;
        }
        s.progress.set_label("NUMBER OF POINTS READ: " + std::to_string(i));
        s.progress.set_fraction(static_cast<double>(i) / points);
    }
    s.views.update_graph();
    s.views.show_grid_from_top();
}

void delete_curve_from_hox(Session& s) {
    if (!on_serial_line(s)) return;
    s.link.send_command("ERASE!", false);
    s.link.pause(kEraseWait);
}

}  // namespace kelvara
