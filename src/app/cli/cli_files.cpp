// kelvara-cli show and convert: the window's "Read Curve From File" and "Write Curve To File"
// without the window.
#include <iostream>
#include <string>

#include "cli_commands.h"
#include "cli_common.h"
#include "curve/files.h"

namespace kelvara::cli {

namespace {

// Takes --model and exactly `count` file names; prints the usage problem and returns false.
bool parse_file_args(const char* command, Args args, int count, InstrumentModel& model,
                     Args& files) {
    if (auto problem = take_model_option(args, model)) {
        std::cerr << "kelvara-cli " << command << ": " << *problem << " (see --help)\n";
        return false;
    }
    for (const auto& a : args) {
        if (a.size() > 1 && a[0] == '-') {
            std::cerr << "kelvara-cli " << command << ": unknown option '" << a
                      << "' (see --help)\n";
            return false;
        }
    }
    if (static_cast<int>(args.size()) != count) {
        std::cerr << "kelvara-cli " << command << ": expected " << count
                  << (count == 1 ? " file name" : " file names") << " (see --help)\n";
        return false;
    }
    files = std::move(args);
    return true;
}

// Reads path into the model's start-up state as "Read Curve From File" would; false on failure
// with the reason on stderr (wrong-type and "Bad file format." messages come from the reader).
bool read_file(const std::string& path, InstrumentModel model, CurveRecord& curve,
               HeaderFields& fields, Prompts& prompts) {
    std::string reason;
    switch (read_curve_file(path, model, curve, fields, prompts, &reason)) {
        case FileCommandResult::Done:
            return true;
        case FileCommandResult::WrongType:
            return false;
        case FileCommandResult::Failed:
            std::cerr << "kelvara-cli: cannot read " << printable(path + ": " + reason) << "\n";
            return false;
    }
    return false;
}

int show(const Args& args) {
    InstrumentModel model{};
    Args files;
    if (!parse_file_args("show", args, 1, model, files)) return 2;
    StderrPrompts prompts;
    CurveRecord curve = CurveRecord::for_model(model);
    HeaderFields fields = HeaderFields::for_model(model);
    if (!read_file(files[0], model, curve, fields, prompts)) return 1;
    print_curve_json(std::cout, model, curve, fields);
    return std::cout.good() ? 0 : 1;
}

int convert(const Args& args) {
    InstrumentModel model{};
    Args files;
    if (!parse_file_args("convert", args, 2, model, files)) return 2;
    StderrPrompts prompts;
    CurveRecord curve = CurveRecord::for_model(model);
    HeaderFields fields = HeaderFields::for_model(model);
    if (!read_file(files[0], model, curve, fields, prompts)) return 1;
    std::string reason;
    switch (write_curve_file(files[1], model, curve, fields, prompts, &reason)) {
        case FileCommandResult::Done:
            return 0;
        case FileCommandResult::WrongType:
            return 1;
        case FileCommandResult::Failed:
            std::cerr << "kelvara-cli: cannot write " << printable(files[1] + ": " + reason)
                      << "\n";
            return 1;
    }
    return 1;
}

const Subcommand show_command(
    "show",
    "show --model M FILE\n"
    "      Read FILE as \"Read Curve From File\" would for instrument model M and print the\n"
    "      curve as one JSON object: model, name, serial_number, data_format,\n"
    "      setpoint_limit, temperature_coefficient, interpolation_method, thermocouple,\n"
    "      nav_format_code, dun_format_char, breakpoint_count and points ([units, kelvin]).\n"
    "      M is a model designation (TAZ, DAL, ..., QUA/RIL or QUA or RIL), any case; the file\n"
    "      type must belong to the model (.TAZ/.TZA, .NAV/.DUN or .HOX).",
    show);

const Subcommand convert_command(
    "convert",
    "convert --model M IN OUT\n"
    "      Read IN, then write OUT in the layout its extension names, as \"Read Curve From\n"
    "      File\" followed by \"Write Curve To File\" would for model M (empty name and serial\n"
    "      become \"no name\"/\"no number\", the temperature coefficient is recomputed).\n"
    "      An existing OUT is replaced, keeping its permissions, its hard links and, when OUT\n"
    "      is a symbolic link, the link (its target is written); a failed write leaves OUT\n"
    "      untouched. IN may use CR LF, LF or CR line ends and start with a byte-order mark.",
    convert);

}  // namespace

}  // namespace kelvara::cli
