// .NAV and .DUN files, the curve files of the older instruments: reading and writing.
#include <cmath>
#include <string>

#include "curve/file_io.h"
#include "curve/files.h"
#include "curve/number_format.h"
#include "curve/reader_support.h"

namespace kelvara {

using namespace file_io;

namespace {

constexpr int kLagrangian = 0;
constexpr int kStraightLine = 1;
constexpr int kUnknown = 2;

// The setpoint list position for a setpoint value read from a .NAV file.
int setpoint_position(double value) {
    double v = std::nearbyint(value);  // halfway values go to the even integer
    if (v < 326) return 0;
    if (v < 376) return 1;
    if (v < 476) return 2;
    if (v <= 800) return 3;
    if (v <= 999) return 4;
    return 5;
}

double selected_setpoint(const HeaderFields& f) {
    std::string text = f.setpoint_list.text();
    if (!is_numeric_text(text)) throw FileError("no setpoint limit is selected");
    return parse_leading_number(text);
}

// Below 1 the units keep their leading zero.
std::string nav_units(double v) {
    if (v < 0.999995) return FormatNoLocale(v, "0.00000");
    return format_sensor_units(v);
}

std::string nav_temperature(double v) {
    const char* picture = v < 0 ? "0.00000e-00" : v < 10 ? "  0.0" : v < 100 ? " 00.0" : "000.0";
    return FormatNoLocale(v, picture);
}

// "###.0" padded to five characters for the instruments' fixed columns: 4.2 -> 4.200,
// 77.3 -> 77.30, 300 -> 300.0.
std::string dun_temperature(double v) {
    std::string text = FormatNoLocale(v, "###.0");
    if (text.size() < 5 && v >= 0) {
        if (v < 99.95) text += '0';
        if (text.size() < 5 && v < 9.95) text += '0';
    }
    return text;
}

char setpoint_code(double v) {
    if (v <= 325) return '0';
    if (v <= 375) return '1';
    if (v <= 475) return '2';
    if (v <= 800) return '3';
    if (v <= 999) return '4';
    return '9';
}

std::string text_before_comma(const std::string& data, size_t& rest) {
    size_t comma = data.find(',', rest);
    if (comma == std::string::npos) throw FileError(on_line(1, "a point has no temperature"));
    std::string text = data.substr(rest, comma - rest);
    rest = comma + 1;
    return text;
}

// The writer prints an empty slot's UNUSED_POINT as a zero with a minus sign ("-.000"); no
// measured value reads that way, so it goes back to being an empty slot.
double hox_value(const std::string& text) {
    const double v = parse_leading_number(text);
    return v == 0 && std::signbit(v) ? UNUSED_POINT : v;
}

}  // namespace

void read_nav_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                        Prompts&) {
    read_into_copies(curve, fields, [&](CurveRecord& c, HeaderFields& f) {
        LineReader in(load_file(path));
        f.name = trim_spaces(header_value(in));
        f.serial_number = trim_spaces(header_value(in));
        std::string method = header_value(in);
        f.interpolation.selected = method.find("Lagrangian") != std::string::npos ? kLagrangian
                                   : method.find("Straight Line") != std::string::npos
                                       ? kStraightLine
                                       : kUnknown;
        f.setpoint_list.selected = setpoint_position(header_number(header_value(in)));
        const std::string format = header_value(in);
        c.nav_format_code = header_int(format, in.line_number());
        f.thermocouple = c.nav_format_code == 1;
        c.dun_format_char = f.thermocouple ? "9" : "";
        return read_numbered_points(in, c);
    });
}

void read_dun_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                        Prompts& prompts) {
    read_into_copies_or_complain(curve, fields, prompts, [&](CurveRecord& c, HeaderFields& f) {
        LineReader in(load_file(path));
        if (in.empty()) throw FileError("the file is empty");
        std::string line = in.read_line();
        std::string rest = line.size() > 5 ? line.substr(5) : std::string();  // "XC06,"
        size_t comma = rest.find(',');
        if (comma == std::string::npos)
            throw FileError(on_line(1, "no ',' after the header field"));
        std::string header = rest.substr(0, comma);
        auto at = [&header](size_t position) {
            return position <= header.size() ? header[position - 1] : '\0';
        };
        f.interpolation.selected = at(1) == 'L'   ? kLagrangian
                                   : at(1) == 'S' ? kStraightLine
                                                  : kUnknown;
        char code = at(2);
        f.setpoint_list.selected = code >= '0' && code <= '4' ? code - '0' : 5;
        c.dun_format_char = header.size() >= 3 ? header.substr(2, 1) : std::string();
        f.thermocouple = c.dun_format_char == "9";
        c.nav_format_code = f.thermocouple ? 1 : 0;
        f.name = header.size() > 3 ? header.substr(3, 9) : std::string();
        f.serial_number = header.size() > 12 ? header.substr(12, 6) : std::string();

        size_t star = rest.find('*', comma + 1);
        if (star == std::string::npos) throw FileError(on_line(1, "no '*' after the points"));
        std::string data = rest.substr(comma + 1, star - comma - 1);
        size_t at_data = 0;
        int count = 0;
        for (;;) {
            double units = parse_leading_number(text_before_comma(data, at_data));
            size_t next = data.find(',', at_data);
            if (next == std::string::npos) {
                store_point(c, count, units, parse_leading_number(data.substr(at_data)), 1);
                ++count;
                break;
            }
            store_point(c, count, units, parse_leading_number(text_before_comma(data, at_data)), 1);
            ++count;
        }
        return count;
    });
}

