#include "graph/curve_graph.h"

#include <QAbstractAxis>
#include <QChart>
#include <QFont>
#include <QGraphicsLayout>
#include <QGraphicsScene>
#include <QLegend>
#include <QLineSeries>
#include <QLogValueAxis>
#include <QPainter>
#include <QPen>
#include <QPrintDialog>
#include <QPrinter>
#include <QValueAxis>
#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

namespace kelvara {

namespace {

const QString kFontFamily = QStringLiteral("Arial");

QString to_q(const std::string& text) {
    return QString::fromStdString(text);
}

// The title block: main title, then the subtitle and the centre parts of the extra lines, each
// on its own line. Blanks are kept as typed ("Curve: name  serial" has two).
QString title_html(const GraphSpec& spec) {
    QStringList lines;
    auto add = [&lines](const std::string& text, bool main) {
        QString escaped = to_q(text).toHtmlEscaped().replace(QLatin1Char(' '), "&nbsp;");
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
    QFont font(kFontFamily);
    axis->setTitleFont(font);
    axis->setLabelsFont(font);
    axis->setTitleText(to_q(label));
    return axis;
}

void build_chart(QChart& chart, const GraphSpec& spec) {
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
    QAbstractAxis* x_axis = make_axis(spec.x_scale, spec.x_label, x_range);
    QAbstractAxis* y_axis = make_axis(spec.y_scale, spec.y_label, y_range);
    chart.addAxis(x_axis, Qt::AlignBottom);
    chart.addAxis(y_axis, Qt::AlignLeft);
    for (QLineSeries* line : lines) {
        chart.addSeries(line);
        line->attachAxis(x_axis);
        line->attachAxis(y_axis);
    }
    chart.legend()->setVisible(spec.series.size() >= 2);
    chart.legend()->setFont(QFont(kFontFamily));
    chart.legend()->setAlignment(Qt::AlignBottom);
}

}  // namespace

CurveGraph::CurveGraph(QWidget* parent) : QChartView(parent) {
    setObjectName(QStringLiteral("PesgoStd1"));
    setRenderHint(QPainter::Antialiasing);
    setBackgroundBrush(Qt::white);
    render_spec(state_.spec());
}

void CurveGraph::update_graph(InstrumentModel model, const CurveRecord& curve,
                              const HeaderFields& fields) {
    render_spec(state_.update_graph(model, curve, fields));
}

void CurveGraph::update_graph_series2(InstrumentModel model, const CurveRecord& curve,
                                      const HeaderFields& fields) {
    render_spec(state_.update_graph_series2(model, curve, fields));
}

void CurveGraph::render_spec(const GraphSpec& spec) {
    build_chart(*chart(), spec);
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
        build_chart(*page_chart, print_spec);
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
