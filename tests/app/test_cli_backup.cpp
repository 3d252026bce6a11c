// kelvara-cli write (checked), compare, backup and restore end to end, in real time, against a
// FEN behind the simulated GPIB library whose curves live in a state file between the runs.
#include <gtest/gtest.h>

#include <thread>

#include "cli_runner.h"

namespace {

using namespace cli_test;

const std::string kCurve =
    "Name: E2E-BACKUP\r\nSerial number: SN-9\r\nFormat: 2             ; Volts vs. Kelvin\r\n"
    "Limit: 375\r\nCoefficient: 1        ; Negative\r\nPoint 1: 0.10000,390.000\r\n"
    "Point 2: 0.20000,380.000\r\n";
const std::string kEnv = "KELVARA_SIM_STATE=state KELVARA_SIM_MODEL=FEN";
const std::string kFen = " --model FEN " + kGpib + " ";

// The instrument stores point 2 one kelvin off: the check says so, unless told not to check.
void checked_writes() {
    Scratch s;
    s.put("in.TZA", kCurve);
    const std::string corrupt = kEnv + " KELVARA_SIM_FAULTS=corrupt=2";
    CliRun r = s.cli("write" + kFen + "--location 28 in.TZA", corrupt);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err,
              "The instrument does not hold the curve as it was sent:\n"
              "point 2: sent .200000, 380.000; instrument holds .200000, 381.000\n");
    r = s.cli("write" + kFen + "--no-verify --location 28 in.TZA", corrupt);
    EXPECT_EQ(r.status, 0) << r.err;
    r = s.cli("compare" + kFen + "--location 28 in.TZA", kEnv);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out,
              "The instrument does not hold the curve as a write would send it:\n"
              "point 2: would send .200000, 380.000; instrument holds .200000, 381.000\n");
}

TEST(CliBackup, CheckedWritesThenBackupDeleteRestore) {
    std::thread checks(checked_writes);  // on an instrument of its own, at the same time
    Scratch s;
    s.put("in.TZA", kCurve);
    CliRun r = s.cli("write" + kFen + "--location 28 in.TZA", kEnv);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    r = s.cli("backup" + kFen + "saved", kEnv);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out,
              "location 28: saved in 28.TAZ (E2E-BACKUP, SN-9, 2 points)\n"
              "empty, nothing to save: 21 22 23 24 25 26 27\n");
    EXPECT_NE(s.get("saved/backup.txt").find("28\tE2E-BACKUP\tSN-9\t2\t28.TAZ\n"),
              std::string::npos);
    EXPECT_EQ(s.cli("delete" + kFen + "--location 28", kEnv).status, 0);

    r = s.cli("restore" + kFen + "saved", kEnv);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "location 28 (28.TAZ): written and verified\n");
    r = s.cli("compare" + kFen + "--location 28 saved/28.TAZ", kEnv);
    EXPECT_EQ(r.status, 0) << r.out;
    checks.join();
}

}  // namespace
