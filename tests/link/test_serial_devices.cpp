// Which device each serial port number of the window reaches.
#include <gtest/gtest.h>

#include "link/serial_port.h"

namespace kelvara {
namespace {

TEST(SerialDevices, AdaptersFirstThenBuiltInPortsInNumericOrder) {
    std::vector<std::string> devices = {"/dev/ttyS10",  "/dev/ttyS2",  "/dev/tty0",    "/dev/ttyS0",
                                        "/dev/ttyACM0", "/dev/ttySx1", "/dev/ttyUSB1", "/dev/pts",
                                        "/dev/ttyUSB0", "/dev/ttyS"};
    sort_serial_devices(devices);
    const std::vector<std::string> ports = {"/dev/ttyUSB0", "/dev/ttyUSB1", "/dev/ttyACM0",
                                            "/dev/ttyS0",   "/dev/ttyS2",   "/dev/ttyS10"};
    EXPECT_EQ(devices, ports);
    for (std::size_t i = 0; i <= ports.size(); ++i)
        EXPECT_EQ(serial_device_for_port(static_cast<int>(i) + 1, devices),
                  i < ports.size() ? ports[i] : "");
    EXPECT_EQ(serial_device_for_port(0, devices), "");
}

}  // namespace
}  // namespace kelvara
