// What each program says about itself: --version gives the version of CMake's project() (the
// package's, the manual pages' and the one users report) and --help its usage, both without a
// display.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <string>

#include "cli_runner.h"

namespace {

using namespace cli_test;

// stdout of a shell command with no display to reach, and its exit status.
CliRun run_without_display(const std::string& command) {
    const std::string line = "env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM " + command;
    CliRun r{-1, "", ""};
    FILE* out = ::popen(line.c_str(), "r");
    if (!out) return r;
    char buffer[4096];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, out)) > 0;) r.out.append(buffer, n);
    const int raw = ::pclose(out);
    r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return r;
}

TEST(Programs, TellTheirVersionAndUsage) {
    const std::pair<std::string, std::string> programs[] = {
        {KELVARA_CLI_PATH, "kelvara-cli"},
        {KELVARA_SIM_PATH, "kelvara-sim"},
#ifdef KELVARA_GUI_PATH
        {KELVARA_GUI_PATH, "kelvara"},
#endif
    };
    for (const auto& [path, name] : programs) {
        SCOPED_TRACE(name);
        const CliRun version = run_without_display("'" + path + "' --version");
        EXPECT_EQ(version.status, 0);
        EXPECT_EQ(version.out.substr(0, version.out.find('\n') + 1),
                  name + " " KELVARA_EXPECTED_VERSION "\n");
        EXPECT_NE(version.out.find("GPL-3.0-or-later"), std::string::npos);
        const CliRun help = run_without_display("'" + path + "' --help");
        EXPECT_EQ(help.status, 0);
        EXPECT_EQ(help.out.rfind("Usage: " + name + " ", 0), 0u) << help.out;
    }
}

}  // namespace
