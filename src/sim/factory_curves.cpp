// The standard sensor curves an instrument leaves the factory with, in every location that the
// user cannot write. The tables follow the usual sensor families closely enough to look and
// behave like the real thing (monotonic units, the right coefficient sign), not to calibrate.
#include <cmath>
#include <vector>

#include "curve/number_format.h"
#include "sim/command_sets.h"
#include "sim/instrument.h"

namespace kelvara::sim {

namespace {

struct Pair {
    double units;
    double kelvin;
};

struct Standard {
    const char* name;
    int format;     // data-format code
    double limit;   // setpoint limit, kelvin
    char setpoint;  // setpoint code of the older instruments
    bool thermocouple;
    std::vector<Pair> points;  // ascending units
};

// Silicon diode, volts.
std::vector<Pair> diode() {
    return {{0.108, 475}, {0.166, 450}, {0.283, 400}, {0.400, 350},   {0.519, 300}, {0.636, 250},
            {0.752, 200}, {0.866, 150}, {0.975, 100}, {1.024, 77.35}, {1.065, 60},  {1.085, 50},
            {1.099, 40},  {1.114, 30},  {1.123, 25},  {1.190, 20},    {1.290, 15},  {1.420, 10},
            {1.570, 6},   {1.626, 4.2}, {1.670, 2},   {1.698, 1.4}};
}

// Platinum resistor, 100 ohms at 0 C (Callendar-Van Dusen), ohms.
std::vector<Pair> platinum() {
    std::vector<Pair> out;
    const auto ohms = [](double kelvin) {
        const double t = kelvin - 273.15;
        double r = 1 + 3.9083e-3 * t - 5.775e-7 * t * t;
        if (t < 0) r -= 4.183e-12 * (t - 100) * t * t * t;
        return 100 * r;
    };
    for (double k = 70; k < 300; k += 20) out.push_back({ohms(k), k});
    for (double k = 300; k <= 800; k += 50) out.push_back({ohms(k), k});
    return out;
}

// Ruthenium oxide resistor, log10 of ohms.
std::vector<Pair> ruthenium() {
    std::vector<Pair> out;
    for (int i = 20; i >= 0; --i) {
        const double kelvin = 0.05 * std::pow(800.0, i / 20.0);  // 0.05 K to 40 K
        out.push_back({3.0 + 0.45 * std::pow(std::log10(40.0 / kelvin) + 0.01, 1.3), kelvin});
    }
    return out;
}

// Type K thermocouple against a 273.15 K reference, millivolts.
std::vector<Pair> thermocouple() {
    std::vector<Pair> out;
    for (double k : {3.5, 10.0, 20.0, 40.0, 77.35, 100.0, 150.0, 200.0, 273.15, 300.0, 400.0, 500.0,
                     600.0, 800.0, 1000.0, 1273.0}) {
        const double mv =
            k < 273.15 ? -6.458 * (1 - std::pow(k / 273.15, 1.5)) : 0.0403 * (k - 273.15);
        out.push_back({mv, k});
    }
    return out;
}

std::vector<Standard> standards() {
    return {{"DT-470", 2, 475, '2', false, diode()},
            {"PT-100", 3, 800, '3', false, platinum()},
            {"RX-102A", 4, 40, '0', false, ruthenium()},
            {"TYPE K", 1, 1273, '9', true, thermocouple()}};
}

SimCurve headerpoint_curve(const Standard& s) {
    SimCurve c;
    c.name = s.name;
    c.serial = "STANDARD";
    c.format = std::to_string(s.format);
    c.limit = FormatNoLocale(s.limit, "0.000");
    c.coefficient = s.points.front().kelvin <= s.points.back().kelvin ? "2" : "1";
    for (const auto& p : s.points)
        c.points.push_back({FormatNoLocale(p.units, "0.00000"), FormatNoLocale(p.kelvin, "0.000")});
    return c;
}

// The older instruments hold scaled units: ohms/100 for platinum, (millivolts + 15) x 100 for
// thermocouples; log ohms are not offered there, so the RuOx slot holds the diode.
SimCurve older_curve(const Standard& s, bool with_interpolation) {
    SimCurve c;
    const std::string codes = std::string(1, s.setpoint) + (s.thermocouple ? "9" : "0");
    const std::string name = fit(s.name, 9) + "STD";
    c.header = (with_interpolation ? std::string("L") : std::string("S")) + codes + name;
    for (const auto& p : s.points) {
        double u = p.units;
        if (s.format == 3) u /= 100;
        if (s.format == 1) u = (u + 15) * 100;
        c.points.push_back({FormatNoLocale(u, "0.00000"), FormatNoLocale(p.kelvin, "000.0")});
    }
    return c;
}

}  // namespace

void Instrument::load_factory_curves() {
    const CommandSet set = command_set_of(model_);
    if (set == CommandSet::Hox) return;
    std::vector<Standard> list = standards();
    if (set != CommandSet::HeaderPoint) list.erase(list.begin() + 2);
    std::size_t next = 0;
    for (int location : profile(model_).read_locations) {
        if (is_writable(location)) continue;
        const Standard& s = list[next++ % list.size()];
        curves_[location] = set == CommandSet::HeaderPoint ? headerpoint_curve(s)
                                                           : older_curve(s, set == CommandSet::Xk);
    }
}

}  // namespace kelvara::sim
