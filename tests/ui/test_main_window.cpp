// The main window offline: per-model configuration, the file commands, the grid, the graph,
// printing and exporting it, "New Instrument" and the About dialog. Points inserted, deleted and
// adjusted through their dialogs are in test_window_work.cpp (undo and redo).
#include <QApplication>
#include <QMenu>
#include <QPrinter>
#include <QScrollBar>
#include <QSvgRenderer>
#include <QtTest>

#include "ui_script.h"

using namespace kelvara;
using namespace kelvara::test;

class TestMainWindow : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

  private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    void configuration_per_model_data() {
        QTest::addColumn<InstrumentModel>("model");
        QTest::addColumn<QString>("visible");  // the optional header fields and commands shown
        // data formats, scroll range and page, read, write and delete list sizes
        QTest::addColumn<QList<int>>("sizes");
        QTest::addColumn<QString>("file");
        QTest::newRow("TAZ") << InstrumentModel::TAZ
                             << "Combo1 Label4 Text33 Text31 Command8 Command9"
                             << QList<int>{5, 1, 191, 10, 61, 40, 40} << "curve.TAZ";
        QTest::newRow("KIP") << InstrumentModel::KIP
                             << "Combo5 Combo2 Label7 Check1 Text31 Command8 Command9"
                             << QList<int>{5, 1, 88, 10, 16, 12, 12} << "curve.NAV";
        QTest::newRow("HOX") << InstrumentModel::HOX << "" << QList<int>{1, 1, 183, 10, 0, 0, 0}
                             << "curve.HOX";
    }
    void configuration_per_model() {
        QFETCH(InstrumentModel, model);
        QFETCH(QString, visible);
        QFETCH(QList<int>, sizes);
        QFETCH(QString, file);
        Harness h;
        QVERIFY(h.start(model));
        QCOMPARE(shown_of(h.w(), {"Combo1", "Label4", "Text33", "Combo5", "Combo2", "Label7",
                                  "Check1", "Text31", "Command8", "Command9"}),
                 visible.split(' ', Qt::SkipEmptyParts));
        auto* scroll = h.find<QScrollBar>("VScroll1");
        const auto& lists = h.w().pick_lists();
        QCOMPARE((QList<int>{h.find<QComboBox>("Combo1")->count(), scroll->minimum(),
                             scroll->maximum(), scroll->pageStep(), int(lists.read.entries.size()),
                             int(lists.write.entries.size()), int(lists.remove.entries.size())}),
                 sizes);
        QVERIFY(!h.online_commands_enabled());  // offline
        // HOX has fixed units, that cannot be edited, and always 192 rows.
        const bool hox = model == InstrumentModel::HOX;
        QCOMPARE(h.cell(1)->isEnabled(), !hox);
        if (hox) {
            QCOMPARE(h.cell(1)->text(), QStringLiteral("0"));
            QCOMPARE(h.cell(2)->text(), QStringLiteral("0.02"));
            scroll->setValue(183);
            QCOMPARE(h.cell(30)->text(), QStringLiteral("192"));
        }

        // With a plausible sensor curve of the model's own file type, every caption and number
        // fits; smaller than that, the graph gives way before the grid and buttons do.
        const int n = hox ? 192 : 40;
        h.read_file(write_model_curve(
            dir.filePath(file), model, n, [](int i) { return 0.09 + 0.0405 * i; },
            [](int i) { return 475.0 - 2.35 * i; }));
        QCOMPARE(h.w().curve().breakpoint_count, n);
        h.w().resize(1200, 720);
        check_fits(h.w(), QStringLiteral("main-") + file);
        h.w().resize(h.w().minimumSizeHint());
        check_fits(h.w(), QStringLiteral("main-small-") + file);
    }

    void load_scroll_and_redraw() {
        Harness h;
        load_taz(h, dir, 12);
        QCOMPARE(h.filters.value(0), QStringLiteral("*.TAZ (*.TAZ *.taz);;*.TZA (*.TZA *.tza)"));
        QCOMPARE((QStringList{h.text("Text31"), h.text("Text33"),
                              h.find<QComboBox>("Combo1")->currentText(), h.text("Text1"),
                              h.text("Text11")}),
                 (QStringList{"CURVE1", "375", "Volts vs. Kelvin", "0.1", "390"}));
        // The labels and scales for each format are the graph's tests' to check.
        QCOMPARE(int(h.w().graph()->spec().series.at(0).points.size()), 12);
        // Scrolling first checks the cell being edited: refused, the grid stays at the top.
        QLineEdit* edit = h.cell(13);
        edit->setFocus(Qt::MouseFocusReason);
        QTest::keyClicks(edit, "x");
        auto* scroll = h.find<QScrollBar>("VScroll1");
        scroll->setValue(3);
        QCOMPARE(h.prompts.texts(), std::vector<std::string>{"Enter Valid number."});
        QCOMPARE(scroll->value(), 1);
        QCOMPARE(h.cell(21)->text(), QStringLiteral("1"));
        edit->setText("371");
        edit->setModified(true);
        QTest::keyClick(edit, Qt::Key_PageDown);  // accepted, then a page down
        QCOMPARE(h.w().curve().temperatures[2], 371.0);
        // scroll position, the first row's number, temperatures of the second and third rows
        QCOMPARE((QStringList{QString::number(scroll->value()), h.text("Text21"), h.text("Text12"),
                              h.text("Text13")}),
                 (QStringList{"11", "11", "280", ""}));
        // Another data format redraws.
        h.find<QComboBox>("Combo1")->setCurrentIndex(2);
        QCOMPARE(QString::fromStdString(h.w().graph()->spec().y_label),
                 QStringLiteral("Sensor Units (Ohms)"));
    }

    void field_edits_data() {
        QTest::addColumn<int>("field");  // Text1..Text20 with the grid at the top, or Text33
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("message");  // "" when accepted silently
        // Which entries a cell or the setpoint takes is the edit layer's (PointGrid); here, that
        // the window stores them, and keeps a refused one with Escape to give it back.
        QTest::newRow("empty last point's units") << 5 << "" << true << 4 << "";
        QTest::newRow("letters in a point") << 12 << "x1" << false << 5 << "Enter Valid number.";
        QTest::newRow("setpoint zero")
            << 33 << "0" << false << 5 << "Number must be greater than 0.";
        QTest::newRow("setpoint valid") << 33 << "300.5" << true << 5 << "";
    }
    void field_edits() {
        QFETCH(int, field);
        QFETCH(QString, text);
        QFETCH(bool, accepted);
        QFETCH(int, count);
        QFETCH(QString, message);
        Harness h;
        load_taz(h, dir, 5);
        const CurveRecord before = h.w().curve();
        QLineEdit* edit = h.cell(field);
        const QString shown = edit->text();
        type_and_leave(edit, text);
        QCOMPARE(h.prompts.texts(), message.isEmpty() ? std::vector<std::string>{}
                                                      : std::vector{message.toStdString()});
        QCOMPARE(h.w().curve().breakpoint_count, count);
        QCOMPARE(QApplication::focusWidget() == edit, !accepted);
        QCOMPARE(edit->text(), text);  // the field keeps what the user typed
        if (!accepted) {
            // Escape gives back what the field showed, and then the field can be left.
            QTest::keyClick(edit, Qt::Key_Escape);
            QCOMPARE(edit->text(), shown);
            QTest::keyClick(edit, Qt::Key_Tab);
            QCoreApplication::processEvents();
            QVERIFY(QApplication::focusWidget() != edit);
            QCOMPARE(h.prompts.shown.size(), std::size_t(1));
            QVERIFY(h.w().curve() == before && !h.w().curve_modified());
        } else if (field <= 20) {
            const int i = (field - 1) % 10;
            const auto& c = h.w().curve();
            QCOMPARE((field <= 10 ? c.sensor_units : c.temperatures)[i],
                     text.isEmpty() ? UNUSED_POINT : text.toDouble());
        }
    }

    void numbers_in_the_users_locale() {
        QLocale::setDefault(QLocale(QStringLiteral("de_DE")));
        Harness h;
        load_taz(h, dir, 5);
        QCOMPARE(h.cell(1)->text(), QStringLiteral("0,1"));
        type_and_leave(h.cell(3), QStringLiteral("0,35"));
        QVERIFY(h.prompts.shown.empty());
        QCOMPARE(h.w().curve().sensor_units[2], 0.35);
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    }

    void print_titles_from_the_fields() {
        Harness h;
        QVERIFY(h.start(InstrumentModel::KIP));
        h.find<QLineEdit>("Text31")->setText("PT100");
        h.find<QLineEdit>("Text32")->setText("X1");
        h.find<QComboBox>("Combo5")->setCurrentIndex(1);
        // The titles come from the fields on screen; the graph's own tests print them to a PDF.
        QStringList titles;
        h.printer = [&](QPrinter&, QWidget*) {
            titles << QString::fromStdString(h.w().graph()->spec().subtitle);
            for (const auto& line : h.w().graph()->spec().extra_titles)
                titles << QString::fromStdString(line);
            return false;
        };
        h.w().Command7_Click();
        QCOMPARE(titles, (QStringList{"Curve: PT100  X1", "|Setpoint Limit: 375|",
                                      "|Interploation Method: Unknown|"}));
        // The screen graph is back without the print titles.
        QVERIFY(h.w().graph()->spec().subtitle.empty());
    }

    void new_instrument_rebuilds_without_duplicates_and_quit_ends() {
        Harness h;
        load_taz(h, dir, 6);
        for (int round = 0; round < 2; ++round) {
            h.expect_setup(InstrumentModel::KIP, 3, true);
            h.w().Command6_Click();
            QVERIFY(!h.w().ended());
            QCOMPARE(h.w().curve().breakpoint_count, 0);
            QCOMPARE((QList<int>{h.find<QComboBox>("Combo1")->count(),
                                 h.find<QComboBox>("Combo2")->count(),
                                 h.find<QComboBox>("Combo5")->count(),
                                 int(h.w().pick_lists().read.entries.size()),
                                 int(h.w().pick_lists().write.entries.size())}),
                     (QList<int>{5, 3, 6, 16, 12}));
        }
        // QUIT in the selection dialog of "New Instrument" ends the program.
        QSignalSpy ended(h.window.get(), &ui::MainWindow::program_ended);
        h.script.expect("instrumentselection", press("Command2"));
        h.w().Command6_Click();
        QVERIFY(h.w().ended());
        QCOMPARE(ended.count(), 1);
        QVERIFY(h.script.done());

        // QUIT in the communication dialog at start ends it before the window shows.
        Harness start;
        start.script.expect("instrumentselection", choose_model(InstrumentModel::TAZ))
            .expect("communication", press("Command2"));
        QVERIFY(!start.w().Form_Load() && start.w().ended() && !start.w().isVisible());
    }

    // "Export Graph..." and the graph's own context-menu exports go through the window's file
    // chooser and message boxes, also once "New Instrument" gave the window a fresh graph.
    void exports_png_and_svg() {
        Harness h;
        load_taz(h, dir, 12);
        h.w().resize(1200, 720);  // room for the graph
        QAction* action = h.action("actionExportGraph");
        QCOMPARE(action->text(), QStringLiteral("Export Graph..."));
        QVERIFY(h.find<QMenu>("menuFile")->actions().contains(action));
        // The names and the images themselves are test_graph's to check.
        h.filters.clear();
        h.files = {dir.filePath("graph"), dir.filePath("graph.svg")};
        action->trigger();
        action->trigger();
        QCOMPARE(h.filters, QStringList(2, "PNG image (*.png);;SVG image (*.svg)"));
        QVERIFY(QFile::exists(dir.filePath("graph.png")) &&
                QFile::exists(dir.filePath("graph.svg")));
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

        // The graph's own context menu, on the fresh graph "New Instrument" gives the window.
        QVERIFY(h.start(InstrumentModel::TAZ));
        h.files = {dir.filePath("fresh"), dir.filePath("gone/fresh.png")};
        h.filters.clear();
        h.w().graph()->findChild<QAction*>("actionExportSvg")->trigger();
        QCOMPARE(h.filters, QStringList{"SVG image (*.svg)"});
        QVERIFY(QSvgRenderer(dir.filePath("fresh.svg")).isValid());
        h.w().graph()->findChild<QAction*>("actionExportPng")->trigger();
        QCOMPARE(h.prompts.shown.size(), std::size_t(2));
    }

    // Help > About Kelvara names the program, the version of CMake's project(), what it is for
    // and the license, and nothing in it is cut off.
    void about_dialog_from_the_help_menu() {
        Harness h;
        QStringList texts;
        h.script.expect("about", [&](QDialog& d) {
            for (const char* name :
                 {"labelProgram", "labelVersion", "labelPurpose", "labelLicense"})
                texts << child<QLabel>(d, name)->text();
            texts << d.windowTitle();
            check_fits(d, QStringLiteral("about"));
            return click(d, "Command1");
        });
        QAction* about = h.action("actionAbout");
        QVERIFY(h.w().findChild<QMenu*>(QStringLiteral("menuHelp"))->actions().contains(about));
        about->trigger();
        QVERIFY(h.script.done());
        QCOMPARE(texts[0], QStringLiteral("Tessaly Kelvara"));
        QCOMPARE(texts[1], QStringLiteral("Version " KELVARA_EXPECTED_VERSION));
        QVERIFY(texts[2].contains(QStringLiteral("calibration curves")));
        QVERIFY(texts[3].contains(QStringLiteral("GNU General Public License, version 3")));
        QCOMPARE(texts[4], QStringLiteral("About Kelvara"));
    }
};

QTEST_MAIN(TestMainWindow)
#include "test_main_window.moc"
