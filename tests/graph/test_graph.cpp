// The curve graph: labels and scales by model and data format, series, print titles; and the
// graph as a tool: breakpoint markers, the value under the pointer, zoom and export.
#include <QAction>
#include <QCategoryAxis>
#include <QLabel>
#include <QLegend>
#include <QLineSeries>
#include <QPrinter>
#include <QSvgRenderer>
#include <QTemporaryDir>
#include <QtTest>
#include <cmath>

#include "graph/curve_graph.h"

using namespace kelvara;
using M = InstrumentModel;

namespace {

struct Row {
    M model;
    const char* format;
    std::vector<GraphPoint> points;  // temperature, sensor units
};

}  // namespace
Q_DECLARE_METATYPE(Row)
namespace {

// A curve of the given points (temperature, sensor units).
CurveRecord curve_of(M model, const std::vector<GraphPoint>& points) {
    CurveRecord curve = CurveRecord::for_model(model);
    for (std::size_t i = 0; i < points.size(); ++i) {
        curve.temperatures[i] = points[i].x;
        curve.sensor_units[i] = points[i].y;
    }
    get_number_of_breakpoints(curve);
    return curve;
}

// Sensor units 100, 101 ... at the given temperatures.
CurveRecord curve_with(M model, const std::vector<double>& temperatures) {
    std::vector<GraphPoint> points;
    for (double t : temperatures) points.push_back({t, 100.0 + double(points.size())});
    return curve_of(model, points);
}

// The model's fields, offered the one data format given (so that only the model decides).
HeaderFields fields_of(M model, const char* format) {
    HeaderFields fields = HeaderFields::for_model(model);
    fields.data_format.entries = {format};
    fields.data_format.selected = 0;
    return fields;
}

// A shown graph of 640 x 480 with the row's curve.
struct Shown {
    CurveGraph graph;
    explicit Shown(const Row& row) {
        graph.resize(640, 480);
        graph.update_graph(row.model, curve_of(row.model, row.points),
                           fields_of(row.model, row.format));
        graph.show();
        if (!QTest::qWaitForWindowExposed(&graph)) qFatal("graph not shown");
    }
};

// Diodes, thermocouples, falling and rising resistors, log formats, an older model.
// clang-format off
const std::pair<const char*, Row> kFormats[] = {
    {"millivolts", {M::TAZ, "MilliVolts vs. Kelvin", {{4, -6.2}, {77, -4.1}, {200, -1.3}, {300, 1.2}}}},
    {"volts", {M::TAZ, "Volts vs. Kelvin", {{1.4, 1.66}, {20, 1.1}, {77.35, 1.02}, {300, 0.52}}}},
    {"ohms falling", {M::TAZ, "Ohms vs. Kelvin", {{300, 60}, {100, 180}, {10, 2100}, {1.5, 35000}}}},
    {"ohms rising", {M::TAZ, "Ohms vs. Kelvin", {{20, 2.3}, {77, 20.4}, {200, 73.6}, {300, 110}}}},
    {"log ohms", {M::GIR, "Log Ohms vs. Kelvin", {{300, 1.8}, {40, 2.6}, {4, 3.4}, {0.5, 4.3}}}},
    {"log ohms log kelvin", {M::TAZ, "Log Ohms vs. Log Kelvin", {{2.48, 1.8}, {1.6, 2.6}, {0.6, 3.4}, {-0.3, 4.3}}}},
    {"older model", {M::KIP, "", {{10, 1.4}, {100, 1.0}, {250, 0.7}, {400, 0.3}}}},
};
// clang-format on

// Whether (nearly) every pixel of the disc of radius 2 about c has the colour: a marker of 7
// pixels covers it, a line of 1.5 does not. Only the part inside the plot counts: a marker on
// the plot's edge is cut there.
bool marked(const QImage& image, const QRectF& plot, QPointF c, QColor colour) {
    int near = 0, all = 0;
    for (int y = int(c.y()) - 3; y <= int(c.y()) + 3; ++y)
        for (int x = int(c.x()) - 3; x <= int(c.x()) + 3; ++x) {
            const QPointF p(x + 0.5, y + 0.5);
            if (std::hypot(p.x() - c.x(), p.y() - c.y()) > 2.0 || !plot.contains(p)) continue;
            const QColor is = image.pixelColor(x, y);
            ++all;
            near += std::abs(is.red() - colour.red()) + std::abs(is.green() - colour.green()) +
                        std::abs(is.blue() - colour.blue()) <
                    90;
        }
    return near >= all - 1;
}

// Checks every breakpoint of each series for its marker, and the line halfway between two
// breakpoints for none.
void check_markers(CurveGraph& g, const std::vector<std::vector<GraphPoint>>& series) {
    const QRectF plot = g.plot_rect();
    QTest::qWait(1);  // the axes of the redraws before are deleted from the event loop
    const QImage image = g.grab().toImage();
    const QColor colours[] = {kOriginalSeriesColour, kAdjustedSeriesColour};
    const auto at = [&](GraphPoint p) { return g.position_of(p.x, p.y); };
    for (std::size_t k = 0; k < series.size(); ++k) {
        QVERIFY(static_cast<QLineSeries*>(g.chart()->series().at(int(k)))->pointsVisible());
        const auto& points = series[k];
        for (std::size_t i = 0; i < points.size(); ++i) {
            QVERIFY2(marked(image, plot, at(points[i]), colours[k]),
                     qPrintable(QStringLiteral("series %1 point %2").arg(k).arg(i + 1)));
            if (i + 1 < points.size())
                QVERIFY(!marked(image, plot, (at(points[i]) + at(points[i + 1])) / 2, colours[k]));
        }
    }
}

QList<QPointF> drawn(const CurveGraph& graph, int series) {
    return qobject_cast<QLineSeries*>(graph.chart()->series().at(series))->points();
}

void wheel(CurveGraph& g, QPointF at, int delta) {
    QWheelEvent event(at, g.viewport()->mapToGlobal(at), QPoint(), QPoint(0, delta), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(g.viewport(), &event);
}

// The window's width in axis positions (decades on a log axis).
double span(const AxisWindow& w, AxisScale scale) {
    return axis_position(w.high, scale) - axis_position(w.low, scale);
}

}  // namespace

class TestGraph : public QObject {
    Q_OBJECT
    QTemporaryDir dir_;

