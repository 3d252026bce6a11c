// Header/point instruments: the lines on the wire with their terminators and pauses, the header
// field rules, the "BUSY?" polling, the failure paths and the catalogue entries.
#include <gtest/gtest.h>

#include "rig.h"

namespace kelvara::test {
namespace {

using enum InstrumentModel;
constexpr auto W = run_write_transfer, R = run_read_transfer, D = run_delete_transfer;

// The header and the three points as they go out, the points each followed by a 0.1 s pause.
const std::string H = "CRVHDR {n},PT-100,A1,3, 375,2", Q = "CRVHDR {n},\"PT-100\",\"A1\",3, 375,2";
const std::string P2 = "CRVPT {n},2,.090620,300.000|0.1|CRVPT {n},3,1500.50,475.000|0.1";
const std::string P = "CRVPT {n},1,1.23456,0.85000|0.1|" + P2;

struct WireRow {
    InstrumentModel model;
    Interface interface;
    const char* end;
    TransferResult (*run)(Session&);
    int failing_write, points_after;
    std::string script, entry, message;  // entry "": the lists stay as they were
};

const std::string kTazWrite =
    "CRVDEL {n}|0.1|" + H + "|0.1|" + P + "|CRVSAV|1|BUSY?|0.1|CRVHDR? {n}|0.1";
const std::string kTazDelete = "CRVDEL {n};CRVSAV|1|BUSY?|0.1|CRVHDR? {n}|0.1";
const std::string kPlain = "CRVDEL {n}|0.1|" + H + "|0.1|" + P + "|CRVHDR? {n}|0.1";
const std::string kWun =
    "CRVDEL {n}|1|" + H + "|0.2|CRVPT {n},1,1.23456,8.50000e-1|0.1|" + P2 + "|CRVHDR? {n}|0.1";
const std::string kQuoted = "CRVDEL {n}|1|" + Q + "|0.1|" + P + "|CRVHDR? {n}|0.3";
const std::string kRead = "CRVHDR? {n}|0.1|CRVPT? {n},1|0.1|CRVPT? {n},2|0.1|CRVPT? {n},3|0.1";
const std::string kWritten = "{n} - PT-100  A1", kErased = "{n} -   ";
// clang-format off
const std::vector<WireRow> kWireRows = {
    {TAZ, GPIB, "", W, -1, 3, kTazWrite, kWritten, ""},
    {TAZ, RS232, "\r\n", W, -1, 3, kTazWrite, kWritten, ""},
    {FEN, GPIB, "", W, -1, 3, kPlain, kWritten, ""},
    {FEN, RS232, "\r\n", W, -1, 3, "CRVDEL {n}|0.3|" + H + "|0.3|CRVPT {n},1,1.23456,0.85000|0.3|CRVPT {n},2,.090620,300.000|0.3|CRVPT {n},3,1500.50,475.000|0.3|CRVHDR? {n}|0.3", kWritten, ""},
    {MEP, RS232, "\r\n", W, -1, 3, kPlain, kWritten, ""},
    {PIX, GPIB, "", W, -1, 3, kPlain, kWritten, ""},
    {WUN, GPIB, "", W, -1, 3, kWun, kWritten, ""},
    {QUA_RIL, GPIB, "\r\n", W, -1, 3, kQuoted, kWritten, ""},  // CR LF on GPIB as well
    {DAL, RS232, "\r\n", W, -1, 3, "CRVDEL {n}|5|" + H + "|0.5|" + P + "|*RST|5|CRVHDR? {n}|0.3", kWritten, ""},
    {TAZ, GPIB, "", R, -1, 2, kRead, "", ""},
    {TAZ, RS232, "\r\n", R, -1, 2, kRead, "", ""},
    {FEN, GPIB, "", R, -1, 2, kRead, "", ""},
    {FEN, RS232, "\r\n", R, -1, 2, "CRVHDR? {n}|0.3|CRVPT? {n},1|0.3|CRVPT? {n},2|0.3|CRVPT? {n},3|0.3", "", ""},
    {DAL, RS232, "\r\n", R, -1, 2, kRead, "", ""},
    {MEP, GPIB, "", R, -1, 2, kRead, "", ""},
    {VEM, RS232, "\r\n", R, -1, 2, kRead, "", ""},
    {TAZ, GPIB, "", D, -1, 3, kTazDelete, kErased, ""},
    {TAZ, RS232, "\r\n", D, -1, 3, kTazDelete, kErased, ""},
    {FEN, RS232, "\r\n", D, -1, 3, "CRVDEL {n}|0.3|CRVHDR? {n}|0.3", kErased, ""},
    {FEN, GPIB, "", D, -1, 3, "CRVDEL {n}|0.1|CRVHDR? {n}|0.1", kErased, ""},
    {MEP, RS232, "\r\n", D, -1, 3, "CRVDEL {n}|0.1|CRVHDR? {n}|0.1", kErased, ""},
    {OBR, GPIB, "", D, -1, 3, "CRVDEL {n}|0.5|CRVHDR? {n}|0.1", kErased, ""},
    {PIX, RS232, "\r\n", D, -1, 3, "CRVDEL {n}|2|CRVHDR? {n}|0.1", kErased, ""},
    {DAL, RS232, "\r\n", D, -1, 3, "CRVDEL {n}|5|CRVHDR? {n}|0.3", kErased, ""},
    // Failures stop at once, with no pause after the failed line, and leave the lists alone;
    // a failed read leaves the open curve as it was.
    {TAZ, NONE, "", W, -1, 3, "", "", kInvalidInterface},
    {TAZ, GPIB, "", W, 4, 3, "CRVDEL {n}|0.1|" + H + "|0.1|CRVPT {n},1,1.23456,0.85000|0.1|CRVPT {n},2,.090620,300.000", "", kProblemTalking},
    {TAZ, GPIB, "", R, 1, 3, "CRVHDR? {n}", "", kProblemTalking},
    {TAZ, GPIB, "", R, 3, 3, "CRVHDR? {n}|0.1|CRVPT? {n},1|0.1|CRVPT? {n},2", "", kProblemTalking},
    {TAZ, NONE, "", D, -1, 3, "", "", kInvalidInterface},
    {TAZ, GPIB, "", D, 1, 3, "CRVDEL {n};CRVSAV", "", kProblemTalking},
};
// clang-format on

void PrintTo(const WireRow& row, std::ostream* os) {
    *os << designation(row.model) << (row.interface == GPIB ? " GPIB: " : " RS-232: ")
        << row.script;
}

class Wire : public ::testing::TestWithParam<WireRow> {};

TEST_P(Wire, LinesTerminatorsAndPauses) {
    const WireRow& row = GetParam();
    Rig rig(row.model);
    // Three points, the first below 1 K where the WUN temperature picture differs; the last user
    // location holds a curve of two points.
    rig.load_curve({{1.23456, 0.85}, {0.09062, 300.0}, {1500.5, 475.0}});
    rig.header.name = "PT-100";
    rig.header.serial_number = "A1";
    rig.header.setpoint_text = "375";
    rig.header.data_format.selected = rig.header.data_format.find("Ohms vs. Kelvin");
    const int location = static_cast<int>(parse_leading_number(rig.picks.write.entries.back()));
    rig.sim.store(
        location,
        {"OLD", "S", "", "3", "375", "2", {{"0.09062", "475.000"}, {"1.20000", "20.000"}}});
    rig.pick_all(location);
    rig.connect(row.interface);
    if (row.failing_write > 0)  // counted from the first write after the identification
        rig.sim.faults.write_fails_after = rig.gpib->writes() + row.failing_write - 1;
    const PickLists before = rig.picks;
    row.run(rig.session);

    const std::string n = std::to_string(location);
    EXPECT_EQ(rig.clock.events, script(row.script, n, row.end));
    EXPECT_EQ(rig.prompts.texts(), script(row.message));
    for (auto [l, was] :
         {std::pair{&rig.picks.write, &before.write}, std::pair{&rig.picks.remove, &before.remove},
          std::pair{&rig.picks.read, &before.read}}) {
        // Read back into the lists after a write or delete.
        EXPECT_EQ(row.entry.empty() ? l->entries : Log{l->text()},
                  row.entry.empty() ? was->entries : script(row.entry, n));
    }
    ASSERT_EQ(rig.curve.breakpoint_count, row.points_after);
    const bool read = row.run == R && row.message.empty();
    EXPECT_EQ(std::pair(rig.curve.sensor_units[1], rig.curve.temperatures[1]),
              read ? std::pair(1.2, 20.0) : std::pair(0.09062, 300.0));
    EXPECT_EQ(rig.curve.sensor_units[2], read ? UNUSED_POINT : 1500.5);
}

INSTANTIATE_TEST_SUITE_P(Procedures, Wire, ::testing::ValuesIn(kWireRows));

TEST(WriteHeader, FieldRules) {
    // Name, serial number, setpoint, the format entry selected (nullptr: none), the points, the
    // header fields sent, the temperature coefficient.
    using Row = std::tuple<std::string, std::string, std::string, const char*,
                           std::vector<std::pair<double, double>>, std::string, int>;
    const auto V = "Volts vs. Kelvin", O = "Ohms vs. Kelvin";
    // clang-format off
    const std::vector<Row> rows = {
        {"", "", "375", V, {{1, 2}, {2, 3}}, "no name,no number,2, 375,2", 2},
        {"ABCDEFGHIJKLMNOPQRST", "0123456789X", "375", V, {{1, 2}, {2, 3}}, "ABCDEFGHIJKLMNO,0123456789,2, 375,2", 2},
        {"ABCDEFGHIJKLMNO", "0123456789", "375", V, {{1, 2}, {2, 3}}, "ABCDEFGHIJKLMNO,0123456789,2, 375,2", 2},
        {"N", "S", "abc", V, {{1, 2}, {2, 3}}, "N,S,2, 0,2", 2},
        {"N", "S", "-1", V, {{1, 2}, {2, 3}}, "N,S,2,-1,2", 2},
        {"N", "S", "375.50", V, {{1, 2}, {2, 3}}, "N,S,2, 375.5,2", 2},
        {"N", "S", "1", "Log Ohms vs. Kelvin", {{1, 300}, {2, 4}}, "N,S,4, 1,1", 1},
        {"N", "S", "1", O, {{1, 4}, {2, 9}, {3, 4}}, "N,S,3, 1,2", 2},
        {"N", "S", "1", O, {{1, 4}}, "N,S,3, 1,1", 1},
        {"N", "S", "1", nullptr, {{1, 2}, {2, 3}}, "N,S,0, 1,2", 2},
    };
    // clang-format on
    for (const auto& [name, serial, setpoint, format, points, sent, coefficient] : rows) {
        SCOPED_TRACE(sent);
        Rig rig(TAZ);
        rig.load_curve(points);
        rig.curve.temperature_coefficient = 0;
        rig.header.name = name;
        rig.header.serial_number = serial;
        rig.header.setpoint_text = setpoint;
        rig.header.data_format.selected = format ? rig.header.data_format.find(format) : -1;
        rig.connect(RS232);
        Rig::pick(rig.picks.write, 21);
        write_curve_to_taz(rig.session);
        ASSERT_GE(rig.clock.events.size(), 3u);
        EXPECT_EQ(rig.clock.events[2], "CRVHDR 21," + sent + "\r\n");
        // The window keeps the full texts; empty ones show what was sent.
        EXPECT_EQ(rig.header.name, name.empty() ? "no name" : name);
        EXPECT_EQ(rig.header.serial_number, serial.empty() ? "no number" : serial);
        EXPECT_EQ(rig.curve.temperature_coefficient, coefficient);
        EXPECT_EQ(rig.prompts.texts(), format ? Log{} : Log{kFormatZeroWarning});
    }
}

TEST(WriteBusy, PollsUntilReadyAtMostNinetyTimes) {
    for (int busy_replies : {0, 2, 500}) {
        SCOPED_TRACE(busy_replies);
        const int polls = std::min(busy_replies, 90);
        Rig rig(TAZ);
        rig.load_curve({{1, 2}, {2, 3}, {3, 4}});
        rig.sim.faults.busy_polls = busy_replies;
        rig.connect(GPIB);
        Rig::pick(rig.picks.write, 21);
        write_curve_to_taz(rig.session);
        const Log& ev = rig.clock.events;
        EXPECT_EQ(std::count(ev.begin(), ev.end(), "BUSY?"), polls + 1);
        // CRVDEL, header, 3 points, read-back 0.1 s each; CRVSAV 1 s; BUSY? 0.1 s + 1 s per poll.
        EXPECT_NEAR(rig.clock.total_paused(), 0.6 + 1.0 + 0.1 + polls * 1.1, 1e-9);
        EXPECT_EQ(Log(ev.end() - 2, ev.end()), script("CRVHDR? 21|0.1"));
        EXPECT_EQ(rig.progress.labels.size(), 3u + polls);
        // The label blinks: blank after the last percentage, then this.
        EXPECT_EQ(polls == 2 ? rig.progress.labels.back() : kWaitingForInstrument,
                  kWaitingForInstrument);
    }
}

TEST(Catalogue, EntryTextsForEachQueryKind) {
    // Model, bus, the query scripted ("": the instrument answers), its reply, the first two
    // events, the number of pauses, and locations with the text each has in every list.
    using Row = std::tuple<InstrumentModel, Interface, const char*, std::string, Log, size_t,
                           std::vector<std::pair<int, std::string>>>;
    // clang-format off
    const std::vector<Row> rows = {
        // One query per location; an empty location gives the number, " - " and blanks.
        {TAZ, GPIB, "", "", {"CRVHDR? 0", "pause 0.1"}, 61, {{60, "60 -   "}}},  // the instrument answers
        {TAZ, RS232, "CRVHDR? 21", "MYCURVE      ,SN123     ,2,+375.000,1", {"CRVHDR? 0\r\n", "pause 0.3"}, 61,
         {{21, "21 - MYCURVE  SN123"}, {60, "60 -   "}}},
        // A record cut before its name is ignored.
        {NAV, RS232, "CUID?", "1,   CURVE A ,x,y,11,   USER B,x,y,12,  TRUNC", {"CUID?\r\n", "pause 1.1"}, 1,
         {{1, "1 - CURVE A"}, {11, "11 - USER B"}, {12, "12"}}},
        // A curve number that is not one or two digits names nothing (found by fuzzing: it
        // began an entry that a later record took for another location).
        {LUM, RS232, "CUID?", "0,   ZERO,x,y,5E-1010,   BAD,x,y,5E-TAZ,  WORSE,x,y,5,   FIVE,x,y", {"CUID?\r\n", "pause 1.1"}, 1,
         {{0, "0 - ZERO"}, {5, "5 - FIVE"}}},
        // Names until a curve number is not above the one before.
        {KIP, RS232, "XDT", "1234 BYTES FREE,z,1,a,b, PT-100 ,2,a,b,THERMO,2,a,b,AGAIN,", {"XDT\r\n", "pause 6"}, 1,
         {{1, "1 - PT-100"}, {2, "2 - THERMO"}}},
        {ELK, RS232, "XDT", "1234,z,1,a", {"XDT\r\n", "pause 6"}, 1, {{1, "1"}}},
    };
    // clang-format on
    for (const auto& [model, bus, query, reply, first_events, pauses, entries] : rows) {
        SCOPED_TRACE(reply);
        Rig rig(model);
        // The other locations of a scripted catalogue answer as empty ones do.
        if (std::string(query).starts_with("CRVHDR?"))
            rig.answer("CRVHDR?", {"               ,          ,0,0.000,0"}, true);
        if (*query) rig.answer(query, {reply});
        rig.connect(bus);
        rig.sim.faults.silent = *query;  // only the scripted reply, if there is one
        rig.picks.read.selected = rig.picks.write.selected = rig.picks.remove.selected = 2;
        grab_curve_names(rig.session);
        EXPECT_EQ(Log(rig.clock.events.begin(), rig.clock.events.begin() + 2), first_events);
        EXPECT_EQ(rig.clock.pauses.size(), pauses);
        EXPECT_TRUE(rig.prompts.shown.empty());
        for (const auto& [location, text] : entries) {
            ASSERT_GE(find_entry_by_number(rig.picks.read, location), 0) << location;
            for (const ListField* l : {&rig.picks.read, &rig.picks.write, &rig.picks.remove}) {
                const int at = find_entry_by_number(*l, location);
                EXPECT_EQ(at < 0 ? text : l->entries[at], text);
            }
        }
        for (const ListField* l : {&rig.picks.read, &rig.picks.write, &rig.picks.remove})
            EXPECT_EQ(l->selected, 0);
    }
}

}  // namespace
}  // namespace kelvara::test
