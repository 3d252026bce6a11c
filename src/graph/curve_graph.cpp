#include "graph/curve_graph.h"

#include <QAbstractAxis>
#include <QAction>
#include <QCategoryAxis>
#include <QChart>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFont>
#include <QGraphicsLayout>
#include <QGraphicsScene>
#include <QImage>
#include <QKeyEvent>
#include <QLabel>
#include <QLegend>
#include <QLineSeries>
#include <QLocale>
#include <QLogValueAxis>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPainter>
#include <QPen>
#include <QPrintDialog>
#include <QPrinter>
#include <QRubberBand>
#include <QSaveFile>
#include <QSvgGenerator>
#include <QValueAxis>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "curve/code_page.h"
#include "curve/prompts.h"

namespace kelvara {

namespace {

const QString kFontFamily = QStringLiteral("Arial");
// Radius of the breakpoint markers: a dot of 7 pixels, plain over the 1.5 pixel line.
constexpr double kMarkerSize = 3.5;
// How near the pointer must be to a breakpoint or to the line to show it rather than the
// position itself.
constexpr double kPointReach = 6.0;
constexpr double kLineReach = 4.0;
// One wheel notch (or key press) shows this part of the window.
constexpr double kWheelZoom = 0.8;

QString to_q(const std::string& text) {
    return QString::fromStdString(text);
}

// The title block: main title, then the subtitle and the centre parts of the extra lines, each
// on its own line. Blanks are kept as typed ("Curve: name  serial" has two). The titles carry
// the curve's name and serial number: bytes of the files' code page, shown as the window shows
// them.
QString title_html(const GraphSpec& spec) {
    QStringList lines;
    auto add = [&lines](const std::string& text, bool main) {
        QString escaped = QString::fromStdU16String(code_page_text(text))
                              .toHtmlEscaped()
                              .replace(QLatin1Char(' '), "&nbsp;");
        lines << (main ? "<b>" + escaped + "</b>" : escaped);
    };
    add(spec.main_title, true);
    if (!spec.subtitle.empty()) add(spec.subtitle, false);
    for (const auto& line : spec.extra_titles) add(centre_part(line), false);
    return "<div align=\"center\">" + lines.join("<br>") + "</div>";
}

struct Range {
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();
    bool empty() const { return !(low <= high); }
    void take(double v) {
        low = std::min(low, v);
        high = std::max(high, v);
    }
};

bool drawable(double value, AxisScale scale) {
    return std::isfinite(value) && (scale == AxisScale::Linear || value > 0);
}

QFont axis_font() {
    return QFont(kFontFamily);
}

// The full extent of an axis for the drawn values: whole decades on a logarithmic axis, round
// numbers on a linear one.
QAbstractAxis* make_axis(AxisScale scale, const std::string& label, Range range) {
    QAbstractAxis* axis = nullptr;
    if (scale == AxisScale::Logarithmic) {
        auto* log_axis = new QLogValueAxis;
        log_axis->setBase(10.0);
        log_axis->setLabelFormat(QStringLiteral("%g"));
        log_axis->setMinorTickCount(-1);
        if (range.empty()) range = {1.0, 10.0};
        if (range.low == range.high) range = {range.low / 10.0, range.high * 10.0};
        // Whole decades, so the grid lines fall on 1, 10, 100 ...
        log_axis->setRange(std::pow(10.0, std::floor(std::log10(range.low))),
                           std::pow(10.0, std::ceil(std::log10(range.high))));
        axis = log_axis;
    } else {
        auto* value_axis = new QValueAxis;
        value_axis->setLabelFormat(QStringLiteral("%g"));
        if (range.empty()) range = {0.0, 1.0};
        if (range.low == range.high) range = {range.low - 1.0, range.high + 1.0};
        value_axis->setRange(range.low, range.high);
        value_axis->applyNiceNumbers();
        axis = value_axis;
    }
    axis->setTitleFont(axis_font());
    axis->setLabelsFont(axis_font());
    axis->setTitleText(to_q(label));
    return axis;
}

struct BuiltAxes {
    QAbstractAxis* x = nullptr;
    QAbstractAxis* y = nullptr;
};

// Markers on the breakpoints are for the screen and its exports; the printout stays as it was.
BuiltAxes build_chart(QChart& chart, const GraphSpec& spec, bool markers) {
    chart.removeAllSeries();
    for (QAbstractAxis* axis : chart.axes()) {
        chart.removeAxis(axis);
        delete axis;
    }
    chart.setTitleFont(QFont(kFontFamily, 11));
    chart.setTitle(title_html(spec));
    chart.setBackgroundBrush(Qt::white);
    chart.setPlotAreaBackgroundVisible(false);

    Range x_range;
    Range y_range;
    std::vector<QLineSeries*> lines;
    for (std::size_t s = 0; s < spec.series.size(); ++s) {
        auto* line = new QLineSeries;
        line->setName(to_q(spec.series[s].label));
        QPen pen(s == 0 ? kOriginalSeriesColour : kAdjustedSeriesColour);
        pen.setWidthF(1.5);
        line->setPen(pen);
        if (markers) {
            line->setPointsVisible(true);
            line->setMarkerSize(kMarkerSize);
        }
        for (const GraphPoint& p : spec.series[s].points) {
            // A logarithmic axis has no place for 0 or below: such points are left out and the
            // line joins the neighbours that remain.
            if (!drawable(p.x, spec.x_scale) || !drawable(p.y, spec.y_scale)) continue;
            line->append(p.x, p.y);
            x_range.take(p.x);
            y_range.take(p.y);
        }
        lines.push_back(line);
    }
    BuiltAxes axes{make_axis(spec.x_scale, spec.x_label, x_range),
                   make_axis(spec.y_scale, spec.y_label, y_range)};
    chart.addAxis(axes.x, Qt::AlignBottom);
    chart.addAxis(axes.y, Qt::AlignLeft);
    for (QLineSeries* line : lines) {
        chart.addSeries(line);
        line->attachAxis(axes.x);
        line->attachAxis(axes.y);
    }
    chart.legend()->setVisible(spec.series.size() >= 2);
    chart.legend()->setFont(QFont(kFontFamily));
    chart.legend()->setAlignment(Qt::AlignBottom);
    return axes;
}

AxisWindow window_of(const QAbstractAxis* axis) {
    if (const auto* log_axis = qobject_cast<const QLogValueAxis*>(axis))
        return {log_axis->min(), log_axis->max()};
    const auto* value_axis = static_cast<const QValueAxis*>(axis);
    return {value_axis->min(), value_axis->max()};
}

// Drawn breakpoints of one series with their point numbers (index + 1).
struct DrawnPoint {
    int number;
    GraphPoint value;
};
std::vector<DrawnPoint> drawn_points(const GraphSpec& spec, std::size_t series) {
    std::vector<DrawnPoint> points;
    const auto& all = spec.series[series].points;
    for (std::size_t p = 0; p < all.size(); ++p)
        if (drawable(all[p].x, spec.x_scale) && drawable(all[p].y, spec.y_scale))
            points.push_back({static_cast<int>(p) + 1, all[p]});
    return points;
}

QString number(double value, bool exact) {
    return exact ? QLocale().toString(value, 'g', QLocale::FloatingPointShortest)
                 : QLocale().toString(value, 'g', 6);
}

// Sensor units and temperature in the units the data format names, with the plain ohms and
// kelvin beside the logarithmic ones.
QString value_lines(const GraphSpec& spec, GraphPoint v, bool exact) {
    const QString unit = to_q(spec.sensor_unit);
    QString units = number(v.y, exact) + QLatin1Char(' ') +
                    (unit.isEmpty() ? QStringLiteral("sensor units") : unit);
    if (spec.sensor_unit == "Log Ohms")
        units += QStringLiteral(" (%1 Ohms)").arg(number(std::pow(10.0, v.y), false));
    QString temperature = spec.log_kelvin
                              ? QStringLiteral("%1 Log Kelvin (%2 K)")
                                    .arg(number(v.x, exact), number(std::pow(10.0, v.x), false))
                              : number(v.x, exact) + QStringLiteral(" K");
    return units + QLatin1Char('\n') + temperature;
}

QString series_note(const GraphSpec& spec, std::size_t series) {
    const std::string& label = spec.series[series].label;
    return label.empty() ? QString() : QStringLiteral(" (%1)").arg(to_q(label));
}

double distance(QPointF a, QPointF b) {
    return std::hypot(a.x() - b.x(), a.y() - b.y());
}

}  // namespace

CurveGraph::CurveGraph(QWidget* parent) : QChartView(parent) {
    setObjectName(QStringLiteral("PesgoStd1"));
    setRenderHint(QPainter::Antialiasing);
    setBackgroundBrush(Qt::white);
    setMouseTracking(true);
    viewport()->setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);

