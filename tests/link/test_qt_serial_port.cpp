// The Qt serial port on a real pseudo-terminal: line settings reach the terminal, bytes go out
// unchanged, replies come back, and the link opens through it with the real clock.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <QCoreApplication>
#include <atomic>
#include <thread>

#include "link/instrument_link.h"
#include "link/qt/qt_serial_port.h"

namespace kelvara {
namespace {

QCoreApplication& app() {
    static int argc = 1;
    static char name[] = "test_link";
    static char* argv[] = {name, nullptr};
    static QCoreApplication a(argc, argv);
    return a;
}

struct Pty {
    int master = -1;
    int slave = -1;
    std::string path;
    Pty() {
        char name[128] = {};
        if (openpty(&master, &slave, name, nullptr, nullptr) != 0) return;
        path = name;
        termios t{};
        tcgetattr(slave, &t);
        cfmakeraw(&t);  // the far end sees bytes exactly as written
        tcsetattr(slave, TCSANOW, &t);
    }
    ~Pty() {
        if (master >= 0) ::close(master);
        if (slave >= 0) ::close(slave);
    }
    // Reads from the far end until `until` has arrived or a second passed.
    std::string read_until(const std::string& until) {
        std::string got;
        for (int i = 0; i < 100 && got.find(until) == std::string::npos; ++i) {
            pollfd p{master, POLLIN, 0};
            if (poll(&p, 1, 10) <= 0) continue;
            char buf[256];
            const auto n = ::read(master, buf, sizeof buf);
            if (n > 0) got.append(buf, static_cast<std::size_t>(n));
        }
        return got;
    }
    void send(const std::string& text) { (void)!::write(master, text.data(), text.size()); }
};

TEST(QtSerialPort, AppliesTheModelsSpeedWithoutHandshaking) {
    app();
    struct Row {
        InstrumentModel model;
        speed_t speed;
    };
    const Row rows[] = {{InstrumentModel::TAZ, B9600},
                        {InstrumentModel::HOX, B9600},
                        {InstrumentModel::KOR, B1200},
                        {InstrumentModel::GIR, B57600}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(designation(row.model)));
        Pty pty;
        ASSERT_FALSE(pty.path.empty());
        QtSerialPort port;
        ASSERT_TRUE(port.open(0, pty.path, profile(row.model).serial)) << port.error();
        termios t{};
        ASSERT_EQ(tcgetattr(pty.slave, &t), 0);
        EXPECT_EQ(cfgetospeed(&t), row.speed);
        // A pseudo-terminal forces 8 data bits and no parity whatever is asked, so only the
        // speed, stop bits and handshaking can be seen here.
        EXPECT_EQ(t.c_cflag & CSTOPB, 0u);
        EXPECT_EQ(t.c_cflag & CRTSCTS, 0u);
        EXPECT_EQ(t.c_iflag & (IXON | IXOFF), 0u);
    }
}

TEST(QtSerialPort, MissingDeviceDoesNotOpen) {
    app();
    QtSerialPort port;
    EXPECT_FALSE(port.open(0, "/dev/kelvara-no-such-port", profile(InstrumentModel::TAZ).serial));
    EXPECT_FALSE(port.is_open());
    EXPECT_NE(port.error().find("/dev/kelvara-no-such-port"), std::string::npos);
}

TEST(QtSerialPort, LinkIdentifiesAnInstrumentAnsweringInPieces) {
    app();
    Pty pty;
    ASSERT_FALSE(pty.path.empty());
    std::atomic<bool> answered{false};
    std::string received;
    // The far end: stale bytes that the opening must discard, then the reply in two pieces.
    pty.send("junk,TAZ,junk\r\n");
    std::thread instrument([&] {
        received = pty.read_until("\r\n");
        pty.send("TESSALY,MOD");
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        pty.send("EL TAZ,1,1\r\n");
        answered = true;
    });

    RealClock clock([] { QCoreApplication::processEvents(); });
    RecordingPrompts prompts;
    InstrumentLink link(clock, prompts);
    link.set_serial_port(std::make_unique<QtSerialPort>());
    SetupChoices choices;
    choices.model = InstrumentModel::TAZ;
    choices.interface = Interface::RS232;
    choices.serial_device = pty.path;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));  // stale bytes are waiting
    link.setup_rs232(choices);
    instrument.join();

    EXPECT_TRUE(answered);
    EXPECT_EQ(received, "*IDN?\r\n");
    EXPECT_TRUE(prompts.shown.empty());
    EXPECT_EQ(choices.interface, Interface::RS232);

    // A command with clear_input: what the instrument sent unasked is dropped first.
    pty.send("late\r\n");
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_TRUE(link.send_command("CRVHDR? 21", true));
    EXPECT_EQ(pty.read_until("\r\n"), "CRVHDR? 21\r\n");
    pty.send("DT-470,123,2,475.000,1\r\n");
    EXPECT_EQ(link.read_reply(), "DT-470,123,2,475.000,1\r\n");
}

}  // namespace
}  // namespace kelvara
