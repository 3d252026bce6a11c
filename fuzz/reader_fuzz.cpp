// Feeds one input to every curve-file reader, with a model of each file family, then writes
// whatever was read. Aborts when a reader breaks the record's invariants; the sanitizers catch
// the rest.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "curve/files.h"

namespace {

namespace fs = std::filesystem;
using kelvara::InstrumentModel;

const fs::path& scratch_dir() {
    static const fs::path dir = [] {
        fs::path d = fs::temp_directory_path() / ("kelvara-fuzz-" + std::to_string(::getpid()));
        fs::create_directories(d);
        std::atexit([] {
            std::error_code ec;
            fs::remove_all(scratch_dir(), ec);
        });
        return d;
    }();
    return dir;
}

void check(bool ok, const char* what) {
    if (!ok) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

bool same(const kelvara::CurveRecord& a, const kelvara::CurveRecord& b) {
    return a.breakpoint_count == b.breakpoint_count && a.data_format == b.data_format &&
           a.temperature_coefficient == b.temperature_coefficient &&
           a.nav_format_code == b.nav_format_code && a.dun_format_char == b.dun_format_char &&
           a.sensor_units == b.sensor_units && a.temperatures == b.temperatures;
}

void run_one(InstrumentModel model, const char* ext, const std::string& bytes) {
    const fs::path in = scratch_dir() / (std::string("in.") + ext);
    const fs::path out = scratch_dir() / (std::string("out.") + ext);
    {
        std::ofstream f(in, std::ios::binary | std::ios::trunc);
        f.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    const kelvara::CurveRecord start = kelvara::CurveRecord::for_model(model);
    kelvara::CurveRecord curve = start;
    kelvara::HeaderFields fields = kelvara::HeaderFields::for_model(model);
    const std::string start_name = fields.name;
    kelvara::RecordingPrompts prompts;
    auto result = kelvara::read_curve_file(in.string(), model, curve, fields, prompts);
    check(result != kelvara::FileCommandResult::WrongType, "dispatch refused its own extension");
    check(curve.sensor_units.size() == start.sensor_units.size() &&
              curve.temperatures.size() == start.temperatures.size(),
          "arrays changed size");
    if (result == kelvara::FileCommandResult::Failed) {
        check(same(curve, start) && fields.name == start_name, "failed read changed the record");
        return;
    }
    check(curve.breakpoint_count >= 0 && curve.breakpoint_count <= curve.max_breakpoints,
          "breakpoint_count out of range");
    for (int i = curve.breakpoint_count; i < curve.max_breakpoints; ++i)
        check(curve.sensor_units[i] == kelvara::UNUSED_POINT &&
                  curve.temperatures[i] == kelvara::UNUSED_POINT,
              "unused slot not cleared");
    kelvara::write_curve_file(out.string(), model, curve, fields, prompts);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    run_one(InstrumentModel::TAZ, "TAZ", bytes);
    run_one(InstrumentModel::QUA_RIL, "TZA", bytes);
    run_one(InstrumentModel::NAV, "NAV", bytes);
    run_one(InstrumentModel::DUN, "DUN", bytes);
    run_one(InstrumentModel::HOX, "HOX", bytes);
    return 0;
}
