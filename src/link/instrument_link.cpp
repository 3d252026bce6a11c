#include "link/instrument_link.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace kelvara {

namespace {

constexpr const char* kOffline = " Continuing to work offline.";
constexpr const char* kInvalidModel = "Invalid instrument model number.";
constexpr const char* kWrongModel =
    "Wrong model number received from instrument. Continuing to work offline.";
constexpr const char* kImproperPing =
    "Improper ping response from instrument. Continuing to work offline.";
constexpr const char* kRs232Error =
    "Error with RS232 interface with instrument. Continuing to work offline.";

// ibdev arguments: board 0, no secondary address, T10s, END with the last byte, no EOS.
constexpr int kBoard = 0;
constexpr int kSecondaryAddress = 0;
constexpr int kTimeout10s = 13;
constexpr int kAssertEnd = 1;
constexpr int kNoEos = 0;

constexpr int kClearRetries = 10;
constexpr double kAfterClear = 0.25;
constexpr double kAfterGpibPing = 0.2;
constexpr double kAfterSerialPing = 1.0;
constexpr double kSerialReplyTimeout = 10.0;
constexpr int kPingReplySize = 80;
// The identification reply is judged whatever its length; the bound only stops a babbling line.
constexpr std::size_t kPingLargest = 4096;
// A reply may come slower than the line carries it (an instrument formatting as it sends), but
// not ten times slower for longer than two seconds: a byte every half second fails within 20 s
// of silence at worst, and a whole curve at the line's own speed is collected to its end.
constexpr double kTrickleFactor = 10;
constexpr double kTrickleGrace = 2.0;

// The status reported when the thread's status variables could not be registered.
constexpr std::int32_t kRegistrationFailedCntl = static_cast<std::int32_t>(0xDEAD37F0u);

std::int16_t low16(std::int32_t v) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(static_cast<std::uint32_t>(v)));
}

const SerialSettings kFallbackSettings{9600, 'O', 7, 1};

}  // namespace

std::string gpib_error_name(int iberr) {
    static const std::pair<int, const char*> kNames[] = {
        {0, "EDVR (system error)"},     {1, "ECIC (not controller-in-charge)"},
        {2, "ENOL (no listener)"},      {3, "EADR (not addressed)"},
        {4, "EARG (invalid argument)"}, {5, "ESAC (not system controller)"},
        {6, "EABO (I/O aborted)"},      {7, "ENEB (no GPIB board)"},
        {8, "EDMA (DMA error)"},        {10, "EOIP (I/O in progress)"},
        {11, "ECAP (no capability)"},   {12, "EFSO (file system error)"},
        {14, "EBUS (bus error)"},       {15, "ESTB (status byte lost)"},
        {16, "ESRQ (SRQ stuck on)"},    {20, "ETAB (table problem)"},
    };
    for (const auto& [code, name] : kNames)
        if (code == iberr) return name;
    return "error " + std::to_string(iberr);
}

bool identification_accepted(const ModelProfile* profile, const std::string& reply) {
    if (profile == nullptr) return false;
    if (profile->ping_reply_needs_comma) return reply.find(',') != std::string::npos;
    const auto first = reply.find(',');
    if (first == std::string::npos) return false;  // no model field at all
    const auto second = reply.find(',', first + 1);
    const std::string field = reply.substr(
        first + 1, second == std::string::npos ? std::string::npos : second - first - 1);
    for (auto id : profile->accepted_ids)
        if (field.find(id) != std::string::npos) return true;
    return false;
}

InstrumentLink::InstrumentLink(Clock& clock, Prompts& prompts) : clock_(clock), prompts_(prompts) {}

InstrumentLink::~InstrumentLink() {
    close();
    if (gpib_ && registered_) gpib_->unregister_globals();
}

void InstrumentLink::set_serial_port(std::unique_ptr<SerialPort> port) {
    if (serial_ && serial_->is_open()) serial_->close();
    serial_ = std::move(port);
}