void write_nav_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                         Prompts&) {
    apply_name_replacements(fields);
    double setpoint = selected_setpoint(fields);
    if (fields.thermocouple) curve.nav_format_code = 1;

    std::string out;
    auto line = [&out](const std::string& text) { out += text + kCrLf; };
    line("Sensor Model:   " + fields.name);
    line("Serial Number:  " + fields.serial_number);
    line("Interpolation Method:   " + fields.interpolation.text());
    line("SetPoint Limit: " + FormatNoLocale(setpoint, "###0.0#") + "      (Kelvin)");
    line("Data Format:    " + std::to_string(curve.nav_format_code) + "      " +
         parenthesised_name(curve.nav_format_code));
    line("Number of Breakpoints:   " + FormatNoLocale(curve.breakpoint_count, "###"));
    line("");
    line("No.   Units      Temperature (K)");
    line("");
    for (int i = 0; i < curve.breakpoint_count; ++i)
        line(point_number_taz(i + 1) + "  " + nav_units(curve.sensor_units[i]) + "       " +
             nav_temperature(curve.temperatures[i]));
    write_whole_file(path, out);
}

void write_dun_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                         Prompts& prompts) {
    apply_name_replacements(fields);
    // The instruments hold six serial characters; the window shows the cut serial number.
    if (fields.serial_number.size() > 6) fields.serial_number.resize(6);
    double setpoint = selected_setpoint(fields);

    std::string header(18, ' ');
    header[0] = fields.interpolation.selected == kLagrangian     ? 'L'
                : fields.interpolation.selected == kStraightLine ? 'S'
                                                                 : 'X';
    header[1] = setpoint_code(setpoint);
    if (fields.thermocouple) {
        header[2] = '9';
    } else if (!curve.dun_format_char.empty()) {
        header[2] = curve.dun_format_char[0];
    } else {
        prompts.message("Warning. Setting 3rd character in header field to 0.");
        header[2] = '0';
    }
    header.replace(3, 9, (fields.name.substr(0, 9) + std::string(9, ' ')).substr(0, 9));
    const std::string& serial = fields.serial_number;
    header.replace(18 - serial.size(), serial.size(), serial);

    std::string out = "XC06," + header;
    for (int i = 0; i < curve.breakpoint_count; ++i)
        out += "," + FormatNoLocale(curve.sensor_units[i], "0.00000") + "," +
               dun_temperature(curve.temperatures[i]);
    out += "*";
    out += kCrLf;
    write_whole_file(path, out);
}

void read_hox_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                        Prompts& prompts) {
    read_into_copies_or_complain(curve, fields, prompts, [&](CurveRecord& c, HeaderFields& f) {
        LineReader in(load_file(path));
        if (in.empty()) throw FileError("the file is empty");
        f.serial_number = in.read_line();
        int count = 0;
        while (!in.at_end()) {
            std::string line = in.read_line();
            size_t comma = line.find(',');
            if (comma == std::string::npos)
                throw FileError(on_line(in.line_number(), "no ',' between units and temperature"));
            store_point(c, count, hox_value(line.substr(0, comma)),
                        hox_value(line.substr(comma + 1)), in.line_number());
            ++count;
        }
        return count;
    });
}

void write_hox_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                         Prompts&) {
    if (fields.serial_number.empty()) fields.serial_number = "no number";
    std::string out = fields.serial_number + kCrLf;
    auto slot = [](const std::vector<double>& column, int i) {
        return i < static_cast<int>(column.size()) ? column[i] : UNUSED_POINT;
    };
    for (int i = 0; i < 192; ++i) {
        out += FormatNoLocale(slot(curve.sensor_units, i), "0.00") + "," +
               column_temperature(slot(curve.temperatures, i), "###.000") + kCrLf;
    }
    write_whole_file(path, out);
}

}  // namespace kelvara
