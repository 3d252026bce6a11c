// Writing a curve: the exact lines on the wire, their terminators and the pauses between them,
// the header field rules, the "BUSY?" polling and the failure paths.
#include <gtest/gtest.h>

#include <algorithm>

#include "curve/data_format.h"
#include "headerpoint_rig.h"
#include "protocol/headerpoint.h"
#include "protocol/transfers.h"

namespace kelvara::test {
namespace {

std::string fill(std::string text, const std::string& n) {
    for (size_t at; (at = text.find("{n}")) != std::string::npos;) text.replace(at, 3, n);
    return text;
}

// A three-point curve whose first temperature is below 1 K (the WUN picture differs there).
void prepare(Rig& rig) {
    rig.load_curve({{1.23456, 0.85}, {0.09062, 300.0}, {1500.5, 475.0}});
    rig.header.name = "PT-100";
    rig.header.serial_number = "A1";
    rig.header.setpoint_text = "375";
    rig.header.data_format.selected = rig.header.data_format.find("Ohms vs. Kelvin");
    auto answer = rig.respond;
    rig.respond = [answer](const std::string& c) -> std::string {
        if (c == "BUSY?") return "0\r\n";
        if (c.rfind("CRVHDR? ", 0) == 0) return "PT-100         ,A1        ,3,+375.000,2\r\n";
        return answer(c);
    };
}

struct WireRow {
    const char* label;
    InstrumentModel model;
    Interface interface;
    std::vector<std::string> expected;  // {n}: the picked location; "pause x" between lines
};

std::vector<std::string> lines(const std::string& joined, const std::string& end) {
    std::vector<std::string> out;
    size_t from = 0;
    for (;;) {
        const size_t bar = joined.find('|', from);
        std::string item = joined.substr(from, bar == std::string::npos ? bar : bar - from);
        out.push_back(item.rfind("pause ", 0) == 0 ? item : item + end);
        if (bar == std::string::npos) return out;
        from = bar + 1;
    }
}

std::vector<WireRow> write_rows() {
    const std::string hdr = "CRVHDR {n},PT-100,A1,3, 375,2";
    auto points = [](const char* pause, const char* first_temperature) {
        std::string p1 = "CRVPT {n},1,1.23456," + std::string(first_temperature);
        return p1 + "|" + pause + "|CRVPT {n},2,.090620,300.000|" + pause +
               "|CRVPT {n},3,1500.50,475.000|" + pause;
    };
    auto build = [&](const char* erase_pause, const std::string& header, const char* header_pause,
                     const char* point_pause, const char* first_t, const std::string& tail,
                     const std::string& end) {
        std::string j = std::string("CRVDEL {n}|") + erase_pause + "|" + header + "|" +
                        header_pause + "|" + points(point_pause, first_t) + "|" + tail;
        return lines(j, end);
    };
    const std::string taz_tail = "CRVSAV|pause 1|BUSY?|pause 0.1|CRVHDR? {n}|pause 0.1";
    const std::string quoted = "CRVHDR {n},\"PT-100\",\"A1\",3, 375,2";
    return {
        {"TAZ over GPIB", InstrumentModel::TAZ, Interface::GPIB,
         build("pause 0.1", hdr, "pause 0.1", "pause 0.1", "0.85000", taz_tail, "")},
        {"TAZ over RS-232", InstrumentModel::TAZ, Interface::RS232,
         build("pause 0.1", hdr, "pause 0.1", "pause 0.1", "0.85000", taz_tail, "\r\n")},
        {"FEN over GPIB", InstrumentModel::FEN, Interface::GPIB,
         build("pause 0.1", hdr, "pause 0.1", "pause 0.1", "0.85000", "CRVHDR? {n}|pause 0.1", "")},
        {"FEN over RS-232 waits 0.3 s", InstrumentModel::FEN, Interface::RS232,
         build("pause 0.3", hdr, "pause 0.3", "pause 0.3", "0.85000", "CRVHDR? {n}|pause 0.3",
               "\r\n")},
        {"MEP over RS-232", InstrumentModel::MEP, Interface::RS232,
         build("pause 0.1", hdr, "pause 0.1", "pause 0.1", "0.85000", "CRVHDR? {n}|pause 0.1",
               "\r\n")},
        {"PIX uses the OBR writer", InstrumentModel::PIX, Interface::GPIB,
         build("pause 0.1", hdr, "pause 0.1", "pause 0.1", "0.85000", "CRVHDR? {n}|pause 0.1", "")},
        {"WUN formats temperatures below 1 K its own way", InstrumentModel::WUN, Interface::GPIB,
         build("pause 1", hdr, "pause 0.2", "pause 0.1", "8.50000e-1", "CRVHDR? {n}|pause 0.1",
               "")},
        {"ZEK uses the WUN writer", InstrumentModel::ZEK, Interface::RS232,
         build("pause 1", hdr, "pause 0.2", "pause 0.1", "8.50000e-1", "CRVHDR? {n}|pause 0.1",
               "\r\n")},
        {"QUA/RIL quotes and ends lines with CR LF on GPIB", InstrumentModel::QUA_RIL,
         Interface::GPIB,
         build("pause 1", quoted, "pause 0.1", "pause 0.1", "0.85000", "CRVHDR? {n}|pause 0.3",
               "\r\n")},
        {"GIR over RS-232 uses the RIL writer", InstrumentModel::GIR, Interface::RS232,
         build("pause 1", quoted, "pause 0.1", "pause 0.1", "0.85000", "CRVHDR? {n}|pause 0.3",
               "\r\n")},
        {"DAL erases for 5 s and resets", InstrumentModel::DAL, Interface::RS232,
         build("pause 5", hdr, "pause 0.5", "pause 0.1", "0.85000",
               "*RST|pause 5|CRVHDR? {n}|pause 0.3", "\r\n")},
    };
}

class WriteWire : public ::testing::TestWithParam<WireRow> {};

TEST_P(WriteWire, SendsTheCurveLineByLine) {
    const WireRow& row = GetParam();
    Rig rig(row.model);
    prepare(rig);
    rig.connect(row.interface);
    ASSERT_EQ(rig.setup.interface, row.interface);
    const std::string n = rig.picks.write.text();
    run_write_transfer(rig.session());

    std::vector<std::string> expected;
    for (const auto& e : row.expected) expected.push_back(fill(e, n));
    EXPECT_EQ(rig.timeline.events, expected);
    EXPECT_TRUE(rig.prompts.shown.empty());
    // The read-back names the location in all three lists, still selected.
    const std::string entry = n + " - PT-100  A1";
    EXPECT_EQ(rig.picks.write.text(), entry);
    EXPECT_EQ(rig.picks.remove.text(), entry);
    EXPECT_EQ(rig.picks.read.text(), entry);
    EXPECT_EQ(rig.progress.labels.back(), "PERCENT COMPLETED: 100.0%");
}

INSTANTIATE_TEST_SUITE_P(Procedures, WriteWire, ::testing::ValuesIn(write_rows()),
                         [](const auto& info) { return std::to_string(info.index); });

TEST(WriteProgress, LabelsAndFractionAfterEachPoint) {
    Rig rig(InstrumentModel::MEP);
    prepare(rig);
    rig.connect(Interface::GPIB);
    write_curve_to_mep(rig.session());
    EXPECT_EQ(rig.progress.labels,
              (std::vector<std::string>{"PERCENT COMPLETED: 33.3%", "PERCENT COMPLETED: 66.7%",
                                        "PERCENT COMPLETED: 100.0%"}));
    EXPECT_DOUBLE_EQ(rig.progress.fraction, 1.0);
}

struct HeaderRow {
    const char* label;
    std::string name, serial, setpoint;
    const char* format;  // entry to select; nullptr: no selection
    std::vector<std::pair<double, double>> points;
    std::string header_line;  // as sent to location 21 over RS-232, without CR LF
    std::string name_after, serial_after, setpoint_after;
    int coefficient;
    bool format_warning;
};

const std::vector<HeaderRow> kHeaderRows = {
    {"empty name and serial",
     "",
     "",
     "375",
     "Volts vs. Kelvin",
     {{1, 2}, {2, 3}},
     "CRVHDR 21,no name,no number,2, 375,2",
     "no name",
     "no number",
     "375",
     2,
     false},
    {"long name and serial are cut when sent only",
     "ABCDEFGHIJKLMNOPQRST",
     "0123456789X",
     "375",
     "Volts vs. Kelvin",
     {{1, 2}, {2, 3}},
     "CRVHDR 21,ABCDEFGHIJKLMNO,0123456789,2, 375,2",
     "ABCDEFGHIJKLMNOPQRST",
     "0123456789X",
     "375",
     2,
     false},
    {"15 and 10 characters go whole",
     "ABCDEFGHIJKLMNO",
     "0123456789",
     "375",
     "Volts vs. Kelvin",
     {{1, 2}, {2, 3}},
     "CRVHDR 21,ABCDEFGHIJKLMNO,0123456789,2, 375,2",
     "ABCDEFGHIJKLMNO",
     "0123456789",
     "375",
     2,
     false},
    {"setpoint not numeric becomes 0",
     "N",
     "S",
     "abc",
     "Volts vs. Kelvin",
     {{1, 2}, {2, 3}},
     "CRVHDR 21,N,S,2, 0,2",
     "N",
     "S",
     "0",
     2,
     false},
    {"negative setpoint has no blank",
     "N",
     "S",
     "-1",
     "Volts vs. Kelvin",
     {{1, 2}, {2, 3}},
     "CRVHDR 21,N,S,2,-1,2",
     "N",
     "S",
     "-1",
     2,
     false},
    {"setpoint in shortest form",
     "N",
     "S",
     "375.50",
     "Volts vs. Kelvin",
     {{1, 2}, {2, 3}},
     "CRVHDR 21,N,S,2, 375.5,2",
     "N",
     "S",
     "375.50",
     2,
     false},
    {"falling temperatures are negative",
     "N",
     "S",
     "1",
     "Log Ohms vs. Kelvin",
     {{1, 300}, {2, 4}},
     "CRVHDR 21,N,S,4, 1,1",
     "N",
     "S",
     "1",
     1,
     false},
    {"equal end temperatures are positive",
     "N",
     "S",
     "1",
     "Ohms vs. Kelvin",
     {{1, 4}, {2, 9}, {3, 4}},
     "CRVHDR 21,N,S,3, 1,2",
     "N",
     "S",
     "1",
     2,
     false},
    {"one point is negative",
     "N",
     "S",
     "1",
     "Ohms vs. Kelvin",
     {{1, 4}},
     "CRVHDR 21,N,S,3, 1,1",
     "N",
     "S",
     "1",
     1,
     false},
    {"no data format warns and sends 0",
     "N",
     "S",
     "1",
     nullptr,
     {{1, 2}, {2, 3}},
     "CRVHDR 21,N,S,0, 1,2",
     "N",
     "S",
     "1",
     2,
     true},
};

TEST(WriteHeader, FieldRules) {
    for (const HeaderRow& row : kHeaderRows) {
        SCOPED_TRACE(row.label);
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
        EXPECT_EQ(rig.timeline.events[2], row.header_line + "\r\n");
        EXPECT_EQ(rig.header.name, row.name_after);
        EXPECT_EQ(rig.header.serial_number, row.serial_after);
        EXPECT_EQ(rig.header.setpoint_text, row.setpoint_after);
        EXPECT_EQ(rig.curve.temperature_coefficient, row.coefficient);
        EXPECT_EQ(rig.prompts.texts(), row.format_warning
                                           ? std::vector<std::string>{kFormatZeroWarning}
                                           : std::vector<std::string>{});
    }
}

TEST(WriteBusy, PollsUntilTheInstrumentIsReady) {
    struct Row {
        int busy_replies;
        int polls;
        std::vector<std::string> toggles;
    };
    const std::vector<Row> rows = {
        {0, 0, {}},
        {2, 2, {"", kWaitingForInstrument}},
        {500, 90, {}},  // never ready: 90 polls, then the read-back
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.busy_replies);
        Rig rig(InstrumentModel::TAZ);
        prepare(rig);
        int busy = row.busy_replies;
        auto answer = rig.respond;
        rig.respond = [&busy, answer](const std::string& c) -> std::string {
            if (c == "BUSY?") return busy-- > 0 ? "1\r\n" : "0\r\n";
            return answer(c);
        };
        rig.connect(Interface::GPIB);
        write_curve_to_taz(rig.session());
        const auto& ev = rig.timeline.events;
        EXPECT_EQ(std::count(ev.begin(), ev.end(), "BUSY?"), row.polls + 1);
        // CRVDEL, header, 3 points and the read-back at 0.1 s; CRVSAV 1 s; each BUSY? 0.1 s and
        // each further poll 1 s before it.
        EXPECT_NEAR(rig.clock.total_paused(), 0.6 + 1.0 + 0.1 + row.polls * 1.1, 1e-9);
        EXPECT_EQ(ev.back(), "pause 0.1");
        EXPECT_EQ(ev[ev.size() - 2], "CRVHDR? 21");
        if (!row.toggles.empty()) {
            const std::vector<std::string> tail(rig.progress.labels.end() - 2,
                                                rig.progress.labels.end());
            EXPECT_EQ(tail, row.toggles);
        }
    }
}

TEST(WriteFailure, InvalidInterfaceSendsNothing) {
    Rig rig(InstrumentModel::TAZ);
    rig.load_curve({{1, 2}, {2, 3}});
    rig.header.data_format.selected = 0;
    rig.connect(Interface::None);
    run_write_transfer(rig.session());
    EXPECT_TRUE(rig.timeline.events.empty());
    EXPECT_EQ(rig.prompts.texts(), std::vector<std::string>{kInvalidInterface});
    EXPECT_EQ(rig.header.name, "no name");  // the header is prepared before the check
}

TEST(WriteFailure, FailedGpibWriteStopsAtOnce) {
    // Writes: 1 CRVDEL, 2 header, 3..5 points.
    for (int failing : {1, 2, 4}) {
        SCOPED_TRACE(failing);
        Rig rig(InstrumentModel::OBR);
        prepare(rig);
        rig.connect(Interface::GPIB);
        rig.gpib->fail_write_number = failing;
        const auto before = rig.picks;
        write_curve_to_obr(rig.session());
        EXPECT_EQ(rig.prompts.texts(), std::vector<std::string>{kProblemTalking});
        // The failed line is the last thing that happened: no pause after it.
        EXPECT_EQ(static_cast<int>(rig.timeline.events.size()), 2 * failing - 1);
        EXPECT_EQ(rig.picks.read.entries, before.read.entries);
        EXPECT_EQ(rig.progress.labels.size(), static_cast<size_t>(std::max(0, failing - 3)));
    }
}

TEST(WriteReadBack, LocationMissingFromTheReadListLeavesListsAlone) {
    Rig rig(InstrumentModel::TAZ);
    prepare(rig);
    rig.connect(Interface::GPIB);
    rig.picks.read.entries.erase(rig.picks.read.entries.begin() + 21);  // location 21
    rig.pick(rig.picks.write, 21);
    const auto before = rig.picks;
    write_curve_to_taz(rig.session());
    EXPECT_EQ(rig.picks.write.entries, before.write.entries);
    EXPECT_EQ(rig.picks.read.entries, before.read.entries);
}

}  // namespace
}  // namespace kelvara::test