  private slots:
    void initTestCase() { QLocale::setDefault(QLocale::c()); }

    void labels_and_scales() {
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
            const GraphSpec& spec = state.update_graph(model, curve_with(model, temperatures),
                                                       fields_of(model, format));
            QCOMPARE(QString::fromStdString(spec.x_label + " | " + spec.y_label + " | " +
                                            scale(spec.x_scale) + " " + scale(spec.y_scale)),
                     QString(expected));
        }
    }

    void draws_the_series() {
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

        // A logarithmic axis leaves out points whose value on it is 0 or below; the linear axis
        // keeps its values of 0 or below.
        GraphSpec spec;
        spec.series = {{"", {{0, 5}, {-2, 4}, {10, 0}, {100, -1}, {1000, 2}}}};
        using enum AxisScale;
        const std::tuple<AxisScale, AxisScale, QList<QPointF>> rows[] = {
            {Logarithmic, Linear, {{10, 0}, {100, -1}, {1000, 2}}},
            {Linear, Logarithmic, {{0, 5}, {-2, 4}, {1000, 2}}}};
        for (const auto& [x_scale, y_scale, kept] : rows) {
            std::tie(spec.x_scale, spec.y_scale) = std::tuple{x_scale, y_scale};
            graph.render_spec(spec);
            QCOMPARE(drawn(graph, 0), kept);
        }
    }

