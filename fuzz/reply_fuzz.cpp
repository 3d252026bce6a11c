// Feeds arbitrary instrument replies to the catalogue and to every model's curve read, write and
// delete (see reply_harness.h for the input's layout). The sanitizers catch memory errors and
// undefined behaviour in the reply parsers; run_and_check what the procedures promise.
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <utility>

#include "curve/number_format.h"
#include "link/instrument_link.h"
#include "protocol/transfers.h"
#include "reply_harness.h"

namespace kelvara::fuzz {

namespace {

void check(bool ok, const char* what) {
    if (!ok) {
        std::fprintf(stderr, "promise broken: %s\n", what);
        std::abort();
    }
}

// A serial port whose far end answers each query line at once with the responder's text.
class ScriptedSerial : public SerialPort {
  public:
    explicit ScriptedSerial(const Responder& respond) : respond_(respond) {}
    bool open(int, const std::string&, const SerialSettings&) override { return open_ = true; }
    void close() override { open_ = false; }
    bool is_open() const override { return open_; }
    void discard_input() override { input_.clear(); }
    void write(const std::string& bytes) override {
        for (const char c : bytes) {
            if (c != '\r' && c != '\n') {
                line_ += c;
                continue;
            }
            if (line_.empty()) continue;
            const std::string reply = respond_(line_);
            if (is_query(line_)) input_ += reply;
            line_.clear();
        }
    }
    std::string take_input() override { return std::exchange(input_, std::string()); }
    std::string device_name(int) const override { return "scripted"; }

  private:
    const Responder& respond_;
    bool open_ = false;
    std::string line_, input_;
};

// A GPIB device that talks the responder's text after a query, with END on its last byte, and
// times out when it has nothing to say.
class ScriptedGpib : public GpibDriver {
  public:
    ScriptedGpib(const Responder& respond, Clock& clock) : respond_(respond), clock_(clock) {}
    int register_globals() override { return 0; }
    void unregister_globals() override {}
    int ibdev(int, int, int, int, int, int) override { return finish(kCmpl, 0), 1; }
    int ibclr(int) override { return finish(kCmpl, 0); }
    int ibwrt(int, const char* buffer, long count) override {
        std::string command(buffer, static_cast<std::size_t>(count));
        while (!command.empty() && (command.back() == '\n' || command.back() == '\r'))
            command.pop_back();
        reply_ = respond_(command);
        if (!is_query(command)) reply_.clear();
        return finish(kCmpl, count);
    }
    int ibrd(int, char* buffer, long count) override {
        if (reply_.empty()) {
            clock_.pause(10);
            return finish(kErr | kTimo, 0);
        }
        const std::size_t n = std::min(reply_.size(), static_cast<std::size_t>(count));
        std::copy_n(reply_.data(), n, buffer);
        reply_.erase(0, n);
        return finish(kCmpl | (reply_.empty() ? kEnd : 0), static_cast<long>(n));
    }
    int ibloc(int) override { return finish(kCmpl, 0); }
    int ibonl(int, int) override { return finish(kCmpl, 0); }
    std::int32_t thread_ibsta() override { return ibsta_; }
    std::int32_t thread_iberr() override { return ibsta_ & kErr ? 6 : 0; }
    std::int32_t thread_ibcntl() override { return ibcntl_; }

  private:
    static constexpr int kCmpl = 0x0100, kEnd = 0x2000, kTimo = 0x4000, kErr = 0x8000;
    int finish(int ibsta, long count) {
        ibsta_ = ibsta;
        ibcntl_ = static_cast<std::int32_t>(count);
        return ibsta;
    }
    const Responder& respond_;
    Clock& clock_;
    std::string reply_;
    int ibsta_ = 0;
    std::int32_t ibcntl_ = 0;
};

class NoProgress : public Progress {
  public:
    void set_label(const std::string& text) override { label_ = text; }
    std::string label() const override { return label_; }

