// Test helpers: a scratch directory, files with given bytes, and a curve in its start-up state.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "curve/curve_record.h"
#include "curve/files.h"
#include "curve/header_fields.h"

namespace kelvara::testing_support {

class Scratch {
  public:
    Scratch() {
        dir_ =
            std::filesystem::temp_directory_path() /
            ("kelvara-curve-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
             "-" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
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
    std::vector<std::string> entries() const {
        std::vector<std::string> out;
        for (const auto& e : std::filesystem::directory_iterator(dir_))
            out.push_back(e.path().filename().string());
        return out;
    }

  private:
    std::filesystem::path dir_;
};

// The window's state for a model right after start-up.
struct Window {
    InstrumentModel model;
    CurveRecord curve;
    HeaderFields fields;
    explicit Window(InstrumentModel m)
        : model(m), curve(CurveRecord::for_model(m)), fields(HeaderFields::for_model(m)) {}

    void set_points(const std::vector<std::pair<double, double>>& points) {
        curve.breakpoint_count = 0;
        curve.clear_unused_slots();
        for (size_t i = 0; i < points.size(); ++i) {
            curve.sensor_units[i] = points[i].first;
            curve.temperatures[i] = points[i].second;
        }
        get_number_of_breakpoints(curve);
    }
    std::vector<std::pair<double, double>> points() const {
        std::vector<std::pair<double, double>> out;
        for (int i = 0; i < curve.breakpoint_count; ++i)
            out.emplace_back(curve.sensor_units[i], curve.temperatures[i]);
        return out;
    }
};

// Every part of the state a read may change, for "nothing changed" checks.
inline void expect_same_state(const Window& a, const Window& b) {
    EXPECT_EQ(a.curve.breakpoint_count, b.curve.breakpoint_count);
    EXPECT_EQ(a.curve.data_format, b.curve.data_format);
    EXPECT_EQ(a.curve.temperature_coefficient, b.curve.temperature_coefficient);
    EXPECT_EQ(a.curve.nav_format_code, b.curve.nav_format_code);
    EXPECT_EQ(a.curve.dun_format_char, b.curve.dun_format_char);
    EXPECT_EQ(a.curve.sensor_units, b.curve.sensor_units);
    EXPECT_EQ(a.curve.temperatures, b.curve.temperatures);
    EXPECT_EQ(a.fields.name, b.fields.name);
    EXPECT_EQ(a.fields.serial_number, b.fields.serial_number);
    EXPECT_EQ(a.fields.data_format.selected, b.fields.data_format.selected);
    EXPECT_EQ(a.fields.setpoint_text, b.fields.setpoint_text);
    EXPECT_EQ(a.fields.setpoint_list.selected, b.fields.setpoint_list.selected);
    EXPECT_EQ(a.fields.interpolation.selected, b.fields.interpolation.selected);
    EXPECT_EQ(a.fields.thermocouple, b.fields.thermocouple);
}

}  // namespace kelvara::testing_support
