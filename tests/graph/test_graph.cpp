// The curve graph: labels and scales by model and data format, titles, series and printing.
#include <QLegend>
#include <QLineSeries>
#include <QPrinter>
#include <QtTest>

#include "graph_fixture.h"

using namespace kelvara;
using namespace kelvara::test;
using M = InstrumentModel;

namespace {

// Sensor units 100, 101 ... at the given temperatures.
CurveRecord curve_with(InstrumentModel model, const std::vector<double>& temperatures) {
    std::vector<GraphPoint> points;
    for (double t : temperatures) points.push_back({t, 100.0 + double(points.size())});
    return curve_of(model, points);
}

QList<QPointF> drawn(const CurveGraph& graph, int series) {
    return qobject_cast<QLineSeries*>(graph.chart()->series().at(series))->points();
}

}  // namespace

class TestGraph : public QObject {
    Q_OBJECT
  private slots:
    void labels_and_scales();
    void draws_the_series();
    void prints_titles_to_pdf();
};

void TestGraph::labels_and_scales() {
    // model, selected format, temperatures, "x label | y label | x scale y scale"
    // clang-format off
    const std::tuple<M, const char*, std::vector<double>, const char*> rows[] = {
        {M::TAZ, "MilliVolts vs. Kelvin", {1.5, 10, 100, 300}, "Temperature (Kelvin) | Sensor Units (MilliVolts) | lin lin"},
        {M::DAL, "Volts vs. Kelvin", {}, "Temperature (Kelvin) | Sensor Units (Volts) | lin lin"},
        // Resistance falling as the sensor warms spans decades on both axes.
        {M::TAZ, "Ohms vs. Kelvin", {300, 100, 10, 1.5}, "Temperature (Kelvin) | Sensor Units (Ohms) | log log"},
        {M::TAZ, "Ohms vs. Kelvin", {1.5, 10, 100, 300}, "Temperature (Kelvin) | Sensor Units (Ohms) | lin lin"},
        {M::TAZ, "Ohms vs. Kelvin", {4.2}, "Temperature (Kelvin) | Sensor Units (Ohms) | log log"},
        {M::GIR, "Log Ohms vs. Kelvin", {300, 100, 10, 1.5}, "Temperature (Kelvin) | Sensor Units (Log Ohms) | log lin"},
        {M::TAZ, "Log Ohms vs. Log Kelvin", {300, 100, 10, 1.5}, "Temperature (Log Kelvin) | Sensor Units (Log Ohms) | lin lin"},
        {M::TAZ, "", {300, 100, 10, 1.5}, "Temperature | Sensor Units | lin lin"},
        // The older models have no data-format list.
        {M::KIP, "Ohms vs. Kelvin", {300, 100, 10, 1.5}, "Temperature (Kelvin) | Sensor Units | lin lin"}};
    // clang-format on
    const auto scale = [](AxisScale s) { return s == AxisScale::Logarithmic ? "log" : "lin"; };
    for (const auto& [model, format, temperatures, expected] : rows) {
        GraphState state;
        const GraphSpec& spec =
            state.update_graph(model, curve_with(model, temperatures), fields_of(model, format));
        const std::string got = spec.x_label + " | " + spec.y_label + " | " + scale(spec.x_scale) +
                                " " + scale(spec.y_scale);
        QCOMPARE(QString::fromStdString(got), QString(expected));
    }
}

