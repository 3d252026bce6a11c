// GPIB through a Prologix-compatible adapter (GPIB-USB, GPIB-ETHERNET, AR488): the NI-488.2 calls
// the link makes, carried out with the adapter's "++" lines over a byte stream. The link and every
// procedure above it run unchanged: the same bytes reach the instrument with EOI on the last, a
// read fills the caller's buffer as ibrd does and times out after the ibdev time-out, and the
// status words follow the library's.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "link/byte_stream.h"
#include "link/clock.h"
#include "link/gpib_driver.h"

namespace kelvara {

class PrologixDriver : public InProcessGpibDriver {
  public:
    PrologixDriver(std::unique_ptr<ByteStream> stream, Clock& clock);
    ~PrologixDriver() override;
    PrologixDriver(const PrologixDriver&) = delete;
    PrologixDriver& operator=(const PrologixDriver&) = delete;

    // Opens the stream, identifies the adapter and sets everything the link relies on. Only board
    // 0, no EOS (eos 0) and time-out codes 1 to 17 are possible; addresses outside 0 to 30 are
    // refused before anything is opened. -1 on failure, with error() telling why.
    int ibdev(int board, int pad, int sad, int tmo, int eot, int eos) override;
    int ibclr(int ud) override;
    int ibwrt(int ud, const char* buffer, long count) override;
    int ibrd(int ud, char* buffer, long count) override;
    int ibloc(int ud) override;
    int ibonl(int ud, int online) override;

    // Where the adapter was looked for ("/dev/ttyUSB0", "lab-gpib:1234").
    std::string where() const { return stream_->where(); }
    // Why the last ibdev failed, or the stream broke afterwards ("" while all is well).
    const std::string& error() const { return error_; }
    // "GPIB adapter WHERE: " and the error, once the stream broke.
    std::string failure() const override;
    // The adapter's answer to "++ver" once identified.
    const std::string& version() const { return version_; }

    // How long "++ver" is tried after the port opens (an Arduino-based adapter resets then and
    // answers a second or two later), and how long one try waits for the answer.
    static constexpr double kIdentifySeconds = 5.0;
    static constexpr double kVerWait = 1.0;
    // How long the adapter may take to act on one setting (it may be writing its memory).
    static constexpr double kSettleWait = 2.0;
    // The adapter's own read time-out. It counts from the last byte, so the host asks again
    // once the line has been quiet a little longer than that; the ibdev time-out stays ours.
    static constexpr int kAdapterReadMs = 1000;
    static constexpr double kAskAgainAfter = 1.2;
    // Appended by the adapter where the instrument asserted EOI: EOT, which no reply holds.
    static constexpr char kEndMark = 4;
    // One pass of every wait: short enough to keep a window painted, long enough not to spin.
    static constexpr double kPoll = 0.01;

  private:
    bool valid(int ud) const { return open_ && ud == kDescriptor; }
    bool identify();
    bool set(const std::string& setting);
    bool send_line(const std::string& line);
    std::string await_line(double seconds);
    void wait_until_adapter_free();
    void lost();

    static constexpr int kDescriptor = 1;

    std::unique_ptr<ByteStream> stream_;
    Clock& clock_;
    bool open_ = false;
    double timeout_ = 10;
    // Until then the adapter may still be in a read the host gave up on; it acts on nothing
    // else meanwhile.
    double busy_until_ = 0;
    std::string error_;
    std::string version_;
};

// The data bytes of one line to the adapter: CR, LF, ESC and "+" each preceded by ESC, so that
// they reach the instrument as bytes and a line never reads as a "++" command.
std::string prologix_escape(std::string_view data);

// The Ethernet adapter's TCP port unless another is given.
inline constexpr int kAdapterTcpPort = 1234;

// "HOST", "HOST:PORT", "[V6ADDRESS]:PORT" or a bare IPv6 address -> host and port; nullopt when
// the text is none of these (empty host, port not 1 to 65535).
std::optional<std::pair<std::string, int>> parse_adapter_host(std::string_view text);

// "HOST:PORT" for a host and port parse_adapter_host gave, an IPv6 address in brackets.
std::string adapter_host_text(const std::string& host, int port);

}  // namespace kelvara