    value_label_ = new QLabel(viewport());
    value_label_->setObjectName(QStringLiteral("graphValue"));
    value_label_->setAttribute(Qt::WA_TransparentForMouseEvents);
    value_label_->setStyleSheet(
        QStringLiteral("QLabel { background: rgba(255, 255, 225, 235); color: black;"
                       " border: 1px solid #808080; padding: 2px 4px; }"));
    value_label_->hide();
    band_ = new QRubberBand(QRubberBand::Rectangle, viewport());
    band_->hide();

    reset_action_ = new QAction(QStringLiteral("Reset Zoom"), this);
    reset_action_->setObjectName(QStringLiteral("actionResetZoom"));
    reset_action_->setShortcut(QKeySequence(Qt::Key_Home));
    reset_action_->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    connect(reset_action_, &QAction::triggered, this, &CurveGraph::reset_zoom);
    auto* separator = new QAction(this);
    separator->setSeparator(true);
    auto* png = new QAction(QStringLiteral("Export Graph as PNG..."), this);
    png->setObjectName(QStringLiteral("actionExportPng"));
    connect(png, &QAction::triggered, this, [this] {
        export_with_dialog(export_filter(GraphImageFormat::Png), GraphImageFormat::Png);
    });
    auto* svg = new QAction(QStringLiteral("Export Graph as SVG..."), this);
    svg->setObjectName(QStringLiteral("actionExportSvg"));
    connect(svg, &QAction::triggered, this, [this] {
        export_with_dialog(export_filter(GraphImageFormat::Svg), GraphImageFormat::Svg);
    });
    addActions({reset_action_, separator, png, svg});
    setContextMenuPolicy(Qt::ActionsContextMenu);