void TestGraph::draws_the_series() {
    // An adjustment shows the curve before and after it; the next redraw shows one series.
    const HeaderFields fields = HeaderFields::for_model(M::TAZ);
    const CurveRecord adjusted = curve_with(M::TAZ, {300, 77.5});
    CurveGraph graph;
    graph.update_graph(M::TAZ, curve_with(M::TAZ, {300, 77, 4}), fields);
    graph.update_graph_series2(M::TAZ, adjusted, fields);
    const auto series = graph.chart()->series();
    QCOMPARE(series.size(), 2);
    QCOMPARE(series[0]->name() + " " + series[1]->name(), QString("Original Adjusted"));
    QCOMPARE(drawn(graph, 0), (QList<QPointF>{{300, 100}, {77, 101}, {4, 102}}));
    QCOMPARE(drawn(graph, 1), (QList<QPointF>{{300, 100}, {77.5, 101}}));
    QVERIFY(graph.chart()->legend()->isVisible());

    graph.update_graph(M::TAZ, adjusted, fields);
    QCOMPARE(graph.chart()->series().size(), 1);
    QVERIFY(!graph.chart()->legend()->isVisible());

    // A logarithmic axis leaves out points whose value on it is 0 or below.
    GraphSpec spec;
    spec.series = {{"", {{0, 5}, {-2, 4}, {10, 0}, {100, -1}, {1000, 2}}}};
    // x scale, y scale, points drawn; the linear axis keeps its values of 0 or below
    using enum AxisScale;
    const std::tuple<AxisScale, AxisScale, QList<QPointF>> rows[] = {
        {Logarithmic, Linear, {{10, 0}, {100, -1}, {1000, 2}}},
        {Linear, Logarithmic, {{0, 5}, {-2, 4}, {1000, 2}}}};
    for (const auto& [x_scale, y_scale, kept] : rows) {
        spec.x_scale = x_scale;
        spec.y_scale = y_scale;
        graph.render_spec(spec);
        QCOMPARE(drawn(graph, 0), kept);
    }
}

void TestGraph::prints_titles_to_pdf() {
    QTemporaryDir dir;
    // The setpoint comes from the list (KIP), the text field (TAZ) or nowhere (HOX). A name
    // holds bytes of the files' code page: 0xB0 is the degree sign.
    const std::tuple<M, const char*, QStringList> rows[] = {
        {M::KIP, "CX-1050", {"|Setpoint Limit: 375|", "|Interploation Method: Straight Line|"}},
        {M::TAZ, "CX-1050", {"|Setpoint Limit: 475.5|"}},
        {M::HOX, "CX-1050", {"|Setpoint Limit: |"}},
        {M::TAZ, "PT100 \xb0K", {"|Setpoint Limit: 475.5|"}}};
    for (const auto& [model, name, lines] : rows) {
        HeaderFields fields = HeaderFields::for_model(model);
        fields.name = name;
        fields.serial_number = "X98765";
        fields.setpoint_text = "475.5";
        fields.setpoint_list.selected = fields.setpoint_list.find("375");
        fields.interpolation.selected = fields.interpolation.find("Straight Line");
        const QString path = dir.filePath(QString("%1.pdf").arg(static_cast<int>(model)));
        CurveGraph graph;
        QStringList titles;
        QString title_shown;
        const auto to_pdf = [&](QPrinter& printer, QWidget*) {
            titles << QString::fromLatin1(graph.spec().subtitle);
            for (const auto& line : graph.spec().extra_titles) titles << line.c_str();
            title_shown = graph.chart()->title();
            printer.setOutputFormat(QPrinter::PdfFormat);
            printer.setOutputFileName(path);
            return true;
        };
        QVERIFY(graph.print_graph(model, curve_with(model, {4, 77}), fields, nullptr, to_pdf));
        const QString shown_name = QString::fromLatin1(name);
        QCOMPARE(titles, QStringList{"Curve: " + shown_name + "  X98765"} + lines);
        // Only the centre parts of the title lines are shown.
        QVERIFY2(title_shown.contains(QString(shown_name).replace(' ', "&nbsp;")) &&
                     !title_shown.contains('|'),
                 qPrintable(title_shown));
        QFile pdf(path);
        QVERIFY(pdf.open(QIODevice::ReadOnly));
        QVERIFY(pdf.read(4) == "%PDF" && pdf.size() > 2000);
        // The screen graph is back without the print titles.
        QVERIFY(graph.spec().subtitle.empty() && graph.spec().extra_titles.empty());
    }
}

QTEST_MAIN(TestGraph)
#include "test_graph.moc"
