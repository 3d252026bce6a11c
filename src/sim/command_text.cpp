#include <algorithm>

#include "curve/number_format.h"
#include "sim/command_sets.h"

namespace kelvara::sim {

CommandSet command_set_of(InstrumentModel model) {
    switch (profile(model).read) {
        case ReadProcedure::Kor:
        case ReadProcedure::Lum:
        case ReadProcedure::Nav:
            return CommandSet::Kcur;
        case ReadProcedure::Hox:
            return CommandSet::Hox;
        case ReadProcedure::Elk:
            return CommandSet::Xk;
        default:
            return CommandSet::HeaderPoint;
    }
}

std::optional<std::string> after_keyword(std::string_view command, std::string_view keyword) {
    if (!command.starts_with(keyword)) return std::nullopt;
    command.remove_prefix(keyword.size());
    while (!command.empty() && (command.front() == ' ' || command.front() == '\t'))
        command.remove_prefix(1);
    return std::string(command);
}

std::vector<std::string> split_fields(std::string_view text, bool quotes) {
    std::vector<std::string> fields(1);
    bool quoted = false;
    for (char c : text) {
        if (quotes && c == '"') {
            quoted = !quoted;
        } else if (c == ',' && !quoted) {
            fields.emplace_back();
        } else {
            fields.back() += c;
        }
    }
    return fields;
}

std::string trim_text(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) return {};
    const auto last = text.find_last_not_of(" \t\r\n");
    return std::string(text.substr(first, last - first + 1));
}

std::optional<int> location_field(std::string_view text) {
    const std::string t = trim_text(text);
    if (t.empty() || !std::all_of(t.begin(), t.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return std::nullopt;
    return to_int32(t);
}

std::string fit(std::string_view text, std::size_t width) {
    std::string out(text.substr(0, std::min(width, text.size())));
    out.resize(width, ' ');
    return out;
}

std::string two_digits(int number) {
    return (number >= 0 && number < 10 ? "0" : "") + std::to_string(number);
}

bool rising(const std::vector<SimPoint>& points) {
    if (points.size() < 2) return false;
    return parse_leading_number(points.front().temperature) <=
           parse_leading_number(points.back().temperature);
}

}  // namespace kelvara::sim
