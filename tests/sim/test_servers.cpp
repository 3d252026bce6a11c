#include <dlfcn.h>
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
#include <thread>

#include "sim/instrument.h"
#include "sim/pty_server.h"

extern char** environ;

using kelvara::InstrumentModel;
using kelvara::sim::Instrument;

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

TEST(PtyServer, AnswersThroughTheSlaveDeviceInPiecesAndStops) {
    Instrument instrument(InstrumentModel::KIP);
    kelvara::sim::PtyServer server(instrument);
    std::string error;
    ASSERT_TRUE(server.open(&error)) << error;
    int commands = 0;
    server.after_command = [&] { ++commands; };
    std::thread serving([&] { server.serve(); });

    const int fd = ::open(server.slave_path().c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(ask(fd, "W2"), "TESSALY,MODEL KIP,SIM000001,1.0\r\n");
    const std::string curve = instrument.handle("XD05");  // a factory curve, a long line
    instrument.faults.split_pieces = 2;
    EXPECT_EQ(ask(fd, "XD05"), curve);
    ::close(fd);
    server.stop();
    serving.join();
    EXPECT_EQ(commands, 2);
}

TEST(PtyServer, TheProgramPrintsItsDeviceAndKeepsCurvesUntilStopped) {
    int out[2];
    ASSERT_EQ(::pipe(out), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    const char* argv[] = {KELVARA_SIM_PROGRAM, "--model", "QUA/RIL", nullptr};
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

// One session of a GPIB program against the simulated library, in the calling process.
struct GpibSession {
    void* handle = nullptr;
    int (*ibdev)(int, int, int, int, int, int) = nullptr;
    int (*ibwrt)(int, const void*, long) = nullptr;
    int (*ibrd)(int, void*, long) = nullptr;
    int (*ibonl)(int, int) = nullptr;
    long (*thread_ibcntl)() = nullptr;
    int* ibsta = nullptr;

    bool load() {
        handle = dlopen(KELVARA_SIM_GPIB_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        if (!handle) return false;
        ibdev = reinterpret_cast<decltype(ibdev)>(dlsym(handle, "ibdev"));
        ibwrt = reinterpret_cast<decltype(ibwrt)>(dlsym(handle, "ibwrt"));
        ibrd = reinterpret_cast<decltype(ibrd)>(dlsym(handle, "ibrd"));
        ibonl = reinterpret_cast<decltype(ibonl)>(dlsym(handle, "ibonl"));
        thread_ibcntl = reinterpret_cast<decltype(thread_ibcntl)>(dlsym(handle, "ThreadIbcntl"));
        ibsta = static_cast<int*>(dlsym(handle, "ibsta"));
        return ibdev && ibwrt && ibrd && ibonl && thread_ibcntl && ibsta &&
               dlsym(handle, "ibclr") && dlsym(handle, "ibloc") && dlsym(handle, "ThreadIbsta") &&
               dlsym(handle, "ThreadIberr");
    }
    std::string query(int ud, const std::string& command) {
        ibwrt(ud, command.data(), static_cast<long>(command.size()));
        char buffer[80];
        ibrd(ud, buffer, sizeof buffer);
        return std::string(buffer, static_cast<std::size_t>(thread_ibcntl()));
    }
};

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
        GpibSession s;
        if (!s.load()) ::_exit(10);
        const int ud = s.ibdev(0, 12, 0, 13, 1, 0);
        if (ud < 0) ::_exit(11);
        const std::string header = "CRVHDR 25,KEPT,SN7,3, 300,2";
        const std::string point = "CRVPT 25,1,100.000,300.000";
        s.ibwrt(ud, header.data(), static_cast<long>(header.size()));
        s.ibwrt(ud, point.data(), static_cast<long>(point.size()));
        ::_exit(s.query(ud, "*IDN?") == "TESSALY,MODEL MEP,SIM000001,1.0\r\n" ? 0 : 12);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    ASSERT_EQ(WEXITSTATUS(status), 0);

    // A second program finds it there.
    GpibSession s;
    ASSERT_TRUE(s.load()) << dlerror();
    const int ud = s.ibdev(0, 12, 0, 10, 1, 0);  // T300ms: the empty read below times out soon
    ASSERT_GE(ud, 0);
    EXPECT_EQ(s.query(ud, "CRVHDR? 25"), "KEPT           ,SN7       ,3,300,2\r\n");
    EXPECT_EQ(s.query(ud, "CRVPT? 25,1"), "100.000,300.000\r\n");
    char buffer[10];
    EXPECT_TRUE(s.ibrd(ud, buffer, sizeof buffer) & 0x8000);  // nothing more to read
    EXPECT_TRUE(*s.ibsta & 0x8000);
    s.ibonl(ud, 0);
    dlclose(s.handle);
    std::filesystem::remove(state);
}
