// After a write the location is read back and compared with what went out; the same comparison
// serves a curve that is not written, and a backup put back must leave the instrument as it was.
// Every family on both buses against the simulator, on the virtual clock.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "../curve/file_fixture.h"
#include "protocol/backup.h"
#include "protocol/kcur_shared.h"
#include "protocol/verify.h"
#include "rig.h"

namespace kelvara::test {
namespace {

using enum InstrumentModel;
using enum CheckOutcome;
namespace fs = std::filesystem;
using testing_support::Scratch;

// The window's curve for a model: six points (a platinum resistor for the KIP, so that its
// write scales the ohms by 1/100; temperatures below 1 K for the WUN); the HOX's 192 grid
// temperatures.
void load_window_curve(Rig& rig, InstrumentModel m, int variant = 0) {
    const auto style = profile(m).header_style;
    if (style == HeaderStyle::Hox) {
        for (int k = 0; k < 192; ++k) rig.curve.temperatures[k] = 300 - k + variant;
        rig.curve.breakpoint_count = 192;
        rig.header.serial_number = "SN-HOX-1";
        return;
    }
    std::vector<std::pair<double, double>> points;
    for (int k = 0; k < 6; ++k) {
        if (style == HeaderStyle::HeaderPoint)
            points.push_back({0.1 * (k + 1), m == WUN ? 0.9 - 0.1 * k : 300 - 10 * k});
        else if (m == KIP)
            points.push_back({100 + 50 * k, 70 + 50 * k});
        else
            points.push_back({0.5 + 0.1 * k, 300 - 10 * k});
    }
    points[2].second += variant;
    rig.load_curve(points);
    if (style == HeaderStyle::HeaderPoint) {
        rig.header.name = "PT-100 CAL";
        rig.header.serial_number = "SN-42";
        rig.header.setpoint_text = "375";
        rig.header.data_format.selected = 0;
    } else {
        rig.header.name = "DIODE-CAL";
        rig.header.serial_number = "SN42";
        rig.header.setpoint_list.selected = rig.header.setpoint_list.find("375");
    }
}

struct VerifyRow {
    InstrumentModel model;
    Interface bus;
    std::string faults;
    CheckOutcome outcome;
    Log lines;  // the differences, or the failure
    bool line_dies_after_write = false;
};

void PrintTo(const VerifyRow& row, std::ostream* os) {
    *os << designation(row.model) << (row.bus == GPIB ? " GPIB [" : " RS-232 [") << row.faults
        << "]";
}

const std::string kName = R"(name: sent "PT-100 CAL", instrument holds "PT-100 CA")";
const std::string kSerial = R"(serial number: sent "SN42", instrument holds "SN4")";

// clang-format off
const VerifyRow kVerifyRows[] = {
    // Header/point: the header fields as sent (quotes off for the RIL), each point's texts.
    {TAZ, RS232, "corrupt=5", Differ,
     {"point 5: sent .500000, 260.000; instrument holds .500000, 261.000"}},
    {TAZ, GPIB, "corrupt=header", Differ, {kName}},
    {TAZ, RS232, "droplast", Differ, {"point 6: sent .600000, 250.000; instrument holds no point"}},
    {TAZ, GPIB, "", Agree, {}},
    {TAZ, GPIB, "exponent", Agree, {}},
    {QUA_RIL, RS232, "corrupt=header", Differ, {kName}},
    {WUN, GPIB, "exponent", Agree, {}},
    {TAZ, RS232, "", ReadFailed, {kProblemTalking}, true},
    // KCUR/CURV and XK/XC: the header field as the reader takes it apart, the scaled points.
    {KOR, RS232, "", Agree, {}},
    {KOR, RS232, "corrupt=2", Differ, {"point 2: sent 0.60000, 290.0; instrument holds 0.60000, 291.0"}},
    {NAV, GPIB, "corrupt=header", Differ, {kSerial}},
    {LUM, RS232, "droplast", Differ, {"point 6: sent 1.00000, 250.0; instrument holds no point"}},
    {KIP, RS232, "", Agree, {}},
    {KIP, GPIB, "corrupt=4", Differ, {"point 4: sent 2.50000, 220.0; instrument holds 2.50000, 221.0"}},
    {ELK, GPIB, "corrupt=header", Differ, {kSerial}},
    {DUN, RS232, "exponent", Agree, {}},
    // HOX: the 192 grid temperatures and the serial number.
    {HOX, RS232, "corrupt=7", Differ, {"point 7: sent 0.12, 294.000; instrument holds 0.12, 295.000"}},
    {HOX, RS232, "corrupt=header", Differ,
     {R"(serial number: sent "SN-HOX-1", instrument holds "SN-HOX-")"}},
    {HOX, RS232, "droplast", Differ, {"point 192: sent 5.60, 109.000; instrument holds 5.60, 000.000"}},
    {HOX, RS232, "exponent", Agree, {}},
};
// clang-format on

class Verify : public ::testing::TestWithParam<VerifyRow> {};

TEST_P(Verify, ReadsBackAndSaysWhatDiffers) {
    const VerifyRow& row = GetParam();
    Rig rig(row.model);
    ASSERT_TRUE(rig.sim.faults.parse(row.faults));
    rig.connect(row.bus, true);
    load_window_curve(rig, row.model);
    rig.pick_all(user_location(row.model));
    ASSERT_EQ(run_write_transfer(rig.session), TransferResult::Done)
        << ::testing::PrintToString(rig.prompts.texts());
    if (row.line_dies_after_write) rig.sim.faults.hangup_after = rig.sim.commands_received() + 1;
    // The read-back is the check's own: the window keeps its curve, fields and lists, and the
    // read's messages are the check's to report.
    const auto window = [&] {
        return std::tuple(rig.curve, rig.header, rig.picks.read, rig.prompts.shown.size());
    };
    const auto before = window();

    const CurveCheck check = verify_last_write(rig.session);

    EXPECT_EQ(check.outcome, row.outcome);
    EXPECT_EQ(check.outcome == ReadFailed ? Log{check.failure} : check.differences, row.lines);
    EXPECT_EQ(rig.setup.interface == NONE, row.line_dies_after_write);
    EXPECT_EQ(window(), before);
}

INSTANTIATE_TEST_SUITE_P(Table, Verify, ::testing::ValuesIn(kVerifyRows));

// A curve compared without writing goes through the same plan as a write: the older models'
// data scaled, the fields the instrument cannot take empty filled in the copy only.
TEST(Compare, OpenCurveAgainstALocationAsAWriteWouldSendIt) {
    for (const InstrumentModel m : {KIP, TAZ}) {
        SCOPED_TRACE(designation(m));
        Rig rig(m);
        rig.connect(RS232, true);
        load_window_curve(rig, m);
        rig.pick_all(user_location(m));
        ASSERT_EQ(run_write_transfer(rig.session), TransferResult::Done);
        const std::string n = std::to_string(user_location(m));
        EXPECT_EQ(compare_with_location(rig.session, n).outcome, Agree);

        load_window_curve(rig, m, 1);  // point 3 one kelvin warmer
        rig.header.name.clear();
        const sim::SimCurve held = *rig.sim.curve(user_location(m));
        const CurveCheck check = compare_with_location(rig.session, n);
        EXPECT_EQ(check.outcome, Differ);
        const Log expected =
            m == KIP ? Log{R"(name: would send "no nameSN", instrument holds "DIODE-CAL")",
                           R"(serial number: would send "42", instrument holds "SN42")",
                           "point 3: would send 2.00000, 171.0; instrument holds 2.00000, 170.0"}
                     : Log{R"(name: would send "no name", instrument holds "PT-100 CAL")",
                           "point 3: would send .300000, 281.000; instrument holds .300000, "
                           "280.000"};
        EXPECT_EQ(check.differences, expected);
        EXPECT_EQ(rig.header.name, "");                     // the window's field stays empty
        EXPECT_EQ(*rig.sim.curve(user_location(m)), held);  // nothing was written
    }
}

Log names_in(const fs::path& folder) {
    Log out;
    for (const auto& e : fs::directory_iterator(folder)) out.push_back(e.path().filename());
    std::sort(out.begin(), out.end());
    return out;
}

std::map<int, std::optional<sim::SimCurve>> user_curves(const Rig& rig) {
    std::map<int, std::optional<sim::SimCurve>> out;
    const auto& w = profile(rig.setup.model).write_locations;
    for (int n : w.empty() ? std::vector<int>{sim::Instrument::kHoxLocation} : w) {
        const sim::SimCurve* c = rig.sim.curve(n);
        out[n] = c ? std::optional(*c) : std::nullopt;
    }
    return out;
}

struct RoundTrip {
    InstrumentModel model;
    Interface bus;
    std::vector<int> locations;  // written before the backup
    Log files;                   // the folder afterwards
    int unscaled = -1;           // a location holding ohms sent unscaled (no default scaling)
};

void PrintTo(const RoundTrip& row, std::ostream* os) {
    *os << designation(row.model) << (row.bus == GPIB ? " GPIB" : " RS-232");
}

class BackUp : public ::testing::TestWithParam<RoundTrip> {};

// Curves written, backed up, all erased, restored: the instrument holds what it held, byte for
// byte; factory locations are not saved and empty ones leave no file.
TEST_P(BackUp, DeleteAllThenRestoreLeavesTheInstrumentAsItWas) {
    const RoundTrip& row = GetParam();
    Rig rig(row.model);
    rig.connect(row.bus, true);
    for (std::size_t k = 0; k < row.locations.size(); ++k) {
        load_window_curve(rig, row.model, static_cast<int>(k));
        rig.header.name += std::to_string(k);
        // An XK instrument keeps the thermocouple character of a curve read from it.
        rig.transfer.thermocouple_char = k == 1 ? "5" : "";
        rig.pick_all(row.locations[k]);
        ASSERT_EQ(run_write_transfer(rig.session), TransferResult::Done);
    }
    if (row.unscaled >= 0) {
        // Ohms as a write with --no-scaling leaves them: the restore must not scale them again.
        sim::SimCurve ohms{"", "", "S40PT-100-RAWP7", "", "", "", {}};
        for (int k = 0; k < 4; ++k)
            ohms.points.push_back({older_units_text(20 + 20 * k), older_temperature_text(50 * k)});
        rig.sim.store(row.unscaled, ohms);
    }
    const auto before = user_curves(rig);
    Scratch dir;
    const std::string folder = dir.path("new");

    const BackupReport saved = back_up_curves(rig.session, folder, "2024-05-06 07:08:09");
    EXPECT_EQ(saved.result, TransferResult::Done)
        << ::testing::PrintToString(backup_report_lines(saved));
    EXPECT_EQ(names_in(folder), row.files);
    std::ifstream summary(folder + "/backup.txt");
    Log head(3);
    for (std::string& line : head) std::getline(summary, line);
    EXPECT_EQ(Log(head.begin() + 1, head.end()),
              (Log{"Model: " + std::string(designation(row.model)),
                   "Identification: " + rig.sim.identity()}));

    std::vector<int> all = row.locations;
    if (row.unscaled >= 0) all.push_back(row.unscaled);
    for (int n : all) {
        rig.pick_all(n);
        ASSERT_EQ(run_delete_transfer(rig.session), TransferResult::Done);
        ASSERT_EQ(rig.sim.curve(n), nullptr);
    }

    const RestoreReport restored = restore_curves(rig.session, folder, {});
    EXPECT_EQ(restored.result, TransferResult::Done);
    Log lines;
    for (std::size_t k = 0; k < all.size(); ++k)
        lines.push_back(slot_label(restored.entries[k].slot) + " (" + row.files[k] +
                        "): written and verified");
    EXPECT_EQ(restore_report_lines(restored), lines);
    EXPECT_EQ(user_curves(rig), before);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Table, BackUp, ::testing::Values(
    RoundTrip{TAZ, GPIB, {21, 35, 60}, {"21.TAZ", "35.TAZ", "60.TAZ", "backup.txt"}},
    RoundTrip{NAV, RS232, {11}, {"11.NAV", "30.NAV", "backup.txt"}, 30},
    RoundTrip{ELK, GPIB, {6, 7}, {"06.DUN", "07.DUN", "backup.txt"}},
    RoundTrip{HOX, RS232, {sim::Instrument::kHoxLocation}, {"HOX.HOX", "backup.txt"}}));
// clang-format on

// What the backup and the restore refuse or cannot promise.
TEST(BackUp, RefusesAnOlderBackupAndSaysWhatWillNotComeBack) {
    Rig rig(NAV);
    rig.connect(RS232, true);
    load_window_curve(rig, NAV);
    // Name and serial number together shorter than the instrument's 9-character name field:
    // the reader sees one name and "no number", which a write sends back differently.
    rig.header.name = "PT1";
    rig.header.serial_number = "A";
    rig.pick_all(12);
    ASSERT_EQ(run_write_transfer(rig.session), TransferResult::Done);
    Scratch dir;
    const std::string folder = dir.path("b");

    const BackupReport saved = back_up_curves(rig.session, folder, "today");
    EXPECT_EQ(saved.result, TransferResult::Failed);
    EXPECT_EQ(backup_report_lines(saved),
              (Log{"location 12: saved in 12.NAV (PT1A, no number, 6 points); a restore would not "
                   "give back all of it:",
                   R"(  name: would send "PT1Ano nu", instrument holds "PT1A")",
                   R"(  serial number: would send "m", instrument holds "no number")",
                   "empty, nothing to save: 11 13 14 15 16 17 18 19 20 21 22 23 24 25 26 27 28 29 "
                   "30 31"}));

    const int commands = rig.sim.commands_received();
    const BackupReport again = back_up_curves(rig.session, folder, "today");
    EXPECT_EQ(again.failure, folder +
                                 " already holds a backup (backup.txt): choose an empty or a "
                                 "new folder");
    EXPECT_EQ(rig.sim.commands_received(), commands);

    // A file for a location the model cannot write is not sent; a location asked for without
    // a file is reported.
    fs::copy_file(folder + "/12.NAV", folder + "/05.NAV");
    const RestoreReport all = restore_curves(rig.session, folder, {});
    EXPECT_EQ(all.result, TransferResult::Failed);
    EXPECT_EQ(restore_report_lines(all),
              (Log{"location 5 (05.NAV): failed:",
                   "  location 5 is not a user location of the NAV: not written",
                   "location 12 (12.NAV): written and verified"}));
    const RestoreReport some = restore_curves(rig.session, folder, {12, 30});
    EXPECT_EQ(restore_report_lines(some).back(), "  no file for location 30 in " + folder);
}

}  // namespace
}  // namespace kelvara::test
