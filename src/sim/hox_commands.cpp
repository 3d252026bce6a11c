// The HOX command set: one curve of temperatures over the fixed grid of 192 sensor-unit values,
// addressed point by point by the units themselves, plus an 8-character serial number.
//
// No reply: "ERASE!" (every temperature back to 0, serial number empty), "C<units>,<temp>"
// (units "0.00" as on the grid; the temperature is kept as sent; units off the grid are
// ignored), "SID<text>" (first 8 characters kept).
// "C?<units>" answers the temperature held at that grid point as it was sent ("475.000"), "0.000"
// for one never written, and "BAD POINT" for units off the grid.
// "SID?" answers the serial number (an empty line when none is set).
// The curve lives at Instrument::kHoxLocation.
#include <cmath>

#include "curve/curve_record.h"
#include "curve/number_format.h"
#include "sim/command_sets.h"

namespace kelvara::sim {

namespace {

constexpr int kGridPoints = 192;
constexpr const char* kNoTemperature = "0.000";

std::optional<std::size_t> grid_index(const std::string& units) {
    if (!is_numeric_text(units)) return std::nullopt;
    const double u = parse_leading_number(units);
    for (int i = 0; i < kGridPoints; ++i)
        if (std::fabs(hox_grid_units(i) - u) < 0.005) return static_cast<std::size_t>(i);
    return std::nullopt;
}

SimCurve& hox_curve(Instrument& in) {
    if (!in.curve(Instrument::kHoxLocation)) {
        SimCurve c;
        for (int i = 0; i < kGridPoints; ++i)
            c.points.push_back({FormatNoLocale(hox_grid_units(i), "0.00"), kNoTemperature});
        in.store(Instrument::kHoxLocation, std::move(c));
    }
    return *in.mutable_curve(Instrument::kHoxLocation);
}

}  // namespace

Answer handle_hox_command(Instrument& in, const std::string& command) {
    if (command_set_of(in.model()) != CommandSet::Hox) return Answer::not_mine();
    if (command == "ERASE!") {
        in.erase(Instrument::kHoxLocation);
        return Answer::none();
    }
    if (command == "SID?") {
        const SimCurve* c = in.curve(Instrument::kHoxLocation);
        return Answer::reply(c ? c->serial : std::string());
    }
    if (command.starts_with("SID")) {
        std::string serial = command.substr(3, 8);
        if (in.faults.corrupt_header && !serial.empty()) serial.pop_back();
        hox_curve(in).serial = serial;
        in.touch();
        return Answer::none();
    }
    if (auto args = after_keyword(command, "C?")) {
        const auto index = grid_index(*args);
        if (!index) return Answer::reply("BAD POINT");
        const SimCurve* c = in.curve(Instrument::kHoxLocation);
        return Answer::reply(in.reply_number(c ? c->points[*index].temperature : kNoTemperature));
    }
    if (auto args = after_keyword(command, "C")) {
        const auto fields = split_fields(*args);
        if (fields.size() != 2) return Answer::none();
        const auto index = grid_index(trim_text(fields[0]));
        if (!index) return Answer::none();
        const std::string units = hox_curve(in).points[*index].units;
        in.put_point(Instrument::kHoxLocation, *index, {units, trim_text(fields[1])});
        return Answer::none();
    }
    return Answer::not_mine();
}

}  // namespace kelvara::sim
