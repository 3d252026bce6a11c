// Test helpers: text building, a scratch directory, and the window's curve and header state for a
// model.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "curve/curve_record.h"
#include "curve/files.h"
#include "curve/header_fields.h"

namespace kelvara::testing_support {

using Points = std::vector<std::pair<double, double>>;

inline std::string repeat(const std::string& text, int times) {
    std::string out;
    for (int i = 0; i < times; ++i) out += text;
    return out;
}

inline std::string replace_all(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

class Scratch {
  public:
    Scratch() {
        std::filesystem::remove_all(dir_);
        std::filesystem::create_directories(dir_);
    }
    ~Scratch() { std::filesystem::remove_all(dir_); }
    std::string path(const std::string& name) const { return (dir_ / name).string(); }
    std::string put(const std::string& name, const std::string& bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
        return path(name);
    }
    std::string get(const std::string& name) const {
        std::ifstream in(path(name), std::ios::binary);
        return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    }
    bool exists(const std::string& name) const { return std::filesystem::exists(path(name)); }

  private:
    std::filesystem::path dir_ =
        std::filesystem::temp_directory_path() /
        replace_all("kelvara-" + std::to_string(::getpid()) + "-" +
                        ::testing::UnitTest::GetInstance()->current_test_info()->name(),
                    "/", "-");
};

// The window's state for a model right after start-up.
struct Window {
    InstrumentModel model;
    CurveRecord curve;
    HeaderFields fields;
    explicit Window(InstrumentModel m)
        : model(m), curve(CurveRecord::for_model(m)), fields(HeaderFields::for_model(m)) {}

    void set_points(const Points& points) {
        curve.breakpoint_count = 0;
        curve.clear_unused_slots();
        for (size_t i = 0; i < points.size(); ++i) {
            curve.sensor_units[i] = points[i].first;
            curve.temperatures[i] = points[i].second;
        }
        get_number_of_breakpoints(curve);
    }
    Points points() const {
        Points out;
        for (int i = 0; i < curve.breakpoint_count; ++i)
            out.emplace_back(curve.sensor_units[i], curve.temperatures[i]);
        return out;
    }
    // Every part of the state a read may change, for "nothing changed" checks.
    auto state() const { return std::tie(curve, fields); }
};

// A three-point curve with every header field set, for any model.
inline Window small_curve(InstrumentModel model) {
    Window w(model);
    w.fields.name = "DT-470";
    w.fields.serial_number = "D12345";
    w.fields.data_format.selected = 1;    // Volts vs. Kelvin
    w.fields.setpoint_text = "475";       // the newer models
    w.fields.setpoint_list.selected = 2;  // 475, the older models
    w.fields.interpolation.selected = 1;  // Straight Line
    w.curve.nav_format_code = 3;
    w.set_points({{0.05, 300}, {123456.4, 77.35}, {1.2e6, 4.2}});
    return w;
}

}  // namespace kelvara::testing_support
