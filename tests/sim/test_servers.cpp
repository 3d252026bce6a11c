#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "link/gpib_driver.h"
#include "sim/pty_server.h"

namespace {

// Writes one command line to a client of the pseudo-terminal and reads until the reply's line
// end arrives or 3 s pass.
std::string ask(const std::string& device, const std::string& command) {
    const int fd = ::open(device.c_str(), O_RDWR | O_NOCTTY);
    EXPECT_GE(fd, 0) << device;
    const std::string line = command + "\r\n";
    EXPECT_EQ(::write(fd, line.data(), line.size()), static_cast<ssize_t>(line.size()));
    std::string text;
    char buffer[256];
    pollfd p{fd, POLLIN, 0};
    while (command.find('?') != std::string::npos && !text.ends_with('\n') &&
           ::poll(&p, 1, 3000) > 0) {
        const auto n = ::read(fd, buffer, sizeof buffer);
        if (n <= 0) break;
        text.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fd);
    return text;
}

}  // namespace

TEST(PtyServer, AnswersThroughTheSlaveInPiecesAndKeepsCurvesBetweenClients) {
    kelvara::sim::Instrument instrument(kelvara::InstrumentModel::QUA_RIL);
    instrument.faults.split_pieces = 3;
    kelvara::sim::PtyServer server(instrument);
    std::string error;
    ASSERT_TRUE(server.open(&error)) << error;
    std::thread serving([&server] { server.serve(); });
    EXPECT_EQ(ask(server.slave_path(), "*IDN?"), "TESSALY,MODEL RIL,SIM000001,1.0\r\n");
    ask(server.slave_path(), "CRVHDR 21,\"N\",\"S\",2, 1,1\r\n");  // the next client sees it
    EXPECT_EQ(ask(server.slave_path(), "CRVHDR? 21"), "N              ,S         ,2,1,1\r\n");
    server.stop();
    serving.join();
}

// The line hangs up after the N-th command: its client reads end-of-file and the server stops
// by itself. Replies left at 1200 baud, 10 bits a character.
TEST(PtyServer, PacesRepliesAndHangsUp) {
    kelvara::sim::Instrument instrument(kelvara::InstrumentModel::KOR);
    ASSERT_TRUE(instrument.faults.parse("speed=1200,hangup=2"));
    kelvara::sim::PtyServer server(instrument);
    ASSERT_TRUE(server.open());
    const int fd = ::open(server.slave_path().c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(fd, 0);
    std::thread serving([&server] { server.serve(); });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ask(server.slave_path(), "*IDN?"), "TESSALY,MODEL KOR,SIM000001,1.0\r\n");
    const double took =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_GE(took, 33 * 10 / 1200.0);
    EXPECT_LT(took, 1.0);
    ask(server.slave_path(), "KCUR11");
    serving.join();  // no stop(): the hang-up ends it
    EXPECT_TRUE(server.hung_up());
    pollfd p{fd, POLLIN, 0};
    ASSERT_EQ(::poll(&p, 1, 1000), 1);
    EXPECT_TRUE(p.revents & POLLHUP);
    char byte = 0;
    EXPECT_LE(::read(fd, &byte, 1), 0);
    ::close(fd);
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
        ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;

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
