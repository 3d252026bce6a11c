#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "curve/number_format.h"
#include "sim/instrument.h"

using kelvara::InstrumentModel;
using kelvara::sim::Instrument;

namespace {

struct Exchange {
    const char* command;
    const char* reply;  // expected, without "\r\n"; nullptr: no reply at all
};

struct Script {
    const char* title;
    InstrumentModel model;
    std::vector<Exchange> steps;
    int busy_polls = 0;
};

const char* kEmptyHeader = "               ,          ,0,0.000,0";

std::vector<Script> scripts() {
    return {
        {"written header and points read back as sent",
         InstrumentModel::TAZ,
         {{"CRVDEL 21", nullptr},
          {"CRVHDR 21,MYCURVE,SN123,2, 375,1", nullptr},
          {"CRVPT 21,1,0.09062,475.000", nullptr},
          {"CRVPT 21,2,1.69800,1.400", nullptr},
          {"CRVHDR? 21", "MYCURVE        ,SN123     ,2,375,1"},
          {"CRVPT? 21,1", "0.09062,475.000"},
          {"CRVPT? 21,2", "1.69800,1.400"},
          {"CRVPT? 21,3", "0.00000,0.000"}}},
        {"quoted name and serial lose their quotes, commas inside stay",
         InstrumentModel::QUA_RIL,
         {{"CRVHDR 21,\"A,B CURVE\",\"SN 9\",3, 800,2", nullptr},
          {"CRVHDR? 21", "A,B CURVE      ,SN 9      ,3,800,2"}}},
        {"over-long name and serial are kept to 15 and 10 characters",
         InstrumentModel::OBR,
         {{"CRVHDR 30,ABCDEFGHIJKLMNOPQRST,0123456789AB,4,40,1", nullptr},
          {"CRVHDR? 30", "ABCDEFGHIJKLMNO,0123456789,4,40,1"}}},
        {"erase joined with save on one line empties the location",
         InstrumentModel::TAZ,
         {{"CRVHDR 22,X,Y,2,1,1", nullptr},
          {"CRVPT 22,1,1.0,2.0", nullptr},
          {"CRVDEL 22;CRVSAV", nullptr},
          {"CRVHDR? 22", kEmptyHeader},
          {"CRVPT? 22,1", "0.00000,0.000"},
          {"BUSY?", "0"}}},
        {"factory locations refuse writes and erasures",
         InstrumentModel::TAZ,
         {{"CRVHDR 3,HACK,HACK,2,1,1", nullptr},
          {"CRVPT 3,1,9.9,9.9", nullptr},
          {"CRVDEL 3", nullptr},
          {"CRVHDR? 3", "TYPE K         ,STANDARD  ,1,1273.000,2"}}},
        {"locations the model lacks stay empty",
         InstrumentModel::DAL,
         {{"CRVHDR 22,X,Y,2,1,1", nullptr},
          {"CRVHDR? 22", kEmptyHeader},
          {"CRVHDR? 99", kEmptyHeader}}},
        {"points past the model's limit are ignored",
         InstrumentModel::WUN,
         {{"CRVPT 1,201,1.0,2.0", nullptr},
          {"CRVPT? 1,201", "0.00000,0.000"},
          {"CRVHDR? 1", kEmptyHeader}}},
        {"several queries on one line answer in one line",
         InstrumentModel::MEP,
         {{"CRVHDR 21,A,B,2,1,1;CRVPT 21,1,5,6", nullptr}, {"CRVPT? 21,1;BUSY?", "5,6;0"}}},
        {"a reset answers nothing and leaves the curves",
         InstrumentModel::DAL,
         {{"CRVHDR 21,A,B,3,1,2", nullptr},
          {"*RST", nullptr},
          {"CRVHDR? 21", "A              ,B         ,3,1,2"}}},
        {"a save keeps the instrument busy for the requested polls",
         InstrumentModel::TAZ,
         {{"BUSY?", "0"}, {"CRVSAV", nullptr}, {"BUSY?", "1"}, {"BUSY?", "1"}, {"BUSY?", "0"}},
         2},
        {"unknown commands answer nothing",
         InstrumentModel::FEN,
         {{"XYZZY", nullptr}, {"CURV? 21", nullptr}, {"W2", nullptr}}},
    };
}

}  // namespace

TEST(HeaderPointCommands, ScriptsAnswerAsTheInstrumentDoes) {
    for (const auto& script : scripts()) {
        SCOPED_TRACE(script.title);
        Instrument instrument(script.model);
        instrument.faults.busy_polls = script.busy_polls;
        for (const auto& step : script.steps) {
            SCOPED_TRACE(step.command);
            const std::string expected = step.reply ? std::string(step.reply) + "\r\n" : "";
            EXPECT_EQ(instrument.handle(step.command), expected);
        }
    }
}

TEST(HeaderPointCommands, FactoryLocationsHoldPlausibleCurves) {
    // Every read-only location of every header/point model answers a named curve whose points
    // are monotonic in units and whose coefficient matches its temperatures.
    for (const auto& p : kelvara::model_profiles()) {
        if (p.catalogue != kelvara::CatalogueQuery::CrvHdr) continue;
        SCOPED_TRACE(std::string(p.designation));
        Instrument instrument(p.model);
        for (int location : p.read_locations) {
            if (instrument.is_writable(location)) continue;
            SCOPED_TRACE(location);
            const kelvara::sim::SimCurve* c = instrument.curve(location);
            ASSERT_NE(c, nullptr);
            EXPECT_FALSE(c->name.empty());
            ASSERT_GE(c->points.size(), 10u);
            for (std::size_t i = 1; i < c->points.size(); ++i)
                EXPECT_LT(kelvara::parse_leading_number(c->points[i - 1].units),
                          kelvara::parse_leading_number(c->points[i].units));
            const bool rising = kelvara::parse_leading_number(c->points.front().temperature) <=
                                kelvara::parse_leading_number(c->points.back().temperature);
            EXPECT_EQ(c->coefficient, rising ? "2" : "1");
        }
        for (int location : p.write_locations) EXPECT_EQ(instrument.curve(location), nullptr);
    }
}

