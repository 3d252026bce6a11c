// Writing a curve: the lines on the wire, their terminators and pauses, the header field rules,
// the "BUSY?" polling and the failure paths.
#include <gtest/gtest.h>

#include "headerpoint_rig.h"
#include "protocol/headerpoint.h"
#include "protocol/transfers.h"

namespace kelvara::test {
namespace {

// Three points, the first below 1 K where the WUN temperature picture differs.
void prepare(Rig& rig) {
    rig.load_curve({{1.23456, 0.85}, {0.09062, 300.0}, {1500.5, 475.0}});
    rig.header.name = "PT-100";
    rig.header.serial_number = "A1";
    rig.header.setpoint_text = "375";
    rig.header.data_format.selected = rig.header.data_format.find("Ohms vs. Kelvin");
    rig.answer("BUSY?", "0");
    rig.answer(
        "CRVHDR? ", [](auto&) { return "PT-100         ,A1        ,3,+375.000,2"; }, true);
}

struct WireRow {
    InstrumentModel model;
    Interface interface;
    const char* end;
    std::string
        script;  // {H} header, {P:p:t} the three points with pause p and first temperature t
};

std::string expand(std::string s) {
    auto put = [&](const std::string& key, const std::string& with) {
        if (const auto at = s.find(key); at != std::string::npos) s.replace(at, key.size(), with);
    };
    put("{H}", "CRVHDR {n},PT-100,A1,3, 375,2");
    put("{Q}", "CRVHDR {n},\"PT-100\",\"A1\",3, 375,2");
    const auto at = s.find("{P:");
    const auto colon = s.find(':', at + 3), close = s.find('}', at);
    const std::string p = s.substr(at + 3, colon - at - 3),
                      t = s.substr(colon + 1, close - colon - 1);
    s.replace(at, close - at + 1,
              "CRVPT {n},1,1.23456," + t + "|" + p + "|CRVPT {n},2,.090620,300.000|" + p +
                  "|CRVPT {n},3,1500.50,475.000|" + p);
    return s;
}

const std::string kTazTail = "CRVSAV|1|BUSY?|0.1|CRVHDR? {n}|0.1";
const std::vector<WireRow> kWireRows = {
    {InstrumentModel::TAZ, Interface::GPIB, "",
     "CRVDEL {n}|0.1|{H}|0.1|{P:0.1:0.85000}|" + kTazTail},
    {InstrumentModel::TAZ, Interface::RS232, "\r\n",
     "CRVDEL {n}|0.1|{H}|0.1|{P:0.1:0.85000}|" + kTazTail},
    {InstrumentModel::FEN, Interface::GPIB, "",
     "CRVDEL {n}|0.1|{H}|0.1|{P:0.1:0.85000}|CRVHDR? {n}|0.1"},
    {InstrumentModel::FEN, Interface::RS232, "\r\n",
     "CRVDEL {n}|0.3|{H}|0.3|{P:0.3:0.85000}|CRVHDR? {n}|0.3"},
    {InstrumentModel::MEP, Interface::RS232, "\r\n",
     "CRVDEL {n}|0.1|{H}|0.1|{P:0.1:0.85000}|CRVHDR? {n}|0.1"},
    {InstrumentModel::PIX, Interface::GPIB, "",
     "CRVDEL {n}|0.1|{H}|0.1|{P:0.1:0.85000}|CRVHDR? {n}|0.1"},
    {InstrumentModel::WUN, Interface::GPIB, "",
     "CRVDEL {n}|1|{H}|0.2|{P:0.1:8.50000e-1}|CRVHDR? {n}|0.1"},
    {InstrumentModel::ZEK, Interface::RS232, "\r\n",
     "CRVDEL {n}|1|{H}|0.2|{P:0.1:8.50000e-1}|CRVHDR? {n}|0.1"},
    // RIL: quoted name and serial, CR LF on GPIB as well.
    {InstrumentModel::QUA_RIL, Interface::GPIB, "\r\n",
     "CRVDEL {n}|1|{Q}|0.1|{P:0.1:0.85000}|CRVHDR? {n}|0.3"},
    {InstrumentModel::GIR, Interface::RS232, "\r\n",
     "CRVDEL {n}|1|{Q}|0.1|{P:0.1:0.85000}|CRVHDR? {n}|0.3"},
    {InstrumentModel::DAL, Interface::RS232, "\r\n",
     "CRVDEL {n}|5|{H}|0.5|{P:0.1:0.85000}|*RST|5|CRVHDR? {n}|0.3"},
};

class WriteWire : public ::testing::TestWithParam<WireRow> {};

TEST_P(WriteWire, SendsTheCurveLineByLine) {
    const WireRow& row = GetParam();
    Rig rig(row.model);
    prepare(rig);
    rig.connect(row.interface);
    const std::string n = rig.picks.write.text();
    run_write_transfer(rig.session());

    EXPECT_EQ(rig.timeline.events, script(expand(row.script), n, row.end));
    EXPECT_TRUE(rig.prompts.shown.empty());
    const std::string entry = n + " - PT-100  A1";  // read back into all three lists
    EXPECT_EQ(rig.picks.write.text(), entry);
    EXPECT_EQ(rig.picks.remove.text(), entry);
    EXPECT_EQ(rig.picks.read.text(), entry);
    EXPECT_EQ(rig.progress.labels,
              (std::vector<std::string>{"PERCENT COMPLETED: 33.3%", "PERCENT COMPLETED: 66.7%",
                                        "PERCENT COMPLETED: 100.0%"}));
    EXPECT_DOUBLE_EQ(rig.progress.fraction, 1.0);
}

INSTANTIATE_TEST_SUITE_P(Procedures, WriteWire, ::testing::ValuesIn(kWireRows));

TEST(WriteHeader, FieldRules) {
    struct Row {
        std::string name, serial, setpoint;
        const char* format;  // entry to select; nullptr: none
        std::vector<std::pair<double, double>> points;
        std::string sent, name_after, serial_after, setpoint_after;
        int coefficient;
    };
    const std::pair<double, double> p1{1, 2}, p2{2, 3};
    const std::vector<Row> rows = {
        {"",
         "",
         "375",
         "Volts vs. Kelvin",
         {p1, p2},
         "no name,no number,2, 375,2",
         "no name",
         "no number",
         "375",
         2},
        {"ABCDEFGHIJKLMNOPQRST",
         "0123456789X",
         "375",
         "Volts vs. Kelvin",
         {p1, p2},
         "ABCDEFGHIJKLMNO,0123456789,2, 375,2",
         "ABCDEFGHIJKLMNOPQRST",
         "0123456789X",
         "375",
         2},
        {"ABCDEFGHIJKLMNO",
         "0123456789",
         "375",
         "Volts vs. Kelvin",
         {p1, p2},
         "ABCDEFGHIJKLMNO,0123456789,2, 375,2",
         "ABCDEFGHIJKLMNO",
         "0123456789",
         "375",
         2},
        {"N", "S", "abc", "Volts vs. Kelvin", {p1, p2}, "N,S,2, 0,2", "N", "S", "0", 2},
        {"N", "S", "-1", "Volts vs. Kelvin", {p1, p2}, "N,S,2,-1,2", "N", "S", "-1", 2},
        {"N", "S", "375.50", "Volts vs. Kelvin", {p1, p2}, "N,S,2, 375.5,2", "N", "S", "375.50", 2},
        {"N", "S", "1", "Log Ohms vs. Kelvin", {{1, 300}, {2, 4}}, "N,S,4, 1,1", "N", "S", "1", 1},
        {"N",
         "S",
         "1",
         "Ohms vs. Kelvin",
         {{1, 4}, {2, 9}, {3, 4}},
         "N,S,3, 1,2",
         "N",
         "S",
         "1",
         2},
        {"N", "S", "1", "Ohms vs. Kelvin", {{1, 4}}, "N,S,3, 1,1", "N", "S", "1", 1},
        {"N", "S", "1", nullptr, {p1, p2}, "N,S,0, 1,2", "N", "S", "1", 2},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.sent);
        Rig rig(InstrumentModel::TAZ);
        rig.load_curve(row.points);
        rig.curve.temperature_coefficient = 0;
        rig.header.name = row.name;
        rig.header.serial_number = row.serial;
        rig.header.setpoint_text = row.setpoint;
        rig.header.data_format.selected = row.format ? rig.header.data_format.find(row.format) : -1;
        rig.connect(Interface::RS232);
        rig.pick(rig.picks.write, 21);
        write_curve_to_taz(rig.session());
        ASSERT_GE(rig.timeline.events.size(), 3u);
        EXPECT_EQ(rig.timeline.events[2], "CRVHDR 21," + row.sent + "\r\n");
        EXPECT_EQ(rig.header.name, row.name_after);
        EXPECT_EQ(rig.header.serial_number, row.serial_after);
        EXPECT_EQ(rig.header.setpoint_text, row.setpoint_after);
        EXPECT_EQ(rig.curve.temperature_coefficient, row.coefficient);
        EXPECT_EQ(rig.prompts.texts(), row.format ? std::vector<std::string>{}
                                                  : std::vector<std::string>{kFormatZeroWarning});
    }
}

TEST(WriteBusy, PollsUntilReadyAtMostNinetyTimes) {
    for (int busy_replies : {0, 2, 500}) {
        SCOPED_TRACE(busy_replies);
        const int polls = std::min(busy_replies, 90);
        Rig rig(InstrumentModel::TAZ);
        prepare(rig);
        int busy = busy_replies;
        rig.answer("BUSY?", [&busy](auto&) { return busy-- > 0 ? "1" : "0"; });
        rig.connect(Interface::GPIB);
        write_curve_to_taz(rig.session());
        const auto& ev = rig.timeline.events;
        EXPECT_EQ(std::count(ev.begin(), ev.end(), "BUSY?"), polls + 1);
        // CRVDEL, header, 3 points, read-back 0.1 s each; CRVSAV 1 s; BUSY? 0.1 s + 1 s per poll.
        EXPECT_NEAR(rig.clock.total_paused(), 0.6 + 1.0 + 0.1 + polls * 1.1, 1e-9);
        EXPECT_EQ(std::vector<std::string>(ev.end() - 2, ev.end()),
                  script("CRVHDR? 21|0.1", "", ""));
        // The label blinks: blank after the last percentage, then the waiting text.
        const auto& labels = rig.progress.labels;
        EXPECT_EQ(labels.size(), 3u + polls);
        if (polls == 2) {
            EXPECT_EQ(labels.back(), kWaitingForInstrument);
        }
    }
}

TEST(WriteFailure, InvalidInterfaceSendsNothing) {
    Rig rig(InstrumentModel::TAZ);
    rig.load_curve({{1, 2}, {2, 3}});
    rig.connect(Interface::None);
    run_write_transfer(rig.session());
    EXPECT_TRUE(rig.timeline.events.empty());
    EXPECT_EQ(rig.prompts.texts(), std::vector<std::string>{kInvalidInterface});
    EXPECT_EQ(rig.header.name, "no name");  // the header is prepared before the check
}

TEST(WriteFailure, FailedGpibWriteStopsAtOnce) {
    for (int failing : {1, 2, 4}) {  // CRVDEL, header, second point
        SCOPED_TRACE(failing);
        Rig rig(InstrumentModel::OBR);
        prepare(rig);
        rig.connect(Interface::GPIB);
        rig.gpib->fail_write_number = failing;
        const auto before = rig.picks.read.entries;
        write_curve_to_obr(rig.session());
        EXPECT_EQ(rig.prompts.texts(), std::vector<std::string>{kProblemTalking});
        EXPECT_EQ(static_cast<int>(rig.timeline.events.size()),
                  2 * failing - 1);  // no pause after it
        EXPECT_EQ(rig.picks.read.entries, before);
        EXPECT_EQ(rig.progress.labels.size(), static_cast<size_t>(std::max(0, failing - 3)));
    }
}

TEST(WriteReadBack, LocationMissingFromTheReadListLeavesListsAlone) {
    Rig rig(InstrumentModel::TAZ);
    prepare(rig);
    rig.connect(Interface::GPIB);
    rig.picks.read.entries.erase(rig.picks.read.entries.begin() + 21);
    rig.pick(rig.picks.write, 21);
    const auto before = rig.picks;
    write_curve_to_taz(rig.session());
    EXPECT_EQ(rig.picks.write.entries, before.write.entries);
    EXPECT_EQ(rig.picks.read.entries, before.read.entries);
}

}  // namespace
}  // namespace kelvara::test
