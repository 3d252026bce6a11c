// The subcommands of kelvara-cli. Each lives in its own cli_*.cpp and registers itself with a
// static Subcommand object, so adding one touches no shared table.
// Exit status: 0 success, 1 the operation failed, 2 usage error, 128 + the signal when Ctrl-C
// (SIGINT) or SIGTERM stopped an instrument command.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace kelvara::cli {

using Args = std::vector<std::string>;  // the arguments after the subcommand name

struct Subcommand {
    Subcommand(std::string name, std::string usage, std::function<int(const Args&)> run);
};

int run(const std::vector<std::string>& argv);  // argv without the program name

}  // namespace kelvara::cli
