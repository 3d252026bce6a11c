// The curve graph of the main window (objectName "PesgoStd1"), drawn with Qt Charts from a
// GraphSpec, and its printing. On screen it also marks every breakpoint, shows the value under
// the pointer, zooms (wheel, rubber band, reset) and exports what it shows as PNG or SVG.
#pragma once

#include <QChartView>
#include <QColor>
#include <QPoint>
#include <QString>
#include <functional>
#include <optional>

#include "graph/graph_axes.h"
#include "graph/graph_description.h"

class QAction;
class QCategoryAxis;
class QLabel;
class QPrinter;
class QRubberBand;

namespace kelvara {

inline const QColor kOriginalSeriesColour{0, 0, 0};
inline const QColor kAdjustedSeriesColour{220, 0, 0};

enum class GraphImageFormat { Png, Svg };

class CurveGraph : public QChartView {
    Q_OBJECT
  public:
    explicit CurveGraph(QWidget* parent = nullptr);
    ~CurveGraph() override;

    // The three redraws; each updates the remembered GraphState and renders it.
    void update_graph(InstrumentModel model, const CurveRecord& curve, const HeaderFields& fields);
    void update_graph_series2(InstrumentModel model, const CurveRecord& curve,
                              const HeaderFields& fields);

    // Renders a description as it stands. On a logarithmic axis, points whose value on that axis
    // is 0 or below are left out (the rest of the line is drawn). A zoom survives the redraw
    // when both axes keep their scales and some breakpoint is still inside it (an edit of a
    // point seen close up stays close up); otherwise the full curve is shown.
    void render_spec(const GraphSpec& spec);

    const GraphSpec& spec() const { return state_.spec(); }

    // Asks for a printer; false when the user cancels. The default shows the system's print
    // dialog (QPrintDialog).
    using PrinterChooser = std::function<bool(QPrinter& printer, QWidget* parent)>;
    static bool ask_with_print_dialog(QPrinter& printer, QWidget* parent);

    // "Print Graph": draws the print variant, asks for a printer through choose, prints the
    // graph with its titles on one page, then redraws the screen graph (one series, no print
    // titles). Returns false when the user cancelled or the printer could not be opened. The
    // page always shows the whole curve, without breakpoint markers.
    bool print_graph(InstrumentModel model, const CurveRecord& curve, const HeaderFields& fields,
                     QWidget* dialog_parent = nullptr,
                     const PrinterChooser& choose = ask_with_print_dialog);

    // ---- Zoom. Windows are in the axes' own values; "full" is what the last redraw showed.
    AxisWindow x_window() const { return x_.shown; }
    AxisWindow y_window() const { return y_.shown; }
    AxisWindow full_x_window() const { return x_.full; }
    AxisWindow full_y_window() const { return y_.full; }
    bool zoomed() const { return x_.shown != x_.full || y_.shown != y_.full; }
    // Zooms both axes by factor (below 1 closer) keeping the value under pos where it is.
    void zoom_at(QPointF pos, double factor);
    // Zooms to the values inside rect (viewport coordinates, clipped to the plot).
    void zoom_to(const QRectF& rect);
    void reset_zoom();

    // ---- Positions, in viewport coordinates.
    QRectF plot_rect() const;
    QPointF position_of(double x, double y) const;
    // The text the pointer shows at pos: a breakpoint within a few pixels, else the curve's
    // line within a few pixels, else the position itself; empty outside the plot.
    QString value_text_at(QPointF pos) const;
    // The label that follows the pointer (objectName "graphValue").
    QLabel* value_label() const { return value_label_; }

    // ---- Export.
    // Qt file-dialog filters: both formats, or one.
    static QString export_filter();
    static QString export_filter(GraphImageFormat format);
    // The file a chosen name stands for: its own extension ".png" or ".svg" (any case) decides
    // the format; any other name gets fallback's extension added.
    static std::pair<QString, GraphImageFormat> export_target(const QString& chosen,
                                                              GraphImageFormat fallback);
    // Draws the graph as shown (zoom and markers, not the pointer's label) at the widget's size
    // into path, replacing the file only when the new one is complete. Returns "" when written,
    // else the reason.
    QString export_image(const QString& path, GraphImageFormat format);

    // How the export asks for a file name (a Qt filter; nullopt when cancelled) and reports a
    // failure. Defaults: a QFileDialog and a warning box titled "Tessaly Kelvara".
    using SaveChooser = std::function<std::optional<QString>(const QString& filter, QWidget*)>;
    using Reporter = std::function<void(const QString& text)>;
    void set_export_hooks(SaveChooser choose, Reporter report);
    // Asks for a name with filter, exports, reports a failure. True when a file was written.
    bool export_with_dialog(const QString& filter, GraphImageFormat fallback);
    // Exports to a chosen name (export_target) and reports a failure.
    bool export_to(const QString& chosen, GraphImageFormat fallback);

  protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool viewportEvent(QEvent* event) override;

  private:
    struct Axis {
        AxisScale scale = AxisScale::Linear;
        AxisWindow full;
        AxisWindow shown;
        QAbstractAxis* axis = nullptr;    // attached to the series
        QCategoryAxis* labels = nullptr;  // round-valued labels of a zoomed log axis
        Qt::Alignment alignment = Qt::AlignBottom;
        int full_tick_count = 5;
    };
    void show_windows();
    void show_window(Axis& axis);
    void settle_layout() const;
    double value_at(const Axis& axis, double fraction) const;
    void slide(Axis& axis, double fraction);
    void update_value_label(QPointF pos);

    GraphState state_;
    Axis x_;
    Axis y_;
    QLabel* value_label_ = nullptr;
    QRubberBand* band_ = nullptr;
    std::optional<QPointF> band_origin_;
    QAction* reset_action_ = nullptr;
    SaveChooser choose_;
    Reporter report_;
};

}  // namespace kelvara
