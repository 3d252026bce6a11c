#include "link/instrument_link.h"

#include <cstdint>

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

// The status reported when the thread's status variables could not be registered.
constexpr std::int32_t kRegistrationFailedCntl = static_cast<std::int32_t>(0xDEAD37F0u);

std::int16_t low16(std::int32_t v) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(static_cast<std::uint32_t>(v)));
}

const SerialSettings kFallbackSettings{9600, 'O', 7, 1};

}  // namespace

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
    status_.ibsta = GpibStatus::ERR;
    status_.iberr = 0;
    status_.ibcntl = kRegistrationFailedCntl;
    status_.ibcnt = low16(kRegistrationFailedCntl);
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

void InstrumentLink::setup_488(SetupChoices& choices) {
    close();
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

    clock_.pause(kAfterClear);

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

    clock_.pause(kAfterGpibPing);
    const std::string reply = read_reply(kPingReplySize);
    if (!identification_accepted(p, reply))
        fail_gpib(choices, p != nullptr && p->ping_reply_needs_comma ? kImproperPing : kWrongModel);
}

std::string InstrumentLink::collect_serial_reply() {
    std::string text;
    if (!serial_ || !serial_->is_open()) return text;
    const double start = clock_.now();
    while (clock_.now() - start < kSerialReplyTimeout) {
        clock_.yield();
        text += serial_->take_input();
        if (text.find_first_of("\r\n") != std::string::npos) break;
    }
    return text;
}

void InstrumentLink::setup_rs232(SetupChoices& choices) {
    close();
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

    // A port that cannot be opened is reported like a silent instrument.
    if (!serial_ || !serial_->open(choices.serial_port, choices.serial_device, settings))
        return fail_rs232(choices, kRs232Error);
    serial_->discard_input();

    serial_->write(ping + "\r\n");
    clock_.pause(kAfterSerialPing);
    std::string reply = collect_serial_reply();
    if (reply.empty()) {
        serial_->discard_input();
        serial_->write(ping + "\r\n");
        clock_.pause(kAfterSerialPing);
        reply = collect_serial_reply();
        if (reply.empty()) return fail_rs232(choices, kRs232Error);
    }
    if (!identification_accepted(p, reply)) fail_rs232(choices, kWrongModel);
}

bool InstrumentLink::send_command(const std::string& text, bool clear_input) {
    switch (interface_) {
        case Interface::GPIB:
            if (!gpib_ || device_ < 0) return false;
            gpib_->ibwrt(device_, text.data(), static_cast<long>(text.size()));
            copy_status();
            return !status_.failed();
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
            if (!gpib_ || device_ < 0) return buffer;
            gpib_->ibrd(device_, buffer.data(), buffer_size);
            copy_status();
            return buffer;
        }
        case Interface::RS232:
            return read_reply_rs232();
        case Interface::None:
            break;
    }
    return {};
}

void InstrumentLink::pause(double seconds) {
    clock_.pause(seconds);
}

bool InstrumentLink::send_command_rs232(const std::string& text, bool clear_input) {
    if (!serial_ || !serial_->is_open()) return false;
    if (clear_input) serial_->discard_input();
    serial_->write(text + "\r\n");
    return true;
}

std::string InstrumentLink::read_reply_rs232() {
    return collect_serial_reply();
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
