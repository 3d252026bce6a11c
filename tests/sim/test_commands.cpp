#include <gtest/gtest.h>

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "curve/curve_record.h"
#include "curve/number_format.h"
#include "sim/command_sets.h"

using kelvara::InstrumentModel;
using kelvara::sim::Instrument;

namespace {

// A step is "command -> reply" (without the line end), or a command that gets no reply at all.
struct Script {
    const char* title;
    InstrumentModel model;
    std::vector<std::string> steps;
    int memory_bytes = 0;  // 0: the model's own
};

const std::string kEmptyHeader = "               ,          ,0,0.000,0";

std::vector<Script> scripts() {
    return {
        {"header and points held as sent: quotes dropped, names cut to 15 and 10, zeros past the "
         "end, nothing kept where the model has no room",
         InstrumentModel::TAZ,
         {"CRVDEL 21", "CRVHDR 21,MYCURVE,SN123,2, 375,1", "CRVPT 21,1,0.09062,475.000",
          "CRVPT 21,2,1.69800,1.400", "CRVHDR? 21 -> MYCURVE        ,SN123     ,2,375,1",
          "CRVPT? 21,2 -> 1.69800,1.400", "CRVPT? 21,3 -> 0.00000,0.000",
          "CRVHDR 22,\"A,B CURVE\",\"SN 9\",3, 800,2;CRVPT 22,1,5,6", "*RST",
          "CRVHDR? 22;CRVPT? 22,1 -> A,B CURVE      ,SN 9      ,3,800,2;5,6",
          "CRVHDR 23,ABCDEFGHIJKLMNOPQRST,0123456789AB,4,40,1",
          "CRVHDR? 23 -> ABCDEFGHIJKLMNO,0123456789,4,40,1", "CRVDEL 21;CRVSAV",
          "CRVHDR? 21 -> " + kEmptyHeader, "CRVPT? 21,1 -> 0.00000,0.000", "CRVHDR 99,X,Y,2,1,1",
          "CRVHDR? 99 -> " + kEmptyHeader, "CRVPT 24,201,1.0,2.0",
          "CRVPT? 24,201 -> 0.00000,0.000"}},
        {"unknown commands, and another family's identification, answer nothing",
         InstrumentModel::KIP,
         {"XYZZY", "CRVHDR? 21", "*IDN?"}},
        {"NAV keeps a short name unpadded and marks rising temperatures",
         InstrumentModel::NAV,
         {"CURV 12,S21DT1SN12,0.5,10.0,0.6,20.0*", "ECUR 12,0.7,30.0",
          "CURV? 12 -> 12,S21DT1SN12,P,5,0.00000,000.0,0.5,10.0,0.6,20.0,0.7,30.0,9.99999,000.0",
          "KCUR 12", "CURV? 12 -> -1,NO CURVE"}},
        {"a full memory refuses points and curves",
         InstrumentModel::NAV,
         {"CURV 11,S00A,1,2,3,4*", "FREE? -> 16", "ECUR 11,5,6", "FREE? -> 0", "ECUR 11,7,8",
          "CURV? 11 -> 11,S00A,P,5,0.00000,000.0,1,2,3,4,5,6,9.99999,000.0",
          "CURV 12,S00B,1,2,3,4*", "CURV? 12 -> -1,NO CURVE"},
         Instrument::kHeaderBytes + 3 * Instrument::kPointBytes},
        {"XK with blanks after the keyword; appending needs a start",
         InstrumentModel::ELK,
         {"XC 12, 40NAME     SN,1.00000,300.0,2.00000,100.0*", "XE 12,3.00000,050.0*",
          "XD 12 -> 12, 40NAME     SN,N,5,0.00000,000.0,1.00000,300.0,2.00000,100.0,3.00000,050.0,"
          "9.99999,000.0",
          "XE10,5,6*", "XD10 -> 10,41904 BYTES FREE,"}},
        {"HOX grid points, serial number and erase",
         InstrumentModel::HOX,
         {"C0.00,475.000", "SIDABCDEFGHIJ", "C?0.00 -> 475.000", "C?0.01 -> BAD POINT",
          "SID? -> ABCDEFGH", "ERASE!", "C?0.00 -> 0.000", "SID? -> "}},
    };
}

}  // namespace

TEST(Commands, WhatIsWrittenIsHeldAndGivenBack) {
    for (const auto& script : scripts()) {
        SCOPED_TRACE(script.title);
        Instrument instrument(script.model);
        if (script.memory_bytes) instrument.memory_bytes = script.memory_bytes;
        for (const auto& step : script.steps) {
            const auto arrow = step.find(" -> ");
            EXPECT_EQ(instrument.handle(step.substr(0, arrow)),
                      arrow == std::string::npos ? "" : step.substr(arrow + 4) + "\r\n")
                << step;
        }
    }
}

