#include "protocol/kcur_shared.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <tuple>

#include "curve/next_field.h"
#include "curve/number_format.h"
#include "protocol/older_procedures.h"
#include "protocol/wire.h"
#include "protocol/write_plans.h"

namespace kelvara {

namespace {

// Setpoint limits in list order and their one-character codes.
constexpr std::array<std::pair<const char*, char>, 6> kSetpointCodes = {{
    {"325", '0'},
    {"375", '1'},
    {"475", '2'},
    {"800", '3'},
    {"999", '4'},
    {"1273", '9'},
}};

// Everything after the first comma ("" when there is none).
std::string after_comma(const std::string& text) {
    const auto pos = text.find(',');
    return pos == std::string::npos ? std::string() : text.substr(pos + 1);
}

void select_first(ListField& list) {
    list.selected = list.entries.empty() ? -1 : 0;
}

}  // namespace

std::string setpoint_code_of(const HeaderFields& header) {
    const std::string limit = header.setpoint_list.text();
    for (const auto& [text, code] : kSetpointCodes)
        if (limit == text) return std::string(1, code);
    return "0";
}

void select_setpoint_from_code(HeaderFields& header, char code) {
    for (const auto& [text, c] : kSetpointCodes) {
        if (c != code) continue;
        const int pos = header.setpoint_list.find(text);
        if (pos >= 0) header.setpoint_list.selected = pos;
        return;
    }
}

std::string curve_number_of_entry(const std::string& entry) {
    int position = 1;
    return trim_blanks(next_field(entry, position));
}

int curve_number_value(const std::string& entry) {
    return truncate_to_int(parse_leading_number(curve_number_of_entry(entry))).value_or(0);
}

void report_percent(Progress& progress, int done, int total) {
    const double percent = total > 0 ? 100.0 * done / total : 100.0;
    progress.set_label("PERCENT COMPLETED: " + FormatNoLocale(percent, "##0.0") + "%");
    progress.set_fraction(percent / 100.0);
}

bool reply_names_curve(const std::string& reply, int n) {
    const std::string head = reply.substr(0, 2);
    if (std::none_of(head.begin(), head.end(), [](unsigned char ch) { return std::isdigit(ch); }))
        return false;
    return truncate_to_int(parse_leading_number(head)) == n;
}

bool blank_reply(const std::string& reply) {
    return reply.find_first_not_of(' ') == std::string::npos;
}

std::string name_and_serial_for_wire(HeaderFields& header) {
    if (header.name.empty()) header.name = "no name";
    if (header.serial_number.empty()) header.serial_number = "no number";
    return header.name.substr(0, 9) + header.serial_number.substr(0, 6);
}

std::pair<std::string, std::string> older_name_and_serial(const std::string& field) {
    if (field.size() < 9) return {trim_blanks(field), "no number"};
    if (field.find("THERMOCOUPLE") == std::string::npos)
        return {field.substr(0, 9), field.substr(9)};
    return {"TCOUPLE", field.substr(field.size() - 3)};
}

std::string setpoint_entry_of_code(char code) {
    for (const auto& [text, c] : kSetpointCodes)
        if (c == code) return text;
    return {};
}

bool take_curve_from_reply(Session& s, std::string rest) {
    HeaderFields& h = s.header;
    std::tie(h.name, h.serial_number) = older_name_and_serial(rest.substr(0, rest.find(',')));

    CurveRecord& c = s.curve;
    rest = after_comma(rest);
    if (!rest.empty() && rest[0] == 'N') c.temperature_coefficient = 1;
    if (!rest.empty() && rest[0] == 'P') c.temperature_coefficient = 2;

    rest = after_comma(rest);
    const auto count_value = detail::reply_number(rest.substr(0, rest.find(',')));
    rest = after_comma(rest);

    if (c.max_breakpoints <= 0) c.max_breakpoints = max_breakpoints_of(s.setup.model);
    const std::size_t slots = static_cast<std::size_t>(c.max_breakpoints) + 1;
    if (c.sensor_units.size() < slots) c.sensor_units.resize(slots, UNUSED_POINT);
    if (c.temperatures.size() < slots) c.temperatures.resize(slots, UNUSED_POINT);

    // The count takes in the instrument's own first and last pair, which are not part of the
    // curve; a count the model cannot hold is no curve of this instrument.
    const std::optional<int> count = count_value ? truncate_to_int(*count_value) : std::nullopt;
    if (!count || *count < 2 || *count - 2 > c.max_breakpoints) return false;
    const int n = *count - 2;
    int position = 1;
    for (int k = 0; k < 2; ++k)
        if (!detail::reply_number(next_field(rest, position))) return false;
    for (int i = 0; i < n; ++i) {
        const auto units = detail::reply_number(next_field(rest, position));
        const auto temperature = detail::reply_number(next_field(rest, position));
        if (!units || !temperature) return false;
        c.sensor_units[i] = *units;
        c.temperatures[i] = *temperature;
    }
    c.breakpoint_count = n;
    c.clear_unused_slots();
    return true;
}

void show_erased_location(Session& s, const std::string& n) {
    PickLists& p = s.picks;
    const int at = p.remove.selected;
    if (at >= 0 && at < static_cast<int>(p.remove.entries.size())) p.remove.entries[at] = n;
    if (at >= 0 && at < static_cast<int>(p.write.entries.size())) p.write.entries[at] = n;
    const int value = curve_number_value(n);
    for (auto& entry : p.read.entries) {
        if (curve_number_value(entry) == value) {
            entry = n;
            break;
        }
    }
    select_first(p.read);
    select_first(p.write);
    select_first(p.remove);
}

std::string older_units_text(double value) {
    return FormatNoLocale(value, kOlderUnitsPicture);
}
std::string older_temperature_text(double value) {
    return FormatNoLocale(value, kOlderTemperaturePicture);
}

namespace detail {

SentCurve plan_older_write(Session& s, SentForm form, const std::string& location) {
    choose_scaling(s);
    const HeaderFields& h = s.header;
    const std::string name_serial = name_and_serial_for_wire(s.header);
    std::string codes;
    if (form == SentForm::Kcur) {
        codes = "S" + setpoint_code_of(h) + (h.thermocouple ? "9" : "0");
    } else {
        std::string thermocouple = "0";
        if (h.thermocouple)
            thermocouple = "9";
        else if (!s.transfer.thermocouple_char.empty())
            thermocouple = s.transfer.thermocouple_char;
        codes = std::string(h.interpolation.selected == 0 ? "L" : " ") + setpoint_code_of(h) +
                thermocouple;
    }
    SentCurve out;
    out.form = form;
    out.location = location;
    out.header_field = codes + name_serial;
    const auto& u = s.transfer.transfer_units;
    const auto& t = s.transfer.transfer_temperatures;
    const int count = std::min<int>(s.curve.breakpoint_count, static_cast<int>(u.size()));
    for (int i = 0; i < count; ++i)
        out.points.push_back({{older_units_text(u[i]), kOlderUnitsPicture},
                              {older_temperature_text(t[i]), kOlderTemperaturePicture}});
    return out;
}

}  // namespace detail

}  // namespace kelvara
