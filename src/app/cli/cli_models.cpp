// kelvara-cli models: the designations --model takes, for people and for shell completion.
#include <iostream>

#include "cli_commands.h"
#include "curve/model_profile.h"

namespace kelvara::cli {

namespace {

int models(const Args& args) {
    if (!args.empty()) {
        std::cerr << "kelvara-cli models: takes no arguments\n";
        return 2;
    }
    for (const auto& p : model_profiles()) std::cout << p.designation << "\n";
    return 0;
}

const Subcommand kModels("models",
                         "models\n"
                         "      Print the instrument models --model takes, one a line, in the\n"
                         "      order of the instrument-selection dialog.",
                         models);

}  // namespace

}  // namespace kelvara::cli
