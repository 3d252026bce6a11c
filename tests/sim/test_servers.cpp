#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "link/gpib_driver.h"

extern char** environ;

namespace {

// Reads from fd until a line end arrives or the time is up.
std::string read_line(int fd, int timeout_ms = 3000) {
    std::string text;
    char buffer[256];
    while (text.find('\n') == std::string::npos) {
        pollfd p{fd, POLLIN, 0};
        if (::poll(&p, 1, timeout_ms) <= 0) break;
        const auto n = ::read(fd, buffer, sizeof buffer);
        if (n <= 0) break;
        text.append(buffer, static_cast<std::size_t>(n));
    }
    return text;
}

std::string ask(int fd, const std::string& command) {
    const std::string line = command + "\r\n";
    EXPECT_EQ(::write(fd, line.data(), line.size()), static_cast<ssize_t>(line.size()));
    return read_line(fd);
}

}  // namespace

TEST(PtyServer, TheProgramPrintsItsDeviceAnswersInPiecesAndKeepsCurvesUntilStopped) {
    int out[2];
    ASSERT_EQ(::pipe(out), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    const char* argv[] = {KELVARA_SIM_PROGRAM, "--model", "QUA/RIL",
                          "--faults",          "split=3", nullptr};
    pid_t pid = 0;
    ASSERT_EQ(posix_spawn(&pid, KELVARA_SIM_PROGRAM, &actions, nullptr, const_cast<char**>(argv),
                          environ),
              0);
    posix_spawn_file_actions_destroy(&actions);
    ::close(out[1]);

    std::string device = read_line(out[0]);
    ASSERT_TRUE(device.ends_with("\n")) << device;
    device.pop_back();
    const int fd = ::open(device.c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(fd, 0) << device;
    EXPECT_EQ(ask(fd, "*IDN?"), "TESSALY,MODEL RIL,SIM000001,1.0\r\n");
    ::close(fd);
    // A second client sees what the first wrote.
    const int first = ::open(device.c_str(), O_RDWR | O_NOCTTY);
    const std::string write = "CRVHDR 21,\"N\",\"S\",2, 1,1\r\n\r\n";
    ASSERT_EQ(::write(first, write.data(), write.size()), static_cast<ssize_t>(write.size()));
    ::close(first);
    const int second = ::open(device.c_str(), O_RDWR | O_NOCTTY);
    EXPECT_EQ(ask(second, "CRVHDR? 21"), "N              ,S         ,2,1,1\r\n");
    ::close(second);

    ::kill(pid, SIGTERM);
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    ::close(out[0]);
}

namespace {

// What a GPIB program does: write one command; a query's reply is read into 80 characters.
std::string query(kelvara::GpibDriver& gpib, int ud, const std::string& command) {
    gpib.ibwrt(ud, command.data(), static_cast<long>(command.size()));
    if (command.find('?') == std::string::npos) return {};
    char buffer[80];
    gpib.ibrd(ud, buffer, sizeof buffer);
    return std::string(buffer, static_cast<std::size_t>(gpib.thread_ibcntl()));
}

}  // namespace

TEST(SimGpibLibrary, AnswersAndKeepsTheInstrumentAcrossProcesses) {
    const auto state = std::filesystem::temp_directory_path() /
                       ("kelvara-sim-state-" + std::to_string(::getpid()));
    std::filesystem::remove(state);
    ::setenv("KELVARA_SIM_MODEL", "MEP", 1);
    ::setenv("KELVARA_SIM_STATE", state.c_str(), 1);
    ::unsetenv("KELVARA_SIM_IDENTITY");
    ::unsetenv("KELVARA_SIM_FAULTS");

    // The first program writes a curve and ends.
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        auto gpib = kelvara::load_gpib_library(KELVARA_SIM_GPIB_LIBRARY);
        const int ud = gpib ? gpib->ibdev(0, 12, 0, 13, 1, 0) : -1;
        if (ud < 0) ::_exit(10);
        query(*gpib, ud, "CRVHDR 25,KEPT,SN7,3, 300,2");
        query(*gpib, ud, "CRVPT 25,1,100.000,300.000");
        ::_exit(query(*gpib, ud, "*IDN?") == "TESSALY,MODEL MEP,SIM000001,1.0\r\n" ? 0 : 11);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    ASSERT_EQ(WEXITSTATUS(status), 0);

    // A second program finds it there.
    std::string error;
    auto gpib = kelvara::load_gpib_library(KELVARA_SIM_GPIB_LIBRARY, &error);
    ASSERT_TRUE(gpib) << error;
    const int ud = gpib->ibdev(0, 12, 0, 8, 1, 0);  // T30ms: the empty read below ends soon
    ASSERT_GE(ud, 0);
    EXPECT_EQ(query(*gpib, ud, "CRVHDR? 25"), "KEPT           ,SN7       ,3,300,2\r\n");
    EXPECT_EQ(query(*gpib, ud, "CRVPT? 25,1"), "100.000,300.000\r\n");
    char buffer[10];
    gpib->ibrd(ud, buffer, sizeof buffer);  // nothing more to read
    EXPECT_TRUE(gpib->thread_ibsta() & 0x8000);
    EXPECT_EQ(gpib->thread_ibcntl(), 0);
    gpib->ibonl(ud, 0);
    std::filesystem::remove(state);
}
