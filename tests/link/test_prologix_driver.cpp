// The GPIB adapter driver against a scripted adapter on the virtual clock: the exact bytes of the
// opening, the escaping, reads with EOI, time-outs, the buffer and what lies past it, "++loc" on
// close, and every failure, on its own and under the link.
#include <gtest/gtest.h>

#include <deque>
#include <tuple>

#include "link/instrument_link.h"
#include "link/prologix_driver.h"

namespace kelvara {
namespace {

using Texts = std::vector<std::string>;
using Script = std::vector<std::pair<double, std::string>>;  // (seconds after "++read", bytes)
constexpr int CMPL = PrologixDriver::CMPL, END = PrologixDriver::END, TIMO = PrologixDriver::TIMO,
              ERR = PrologixDriver::ERR;

// Keeps everything the driver writes and answers "++ver" and "++read eoi" by script; the bytes
// it sends become readable when their time on the clock has come.
class ScriptedAdapter : public ByteStream {
  public:
    explicit ScriptedAdapter(VirtualClock& clock) : clock_(clock) {}

    std::string written;
    int ver_from = 1;            // the first "++ver" answered (0: none)
    int ver_upto = 999;          // the last one answered
    std::deque<Script> replies;  // one per "++read eoi"; none left: nothing comes
    bool can_open = true;
    int reads = 0;
    std::vector<double> loc_at;  // when each "++loc" arrived

    void send_at(double at, std::string bytes) { due_.push_back({at, std::move(bytes)}); }
    void hang_up() { open_ = false; }
    double gone_at = 1e9;  // the device or connection goes away then

    bool open() override { return open_ = can_open; }
    void close() override { open_ = false; }
    bool is_open() const override { return open_ && clock_.now() < gone_at; }
    bool write(const std::string& bytes) override {
        written += bytes;
        for (const char c : bytes) {
            const bool plain = std::exchange(escaped_, false) || (c != '\n' && c != 0x1B);
            if (plain) line_ += c;
            if (!plain && c == 0x1B) escaped_ = true;
            if (!plain && c == '\n') heard(std::exchange(line_, std::string()));
        }
        return open_;
    }
    std::string read(double) override {
        std::string out;  // in the order sent; what is not yet due stays
        std::erase_if(due_, [&](const auto& d) {
            return d.first <= clock_.now() && (out += d.second, true);
        });
        return out;
    }
    std::string error() const override { return can_open ? "" : "No such file or directory"; }
    std::string where() const override { return "/dev/ttyUSB0"; }

  private:
    void heard(const std::string& line) {
        const double now = clock_.now();
        if (line == "++ver" && ++vers_ >= ver_from && ver_from > 0 && vers_ <= ver_upto)
            send_at(now + 0.05, "Prologix GPIB-USB Controller version 6.101\r\n");
        if (line == "++loc") loc_at.push_back(now);
        if (line != "++read eoi") return;
        ++reads;
        if (replies.empty()) return;
        for (const auto& [after, bytes] : replies.front()) send_at(now + after, bytes);
        replies.pop_front();
    }

    VirtualClock& clock_;
    bool open_ = false;
    bool escaped_ = false;
    int vers_ = 0;
    std::string line_;
    std::vector<std::pair<double, std::string>> due_;
};

struct Rig {
    VirtualClock clock;
    ScriptedAdapter* adapter = new ScriptedAdapter(clock);
    PrologixDriver driver{std::unique_ptr<ByteStream>(adapter), clock};

