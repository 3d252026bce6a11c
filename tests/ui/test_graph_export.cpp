// The window's "Export Graph..." and the graph's own context-menu exports, through the window's
// file chooser and message boxes, before and after "New Instrument" gives the window a fresh
// graph.
#include <QAction>
#include <QMenu>
#include <QSvgRenderer>

#include "ui_script.h"

using namespace kelvara;
using namespace kelvara::test;

namespace {

QAction* menu_action(Harness& h, const QString& text) {
    for (QAction* a : h.find<QMenu>("menuFile")->actions())
        if (a->text() == text) return a;
    return nullptr;
}

}  // namespace

class TestGraphExport : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

    // A TAZ window with a curve, shown at a size where the graph has room.
    void load(Harness& h) {
        load_taz(h, dir, 12);
        h.w().resize(1200, 720);
        QVERIFY(QTest::qWaitForWindowExposed(h.window.get()));
    }

  private slots:
    void file_menu_exports_png_and_svg() {
        Harness h;
        load(h);
        QAction* action = menu_action(h, "Export Graph...");
        QVERIFY(action && action->objectName() == "actionExportGraph");
        CurveGraph* graph = h.w().graph();
        graph->zoom_at(graph->position_of(350, 0.5), 0.3);

        // No extension typed: a PNG; ".svg" typed: an SVG. Both at the graph's size.
        h.filters.clear();
        h.files = {dir.filePath("graph"), dir.filePath("graph.svg")};
        action->trigger();
        action->trigger();
        QCOMPARE(h.filters, QStringList(2, "PNG image (*.png);;SVG image (*.svg)"));
        QCOMPARE(QImage(dir.filePath("graph.png")).size(), graph->size());
        QSvgRenderer svg(dir.filePath("graph.svg"));
        QVERIFY(svg.isValid());
        QCOMPARE(svg.viewBox().size(), graph->size());
        QVERIFY(h.prompts.shown.empty());

        // A folder that is not there: the file and the system's reason, and no file.
        h.files = {dir.filePath("gone/graph.png")};
        action->trigger();
        QCOMPARE(h.prompts.texts(),
                 std::vector<std::string>{"The graph could not be exported to " +
                                          dir.filePath("gone/graph.png").toStdString() +
                                          ":\nNo such file or directory"});
        QCOMPARE(h.prompts.shown[0].title, std::string("Tessaly Kelvara"));

        // Cancelled: nothing written, nothing said.
        action->trigger();
        QCOMPARE(h.prompts.shown.size(), std::size_t(1));
    }

    void fresh_graph_keeps_its_export() {
        Harness h;
        load(h);
        QVERIFY(h.start(InstrumentModel::TAZ));  // "New Instrument" replaces the graph
        h.files = {dir.filePath("fresh")};
        h.filters.clear();
        h.w().graph()->findChild<QAction*>("actionExportSvg")->trigger();
        QCOMPARE(h.filters, QStringList{"SVG image (*.svg)"});
        QVERIFY(QSvgRenderer(dir.filePath("fresh.svg")).isValid());
        h.files = {dir.filePath("gone/fresh.png")};
        h.w().graph()->findChild<QAction*>("actionExportPng")->trigger();
        QCOMPARE(h.prompts.shown.size(), std::size_t(1));
    }
};

QTEST_MAIN(TestGraphExport)
#include "test_graph_export.moc"
