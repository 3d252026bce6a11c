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
    f.name = trim_spaces(header_value(in));
    f.serial_number = trim_spaces(header_value(in));
    std::string value = header_value(in);
    c.data_format = header_int(value, in.line_number());
    select_data_format(f, c.data_format, prompts);
    f.setpoint_text = general_text(header_number(header_value(in)));
    value = header_value(in);
    c.temperature_coefficient = header_int(value, in.line_number());
}

double setpoint_from_text(const HeaderFields& f) {
    if (trim_blanks(f.setpoint_text).empty()) throw FileError("the setpoint limit is empty");
    if (!is_numeric_text(f.setpoint_text))
        throw FileError("the setpoint limit '" + f.setpoint_text + "' is not a number");
    return parse_leading_number(f.setpoint_text);
}

// What both writers do before the first line: the name replacements, the setpoint limit check,
// and the coefficient and data-format code the file will carry. Returns the setpoint limit.
double prepare_header(CurveRecord& curve, HeaderFields& fields) {
    apply_name_replacements(fields);
    double setpoint = setpoint_from_text(fields);
    curve.temperature_coefficient = temperature_coefficient_of(curve);
    curve.data_format = data_format_from_selection(fields);
    return setpoint;
}

// Small and very large values are written in scientific notation; the rest keep six digits.
std::string taz_units(double v) {
    if (v < 0.0999995) return FormatNoLocale(v, "0.00000e-00") + "   ";
    if (!(v < 999995)) return FormatNoLocale(v, "0.00000E+00") + "   ";
    return format_sensor_units(v) + "       ";
}

std::string tza_units(double v) {
    if (!(v < 99999.5)) return FormatNoLocale(v, "000000");
    return format_sensor_units(v);
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
    read_into_copies(curve, fields, [&](CurveRecord& c, HeaderFields& f) {
        LineReader in(load_file(path));
        read_common_header(in, c, f, prompts);
        return read_numbered_points(in, c);
    });
}

void read_tza_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                        Prompts& prompts) {
    read_into_copies(curve, fields, [&](CurveRecord& c, HeaderFields& f) {
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
            store_point(c, count, units, temperature, in.line_number());
            ++count;
        }
        return count;
    });
}

void write_taz_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                         Prompts&) {
    double setpoint = prepare_header(curve, fields);

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
             column_temperature(curve.temperatures[i], "0.00000e-00"));
    write_whole_file(path, out);
}

void write_tza_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                         Prompts&) {
    double setpoint = prepare_header(curve, fields);

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
    write_whole_file(path, out);
}

}  // namespace kelvara
