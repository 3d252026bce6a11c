#include "seeds.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "curve/files.h"

namespace kelvara::fuzz {

namespace {

std::string write_with(InstrumentModel model, const char* ext, int points, bool thermocouple) {
    namespace fs = std::filesystem;
    CurveRecord curve = CurveRecord::for_model(model);
    HeaderFields fields = HeaderFields::for_model(model);
    fields.name = "SEED";
    fields.serial_number = "S1234";
    fields.setpoint_text = "325.5";
    fields.thermocouple = thermocouple;
    for (int i = 0; i < points && i < curve.max_breakpoints; ++i) {
        if (model != InstrumentModel::HOX) curve.sensor_units[i] = 0.001 * (i + 1) * (i + 1);
        curve.temperatures[i] = 500.0 - 2.5 * i;
    }
    get_number_of_breakpoints(curve);
    fs::path path =
        fs::temp_directory_path() / ("kelvara-seed-" + std::to_string(::getpid()) + "." + ext);
    RecordingPrompts prompts;
    write_curve_file(path.string(), model, curve, fields, prompts);
    std::ifstream in(path, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::error_code ec;
    fs::remove(path, ec);
    return bytes;
}

}  // namespace

std::vector<Seed> make_seeds() {
    using M = InstrumentModel;
    std::vector<Seed> seeds;
    const struct {
        M model;
        const char* ext;
    } layouts[] = {
        {M::TAZ, "TAZ"}, {M::TAZ, "TZA"}, {M::NAV, "NAV"}, {M::NAV, "DUN"}, {M::HOX, "HOX"}};
    for (const auto& l : layouts) {
        for (int points : {0, 1, 5, 200})
            seeds.push_back({"seed-" + std::to_string(points) + "." + l.ext,
                             write_with(l.model, l.ext, points, points == 5)});
        // The same file as saved on other systems: LF only, CR only, with a byte-order mark.
        const std::string crlf = write_with(l.model, l.ext, 5, true);
        std::string lf, cr;
        for (size_t i = 0; i < crlf.size(); ++i) {
            if (crlf.compare(i, 2, "\r\n") != 0) {
                lf += crlf[i];
                cr += crlf[i];
                continue;
            }
            lf += '\n';
            cr += '\r';
            ++i;
        }
        seeds.push_back({std::string("seed-lf.") + l.ext, lf});
        seeds.push_back({std::string("seed-cr.") + l.ext, cr});
        seeds.push_back({std::string("seed-bom.") + l.ext, "\xEF\xBB\xBF" + lf});
    }
    seeds.push_back({"hand-1.DUN", "XC06,S29MYSENSOR 123456,0.12345,300.0,0.23456,250.0*\r\n"});
    seeds.push_back({"hand-2.TZA",
                     "Name: a\rSerial number: b\rFormat: 9\rLimit: 1e3\rCoefficient: 2\r"
                     "Point 1: 1.5e-2,\t3E2\r\r"});
    seeds.push_back(
        {"hand-3.TAZ", "x:1\r\ny:2\r\nz:3\r\nw:4\r\nv:5\r\nc:3\r\n\r\n1 1 1\r\n2 2 2\r\n"});
    return seeds;
}

}  // namespace kelvara::fuzz
