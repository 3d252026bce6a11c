// Connection options shared by the instrument subcommands:
//   --model M (--serial PATH | --port N | --gpib ADDR [--gpib-library PATH | --prologix DEVICE |
//              --prologix-host HOST[:PORT]] | --simulate)
// and the link they open, as the communication dialog's CONTINUE would.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "cli_commands.h"
#include "curve/prompts.h"
#include "link/instrument_link.h"
#include "link/setup_choices.h"

#ifdef KELVARA_HAVE_QT_SERIAL
#include "link/qt/real_transports.h"
#endif

namespace kelvara::sim {
class Instrument;
}

namespace kelvara::cli {

struct ConnectionOptions {
    InstrumentModel model = InstrumentModel::Invalid;
    Interface interface = Interface::None;
    std::string serial_device;    // --serial PATH
    int serial_port = 0;          // --port N
    int gpib_address = 0;         // --gpib ADDR
    std::string gpib_library;     // --gpib-library PATH
    std::string prologix_device;  // --prologix DEVICE: GPIB through a USB adapter
    std::string prologix_host;    // --prologix-host HOST[:PORT]: through an Ethernet adapter
    bool simulate = false;        // --simulate: an in-process simulated instrument
};

// Takes the connection options (and --model) out of args; returns a usage message on error.
std::optional<std::string> parse_connection_options(Args& args, ConnectionOptions& out);

// The opened link. open() runs setup_488 or setup_rs232 with the real clock and returns true
// when the link is open (interface not None afterwards).
class Connection {
  public:
    Connection(const ConnectionOptions& options, Prompts& prompts);
    ~Connection();
    bool open();
    SetupChoices& setup() { return setup_; }
    InstrumentLink& link() { return *link_; }
    sim::Instrument* simulated() { return simulated_.get(); }  // with --simulate
    // Why no GPIB library could be loaded ("" when one was, or GPIB was not chosen).
    const std::string& library_error() const { return library_error_; }
    // The serial device the link opened or tried ("" for GPIB and --simulate).
    const std::string& serial_device() const { return serial_device_; }
    // Why the serial port could not be opened ("" when it was, or was not tried).
    std::string serial_error() const;
    // "GPIB adapter WHERE: WHY" when the adapter could not be used ("" otherwise).
    std::string adapter_error() const;
    // The adapter's own name for itself ("" unless GPIB goes through an adapter that answered).
    std::string adapter_version() const;
    // Where the adapter was looked for ("" unless GPIB goes through one).
    std::string adapter_where() const;

  private:
    ConnectionOptions options_;
    Prompts& prompts_;
    SetupChoices setup_;
    std::unique_ptr<Clock> clock_;
    std::unique_ptr<InstrumentLink> link_;
    std::unique_ptr<sim::Instrument> simulated_;
    std::string library_error_;
    std::string serial_device_;
#ifdef KELVARA_HAVE_QT_SERIAL
    RealTransports transports_;
#endif
};

// The usage text of the connection options, for the subcommands' usage lines.
inline constexpr const char* kConnectionUsage =
    "--model M (--serial PATH | --port N | --gpib ADDR [--gpib-library PATH | --prologix DEVICE |"
    " --prologix-host HOST[:PORT]] | --simulate)";

}  // namespace kelvara::cli