// Every factory curve is plausible and outlives attempts to overwrite, extend or erase it.
TEST(Commands, EveryModelKeepsItsFactoryCurves) {
    using kelvara::sim::CommandSet;
    const std::map<CommandSet, std::vector<std::string>> attempts = {
        {CommandSet::HeaderPoint, {"CRVHDR #,X,Y,2,1,1", "CRVPT #,1,9,9", "CRVDEL #"}},
        {CommandSet::Kcur, {"CURV #,S00X,1,2,3,4*", "ECUR #,5,6", "KCUR #"}},
        {CommandSet::Xk, {"XC#,L00X,1,2,3,4*", "XE#,5,6*", "XK#*"}}};
    for (const auto& p : kelvara::model_profiles()) {
        SCOPED_TRACE(std::string(p.designation));
        Instrument in(p.model);
        const CommandSet set = kelvara::sim::command_set_of(p.model);
        for (int location : p.read_locations) {
            if (in.is_writable(location)) continue;
            SCOPED_TRACE(location);
            ASSERT_NE(in.curve(location), nullptr);
            const kelvara::sim::SimCurve factory = *in.curve(location);
            for (std::size_t i = 1; i < factory.points.size(); ++i)
                EXPECT_LT(kelvara::parse_leading_number(factory.points[i - 1].units),
                          kelvara::parse_leading_number(factory.points[i].units));
            if (set == CommandSet::HeaderPoint) {
                EXPECT_EQ(factory.coefficient, kelvara::sim::rising(factory.points) ? "2" : "1");
            }
            for (std::string command : attempts.at(set)) {
                command.replace(command.find('#'), 1,
                                (location < 10 ? "0" : "") + std::to_string(location));
                in.handle(command);
            }
            EXPECT_EQ(in.curve(location) ? *in.curve(location) : kelvara::sim::SimCurve{}, factory);
        }
    }
}

TEST(Commands, CataloguesCutIntoEveryStoredLocationsName) {
    // model, what is stored, where, the name the catalogue gives
    const std::tuple<InstrumentModel, std::string, int, std::string> rows[] = {
        {InstrumentModel::KOR, "CURV11,S10MYCURVE12SN9,1,2,3,4*", 11, "MYCURVE12"},
        {InstrumentModel::NAV, "CURV 21,S10AB,1,2,3,4*", 21, "AB"},
        {InstrumentModel::KIP, "XC07, 21SILICON  D1,0.5,300.0,1.0,77.0*", 7, "SILICON"},
        {InstrumentModel::ELK, "XC30, 21SILICON  D1,0.5,300.0,1.0,77.0*", 30, "SILICON"},
    };
    for (const auto& [model, store, location, name] : rows) {
        SCOPED_TRACE(store);
        Instrument in(model);
        in.handle(store);
        // "CUID?": records of number, codes and name, serial, N/P. "XDT": free memory and count,
        // then records of number, two codes, name.
        const bool xdt = kelvara::profile(model).catalogue == kelvara::CatalogueQuery::Xdt;
        const std::string reply = in.handle(xdt ? "XDT" : "CUID?");
        EXPECT_LT(reply.size(), 1000u);  // the program reads it into 1000 characters
        const auto f = kelvara::sim::split_fields(reply);
        std::map<int, std::string> names;
        for (std::size_t i = xdt ? 2 : 0; i + 3 < f.size(); i += 4)
            names[*kelvara::to_int32(f[i])] =
                kelvara::trim_blanks(xdt ? f[i + 3] : f[i + 1].substr(3));
        EXPECT_EQ(names.at(location), name);
        EXPECT_EQ(names.at(0), "DT-470");
        std::size_t stored = 0;
        for (int l : kelvara::profile(model).read_locations) stored += in.curve(l) != nullptr;
        EXPECT_EQ(names.size(), stored);
        if (xdt) {  // the free-memory query drops the first field's last 11 characters
            EXPECT_EQ(kelvara::to_int32(f[0].substr(0, f[0].size() - 11)), in.free_bytes());
        }
    }
}

TEST(Commands, UserCurvesSurviveASaveAndLoadButNotABrokenState) {
    Instrument nav(InstrumentModel::NAV);
    nav.handle("CURV 12,S21NAME     SER1,0.10000,300.0,0.20000,200.0*");
    const std::string state = nav.save_state();
    Instrument copy(InstrumentModel::NAV);
    EXPECT_FALSE(Instrument(InstrumentModel::KOR).load_state(state));
    EXPECT_FALSE(copy.load_state(state.substr(0, state.size() - 4)));  // without its last END
    EXPECT_EQ(copy.curve(12), nullptr);                                // nothing taken from it
    ASSERT_TRUE(copy.load_state(state));
    EXPECT_EQ(*copy.curve(12), *nav.curve(12));
}
