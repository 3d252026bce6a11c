// The graph's titles, labels, scales and series as the three redraws leave them.
#include <QtTest>

#include "curve/data_format.h"
#include "graph/graph_description.h"

using namespace kelvara;

Q_DECLARE_METATYPE(kelvara::InstrumentModel)

namespace {

CurveRecord curve_with(InstrumentModel model, const QList<double>& temperatures) {
    CurveRecord curve = CurveRecord::for_model(model);
    for (int i = 0; i < temperatures.size(); ++i) {
        curve.sensor_units[static_cast<std::size_t>(i)] = 100.0 + i;
        curve.temperatures[static_cast<std::size_t>(i)] = temperatures[i];
    }
    get_number_of_breakpoints(curve);
    return curve;
}

// The window's fields for the model with the data-format list showing the five formats and
// `format` selected ("" selects nothing).
HeaderFields fields_with(InstrumentModel model, const QString& format) {
    HeaderFields fields = HeaderFields::for_model(model);
    fields.data_format.entries.clear();
    for (int code = 1; code <= 5; ++code)
        fields.data_format.entries.emplace_back(data_format_name(code));
    fields.data_format.selected = fields.data_format.find(format.toStdString());
    return fields;
}

}  // namespace

class TestGraphDescription : public QObject {
    Q_OBJECT
  private slots:
    void labels_and_scales_data();
    void labels_and_scales();
    void print_titles_data();
    void print_titles();
};

void TestGraphDescription::labels_and_scales_data() {
    QTest::addColumn<InstrumentModel>("model");
    QTest::addColumn<QString>("format");
    QTest::addColumn<QList<double>>("temperatures");
    QTest::addColumn<QString>("x_label");
    QTest::addColumn<QString>("y_label");
    QTest::addColumn<bool>("x_log");
    QTest::addColumn<bool>("y_log");

    const QList<double> rising{1.5, 10, 100, 300};
    const QList<double> falling{300, 100, 10, 1.5};
    const QString kelvin = "Temperature (Kelvin)";
    using M = InstrumentModel;
    // clang-format off
    QTest::newRow("millivolts") << M::TAZ << "MilliVolts vs. Kelvin" << rising << kelvin << "Sensor Units (MilliVolts)" << false << false;
    QTest::newRow("volts, empty curve") << M::DAL << "Volts vs. Kelvin" << QList<double>{} << kelvin << "Sensor Units (Volts)" << false << false;
    QTest::newRow("ohms falling") << M::TAZ << "Ohms vs. Kelvin" << falling << kelvin << "Sensor Units (Ohms)" << true << true;
    QTest::newRow("ohms rising") << M::TAZ << "Ohms vs. Kelvin" << rising << kelvin << "Sensor Units (Ohms)" << false << false;
    QTest::newRow("ohms one point") << M::TAZ << "Ohms vs. Kelvin" << QList<double>{4.2} << kelvin << "Sensor Units (Ohms)" << true << true;
    QTest::newRow("ohms equal ends") << M::MEP << "Ohms vs. Kelvin" << QList<double>{5, 1, 5} << kelvin << "Sensor Units (Ohms)" << false << false;
    QTest::newRow("log ohms vs kelvin") << M::GIR << "Log Ohms vs. Kelvin" << falling << kelvin << "Sensor Units (Log Ohms)" << true << false;
    QTest::newRow("log ohms vs log kelvin") << M::TAZ << "Log Ohms vs. Log Kelvin" << falling << "Temperature (Log Kelvin)" << "Sensor Units (Log Ohms)" << false << false;
    QTest::newRow("no format selected") << M::TAZ << "" << falling << "Temperature" << "Sensor Units" << false << false;
    // The older models and HOX have no data-format list: linear, plain "Sensor Units".
    QTest::newRow("KIP") << M::KIP << "Ohms vs. Kelvin" << falling << kelvin << "Sensor Units" << false << false;
    QTest::newRow("NAV") << M::NAV << "MilliVolts vs. Kelvin" << rising << kelvin << "Sensor Units" << false << false;
    QTest::newRow("HOX") << M::HOX << "Log Ohms vs. Kelvin" << falling << kelvin << "Sensor Units" << false << false;
    // clang-format on
}