    render_spec(state_.spec());
}

CurveGraph::~CurveGraph() = default;

void CurveGraph::update_graph(InstrumentModel model, const CurveRecord& curve,
                              const HeaderFields& fields) {
    render_spec(state_.update_graph(model, curve, fields));
}

void CurveGraph::update_graph_series2(InstrumentModel model, const CurveRecord& curve,
                                      const HeaderFields& fields) {
    render_spec(state_.update_graph_series2(model, curve, fields));
}

void CurveGraph::render_spec(const GraphSpec& spec) {
    const bool was_zoomed = x_.axis && zoomed();
    const bool same_scales = x_.scale == spec.x_scale && y_.scale == spec.y_scale;
    const AxisWindow old_x = x_.shown;
    const AxisWindow old_y = y_.shown;

    // build_chart deletes every axis of the chart, the label axes of a zoom included.
    x_.labels = nullptr;
    y_.labels = nullptr;
    const BuiltAxes axes = build_chart(*chart(), spec, true);
    x_ = Axis{spec.x_scale, window_of(axes.x), window_of(axes.x), axes.x, nullptr, Qt::AlignBottom};
    y_ = Axis{spec.y_scale, window_of(axes.y), window_of(axes.y), axes.y, nullptr, Qt::AlignLeft};
    if (auto* value_axis = qobject_cast<QValueAxis*>(axes.x))
        x_.full_tick_count = value_axis->tickCount();
    if (auto* value_axis = qobject_cast<QValueAxis*>(axes.y))
        y_.full_tick_count = value_axis->tickCount();

    if (was_zoomed && same_scales) {
        const auto inside = [](const AxisWindow& w, double v) { return v >= w.low && v <= w.high; };
        bool seen = false;
        for (std::size_t s = 0; s < spec.series.size() && !seen; ++s)
            for (const DrawnPoint& p : drawn_points(spec, s))
                if (inside(old_x, p.value.x) && inside(old_y, p.value.y)) seen = true;
        const auto clipped = [](const AxisWindow& w, const AxisWindow& full) {
            return AxisWindow{std::max(w.low, full.low), std::min(w.high, full.high)};
        };
        const AxisWindow kept_x = clipped(old_x, x_.full);
        const AxisWindow kept_y = clipped(old_y, y_.full);
        if (seen && zoomable_window(kept_x, x_.scale) && zoomable_window(kept_y, y_.scale)) {
            x_.shown = kept_x;
            y_.shown = kept_y;
        }
    }
    for (Axis* a : {&x_, &y_}) {
        if (a->scale != AxisScale::Logarithmic) continue;
        // A log axis labels only powers of its base, so inside a decade it would show none. A
        // linear axis over the decimal logarithms of the window carries the labels of a zoom
        // instead: a value v sits at log10(v) on it, exactly where the log axis puts v.
        a->labels = new QCategoryAxis;
        a->labels->setLabelsPosition(QCategoryAxis::AxisLabelsPositionOnValue);
        a->labels->setTitleText(a->axis->titleText());
        a->labels->setTitleFont(axis_font());
        a->labels->setLabelsFont(axis_font());
        a->labels->setGridLinePen(a->axis->gridLinePen());
        a->labels->setLinePen(a->axis->linePen());
        a->labels->setVisible(false);
        chart()->addAxis(a->labels, a->alignment);
    }
    show_windows();
    value_label_->hide();
}

