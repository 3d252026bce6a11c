// kelvara-sim's pseudo-terminal as a client sees it: replies paced at the line's speed and a
// hang-up the client reads as one.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>

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
