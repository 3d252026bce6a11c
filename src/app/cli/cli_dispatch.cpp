#include <cstdio>
#include <iostream>
#include <map>

#include "cli_commands.h"
#include "kelvara_version.h"

namespace kelvara::cli {

namespace {
struct Entry {
    std::string usage;
    std::function<int(const Args&)> run;
};
std::map<std::string, Entry>& registry() {
    static std::map<std::string, Entry> r;
    return r;
}

void print_help(std::ostream& out) {
    out << "Usage: kelvara-cli COMMAND [OPTION]... [FILE]...\n"
           "Curve files and instrument curves of Tessaly temperature instruments, without a "
           "window.\n\nCommands:\n";
    for (const auto& [name, e] : registry()) out << "  " << e.usage << "\n";
    out << "\nOptions:\n"
           "  -h, --help    show this help; after a command, the command's usage\n"
           "  --version     show the version\n"
           "  --gpib-library simulated\n"
           "                the simulated GPIB library installed with kelvara-cli (its model is\n"
           "                KELVARA_SIM_MODEL, default TAZ; its curves are kept in the file\n"
           "                KELVARA_SIM_STATE)\n"
           "\nMessages the window would show go to stderr, one line each.\n"
           "Exit status: 0 success, 1 the operation failed, 2 usage error, 130 (143) when\n"
           "Ctrl-C (SIGTERM) stopped an instrument command.\n";
}
}  // namespace

Subcommand::Subcommand(std::string name, std::string usage, std::function<int(const Args&)> run) {
    registry()[std::move(name)] = Entry{std::move(usage), std::move(run)};
}

int run(const std::vector<std::string>& argv) {
    if (argv.empty()) {
        print_help(std::cerr);
        return 2;
    }
    if (argv[0] == "--help" || argv[0] == "-h" || argv[0] == "help") {
        print_help(std::cout);
        return 0;
    }
    if (argv[0] == "--version") {
        std::cout << "kelvara-cli " << kVersion << "\n" << kVersionNotice;
        return 0;
    }
    auto it = registry().find(argv[0]);
    if (it == registry().end()) {
        std::cerr << "kelvara-cli: unknown command '" << argv[0] << "' (see --help)\n";
        return 2;
    }
    Args rest(argv.begin() + 1, argv.end());
    for (const auto& a : rest)
        if (a == "--help" || a == "-h") {
            std::cout << "Usage: kelvara-cli " << it->second.usage << "\n";
            return 0;
        }
    try {
        return it->second.run(rest);
    } catch (const std::exception& e) {
        std::cerr << "kelvara-cli: " << e.what() << "\n";
        return 1;
    }
}

}  // namespace kelvara::cli
