// KOR, LUM, NAV, KIP, DUN, ELK and HOX: the command lines and waits of a write and a read, the
// free-memory stops, the header field codes and how a one-line reply becomes the open curve.
#include <gtest/gtest.h>

#include <tuple>

#include "rig.h"

namespace kelvara::test {
namespace {

using enum InstrumentModel;

const std::vector<std::pair<double, double>> kDiode = {
    {0.1, 300}, {0.25, 275}, {1.2, 20},   {1.6, 4.2},  {1.61, 4.1},
    {1.62, 4},  {1.63, 3.9}, {1.64, 3.8}, {1.65, 3.7}, {1.66, 3.6}};

const char* end_of(Interface bus) {
    return bus == RS232 ? "\r\n" : "";
}

TEST(OlderWrite, CommandLinesWaitsAndMemoryStops) {
    // What, model, bus, location, points, "FREE?" or "XDT" answers in turn, the lines and waits,
    // the messages.
    using Row = std::tuple<const char*, InstrumentModel, Interface, int, int, Log, std::string,
                           std::string>;
    // A name of 12 characters and a serial of 8 go out as 9 and 6; setpoint 1273 is "9", the
    // checked thermocouple box "9".
    const std::string h = "99ABCDEFGHI123456,0.10000,300.0,0.25000,275.0*";
    const std::string full = "Not enough remaining memory to write curve to the instrument.";
    const std::string part = "Not enough remaining memory to write all of curve to the instrument.";
    // clang-format off
    const std::vector<Row> rows = {
        {"KOR: 1.1 s, no blank before 11", KOR, RS232, 23, 4, {},
         "KCUR11|1.1|CURV11,S" + h + "|1.1|ECUR11,1.20000,020.0|1.1|ECUR11,1.60000,004.2|1.1|CUID?|1.1", ""},
        {"LUM: 0.6 s, a blank in the header command", LUM, RS232, 23, 4, {},
         "KCUR11|0.6|CURV 11,S" + h + "|0.6|ECUR11,1.20000,020.0|0.6|ECUR11,1.60000,004.2|0.6|CUID?|1.1", ""},
        {"NAV over GPIB: memory before the write and each further point", NAV, GPIB, 23, 4, {},
         "FREE?|0.1|KCUR 23|0.1|CURV 23,S" + h + "|0.1|FREE?|0.1|ECUR 23,1.20000,020.0|0.1|FREE?|0.1|"
         "ECUR 23,1.60000,004.2|0.1|CUID?|0.1", ""},
        {"NAV over RS-232", NAV, RS232, 23, 3, {},
         "FREE?|0.6|KCUR 23|0.6|CURV 23,S" + h + "|0.6|FREE?|0.6|ECUR 23,1.20000,020.0|0.6|CUID?|1.1", ""},
        {"NAV: below 100 at the start sends nothing", NAV, RS232, 23, 4, {"99"}, "FREE?|0.6", full},
        {"NAV: 100 starts, 10 still takes a point, 9 stops", NAV, RS232, 23, 4, {"100", "10", "9"},
         "FREE?|0.6|KCUR 23|0.6|CURV 23,S" + h + "|0.6|FREE?|0.6|ECUR 23,1.20000,020.0|0.6|FREE?|0.6", part},
        {"one point: nothing sent, and the user is told", KOR, RS232, 23, 1, {}, "", kNothingSent},
        {"two points: erase and header only", KOR, RS232, 23, 2, {}, "KCUR11|1.1|CURV11,S" + h + "|1.1|CUID?|1.1", ""},
        {"KOR is not reached over GPIB", KOR, GPIB, 23, 4, {}, "", kInvalidInterface},
        // The free-memory query comes first and already finds no link.
        {"NAV offline", NAV, NONE, 23, 4, {}, "", std::string(kInvalidInterface) + "|" + full},
        {"ELK over GPIB: bytes free once before and once per further point", ELK, GPIB, 6, 3, {},
         "XDT|0.1|XK06*|0.1|XC06, " + h + "|0.1|XDT|0.1|XE06,1.20000,020.0*|0.1|XDT|0.1", ""},
        {"DUN over RS-232", DUN, RS232, 12, 3, {},
         "XDT|6|XK12*|0.6|XC12, " + h + "|0.6|XDT|6|XE12,1.20000,020.0*|0.6|XDT|6", ""},
        {"99 bytes at the start", ELK, RS232, 6, 3, {"99 BYTES FREE,0"}, "XDT|6", full},
        {"100 bytes start, 10 take a point, 9 stop", DUN, RS232, 6, 4, {"100 BYTES FREE,0", "10 BYTES FREE,0", "9 BYTES FREE,0"},
         "XDT|6|XK06*|0.6|XC06, " + h + "|0.6|XDT|6|XE06,1.20000,020.0*|0.6|XDT|6", part},
        {"KIP over RS-232: 0.6 s after the erase, 0.75 s after each line, no memory checks", KIP, RS232, 4, 10, {},
         "XK04*|0.6|XC04, " + h + "|0.75|XE04,1.20000,020.0*|0.75|XE04,1.60000,004.2*|0.75|XE04,1.61000,004.1*|0.75|"
         "XE04,1.62000,004.0*|0.75|XE04,1.63000,003.9*|0.75|XE04,1.64000,003.8*|0.75|XE04,1.65000,003.7*|0.75|"
         "XE04,1.66000,003.6*|0.75|XDT|6", ""},
    };
    // clang-format on
    for (const auto& [what, model, bus, location, points, room, log, messages] : rows) {
        SCOPED_TRACE(what);
        Rig rig(model);
        if (!room.empty()) {  // otherwise the simulated instrument has room
            rig.answer("FREE?", room);
            rig.answer("XDT", room);
        }
        rig.connect(bus);
        rig.load_curve({kDiode.begin(), kDiode.begin() + points});
        rig.header.name = "ABCDEFGHIJKL";
        rig.header.serial_number = "12345678";
        rig.header.setpoint_list.selected = rig.header.setpoint_list.find("1273");
        rig.header.thermocouple = true;
        Rig::pick(rig.picks.write, location);
        run_write_transfer(rig.session);
        EXPECT_EQ(rig.clock.events, script(log, "", end_of(bus)));
        EXPECT_EQ(rig.prompts.texts(), script(messages));
        EXPECT_TRUE(rig.scaling.codes.empty());  // diode volts below 10 go out as they are
    }
}

// Deleting is destructive: every older instrument gets exactly its own erase line and wait, and
// the location's entries fall back to the bare number.
TEST(OlderDelete, EraseLineWaitAndBareNumberInTheLists) {
    const std::tuple<InstrumentModel, Interface, int, std::string, std::string> rows[] = {
        {KOR, RS232, 11, "KCUR11|1.1", ""},     {LUM, RS232, 11, "KCUR11|0.6", ""},
        {NAV, GPIB, 23, "KCUR 23|0.1", ""},     {NAV, RS232, 23, "KCUR 23|0.6", ""},
        {KIP, RS232, 4, "XK04*|0.6", ""},       {ELK, GPIB, 6, "XK06*|0.1", ""},
        {DUN, RS232, 12, "XK12*|0.6", ""},      {HOX, RS232, -1, "ERASE!|20.1", ""},
        {KOR, GPIB, 11, "", kInvalidInterface},
    };
    for (const auto& [model, bus, location, log, messages] : rows) {
        SCOPED_TRACE(std::string(designation(model)) + " " + log);
        Rig rig(model);
        rig.connect(bus);
        const std::string named = std::to_string(location) + " - OLD  SN1";
        for (ListField* list : {&rig.picks.read, &rig.picks.write, &rig.picks.remove}) {
            Rig::pick(*list, location);
            if (list->selected >= 0) list->entries[list->selected] = named;
        }
        run_delete_transfer(rig.session);
        EXPECT_EQ(rig.clock.events, script(log, "", end_of(bus)));
        EXPECT_EQ(rig.prompts.texts(), script(messages));
        if (location < 0) continue;
        const std::string bare = messages.empty() ? std::to_string(location) : named;
        for (ListField* list : {&rig.picks.read, &rig.picks.write, &rig.picks.remove}) {
            EXPECT_EQ(list->entries[find_entry_by_number(*list, location)], bare);
            EXPECT_EQ(messages.empty() ? list->selected : 0, 0);
        }
    }
}

TEST(OlderWrite, XkHeaderFieldCodes) {
    // Interpolation, setpoint, thermocouple box, the remembered character, the codes sent.
    const std::tuple<const char*, const char*, bool, const char*, std::string> rows[] = {
        {"Lagrangian", "999", true, "", "L49"},
        {"Straight Line", "325", false, "5", " 05"},  // blank, then the remembered character
        {"Unknown", "1273", true, "5", " 99"},        // the checked box wins
        {"Unknown", "800", false, "", " 30"},         // nothing remembered
    };
    for (const auto& [interpolation, setpoint, checked, remembered, codes] : rows) {
        SCOPED_TRACE(codes);
        Rig rig(KIP);
        rig.connect(RS232);
        rig.load_curve({{0.1, 300}, {0.25, 275}});
        rig.header.interpolation.selected = rig.header.interpolation.find(interpolation);
        rig.header.setpoint_list.selected = rig.header.setpoint_list.find(setpoint);
        rig.header.thermocouple = checked;
        rig.transfer.thermocouple_char = remembered;
        rig.header.name = "N";
        rig.header.serial_number = "S";
        Rig::pick(rig.picks.write, 15);
        run_write_transfer(rig.session);
        ASSERT_GE(rig.clock.events.size(), 3u);
        EXPECT_EQ(rig.clock.events[2], "XC15," + codes + "NS,0.10000,300.0,0.25000,275.0*\r\n");
    }
}

TEST(OlderRead, ReplyCutting) {
    // Interpolation, setpoint, name, serial number, thermocouple box the read leaves.
    using Header = std::tuple<std::string, std::string, std::string, std::string, bool>;
    // What, model, location, command line and wait, reply ("": silent), header, points (-1: "No
    // curve present." and the open curve stays), first point.
    // clang-format off
    const std::tuple<const char*, InstrumentModel, int, std::string, std::string, Header, int, std::pair<double, double>> rows[] = {
        {"count 5 gives pairs 2 to 4; code 7 leaves the setpoint list", KOR, 11, "CURV? 11|1.1",
         "11,S79DT-470   SN1234,N,5,0.0,999.0,0.1,400.0,0.5,300.0,1.0,100.0,9.0,0.0",
         {"Unknown", "475", "DT-470   ", "SN1234", true}, 3, {0.1, 400.0}},
        {"THERMOCOUPLE gives TCOUPLE and the last three characters", KOR, 11, "CURV? 11|1.1",
         "11,S90THERMOCOUPLE-E12,P,4,0,0,-8.5,3.2,-2.25,77.4,0,0", {"Unknown", "1273", "TCOUPLE", "E12", false}, 2, {-8.5, 3.2}},
        {"two-digit location, interpolation code", KIP, 5, "XD05|0.6", "05,L05TYPE-K   AB12,N,4,0,0,1.5,10,2.5,20,0,0",
         {"Lagrangian", "325", "TYPE-K   ", "AB12", false}, 2, {1.5, 10.0}},
        {"a blank selects Straight Line", KIP, 5, "XD05|0.6", "05, 79THERMOCOUPLE123,P,3,0,0,-3.5,30,0,0",
         {"Straight Line", "475", "TCOUPLE", "123", true}, 1, {-3.5, 30.0}},
        {"reply for another curve", LUM, 11, "CURV? 11|0.6", "12,S00X,N,3,0,0,1,1,0,0", {}, -1, {}},
        {"silent instrument", LUM, 0, "CURV? 0|0.6", "", {}, -1, {}},
        {"a memory line instead of a curve", DUN, 9, "XD09|0.6", "09,12000 BYTES FREE,", {}, -1, {}},
    };
    // clang-format on
    for (const auto& [what, model, location, log, reply, header, points, first] : rows) {
        SCOPED_TRACE(what);
        const bool thermocouple = std::get<4>(header);
        Rig rig(model);
        if (!reply.empty()) rig.answer(log.substr(0, log.find('|')), {reply});
        rig.connect(RS232);
        rig.sim.faults.silent = true;  // only the scripted reply
        rig.load_curve(kDiode);
        rig.header.name = "KEEP";
        rig.header.setpoint_list.selected = rig.header.setpoint_list.find("475");
        rig.header.thermocouple = !thermocouple;
        rig.header.interpolation.selected = 0;
        Rig::pick(rig.picks.read, location);
        run_read_transfer(rig.session);
        EXPECT_EQ(rig.clock.events, script(log, "", "\r\n"));
        if (points < 0) {
            EXPECT_EQ(rig.prompts.texts(), Log{"No curve present."});
            EXPECT_EQ(rig.curve.breakpoint_count, 10);
            EXPECT_EQ(rig.header.name, "KEEP");
            EXPECT_EQ(rig.views.graphs, 0);
            continue;
        }
        EXPECT_TRUE(rig.prompts.shown.empty());
        EXPECT_EQ(Header(rig.header.interpolation.text(), rig.header.setpoint_list.text(),
                         rig.header.name, rig.header.serial_number, rig.header.thermocouple),
                  header);
        ASSERT_EQ(rig.curve.breakpoint_count, points);
        EXPECT_EQ(std::pair(rig.curve.sensor_units[0], rig.curve.temperatures[0]), first);
        EXPECT_EQ(rig.curve.sensor_units[points], UNUSED_POINT);
        EXPECT_EQ(rig.views.graphs + rig.views.grids, 2);
        // The thermocouple character is remembered for the next write.
        const std::string remembered = thermocouple ? "9" : "5";
        EXPECT_EQ(model == KIP ? rig.transfer.thermocouple_char : remembered, remembered);
    }
}

TEST(OlderHox, WriteSendsEveryGridPointThenTheSerialNumber) {
    Rig rig(HOX);
    rig.connect(RS232);
    rig.curve.temperatures[0] = 325.5;
    rig.curve.temperatures[1] = 301.25;
    rig.curve.temperatures[191] = 1.4;  // the empty slots between go out as "-000.000"
    rig.header.serial_number = "1234567890";
    run_write_transfer(rig.session);
    Log commands;
    for (size_t i = 0; i < rig.clock.events.size(); i += 2) {
        commands.push_back(rig.clock.events[i]);
        EXPECT_EQ(rig.clock.events[i + 1], i == 0 ? "pause 20.1" : "pause 3.1");
    }
    ASSERT_EQ(commands.size(), 194u);
    const std::vector<std::pair<size_t, std::string>> sent = {
        {0, "ERASE!"},           {1, "C0.00,325.500"},    {2, "C0.02,301.250"},
        {3, "C0.04,-000.000"},   {150, "C2.98,-000.000"}, {151, "C3.00,-000.000"},
        {175, "C3.96,-000.000"}, {176, "C4.00,-000.000"}, {192, "C5.60,001.400"},
        {193, "SID12345678"}};
    for (const auto& [at, text] : sent) EXPECT_EQ(commands[at], text + "\r\n");
    EXPECT_NEAR(rig.clock.total_paused(), 20.1 + 192 * 3.1 + 3.1, 1e-9);
    EXPECT_EQ(rig.progress.labels.size(), 192u);
    EXPECT_TRUE(rig.prompts.shown.empty());
}

TEST(OlderHox, ReadTakesTheSerialAndOneTemperaturePerGridPoint) {
    Rig rig(HOX);
    rig.answer("C?", {"+12.5E+0"}, true);
    rig.answer("C?0.02", {"abc"});
    rig.answer("C?0.00", {"325.125"});
    rig.answer("SID?", {"HX-0042"});
    rig.connect(RS232);
    run_read_transfer(rig.session);
    EXPECT_EQ(rig.header.serial_number, "HX-0042");
    const Log& ev = rig.clock.events;
    ASSERT_EQ(ev.size(), 2u + 2 * 192);
    EXPECT_EQ(Log(ev.begin(), ev.begin() + 4), script("SID?|3.1|C?0.00|0.6", "", "\r\n"));
    EXPECT_EQ(Log(ev.end() - 2, ev.end()), script("C?5.60|0.6", "", "\r\n"));
    EXPECT_EQ(rig.curve.breakpoint_count, 192);
    const auto& t = rig.curve.temperatures;
    EXPECT_EQ((std::vector{t[0], t[1], t[100], t[191]}), (std::vector{325.125, 0.0, 12.5, 12.5}));
    EXPECT_DOUBLE_EQ(rig.curve.sensor_units[191], 5.6);
    EXPECT_EQ(rig.prompts.texts(), (Log{"Bad data point: abc"}));
}

}  // namespace
}  // namespace kelvara::test
