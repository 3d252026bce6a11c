#include "sim/sim_transports.h"

#include <algorithm>

namespace kelvara::sim {

SimSerialPort::SimSerialPort(Instrument& instrument, Clock& clock)
    : instrument_(instrument), clock_(clock) {}

bool SimSerialPort::open(int, const std::string&, const SerialSettings& settings) {
    // A hung-up line stays down while the instrument is set to hang up.
    if (!can_open || (hanging_up_ && instrument_.hangup_due())) return false;
    hanging_up_ = false;
    settings_ = settings;
    open_ = true;
    dead_ = false;
    partial_.clear();
    pending_.clear();
    line_free_at_ = clock_.now();
    return true;
}

void SimSerialPort::close() {
    open_ = false;
    partial_.clear();
    pending_.clear();
}

std::string SimSerialPort::error() const {
    return dead_ ? "simulated port: the line hung up" : std::string();
}

void SimSerialPort::discard_input() {
    // Only what has already arrived is thrown away; a slow reply still on its way survives.
    pending_.take(clock_.now());
}

void SimSerialPort::queue_reply(const std::string& reply) {
    const Faults& f = instrument_.faults;
    const bool faulty = instrument_.reply_faults_active();
    double spacing = 0;
    if (faulty && f.trickle > 0)
        spacing = f.trickle;
    else if (f.line_baud > 0)
        spacing = seconds_per_character(
            {f.line_baud, settings_.parity, settings_.data_bits, settings_.stop_bits});
    // A reply leaves once the line has carried the ones before it.
    const double ready = std::max(clock_.now() + (faulty ? f.reply_delay : 0), line_free_at_);
    const int pieces = faulty ? std::clamp(f.split_pieces, 1, static_cast<int>(reply.size())) : 1;
    const std::size_t size = reply.size() / static_cast<std::size_t>(pieces);
    // Pieces come one clock step apart, so a reader that stops at the first piece fails.
    for (int i = 0; i < pieces; ++i) {
        const std::size_t start = size * static_cast<std::size_t>(i);
        const std::size_t length = i + 1 == pieces ? std::string::npos : size;
        // A character has arrived once its last bit has.
        const double at = ready + 0.001 * i + static_cast<double>(start + 1) * spacing;
        pending_.push(at, spacing, reply.substr(start, length));
    }
    line_free_at_ = ready + static_cast<double>(reply.size()) * spacing;
}

void SimSerialPort::write(const std::string& bytes) {
    if (!open_) return;
    if (hanging_up_) {
        // Nothing leaves a hung-up line: the write fails once the last reply is in.
        if (pending_.empty()) dead_ = true;
        return;
    }
    for (char c : bytes) {
        if (c != '\r' && c != '\n') {
            partial_ += c;
            continue;
        }
        if (partial_.empty()) continue;  // the LF of a CR LF pair
        const std::string reply = instrument_.handle(partial_);
        partial_.clear();
        if (!reply.empty()) queue_reply(reply);
        if (instrument_.hangup_due()) {
            hanging_up_ = true;
            break;
        }
    }
}

std::string SimSerialPort::take_input() {
    if (!open_) return {};
    const std::string out = pending_.take(clock_.now(), instrument_.faults.split_pieces > 1);
    // The line goes down once the instrument's last words are through.
    if (hanging_up_ && pending_.empty() && out.empty()) dead_ = true;
    return out;
}

std::string SimSerialPort::device_name(int port) const {
    return "simulated port " + std::to_string(port);
}

SimGpibDriver::SimGpibDriver(Instrument& instrument, Clock& clock, int address)
    : instrument_(instrument), clock_(clock), address_(address) {}

bool SimGpibDriver::valid(int ud) const {
    return device_ >= 0 && ud == device_;
}

int SimGpibDriver::ibdev(int board, int pad, int, int tmo, int, int) {
    if (board != 0 || pad < 0 || pad > 30 || (address_ >= 0 && pad != address_))
        return finish(ERR, EARG, 0), -1;
    timeout_ = gpib_timeout_seconds(tmo);
    device_ = 16 + pad;
    reply_.clear();
    finish(CMPL, 0, 0);
    return device_;
}

int SimGpibDriver::ibclr(int ud) {
    if (!valid(ud)) return finish(ERR, EDVR, 0);
    if (instrument_.faults.silent) return finish(ERR, ENOL, 0);
    if (clears_failed_ < instrument_.faults.clear_failures) {
        ++clears_failed_;
        return finish(ERR, ENOL, 0);
    }
    reply_.clear();
    return finish(CMPL, 0, 0);
}

int SimGpibDriver::ibwrt(int ud, const char* buffer, long count) {
    if (!valid(ud) || !buffer || count < 0) return finish(ERR, EARG, 0);
    const Faults& f = instrument_.faults;
    if (f.silent || instrument_.hangup_due()) return finish(ERR, ENOL, 0);  // nobody listening
    if (f.write_fails_after >= 0 && writes_ >= f.write_fails_after) return finish(ERR, ENOL, 0);
    ++writes_;
    std::string command(buffer, static_cast<std::size_t>(count));
    if (command.size() >= 2 && command.ends_with("\r\n"))
        command.resize(command.size() - 2);
    else if (!command.empty() && command.back() == '\n')
        command.pop_back();
    // A new command replaces an answer nobody read, as a real talker's output buffer does.
    reply_ = instrument_.handle(command);
    const bool faulty = instrument_.reply_faults_active();
    reply_ends_ = !(faulty && (f.no_terminator || f.babble));
    reply_ready_at_ = clock_.now() + (faulty ? f.reply_delay : 0);
    return finish(CMPL, 0, count);
}

int SimGpibDriver::ibrd(int ud, char* buffer, long count) {
    if (!valid(ud) || !buffer || count < 0) return finish(ERR, EARG, 0);
    const Faults& f = instrument_.faults;
    if (f.read_fails_after >= 0 && reads_ >= f.read_fails_after) return finish(ERR, EBUS, 0);
    if (reply_.empty() && instrument_.hangup_due()) return finish(ERR, ENOL, 0);
    const double wait = reply_ready_at_ - clock_.now();
    if (reply_.empty() || (wait > timeout_ && timeout_ > 0)) {
        // Nothing to talk: the read times out.
        if (timeout_ > 0) clock_.pause(timeout_);
        return finish(ERR | TIMO, EABO, 0);
    }
    if (wait > 0) clock_.pause(wait);
    ++reads_;
    const std::size_t n = std::min(reply_.size(), static_cast<std::size_t>(count));
    std::copy_n(reply_.data(), n, buffer);
    reply_.erase(0, n);
    if (reply_.empty() && !reply_ends_ && n < static_cast<std::size_t>(count)) {
        // The talker stopped without asserting END: the read waits out its time limit.
        if (timeout_ > 0) clock_.pause(timeout_);
        return finish(ERR | TIMO, EABO, static_cast<long>(n));
    }
    return finish(CMPL | (reply_.empty() && reply_ends_ ? END : 0), 0, static_cast<long>(n));
}

int SimGpibDriver::ibloc(int ud) {
    if (!valid(ud)) return finish(ERR, EDVR, 0);
    return finish(CMPL, 0, 0);
}

int SimGpibDriver::ibonl(int ud, int online) {
    if (!valid(ud)) return finish(ERR, EDVR, 0);
    if (!online) device_ = -1;
    reply_.clear();
    return finish(CMPL, 0, 0);
}

}  // namespace kelvara::sim