TEST(Identification, EveryModelAnswersItsOwnPingWithAnAcceptedIdentity) {
    for (const auto& p : kelvara::model_profiles()) {
        SCOPED_TRACE(std::string(p.designation));
        Instrument instrument(p.model);
        const std::string reply = instrument.handle(std::string(p.ping));
        ASSERT_TRUE(reply.ends_with("\r\n"));
        ASSERT_NE(reply.find(','), std::string::npos);
        const std::string second = reply.substr(reply.find(',') + 1);
        const std::string model_field = second.substr(0, second.find(','));
        bool accepted = p.ping_reply_needs_comma;
        for (auto id : p.accepted_ids)
            accepted = accepted || model_field.find(id) != std::string::npos;
        EXPECT_TRUE(accepted) << reply;
    }
}

TEST(Identification, AConfiguredIdentityPresentsAnotherModel) {
    Instrument instrument(InstrumentModel::TAZ);
    instrument.set_identity("TESSALY,MODEL FEN,1,2");
    EXPECT_EQ(instrument.handle("*IDN?"), "TESSALY,MODEL FEN,1,2\r\n");
    // The W2 instruments do not know "*IDN?", nor the others "W2".
    EXPECT_EQ(Instrument(InstrumentModel::KIP).handle("*IDN?"), "");
    EXPECT_EQ(Instrument(InstrumentModel::TAZ).handle("W2"), "");
}

TEST(InstrumentFaults, ParseTheOptionList) {
    kelvara::sim::Faults f;
    ASSERT_TRUE(f.parse("silent, garbage,split=3,delay=0.25,clear=10,writefail=4,cut=7,busy=2"));
    EXPECT_TRUE(f.silent && f.garbage);
    EXPECT_EQ(std::vector<int>({f.split_pieces, f.clear_failures, f.write_fails_after, f.cut_after,
                                f.busy_polls}),
              std::vector<int>({3, 10, 4, 7, 2}));
    EXPECT_DOUBLE_EQ(f.reply_delay, 0.25);
    for (const char* bad :
         {"loud", "split=x", "delay=-1", "cut=", "silent=1", "split=2,busy=1.5.2"}) {
        kelvara::sim::Faults g;
        EXPECT_FALSE(g.parse(bad)) << bad;
        EXPECT_EQ(g.split_pieces, 0) << bad;  // nothing taken from a rejected list
    }
}

TEST(InstrumentFaults, SilenceGarbageAndACutLine) {
    Instrument silent(InstrumentModel::TAZ);
    silent.faults.silent = true;
    EXPECT_EQ(silent.handle("*IDN?"), "");
    EXPECT_EQ(silent.handle("CRVHDR 21,A,B,2,1,1"), "");
    EXPECT_EQ(silent.curve(21), nullptr);  // heard, but not acted on
    EXPECT_EQ(silent.log(), (std::vector<std::string>{"*IDN?", "CRVHDR 21,A,B,2,1,1"}));

    Instrument garbled(InstrumentModel::KIP);
    garbled.faults.garbage = true;
    const std::string reply = garbled.handle("W2");
    EXPECT_TRUE(reply.ends_with("\r\n"));
    EXPECT_EQ(reply.find(','), std::string::npos);  // not even the W2 check passes
    EXPECT_EQ(garbled.handle("XK 05*"), "");        // commands without reply stay quiet

    Instrument cut(InstrumentModel::TAZ);
    cut.faults.cut_after = 2;
    cut.handle("CRVHDR 21,A,B,2,1,1");
    EXPECT_NE(cut.handle("CRVHDR? 21"), "");
    EXPECT_EQ(cut.handle("CRVHDR? 21"), "");
    cut.handle("CRVDEL 21");
    EXPECT_NE(cut.curve(21), nullptr);  // the erase never arrived
}

TEST(InstrumentState, UserCurvesSurviveASaveAndLoad) {
    Instrument first(InstrumentModel::NAV);
    first.handle("CURV 12,S21NAME     SER1,0.10000,300.0,0.20000,200.0*");
    first.handle("ECUR 12,0.30000,100.0");
    Instrument second(InstrumentModel::NAV);
    ASSERT_TRUE(second.load_state(first.save_state()));
    ASSERT_NE(second.curve(12), nullptr);
    EXPECT_EQ(*second.curve(12), *first.curve(12));
    EXPECT_EQ(*second.curve(0), *first.curve(0));  // factory curves untouched

    Instrument other_model(InstrumentModel::KOR);
    EXPECT_FALSE(other_model.load_state(first.save_state()));
    EXPECT_FALSE(second.load_state("KELVARA-SIM-STATE 1\nMODEL NAV\nCURVE 12\nNAME x\n"));
    EXPECT_FALSE(second.load_state("KELVARA-SIM-STATE 1\nMODEL NAV\nCURVE 3\nEND\n"));
    EXPECT_NE(second.curve(12), nullptr);  // a rejected state changes nothing
}
