// "--gpib-library simulated": the simulated GPIB library that comes with the programs, found
// from where the running program lives, so that no environment variable is needed.
#pragma once

#include <string>

namespace kelvara::app {

inline constexpr const char* kSimulatedGpibLibrary = "simulated";

// The library to load for a --gpib-library value: "simulated" becomes the simulated library
// beside the program (<prefix>/lib/<multiarch>/kelvara when installed, src/sim in a build tree;
// the installed place when neither exists, so that the error names it). Anything else is a path
// and comes back as it is.
std::string resolve_gpib_library(const std::string& value);

}  // namespace kelvara::app
