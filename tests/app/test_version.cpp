// What each program says about itself: --version gives the version of CMake's project() (the
// package's, the manual pages' and the one users report) and --help its usage, both without a
// display.
#include <gtest/gtest.h>

#include <string>

#include "cli_runner.h"

namespace {

using namespace cli_test;

TEST(Programs, TellTheirVersionAndUsage) {
    const std::pair<std::string, std::string> programs[] = {
        {KELVARA_CLI_PATH, "kelvara-cli"},
        {KELVARA_SIM_PATH, "kelvara-sim"},
#ifdef KELVARA_GUI_PATH
        {KELVARA_GUI_PATH, "kelvara"},
#endif
    };
    Scratch s;
    for (const auto& [path, name] : programs) {
        SCOPED_TRACE(name);
        // With no display to reach.
        const std::string run =
            "exec env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM '" + path;
        const CliRun version = s.run(run + "' --version");
        EXPECT_EQ(version.status, 0);
        EXPECT_EQ(version.out.substr(0, version.out.find('\n') + 1),
                  name + " " KELVARA_EXPECTED_VERSION "\n");
        EXPECT_NE(version.out.find("GPL-3.0-or-later"), std::string::npos);
        const CliRun help = s.run(run + "' --help");
        EXPECT_EQ(help.status, 0);
        EXPECT_EQ(help.out.rfind("Usage: " + name + " ", 0), 0u) << help.out;
    }
}

}  // namespace
