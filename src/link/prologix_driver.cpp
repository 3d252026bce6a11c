#include "link/prologix_driver.h"

#include <algorithm>
#include <charconv>

namespace kelvara {

namespace {

constexpr char kEsc = 0x1B;

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace

std::string prologix_escape(std::string_view data) {
    std::string out;
    out.reserve(data.size() + 8);
    for (const char c : data) {
        if (c == '\r' || c == '\n' || c == kEsc || c == '+') out += kEsc;
        out += c;
    }
    return out;
}

std::optional<std::pair<std::string, int>> parse_adapter_host(std::string_view text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    std::string_view host = text, port_text;
    bool port_given = false;
    if (text.starts_with('[')) {
        const auto close = text.find(']');
        if (close == std::string_view::npos) return std::nullopt;
        host = text.substr(1, close - 1);
        const std::string_view rest = text.substr(close + 1);
        if (!rest.empty()) {
            if (rest.front() != ':') return std::nullopt;
            port_text = rest.substr(1);
            port_given = true;
        }
    } else if (std::count(text.begin(), text.end(), ':') == 1) {
        // More than one colon is a bare IPv6 address, which takes no port without brackets.
        const auto colon = text.find(':');
        host = text.substr(0, colon);
        port_text = text.substr(colon + 1);
        port_given = true;
    }
    if (host.empty() || host.find_first_of(" \t/[]") != std::string_view::npos) return std::nullopt;
    int port = kAdapterTcpPort;
    if (port_given) {
        const auto [end, ec] =
            std::from_chars(port_text.data(), port_text.data() + port_text.size(), port);
        if (port_text.empty() || ec != std::errc() || end != port_text.data() + port_text.size() ||
            port < 1 || port > 65535)
            return std::nullopt;
    }
    return std::pair{std::string(host), port};
}

std::string adapter_host_text(const std::string& host, int port) {
    const bool v6 = host.find(':') != std::string::npos;
    return (v6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

PrologixDriver::PrologixDriver(std::unique_ptr<ByteStream> stream, Clock& clock)
    : stream_(std::move(stream)), clock_(clock) {}

PrologixDriver::~PrologixDriver() {
    if (stream_->is_open()) stream_->close();
}

void PrologixDriver::lost() {
    if (!error_.empty()) return;
    const std::string why = stream_->error();
    error_ = why.empty() ? std::string("the connection to the adapter was lost") : why;
}

std::string PrologixDriver::failure() const {
    return error_.empty() ? std::string() : "GPIB adapter " + where() + ": " + error_;
}

void PrologixDriver::wait_until_adapter_free() {
    while (stream_->is_open() && clock_.now() < busy_until_) {
        clock_.yield();
        // Whatever still comes belongs to the reply that was given up on.
        stream_->read(std::clamp(busy_until_ - clock_.now(), 0.0, kPoll));
    }
}

bool PrologixDriver::send_line(const std::string& line) {
    wait_until_adapter_free();
    if (stream_->is_open() && stream_->write(line + "\n")) return true;
    lost();
    return false;
}

std::string PrologixDriver::await_line(double seconds) {
    const double end = clock_.now() + seconds;
    std::string text;
    while (clock_.now() < end && stream_->is_open()) {
        clock_.yield();
        text += stream_->read(std::clamp(end - clock_.now(), 0.0, kPoll));
        for (auto eol = text.find_first_of("\r\n"); eol != std::string::npos;
             eol = text.find_first_of("\r\n")) {
            std::string line = trimmed(text.substr(0, eol));
            text.erase(0, eol + 1);
            if (!line.empty()) return line;  // the LF of a CR LF, or a blank line, is no answer
        }
    }
    return {};
}

bool PrologixDriver::identify() {
    const double end = clock_.now() + kIdentifySeconds;
    while (clock_.now() < end && stream_->is_open()) {
        while (!stream_->read(0).empty()) {
        }
        if (!send_line("++ver")) return false;
        version_ = await_line(std::min(kVerWait, end - clock_.now()));
        if (!version_.empty()) return true;
    }
    return false;
}

bool PrologixDriver::set(const std::string& setting) {
    // "++ver" behind each setting: its answer shows the adapter has acted on the setting, so no
    // more than one line ever waits in a small adapter's input buffer.
    if (send_line(setting) && send_line("++ver") && !await_line(kSettleWait).empty()) return true;
    if (error_.empty()) error_ = "the adapter stopped answering after \"" + setting + "\"";
    return false;
}

int PrologixDriver::ibdev(int board, int pad, int sad, int tmo, int eot, int eos) {
    if (open_) stream_->close();
    open_ = false;
    error_.clear();
    version_.clear();
    // An address the adapter ignores would leave the previous one in force: the commands would
    // reach whichever instrument was addressed last.
    if (pad < 0 || pad > 30) {
        error_ = "GPIB address " + std::to_string(pad) + " is not one of the adapter's 0 to 30";
        return finish(ERR, EARG, 0), -1;
    }
    if (board != 0 || (sad != 0 && (sad < 96 || sad > 126)) || gpib_timeout_seconds(tmo) == 0 ||
        eos != 0) {
        error_ = "the adapter offers board 0 only, secondary addresses 96 to 126 and no EOS";
        return finish(ERR, EARG, 0), -1;
    }
    busy_until_ = 0;
    if (!stream_->open()) {
        lost();
        return finish(ERR, EDVR, 0), -1;
    }
    const auto fail = [&] {
        stream_->close();
        return finish(ERR, EDVR, 0), -1;
    };
    if (!identify()) {
        if (error_.empty()) error_ = "no reply to ++ver: no Prologix-compatible adapter there";
        return fail();
    }
    // Everything is set, whatever the adapter kept from earlier use. Saving is switched off
    // first so that the changes after it are not written to the adapter's memory.
    const std::string address =
        "++addr " + std::to_string(pad) + (sad != 0 ? " " + std::to_string(sad) : std::string());
    for (const std::string& setting :
         {std::string("++savecfg 0"), std::string("++mode 1"), std::string("++auto 0"),
          std::string(eot ? "++eoi 1" : "++eoi 0"), std::string("++eos 3"),
          std::string("++eot_enable 1"), "++eot_char " + std::to_string(int(kEndMark)),
          "++read_tmo_ms " + std::to_string(kAdapterReadMs), address})
        if (!set(setting)) return fail();
    timeout_ = gpib_timeout_seconds(tmo);
    open_ = true;
    finish(CMPL, 0, 0);
    return kDescriptor;
}

int PrologixDriver::ibclr(int ud) {
    if (!valid(ud)) return finish(ERR, EDVR, 0);
    return send_line("++clr") ? finish(CMPL, 0, 0) : finish(ERR, EDVR, 0);
}

int PrologixDriver::ibwrt(int ud, const char* buffer, long count) {
    if (!valid(ud) || count < 0 || (buffer == nullptr && count > 0)) return finish(ERR, EARG, 0);
    const std::string_view data(buffer, static_cast<std::size_t>(count));
    return send_line(prologix_escape(data)) ? finish(CMPL, 0, count) : finish(ERR, EDVR, 0);
}

int PrologixDriver::ibrd(int ud, char* buffer, long count) {
    if (!valid(ud) || buffer == nullptr || count < 0) return finish(ERR, EARG, 0);
    wait_until_adapter_free();
    // The tail of a reply longer than a buffer, a reply that came after its time-out, or bytes
    // an earlier program left: none of it belongs to the reply asked for now.
    while (!stream_->read(0).empty()) {
    }
    const double end = clock_.now() + timeout_;
    if (!send_line("++read eoi")) return finish(ERR, EDVR, 0);
    const auto wanted = static_cast<std::size_t>(count);
    std::string reply;
    std::size_t received = 0;  // all of it, also what no longer fits the buffer
    bool ended = false;
    double quiet_since = clock_.now();
    while (clock_.now() < end) {
        clock_.yield();
        const std::string got = stream_->read(std::clamp(end - clock_.now(), 0.0, kPoll));
        if (!got.empty()) {
            quiet_since = clock_.now();
            const auto mark = got.find(kEndMark);
            const std::size_t taken = std::min(got.size(), mark);
            received += taken;
            // Only one byte past the buffer matters: that there was more.
            reply.append(got, 0, std::min(taken, wanted + 1 - std::min(reply.size(), wanted + 1)));
            ended = mark != std::string::npos;
            if (ended) break;
            continue;
        }
        if (!stream_->is_open()) break;
        if (clock_.now() - quiet_since < kAskAgainAfter) continue;
        // The adapter's read is over. A full buffer from a reply without EOI is all the caller
        // would take; otherwise the instrument may still answer, so ask again.
        if (received >= wanted || !send_line("++read eoi")) break;
        quiet_since = clock_.now();
    }
    busy_until_ = ended ? 0 : quiet_since + kAskAgainAfter;

    // What lies past the buffer is thrown away: the library would leave it in the instrument,
    // which drops it with the next command.
    const std::size_t n = std::min(reply.size(), wanted);
    std::copy_n(reply.data(), n, buffer);
    const long got = static_cast<long>(n);
    // A reply that came whole stands, even when the line went down right after it; END only
    // when the buffer held all of it.
    if (ended) return finish(received > wanted ? CMPL : CMPL | END, 0, got);
    if (!stream_->is_open()) {
        lost();
        return finish(ERR, EDVR, got);
    }
    if (received >= wanted) return finish(CMPL, 0, got);
    return finish(ERR | TIMO, EABO, got);
}

int PrologixDriver::ibloc(int ud) {
    if (!valid(ud)) return finish(ERR, EDVR, 0);
    return send_line("++loc") ? finish(CMPL, 0, 0) : finish(ERR, EDVR, 0);
}

int PrologixDriver::ibonl(int ud, int online) {
    if (!valid(ud)) return finish(ERR, EDVR, 0);
    if (!online) {
        // The connection goes with the device: an Ethernet adapter serves one client at a time.
        stream_->close();
        open_ = false;
    }
    return finish(CMPL, 0, 0);
}

}  // namespace kelvara
