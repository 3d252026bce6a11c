#include "protocol/scaling.h"

#include <algorithm>
#include <cmath>

#include "curve/number_format.h"
#include "protocol/older_procedures.h"

namespace kelvara {

ScalingRows scaling_rows(int code) {
    ScalingRows r;
    r.factor_label = kScalingMultiplyLabel;
    switch (code) {
        case 1:
            r = {true, "45", true, kScalingMultiplyLabel, "0.1", true, "0.5"};
            break;
        case 2:
            r = {true, "15", true, kScalingMultiplyLabel, "0.1", false, ""};
            break;
        case 3:
            r = {false, "", true, kScalingMultiplyLabel, "0.03", false, ""};
            break;
        case 4:
            r = {false, "", true, kScalingMultiplyLabel, "0.01", false, ""};
            break;
        case 5:
            r = {false, "", true, kScalingMultiplyLabel, "0.001", false, ""};
            break;
        case 6:
            r = {false, "", false, "Log", "", false, ""};
            break;
        default:
            break;
    }
    return r;
}

std::optional<ScalingFactors> scaling_factors_from_texts(int code, const std::string& offset_text,
                                                         const std::string& factor_text,
                                                         const std::string& temperature_text) {
    const ScalingRows rows = scaling_rows(code);
    ScalingFactors f;
    if (rows.offset_row) {
        if (!is_numeric_text(offset_text)) return std::nullopt;
        f.units_offset = parse_leading_number(offset_text);
    }
    if (rows.factor_box) {
        if (!is_numeric_text(factor_text)) return std::nullopt;
        f.units_factor = parse_leading_number(factor_text);
    }
    if (rows.temperature_row) {
        if (!is_numeric_text(temperature_text)) return std::nullopt;
        f.temperature_factor = parse_leading_number(temperature_text);
    }
    return f;
}

ScalingFactors default_scaling_factors(int code) {
    const ScalingRows rows = scaling_rows(code);
    return scaling_factors_from_texts(code, rows.offset_text, rows.factor_text,
                                      rows.temperature_text)
        .value_or(ScalingFactors{});
}

int scaling_code_for(double first_units, double last_units) {
    if (first_units < 0) return first_units < -30 ? 1 : 2;
    if (last_units < 10) return 0;
    if (last_units < 200) return 3;
    if (last_units < 600) return 4;
    if (last_units >= 6000) return 6;
    return 5;
}

void apply_scaling(int code, const ScalingFactors& factors, std::vector<double>& units,
                   std::vector<double>& temperatures, int count) {
    const int n =
        std::min<int>(count, static_cast<int>(std::min(units.size(), temperatures.size())));
    for (int i = 0; i < n; ++i) {
        double& u = units[i];
        switch (code) {
            case 1:
                u = (u + factors.units_offset) * factors.units_factor;
                temperatures[i] *= factors.temperature_factor;
                break;
            case 2:
                u = (u + factors.units_offset) * factors.units_factor;
                break;
            case 3:
            case 4:
            case 5:
                u *= factors.units_factor;
                break;
            case 6:
                // A zero stays zero; a negative value has no logarithm and is sent as it is
                // rather than as a meaningless number.
                if (u > 0) u = std::log10(u);
                break;
            default:
                break;
        }
    }
}

void choose_scaling(Session& s) {
    CurveRecord& c = s.curve;
    const int max = c.max_breakpoints > 0 ? c.max_breakpoints : max_breakpoints_of(s.setup.model);
    TransferState& t = s.transfer;
    t.transfer_units.assign(max + 1, 0.0);
    t.transfer_temperatures.assign(max + 1, 0.0);
    const int count =
        std::min<int>({c.breakpoint_count, max, static_cast<int>(c.sensor_units.size()),
                       static_cast<int>(c.temperatures.size())});
    if (count < 1) return;
    for (int i = 0; i < count; ++i) {
        t.transfer_units[i] = c.sensor_units[i];
        t.transfer_temperatures[i] = c.temperatures[i];
    }
    const int code = scaling_code_for(c.sensor_units[0], c.sensor_units[count - 1]);
    if (code == 0) return;  // no scaling: the code keeps its last value
    t.scaling_code = code;
    std::optional<ScalingFactors> f = s.scaling.ask(code, default_scaling_factors(code));
    if (f) apply_scaling(code, *f, t.transfer_units, t.transfer_temperatures, count);
}

}  // namespace kelvara
