// kelvara-cli against misbehaving instruments in real time, where the time itself is the point:
// a whole curve at 1200 baud, a hang-up noticed at once, the processor left alone while the
// program waits, Ctrl-C of a ten-minute HOX write.
#include <gtest/gtest.h>

#include "cli_runner.h"

namespace {

using namespace cli_test;

const std::string kProblem = "Problem talking to instrument.\n";
const std::string kLost = "the connection to the instrument was lost: ";
const std::string kOld = "OLD CONTENT\n";

// A KOR holding a curve of 97 points (the most it takes) in location 11.
std::string kor_state() {
    std::string s =
        "KELVARA-SIM-STATE 1\nMODEL KOR\nCURVE 11\nNAME \nSERIAL \n"
        "HEADER S00FULLCURVESN1234\nFORMAT \nLIMIT \nCOEF \n";
    for (int k = 0; k < 97; ++k) {
        char line[64];
        std::snprintf(line, sizeof line, "POINT\t%.5f\t%05.1f\n", 0.1 + 0.015 * k, 400 - 3.5 * k);
        s += line;
    }
    return s + "END\n";
}

// kelvara-sim's arguments ({state}: a KOR with a 97-point curve), the simulated GPIB library's
// environment, kelvara-cli's arguments ({dev}: what the simulator serves on), the signal sent 2 s
// after the start (0: none), exit status, what stderr holds, whether OUT was replaced (otherwise
// it keeps its old content), bounds of the time taken and the processor's share of it at most
struct Row {
    std::string sim, gpib_env, arguments;
    int signal, status;
    std::string err;
    bool out_written;
    double min_seconds, max_seconds, cpu_share;
};

const std::string kRead = "read --model ";
// clang-format off
const Row kRows[] = {
    // 1 s for the identification, 1.1 s of pause, then 1410 characters at 120 a second.
    {"--model KOR --faults speed --state {state}", "",
     kRead + "KOR --serial {dev} --location 11 out.nav", 0, 0, "", true, 12.5, 16, 0.05},
    // The connection lost once the fourth reply has gone out. Every command reports it through
    // the same lines; how each procedure meets a hang-up is the protocol tests' table.
    {"--model TAZ --faults hangup=4", "", kRead + "TAZ --serial {dev} --location 1 out.taz", 0, 1,
     kProblem + "kelvara-cli read: " + kLost + "/dev/", false, 1, 2.5, 0.2},
    {"--model TAZ --faults cut=3", "", kRead + "TAZ --serial {dev} --location 1 out.taz", 0, 1,
     kProblem, false, 11, 13.5, 0.05},
    {"", "KELVARA_SIM_MODEL=TAZ KELVARA_SIM_FAULTS=readfail=3",
     kRead + "TAZ " + kGpib + " --location 1 out.taz", 0, 1,
     kProblem + "kelvara-cli read: " + kLost + "the GPIB driver reported EBUS", false, 0.2, 2, 0.5},
    // Behind a simulated adapter the pseudo-terminal, or the connection, closes once the fourth
    // reply has gone out.
    {"--model TAZ --faults hangup=4 --prologix", "",
     kRead + "TAZ --gpib 12 --prologix {dev} --location 1 out.taz", 0, 1,
     kProblem + "kelvara-cli read: " + kLost + "GPIB adapter /dev/", false, 0.2, 2.5, 0.2},
    {"--model FEN --faults hangup=4 --prologix-tcp 0", "",
     kRead + "FEN --gpib 12 --prologix-host {dev} --location 1 out.taz", 0, 1,
     kProblem + "kelvara-cli read: " + kLost + "GPIB adapter 127.0.0.1:", false, 0.2, 2.5, 0.2},
    // Within a second of Ctrl-C, counted from the signal.
    {"--model HOX", "", "write --model HOX --serial {dev} in.hox", SIGINT, 130,
     "Writing cancelled. The instrument may now hold a partial curve.\n", false, 0, 1, 0.2},
};
// clang-format on

TEST(CliFaults, EndInTimeWithoutBurningTheProcessor) {
    in_parallel(kRows, [](const Row& row) {
        SCOPED_TRACE(row.sim + row.gpib_env + " " + row.arguments);
        Scratch s;
        s.put("out.nav", kOld);
        s.put("out.taz", kOld);
        s.put("kor.state", kor_state());
        std::string hox = "HX-1\r\n";
        for (int k = 0; k < 192; ++k) hox += "1.00,100.000\r\n";
        s.put("in.hox", hox);
        std::string options = row.sim;
        if (const auto at = options.find("{state}"); at != std::string::npos)
            options.replace(at, 7, "'" + s.path("kor.state") + "'");
        const Simulator sim(options);
        ASSERT_EQ(sim.device().empty(), options.empty());
        const std::string arguments = sim.put_device(row.arguments);
        const CliRun r = s.cli(arguments, row.gpib_env, row.signal, 2.0);
        EXPECT_EQ(r.status, row.status) << r.err;
        EXPECT_NE(r.err.find(row.err), std::string::npos) << r.err;
        EXPECT_GE(r.seconds, row.min_seconds);
        EXPECT_LE(r.seconds, row.max_seconds);
        EXPECT_LE(r.cpu_seconds, row.cpu_share * std::max(r.seconds, 1.0)) << r.cpu_seconds;
        const std::string out =
            s.get(arguments.find("out.nav") != std::string::npos ? "out.nav" : "out.taz");
        EXPECT_EQ(out != kOld, row.out_written);
        if (row.out_written) {
            EXPECT_NE(out.find(" 97 "), std::string::npos);  // the 97th point is there
        }
    });
}

// An instrument's curve name holding terminal control bytes reaches the terminal as text.
TEST(CliFaults, ControlBytesAreEscaped) {
    Scratch s;
    s.put("fen.state",
          "KELVARA-SIM-STATE 1\nMODEL FEN\nCURVE 21\nNAME A\x1b[2JB\x07\nSERIAL S\x9b"
          "1\nHEADER \nFORMAT 2\nLIMIT 375\nCOEF 1\nEND\n");
    const CliRun r =
        s.cli("list --model FEN " + kGpib, "KELVARA_SIM_MODEL=FEN KELVARA_SIM_STATE=fen.state");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("21 - A\\x1B[2JB\\x07  S\\x9B1\n"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find('\x1b'), std::string::npos);
}

}  // namespace