void InstrumentLink::set_gpib_driver(std::unique_ptr<GpibDriver> driver) {
    if (gpib_) {
        if (device_ >= 0) {
            gpib_->ibloc(device_);
            gpib_->ibonl(device_, 0);
        }
        if (registered_) gpib_->unregister_globals();
    }
    device_ = -1;
    registered_ = false;
    registration_failed_ = false;
    gpib_ = std::move(driver);
}

void InstrumentLink::set_error_status() {
    status_.set(GpibDriver::ERR, 0, kRegistrationFailedCntl);
}

bool InstrumentLink::ensure_registered() {
    if (registered_) return true;
    if (registration_failed_) return false;
    const int result = gpib_->register_globals();
    if (result == 0) {
        registered_ = true;
    } else if (result == 1) {
        // Registered earlier with other variables: start again with ours.
        gpib_->unregister_globals();
        gpib_->register_globals();
        registered_ = true;
    } else {
        if (result == 2 || result == 3) gpib_->unregister_globals();
        registration_failed_ = true;
        set_error_status();
    }
    return registered_;
}

void InstrumentLink::copy_status() {
    // Without registered status variables nothing the driver reports reaches this thread, so the
    // error status set at registration stays.
    if (registration_failed_) return;
    status_.ibsta = low16(gpib_->thread_ibsta());
    status_.iberr = low16(gpib_->thread_iberr());
    status_.ibcntl = gpib_->thread_ibcntl();
    status_.ibcnt = low16(status_.ibcntl);
}

void InstrumentLink::fail_gpib(SetupChoices& choices, const std::string& text) {
    prompts_.message(text);
    if (gpib_ && device_ >= 0) gpib_->ibonl(device_, 0);  // release the descriptor
    device_ = -1;
    interface_ = Interface::None;
    choices.interface = Interface::None;
}

void InstrumentLink::fail_rs232(SetupChoices& choices, const std::string& text) {
    prompts_.message(text);
    if (serial_ && serial_->is_open()) serial_->close();
    interface_ = Interface::None;
    choices.interface = Interface::None;
}

void InstrumentLink::start_over() {
    close();
    dead_ = false;
    dead_reason_.clear();
    cancel_.store(false);
    last_reply_ = ReplyStatus::Complete;
    lf_owed_ = false;
    commands_sent_ = 0;
    identification_.clear();
}

void InstrumentLink::remember_identification(const std::string& reply) {
    // Without the line end, and without the blanks a GPIB buffer is filled with.
    const std::size_t end = reply.find_last_not_of(" \r\n");
    identification_ = end == std::string::npos ? std::string() : reply.substr(0, end + 1);
}

void InstrumentLink::quit_setup(SetupChoices& choices) {
    close();
    choices.interface = Interface::None;
}

void InstrumentLink::mark_dead(const std::string& reason) {
    dead_ = true;
    dead_reason_ = reason.empty() ? std::string("the line stopped working") : reason;
    last_reply_ = ReplyStatus::LineDead;
}

std::string InstrumentLink::gpib_failure() const {
    const std::string why = gpib_->failure();
    return why.empty() ? "the GPIB driver reported " + gpib_error_name(status_.iberr) : why;
}