// ---- zoom ---------------------------------------------------------------------------------

void CurveGraph::show_windows() {
    show_window(x_);
    show_window(y_);
    reset_action_->setEnabled(zoomed());
}

void CurveGraph::show_window(Axis& a) {
    const bool full = a.shown == a.full;
    if (a.scale == AxisScale::Linear) {
        auto* axis = static_cast<QValueAxis*>(a.axis);
        axis->setRange(a.shown.low, a.shown.high);
        if (full) {
            axis->setTickType(QValueAxis::TicksFixed);
            axis->setTickCount(a.full_tick_count);
            axis->setLabelFormat(QStringLiteral("%g"));
        } else {
            // Round steps from a round anchor, with the digits that tell them apart.
            const double step = nice_step(a.shown.high - a.shown.low, 4);
            axis->setTickType(QValueAxis::TicksDynamic);
            axis->setTickAnchor(std::floor(a.shown.low / step) * step);
            axis->setTickInterval(step);
            axis->setLabelFormat(QStringLiteral("%.%1g").arg(label_digits(a.shown, step)));
        }
        return;
    }

    auto* axis = static_cast<QLogValueAxis*>(a.axis);
    axis->setRange(a.shown.low, a.shown.high);
    axis->setVisible(full);
    a.labels->setVisible(!full);
    if (full) return;
    const std::vector<double> ticks = log_ticks(a.shown);
    const double step = ticks.size() >= 2 ? ticks[1] - ticks[0] : a.shown.high - a.shown.low;
    const int digits = label_digits(a.shown, step);
    for (const QString& label : a.labels->categoriesLabels()) a.labels->remove(label);
    const double low = std::log10(a.shown.low);
    const double high = std::log10(a.shown.high);
    a.labels->setStartValue(low);
    for (double t : ticks) a.labels->append(QString::number(t, 'g', digits), std::log10(t));
    a.labels->setRange(low, high);
}

