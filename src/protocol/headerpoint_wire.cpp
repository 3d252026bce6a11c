#include "protocol/headerpoint_wire.h"

#include <cctype>

#include "curve/next_field.h"
#include "curve/number_format.h"
#include "protocol/catalogue.h"
#include "protocol/headerpoint.h"

namespace kelvara::detail {

std::optional<bool> poll_until_ready(Session& s, Wire& wire) {
    constexpr int kMaxPolls = 90;
    const bool clear = !wire.on_gpib();
    if (!wire.send("BUSY?", clear) || !wire.pause(0.1)) return std::nullopt;
    std::optional<std::string> reply = wire.read();
    if (!reply) return std::nullopt;
    int polls = 0;
    while ((reply->empty() || (*reply)[0] != '0') && polls < kMaxPolls) {
        if (!wire.pause(1.0)) return std::nullopt;
        ++polls;
        if (!wire.send("BUSY?", clear) || !wire.pause(0.1)) return std::nullopt;
        reply = wire.read();
        if (!reply) return std::nullopt;
        s.progress.set_label(s.progress.label().empty() ? kWaitingForInstrument : "");
    }
    return !reply->empty() && (*reply)[0] == '0';
}

bool header_reply_parses(const std::string& reply) {
    std::string fields[5];
    std::size_t begin = 0;
    for (int k = 0; k < 5; ++k) {
        if (begin > reply.size()) return false;
        const std::size_t end = reply.find(',', begin);
        if (end == std::string::npos && k < 4) return false;
        fields[k] =
            trim_reply_field(reply.substr(begin, end == std::string::npos ? end : end - begin));
        begin = end == std::string::npos ? reply.size() + 1 : end + 1;
    }
    const auto format = reply_number(fields[2]);
    return format && truncate_to_int(*format) && reply_number(fields[3]) && !fields[4].empty() &&
           std::isdigit(static_cast<unsigned char>(fields[4][0]));
}

bool read_back_location(Session& s, Wire& wire, const std::string& n, const Pace& pace,
                        Refresh refresh) {
    if (!wire.send("CRVHDR? " + n, !wire.on_gpib()) || !wire.pause(pace)) return false;
    const std::optional<std::string> reply = wire.read();
    if (!reply) return false;
    if (!header_reply_parses(*reply)) return wire.fail();
    const auto [name, serial] = name_and_serial(*reply);
    refresh_location_entry(s.picks,
                           refresh == Refresh::FromWrite ? PickedIn::Write : PickedIn::Delete, n,
                           header_point_entry(n, name, serial));
    return true;
}

std::string picked_curve_number(const ListField& list) {
    return trim_blanks(curve_number_field(list.text()));
}

}  // namespace kelvara::detail