void InstrumentLink::setup_488(SetupChoices& choices) {
    start_over();
    interface_ = Interface::GPIB;
    choices.interface = Interface::GPIB;

    const std::string ildev = std::string("Problem talking to instrument (ildev).") + kOffline;
    if (!gpib_) return fail_gpib(choices, ildev);
    ensure_registered();

    device_ = static_cast<std::int16_t>(gpib_->ibdev(
        kBoard, choices.gpib_address, kSecondaryAddress, kTimeout10s, kAssertEnd, kNoEos));
    copy_status();
    if (device_ < 0) return fail_gpib(choices, ildev);

    gpib_->ibclr(device_);
    copy_status();
    for (int retries = 0; status_.failed() && retries < kClearRetries; ++retries) {
        gpib_->ibclr(device_);
        copy_status();
    }
    if (status_.failed())
        return fail_gpib(choices, std::string("Problem talking to instrument (ilclr).") + kOffline);

    if (!pause(kAfterClear)) return quit_setup(choices);

    const ModelProfile* p = find_profile(choices.model);
    std::string ping = "*IDN?";
    if (p == nullptr || !p->gpib_ping_listed)
        prompts_.message(kInvalidModel);
    else
        ping = std::string(p->ping);

    gpib_->ibwrt(device_, ping.data(), static_cast<long>(ping.size()));
    copy_status();
    if (status_.failed())
        return fail_gpib(choices, std::string("Problem talking to instrument (ping).") + kOffline);

    if (!pause(kAfterGpibPing)) return quit_setup(choices);
    const std::string reply = read_reply(kPingReplySize);
    if (cancel_requested()) return quit_setup(choices);
    if (!identification_accepted(p, reply))
        fail_gpib(choices, p != nullptr && p->ping_reply_needs_comma ? kImproperPing : kWrongModel);
    else
        remember_identification(reply);
}

std::string InstrumentLink::collect_serial_reply(std::size_t largest) {
    std::string text;
    if (cancel_requested()) {
        last_reply_ = ReplyStatus::Cancelled;
        return text;
    }
    if (dead_) {
        last_reply_ = ReplyStatus::LineDead;
        return text;
    }
    if (!serial_ || !serial_->is_open()) {
        mark_dead("the serial port is not open");
        return text;
    }
    const double character = seconds_per_character(serial_settings_);
    double last_arrival = clock_.now();
    double first_arrival = -1;
    for (;;) {
        std::string piece = serial_->take_input();
        const double t = clock_.now();
        // At the line's speed the LF of the last reply's CR LF may come only now: it ends
        // nothing.
        if (lf_owed_ && !piece.empty()) {
            if (piece.front() == '\n') piece.erase(0, 1);
            lf_owed_ = false;
        }
        if (!piece.empty()) {
            if (first_arrival < 0) first_arrival = t;
            last_arrival = t;
            text += piece;
            const std::size_t end = text.find_first_of("\r\n");
            if (end != std::string::npos) {
                last_reply_ = end > largest ? ReplyStatus::TooLong : ReplyStatus::Complete;
                lf_owed_ = text[end] == '\r' && end + 1 == text.size();
                return text;
            }
            if (text.size() > largest) {
                last_reply_ = ReplyStatus::TooLong;
                return text;
            }
            if (t - first_arrival >
                static_cast<double>(text.size()) * character * kTrickleFactor + kTrickleGrace) {
                last_reply_ = ReplyStatus::Trickling;
                return text;
            }
        } else if (serial_->line_dead()) {
            mark_dead(serial_->error());
            return text;
        } else if (t - last_arrival >= kSerialReplyTimeout) {
            // The time-out counts silence: a long reply still arriving at the line's speed is
            // collected to its end.
            last_reply_ = ReplyStatus::Silent;
            return text;
        }
        if (cancel_requested()) {
            last_reply_ = ReplyStatus::Cancelled;
            return text;
        }
        clock_.yield();
    }
}

