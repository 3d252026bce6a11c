// ELK, DUN and KIP: "XK" erases, "XC" stores the header with the first two points, "XE" appends
// a point, "XD" returns the whole curve in one line, "XDT" reports the free memory.
#include <cstdio>
#include <string>

#include "curve/number_format.h"
#include "protocol/catalogue.h"
#include "protocol/kcur_shared.h"
#include "protocol/older_procedures.h"
#include "protocol/wire.h"
#include "protocol/write_plans.h"

namespace kelvara {

using detail::Pace;
using detail::Wire;

namespace {

constexpr int kCurveReplyBuffer = 1500;
constexpr int kFreeReplyBuffer = 1000;
// The "XDT" reply's first field ends in 11 characters of text after the number of free bytes.
constexpr std::size_t kFreeFieldSuffix = 11;

// Locations go out with two digits: 3 is "03".
std::string two_digits(const std::string& entry) {
    char text[16];
    std::snprintf(text, sizeof text, "%02d", curve_number_value(entry));
    return text;
}

struct WriteRules {
    bool memory_checks;
    Pace erase;
    Pace point;
    const char* erase_failure;
    const char* header_failure;
    const char* point_failure;
};

constexpr WriteRules kElkWrite = {true,
                                  {0.1, 0.6},
                                  {0.1, 0.6},
                                  "Problem talking to instrument.",
                                  "Problem talking to instrument.",
                                  "Problem talking to instrument."};
// KIP has no "XDT" memory report to rely on during a write and needs longer to store a point.
constexpr WriteRules kKipWrite = {false,
                                  {0.1, 0.6},
                                  {0.75, 0.75},
                                  "Problem talking to instrument after XK command.",
                                  "Problem talking to instrument after XC command.",
                                  "Problem talking to instrument after XE command."};

// "XDT" on the procedure's own wire: the free bytes, 0 for a reply without them or offline.
std::optional<int> bytes_free(Wire& wire) {
    std::string reply = "0";
    if (wire.interface_named()) {
        if (!wire.send_query("XDT", {0.1, 6.0})) return std::nullopt;
        const std::optional<std::string> answer = wire.read(kFreeReplyBuffer);
        if (!answer) return std::nullopt;
        reply = *answer;
    }
    const auto comma = reply.find(',');
    if (comma == std::string::npos || comma <= kFreeFieldSuffix) return 0;
    return truncate_to_int(parse_leading_number(reply.substr(0, comma - kFreeFieldSuffix)))
        .value_or(0);
}

TransferResult write_curve(Session& s, const WriteRules& r) {
    Wire wire(s);
    if (r.memory_checks) {
        const std::optional<int> free = bytes_free(wire);
        if (!free) return wire.result();
        if (*free < 100) return wire.stop_with(kNotEnoughMemory);
    }
    const int count = s.curve.breakpoint_count;
    if (count < 2) return wire.stop_with(kNothingSent);
    const std::string nn = two_digits(s.picks.write.text());
    const SentCurve& sent = s.transfer.sent = detail::plan_older_write(s, SentForm::Xk, nn);
    if (!wire.check_interface()) return wire.result();
    const auto& p = sent.points;

    if (!wire.send("XK" + nn + "*", false, r.erase_failure) || !wire.pause(r.erase))
        return wire.result();
    if (!wire.send("XC" + nn + "," + sent.header_field + "," + p[0].units.text + "," +
                       p[0].temperature.text + "," + p[1].units.text + "," + p[1].temperature.text +
                       "*",
                   false, r.header_failure) ||
        !wire.pause(r.point))
        return wire.result();
    for (int i = 2; i < count; ++i) {
        if (r.memory_checks) {
            const std::optional<int> free = bytes_free(wire);
            if (!free) return wire.result();
            if (*free < 10) return wire.stop_with(kNotEnoughMemoryForAll);
        }
        if (!wire.send("XE" + nn + "," + p[i].units.text + "," + p[i].temperature.text + "*", false,
                       r.point_failure) ||
            !wire.pause(r.point))
            return wire.result();
        report_percent(s.progress, i, count - 1);
    }
    detail::read_catalogue(wire);
    return wire.result();
}

}  // namespace

std::optional<int> query_bytes_free(Session& s) {
    Wire wire(s);
    return bytes_free(wire);
}

TransferResult write_curve_to_elk(Session& s) {
    return write_curve(s, kElkWrite);
}
TransferResult write_curve_to_kip(Session& s) {
    return write_curve(s, kKipWrite);
}

TransferResult read_curve_from_elk(Session& s) {
    const std::string nn = two_digits(s.picks.read.text());
    Wire wire(s);
    if (!wire.check_interface()) return wire.result();
    if (!wire.send("XD" + nn, true) || !wire.pause({0.1, 0.6})) return wire.result();
    const std::optional<Wire::Reply> reply = wire.read_as_is(kCurveReplyBuffer);
    if (!reply) return wire.result();
    const std::string& text = reply->text;
    if (!reply->complete && !blank_reply(text)) return wire.stop_with();
    if (!reply_names_curve(text, curve_number_value(nn)) ||
        text.find("BYTES FREE,") != std::string::npos)
        return wire.stop_with(kNoCurvePresent);
    // The header field: interpolation, setpoint code, thermocouple character, name, serial.
    std::string rest = text.substr(text.find(',') + 1);
    const bool lagrangian = !rest.empty() && rest[0] == 'L';
    const int pos = s.header.interpolation.find(lagrangian ? "Lagrangian" : "Straight Line");
    if (pos >= 0) s.header.interpolation.selected = pos;
    if (rest.size() > 1) select_setpoint_from_code(s.header, rest[1]);
    s.header.thermocouple = rest.size() > 2 && rest[2] == '9';
    s.transfer.thermocouple_char = rest.size() > 2 ? std::string(1, rest[2]) : std::string();
    if (!take_curve_from_reply(s, rest.size() > 3 ? rest.substr(3) : std::string()))
        return wire.stop_with();
    s.views.update_graph();
    s.views.show_grid_from_top();
    return wire.result();
}

TransferResult delete_curve_from_elk(Session& s) {
    const std::string nn = two_digits(s.picks.remove.text());
    Wire wire(s);
    if (!wire.check_interface()) return wire.result();
    if (!wire.send("XK" + nn + "*") || !wire.pause({0.1, 0.6})) return wire.result();
    show_erased_location(s, curve_number_of_entry(s.picks.remove.text()));
    return wire.result();
}

}  // namespace kelvara
