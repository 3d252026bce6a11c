#include "graph/graph_description.h"

#include <algorithm>
#include <cstddef>

#include "curve/data_format.h"

namespace kelvara {

namespace {

struct AxisChoice {
    AxisScale y_scale;
    AxisScale x_scale;
    const char* x_label;  // nullptr: the label stays as step 6 set it
    const char* y_label;
    const char* unit;
};

// Scales and labels for the models whose window offers a data-format list.
AxisChoice choice_for_format(int code, const CurveRecord& curve) {
    using enum AxisScale;
    switch (code) {
        case MILLIVOLTS_VS_KELVIN:
            return {Linear, Linear, "Temperature (Kelvin)", "Sensor Units (MilliVolts)",
                    "MilliVolts"};
        case VOLTS_VS_KELVIN:
            return {Linear, Linear, "Temperature (Kelvin)", "Sensor Units (Volts)", "Volts"};
        case OHMS_VS_KELVIN:
            // Resistors whose resistance falls as they warm span decades on both axes.
            if (temperature_coefficient_of(curve) == 1)
                return {Logarithmic, Logarithmic, "Temperature (Kelvin)", "Sensor Units (Ohms)",
                        "Ohms"};
            return {Linear, Linear, "Temperature (Kelvin)", "Sensor Units (Ohms)", "Ohms"};
        case LOG_OHMS_VS_KELVIN:
            return {Linear, Logarithmic, "Temperature (Kelvin)", "Sensor Units (Log Ohms)",
                    "Log Ohms"};
        case LOG_OHMS_VS_LOG_KELVIN:
            return {Linear, Linear, "Temperature (Log Kelvin)", "Sensor Units (Log Ohms)",
                    "Log Ohms"};
        default:
            return {Linear, Linear, nullptr, nullptr, ""};
    }
}

bool has_data_format_list(InstrumentModel model) {
    const ModelProfile* p = find_profile(model);
    return p == nullptr || p->header_style == HeaderStyle::HeaderPoint;
}

}  // namespace

std::string centre_part(const std::string& three_part) {
    const auto first = three_part.find('|');
    if (first == std::string::npos) return three_part;
    const auto second = three_part.find('|', first + 1);
    const auto end = second == std::string::npos ? three_part.size() : second;
    return three_part.substr(first + 1, end - first - 1);
}

std::vector<GraphPoint> curve_points(const CurveRecord& curve) {
    std::vector<GraphPoint> points;
    const auto slots = std::min(curve.temperatures.size(), curve.sensor_units.size());
    for (int p = 0; p < curve.breakpoint_count && static_cast<std::size_t>(p) < slots; ++p) {
        const auto i = static_cast<std::size_t>(p);
        points.push_back({curve.temperatures[i], curve.sensor_units[i]});
    }
    return points;
}

GraphSpec GraphState::initial_spec() {
    GraphSpec spec;
    spec.series.resize(1);
    return spec;
}

void GraphState::common_redraw(InstrumentModel model, const CurveRecord& curve,
                               const HeaderFields& fields) {
    spec_.main_title = kGraphMainTitle;
    spec_.subtitle.clear();
    spec_.extra_titles.clear();
    spec_.x_label = "Temperature";
    spec_.y_label = "Sensor Units";
    spec_.sensor_unit.clear();
    spec_.log_kelvin = false;
    if (!has_data_format_list(model)) {
        spec_.x_scale = AxisScale::Linear;
        spec_.y_scale = AxisScale::Linear;
        spec_.x_label = "Temperature (Kelvin)";
        return;
    }
    const int code = data_format_from_selection(fields);
    const AxisChoice choice = choice_for_format(code, curve);
    spec_.x_scale = choice.x_scale;
    spec_.y_scale = choice.y_scale;
    if (choice.x_label) spec_.x_label = choice.x_label;
    if (choice.y_label) spec_.y_label = choice.y_label;
    spec_.sensor_unit = choice.unit;
    spec_.log_kelvin = code == LOG_OHMS_VS_LOG_KELVIN;
}

const GraphSpec& GraphState::update_graph(InstrumentModel model, const CurveRecord& curve,
                                          const HeaderFields& fields) {
    spec_.series.resize(1);
    spec_.series[0].points = curve_points(curve);
    common_redraw(model, curve, fields);
    return spec_;
}

const GraphSpec& GraphState::update_graph_series2(InstrumentModel model, const CurveRecord& curve,
                                                  const HeaderFields& fields) {
    // Series 0 is not rewritten: it still holds the curve as it was drawn before the change.
    spec_.series.resize(2);
    spec_.series[0].label = "Original";
    spec_.series[1].label = "Adjusted";
    spec_.series[1].points = curve_points(curve);
    common_redraw(model, curve, fields);
    return spec_;
}

const GraphSpec& GraphState::update_graph_for_print(InstrumentModel model, const CurveRecord& curve,
                                                    const HeaderFields& fields) {
    if (spec_.series.empty()) spec_.series.resize(1);
    spec_.series[0].points = curve_points(curve);
    common_redraw(model, curve, fields);
    spec_.subtitle = "Curve: " + fields.name + "  " + fields.serial_number;
    spec_.extra_titles.push_back("|Setpoint Limit: " + fields.setpoint_shown() + "|");
    if (fields.interpolation.visible)
        spec_.extra_titles.push_back("|Interploation Method: " + fields.interpolation.text() + "|");
    return spec_;
}

}  // namespace kelvara
