// A header/point instrument procedure wired to a real InstrumentLink whose transports are
// scripted fakes: every byte sent and every pause lands in one time line, so a test reads the
// wire traffic the way an instrument would see it.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "curve/curve_record.h"
#include "curve/header_fields.h"
#include "link/clock.h"
#include "link/instrument_link.h"
#include "protocol/session.h"

namespace kelvara::test {

using Responder = std::function<std::string(const std::string& command)>;

struct Timeline {
    std::vector<std::string> events;  // sent bytes as they went out, or "pause 0.1"
    bool recording = false;
    void add(std::string e) {
        if (recording) events.push_back(std::move(e));
    }
};

class TimelineClock : public VirtualClock {
  public:
    explicit TimelineClock(Timeline& t) : timeline_(t) {}
    void pause(double seconds) override;

  private:
    Timeline& timeline_;
};

class FakeSerial : public SerialPort {
  public:
    FakeSerial(Timeline& t, Responder& r) : timeline_(t), respond_(r) {}
    bool open(int, const std::string&, const SerialSettings&) override { return open_ = true; }
    void close() override { open_ = false; }
    bool is_open() const override { return open_; }
    void discard_input() override { input_.clear(); }
    void write(const std::string& bytes) override;
    std::string take_input() override { return std::exchange(input_, std::string()); }
    std::string device_name(int) const override { return "fake"; }

  private:
    Timeline& timeline_;
    Responder& respond_;
    bool open_ = false;
    std::string input_, partial_;
};

class FakeGpib : public GpibDriver {
  public:
    FakeGpib(Timeline& t, Responder& r) : timeline_(t), respond_(r) {}
    int fail_write_number = -1;  // the n-th ibwrt (1-based, counted while recording) fails

    int register_globals() override { return 0; }
    void unregister_globals() override {}
    int ibdev(int, int, int, int, int, int) override { return status(0x100, 0), 3; }
    int ibclr(int) override { return status(0x100, 0); }
    int ibwrt(int, const char* buffer, long count) override;
    int ibrd(int, char* buffer, long count) override;
    int ibloc(int) override { return status(0x100, 0); }
    int ibonl(int, int) override { return status(0x100, 0); }
    std::int32_t thread_ibsta() override { return sta_; }
    std::int32_t thread_iberr() override { return 0; }
    std::int32_t thread_ibcntl() override { return cntl_; }

  private:
    int status(int sta, long cntl) {
        sta_ = sta;
        cntl_ = static_cast<std::int32_t>(cntl);
        return sta;
    }
    Timeline& timeline_;
    Responder& respond_;
    std::string reply_;
    int writes_ = 0;
    std::int32_t sta_ = 0, cntl_ = 0;
};

class NoScaling : public ScalingDialog {
  public:
    std::optional<ScalingFactors> ask(int, const ScalingFactors&) override { return std::nullopt; }
};

class CountingViews : public Views {
  public:
    int graphs = 0, grids = 0;
    void update_graph() override { ++graphs; }
    void show_grid_from_top() override { ++grids; }
};

// The header of every CRVHDR? reply and the points of every CRVPT? reply by default.
struct Rig {
    explicit Rig(InstrumentModel model);

    // Opens the link (identification answered by the responder) and starts recording.
    void connect(Interface i);
    Session& session() { return session_; }

    // Curve with the given (units, temperature) points, name, serial, format code and setpoint.
    void load_curve(const std::vector<std::pair<double, double>>& points);
    // Selects the entry of curve n in the list the procedure takes it from.
    void pick(ListField& list, int n);

    Timeline timeline;
    Responder respond;
    TimelineClock clock{timeline};
    RecordingPrompts prompts;
    SetupChoices setup;
    CurveRecord curve;
    HeaderFields header;
    PickLists picks;
    TransferState transfer;
    InstrumentLink link{clock, prompts};
    RecordingProgress progress;
    NoScaling scaling;
    CountingViews views;
    FakeGpib* gpib = nullptr;

  private:
    Session session_{setup, curve,   header,   picks,   transfer,
                     link,  prompts, progress, scaling, views};
};

}  // namespace kelvara::test
