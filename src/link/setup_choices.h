// What the set-up dialogs decided. Written by the set-up dialogs (or the command line), read by
// everything that talks to the instrument or shapes the window.
#pragma once

#include <string>

#include "curve/model_profile.h"

namespace kelvara {

enum class Interface : int { GPIB = 0, RS232 = 1, None = 2 };

// How GPIB is reached: the driver library, or a Prologix-compatible adapter on a serial device
// (USB) or on the network.
enum class GpibRoute : int { Library = 0, UsbAdapter = 1, EthernetAdapter = 2 };

struct SetupChoices {
    InstrumentModel model = InstrumentModel::DAL;
    Interface interface = Interface::None;
    int gpib_address = 12;  // 1..32
    int serial_port = 1;    // 1..16
    bool simple_installation = true;
    bool proceed = false;

    // Our additions for Linux: a serial device path that wins over serial_port ("/dev/pts/3"),
    // and a GPIB library path that wins over the default search.
    std::string serial_device;
    std::string gpib_library;

    // GPIB through an adapter: the USB adapter is the adapter_port-th serial device (numbered as
    // serial_port) unless adapter_device names one; the Ethernet adapter is "HOST" or
    // "HOST:PORT" (port 1234 when not given).
    GpibRoute gpib_route = GpibRoute::Library;
    int adapter_port = 1;  // 1..16
    std::string adapter_device;
    std::string adapter_host;
};

}  // namespace kelvara
