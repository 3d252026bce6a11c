#include "sim/older_curves.h"

#include "sim/command_sets.h"

namespace kelvara::sim {

std::string older_curve_reply(const Instrument& in, int location, const SimCurve& c) {
    std::string out = two_digits(location) + "," + c.header + "," + (rising(c.points) ? "P" : "N") +
                      "," + std::to_string(c.points.size() + 2) + "," + kOwnFirstPair;
    for (const auto& p : c.points)
        out += "," + in.reply_number(p.units) + "," + in.reply_number(p.temperature);
    return out + "," + kOwnLastPair;
}

namespace {

std::string name_and_serial(const SimCurve& c) {
    return c.header.size() > 3 ? c.header.substr(3) : std::string();
}

}  // namespace

std::string older_curve_name(const SimCurve& c) {
    return trim_text(name_and_serial(c).substr(0, 9));
}

std::string older_curve_serial(const SimCurve& c) {
    const std::string f = name_and_serial(c);
    return f.size() > 9 ? trim_text(f.substr(9)) : std::string();
}

bool older_curve_begin(Instrument& in, int location, const std::string& text) {
    const auto fields = split_fields(text);
    if (fields.size() != 5 || !in.is_writable(location)) return false;
    // The header replaces whatever the location held, so its room counts as free.
    const SimCurve* old = in.curve(location);
    const int reclaimed = old ? Instrument::kHeaderBytes +
                                    Instrument::kPointBytes * static_cast<int>(old->points.size())
                              : 0;
    if (in.free_bytes() + reclaimed < Instrument::kHeaderBytes + 2 * Instrument::kPointBytes)
        return false;
    SimCurve c;
    c.header = fields[0];
    if (in.faults.corrupt_header && !c.header.empty()) c.header.pop_back();
    in.store(location, std::move(c));
    in.put_point(location, 0, {trim_text(fields[1]), trim_text(fields[2])});
    in.put_point(location, 1, {trim_text(fields[3]), trim_text(fields[4])});
    return true;
}

bool older_curve_append(Instrument& in, int location, const std::string& text) {
    const auto fields = split_fields(text);
    if (fields.size() != 2 || !in.is_writable(location)) return false;
    SimCurve* c = in.mutable_curve(location);
    if (!c || static_cast<int>(c->points.size()) >= max_breakpoints_of(in.model())) return false;
    if (in.free_bytes() < Instrument::kPointBytes) return false;
    in.put_point(location, std::nullopt, {trim_text(fields[0]), trim_text(fields[1])});
    return true;
}

bool split_location(const std::string& args, int& location, std::string& rest) {
    const auto comma = args.find(',');
    const auto n = location_field(args.substr(0, comma));
    if (!n) return false;
    location = *n;
    rest = comma == std::string::npos ? std::string() : args.substr(comma + 1);
    return true;
}

std::string without_star(std::string text) {
    text = trim_text(text);
    if (!text.empty() && text.back() == '*') text.pop_back();
    return text;
}

}  // namespace kelvara::sim
