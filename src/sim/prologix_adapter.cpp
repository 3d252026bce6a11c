#include "sim/prologix_adapter.h"

#include <algorithm>
#include <charconv>
#include <sstream>
#include <utility>

#include "link/serial_port.h"

namespace kelvara::sim {

namespace {

constexpr char kEsc = 0x1B;

std::optional<int> whole(const std::string& text) {
    int value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

}  // namespace

PrologixAdapter::PrologixAdapter(Instrument& instrument, Clock& clock, std::string version)
    : instrument_(instrument), clock_(clock), version_(std::move(version)) {}

void PrologixAdapter::receive(const std::string& bytes) {
    for (const char c : bytes) parse(c);
    act();
}

void PrologixAdapter::parse(char c) {
    if (escaped_) {
        escaped_ = false;
        line_ += c;
        return;
    }
    if (c == kEsc) {  // never sent on: it only makes the next byte count as data
        escaped_ = true;
        return;
    }
    if (c == '\r' || c == '\n') {
        if (!line_.empty()) lines_.push_back({plain_plus_ >= 2, line_});
        line_.clear();
        plain_plus_ = 0;
        return;
    }
    if (c == '+' && plain_plus_ == static_cast<int>(line_.size())) ++plain_plus_;
    line_ += c;
}

void PrologixAdapter::act() {
    while (!lines_.empty() && clock_.now() >= busy_until_) {
        const Line line = std::move(lines_.front());
        lines_.pop_front();
        if (line.command)
            command(line.text.substr(2));
        else
            data(line.text);
    }
}

std::string PrologixAdapter::take_output() {
    act();
    return output_.take(clock_.now());
}

std::optional<double> PrologixAdapter::next_event() const {
    std::optional<double> next;
    if (!lines_.empty()) next = busy_until_;
    if (!output_.empty()) next = std::min(next.value_or(output_.next_at()), output_.next_at());
    return next;
}

void PrologixAdapter::disconnected() {
    line_.clear();
    plain_plus_ = 0;
    escaped_ = false;
    output_.clear();
}

bool PrologixAdapter::hung_up() const {
    return instrument_.hangup_due() && pending_.empty() && output_.empty();
}

bool PrologixAdapter::listening() const {
    if (settings.secondary != 0) return false;
    if (instrument_address >= 0) return settings.address == instrument_address;
    return settings.address >= 1 && settings.address <= 30;
}

void PrologixAdapter::answer(const std::string& text) {
    send(clock_.now(), 0, text + "\r\n");
}

void PrologixAdapter::send(double at, double spacing, std::string bytes) {
    if (bytes.empty()) return;
    if (const int baud = instrument_.faults.line_baud; baud > 0) {
        // One byte after the other on the link, each there once its last bit is.
        const double character = seconds_per_character({baud, 'N', 8, 1});
        spacing = std::max(spacing, character);
        at = std::max(at, link_free_at_) + character;
        link_free_at_ = at + static_cast<double>(bytes.size() - 1) * spacing;
    }
    output_.push(at, spacing, std::move(bytes));
}

void PrologixAdapter::change(int& setting, int value) {
    if (setting != value && settings.save) ++memory_writes;
    setting = value;
}

void PrologixAdapter::change(bool& setting, bool value) {
    if (setting != value && settings.save) ++memory_writes;
    setting = value;
}

void PrologixAdapter::command(const std::string& text) {
    std::istringstream in(text);
    std::string name;
    in >> name;
    std::vector<std::string> args;
    for (std::string a; in >> a;) args.push_back(a);
    // A setting with no argument answers its value; one out of range is ignored.
    const auto number = [&](int low, int high) -> std::optional<int> {
        if (args.size() != 1) return std::nullopt;
        const auto v = whole(args[0]);
        if (!v || *v < low || *v > high) return std::nullopt;
        return v;
    };
    const auto setting = [&](int& value, int low, int high) {
        if (args.empty()) return answer(std::to_string(value));
        if (const auto v = number(low, high)) change(value, *v);
    };
    const auto flag = [&](bool& value) {
        if (args.empty()) return answer(value ? "1" : "0");
        if (const auto v = number(0, 1)) change(value, *v == 1);
    };
    const bool controller = settings.mode == 1;
    if (name == "ver") {
        answer(version_);
    } else if (name == "mode") {
        setting(settings.mode, 0, 1);
    } else if (name == "auto") {
        flag(settings.auto_read);
    } else if (name == "eoi") {
        flag(settings.eoi);
    } else if (name == "eos") {
        setting(settings.eos, 0, 3);
    } else if (name == "eot_enable") {
        flag(settings.eot_enable);
    } else if (name == "eot_char") {
        setting(settings.eot_char, 0, 255);
    } else if (name == "read_tmo_ms") {
        setting(settings.read_tmo_ms, 1, 3000);
    } else if (name == "savecfg") {
        if (args.empty()) return answer(settings.save ? "1" : "0");
        if (const auto v = number(0, 1)) settings.save = *v == 1;
    } else if (name == "addr") {
        if (args.empty()) {
            std::string shown = std::to_string(settings.address);
            if (settings.secondary != 0) shown += " " + std::to_string(settings.secondary);
            return answer(shown);
        }
        const auto pad = whole(args[0]);
        const auto sad = args.size() == 2 ? whole(args[1]) : std::optional<int>(0);
        if (args.size() > 2 || !pad || *pad < 0 || *pad > 30 || !sad ||
            (*sad != 0 && (*sad < 96 || *sad > 126)))
            return;  // the previous address stays
        change(settings.address, *pad);
        change(settings.secondary, *sad);
    } else if (name == "clr" && controller) {
        bus.push_back({BusEvent::Kind::Clear, settings.address, {}, false});
        if (listening()) pending_.clear();
    } else if (name == "loc" && controller) {
        bus.push_back({BusEvent::Kind::Local, settings.address, {}, false});
    } else if (name == "read" && controller) {
        read(args.size() == 1 && args[0] == "eoi");
    }
}

void PrologixAdapter::data(const std::string& text) {
    if (settings.mode != 1) return;  // a device talks only when a controller asks it to
    static constexpr const char* kAppended[] = {"\r\n", "\r", "\n", ""};
    const std::string bytes = text + kAppended[settings.eos];
    bus.push_back({BusEvent::Kind::Data, settings.address, bytes, settings.eoi});
    if (!listening()) return;
    const Faults& f = instrument_.faults;
    if (instrument_.hangup_due()) {
        pending_.clear();  // the line is going down: nothing reaches the instrument any more
        return;
    }
    if (f.write_fails_after >= 0 && writes_ >= f.write_fails_after) return;
    ++writes_;
    // The instrument takes a message as its GPIB input does: one trailing CR LF or LF dropped.
    std::string message = bytes;
    if (message.ends_with("\r\n"))
        message.resize(message.size() - 2);
    else if (message.ends_with('\n'))
        message.pop_back();
    // A new command replaces an answer nobody read, as a real talker's output buffer does.
    pending_ = instrument_.handle(message);
    const bool faulty = instrument_.reply_faults_active();
    pending_at_ = clock_.now() + (faulty ? f.reply_delay : 0);
    pending_gap_ = faulty ? f.trickle : 0;
    pending_pieces_ = faulty ? std::max(1, f.split_pieces) : 1;
    pending_eoi_ = !(faulty && (f.no_terminator || f.babble));
    if (settings.auto_read) read(true);
}

void PrologixAdapter::read(bool until_eoi) {
    const double now = clock_.now();
    const double timeout = settings.read_tmo_ms / 1000.0;
    const Faults& f = instrument_.faults;
    const bool failing = f.read_fails_after >= 0 && reads_ >= f.read_fails_after;
    if (failing || !listening() || pending_.empty() || pending_at_ > now + timeout) {
        busy_until_ = now + timeout;  // nobody talks: the adapter waits out its time-out
        return;
    }
    ++reads_;
    double at = std::max(now, pending_at_);
    std::string reply;
    if (pending_gap_ > timeout) {
        // The next byte comes later than the adapter waits: this read ends with one byte.
        reply = pending_.substr(0, 1);
        pending_.erase(0, 1);
        pending_at_ = at + pending_gap_;
    } else {
        reply = std::exchange(pending_, std::string());
    }
    const bool eoi = pending_.empty() && pending_eoi_;
    const int pieces = std::clamp(pending_pieces_, 1, static_cast<int>(reply.size()));
    const std::size_t size = reply.size() / static_cast<std::size_t>(pieces);
    double last = at;
    for (int i = 0; i < pieces; ++i) {
        std::string piece = reply.substr(size * static_cast<std::size_t>(i),
                                         i + 1 == pieces ? std::string::npos : size);
        last = at + static_cast<double>(piece.size() - 1) * pending_gap_;
        send(at, pending_gap_, std::move(piece));
        at = last + kPieceGap;
    }
    if (eoi && settings.eot_enable)
        send(last, 0, std::string(1, static_cast<char>(settings.eot_char)));
    // Reading to EOI ends with the last byte; any other read waits out the time-out after it.
    busy_until_ = until_eoi && eoi ? last : last + timeout;
}

}  // namespace kelvara::sim