    void prints_titles_to_pdf() {
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
            const QString path = dir_.filePath(QString("%1.pdf").arg(static_cast<int>(model)));
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
            QVERIFY(pdf.open(QIODevice::ReadOnly) && pdf.read(4) == "%PDF" && pdf.size() > 2000);
            // The screen graph is back without the print titles.
            QVERIFY(graph.spec().subtitle.empty() && graph.spec().extra_titles.empty());
        }
    }

    void markers_on_every_breakpoint_data() {
        QTest::addColumn<Row>("row");
        for (const auto& [name, row] : kFormats) QTest::newRow(name) << row;
    }
    void markers_on_every_breakpoint() {
        QFETCH(Row, row);
        Shown s(row);
        check_markers(s.graph, {row.points});
        // The adjusted view marks both series, each in its own colour; the adjusted curve is
        // moved clear above the original so that neither line covers the other's markers.
        const AxisScale y_scale = s.graph.spec().y_scale;
        const double height = span(s.graph.full_y_window(), y_scale);
        auto adjusted = row.points;
        for (auto& p : adjusted) p.y = axis_value(axis_position(p.y, y_scale) + height, y_scale);
        s.graph.update_graph_series2(row.model, curve_of(row.model, adjusted),
                                     fields_of(row.model, row.format));
        QCOMPARE(s.graph.chart()->series().size(), 2);
        check_markers(s.graph, {row.points, adjusted});
    }

    void value_under_the_pointer_data() {
        QTest::addColumn<Row>("row");
        QTest::addColumn<int>("point");     // 1-based; 0: between point 1 and 2
        QTest::addColumn<QString>("text");  // shown near that place
        QTest::newRow("volts") << kFormats[1].second << 3 << "Point 3\n1.02 Volts\n77.35 K";
        QTest::newRow("millivolts") << kFormats[0].second << 1 << "Point 1\n-6.2 MilliVolts\n4 K";
        QTest::newRow("log ohms") << kFormats[4].second << 2
                                  << "Point 2\n2.6 Log Ohms (398.107 Ohms)\n40 K";
        QTest::newRow("log kelvin") << kFormats[5].second << 4
                                    << "Point 4\n4.3 Log Ohms (19952.6 Ohms)\n"
                                       "-0.3 Log Kelvin (0.501187 K)";
        QTest::newRow("older model") << kFormats[6].second << 2 << "Point 2\n1 sensor units\n100 K";
        // Halfway between two points of a log-log plot lies their geometric mean.
        QTest::newRow("line, log axes") << Row{M::TAZ, "Ohms vs. Kelvin", {{100, 100}, {10, 1000}}}
                                        << 0 << "Between points 1 and 2\n316.228 Ohms\n31.6228 K";
        QTest::newRow("line, linear axes")
            << kFormats[1].second << 0 << "Between points 1 and 2\n1.38 Volts\n10.7 K";
    }
    void value_under_the_pointer() {
        QFETCH(Row, row);
        QFETCH(int, point);
        QFETCH(QString, text);
        Shown s(row);
        const auto at = [&](int p) {
            return s.graph.position_of(row.points[p].x, row.points[p].y);
        };
        // A pixel or two off still finds the breakpoint.
        const QPointF pos = point > 0 ? at(point - 1) + QPointF(2, -1) : (at(0) + at(1)) / 2;
        QCOMPARE(s.graph.value_text_at(pos), text);
        // The label follows the pointer (to the pixel) and stays inside the graph.
        QLabel* label = s.graph.value_label();
        QTest::mouseMove(s.graph.viewport(), pos.toPoint());
        QTRY_VERIFY(label->isVisible());
        QCOMPARE(label->text().section('\n', 0, 0), text.section('\n', 0, 0));
        QVERIFY(s.graph.rect().contains(label->geometry()));

        // Away from the curve (the plot's corner farthest from every breakpoint) the place
        // itself is shown, with the same units.
        const QRectF plot = s.graph.plot_rect();
        const auto clearance = [&](QPointF c) {
            double nearest = 1e9;
            for (int i = 0; i < int(row.points.size()); ++i)
                nearest = std::min(nearest, QLineF(c, at(i)).length());
            return nearest;
        };
        QList<QPointF> corners{plot.topLeft(), plot.topRight(), plot.bottomLeft(),
                               plot.bottomRight()};
        for (QPointF& c : corners) c += (plot.center() - c) / 50;
        const QPointF away = *std::max_element(corners.begin(), corners.end(), [&](auto a, auto b) {
            return clearance(a) < clearance(b);
        });
        const QString elsewhere = s.graph.value_text_at(away);
        QVERIFY(!elsewhere.isEmpty() && !elsewhere.contains("Point") &&
                !elsewhere.contains("Between"));
        QCOMPARE(elsewhere.section('\n', 0, 0).section(' ', 1, 1),
                 text.section('\n', 1, 1).section(' ', 1, 1));
        QCOMPARE(elsewhere.section(' ', -1), text.section(' ', -1));
        // Outside the plot there is nothing to show, and leaving the graph hides the label.
        QCOMPARE(s.graph.value_text_at(QPointF(2, 2)), QString());
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(s.graph.viewport(), &leave);
        QVERIFY(!label->isVisible());
    }

    void wheel_zoom_and_reset_data() {
        QTest::addColumn<Row>("row");
        QTest::addColumn<QString>("reset");  // how the full curve comes back
        QTest::newRow("linear, Home key") << kFormats[1].second << "home";
        QTest::newRow("log log, double click") << kFormats[2].second << "double click";
        QTest::newRow("log x, context menu") << kFormats[4].second << "menu";
    }
    void wheel_zoom_and_reset() {
        QFETCH(Row, row);
        QFETCH(QString, reset);
        Shown s(row);
        CurveGraph& g = s.graph;
        const AxisWindow full_x = g.x_window(), full_y = g.y_window();
        const GraphSpec& spec = g.spec();
        const GraphPoint anchor = row.points[1];
        const QPointF pos = g.position_of(anchor.x, anchor.y);

        // Two notches in: each axis shows 0.8 x 0.8 of its span (in decades on a log axis), and
        // the breakpoint under the pointer stays under it.
        wheel(g, pos, 240);
        QVERIFY(g.zoomed());
        QCOMPARE(span(g.x_window(), spec.x_scale) / span(full_x, spec.x_scale), 0.64);
        QCOMPARE(span(g.y_window(), spec.y_scale) / span(full_y, spec.y_scale), 0.64);
        const QPointF after = g.position_of(anchor.x, anchor.y);
        QVERIFY2(QLineF(after, pos).length() < 0.5,
                 qPrintable(QStringLiteral("%1,%2").arg(after.x()).arg(after.y())));
        // A zoomed log axis still labels round values (a log axis alone would label none inside
        // a decade): between 3 and 10 labels, all inside the window.
        wheel(g, pos, 120 * 8);
        for (auto [scale, orientation, window] :
             {std::tuple{spec.x_scale, Qt::Horizontal, g.x_window()},
              std::tuple{spec.y_scale, Qt::Vertical, g.y_window()}}) {
            if (scale != AxisScale::Logarithmic) continue;
            QVERIFY(std::log10(window.high / window.low) < 1);
            QCategoryAxis* labels = nullptr;
            for (QAbstractAxis* a : g.chart()->axes(orientation))
                if (a->isVisible()) labels = qobject_cast<QCategoryAxis*>(a);
            QVERIFY(labels && labels->count() >= 3 && labels->count() <= 10);
            for (const QString& l : labels->categoriesLabels())
                QVERIFY(l.toDouble() >= window.low && l.toDouble() <= window.high);
        }

        // Zooming out stops at the full curve.
        wheel(g, pos, -120 * 40);
        QVERIFY(!g.zoomed());
        wheel(g, pos, 360);
        if (reset == "home") {
            QTest::keyClick(&g, Qt::Key_Home);
        } else if (reset == "double click") {
            QTest::mouseDClick(g.viewport(), Qt::LeftButton, {}, pos.toPoint());
        } else {
            QAction* action = g.findChild<QAction*>("actionResetZoom");
            QVERIFY(action && action->isEnabled() && g.actions().contains(action));
            action->trigger();
            QVERIFY(!action->isEnabled());
        }
        QVERIFY(!g.zoomed());
        QCOMPARE(g.x_window(), full_x);
        QCOMPARE(g.y_window(), full_y);
        // The axes the graph had before the zoom are back, with their own labels.
        for (QAbstractAxis* a : g.chart()->axes())
            QCOMPARE(a->isVisible(), !qobject_cast<QCategoryAxis*>(a));
    }

    void rubber_band_zoom() {
        // Linear and log-log: dragging from one breakpoint to another shows just the rectangle
        // between them, each edge within a pixel; a drag of two pixels does not zoom.
        for (const Row& row : {kFormats[1].second, kFormats[2].second}) {
            Shown s(row);
            CurveGraph& g = s.graph;
            const GraphPoint a = row.points[1], b = row.points[2];
            const QPoint from = g.position_of(a.x, a.y).toPoint();
            const auto drag = [&](QPoint to) {
                QTest::mousePress(g.viewport(), Qt::LeftButton, {}, from);
                QTest::mouseMove(g.viewport(), to);
                QTest::mouseRelease(g.viewport(), Qt::LeftButton, {}, to);
            };
            drag(from + QPoint(2, 2));
            QVERIFY(!g.zoomed());
            const AxisScale xs = g.spec().x_scale, ys = g.spec().y_scale;
            const double x_pixel = span(g.x_window(), xs) / g.plot_rect().width();
            const double y_pixel = span(g.y_window(), ys) / g.plot_rect().height();
            drag(g.position_of(b.x, b.y).toPoint());
            QVERIFY(g.zoomed());
            // shown, wanted, scale, one pixel in axis positions
            const std::tuple<double, double, AxisScale, double> edges[] = {
                {g.x_window().low, std::min(a.x, b.x), xs, x_pixel},
                {g.x_window().high, std::max(a.x, b.x), xs, x_pixel},
                {g.y_window().low, std::min(a.y, b.y), ys, y_pixel},
                {g.y_window().high, std::max(a.y, b.y), ys, y_pixel}};
            for (const auto& [shown, wanted, scale, pixel] : edges)
                QVERIFY(std::abs(axis_position(shown, scale) - axis_position(wanted, scale)) <=
                        pixel);
        }
    }

    void zoom_across_redraws() {
        const Row row = kFormats[1].second;
        Shown s(row);
        CurveGraph& g = s.graph;
        const HeaderFields volts = fields_of(row.model, row.format);
        g.zoom_to(QRectF(g.position_of(20, 1.2), g.position_of(100, 0.9)));
        const AxisWindow x = g.x_window(), y = g.y_window();
        // An edited point: the view stays where the user looks.
        auto edited = row.points;
        edited[2].y = 1.03;
        g.update_graph(row.model, curve_of(row.model, edited), volts);
        QVERIFY(g.x_window() == x && g.y_window() == y);
        // A curve with nothing in view, or other scales, shows the whole curve.
        g.update_graph(row.model, curve_of(row.model, {{300, 5}, {400, 6}}), volts);
        QVERIFY(!g.zoomed());
        g.zoom_to(QRectF(g.position_of(320, 5.6), g.position_of(380, 5.2)));
        QVERIFY(g.zoomed());
        g.update_graph(M::TAZ, curve_of(M::TAZ, {{350, 5.5}, {300, 5.7}}),
                       fields_of(M::TAZ, "Ohms vs. Kelvin"));
        QVERIFY(g.spec().x_scale == AxisScale::Logarithmic && !g.zoomed());
    }

    void log_axis_labels() {
        // window, labels: decades (thinned when many), 1-2-5, 1..9, then round linear steps
        const std::pair<AxisWindow, std::vector<double>> rows[] = {
            {{1e-3, 1e9}, {0.01, 1, 100, 1e4, 1e6, 1e8}},
            {{1, 1000}, {1, 10, 100, 1000}},
            {{3, 60}, {5, 10, 20, 50}},
            {{1.5, 9}, {2, 3, 4, 5, 6, 7, 8, 9}},
            {{21, 61}, {30, 40, 50, 60}},
            {{4.02, 4.4}, {4.05, 4.1, 4.15, 4.2, 4.25, 4.3, 4.35, 4.4}}};
        for (const auto& [window, labels] : rows) {
            const std::vector<double> got = log_ticks(window);
            QCOMPARE(got.size(), labels.size());
            for (std::size_t i = 0; i < got.size(); ++i) QCOMPARE(got[i], labels[i]);
        }
        // Neighbouring labels differ in their text however close the zoom.
        const AxisWindow narrow{300.0001, 300.0009};
        const double step = nice_step(narrow.high - narrow.low, 4);
        QCOMPARE(step, 0.0002);
        QCOMPARE(QString::number(300.0002, 'g', label_digits(narrow, step)), QString("300.0002"));
        // Zooming stops at a millionth of the values shown.
        const AxisWindow tight{300, 300.0004};
        QCOMPARE(zoom_about(tight, {0, 500}, AxisScale::Linear, 300.0002, 0.5), tight);
    }

    void export_names_images_and_menu() {
        using F = GraphImageFormat;
        Shown s(kFormats[2].second);
        CurveGraph& g = s.graph;
        wheel(g, g.position_of(100, 180), 360);
        QTest::mouseMove(g.viewport(), g.position_of(100, 180).toPoint());
        QVERIFY(g.value_label()->isVisible());

        const QString png = dir_.filePath("graph.png");
        QCOMPARE(g.export_image(png, F::Png), QString());
        QImage image(png);
        QCOMPARE(image.size(), g.size());
        // What is shown, zoom included, without the pointer's label; and not a blank image.
        g.value_label()->hide();
        const QImage shown = g.grab().toImage().convertToFormat(image.format());
        int differ = 0, dark = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) {
                differ += image.pixel(x, y) != shown.pixel(x, y);
                dark += qGray(image.pixel(x, y)) < 128;
            }
        QVERIFY2(differ < image.width() * image.height() / 100 && dark > 1000,
                 qPrintable(QStringLiteral("%1 differ, %2 dark").arg(differ).arg(dark)));

        const QString svg = dir_.filePath("graph.svg");
        QCOMPARE(g.export_image(svg, F::Svg), QString());
        // A valid drawing of the graph's size that holds the axis titles as text.
        QFile file(svg);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray xml = file.readAll();
        QVERIFY(xml.contains(">Temperature (Kelvin)<") && xml.contains(">Sensor Units (Ohms)<"));
        QSvgRenderer renderer(svg);
        QVERIFY(renderer.isValid());
        QCOMPARE(renderer.viewBox(), QRect(QPoint(), g.size()));

        // chosen name, format of the menu entry, file written
        const std::tuple<const char*, F, const char*, F> names[] = {
            {"graph", F::Png, "graph.png", F::Png},
            {"graph", F::Svg, "graph.svg", F::Svg},
            {"graph.SVG", F::Png, "graph.SVG", F::Svg},
            {"curve.v2", F::Png, "curve.v2.png", F::Png}};
        for (const auto& [chosen, fallback, path, format] : names)
            QVERIFY(CurveGraph::export_target(chosen, fallback) ==
                    std::pair(QString(path), format));
        // A folder that is not there: the system's reason (the window's message: test_main_window).
        QCOMPARE(g.export_image(dir_.filePath("gone/graph.png"), F::Png),
                 QStringLiteral("No such file or directory"));
        // The context menu's exports go through the window's hooks (tests/ui/test_main_window.cpp).
        QStringList menu;
        for (QAction* a : g.actions()) menu << a->text();
        QCOMPARE(menu, (QStringList{"Reset Zoom", "", "Export Graph as PNG...",
                                    "Export Graph as SVG..."}));
    }
};

QTEST_MAIN(TestGraph)
#include "test_graph.moc"
