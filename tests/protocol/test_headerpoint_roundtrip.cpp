// Round trips against the simulated instrument: a curve written to a user location reads back
// point for point with its header, and the catalogue then names it in all three pick lists.
#include <gtest/gtest.h>

#include "curve/data_format.h"
#include "protocol/catalogue.h"
#include "protocol/transfers.h"
#include "sim/instrument.h"
#include "sim/sim_transports.h"

namespace kelvara {
namespace {

class NoScaling : public ScalingDialog {
  public:
    std::optional<ScalingFactors> ask(int, const ScalingFactors&) override { return std::nullopt; }
};

struct Bench {
    explicit Bench(InstrumentModel model, Interface i)
        : instrument(model),
          curve(CurveRecord::for_model(model)),
          header(HeaderFields::for_model(model)),
          picks(PickLists::for_model(model)) {
        setup.model = model;
        if (i == Interface::GPIB) {
            link.set_gpib_driver(std::make_unique<sim::SimGpibDriver>(instrument, clock));
            link.setup_488(setup);
        } else {
            link.set_serial_port(std::make_unique<sim::SimSerialPort>(instrument, clock));
            link.setup_rs232(setup);
        }
    }
    sim::Instrument instrument;
    VirtualClock clock;
    RecordingPrompts prompts;
    SetupChoices setup;
    CurveRecord curve;
    HeaderFields header;
    PickLists picks;
    TransferState transfer;
    InstrumentLink link{clock, prompts};
    RecordingProgress progress;
    NoScaling scaling;
    Views views;
    Session session{setup, curve, header, picks, transfer, link, prompts, progress, scaling, views};
};

struct Row {
    InstrumentModel model;
    Interface interface;
};

class RoundTrip : public ::testing::TestWithParam<Row> {};

TEST_P(RoundTrip, WrittenCurveReadsBackAndIsCatalogued) {
    const Row row = GetParam();
    const std::vector<std::pair<double, double>> points = {
        {1.23456, 0.85}, {0.09062, 300.0}, {1500.5, 475.0}, {0.5, 1234.56}};

    Bench w(row.model, row.interface);
    ASSERT_EQ(w.setup.interface, row.interface) << ::testing::PrintToString(w.prompts.texts());
    for (size_t k = 0; k < points.size(); ++k) {
        w.curve.sensor_units[k] = points[k].first;
        w.curve.temperatures[k] = points[k].second;
    }
    get_number_of_breakpoints(w.curve);
    w.header.name = "ROUND TRIP";
    w.header.serial_number = "SN-42";
    w.header.setpoint_text = "325.5";
    w.header.data_format.selected = w.header.data_format.find("Ohms vs. Kelvin");
    const std::string n = w.picks.write.entries.back();  // the last user location
    w.picks.write.selected = w.picks.remove.selected =
        static_cast<int>(w.picks.write.entries.size()) - 1;
    run_write_transfer(w.session);
    EXPECT_TRUE(w.prompts.shown.empty()) << ::testing::PrintToString(w.prompts.texts());
    EXPECT_EQ(w.picks.write.text(), n + " - ROUND TRIP  SN-42");

    // A fresh window on the same instrument reads it back.
    Bench r(row.model, row.interface);
    r.instrument.load_state(w.instrument.save_state());
    r.picks.read.selected = find_entry_by_number(r.picks.read, std::stoi(n));
    run_read_transfer(r.session);
    EXPECT_TRUE(r.prompts.shown.empty()) << ::testing::PrintToString(r.prompts.texts());
    ASSERT_EQ(r.curve.breakpoint_count, static_cast<int>(points.size()));
    for (size_t k = 0; k < points.size(); ++k) {
        EXPECT_DOUBLE_EQ(r.curve.sensor_units[k], points[k].first) << k;
        EXPECT_DOUBLE_EQ(r.curve.temperatures[k], points[k].second) << k;
    }
    EXPECT_EQ(r.curve.sensor_units[points.size()], UNUSED_POINT);
    EXPECT_EQ(r.header.name, "ROUND TRIP");
    EXPECT_EQ(r.header.serial_number, "SN-42");
    EXPECT_EQ(r.header.setpoint_text, "325.5");
    EXPECT_EQ(data_format_from_selection(r.header), OHMS_VS_KELVIN);
    EXPECT_EQ(r.curve.temperature_coefficient, 2);

    grab_curve_names(r.session);
    const std::string entry = n + " - ROUND TRIP  SN-42";
    EXPECT_NE(r.picks.read.find(entry), -1);
    EXPECT_EQ(r.picks.write.entries.back(), entry);
    EXPECT_EQ(r.picks.remove.entries.back(), entry);

    // Erasing it leaves an unnamed location behind.
    r.picks.remove.selected = static_cast<int>(r.picks.remove.entries.size()) - 1;
    run_delete_transfer(r.session);
    EXPECT_EQ(r.picks.remove.text(), n + " -   ");
    EXPECT_EQ(r.instrument.curve(std::stoi(n)), nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Models, RoundTrip,
    ::testing::Values(
        Row{InstrumentModel::TAZ, Interface::GPIB}, Row{InstrumentModel::TAZ, Interface::RS232},
        Row{InstrumentModel::DAL, Interface::RS232}, Row{InstrumentModel::FEN, Interface::GPIB},
        Row{InstrumentModel::FEN, Interface::RS232}, Row{InstrumentModel::MEP, Interface::GPIB},
        Row{InstrumentModel::OBR, Interface::RS232}, Row{InstrumentModel::PIX, Interface::GPIB},
        Row{InstrumentModel::QUA_RIL, Interface::GPIB},
        Row{InstrumentModel::QUA_RIL, Interface::RS232}, Row{InstrumentModel::GIR, Interface::GPIB},
        Row{InstrumentModel::VEM, Interface::RS232}, Row{InstrumentModel::WUN, Interface::GPIB},
        Row{InstrumentModel::ZEK, Interface::RS232}),
    [](const auto& info) {
        std::string name(designation(info.param.model));
        if (name == "QUA/RIL") name = "QUA_RIL";
        return name + (info.param.interface == Interface::GPIB ? "_GPIB" : "_RS232");
    });

// The older catalogues against the simulator's "CUID?" and "XDT" replies: a stored curve is
// named in the read list and, at a user location, in the write and delete lists.
TEST(OlderCatalogue, NamesStoredCurves) {
    for (auto [model, location] :
         {std::pair{InstrumentModel::NAV, 12}, std::pair{InstrumentModel::KOR, 11},
          std::pair{InstrumentModel::KIP, 9}, std::pair{InstrumentModel::ELK, 31}}) {
        SCOPED_TRACE(std::string(designation(model)));
        for (Interface i : {Interface::GPIB, Interface::RS232}) {
            if (i == Interface::GPIB && !profile(model).gpib_allowed) continue;
            Bench b(model, i);
            ASSERT_EQ(b.setup.interface, i);
            sim::SimCurve curve;
            curve.header = "S10MYCURVE12SN9";
            curve.points = {{"1.00000", "300.0"}, {"2.00000", "200.0"}};
            b.instrument.store(location, curve);
            grab_curve_names(b.session);
            // The entry keeps the number as the instrument wrote it ("XDT" writes two digits).
            const bool xdt = profile(model).catalogue == CatalogueQuery::Xdt;
            const std::string entry =
                (xdt && location < 10 ? "0" : "") + std::to_string(location) + " - MYCURVE12";
            EXPECT_EQ(b.picks.read.entries[find_entry_by_number(b.picks.read, location)], entry);
            EXPECT_EQ(b.picks.write.entries[find_entry_by_number(b.picks.write, location)], entry);
            EXPECT_EQ(b.picks.remove.entries[find_entry_by_number(b.picks.remove, location)],
                      entry);
            EXPECT_TRUE(b.prompts.shown.empty());
        }
    }
}

}  // namespace
}  // namespace kelvara