    int open(int pad = 12) {
        const int ud = driver.ibdev(0, pad, 0, 13, 1, 0);
        adapter->written.clear();
        return ud;
    }
};

std::string opening(const std::string& address_line, const std::string& eoi_line = "++eoi 1") {
    std::string out = "++ver\n";
    for (const std::string s :
         {"++savecfg 0", "++mode 1", "++auto 0", eoi_line.c_str(), "++eos 3", "++eot_enable 1",
          "++eot_char 4", "++read_tmo_ms 1000", address_line.c_str()})
        out += s + "\n++ver\n";
    return out;
}

// Opening sets everything once the adapter answers; a failure names why, and nothing is sent for
// an address or a setting the adapter cannot take.
TEST(PrologixOpening, SetsEverythingOnceTheAdapterAnswersOrSaysWhyNot) {
    // ibdev's board, address, secondary address, time-out code, eot, eos; whether the adapter
    // opens, the "++ver" it answers from and up to; bytes sent, error ("": opened), seconds taken
    struct Row {
        int board, pad, sad, tmo, eot, eos, opens, ver_from, ver_upto;
        std::string sent, error;
        double seconds;
    };
    const std::string
        ver5 = "++ver\n++ver\n++ver\n++ver\n++ver\n",
        offers = "the adapter offers board 0 only, secondary addresses 96 to 126 and no EOS";
    const Row rows[] = {
        {0, 12, 0, 13, 1, 0, 1, 1, 99, opening("++addr 12"), "", 0.5},
        {0, 0, 0, 13, 1, 0, 1, 1, 99, opening("++addr 0"), "", 0.5},
        {0, 30, 96, 13, 0, 0, 1, 1, 99, opening("++addr 30 96", "++eoi 0"), "", 0.5},
        // An adapter that resets when its port opens answers only the third "++ver".
        {0, 12, 0, 13, 1, 0, 1, 3, 99, "++ver\n++ver\n" + opening("++addr 12"), "", 2.55},
        {0, 31, 0, 13, 1, 0, 1, 1, 9, "", "GPIB address 31 is not one of the adapter's 0 to 30", 0},
        {0, 32, 0, 13, 1, 0, 1, 1, 9, "", "GPIB address 32 is not one of the adapter's 0 to 30", 0},
        {1, 12, 0, 13, 1, 0, 1, 1, 9, "", offers, 0},
        {0, 12, 0, 13, 1, 0x140A, 1, 1, 9, "", offers, 0},
        {0, 12, 0, 0, 1, 0, 1, 1, 9, "", offers, 0},
        {0, 12, 0, 13, 1, 0, 0, 1, 9, "", "No such file or directory", 0},
        {0, 12, 0, 13, 1, 0, 1, 0, 0, ver5,
         "no reply to ++ver: no Prologix-compatible adapter there", 5.0},
        {0, 12, 0, 13, 1, 0, 1, 1, 1, "++ver\n++savecfg 0\n++ver\n",
         "the adapter stopped answering after \"++savecfg 0\"", 2.1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.error + row.sent);
        Rig rig;
        rig.adapter->can_open = row.opens;
        rig.adapter->ver_from = row.ver_from;
        rig.adapter->ver_upto = row.ver_upto;
        const bool opened = row.error.empty();
        if (opened) rig.adapter->send_at(0, "left by a reset\r\n");
        EXPECT_EQ(rig.driver.ibdev(row.board, row.pad, row.sad, row.tmo, row.eot, row.eos),
                  opened ? 1 : -1);
        EXPECT_EQ(rig.adapter->written, row.sent);
        EXPECT_EQ(rig.driver.error(), row.error);
        EXPECT_NEAR(rig.clock.now(), row.seconds, 0.1);
        EXPECT_EQ(rig.driver.thread_ibsta(), opened ? CMPL : ERR);
        EXPECT_TRUE(rig.clock.pauses.empty());  // waiting for bytes is no pause of the protocol
        if (opened) {
            EXPECT_EQ(rig.driver.version(), "Prologix GPIB-USB Controller version 6.101");
            continue;
        }
        EXPECT_FALSE(rig.adapter->is_open());
        EXPECT_EQ(rig.driver.thread_iberr(), row.opens && row.sent.empty() ? 4 : 0);
        EXPECT_EQ(rig.driver.ibwrt(1, "*IDN?", 5), ERR);  // nothing to write to
    }
}

TEST(PrologixTraffic, EscapesEveryByteTheAdapterWouldTakeForItself) {
    const std::pair<std::string, std::string> rows[] = {
        {"*IDN?", "*IDN?\n"},
        {"CRVHDR 21,\"N\"\r\n", "CRVHDR 21,\"N\"\x1b\r\x1b\n\n"},
        {"++loc", "\x1b+\x1b+loc\n"},
        {"XC01,+1.5*\x1b;\t", "XC01,\x1b+1.5*\x1b\x1b;\t\n"},
        {"", "\n"},
    };
    for (const auto& [data, line] : rows) {
        Rig rig;
        const int ud = rig.open();
        EXPECT_EQ(rig.driver.ibwrt(ud, data.data(), long(data.size())), CMPL);
        EXPECT_EQ(rig.driver.thread_ibcntl(), long(data.size()));
        EXPECT_EQ(rig.adapter->written, line);
    }
}

TEST(PrologixTraffic, ReadsToTheEndMarkWithinTheTimeOutAndFillsNoMoreThanTheBuffer) {
    // what the buffer holds (past it the spaces stay), "++read eoi" sent, seconds the read took
    struct Row {
        const char* name;
        std::deque<Script> replies;
        long count;
        std::string read;
        int ibsta, reads;
        double seconds;
    };
    const std::string x100(100, 'x');
    const auto silent = [](std::deque<Script> replies, std::size_t asks) {
        replies.resize(asks);  // nothing comes for the asks after the given replies
        return replies;
    };
    // clang-format off
    const Row rows[] = {
        {"whole", {{{0.02, "TESSALY,MODEL TAZ\r\n\x04"}}}, 80, "TESSALY,MODEL TAZ\r\n", CMPL | END, 1,
         0.03},
        {"pieces", {{{0.02, "AB"}, {0.5, "C\r\n"}, {0.9, "\x04"}}}, 80, "ABC\r\n", CMPL | END, 1,
         0.91},
        {"exactly the buffer", {{{0, "12345\x04"}}}, 5, "12345", CMPL | END, 1, 0.01},
        {"later than the adapter waits", {{}, {}, {{0.1, "late\r\n\x04"}}}, 80, "late\r\n",
         CMPL | END, 3, 2.5},
        {"silent", silent({}, 9), 80, "", ERR | TIMO, 9, 10.0},
        {"no EOI", silent({{{0, "abc\r\n"}}}, 9), 80, "abc\r\n", ERR | TIMO, 9, 10.0},
        {"past the buffer", {{{0, x100 + "\r\n\x04"}}}, 80, std::string(80, 'x'), CMPL, 1, 0.01},
        {"past the buffer without EOI", {{{0, x100}}}, 80, std::string(80, 'x'), CMPL, 1, 1.2},
        {"bytes after the mark", {{{0, "ok\r\n\x04stray"}}}, 80, "ok\r\n", CMPL | END, 1, 0.01},
    };
    // clang-format on
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Rig rig;
        const int ud = rig.open();
        rig.adapter->send_at(rig.clock.now(), "stale\r\n");  // left before the read
        rig.adapter->replies = row.replies;
        rig.adapter->replies.push_back({{0, "next\r\n\x04"}});
        std::string buffer(std::size_t(row.count), ' ');
        const double start = rig.clock.now();
        EXPECT_EQ(rig.driver.ibrd(ud, buffer.data(), row.count), row.ibsta);
        EXPECT_NEAR(rig.clock.now() - start, row.seconds, 0.02);
        EXPECT_EQ(buffer, row.read + std::string(buffer.size() - row.read.size(), ' '));
        EXPECT_EQ(rig.driver.thread_ibcntl(), long(row.read.size()));
        EXPECT_EQ(rig.driver.thread_iberr(), row.ibsta & TIMO ? 6 : 0);
        EXPECT_EQ(rig.adapter->reads, row.reads);
        // Whatever was left of this reply never reaches the next one.
        char next[80];
        rig.driver.ibrd(ud, next, sizeof next);
        EXPECT_EQ(std::string(next, std::size_t(rig.driver.thread_ibcntl())), "next\r\n");
    }
}

TEST(PrologixTraffic, ClearsAndReturnsToLocalOnCloseOnceTheAdapterIsFree) {
    Rig rig;
    const int ud = rig.open();
    EXPECT_EQ(rig.driver.ibclr(ud), CMPL);
    char buffer[80];
    rig.driver.ibrd(ud, buffer, 80);  // nothing comes; the adapter's last read outlasts ours
    const double gave_up = rig.clock.now();
    EXPECT_EQ(rig.driver.ibloc(ud), CMPL);
    EXPECT_EQ(rig.driver.ibonl(ud, 0), CMPL);
    std::string sent = "++clr\n";
    for (int i = 0; i < 9; ++i) sent += "++read eoi\n";
    EXPECT_EQ(rig.adapter->written, sent + "++loc\n");
    ASSERT_EQ(rig.adapter->loc_at.size(), 1u);
    EXPECT_GT(rig.adapter->loc_at[0], gave_up + 0.5);  // asked last at 9.6 s, free at 10.8 s
    EXPECT_FALSE(rig.adapter->is_open());
    EXPECT_EQ(rig.driver.ibwrt(ud, "*IDN?", 5), ERR);
}

TEST(PrologixTraffic, AnAdapterThatGoesAwayFailsTheNextCall) {
    Rig rig;
    const int ud = rig.open();
    rig.adapter->hang_up();
    EXPECT_EQ(rig.driver.ibwrt(ud, "*IDN?", 5), ERR);
    EXPECT_EQ(rig.driver.error(), "the connection to the adapter was lost");
    char buffer[80];
    EXPECT_EQ(rig.driver.ibrd(ud, buffer, 80), ERR);
    EXPECT_LT(rig.clock.now(), 1.0);
    EXPECT_EQ(rig.driver.failure(),
              "GPIB adapter /dev/ttyUSB0: the connection to the adapter was lost");

    // Going away during a read: a reply that came whole stands; one cut short is a failure at
    // once, not a time-out.
    for (const bool whole : {true, false}) {
        Rig r;
        const int d = r.open();
        r.adapter->replies.push_back({{0.01, whole ? "A,B\r\n\x04" : "A,"}});
        r.adapter->gone_at = r.clock.now() + 0.01;  // as the last bytes arrive
        EXPECT_EQ(r.driver.ibrd(d, buffer, 80), whole ? CMPL | END : ERR) << whole;
        EXPECT_EQ(r.driver.thread_iberr(), 0);  // EDVR
        EXPECT_EQ(r.driver.error().empty(), whole);
        EXPECT_LT(r.clock.now(), r.adapter->gone_at + 0.1);
    }
}

// Under the link: an instrument that is not there is an empty reply, which ends in the
// identification's messages after the read's 10 s.
TEST(PrologixUnderTheLink, AbsentInstrumentEndsOffline) {
    const std::string wrong =
        "Wrong model number received from instrument. Continuing to work offline.";
    const std::string improper =
        "Improper ping response from instrument. Continuing to work offline.";
    // model, reply to the ping, message, seconds
    const std::tuple<InstrumentModel, std::string, std::string, double> rows[] = {
        {InstrumentModel::TAZ, "TESSALY,MODEL TAZ,1,1\r\n\x04", "", 1.0},
        {InstrumentModel::TAZ, "", wrong, 11.0},
        {InstrumentModel::KIP, "", improper, 11.0},
    };
    for (const auto& [model, reply, message, seconds] : rows) {
        SCOPED_TRACE(message);
        VirtualClock clock;
        RecordingPrompts prompts;
        InstrumentLink link(clock, prompts);
        auto adapter = std::make_unique<ScriptedAdapter>(clock);
        ScriptedAdapter& peer = *adapter;
        if (!reply.empty()) peer.replies.push_back({{0.01, reply}});
        link.set_gpib_driver(std::make_unique<PrologixDriver>(std::move(adapter), clock));
        SetupChoices choices;
        choices.model = model;
        link.setup_488(choices);
        EXPECT_EQ(prompts.texts(), message.empty() ? Texts{} : Texts{message});
        EXPECT_EQ(choices.interface, message.empty() ? Interface::GPIB : Interface::None);
        EXPECT_NEAR(clock.now(), seconds, 0.6);
        if (!message.empty()) continue;
        // The reply reaches the protocols padded as the library's buffer is.
        peer.replies.push_back({{0.01, "1,2\r\n\x04"}});
        EXPECT_TRUE(link.send_command("CRVPT? 21,1", false));
        EXPECT_EQ(link.read_reply(10), "1,2\r\n     ");
        link.close();
        EXPECT_TRUE(peer.written.ends_with("CRVPT? 21,1\n++read eoi\n++loc\n")) << peer.written;
        EXPECT_FALSE(peer.is_open());
    }
}

TEST(PrologixHost, TakesAHostWithAnOptionalPort) {
    using Host = std::optional<std::pair<std::string, int>>;
    const std::pair<std::string, Host> rows[] = {
        {"lab-gpib", Host{{"lab-gpib", 1234}}},
        {" 192.168.1.50:5000 ", Host{{"192.168.1.50", 5000}}},
        {"[::1]:1235", Host{{"::1", 1235}}},
        {"[fe80::2]", Host{{"fe80::2", 1234}}},
        {"fe80::2", Host{{"fe80::2", 1234}}},
    };
    for (const auto& [text, host] : rows) EXPECT_EQ(parse_adapter_host(text), host) << text;
    for (const char* bad :
         {"", ":1234", "host:", "host:0", "host:65536", "host:12ab", "[::1", "two words"})
        EXPECT_EQ(parse_adapter_host(bad), std::nullopt) << bad;
}

}  // namespace
}  // namespace kelvara
