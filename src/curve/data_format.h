#pragma once

#include <string_view>

namespace kelvara {

enum DataFormat : int {
    DATA_FORMAT_NONE = 0,
    MILLIVOLTS_VS_KELVIN = 1,
    VOLTS_VS_KELVIN = 2,
    OHMS_VS_KELVIN = 3,
    LOG_OHMS_VS_KELVIN = 4,
    LOG_OHMS_VS_LOG_KELVIN = 5,
};

// "MilliVolts vs. Kelvin" ... "Log Ohms vs. Log Kelvin"; "" for any other code.
std::string_view data_format_name(int code);

// Code 1..5 of a name compared exactly (case-sensitive), 0 when none matches.
int data_format_code(std::string_view name);

}  // namespace kelvara