void TestGraphDescription::labels_and_scales() {
    QFETCH(InstrumentModel, model);
    QFETCH(QString, format);
    QFETCH(QList<double>, temperatures);
    QFETCH(QString, x_label);
    QFETCH(QString, y_label);
    QFETCH(bool, x_log);
    QFETCH(bool, y_log);

    GraphState state;
    const CurveRecord curve = curve_with(model, temperatures);
    // The stored coefficient is not what decides the ohms scales.
    const int stored_coefficient = curve.temperature_coefficient;
    const GraphSpec& spec = state.update_graph(model, curve, fields_with(model, format));
    QCOMPARE(QString::fromStdString(spec.x_label), x_label);
    QCOMPARE(QString::fromStdString(spec.y_label), y_label);
    QCOMPARE(spec.x_scale == AxisScale::Logarithmic, x_log);
    QCOMPARE(spec.y_scale == AxisScale::Logarithmic, y_log);
    QCOMPARE(QString::fromStdString(spec.main_title), QString("Sensor Units versus Temperature"));
    QVERIFY(spec.subtitle.empty());
    QVERIFY(spec.extra_titles.empty());
    QCOMPARE(spec.series.size(), std::size_t{1});
    QList<double> xs;
    for (const GraphPoint& p : spec.series[0].points) xs << p.x;
    QCOMPARE(xs, temperatures);
    if (!xs.isEmpty()) QCOMPARE(spec.series[0].points.back().y, 100.0 + xs.size() - 1);
    QCOMPARE(curve.temperature_coefficient, stored_coefficient);
}

void TestGraphDescription::print_titles_data() {
    QTest::addColumn<InstrumentModel>("model");
    QTest::addColumn<QStringList>("extra_lines");

    QTest::newRow("KIP: setpoint list and interpolation")
        << InstrumentModel::KIP
        << QStringList{"|Setpoint Limit: 375|", "|Interploation Method: Straight Line|"};
    QTest::newRow("TAZ: setpoint text only")
        << InstrumentModel::TAZ << QStringList{"|Setpoint Limit: 475.5|"};
    QTest::newRow("HOX: no setpoint field")
        << InstrumentModel::HOX << QStringList{"|Setpoint Limit: |"};
    QTest::newRow("NAV: list, interpolation list hidden")
        << InstrumentModel::NAV << QStringList{"|Setpoint Limit: 375|"};
}

void TestGraphDescription::print_titles() {
    QFETCH(InstrumentModel, model);
    QFETCH(QStringList, extra_lines);

    HeaderFields fields = HeaderFields::for_model(model);
    fields.name = "CX-1050";
    fields.serial_number = "X98765";
    fields.setpoint_text = "475.5";
    fields.setpoint_list.selected = fields.setpoint_list.find("375");
    fields.interpolation.selected = fields.interpolation.find("Straight Line");

    GraphState state;
    const CurveRecord curve = curve_with(model, {300, 77, 4.2});
    const GraphSpec& spec = state.update_graph_for_print(model, curve, fields);
    QCOMPARE(QString::fromStdString(spec.subtitle), QString("Curve: CX-1050  X98765"));
    QStringList got;
    for (const auto& line : spec.extra_titles) got << QString::fromStdString(line);
    QCOMPARE(got, extra_lines);
    QCOMPARE(spec.series[0].points.size(), std::size_t{3});

    // The next screen redraw drops the print titles again.
    state.update_graph(model, curve, fields);
    QVERIFY(state.spec().subtitle.empty());
    QVERIFY(state.spec().extra_titles.empty());
}

QTEST_APPLESS_MAIN(TestGraphDescription)
#include "test_graph_description.moc"
