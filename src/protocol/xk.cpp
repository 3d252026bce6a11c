// ELK, DUN and KIP: "XK" erases, "XC" stores the header with the first two points, "XE" appends
// a point, "XD" returns the whole curve in one line, "XDT" reports the free memory.
#include <cmath>
#include <cstdio>
#include <string>

#include "curve/number_format.h"
#include "protocol/kcur_shared.h"
#include "protocol/older_procedures.h"
#include "protocol/transfers.h"

namespace kelvara {

namespace {

constexpr int kCurveReplyBuffer = 1500;
constexpr int kFreeReplyBuffer = 1000;
// The "XDT" reply's first field ends in 11 characters of text after the number of free bytes.
constexpr std::size_t kFreeFieldSuffix = 11;

double bus_delay(Session& s, double gpib, double rs232) {
    return s.setup.interface == Interface::GPIB ? gpib : rs232;
}

// Locations go out with two digits: 3 is "03".
std::string two_digits(const std::string& entry) {
    char text[16];
    std::snprintf(text, sizeof text, "%02d", curve_number_value(entry));
    return text;
}

bool send(Session& s, const std::string& text, const char* failure, bool clear_input = false) {
    if (s.link.send_command(text, clear_input)) return true;
    s.prompts.message(failure);
    return false;
}

// Interpolation, setpoint code and thermocouple character, then name and serial number.
std::string header_field(Session& s) {
    const std::string name_serial = name_and_serial_for_wire(s.header);
    std::string thermocouple = "0";
    if (s.header.thermocouple)
        thermocouple = "9";
    else if (!s.transfer.thermocouple_char.empty())
        thermocouple = s.transfer.thermocouple_char;
    return std::string(s.header.interpolation.selected == 0 ? "L" : " ") +
           setpoint_code_of(s.header) + thermocouple + name_serial;
}

struct WriteRules {
    bool memory_checks;
    double erase_gpib, erase_rs232;
    double point_gpib, point_rs232;
    const char* erase_failure;
    const char* header_failure;
    const char* point_failure;
};

constexpr WriteRules kElkWrite = {true,
                                  0.1,
                                  0.6,
                                  0.1,
                                  0.6,
                                  "Problem talking to instrument.",
                                  "Problem talking to instrument.",
                                  "Problem talking to instrument."};
// KIP has no "XDT" memory report to rely on during a write and needs longer to store a point.
constexpr WriteRules kKipWrite = {false,
                                  0.1,
                                  0.6,
                                  0.75,
                                  0.75,
                                  "Problem talking to instrument after XK command.",
                                  "Problem talking to instrument after XC command.",
                                  "Problem talking to instrument after XE command."};

void write_curve(Session& s, const WriteRules& r) {
    if (r.memory_checks && query_bytes_free(s) < 100) {
        s.prompts.message("Not enough remaining memory to write curve to the instrument.");
        return;
    }
    const int count = s.curve.breakpoint_count;
    if (count < 2) return;
    choose_scaling(s);
    const std::string header = header_field(s);
    const std::string nn = two_digits(s.picks.write.text());
    if (!interface_is_gpib_or_rs232(s)) return;
    const auto& u = s.transfer.transfer_units;
    const auto& t = s.transfer.transfer_temperatures;

    if (!send(s, "XK" + nn + "*", r.erase_failure)) return;
    s.link.pause(bus_delay(s, r.erase_gpib, r.erase_rs232));
    if (!send(s,
              "XC" + nn + "," + header + "," + older_units_text(u[0]) + "," +
                  older_temperature_text(t[0]) + "," + older_units_text(u[1]) + "," +
                  older_temperature_text(t[1]) + "*",
              r.header_failure))
        return;
    const double point_delay = bus_delay(s, r.point_gpib, r.point_rs232);
    s.link.pause(point_delay);
    for (int i = 2; i < count; ++i) {
        if (r.memory_checks && query_bytes_free(s) < 10) {
            s.prompts.message(
                "Not enough remaining memory to write all of curve to the instrument.");
            return;
        }
        if (!send(
                s,
                "XE" + nn + "," + older_units_text(u[i]) + "," + older_temperature_text(t[i]) + "*",
                r.point_failure))
            return;
        s.link.pause(point_delay);
        report_percent(s.progress, i, count - 1);
    }
    grab_curve_names(s);
}

}  // namespace

int query_bytes_free(Session& s) {
    std::string reply;
    switch (s.setup.interface) {
        case Interface::GPIB:
            if (!send(s, "XDT", "Problem talking to instrument.")) return 0;
            s.link.pause(0.1);
            reply = s.link.read_reply(kFreeReplyBuffer);
            break;
        case Interface::RS232:
            s.link.send_command("XDT", true);
            s.link.pause(6.0);
            reply = s.link.read_reply();
            break;
        default:
            s.prompts.message("Invalid communication interface.");
            reply = "0";
            break;
    }
    const auto comma = reply.find(',');
    if (comma == std::string::npos || comma <= kFreeFieldSuffix) return 0;
    const double bytes = parse_leading_number(reply.substr(0, comma - kFreeFieldSuffix));
    return std::isfinite(bytes) && std::fabs(bytes) < 2e9 ? static_cast<int>(bytes) : 0;
}

void write_curve_to_elk(Session& s) {
    write_curve(s, kElkWrite);
}
void write_curve_to_kip(Session& s) {
    write_curve(s, kKipWrite);
}

void read_curve_from_elk(Session& s) {
    const std::string nn = two_digits(s.picks.read.text());
    if (!interface_is_gpib_or_rs232(s)) return;
    const bool gpib = s.setup.interface == Interface::GPIB;
    if (!send(s, "XD" + nn, "Problem talking to instrument.", true)) return;
    s.link.pause(bus_delay(s, 0.1, 0.6));
    const std::string reply = s.link.read_reply(gpib ? kCurveReplyBuffer : 80);
    if (!reply_names_curve(reply, curve_number_value(nn)) ||
        reply.find("BYTES FREE,") != std::string::npos) {
        s.prompts.message("No curve present.");
        return;
    }
    // The header field: interpolation, setpoint code, thermocouple character, name, serial.
    std::string rest = reply.substr(reply.find(',') + 1);
    const bool lagrangian = !rest.empty() && rest[0] == 'L';
    const int pos = s.header.interpolation.find(lagrangian ? "Lagrangian" : "Straight Line");
    if (pos >= 0) s.header.interpolation.selected = pos;
    if (rest.size() > 1) select_setpoint_from_code(s.header, rest[1]);
    s.header.thermocouple = rest.size() > 2 && rest[2] == '9';
    s.transfer.thermocouple_char = rest.size() > 2 ? std::string(1, rest[2]) : std::string();
    take_curve_from_reply(s, rest.size() > 3 ? rest.substr(3) : std::string());
    s.views.update_graph();
    s.views.show_grid_from_top();
}

void delete_curve_from_elk(Session& s) {
    const std::string nn = two_digits(s.picks.remove.text());
    if (!interface_is_gpib_or_rs232(s)) return;
    if (!send(s, "XK" + nn + "*", "Problem talking to instrument.")) return;
    s.link.pause(bus_delay(s, 0.1, 0.6));
    show_erased_location(s, curve_number_of_entry(s.picks.remove.text()));
}

}  // namespace kelvara
