#include "cli_common.h"

#include <cstdio>
#include <iostream>

#include "curve/code_page.h"
#include "curve/number_format.h"

namespace kelvara::cli {

StderrPrompts::StderrPrompts(std::ostream& out) : out_(out) {}
StderrPrompts::StderrPrompts() : out_(std::cerr) {}

std::string printable(std::string_view text) {
    std::string out;
    for (char ch : text) {
        const auto c = static_cast<unsigned char>(ch);
        if (c == '\n' || (c >= 0x20 && c < 0x7f) || c >= 0xa0) {
            out += ch;
        } else {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\x%02X", c);
            out += buf;
        }
    }
    return out;
}

void StderrPrompts::message(const std::string& text, const std::string&) {
    out_ << printable(text) << '\n' << std::flush;
}

bool StderrPrompts::ask_yes_no(const std::string& text) {
    out_ << printable(text) << " Yes" << '\n' << std::flush;
    return true;
}

std::optional<InstrumentModel> parse_model(std::string_view text) {
    return model_from_designation(text);
}

std::optional<std::string> take_model_option(Args& args, InstrumentModel& model) {
    for (size_t i = 0; i < args.size(); ++i) {
        std::string value;
        size_t taken = 1;
        if (args[i] == "--model") {
            if (i + 1 >= args.size()) return "--model needs an instrument model (TAZ, DAL, ...)";
            value = args[i + 1];
            taken = 2;
        } else if (args[i].rfind("--model=", 0) == 0) {
            value = args[i].substr(8);
        } else {
            continue;
        }
        auto parsed = parse_model(value);
        if (!parsed) {
            std::string known;
            for (const auto& p : model_profiles())
                known += (known.empty() ? "" : ", ") + std::string(p.designation);
            return "unknown instrument model '" + value + "' (one of " + known + ")";
        }
        model = *parsed;
        args.erase(args.begin() + static_cast<long>(i),
                   args.begin() + static_cast<long>(i + taken));
        for (const auto& a : args)
            if (a == "--model" || a.rfind("--model=", 0) == 0)
                return std::string("--model given more than once");
        return std::nullopt;
    }
    return "--model M is required";
}

// Names and serial numbers are code-page bytes: each character outside ASCII goes out as its
// \u escape, so the JSON is valid whatever the file held and shows what the window shows.
std::string json_string(std::string_view text) {
    std::string out = "\"";
    for (char16_t c : code_page_text(text)) {
        switch (c) {
            case u'"':
                out += "\\\"";
                break;
            case u'\\':
                out += "\\\\";
                break;
            case u'\n':
                out += "\\n";
                break;
            case u'\r':
                out += "\\r";
                break;
            case u'\t':
                out += "\\t";
                break;
            default:
                if (c < 0x20 || c >= 0x7f) {
                    char buf[8];
                    std::snprintf(buf, sizeof buf, "\\u%04x", static_cast<unsigned>(c));
                    out += buf;
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    return out + "\"";
}

void print_curve_json(std::ostream& out, InstrumentModel model, const CurveRecord& curve,
                      const HeaderFields& fields) {
    out << "{\"model\":" << json_string(designation(model))
        << ",\"name\":" << json_string(fields.name)
        << ",\"serial_number\":" << json_string(fields.serial_number)
        << ",\"data_format\":" << data_format_from_selection(fields)
        << ",\"setpoint_limit\":" << json_string(fields.setpoint_shown())
        << ",\"temperature_coefficient\":" << curve.temperature_coefficient
        << ",\"interpolation_method\":" << json_string(fields.interpolation.text())
        << ",\"thermocouple\":" << (fields.thermocouple ? "true" : "false")
        << ",\"nav_format_code\":" << curve.nav_format_code
        << ",\"dun_format_char\":" << json_string(curve.dun_format_char)
        << ",\"breakpoint_count\":" << curve.breakpoint_count << ",\"points\":[";
    for (int i = 0; i < curve.breakpoint_count; ++i)
        out << (i ? "," : "") << '[' << shortest_text(curve.sensor_units[i]) << ','
            << shortest_text(curve.temperatures[i]) << ']';
    out << "]}\n";
}

}  // namespace kelvara::cli
