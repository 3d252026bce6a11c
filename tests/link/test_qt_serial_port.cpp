// The Qt serial port on a real pseudo-terminal, with the real clock: the link opens a simulated
// instrument that answers in pieces, and the model's speed reaches the terminal.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <termios.h>
#include <unistd.h>

#include <QCoreApplication>
#include <thread>

#include "link/instrument_link.h"
#include "link/qt/qt_serial_port.h"
#include "sim/pty_server.h"

namespace kelvara {
namespace {

TEST(QtSerialPort, LinkOpensAnInstrumentOnAPseudoTerminal) {
    int argc = 1;
    char name[] = "test_link";
    char* argv[] = {name, nullptr};
    QCoreApplication app(argc, argv);
    sim::Instrument instrument(InstrumentModel::KOR);
    instrument.faults.split_pieces = 3;
    sim::PtyServer server(instrument);
    ASSERT_TRUE(server.open());
    std::thread serving([&] { server.serve(); });

    RealClock clock([] { QCoreApplication::processEvents(); });
    RecordingPrompts prompts;
    InstrumentLink link(clock, prompts);
    link.set_serial_port(std::make_unique<QtSerialPort>());
    SetupChoices choices;
    choices.model = InstrumentModel::KOR;
    choices.serial_device = server.slave_path();
    link.setup_rs232(choices);
    EXPECT_EQ(choices.interface, Interface::RS232) << ::testing::PrintToString(prompts.texts());
    termios line{};
    const int fd = ::open(server.slave_path().c_str(), O_RDONLY | O_NOCTTY);
    EXPECT_EQ(tcgetattr(fd, &line), 0);
    EXPECT_EQ(cfgetospeed(&line), B1200);
    ::close(fd);

    server.stop();
    serving.join();
}

}  // namespace
}  // namespace kelvara
