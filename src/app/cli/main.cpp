// kelvara-cli: dispatches to the subcommands, each in its own file (cli_*.cpp).
#include <cstdio>
#include <string>
#include <vector>

#include "cli_commands.h"

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    return kelvara::cli::run(args);
}
