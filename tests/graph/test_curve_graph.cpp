// The Qt Charts view of the curve and its printout, offscreen.
#include <QChart>
#include <QFile>
#include <QLegend>
#include <QLineSeries>
#include <QLogValueAxis>
#include <QPrinter>
#include <QTemporaryDir>
#include <QTextDocument>
#include <QValueAxis>
#include <QtTest>

#include "curve/data_format.h"
#include "graph/curve_graph.h"

using namespace kelvara;

Q_DECLARE_METATYPE(kelvara::AxisScale)

namespace {

QList<QLineSeries*> line_series(const CurveGraph& graph) {
    QList<QLineSeries*> out;
    for (QAbstractSeries* s : graph.chart()->series()) out << qobject_cast<QLineSeries*>(s);
    return out;
}

QAbstractAxis* axis(const CurveGraph& graph, Qt::Orientation orientation) {
    const auto axes = graph.chart()->axes(orientation);
    return axes.isEmpty() ? nullptr : axes.first();
}

// The chart title as it reads on screen (the title is rich text).
QString shown_title(const CurveGraph& graph) {
    QTextDocument document;
    document.setHtml(graph.chart()->title());
    return document.toPlainText();
}

HeaderFields taz_fields(const char* format) {
    HeaderFields fields = HeaderFields::for_model(InstrumentModel::TAZ);
    fields.data_format.selected = fields.data_format.find(format);
    fields.name = "CX-1050";
    fields.serial_number = "X98765";
    fields.setpoint_text = "325";
    return fields;
}

CurveRecord taz_curve(const QList<QPointF>& points) {
    CurveRecord curve = CurveRecord::for_model(InstrumentModel::TAZ);
    for (int i = 0; i < points.size(); ++i) {
        curve.temperatures[static_cast<std::size_t>(i)] = points[i].x();
        curve.sensor_units[static_cast<std::size_t>(i)] = points[i].y();
    }
    get_number_of_breakpoints(curve);
    return curve;
}

}  // namespace

class TestCurveGraph : public QObject {
    Q_OBJECT
  private slots:
    void log_axes_leave_out_non_positive_values_data();
    void log_axes_leave_out_non_positive_values();
    void empty_curve_shows_labelled_axes();
    void adjustment_draws_two_coloured_series_with_legend();
    void print_to_pdf_then_restore_screen_graph();
    void cancelled_print_still_restores_screen_graph();
};

void TestCurveGraph::log_axes_leave_out_non_positive_values_data() {
    QTest::addColumn<AxisScale>("x_scale");
    QTest::addColumn<AxisScale>("y_scale");
    QTest::addColumn<QList<QPointF>>("kept");

    // Points: (0, 5), (-2, 4), (10, 0), (100, -1), (1000, 2).
    using enum AxisScale;
    QTest::newRow("linear keeps all")
        << Linear << Linear << QList<QPointF>{{0, 5}, {-2, 4}, {10, 0}, {100, -1}, {1000, 2}};
    QTest::newRow("log x") << Logarithmic << Linear
                           << QList<QPointF>{{10, 0}, {100, -1}, {1000, 2}};
    QTest::newRow("log y") << Linear << Logarithmic << QList<QPointF>{{0, 5}, {-2, 4}, {1000, 2}};
    QTest::newRow("log both") << Logarithmic << Logarithmic << QList<QPointF>{{1000, 2}};
}

void TestCurveGraph::log_axes_leave_out_non_positive_values() {
    QFETCH(AxisScale, x_scale);
    QFETCH(AxisScale, y_scale);
    QFETCH(QList<QPointF>, kept);

    GraphSpec spec;
    spec.x_scale = x_scale;
    spec.y_scale = y_scale;
    spec.series.push_back({"", {{0, 5}, {-2, 4}, {10, 0}, {100, -1}, {1000, 2}}});
    CurveGraph graph;
    graph.render_spec(spec);

    const auto series = line_series(graph);
    QCOMPARE(series.size(), 1);
    QCOMPARE(series[0]->points(), kept);
    QCOMPARE(qobject_cast<QLogValueAxis*>(axis(graph, Qt::Horizontal)) != nullptr,
             x_scale == AxisScale::Logarithmic);
    QCOMPARE(qobject_cast<QLogValueAxis*>(axis(graph, Qt::Vertical)) != nullptr,
             y_scale == AxisScale::Logarithmic);
    // Every kept point lies inside both axis ranges.
    const auto range = [&](Qt::Orientation o) {
        QAbstractAxis* a = axis(graph, o);
        if (auto* log_axis = qobject_cast<QLogValueAxis*>(a))
            return std::pair{log_axis->min(), log_axis->max()};
        auto* value_axis = qobject_cast<QValueAxis*>(a);
        return std::pair{value_axis->min(), value_axis->max()};
    };
    const auto [x_low, x_high] = range(Qt::Horizontal);
    const auto [y_low, y_high] = range(Qt::Vertical);
    for (const QPointF& p : kept)
        QVERIFY(x_low <= p.x() && p.x() <= x_high && y_low <= p.y() && p.y() <= y_high);
}