double CurveGraph::value_at(const Axis& a, double fraction) const {
    const double low = axis_position(a.shown.low, a.scale);
    const double high = axis_position(a.shown.high, a.scale);
    return axis_value(low + fraction * (high - low), a.scale);
}

void CurveGraph::zoom_at(QPointF pos, double factor) {
    const QRectF plot = plot_rect();
    if (plot.isEmpty()) return;
    const double fx = (pos.x() - plot.left()) / plot.width();
    const double fy = (plot.bottom() - pos.y()) / plot.height();
    const double cx = value_at(x_, fx);
    const double cy = value_at(y_, fy);
    x_.shown = zoom_about(x_.shown, x_.full, x_.scale, cx, factor);
    y_.shown = zoom_about(y_.shown, y_.full, y_.scale, cy, factor);
    show_windows();
    // New tick labels can be wider or narrower and move the plot's edges; slide the windows so
    // that the value under the pointer stays under it.
    for (int pass = 0; pass < 3; ++pass) {
        const QPointF now = position_of(cx, cy);
        const QRectF moved = plot_rect();
        if (std::abs(now.x() - pos.x()) < 0.25 && std::abs(now.y() - pos.y()) < 0.25) break;
        slide(x_, (now.x() - pos.x()) / moved.width());
        slide(y_, (pos.y() - now.y()) / moved.height());
        show_windows();
    }
}

void CurveGraph::slide(Axis& a, double fraction) {
    const double low = axis_position(a.shown.low, a.scale);
    const double high = axis_position(a.shown.high, a.scale);
    const double shift = fraction * (high - low);
    const AxisWindow moved{axis_value(low + shift, a.scale), axis_value(high + shift, a.scale)};
    // At the ends of the curve the window stays inside it rather than keep the pointer exact.
    if (moved.low >= a.full.low && moved.high <= a.full.high) a.shown = moved;
}

void CurveGraph::zoom_to(const QRectF& rect) {
    const QRectF plot = plot_rect();
    const QRectF r = rect.normalized() & plot;
    if (r.isEmpty()) return;
    const AxisWindow x{value_at(x_, (r.left() - plot.left()) / plot.width()),
                       value_at(x_, (r.right() - plot.left()) / plot.width())};
    const AxisWindow y{value_at(y_, (plot.bottom() - r.bottom()) / plot.height()),
                       value_at(y_, (plot.bottom() - r.top()) / plot.height())};
    // A band too thin to read is left as it was on that axis.
    if (zoomable_window(x, x_.scale)) x_.shown = x;
    if (zoomable_window(y, y_.scale)) y_.shown = y;
    show_windows();
}

void CurveGraph::reset_zoom() {
    x_.shown = x_.full;
    y_.shown = y_.full;
    show_windows();
}

// ---- positions and the value under the pointer ----------------------------------------------

void CurveGraph::settle_layout() const {
    // The chart lays itself out on the next event loop pass; positions are wanted now.
    if (QGraphicsLayout* layout = chart()->layout()) layout->activate();
}

QRectF CurveGraph::plot_rect() const {
    settle_layout();
    const QRectF area = chart()->mapRectToScene(chart()->plotArea());
    return QRectF(mapFromScene(area.topLeft()), mapFromScene(area.bottomRight()));
}

QPointF CurveGraph::position_of(double x, double y) const {
    const QRectF plot = plot_rect();
    const auto fraction = [](const Axis& a, double v) {
        const double low = axis_position(a.shown.low, a.scale);
        const double high = axis_position(a.shown.high, a.scale);
        return (axis_position(v, a.scale) - low) / (high - low);
    };
    return {plot.left() + fraction(x_, x) * plot.width(),
            plot.bottom() - fraction(y_, y) * plot.height()};
}

