#include "link/qt/qt_tcp_stream.h"

#include <cmath>
#include <tuple>

#include "link/prologix_driver.h"

namespace kelvara {

namespace {
constexpr int kWriteWaitMs = 2000;
constexpr int kCloseWaitMs = 1000;
}  // namespace

QtTcpStream::QtTcpStream(std::string host_and_port) : given_(std::move(host_and_port)) {
    if (const auto parsed = parse_adapter_host(given_)) std::tie(host_, port_) = *parsed;
}

QtTcpStream::~QtTcpStream() {
    close();
}

std::string QtTcpStream::where() const {
    if (host_.empty()) return given_.empty() ? std::string("no host") : given_;
    return adapter_host_text(host_, port_);
}

bool QtTcpStream::open() {
    close();
    if (host_.empty()) {
        error_ = given_.empty() ? "no host name or address given"
                                : "not a host name or address with an optional :PORT";
        return false;
    }
    socket_.connectToHost(QString::fromStdString(host_), static_cast<quint16>(port_));
    if (!socket_.waitForConnected(kConnectWaitMs)) {
        error_ = socket_.error() == QAbstractSocket::SocketTimeoutError
                     ? std::string("no connection within 3 s")
                     : socket_.errorString().toStdString();
        socket_.abort();
        return false;
    }
    socket_.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    error_.clear();
    return true;
}

void QtTcpStream::close() {
    if (socket_.state() == QAbstractSocket::UnconnectedState) return;
    // Lets what was written last ("++loc") leave before the connection ends.
    socket_.disconnectFromHost();
    if (socket_.state() != QAbstractSocket::UnconnectedState)
        socket_.waitForDisconnected(kCloseWaitMs);
    socket_.abort();
}

bool QtTcpStream::is_open() const {
    return socket_.state() == QAbstractSocket::ConnectedState;
}

bool QtTcpStream::write(const std::string& bytes) {
    if (!is_open()) return false;
    if (socket_.write(bytes.data(), static_cast<qint64>(bytes.size())) !=
        static_cast<qint64>(bytes.size())) {
        error_ = socket_.errorString().toStdString();
        return false;
    }
    while (socket_.bytesToWrite() > 0)
        if (!socket_.waitForBytesWritten(kWriteWaitMs)) {
            error_ = socket_.errorString().toStdString();
            return false;
        }
    return true;
}

std::string QtTcpStream::read(double wait_seconds) {
    if (!is_open() && socket_.bytesAvailable() == 0) return {};
    if (socket_.bytesAvailable() == 0)
        socket_.waitForReadyRead(static_cast<int>(std::lround(wait_seconds * 1000)));
    const QByteArray data = socket_.readAll();
    if (socket_.state() != QAbstractSocket::ConnectedState && error_.empty())
        error_ = "the adapter closed the connection";
    return std::string(data.constData(), static_cast<std::size_t>(data.size()));
}

}  // namespace kelvara
