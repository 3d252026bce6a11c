// What the curve graph shows, as plain data: titles, axis labels and scales, and the series.
// GraphState follows the three redraw procedures of the main window; CurveGraph renders the
// result. Keeping this apart from the widget lets the rules be checked without painting.
#pragma once

#include <string>
#include <vector>

#include "curve/curve_record.h"
#include "curve/header_fields.h"
#include "curve/model_profile.h"

namespace kelvara {

inline constexpr const char* kGraphMainTitle = "Sensor Units versus Temperature";

enum class AxisScale { Linear, Logarithmic };

struct GraphPoint {
    double x = 0;  // temperature
    double y = 0;  // sensor units
};

struct GraphSeries {
    std::string label;  // "Original" / "Adjusted" once two series were shown, else ""
    std::vector<GraphPoint> points;
};

struct GraphSpec {
    std::string main_title = kGraphMainTitle;
    std::string subtitle;
    // Extra title lines in three-part form "left|centre|right"; only the centre is filled.
    std::vector<std::string> extra_titles;
    std::string x_label = "Temperature";
    std::string y_label = "Sensor Units";
    AxisScale x_scale = AxisScale::Linear;
    AxisScale y_scale = AxisScale::Linear;
    // For the value under the pointer: the sensor unit the data format names ("Volts",
    // "Log Ohms" ...; "" when it names none), and whether temperatures are log10 of kelvin.
    std::string sensor_unit;
    bool log_kelvin = false;
    std::vector<GraphSeries> series;  // one, or two after an adjustment
};

// The centre part of a three-part title line ("|Setpoint Limit: 375|" -> "Setpoint Limit: 375").
std::string centre_part(const std::string& three_part);

// The graph's memory between redraws: a redraw changes only what the procedure sets, so the
// "Original" series of update_graph_series2 is whatever series 0 was last given.
class GraphState {
  public:
    const GraphSpec& spec() const { return spec_; }

    // One series with the current curve; scales and labels by model and data format.
    const GraphSpec& update_graph(InstrumentModel model, const CurveRecord& curve,
                                  const HeaderFields& fields);
    // Two series: "Original" keeps the previous points, "Adjusted" gets the current curve.
    const GraphSpec& update_graph_series2(InstrumentModel model, const CurveRecord& curve,
                                          const HeaderFields& fields);
    // As update_graph, keeping the number of series, with the curve's identification in the
    // subtitle and extra title lines.
    const GraphSpec& update_graph_for_print(InstrumentModel model, const CurveRecord& curve,
                                            const HeaderFields& fields);

  private:
    void common_redraw(InstrumentModel model, const CurveRecord& curve, const HeaderFields& fields);
    GraphSpec spec_ = initial_spec();
    static GraphSpec initial_spec();
};

// The points of the curve in use: x = temperature, y = sensor units, p = 0..breakpoint_count-1.
std::vector<GraphPoint> curve_points(const CurveRecord& curve);

}  // namespace kelvara
