#include "cli_connection.h"

#include <charconv>
#include <set>

#include "cli_common.h"
#include "link/gpib_driver.h"
#include "sim/instrument.h"
#include "sim/sim_transports.h"

#ifdef KELVARA_HAVE_QT_SERIAL
#include <QCoreApplication>

#include "link/qt/qt_serial_port.h"
#endif

namespace kelvara::cli {

namespace {

std::optional<int> whole_number(const std::string& text) {
    int value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

#ifdef KELVARA_HAVE_QT_SERIAL
// Qt's serial port wants an application object for its notifiers; the command-line tool has
// none of its own.
void ensure_qt_application() {
    if (QCoreApplication::instance() != nullptr) return;
    static int argc = 1;
    static char name[] = "kelvara-cli";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
}
#endif

}  // namespace

std::optional<std::string> parse_connection_options(Args& args, ConnectionOptions& out) {
    ConnectionOptions o;
    if (auto error = take_model_option(args, o.model)) return error;
    int gpib_ways = 0;  // --gpib-library, --prologix, --prologix-host
    int buses = 0;
    Args rest;
    std::set<std::string> seen;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string option = args[i];
        std::optional<std::string> value;
        if (const auto eq = option.find('='); option.starts_with("--") && eq != std::string::npos) {
            value = option.substr(eq + 1);
            option.resize(eq);
        }
        const bool takes_value = option == "--serial" || option == "--port" || option == "--gpib" ||
                                 option == "--gpib-library" || option == "--prologix" ||
                                 option == "--prologix-host";
        if ((takes_value || option == "--simulate") && !seen.insert(option).second)
            return option + " given more than once";
        if (option == "--simulate" && !value) {
            o.simulate = true;
            ++buses;
            continue;
        }
        if (!takes_value) {
            rest.push_back(args[i]);
            continue;
        }
        if (!value) {
            if (i + 1 >= args.size()) return option + " needs a value";
            value = args[++i];
        }
        if (option == "--serial") {
            if (value->empty()) return std::string("--serial needs a device path");
            o.serial_device = *value;
            o.interface = Interface::RS232;
            ++buses;
        } else if (option == "--port") {
            const auto n = whole_number(*value);
            if (!n || *n < 1 || *n > 16)
                return "--port takes a serial port number 1 to 16, not '" + *value + "'";
            o.serial_port = *n;
            o.interface = Interface::RS232;
            ++buses;
        } else if (option == "--gpib") {
            const auto n = whole_number(*value);
            if (!n || *n < 1 || *n > 32)
                return "--gpib takes a GPIB address 1 to 32, not '" + *value + "'";
            o.gpib_address = *n;
            o.interface = Interface::GPIB;
            ++buses;
        } else if (option == "--gpib-library") {
            if (value->empty()) return std::string("--gpib-library needs a path");
            o.gpib_library = *value;
            ++gpib_ways;
        } else {
            if (value->empty()) return option + " needs a value";
            (option == "--prologix" ? o.prologix_device : o.prologix_host) = *value;
            ++gpib_ways;
        }
    }
    if (buses != 1)
        return std::string("choose exactly one of --serial, --port, --gpib and --simulate");
    if (gpib_ways > 0 && o.interface != Interface::GPIB)
        return std::string("--gpib-library, --prologix and --prologix-host go with --gpib");
    if (gpib_ways > 1)
        return std::string("choose one of --gpib-library, --prologix and --prologix-host");
    if (o.interface == Interface::GPIB && !o.simulate && !profile(o.model).gpib_allowed)
        return "the " + std::string(designation(o.model)) +
               " has no GPIB: it is reached over RS-232 (--serial PATH or --port N), or use "
               "--simulate";
    if (o.simulate)
        o.interface = profile(o.model).gpib_allowed ? Interface::GPIB : Interface::RS232;
    args = std::move(rest);
    out = std::move(o);
    return std::nullopt;
}

Connection::Connection(const ConnectionOptions& options, Prompts& prompts)
    : options_(options), prompts_(prompts) {
    setup_.model = options.model;
    setup_.interface = options.interface;
    if (options.gpib_address > 0) setup_.gpib_address = options.gpib_address;
    if (options.serial_port > 0) setup_.serial_port = options.serial_port;
    setup_.serial_device = options.serial_device;
    setup_.gpib_library = options.gpib_library;
    setup_.adapter_device = options.prologix_device;
    setup_.adapter_host = options.prologix_host;
    if (!options.prologix_device.empty()) setup_.gpib_route = GpibRoute::UsbAdapter;
    if (!options.prologix_host.empty()) setup_.gpib_route = GpibRoute::EthernetAdapter;
    setup_.simple_installation = false;
    setup_.proceed = true;
#ifdef KELVARA_HAVE_QT_SERIAL
    const bool qt_transport =
        setup_.interface == Interface::RS232 || setup_.gpib_route != GpibRoute::Library;
    if (qt_transport && !options.simulate) {
        ensure_qt_application();
        clock_ = std::make_unique<RealClock>([] { QCoreApplication::processEvents(); });
    }
#endif
    if (!clock_) clock_ = std::make_unique<RealClock>();
    link_ = std::make_unique<InstrumentLink>(*clock_, prompts_);
}

Connection::~Connection() {
    // The link goes first: closing it still talks to the transports it holds.
    if (link_) link_->close();
    link_.reset();
}

bool Connection::open() {
    if (options_.simulate) {
        if (!simulated_) simulated_ = std::make_unique<sim::Instrument>(setup_.model);
        if (setup_.interface == Interface::GPIB)
            link_->set_gpib_driver(std::make_unique<sim::SimGpibDriver>(*simulated_, *clock_));
        else
            link_->set_serial_port(std::make_unique<sim::SimSerialPort>(*simulated_, *clock_));
    } else {
        if (setup_.interface == Interface::RS232)
            serial_device_ = setup_.serial_device.empty()
                                 ? serial_device_for_port(setup_.serial_port)
                                 : setup_.serial_device;
#ifdef KELVARA_HAVE_QT_SERIAL
        transports_.attach(*link_, setup_);
        library_error_ = transports_.library_error();
#else
        library_error_.clear();
        if (setup_.interface == Interface::GPIB && setup_.gpib_route == GpibRoute::Library)
            link_->set_gpib_driver(load_gpib_library(setup_.gpib_library, &library_error_));
#endif
    }

    switch (setup_.interface) {
        case Interface::GPIB:
            link_->setup_488(setup_);
            break;
        case Interface::RS232:
            link_->setup_rs232(setup_);
            break;
        case Interface::None:
            break;
    }
    return setup_.interface != Interface::None;
}

std::string Connection::serial_error() const {
#ifdef KELVARA_HAVE_QT_SERIAL
    if (auto* port = dynamic_cast<const QtSerialPort*>(link_->serial_port())) return port->error();
#endif
    return {};
}

#ifdef KELVARA_HAVE_QT_SERIAL
std::string Connection::adapter_error() const {
    return transports_.failure();
}
std::string Connection::adapter_version() const {
    return transports_.adapter() ? transports_.adapter()->version() : std::string();
}
std::string Connection::adapter_where() const {
    return transports_.adapter() ? transports_.adapter()->where() : std::string();
}
#else
std::string Connection::adapter_error() const {
    return setup_.gpib_route == GpibRoute::Library ? std::string()
                                                   : "GPIB adapters need the Qt build";
}
std::string Connection::adapter_version() const {
    return {};
}
std::string Connection::adapter_where() const {
    return {};
}
#endif

}  // namespace kelvara::cli
