// KOR, LUM and NAV: "KCUR" erases, "CURV" stores the header with the first two points, "ECUR"
// appends a point, "CURV?" returns the whole curve in one line.
#include <string>

#include "curve/number_format.h"
#include "protocol/headerpoint.h"
#include "protocol/kcur_shared.h"
#include "protocol/older_procedures.h"
#include "protocol/transfers.h"

namespace kelvara {

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

bool interface_allowed(Session& s, Kcur m) {
    const Interface i = s.setup.interface;
    if (rs232_only(m) ? i == Interface::RS232 : (i == Interface::GPIB || i == Interface::RS232))
        return true;
    s.prompts.message("Invalid communication interface.");
    return false;
}

// Sends one command; a GPIB write the driver refuses ends the procedure.
bool send(Session& s, const std::string& text, bool clear_input = false) {
    if (s.link.send_command(text, clear_input)) return true;
    s.prompts.message("Problem talking to instrument.");
    return false;
}

// KOR and LUM only ever hold the user curve in location 11.
std::string location_text(Kcur m, const std::string& n) {
    return m == Kcur::NAV ? " " + n : "11";
}

std::string header_command(Kcur m, const std::string& n) {
    switch (m) {
        case Kcur::KOR:
            return "CURV11,S";
        case Kcur::LUM:
            return "CURV 11,S";
        case Kcur::NAV:
            break;
    }
    return "CURV " + n + ",S";
}

void write_curve(Session& s, Kcur m) {
    if (m == Kcur::NAV && query_free_points(s) < 100) {
        s.prompts.message("Not enough remaining memory to write curve to the instrument.");
        return;
    }
    const int count = s.curve.breakpoint_count;
    if (count < 2) return;
    choose_scaling(s);
    const std::string name_serial = name_and_serial_for_wire(s.header);
    const std::string codes = setpoint_code_of(s.header) + (s.header.thermocouple ? "9" : "0");
    if (!interface_allowed(s, m)) return;
    const std::string n = m == Kcur::NAV ? curve_number_of_entry(s.picks.write.text()) : "11";
    const double delay = delay_of(m, s.setup.interface);
    const auto& u = s.transfer.transfer_units;
    const auto& t = s.transfer.transfer_temperatures;

    if (!send(s, "KCUR" + location_text(m, n))) return;
    s.link.pause(delay);
    if (!send(s, header_command(m, n) + codes + name_serial + "," + older_units_text(u[0]) + "," +
                     older_temperature_text(t[0]) + "," + older_units_text(u[1]) + "," +
                     older_temperature_text(t[1]) + "*"))
        return;
    s.link.pause(delay);
    for (int i = 2; i < count; ++i) {
        if (m == Kcur::NAV && query_free_points(s) < 10) {
            s.prompts.message(
                "Not enough remaining memory to write all of curve to the instrument.");
            return;
        }
        if (!send(s, "ECUR" + location_text(m, n) + "," + older_units_text(u[i]) + "," +
                         older_temperature_text(t[i])))
            return;
        s.link.pause(delay);
        report_percent(s.progress, i, count - 1);
    }
    grab_curve_names(s);
}

void read_curve(Session& s, Kcur m) {
    const std::string n = curve_number_of_entry(s.picks.read.text());
    if (!interface_allowed(s, m)) return;
    const Interface bus = s.setup.interface;
    if (!send(s, "CURV? " + n, true)) return;
    s.link.pause(delay_of(m, bus));
    const std::string reply = s.link.read_reply(bus == Interface::GPIB ? kCurveReplyBuffer : 80);
    if (!reply_names_curve(reply, curve_number_value(n))) {
        s.prompts.message("No curve present.");
        return;
    }
    // The header field: "S", setpoint code, thermocouple flag, then name and serial number.
    std::string rest = reply.substr(reply.find(',') + 1);
    if (rest.size() > 1) select_setpoint_from_code(s.header, rest[1]);
    s.header.thermocouple = rest.size() > 2 && rest[2] == '9';
    take_curve_from_reply(s, rest.size() > 3 ? rest.substr(3) : std::string());
    const int unknown = s.header.interpolation.find("Unknown");
    if (unknown >= 0) s.header.interpolation.selected = unknown;
    s.views.update_graph();
    s.views.show_grid_from_top();
}

void delete_curve(Session& s, Kcur m) {
    const std::string n = curve_number_of_entry(s.picks.remove.text());
    if (!interface_allowed(s, m)) return;
    if (!send(s, "KCUR" + location_text(m, n))) return;
    s.link.pause(delay_of(m, s.setup.interface));
    show_erased_location(s, n);
}

}  // namespace

void read_curve_from_kor(Session& s) {
    read_curve(s, Kcur::KOR);
}
void read_curve_from_lum(Session& s) {
    read_curve(s, Kcur::LUM);
}
void read_curve_from_nav(Session& s) {
    read_curve(s, Kcur::NAV);
}
void write_curve_to_kor(Session& s) {
    write_curve(s, Kcur::KOR);
}
void write_curve_to_lum(Session& s) {
    write_curve(s, Kcur::LUM);
}
void write_curve_to_nav(Session& s) {
    write_curve(s, Kcur::NAV);
}
void delete_curve_from_kor(Session& s) {
    delete_curve(s, Kcur::KOR);
}
void delete_curve_from_lum(Session& s) {
    delete_curve(s, Kcur::LUM);
}
void delete_curve_from_nav(Session& s) {
    delete_curve(s, Kcur::NAV);
}

}  // namespace kelvara
