// kelvara-cli identify: opens the link as the communication dialog's CONTINUE does and reports
// whether the instrument answered as the chosen model.
#include <iostream>

#include "cli_commands.h"
#include "cli_common.h"
#include "cli_connection.h"
#include "link/serial_port.h"

namespace kelvara::cli {

namespace {

std::string where(const Connection& c, const ConnectionOptions& o, const SetupChoices& s) {
    if (o.simulate)
        return std::string("the simulated instrument over ") +
               (s.interface == Interface::GPIB ? "GPIB" : "RS-232");
    if (o.interface == Interface::GPIB) {
        const std::string address = "GPIB address " + std::to_string(s.gpib_address);
        if (s.gpib_route == GpibRoute::Library) return address;
        return address + " through the adapter on " + c.adapter_where() + " (" +
               c.adapter_version() + ")";
    }
    const std::string settings = profile(s.model).serial.text();
    if (!o.serial_device.empty()) return c.serial_device() + " (" + settings + ")";
    return "serial port " + std::to_string(s.serial_port) + ", " + c.serial_device() + " (" +
           settings + ")";
}

int identify(const Args& given) {
    Args args = given;
    ConnectionOptions options;
    if (auto error = parse_connection_options(args, options)) {
        std::cerr << "kelvara-cli identify: " << *error << "\n";
        return 2;
    }
    if (!args.empty()) {
        std::cerr << "kelvara-cli identify: unexpected argument '" << args.front() << "'\n";
        return 2;
    }
    StderrPrompts prompts;
    Connection connection(options, prompts);
    const bool open = connection.open();
    if (!connection.library_error().empty())
        std::cerr << "kelvara-cli identify: no GPIB library: " << connection.library_error()
                  << "\n";
    if (!connection.serial_error().empty())
        std::cerr << "kelvara-cli identify: " << printable(connection.serial_error()) << "\n";
    if (!connection.adapter_error().empty())
        std::cerr << "kelvara-cli identify: " << printable(connection.adapter_error()) << "\n";
    if (!open) return 1;
    std::cout << designation(options.model) << " identified on "
              << where(connection, options, connection.setup()) << "\n";
    return 0;
}

const Subcommand kIdentify(
    "identify",
    std::string("identify ") + kConnectionUsage +
        "\n"
        "      Open the link as the communication dialog's CONTINUE does and check that the\n"
        "      instrument answers as model M. Exit 0 when it does, 1 when the link fell back to\n"
        "      working offline. --port N is the N-th serial device of this machine: USB adapters\n"
        "      first (/dev/ttyUSB*, /dev/ttyACM*), then /dev/ttyS*; --serial PATH names one.\n"
        "      GPIB loads --gpib-library PATH, else libgpib.so.0, libgpibapi.so.1,\n"
        "      libgpibapi.so. --prologix DEVICE reaches GPIB through a Prologix-compatible\n"
        "      GPIB-USB adapter on that serial device, --prologix-host HOST[:PORT] through a\n"
        "      GPIB-Ethernet one (port 1234 unless given). --simulate talks to a built-in\n"
        "      simulated instrument.",
    identify);

}  // namespace

}  // namespace kelvara::cli
