// The curve graph of the main window (objectName "PesgoStd1"), drawn with Qt Charts from a
// GraphSpec, and its printing.
#pragma once

#include <QChartView>
#include <QColor>
#include <QString>
#include <functional>

#include "graph/graph_description.h"

class QPrinter;

namespace kelvara {

inline const QColor kOriginalSeriesColour{0, 0, 0};
inline const QColor kAdjustedSeriesColour{220, 0, 0};

class CurveGraph : public QChartView {
    Q_OBJECT
  public:
    explicit CurveGraph(QWidget* parent = nullptr);

    // The three redraws; each updates the remembered GraphState and renders it.
    void update_graph(InstrumentModel model, const CurveRecord& curve, const HeaderFields& fields);
    void update_graph_series2(InstrumentModel model, const CurveRecord& curve,
                              const HeaderFields& fields);

    // Renders a description as it stands. On a logarithmic axis, points whose value on that axis
    // is 0 or below are left out (the rest of the line is drawn).
    void render_spec(const GraphSpec& spec);

    const GraphSpec& spec() const { return state_.spec(); }

    // Asks for a printer; false when the user cancels. The default shows the system's print
    // dialog (QPrintDialog).
    using PrinterChooser = std::function<bool(QPrinter& printer, QWidget* parent)>;
    static bool ask_with_print_dialog(QPrinter& printer, QWidget* parent);

    // "Print Graph": draws the print variant, asks for a printer through choose, prints the
    // graph with its titles on one page, then redraws the screen graph (one series, no print
    // titles). Returns false when the user cancelled or the printer could not be opened.
    bool print_graph(InstrumentModel model, const CurveRecord& curve, const HeaderFields& fields,
                     QWidget* dialog_parent = nullptr,
                     const PrinterChooser& choose = ask_with_print_dialog);

  private:
    GraphState state_;
};

}  // namespace kelvara
