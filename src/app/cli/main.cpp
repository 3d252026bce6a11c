// kelvara-cli: dispatches to the subcommands, each in its own file (cli_*.cpp).
#include <cstdio>
#include <string>
#include <vector>

#include "cli_commands.h"
#include "gpib_library_path.h"

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    // "--gpib-library simulated" becomes the path of the library installed with the program
    // before any subcommand sees it.
    const std::string option = "--gpib-library";
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == option && i + 1 < args.size())
            args[i + 1] = kelvara::app::resolve_gpib_library(args[i + 1]);
        else if (args[i].starts_with(option + "="))
            args[i] = option + "=" +
                      kelvara::app::resolve_gpib_library(args[i].substr(option.size() + 1));
    }
    return kelvara::cli::run(args);
}
