#include "curve/data_format.h"

#include <array>

namespace kelvara {

namespace {
constexpr std::array<std::string_view, 5> kNames = {"MilliVolts vs. Kelvin", "Volts vs. Kelvin",
                                                    "Ohms vs. Kelvin", "Log Ohms vs. Kelvin",
                                                    "Log Ohms vs. Log Kelvin"};
}

std::string_view data_format_name(int code) {
    if (code < 1 || code > 5) return {};
    return kNames[code - 1];
}

int data_format_code(std::string_view name) {
    for (int code = 1; code <= 5; ++code)
        if (kNames[code - 1] == name) return code;
    return 0;
}

}  // namespace kelvara
