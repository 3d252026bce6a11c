#include "protocol/wire.h"

#include <cmath>

#include "curve/number_format.h"

namespace kelvara::detail {

Wire::Wire(Session& s, Route route, bool crlf_on_gpib)
    : s_(s), route_(route), crlf_on_gpib_(crlf_on_gpib) {}

bool Wire::on_gpib() const {
    return route_ == Route::Chosen && s_.setup.interface == Interface::GPIB;
}

bool Wire::check_interface(bool gpib_allowed) {
    if (route_ == Route::Rs232Only) return true;
    const Interface i = s_.setup.interface;
    if (i == Interface::RS232 || (gpib_allowed && i == Interface::GPIB)) return true;
    return fail(kInvalidInterface);
}

bool Wire::interface_named() {
    const Interface i = s_.setup.interface;
    if (i == Interface::GPIB || i == Interface::RS232) return true;
    s_.prompts.message(kInvalidInterface);
    return false;
}

bool Wire::send_query(const std::string& query, const Pace& pace, const std::string& failure) {
    const bool gpib = s_.setup.interface == Interface::GPIB;
    return send(query, !gpib, failure) && pause(gpib ? pace.gpib : pace.rs232);
}

bool Wire::fail(const std::string& message) {
    if (running()) {
        s_.prompts.message(message);
        outcome_ = TransferResult::Failed;
    }
    return false;
}

bool Wire::stopped(const std::string& failure) {
    if (s_.link.cancel_requested()) {
        outcome_ = TransferResult::Cancelled;
        return false;
    }
    return fail(failure);
}

bool Wire::send(const std::string& command, bool clear_input, const std::string& failure) {
    if (!running()) return false;
    bool sent = false;
    if (route_ == Route::Rs232Only)
        sent = s_.link.send_command_rs232(command, clear_input);
    else
        // The GPIB driver marks the last byte itself; only the RIL procedure adds CR LF there.
        sent = s_.link.send_command(on_gpib() && crlf_on_gpib_ ? command + "\r\n" : command,
                                    clear_input);
    return sent || stopped(failure);
}

bool Wire::pause(double seconds) {
    if (!running()) return false;
    if (s_.link.pause(seconds)) return true;
    outcome_ = TransferResult::Cancelled;
    return false;
}

bool Wire::pause(const Pace& pace) {
    return pause(on_gpib() ? pace.gpib : pace.rs232);
}

std::optional<Wire::Reply> Wire::read_as_is(int largest, const std::string& failure) {
    if (!running()) return std::nullopt;
    std::string text = route_ == Route::Rs232Only ? s_.link.read_reply_rs232(largest)
                                                  : s_.link.read_reply(largest);
    switch (s_.link.last_reply()) {
        case ReplyStatus::Complete:
            return Reply{std::move(text), true};
        case ReplyStatus::Cancelled:
            outcome_ = TransferResult::Cancelled;
            return std::nullopt;
        case ReplyStatus::LineDead:
            fail(failure);
            return std::nullopt;
        case ReplyStatus::Silent:
        case ReplyStatus::TooLong:
        case ReplyStatus::Trickling:
            break;
    }
    return Reply{std::move(text), false};
}

std::optional<std::string> Wire::read(int largest, const std::string& failure) {
    auto reply = read_as_is(largest, failure);
    if (!reply) return std::nullopt;
    // A time-out is not an answer, and a reply cut short is not the reply.
    if (!reply->complete) {
        fail(failure);
        return std::nullopt;
    }
    return std::move(reply->text);
}

std::optional<double> reply_number(const std::string& field) {
    if (!is_numeric_text(field)) return std::nullopt;
    const double value = parse_leading_number(field);
    if (!std::isfinite(value)) return std::nullopt;
    return value;
}

void settle_link(Session& s, TransferResult result) {
    if (result != TransferResult::Cancelled && !s.link.line_dead()) return;
    s.link.close();
    s.setup.interface = Interface::None;
}

}  // namespace kelvara::detail