void TestCurveGraph::empty_curve_shows_labelled_axes() {
    CurveGraph graph;
    QCOMPARE(graph.objectName(), QString("PesgoStd1"));
    const HeaderFields fields = taz_fields("Volts vs. Kelvin");
    graph.update_graph(InstrumentModel::TAZ, CurveRecord::for_model(InstrumentModel::TAZ), fields);
    QCOMPARE(axis(graph, Qt::Horizontal)->titleText(), QString("Temperature (Kelvin)"));
    QCOMPARE(axis(graph, Qt::Vertical)->titleText(), QString("Sensor Units (Volts)"));
    const auto series = line_series(graph);
    QCOMPARE(series.size(), 1);
    QCOMPARE(series[0]->count(), 0);
    QVERIFY(!graph.chart()->legend()->isVisible());
    QVERIFY(shown_title(graph).contains("Sensor Units versus Temperature"));
    QCOMPARE(graph.chart()->backgroundBrush().color(), QColor(Qt::white));
}

void TestCurveGraph::adjustment_draws_two_coloured_series_with_legend() {
    CurveGraph graph;
    const HeaderFields fields = taz_fields("Ohms vs. Kelvin");
    graph.update_graph(InstrumentModel::TAZ, taz_curve({{300, 100}, {77, 500}, {4, 9000}}), fields);
    // The adjustment removed a point that went below 0 K.
    const CurveRecord adjusted = taz_curve({{300, 100}, {77.5, 500}});
    graph.update_graph_series2(InstrumentModel::TAZ, adjusted, fields);
    auto series = line_series(graph);
    QCOMPARE(series.size(), 2);
    QCOMPARE(series[0]->name(), QString("Original"));
    QCOMPARE(series[1]->name(), QString("Adjusted"));
    QCOMPARE(series[0]->pen().color(), QColor(Qt::black));
    QCOMPARE(series[1]->pen().color(), kAdjustedSeriesColour);
    QCOMPARE(series[0]->points(), (QList<QPointF>{{300, 100}, {77, 500}, {4, 9000}}));
    QCOMPARE(series[1]->points(), (QList<QPointF>{{300, 100}, {77.5, 500}}));
    QVERIFY(graph.chart()->legend()->isVisible());

    // The next edit draws one series again.
    graph.update_graph(InstrumentModel::TAZ, adjusted, fields);
    series = line_series(graph);
    QCOMPARE(series.size(), 1);
    QCOMPARE(series[0]->count(), 2);
    QVERIFY(!graph.chart()->legend()->isVisible());
}

void TestCurveGraph::print_to_pdf_then_restore_screen_graph() {
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath("graph.pdf");
    CurveGraph graph;
    graph.resize(640, 480);
    const HeaderFields fields = taz_fields("Volts vs. Kelvin");
    const CurveRecord curve = taz_curve({{1.5, 1.6}, {77, 1.0}, {300, 0.5}});
    graph.update_graph(InstrumentModel::TAZ, curve, fields);

    QString title_while_printing;
    const bool printed = graph.print_graph(InstrumentModel::TAZ, curve, fields, nullptr,
                                           [&](QPrinter& printer, QWidget*) {
                                               title_while_printing = shown_title(graph);
                                               printer.setOutputFormat(QPrinter::PdfFormat);
                                               printer.setOutputFileName(path);
                                               return true;
                                           });
    QVERIFY(printed);
    QVERIFY(title_while_printing.contains("Curve: CX-1050  X98765"));
    QVERIFY(title_while_printing.contains("Setpoint Limit: 325"));
    QVERIFY(!title_while_printing.contains("Interploation"));
    QVERIFY(!title_while_printing.contains('|'));  // only the centre parts are shown

    QFile pdf(path);
    QVERIFY(pdf.open(QIODevice::ReadOnly));
    const QByteArray bytes = pdf.readAll();
    QVERIFY(bytes.startsWith("%PDF"));
    QVERIFY2(bytes.size() > 2000, qPrintable(QString::number(bytes.size())));

    QVERIFY(graph.spec().subtitle.empty());
    QVERIFY(!shown_title(graph).contains("Curve:"));
    QCOMPARE(line_series(graph).size(), 1);
}

void TestCurveGraph::cancelled_print_still_restores_screen_graph() {
    CurveGraph graph;
    const HeaderFields fields = taz_fields("Volts vs. Kelvin");
    const CurveRecord curve = taz_curve({{1.5, 1.6}, {300, 0.5}});
    graph.update_graph(InstrumentModel::TAZ, curve, fields);
    graph.update_graph_series2(InstrumentModel::TAZ, curve, fields);
    int series_while_asking = 0;
    const bool printed =
        graph.print_graph(InstrumentModel::TAZ, curve, fields, nullptr, [&](QPrinter&, QWidget*) {
            series_while_asking = line_series(graph).size();
            return false;
        });
    QVERIFY(!printed);
    QCOMPARE(series_while_asking, 2);  // printing keeps the number of series
    QVERIFY(graph.spec().extra_titles.empty());
    QCOMPARE(line_series(graph).size(), 1);
}

QTEST_MAIN(TestCurveGraph)
#include "test_curve_graph.moc"
