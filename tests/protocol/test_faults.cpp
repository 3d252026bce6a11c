// Every way a line or an instrument misbehaves, on the virtual clock: one row per model family,
// bus, procedure and fault, with what the user is told, how the procedure ends, whether the
// window's curve stays as it was, whether the program goes offline, and how long it takes.
// Command counts in the faults take in the identification query (the first command line).
// ADAPTER is GPIB through the adapter driver and the simulated Prologix adapter.
// How long each way a reply can end takes, and on which bus, is the link tests' table; silence,
// a flood and a trickle all fail a procedure alike, so here each family meets them once.
#include <gtest/gtest.h>

#include "rig.h"

namespace kelvara::test {
namespace {

using enum InstrumentModel;
enum class Proc { Catalogue, Read, Write, Delete };
enum class Bus { RS232, GPIB, ADAPTER };
using enum Bus;

Interface interface_of(Bus bus) {
    return bus == RS232 ? Interface::RS232 : Interface::GPIB;
}
constexpr auto DONE = TransferResult::Done, FAILED = TransferResult::Failed,
               CANCELLED = TransferResult::Cancelled;

struct FaultRow {
    InstrumentModel model;
    Bus bus;
    Proc proc;
    std::string faults;
    int cancel_after;      // >= 0: the user cancels once the instrument has this many lines
    std::string messages;  // every message shown, "|" between them
    TransferResult result;
    bool offline;                     // the link closed and the interface None afterwards
    double min_seconds, max_seconds;  // virtual time the procedure takes
    int window_points = 3;            // of the curve in the window (what a write sends)
    int stored_points = 5;            // of the curve the instrument holds at the location
};

const std::string P = kProblemTalking, N = kNoCurvePresent;
using enum Proc;
// clang-format off
const FaultRow kRows[] = {
    // Header/point reads: the header, then one "CRVPT?" per point, 0.1 s after each.
    {TAZ, RS232, Read, "hangup=4", -1, P, FAILED, true, 0.3, 0.31},
    {TAZ, RS232, Read, "cut=3", -1, P, FAILED, false, 10.3, 10.32},
    {TAZ, RS232, Read, "after=3,babble,speed", -1, P, FAILED, false, 0.3, 0.5},
    {TAZ, RS232, Read, "after=3,garbage", -1, P, FAILED, false, 0.3, 0.31},
    {TAZ, GPIB, Read, "readfail=3", -1, P, FAILED, true, 0.3, 0.31},
    {TAZ, GPIB, Read, "", 3, kReadCancelled, CANCELLED, true, 0.1, 0.11},
    // Header/point writes: erase, header, points, then (TAZ) "CRVSAV" and "BUSY?" polling.
    {TAZ, RS232, Write, "hangup=4", -1, P, FAILED, true, 0.3, 0.31},
    {TAZ, RS232, Write, "busy=forever", -1, kNotConfirmedSaved, FAILED, false, 100.7, 100.8},
    {TAZ, RS232, Write, "cut=7", -1, P, FAILED, false, 11.6, 11.62},
    {TAZ, GPIB, Write, "writefail=3", -1, P, FAILED, true, 0.2, 0.21},
    {DAL, RS232, Write, "hangup=3", -1, P, FAILED, true, 5.5, 5.51},
    // Header/point deletes.
    {TAZ, RS232, Delete, "hangup=2", -1, P, FAILED, true, 1.0, 1.01},
    {TAZ, GPIB, Delete, "busy=forever", -1, kNotConfirmedSaved, FAILED, false, 100.2, 100.3},
    {TAZ, RS232, Delete, "", 2, "Deleting cancelled. Curve location 21 in the instrument may now hold a partial curve.", CANCELLED, true, 0, 0.01},
    {OBR, GPIB, Delete, "after=2,garbage", -1, P, FAILED, false, 0.6, 0.61},
    // Header/point catalogue: one "CRVHDR?" per location.
    {TAZ, RS232, Catalogue, "cut=5", -1, P, FAILED, false, 11.5, 11.52},
    {TAZ, GPIB, Catalogue, "hangup=3", -1, P, FAILED, true, 0.2, 0.21},
    {TAZ, RS232, Catalogue, "after=2,garbage", -1, P, FAILED, false, 0.6, 0.61},
    {TAZ, RS232, Catalogue, "", 3, kCatalogueCancelled, CANCELLED, true, 0.3, 0.31},
    // KCUR/CURV: the whole curve in one "CURV?" line. At 1200 baud 97 pairs take 11.75 s on the
    // wire, from the command on (the 1.1 s pause included), and arrive whole.
    {KOR, RS232, Read, "speed", -1, "", DONE, false, 11.7, 11.8, 3, 97},
    {KOR, RS232, Read, "cut=1", -1, N, FAILED, false, 11.1, 11.12},
    {KOR, RS232, Read, "after=1,noterm", -1, P, FAILED, false, 11.1, 11.12},
    {KOR, RS232, Read, "after=1,trickle=0.5", -1, P, FAILED, false, 3.1, 20},
    {KOR, RS232, Read, "after=1,babble,speed", -1, P, FAILED, false, 12.5, 12.52},
    {KOR, RS232, Read, "hangup=1", -1, P, FAILED, true, 0, 0.01},
    {KOR, RS232, Write, "", -1, kNothingSent, FAILED, false, 0, 0.01, 1},
    {NAV, GPIB, Write, "readfail=2", -1, P, FAILED, true, 0.4, 0.41},
    {NAV, RS232, Write, "", 3, "Writing cancelled. Curve location 11 in the instrument may now hold a partial curve.", CANCELLED, true, 0.6, 0.61},
    {NAV, RS232, Delete, "hangup=1", -1, P, FAILED, true, 0, 0.01},
    {LUM, RS232, Catalogue, "cut=1", -1, P, FAILED, false, 11.1, 11.12},
    // XK/XC/XE/XD.
    {KIP, RS232, Write, "", -1, kNothingSent, FAILED, false, 0, 0.01, 1},
    {KIP, RS232, Write, "", 0, "Writing cancelled before anything was sent to the instrument.", CANCELLED, true, 0, 0.01},
    {ELK, RS232, Write, "cut=1", -1, P, FAILED, false, 16, 16.02},
    {DUN, GPIB, Read, "readfail=1", -1, P, FAILED, true, 0.1, 0.11},
    {KIP, RS232, Read, "after=1,trickle=0.5", -1, P, FAILED, false, 2.6, 20},
    {KIP, RS232, Catalogue, "cut=1", -1, "Problem talking to instrument, XDT command.", FAILED, false, 16, 16.02},
    {ELK, GPIB, Delete, "writefail=1", -1, P, FAILED, true, 0, 0.01},
    // HOX: "SID?", then one "C?" per grid point; a write erases, then stores 192 points.
    {HOX, RS232, Read, "cut=10", -1, P, FAILED, false, 18.5, 18.52},
    {HOX, RS232, Write, "hangup=3", -1, P, FAILED, true, 23.2, 23.21},
    {HOX, RS232, Write, "", 3, "Writing cancelled. The instrument may now hold a partial curve.", CANCELLED, true, 20.1, 20.11},
    {HOX, RS232, Delete, "hangup=1", -1, P, FAILED, true, 0, 0.01},
    // Through a GPIB adapter: the device or connection closing is a dead line; an instrument
    // that never asserts EOI, or reads that bring nothing, are silence (the adapter reports no
    // errors), the ibdev time-out covering the whole read as through the library (a reply
    // trickling in whole within it is taken, one that is not whole by then fails).
    {TAZ, ADAPTER, Read, "hangup=4", -1, P, FAILED, true, 0.3, 0.35},
    {TAZ, ADAPTER, Read, "after=3,noterm", -1, P, FAILED, false, 10.3, 10.35},
    {TAZ, ADAPTER, Read, "after=3,trickle=0.8", -1, P, FAILED, false, 10.3, 10.35},
    {TAZ, ADAPTER, Read, "after=3,trickle=1.5", -1, P, FAILED, false, 10.3, 10.35},
    // 64 KiB at the AR488's 115200 baud: the flood is taken to its end, never past 10 s.
    {TAZ, ADAPTER, Read, "after=3,babble,speed", -1, P, FAILED, false, 5.7, 10.35},
    {TAZ, ADAPTER, Read, "split=4,delay=0.5,speed=9600", -1, "", DONE, false, 4.2, 4.8},
    {TAZ, ADAPTER, Catalogue, "after=2,garbage", -1, P, FAILED, false, 0.2, 0.25},
    {NAV, ADAPTER, Read, "speed=2400", -1, "", DONE, false, 5.8, 6.5, 3, 97},
    {KIP, ADAPTER, Delete, "hangup=1", -1, P, FAILED, true, 0, 0.01},
    {DUN, ADAPTER, Read, "", 2, kReadCancelled, CANCELLED, true, 0, 0.01},
};
// clang-format on

void PrintTo(const FaultRow& row, std::ostream* os) {
    static const char* kProc[] = {"catalogue", "read", "write", "delete"};
    static const char* kBus[] = {" RS-232 ", " GPIB ", " GPIB adapter "};
    *os << designation(row.model) << kBus[static_cast<int>(row.bus)]
        << kProc[static_cast<int>(row.proc)] << " [" << row.faults << "]";
    if (row.cancel_after >= 0) *os << " cancelled after " << row.cancel_after;
}

sim::SimCurve instrument_curve(InstrumentModel m, int points) {
    sim::SimCurve c{"INSTR", "S1", "", "2", "375", "1", {}};
    const auto set = profile(m).catalogue;
    c.header = set == CatalogueQuery::Xdt ? "L00INSTRUMENTS1" : "S00INSTRUMENTS1";
    for (int k = 0; k < points; ++k)
        c.points.push_back(
            {FormatNoLocale(0.1 + 0.015 * k, "0.00000"), FormatNoLocale(400 - 3.5 * k, "000.0")});
    return c;
}

class Faults : public ::testing::TestWithParam<FaultRow> {};

TEST_P(Faults, TellTheUserAndStopInTime) {
    const FaultRow& row = GetParam();
    Rig rig(row.model);
    const int location = user_location(row.model);
    if (row.model != HOX) rig.sim.store(location, instrument_curve(row.model, row.stored_points));
    ASSERT_TRUE(rig.sim.faults.parse(row.faults, row.bus == ADAPTER
                                                     ? sim::PrologixAdapter::kLinkBaud
                                                     : profile(row.model).serial.baud));
    if (row.bus == ADAPTER)
        rig.connect_through_adapter();
    else
        rig.connect(interface_of(row.bus), true);
    ASSERT_EQ(rig.setup.interface, interface_of(row.bus))
        << ::testing::PrintToString(rig.prompts.texts());
    rig.clock.after_write = [&] {
        if (row.cancel_after > 0 && rig.sim.commands_received() >= row.cancel_after)
            rig.link.request_cancel();
    };
    if (row.cancel_after == 0) rig.link.request_cancel();

    std::vector<std::pair<double, double>> points;
    for (int k = 0; k < row.window_points; ++k) points.push_back({0.1 * (k + 1), 300.0 - k});
    rig.load_curve(points);
    rig.header.name = "KEEP";
    rig.header.serial_number = "K1";
    rig.pick_all(location);
    const CurveRecord curve_before = rig.curve;
    const HeaderFields header_before = rig.header;

    const double start = rig.clock.now();
    TransferResult (*const procedures[])(Session&) = {grab_curve_names, run_read_transfer,
                                                      run_write_transfer, run_delete_transfer};
    const TransferResult result = procedures[static_cast<int>(row.proc)](rig.session);
    const double took = rig.clock.now() - start;

    EXPECT_EQ(rig.prompts.texts(), script(row.messages));
    EXPECT_EQ(result, row.result);
    EXPECT_GE(took, row.min_seconds - 1e-9);
    EXPECT_LE(took, row.max_seconds);
    EXPECT_EQ(rig.setup.interface == NONE, row.offline);
    EXPECT_EQ(rig.link.interface() == NONE, row.offline);
    if (row.proc == Read && row.result == DONE) {
        ASSERT_EQ(rig.curve.breakpoint_count, row.stored_points);
        EXPECT_EQ(rig.curve.temperatures[row.stored_points - 1],
                  400 - 3.5 * (row.stored_points - 1));
        EXPECT_EQ(rig.views.graphs, 1);
    } else {
        // Nothing but a whole read changes the window's curve and header.
        EXPECT_EQ(rig.curve, curve_before);
        EXPECT_EQ(rig.header.name, header_before.name);
        EXPECT_EQ(rig.header.serial_number, header_before.serial_number);
        EXPECT_EQ(rig.views.graphs + rig.views.grids, 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Table, Faults, ::testing::ValuesIn(kRows));

// A link that died says why, and the procedure after it refuses at once without a word.
TEST(DeadLine, ReasonAndNoSecondTry) {
    Rig rig(TAZ);
    rig.sim.faults.hangup_after = 2;
    rig.connect_through_adapter();
    rig.load_curve({{0.1, 300}, {0.2, 200}});
    Rig::pick(rig.picks.write, 21);
    Rig::pick(rig.picks.remove, 21);
    EXPECT_EQ(run_write_transfer(rig.session), FAILED);
    EXPECT_TRUE(rig.link.line_dead());
    EXPECT_EQ(rig.link.dead_reason(), "GPIB adapter simulated adapter: the adapter hung up");
    EXPECT_EQ(run_delete_transfer(rig.session), FAILED);
    EXPECT_EQ(rig.prompts.texts(), (Log{kProblemTalking, kInvalidInterface}));
}

// A reply field that holds a number out of every integer's range is a garbled reply, not a
// data-format code.
TEST(GarbledHeader, HugeDataFormatIsAFailureNotAnOverflow) {
    for (const std::string header : {"A,B,1e400,375,1", "A,B,2,375", "A,B,2,x,1", "A,B,2,375,N"}) {
        SCOPED_TRACE(header);
        Rig rig(TAZ);
        rig.answer("CRVHDR? 21", {header});
        rig.connect(Interface::RS232);
        Rig::pick(rig.picks.read, 21);
        EXPECT_EQ(run_read_transfer(rig.session), FAILED);
        EXPECT_EQ(rig.prompts.texts(), Log{kProblemTalking});
        EXPECT_EQ(rig.clock.events.size(), 2u);  // no point asked for
    }
}

}  // namespace
}  // namespace kelvara::test