QString CurveGraph::value_text_at(QPointF pos) const {
    const QRectF plot = plot_rect();
    const QRectF reach = plot.adjusted(-kPointReach, -kPointReach, kPointReach, kPointReach);
    if (!reach.contains(pos)) return {};
    const GraphSpec& spec = state_.spec();

    // The nearest breakpoint within reach; the later series wins a tie, as it is drawn on top.
    double best = kPointReach;
    QString text;
    for (std::size_t s = 0; s < spec.series.size(); ++s) {
        for (const DrawnPoint& p : drawn_points(spec, s)) {
            const double d = distance(pos, position_of(p.value.x, p.value.y));
            if (d > best) continue;
            best = d;
            text = QStringLiteral("Point %1%2\n").arg(p.number).arg(series_note(spec, s)) +
                   value_lines(spec, p.value, true);
        }
    }
    if (!text.isEmpty()) return text;
    if (!plot.contains(pos)) return {};

    // Else the nearest place on the drawn line, interpolated as drawn (in log10 on a log axis).
    best = kLineReach;
    for (std::size_t s = 0; s < spec.series.size(); ++s) {
        const std::vector<DrawnPoint> points = drawn_points(spec, s);
        for (std::size_t i = 0; i + 1 < points.size(); ++i) {
            const GraphPoint a = points[i].value;
            const GraphPoint b = points[i + 1].value;
            const QPointF pa = position_of(a.x, a.y);
            const QPointF pb = position_of(b.x, b.y);
            const QPointF ab = pb - pa;
            const double length2 = QPointF::dotProduct(ab, ab);
            const double t = length2 > 0
                                 ? std::clamp(QPointF::dotProduct(pos - pa, ab) / length2, 0.0, 1.0)
                                 : 0.0;
            const double d = distance(pos, pa + t * ab);
            if (d > best) continue;
            best = d;
            const auto along = [t](double u, double v, AxisScale scale) {
                const double pu = axis_position(u, scale);
                return axis_value(pu + t * (axis_position(v, scale) - pu), scale);
            };
            const GraphPoint on{along(a.x, b.x, x_.scale), along(a.y, b.y, y_.scale)};
            text = QStringLiteral("Between points %1 and %2%3\n")
                       .arg(points[i].number)
                       .arg(points[i + 1].number)
                       .arg(series_note(spec, s)) +
                   value_lines(spec, on, false);
        }
    }
    if (!text.isEmpty()) return text;

    const GraphPoint at{value_at(x_, (pos.x() - plot.left()) / plot.width()),
                        value_at(y_, (plot.bottom() - pos.y()) / plot.height())};
    return value_lines(spec, at, false);
}

void CurveGraph::update_value_label(QPointF pos) {
    const QString text = value_text_at(pos);
    if (text.isEmpty()) {
        value_label_->hide();
        return;
    }
    value_label_->setText(text);
    value_label_->adjustSize();
    // Beside the pointer, on whichever side keeps it inside the graph.
    const QSize size = value_label_->size();
    const QRect room = viewport()->rect();
    QPoint at = pos.toPoint() + QPoint(14, 14);
    if (at.x() + size.width() > room.right()) at.setX(pos.toPoint().x() - 10 - size.width());
    if (at.y() + size.height() > room.bottom()) at.setY(pos.toPoint().y() - 10 - size.height());
    at.setX(std::max(at.x(), 0));
    at.setY(std::max(at.y(), 0));
    value_label_->move(at);
    value_label_->show();
    value_label_->raise();
}

// ---- pointer and keys ----------------------------------------------------------------------

void CurveGraph::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && plot_rect().contains(event->position())) {
        band_origin_ = event->position();
        band_->setGeometry(QRect(band_origin_->toPoint(), QSize()));
        band_->show();
        value_label_->hide();
        event->accept();
        return;
    }
    QChartView::mousePressEvent(event);
}

