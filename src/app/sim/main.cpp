// kelvara-sim: a simulated Tessaly instrument on a pseudo-terminal, for trying the program and
// its serial path without hardware.
//
//   kelvara-sim --model TAZ [--identity TEXT] [--faults LIST] [--state FILE] [--link PATH]
//               [--prologix | --prologix-tcp PORT]
//
// With --prologix the instrument sits behind a simulated Prologix-compatible GPIB-USB adapter on
// the pseudo-terminal; with --prologix-tcp behind a GPIB-Ethernet one on 127.0.0.1:PORT (0: any
// free port). The first line on standard output is the device to open (e.g. /dev/pts/4), or
// 127.0.0.1:PORT. The instrument serves until SIGINT, SIGTERM or SIGHUP (or until a hang-up
// fault closes the terminal); its curves live as long as the process, or in FILE across runs
// with --state.
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <optional>
#include <string>

#include "curve/model_profile.h"
#include "kelvara_version.h"
#include "link/clock.h"
#include "link/serial_port.h"
#include "sim/adapter_server.h"
#include "sim/instrument.h"
#include "sim/prologix_adapter.h"
#include "sim/pty_server.h"
#include "sim/state_file.h"

namespace {

kelvara::sim::PtyServer* running = nullptr;
kelvara::sim::AdapterServer* running_adapter = nullptr;

extern "C" void on_signal(int) {
    if (running) running->stop();
    if (running_adapter) running_adapter->stop();
}

constexpr const char* kUsage =
    "Usage: kelvara-sim --model MODEL [--identity TEXT] [--faults LIST] [--state FILE] "
    "[--link PATH]\n"
    "       [--prologix | --prologix-tcp PORT]\n"
    "A simulated Tessaly temperature instrument on a pseudo-terminal, or behind a simulated\n"
    "Prologix-compatible GPIB adapter.\n"
    "\n"
    "Options:\n"
    "  --model MODEL    TAZ, DAL, FEN, GIR, HOX, KOR, LUM, MEP, NAV, OBR, PIX, QUA/RIL, VEM,\n"
    "                   WUN, ZEK, KIP, DUN or ELK\n"
    "  --identity TEXT  reply to the identification query instead of the model's own\n"
    "  --faults LIST    comma-separated misbehaviour:\n"
    "                     silent        hears everything, answers nothing\n"
    "                     cut=N         silence after N command lines\n"
    "                     hangup=N      the line hangs up after N command lines (the terminal\n"
    "                                   or the adapter's connection closes)\n"
    "                     garbage       replies replaced by printable bytes without a comma\n"
    "                     noterm        replies without their line end\n"
    "                     babble        replies that never end\n"
    "                     trickle=SEC   replies arrive one byte every SEC seconds\n"
    "                     split=N       replies arrive in N pieces\n"
    "                     delay=SEC     replies start after SEC seconds\n"
    "                     after=N       the reply faults above start after N command lines\n"
    "                     speed[=BAUD]  replies leave at the model's (or this) line speed;\n"
    "                                   behind an adapter, at its link's 115200 baud (or BAUD)\n"
    "                     busy=N        \"BUSY?\" answers busy N times after a save\n"
    "                                   (busy=forever)\n"
    "                     readfail=N    GPIB reads fail after N good ones (simulated library;\n"
    "                                   an adapter's reads bring nothing)\n"
    "                     corrupt=N     point N of every curve written is stored 1 K off\n"
    "                     corrupt=header\n"
    "                                   the curve name (older models: the header field; HOX:\n"
    "                                   the serial number) is stored without its last character\n"
    "                     droplast      the last point written to a curve is lost\n"
    "                     exponent      numbers in curve replies come in exponent form\n"
    "  --state FILE     file that keeps the user curves across runs\n"
    "  --link PATH      also make PATH a symbolic link to the device\n"
    "  --prologix       behind a simulated Prologix-compatible GPIB-USB adapter on the device;\n"
    "                   the instrument answers at every GPIB address 1 to 30\n"
    "  --prologix-tcp PORT\n"
    "                   behind a simulated GPIB-Ethernet adapter on 127.0.0.1:PORT (0: a free\n"
    "                   port)\n"
    "  -h, --help       show this help\n"
    "  --version        show the version\n"
    "\n"
    "Prints the device path (or 127.0.0.1:PORT) on the first line, then serves until\n"
    "interrupted.\n";

void on_signals() {
    struct sigaction action {};
    action.sa_handler = on_signal;
    sigemptyset(&action.sa_mask);
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

bool make_link(const std::string& link_path, const std::string& device) {
    if (link_path.empty()) return true;
    ::unlink(link_path.c_str());
    if (::symlink(device.c_str(), link_path.c_str()) == 0) return true;
    std::cerr << "kelvara-sim: cannot link " << link_path << ": " << std::strerror(errno) << "\n";
    return false;
}

int serve_adapter(kelvara::sim::Instrument& instrument, kelvara::sim::StateKeeper& state,
                  std::optional<int> tcp_port, const std::string& link_path) {
    kelvara::RealClock clock;
    kelvara::sim::PrologixAdapter adapter(instrument, clock,
                                          tcp_port ? kelvara::sim::PrologixAdapter::kEthernetVersion
                                                   : kelvara::sim::PrologixAdapter::kUsbVersion);
    kelvara::sim::AdapterServer server(adapter, clock);
    std::string error;
    if (!(tcp_port ? server.listen_tcp(*tcp_port, &error) : server.open_pty(&error))) {
        std::cerr << "kelvara-sim: " << error << "\n";
        return 1;
    }
    if (!make_link(link_path, server.address())) return 1;
    server.after_input = [&state] { state.save_if_changed(); };
    running_adapter = &server;
    on_signals();
    std::cout << server.address() << std::endl;
    std::cerr << "kelvara-sim: model " << kelvara::designation(instrument.model())
              << " behind a GPIB adapter on " << server.address() << "; interrupt to stop\n";
    server.serve();
    running_adapter = nullptr;
    if (server.hung_up())
        std::cerr << "kelvara-sim: the adapter hung up after " << instrument.commands_received()
                  << " command lines\n";
    if (!link_path.empty()) ::unlink(link_path.c_str());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::optional<kelvara::InstrumentModel> model;
    std::string identity, faults, state_path, link_path;
    bool prologix = false;
    std::optional<int> prologix_tcp;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const auto value = [&]() -> std::optional<std::string> {
            if (i + 1 >= argc) return std::nullopt;
            return std::string(argv[++i]);
        };
        std::optional<std::string> v;
        if (arg == "--help" || arg == "-h") {
            std::cout << kUsage;
            return 0;
        } else if (arg == "--version") {
            std::cout << "kelvara-sim " << kelvara::kVersion << "\n" << kelvara::kVersionNotice;
            return 0;
        } else if (arg == "--model" && (v = value())) {
            model = kelvara::model_from_designation(*v);
            if (!model) {
                std::cerr << "kelvara-sim: unknown model " << *v << "\n";
                return 2;
            }
        } else if (arg == "--identity" && (v = value())) {
            identity = *v;
        } else if (arg == "--faults" && (v = value())) {
            faults = *v;
        } else if (arg == "--state" && (v = value())) {
            state_path = *v;
        } else if (arg == "--link" && (v = value())) {
            link_path = *v;
        } else if (arg == "--prologix") {
            prologix = true;
        } else if (arg == "--prologix-tcp" && (v = value())) {
            char* end = nullptr;
            const long port = std::strtol(v->c_str(), &end, 10);
            if (v->empty() || *end != '\0' || port < 0 || port > 65535) {
                std::cerr << "kelvara-sim: --prologix-tcp takes a TCP port 0 to 65535\n";
                return 2;
            }
            prologix_tcp = static_cast<int>(port);
        } else {
            std::cerr << kUsage;
            return 2;
        }
    }
    if (!model || (prologix && prologix_tcp) || (prologix_tcp && !link_path.empty())) {
        std::cerr << kUsage;
        return 2;
    }

    kelvara::sim::Instrument instrument(*model);
    if (!identity.empty()) instrument.set_identity(identity);
    const kelvara::SerialSettings line = kelvara::profile(*model).serial;
    // Behind an adapter the line to the program is the adapter's, not the instrument's.
    const bool adapter = prologix || prologix_tcp;
    if (!instrument.faults.parse(faults,
                                 adapter ? kelvara::sim::PrologixAdapter::kLinkBaud : line.baud)) {
        std::cerr << "kelvara-sim: cannot understand --faults " << faults << "\n";
        return 2;
    }
    kelvara::sim::StateKeeper state(instrument, state_path);
    std::string error;
    if (!state.load(&error)) {
        std::cerr << "kelvara-sim: " << error << "\n";
        return 1;
    }

    if (adapter) return serve_adapter(instrument, state, prologix_tcp, link_path);

    kelvara::sim::PtyServer server(instrument);
    if (!server.open(&error)) {
        std::cerr << "kelvara-sim: " << error << "\n";
        return 1;
    }
    if (!make_link(link_path, server.slave_path())) return 1;
    server.after_command = [&state] { state.save_if_changed(); };

    running = &server;
    on_signals();

    std::cout << server.slave_path() << std::endl;
    std::cerr << "kelvara-sim: model " << kelvara::designation(*model) << " on "
              << server.slave_path() << "; interrupt to stop\n";
    server.serve();
    running = nullptr;
    if (server.hung_up())
        std::cerr << "kelvara-sim: hung up after " << instrument.commands_received()
                  << " command lines\n";
    if (!link_path.empty()) ::unlink(link_path.c_str());
    return 0;
}
