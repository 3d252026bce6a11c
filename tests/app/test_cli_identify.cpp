// kelvara-cli identify against the simulator on a pseudo-terminal, through the simulated GPIB
// library loaded at run time, and in-process with --simulate.
#include <gtest/gtest.h>

#include <memory>

#include "cli_runner.h"

namespace {

using namespace cli_test;

TEST(CliIdentify, AnswersAsTheModelOrWorksOffline) {
    struct Row {
        std::string bus;        // "pty", "gpib" or "" (the arguments name the link)
        std::string simulator;  // kelvara-sim's arguments, or the GPIB library's environment
        std::string arguments;
        int status;
        std::string text;  // stdout on success, else stderr; "{dev}" is the pseudo-terminal
    };
    const Row rows[] = {
        {"pty", "--model TAZ", "--model TAZ", 0, "TAZ identified on {dev} (9600,O,7,1)\n"},
        {"pty", "--model ELK --faults split=4", "--model ELK", 0,
         "ELK identified on {dev} (1200,O,7,1)\n"},
        {"pty", "--model TAZ --identity 'TESSALY,MODEL FEN,1,1'", "--model TAZ", 1,
         "Wrong model number received from instrument. Continuing to work offline.\n"},
        {"gpib", "KELVARA_SIM_MODEL=KIP", "--model KIP", 0, "KIP identified on GPIB address 12\n"},
        {"gpib", "KELVARA_SIM_MODEL=TAZ KELVARA_SIM_FAULTS=clear=10", "--model TAZ", 0,
         "TAZ identified on GPIB address 12\n"},
        {"gpib", "KELVARA_SIM_MODEL=TAZ KELVARA_SIM_FAULTS=clear=11", "--model TAZ", 1,
         "Problem talking to instrument (ilclr). Continuing to work offline.\n"},
        {"", "", "--model TAZ --gpib 12 --gpib-library /nonexistent/libgpib.so", 1,
         "Problem talking to instrument (ildev). Continuing to work offline.\n"
         "kelvara-cli identify: no GPIB library: /nonexistent/libgpib.so: cannot open shared "
         "object file: No such file or directory\n"},
        // --simulate takes the interface the communication dialog preselects for the model.
        {"", "", "--model taz --simulate", 0,
         "TAZ identified on the simulated instrument over GPIB\n"},
        {"", "", "--model HOX --simulate", 0,
         "HOX identified on the simulated instrument over RS-232\n"},
    };
    Scratch s;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.simulator + " " + row.arguments);
        std::string arguments = "identify " + row.arguments, text = row.text;
        std::unique_ptr<Simulator> sim;
        if (row.bus == "gpib") arguments += " " + kGpib;
        if (row.bus == "pty") {
            sim = std::make_unique<Simulator>(row.simulator);
            ASSERT_FALSE(sim->device().empty());
            arguments += " --serial " + sim->device();
            if (const auto at = text.find("{dev}"); at != std::string::npos)
                text.replace(at, 5, sim->device());
        }
        const CliRun r = s.cli(arguments, row.bus == "gpib" ? row.simulator : "");
        EXPECT_EQ(r.status, row.status);
        EXPECT_EQ(row.status == 0 ? r.out : r.err, text);
        EXPECT_EQ(row.status == 0 ? r.err : r.out, "");
    }
}

}  // namespace