void CurveGraph::mouseMoveEvent(QMouseEvent* event) {
    if (band_origin_) {
        const QRect plot = plot_rect().toAlignedRect();
        band_->setGeometry(
            QRect(band_origin_->toPoint(), event->position().toPoint()).normalized() & plot);
        event->accept();
        return;
    }
    update_value_label(event->position());
    QChartView::mouseMoveEvent(event);
}

void CurveGraph::mouseReleaseEvent(QMouseEvent* event) {
    if (band_origin_ && event->button() == Qt::LeftButton) {
        const QRectF rect = QRectF(*band_origin_, event->position()).normalized();
        band_origin_.reset();
        band_->hide();
        // A click or a tremor of the hand is not a zoom.
        if (rect.width() >= 4 && rect.height() >= 4) zoom_to(rect);
        update_value_label(event->position());
        event->accept();
        return;
    }
    QChartView::mouseReleaseEvent(event);
}

void CurveGraph::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        reset_zoom();
        event->accept();
        return;
    }
    QChartView::mouseDoubleClickEvent(event);
}

void CurveGraph::wheelEvent(QWheelEvent* event) {
    const double notches = event->angleDelta().y() / 120.0;
    if (notches != 0 && plot_rect().contains(event->position())) {
        zoom_at(event->position(), std::pow(kWheelZoom, notches));
        update_value_label(event->position());
    }
    event->accept();
}

void CurveGraph::keyPressEvent(QKeyEvent* event) {
    const QPointF centre = plot_rect().center();
    switch (event->key()) {
        case Qt::Key_Home:
            reset_zoom();
            break;
        case Qt::Key_Plus:
        case Qt::Key_Equal:
            zoom_at(centre, kWheelZoom);
            break;
        case Qt::Key_Minus:
            zoom_at(centre, 1 / kWheelZoom);
            break;
        case Qt::Key_Escape:
            if (!band_origin_) return QChartView::keyPressEvent(event);
            band_origin_.reset();
            band_->hide();
            break;
        default:
            return QChartView::keyPressEvent(event);
    }
    event->accept();
}

bool CurveGraph::viewportEvent(QEvent* event) {
    if (event->type() == QEvent::Leave) value_label_->hide();
    return QChartView::viewportEvent(event);
}

// ---- export --------------------------------------------------------------------------------

QString CurveGraph::export_filter() {
    return export_filter(GraphImageFormat::Png) + QStringLiteral(";;") +
           export_filter(GraphImageFormat::Svg);
}

QString CurveGraph::export_filter(GraphImageFormat format) {
    return format == GraphImageFormat::Png ? QStringLiteral("PNG image (*.png)")
                                           : QStringLiteral("SVG image (*.svg)");
}

std::pair<QString, GraphImageFormat> CurveGraph::export_target(const QString& chosen,
                                                               GraphImageFormat fallback) {
    const QString suffix = QFileInfo(chosen).suffix().toLower();
    if (suffix == QLatin1String("png")) return {chosen, GraphImageFormat::Png};
    if (suffix == QLatin1String("svg")) return {chosen, GraphImageFormat::Svg};
    const QString added =
        fallback == GraphImageFormat::Png ? QStringLiteral(".png") : QStringLiteral(".svg");
    return {chosen + added, fallback};
}