void InstrumentLink::setup_rs232(SetupChoices& choices) {
    start_over();
    interface_ = Interface::RS232;
    choices.interface = Interface::RS232;

    const ModelProfile* p = find_profile(choices.model);
    SerialSettings settings = kFallbackSettings;
    std::string ping = "*IDN?";
    if (p == nullptr) {
        prompts_.message(kInvalidModel);
    } else {
        settings = p->serial;
        ping = std::string(p->ping);
    }
    serial_settings_ = settings;

    // A port that cannot be opened is reported like a silent instrument.
    if (!serial_ || !serial_->open(choices.serial_port, choices.serial_device, settings))
        return fail_rs232(choices, kRs232Error);
    serial_->discard_input();

    serial_->write(ping + "\r\n");
    if (!pause(kAfterSerialPing)) return quit_setup(choices);
    std::string reply = collect_serial_reply(kPingLargest);
    if (reply.empty()) {
        if (cancel_requested()) return quit_setup(choices);
        serial_->discard_input();
        serial_->write(ping + "\r\n");
        if (!pause(kAfterSerialPing)) return quit_setup(choices);
        reply = collect_serial_reply(kPingLargest);
        if (cancel_requested()) return quit_setup(choices);
        if (reply.empty()) return fail_rs232(choices, kRs232Error);
    }
    if (!identification_accepted(p, reply))
        fail_rs232(choices, kWrongModel);
    else
        remember_identification(reply);
}

bool InstrumentLink::send_command(const std::string& text, bool clear_input) {
    switch (interface_) {
        case Interface::GPIB:
            if (!gpib_ || device_ < 0 || dead_ || cancel_requested()) return false;
            gpib_->ibwrt(device_, text.data(), static_cast<long>(text.size()));
            copy_status();
            if (status_.failed()) {
                mark_dead((status_.ibsta & GpibDriver::TIMO) != 0
                              ? std::string("the GPIB write timed out")
                              : gpib_failure());
                return false;
            }
            ++commands_sent_;
            return true;
        case Interface::RS232:
            return send_command_rs232(text, clear_input);
        case Interface::None:
            break;
    }
    return false;
}

std::string InstrumentLink::read_reply(int buffer_size) {
    switch (interface_) {
        case Interface::GPIB: {
            if (buffer_size < 0) buffer_size = 0;
            std::string buffer(static_cast<std::size_t>(buffer_size), ' ');
            if (cancel_requested()) {
                last_reply_ = ReplyStatus::Cancelled;
                return buffer;
            }
            if (!gpib_ || device_ < 0 || dead_) {
                last_reply_ = ReplyStatus::LineDead;
                return buffer;
            }
            gpib_->ibrd(device_, buffer.data(), buffer_size);
            copy_status();
            if (!status_.failed()) {
                // Without END the instrument had more to say than the buffer holds.
                last_reply_ = (status_.ibsta & GpibDriver::END) != 0 ? ReplyStatus::Complete
                                                                     : ReplyStatus::TooLong;
            } else if ((status_.ibsta & GpibDriver::TIMO) != 0) {
                last_reply_ = ReplyStatus::Silent;
            } else {
                mark_dead(gpib_failure());
            }
            return buffer;
        }
        case Interface::RS232:
            return read_reply_rs232(buffer_size);
        case Interface::None:
            break;
    }
    last_reply_ = ReplyStatus::LineDead;
    return {};
}

bool InstrumentLink::pause(double seconds) {
    return clock_.pause_unless(seconds, cancel_);
}

bool InstrumentLink::send_command_rs232(const std::string& text, bool clear_input) {
    if (dead_ || cancel_requested()) return false;
    if (!serial_ || !serial_->is_open()) {
        mark_dead("the serial port is not open");
        return false;
    }
    if (clear_input) serial_->discard_input();
    serial_->write(text + "\r\n");
    if (serial_->line_dead()) {
        mark_dead(serial_->error());
        return false;
    }
    ++commands_sent_;
    return true;
}

std::string InstrumentLink::read_reply_rs232(int largest) {
    return collect_serial_reply(static_cast<std::size_t>(std::max(largest, 0)));
}

void InstrumentLink::close() {
    if (gpib_ && device_ >= 0) {
        gpib_->ibloc(device_);
        gpib_->ibonl(device_, 0);
    }
    device_ = -1;
    if (serial_ && serial_->is_open()) serial_->close();
    interface_ = Interface::None;
}

}  // namespace kelvara
