#include "link/qt/real_transports.h"

#include "link/qt/qt_serial_port.h"
#include "link/qt/qt_serial_stream.h"
#include "link/qt/qt_tcp_stream.h"

namespace kelvara {

void RealTransports::attach(InstrumentLink& link, const SetupChoices& choices) {
    library_error_.clear();
    adapter_ = nullptr;
    if (choices.interface == Interface::RS232) {
        // A USB adapter may hold the very device the serial port is about to open.
        link.set_gpib_driver(nullptr);
        auto port = std::make_unique<QtSerialPort>();
        serial_ = port.get();
        link.set_serial_port(std::move(port));
        return;
    }
    if (choices.interface != Interface::GPIB) return;
    link.set_serial_port(nullptr);
    serial_ = nullptr;
    std::unique_ptr<ByteStream> stream;
    switch (choices.gpib_route) {
        case GpibRoute::Library:
            link.set_gpib_driver(load_gpib_library(choices.gpib_library, &library_error_));
            return;
        case GpibRoute::UsbAdapter:
            stream = std::make_unique<QtSerialStream>(
                choices.adapter_device.empty() ? serial_device_for_port(choices.adapter_port)
                                               : choices.adapter_device,
                choices.adapter_port);
            break;
        case GpibRoute::EthernetAdapter:
            stream = std::make_unique<QtTcpStream>(choices.adapter_host);
            break;
    }
    auto driver = std::make_unique<PrologixDriver>(std::move(stream), link.clock());
    adapter_ = driver.get();
    link.set_gpib_driver(std::move(driver));
}

std::string RealTransports::failure() const {
    if (!adapter_ || adapter_->error().empty()) return {};
    return "GPIB adapter " + adapter_->where() + ": " + adapter_->error();
}

std::string RealTransports::serial_error() const {
    return serial_ ? serial_->error() : std::string();
}

}  // namespace kelvara
