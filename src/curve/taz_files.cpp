// .TAZ and .TZA files: reading and writing.
#include <string>

#include "curve/data_format.h"
#include "curve/file_io.h"
#include "curve/files.h"
#include "curve/number_format.h"
#include "curve/reader_support.h"

namespace kelvara {

using namespace file_io;

namespace {

// Name, serial number, data format and setpoint limit: the first four header lines of both
// layouts.
void read_common_header(LineReader& in, CurveRecord& c, HeaderFields& f, Prompts& prompts) {
    f.name = trim_blanks(header_value(in));
    f.serial_number = trim_blanks(header_value(in));
    c.data_format = header_int(header_value(in), "data format");
    select_data_format(f, c.data_format, prompts);
    f.setpoint_text = general_text(header_number(header_value(in)));
    c.temperature_coefficient = header_int(header_value(in), "temperature coefficient");
}

double setpoint_from_text(const HeaderFields& f) {
    if (!is_numeric_text(f.setpoint_text))
        throw FileError("the setpoint limit '" + f.setpoint_text + "' is not a number");
    return parse_leading_number(f.setpoint_text);
}

std::string taz_units(double v) {
    if (v < 0.0999995) return FormatNoLocale(v, "0.00000e-00") + "   ";
    const char* picture = v < 0.999995  ? ".000000"
                          : v < 9.99995 ? "0.00000"
                          : v < 99.9995 ? "00.0000"
                          : v < 999.995 ? "000.000"
                          : v < 9999.95 ? "0000.00"
                          : v < 99999.5 ? "00000.0"
                          : v < 999995  ? "000000."
                                        : nullptr;
    if (!picture) return FormatNoLocale(v, "0.00000E+00") + "   ";
    return FormatNoLocale(v, picture) + "       ";
}

std::string taz_temperature(double v) {
    const char* picture = v < 0     ? "0.00000e-00"
                          : v < 10  ? "  0.000"
                          : v < 100 ? " 00.000"
                                    : "000.000";
    return FormatNoLocale(v, picture);
}

std::string tza_units(double v) {
    const char* picture = v < 0.999995  ? ".000000"
                          : v < 9.99995 ? "0.00000"
                          : v < 99.9995 ? "00.0000"
                          : v < 999.995 ? "000.000"
                          : v < 9999.95 ? "0000.00"
                          : v < 99999.5 ? "00000.0"
                                        : "000000";
    return FormatNoLocale(v, picture);
}

std::string tza_temperature(double v) {
    const char* picture = v < 1.199    ? "0.000"
                          : v < 9.99   ? " 0.00"
                          : v < 19.99  ? "00.00"
                          : v < 99.99  ? "00.0"
                          : v < 999.99 ? "000.0"
                                       : "0000.0";
    return FormatNoLocale(v, picture);
}

const char* tza_format_name(int code) {
    switch (code) {
        case 1:
            return "; MilliVolts vs. Kelvin";
        case 2:
            return "; Volts vs. Kelvin";
        case 3:
            return "; Ohms vs. Kelvin ";
        case 4:
            return "; Log Ohms vs. Kelvin";
        case 5:
            return "; Log Ohms vs. Log Kelvin";
        default:
            return "";
    }
}

}  // namespace

void read_taz_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                        Prompts& prompts) {
    // Work on copies so that a failed read leaves the window showing the curve it had.
    CurveRecord c = curve;
    HeaderFields f = fields;
    LineReader in(load_file(path));
    read_common_header(in, c, f, prompts);
    int count = header_int(header_value(in), "number of breakpoints");
    if (count < 0 || count > c.max_breakpoints)
        throw FileError("the file declares " + std::to_string(count) +
                        " points; the model allows " + std::to_string(c.max_breakpoints));

    // The first point is the first line holding a "1" (its point number); whatever comes
    // before it is the column heading.
    std::string line;
    do {
        line = in.read_line();
    } while (line.find('1') == std::string::npos && !in.at_end());
    size_t one = line.find('1');
    std::string rest = one == std::string::npos ? line : line.substr(one + 1);
    int pos = 1;
    double units = number_field(rest, pos);
    double temperature = number_field(rest, pos);
    store_point(c, 0, units, temperature);

    for (int i = 1; i < count; ++i) {
        line = in.read_line();
        pos = 1;
        next_field(line, pos);  // the point number is not checked
        units = number_field(line, pos);
        temperature = number_field(line, pos);
        store_point(c, i, units, temperature);
    }
    c.breakpoint_count = count;
    c.clear_unused_slots();
    curve = std::move(c);
    fields = std::move(f);
}

void read_tza_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                        Prompts& prompts) {
    CurveRecord c = curve;
    HeaderFields f = fields;
    LineReader in(load_file(path));
    read_common_header(in, c, f, prompts);
    int count = 0;
    while (!in.at_end()) {
        std::string line = in.read_line();
        int pos = 1;
        next_field(line, pos);  // "Point"
        next_field(line, pos);  // its number and colon
        double units = number_field(line, pos);
        double temperature = number_field(line, pos);
        store_point(c, count, units, temperature);
        ++count;
    }
    c.breakpoint_count = count;
    c.clear_unused_slots();
    curve = std::move(c);
    fields = std::move(f);
}

void write_taz_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                         Prompts&) {
    apply_name_replacements(fields);
    double setpoint = setpoint_from_text(fields);
    curve.temperature_coefficient = temperature_coefficient_of(curve);
    curve.data_format = data_format_from_selection(fields);

    std::string out;
    auto line = [&out](const std::string& text) { out += text + kCrLf; };
    line("Sensor Model:   " + fields.name);
    line("Serial Number:  " + fields.serial_number);
    line("Data Format:    " + std::to_string(curve.data_format) + "      " +
         parenthesised_name(curve.data_format));
    line("SetPoint Limit: " + FormatNoLocale(setpoint, "###0.0#") + "      (Kelvin)");
    line("Temperature coefficient:  " + std::to_string(curve.temperature_coefficient) +
         (curve.temperature_coefficient == 1 ? " (Negative)" : " (Positive)"));
    line("Number of Breakpoints:   " + FormatNoLocale(curve.breakpoint_count, "###"));
    line("");
    line("No.   Units      Temperature (K)");
    line("");
    for (int i = 0; i < curve.breakpoint_count; ++i)
        line(point_number_taz(i + 1) + "  " + taz_units(curve.sensor_units[i]) +
             taz_temperature(curve.temperatures[i]));
    write_file_atomically(path, out);
}

void write_tza_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                         Prompts&) {
    apply_name_replacements(fields);
    double setpoint = setpoint_from_text(fields);
    curve.temperature_coefficient = temperature_coefficient_of(curve);
    curve.data_format = data_format_from_selection(fields);

    std::string out;
    auto line = [&out](const std::string& text) { out += text + kCrLf; };
    line("Name: " + fields.name);
    line("Serial number: " + fields.serial_number);
    line("Format: " + std::to_string(curve.data_format) + std::string(13, ' ') +
         tza_format_name(curve.data_format));
    line("Limit: " + FormatNoLocale(setpoint, "####.00"));
    line("Coefficient: " + std::to_string(curve.temperature_coefficient) + std::string(8, ' ') +
         (curve.temperature_coefficient == 1 ? "; Negative" : "; Positive"));
    for (int i = 0; i < curve.breakpoint_count; ++i)
        line("Point " + std::to_string(i + 1) + ": " + tza_units(curve.sensor_units[i]) + "," +
             tza_temperature(curve.temperatures[i]));
    write_file_atomically(path, out);
}

}  // namespace kelvara
