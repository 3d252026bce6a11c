// Which device each serial port number of the window reaches.
#include <gtest/gtest.h>

#include "link/serial_port.h"

namespace kelvara {
namespace {

TEST(SerialDevices, AdaptersFirstThenBuiltInPortsInNumericOrder) {
    struct Row {
        const char* name;
        std::vector<std::string> present;
        std::vector<std::string> ordered;
    };
    const Row rows[] = {
        {"BuiltInOnly",
         {"/dev/ttyS10", "/dev/ttyS2", "/dev/ttyS0", "/dev/ttyS1"},
         {"/dev/ttyS0", "/dev/ttyS1", "/dev/ttyS2", "/dev/ttyS10"}},
        {"AdaptersFirst",
         {"/dev/ttyS0", "/dev/ttyACM0", "/dev/ttyUSB1", "/dev/ttyUSB0"},
         {"/dev/ttyUSB0", "/dev/ttyUSB1", "/dev/ttyACM0", "/dev/ttyS0"}},
        {"OtherNodesIgnored",
         {"/dev/tty0", "/dev/ttyS", "/dev/ttySx1", "/dev/pts", "/dev/ttyprintk", "/dev/ttyS3"},
         {"/dev/ttyS3"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        auto devices = row.present;
        sort_serial_devices(devices);
        EXPECT_EQ(devices, row.ordered);
        for (std::size_t i = 0; i < row.ordered.size(); ++i)
            EXPECT_EQ(serial_device_for_port(static_cast<int>(i) + 1, devices), row.ordered[i]);
        EXPECT_EQ(serial_device_for_port(0, devices), "");
        EXPECT_EQ(serial_device_for_port(static_cast<int>(row.ordered.size()) + 1, devices), "");
    }
}

}  // namespace
}  // namespace kelvara