  private:
    std::string label_;
};

class DefaultScaling : public ScalingDialog {
  public:
    std::optional<ScalingFactors> ask(int, const ScalingFactors& defaults) override {
        return defaults;
    }
};

class CountingViews : public Views {
  public:
    int redraws = 0;
    void update_graph() override { ++redraws; }
    void show_grid_from_top() override { ++redraws; }
};

// The curve number an entry of a pick list begins with.
double entry_number(const std::string& entry) {
    return parse_leading_number(entry);
}

}  // namespace

bool is_query(const std::string& command) {
    return command.find('?') != std::string::npos || command.rfind("XD", 0) == 0 || command == "W2";
}

ReplyRun decode_run(const std::uint8_t* data, std::size_t size) {
    ReplyRun run;
    const auto& models = model_profiles();
    if (size > 0) run.model = models[data[0] % models.size()].model;
    if (size > 1) {
        run.gpib = (data[1] & 1) != 0 && profile(run.model).gpib_allowed;
        run.procedure = static_cast<Procedure>((data[1] >> 1) & 3);
    }
    if (size > 2) run.entry = data[2];
    return run;
}

std::vector<std::string> decode_replies(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> replies;
    std::string reply;
    for (std::size_t i = 3; i < size; ++i) {
        if (data[i] != 0) {
            reply += static_cast<char>(data[i]);
            continue;
        }
        replies.push_back(std::exchange(reply, std::string()));
    }
    if (!reply.empty()) replies.push_back(reply);
    return replies;
}

std::string encode(const ReplyRun& run, const std::vector<std::string>& replies) {
    const auto& models = model_profiles();
    std::string out(3, '\0');
    for (std::size_t i = 0; i < models.size(); ++i)
        if (models[i].model == run.model) out[0] = static_cast<char>(i);
    out[1] = static_cast<char>((run.gpib ? 1 : 0) | (static_cast<int>(run.procedure) << 1));
    out[2] = static_cast<char>(run.entry);
    for (const std::string& r : replies) {
        out += r;
        out += '\0';
    }
    return out;
}

TransferResult run_and_check(const ReplyRun& run, const Responder& respond,
                             const std::function<void(Session&)>& before) {
    VirtualClock clock;
    RecordingPrompts prompts;
    InstrumentLink link(clock, prompts);
    SetupChoices setup;
    setup.model = run.model;
    if (run.gpib) {
        link.set_gpib_driver(std::make_unique<ScriptedGpib>(respond, clock));
        link.setup_488(setup);
    } else {
        link.set_serial_port(std::make_unique<ScriptedSerial>(respond));
        link.setup_rs232(setup);
    }
    check(clock.now() < 30, "the opening took longer than its two tries");

    // The window's state: a curve of its own that only a whole read may replace.
    CurveRecord curve = CurveRecord::for_model(run.model);
    HeaderFields header = HeaderFields::for_model(run.model);
    const bool hox = run.model == InstrumentModel::HOX;
    for (int k = 0; k < (hox ? curve.max_breakpoints : 3); ++k) {
        if (!hox) curve.sensor_units[k] = 0.1 * (k + 1);
        curve.temperatures[k] = 300.0 - k;
    }
    get_number_of_breakpoints(curve);
    header.name = "KEEP";
    header.serial_number = "K1";
    header.setpoint_text = "325";
    PickLists picks = PickLists::for_model(run.model);
    for (ListField* list : {&picks.read, &picks.write, &picks.remove})
        if (!list->entries.empty())
            list->selected = run.entry % static_cast<int>(list->entries.size());
    TransferState transfer;
    transfer.thermocouple_char = "K";
    NoProgress progress;
    DefaultScaling scaling;
    CountingViews views;
    Session session{setup, curve, header, picks, transfer, link, prompts, progress, scaling, views};
    if (before) before(session);

    const CurveRecord curve_before = curve;
    const HeaderFields header_before = header;
    const PickLists picks_before = picks;
    const std::string remembered = transfer.thermocouple_char;
    const double start = clock.now();
    const int sent_before = link.commands_sent();
    TransferResult result = TransferResult::Done;
    switch (run.procedure) {
        case Procedure::Read:
            result = run_read_transfer(session);
            break;
        case Procedure::Catalogue:
            result = grab_curve_names(session);
            break;
        case Procedure::Write:
            result = run_write_transfer(session);
            break;
        case Procedure::Delete:
            result = run_delete_transfer(session);
            break;
    }
    const int sent = link.commands_sent() - sent_before;
    const double took = clock.now() - start;

    // Each command is followed by at most its pause and one reply's 10 s of silence. A procedure
    // sends at most two commands a point (a write asks for free memory before each) and one a
    // location, and polls "BUSY?" a bounded number of times.
    const ModelProfile& p = profile(run.model);
    const int most_commands =
        2 * (p.max_breakpoints + static_cast<int>(p.read_locations.size())) + 100;
    check(sent <= most_commands, "more commands than the procedure can need");
    check(took <= 31.0 * (sent + 1), "more time than the commands sent can take");

    if (run.procedure != Procedure::Read) {
        // Entries are renamed, never added, removed or moved; a selection stays in its list.
        for (const auto& [now, then] : {std::pair{&picks.read, &picks_before.read},
                                        std::pair{&picks.write, &picks_before.write},
                                        std::pair{&picks.remove, &picks_before.remove}}) {
            check(now->entries.size() == then->entries.size(), "a pick list changed its length");
            for (std::size_t i = 0; i < now->entries.size(); ++i)
                check(entry_number(now->entries[i]) == entry_number(then->entries[i]),
                      "an entry lost its curve number");
            check(now->selected >= -1 && now->selected < static_cast<int>(now->entries.size()),
                  "a selection outside its list");
        }
        // Writers send the curve (or a scaled copy); none of them changes it.
        check(curve == curve_before, "a procedure other than a read changed the curve");
        if (run.procedure == Procedure::Catalogue)
            check(header == header_before, "the catalogue changed the header fields");
        return result;
    }
    if (result != TransferResult::Done) {
        check(curve == curve_before, "a failed read changed the curve");
        check(header == header_before, "a failed read changed the header fields");
        check(transfer.thermocouple_char == remembered, "a failed read changed what is kept");
        check(views.redraws == 0, "a failed read redrew the window");
        return result;
    }
    check(curve.max_breakpoints == curve_before.max_breakpoints &&
              curve.sensor_units.size() == curve_before.sensor_units.size() &&
              curve.temperatures.size() == curve_before.temperatures.size(),
          "a read changed the curve's capacity");
    check(curve.breakpoint_count >= 0 && curve.breakpoint_count <= curve.max_breakpoints,
          "breakpoint_count out of range");
    for (int i = curve.breakpoint_count; i < curve.max_breakpoints; ++i)
        check(curve.sensor_units[i] == UNUSED_POINT && curve.temperatures[i] == UNUSED_POINT,
              "an unused slot holds a value");
    return result;
}

}  // namespace kelvara::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace kelvara::fuzz;
    std::deque<std::string> replies;
    for (auto& r : decode_replies(data, size)) replies.push_back(std::move(r));
    const Responder respond = [&replies](const std::string& command) {
        if (replies.empty() || !is_query(command)) return std::string();
        std::string r = std::move(replies.front());
        replies.pop_front();
        return r;
    };
    run_and_check(decode_run(data, size), respond);
    return 0;
}
