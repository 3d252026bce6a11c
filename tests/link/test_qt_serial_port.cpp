// The Qt serial port on a real pseudo-terminal, with the real clock: the model's speed reaches
// the terminal, stale input is dropped, the reply comes back in pieces and commands go out as
// written.
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <QCoreApplication>
#include <thread>

#include "link/instrument_link.h"
#include "link/qt/qt_serial_port.h"

namespace kelvara {
namespace {

struct Pty {
    int master = -1, slave = -1;
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
        ::close(master);
        ::close(slave);
    }
    // What the far end receives up to a line end, waiting at most a second.
    std::string line() {
        std::string got;
        for (int i = 0; i < 100 && got.find('\n') == std::string::npos; ++i) {
            pollfd p{master, POLLIN, 0};
            char buf[256];
            if (poll(&p, 1, 10) <= 0) continue;
            const auto n = ::read(master, buf, sizeof buf);
            if (n > 0) got.append(buf, static_cast<std::size_t>(n));
        }
        return got;
    }
    void send(const std::string& text) { (void)!::write(master, text.data(), text.size()); }
};

TEST(QtSerialPort, LinkIdentifiesAnInstrumentOnAPseudoTerminal) {
    int argc = 1;
    char name[] = "test_link";
    char* argv[] = {name, nullptr};
    QCoreApplication app(argc, argv);
    Pty pty;
    ASSERT_FALSE(pty.path.empty());
    pty.send("junk,KOR,junk\r\n");  // stale bytes the opening must discard
    std::string ping;
    std::thread instrument([&] {
        ping = pty.line();
        pty.send("TESSALY,MOD");
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        pty.send("EL KOR,1,1\r\n");
    });

    RealClock clock([] { QCoreApplication::processEvents(); });
    RecordingPrompts prompts;
    InstrumentLink link(clock, prompts);
    link.set_serial_port(std::make_unique<QtSerialPort>());
    SetupChoices choices;
    choices.model = InstrumentModel::KOR;
    choices.serial_device = pty.path;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    link.setup_rs232(choices);
    instrument.join();

    EXPECT_EQ(ping, "*IDN?\r\n");
    EXPECT_EQ(prompts.texts(), std::vector<std::string>{});
    ASSERT_EQ(choices.interface, Interface::RS232);
    termios t{};
    ASSERT_EQ(tcgetattr(pty.slave, &t), 0);
    EXPECT_EQ(cfgetospeed(&t), B1200);
    EXPECT_EQ(t.c_cflag & CRTSCTS, 0u);  // no handshaking

    pty.send("late\r\n");
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_TRUE(link.send_command("CRVHDR? 21", true));
    EXPECT_EQ(pty.line(), "CRVHDR? 21\r\n");
    pty.send("DT-470,123,2,475.000,1\r\n");
    EXPECT_EQ(link.read_reply(), "DT-470,123,2,475.000,1\r\n");
}

}  // namespace
}  // namespace kelvara