QString CurveGraph::export_image(const QString& path, GraphImageFormat format) {
    settle_layout();
    const QSize size = this->size();
    const QRectF target(QPointF(0, 0), QSizeF(size));
    const auto draw = [&](QPainter& painter) {
        painter.setRenderHint(QPainter::Antialiasing);
        render(&painter, target, viewport()->rect());
    };

    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) return file.errorString();
    if (format == GraphImageFormat::Png) {
        QImage image(size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::white);
        {
            QPainter painter(&image);
            draw(painter);
        }
        if (!image.save(&file, "PNG")) {
            const QString reason = file.error() != QFileDevice::NoError
                                       ? file.errorString()
                                       : QStringLiteral("the image could not be encoded");
            file.cancelWriting();
            return reason;
        }
    } else {
        QSvgGenerator svg;
        svg.setOutputDevice(&file);
        svg.setSize(size);
        svg.setViewBox(target);
        svg.setTitle(QString::fromLatin1(kGraphMainTitle));
        svg.setDescription(QStringLiteral("Tessaly Kelvara curve graph"));
        QPainter painter;
        if (!painter.begin(&svg)) {
            file.cancelWriting();
            return QStringLiteral("the drawing could not be started");
        }
        draw(painter);
        painter.end();
        if (file.error() != QFileDevice::NoError) {
            const QString reason = file.errorString();
            file.cancelWriting();
            return reason;
        }
    }
    if (!file.commit()) return file.errorString();
    return {};
}

void CurveGraph::set_export_hooks(SaveChooser choose, Reporter report) {
    choose_ = std::move(choose);
    report_ = std::move(report);
}

bool CurveGraph::export_with_dialog(const QString& filter, GraphImageFormat fallback) {
    std::optional<QString> chosen;
    if (choose_) {
        chosen = choose_(filter, this);
    } else {
        QFileDialog dialog(this, QStringLiteral("Export Graph"), QString(), filter);
        dialog.setAcceptMode(QFileDialog::AcceptSave);
        dialog.setDefaultSuffix(fallback == GraphImageFormat::Png ? QStringLiteral("png")
                                                                  : QStringLiteral("svg"));
        if (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty())
            chosen = dialog.selectedFiles().constFirst();
    }
    if (!chosen || chosen->isEmpty()) return false;
    return export_to(*chosen, fallback);
}

bool CurveGraph::export_to(const QString& chosen, GraphImageFormat fallback) {
    const auto [path, format] = export_target(chosen, fallback);
    const QString reason = export_image(path, format);
    if (reason.isEmpty()) return true;
    const QString text = QStringLiteral("The graph could not be exported to %1:\n%2")
                             .arg(QDir::toNativeSeparators(path), reason);
    if (report_)
        report_(text);
    else
        QMessageBox::warning(this, QString::fromLatin1(kAppTitle), text);
    return false;
}

bool CurveGraph::ask_with_print_dialog(QPrinter& printer, QWidget* parent) {
    QPrintDialog dialog(&printer, parent);
    dialog.setWindowTitle(QStringLiteral("Print Graph"));
    return dialog.exec() == QDialog::Accepted;
}

bool CurveGraph::print_graph(InstrumentModel model, const CurveRecord& curve,
                             const HeaderFields& fields, QWidget* dialog_parent,
                             const PrinterChooser& choose) {
    render_spec(state_.update_graph_for_print(model, curve, fields));
    const GraphSpec print_spec = state_.spec();

    QPrinter printer(QPrinter::HighResolution);
    printer.setPageOrientation(QPageLayout::Landscape);
    printer.setDocName(QStringLiteral("Kelvara curve graph"));
    bool printed = choose(printer, dialog_parent);
    if (printed) {
        // The page gets its own chart at a fixed size, so the printout does not depend on how
        // large the window happens to be.
        QGraphicsScene scene;
        auto* page_chart = new QChart;
        scene.addItem(page_chart);
        build_chart(*page_chart, print_spec, false);
        const QSizeF size(1100, 780);
        page_chart->resize(size);
        page_chart->layout()->activate();
        QPainter painter;
        printed = painter.begin(&printer);
        if (printed) {
            painter.setRenderHint(QPainter::Antialiasing);
            scene.render(&painter, QRectF(painter.viewport()), QRectF(QPointF(0, 0), size));
            painter.end();
        }
    }
    update_graph(model, curve, fields);
    return printed;
}

}  // namespace kelvara
