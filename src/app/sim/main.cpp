// kelvara-sim: a simulated Tessaly instrument on a pseudo-terminal, for trying the program and
// its serial path without hardware.
//
//   kelvara-sim --model TAZ [--identity TEXT] [--faults LIST] [--state FILE] [--link PATH]
//
// The first line on standard output is the device to open (e.g. /dev/pts/4). The instrument
// serves until SIGINT, SIGTERM or SIGHUP (or until a hang-up fault closes the terminal); its
// curves live as long as the process, or in FILE across runs with --state.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <optional>
#include <string>

#include "curve/model_profile.h"
#include "link/serial_port.h"
#include "sim/instrument.h"
#include "sim/pty_server.h"
#include "sim/state_file.h"

namespace {

kelvara::sim::PtyServer* running = nullptr;

extern "C" void on_signal(int) {
    if (running) running->stop();
}

constexpr const char* kUsage =
    "usage: kelvara-sim --model MODEL [--identity TEXT] [--faults LIST] [--state FILE] "
    "[--link PATH]\n"
    "  --model     TAZ, DAL, FEN, GIR, HOX, KOR, LUM, MEP, NAV, OBR, PIX, QUA/RIL, VEM, WUN,\n"
    "              ZEK, KIP, DUN or ELK\n"
    "  --identity  reply to the identification query instead of the model's own\n"
    "  --faults    comma-separated misbehaviour:\n"
    "                silent        hears everything, answers nothing\n"
    "                cut=N         silence after N command lines\n"
    "                hangup=N      the line hangs up after N command lines (the terminal closes)\n"
    "                garbage       replies replaced by printable bytes without a comma\n"
    "                noterm        replies without their line end\n"
    "                babble        replies that never end\n"
    "                trickle=SEC   replies arrive one byte every SEC seconds\n"
    "                split=N       replies arrive in N pieces\n"
    "                delay=SEC     replies start after SEC seconds\n"
    "                after=N       the reply faults above start after N command lines\n"
    "                speed[=BAUD]  replies leave at the model's (or this) line speed\n"
    "                busy=N        \"BUSY?\" answers busy N times after a save (busy=forever)\n"
    "  --state     file that keeps the user curves across runs\n"
    "  --link      also make PATH a symbolic link to the device\n"
    "Prints the device path on the first line, then serves until interrupted.\n";

}  // namespace

int main(int argc, char** argv) {
    std::optional<kelvara::InstrumentModel> model;
    std::string identity, faults, state_path, link_path;
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
        } else {
            std::cerr << kUsage;
            return 2;
        }
    }
    if (!model) {
        std::cerr << kUsage;
        return 2;
    }

    kelvara::sim::Instrument instrument(*model);
    if (!identity.empty()) instrument.set_identity(identity);
    const kelvara::SerialSettings line = kelvara::profile(*model).serial;
    if (!instrument.faults.parse(faults, line.baud)) {
        std::cerr << "kelvara-sim: cannot understand --faults " << faults << "\n";
        return 2;
    }
    kelvara::sim::StateKeeper state(instrument, state_path);
    std::string error;
    if (!state.load(&error)) {
        std::cerr << "kelvara-sim: " << error << "\n";
        return 1;
    }

    kelvara::sim::PtyServer server(instrument);
    server.bits_per_character = 1 + line.data_bits + (line.parity == 'N' ? 0 : 1) + line.stop_bits;
    if (!server.open(&error)) {
        std::cerr << "kelvara-sim: " << error << "\n";
        return 1;
    }
    if (!link_path.empty()) {
        ::unlink(link_path.c_str());
        if (::symlink(server.slave_path().c_str(), link_path.c_str()) != 0) {
            std::cerr << "kelvara-sim: cannot link " << link_path << ": " << std::strerror(errno)
                      << "\n";
            return 1;
        }
    }
    server.after_command = [&state] { state.save_if_changed(); };

    running = &server;
    struct sigaction action {};
    action.sa_handler = on_signal;
    sigemptyset(&action.sa_mask);
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);

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
