// The main window offline: per-model configuration, the file commands, the grid, point
// insertion and deletion, the adjustment, the graph, printing and "New Instrument".
#include <QApplication>
#include <QPrinter>
#include <QScrollBar>
#include <QtTest>

#include "ui_script.h"

using namespace kelvara;
using namespace kelvara::test;

Q_DECLARE_METATYPE(kelvara::InstrumentModel)

class TestMainWindow : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

    static QLineEdit* cell(Harness& h, int n) {
        return h.find<QLineEdit>(qPrintable(QStringLiteral("Text%1").arg(n)));
    }
    // A TAZ window offline with the given file read through "Read Curve From File", shown and
    // active so that the fields take focus.
    void load(Harness& h, int points) {
        QVERIFY(h.start(InstrumentModel::TAZ));
        h.files.push_back(tza_file(dir, points));
        h.w().Command1_Click();
        h.w().show();
        QApplication::setActiveWindow(h.window.get());
        QVERIFY(QTest::qWaitForWindowActive(h.window.get()));
    }
    // Types text into a field (replacing what it shows) and leaves it with Tab.
    static void type_and_leave(QLineEdit* edit, const QString& text) {
        edit->setFocus(Qt::MouseFocusReason);
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Backspace);
        QTest::keyClicks(edit, text);
        QTest::keyClick(edit, Qt::Key_Tab);
        QCoreApplication::processEvents();
    }

  private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    void configuration_per_model_data() {
        QTest::addColumn<InstrumentModel>("model");
        QTest::addColumn<QString>("visible");  // the optional header fields and commands shown
        QTest::addColumn<int>("formats");
        QTest::addColumn<int>("scroll_max");
        QTest::addColumn<int>("reads");
        QTest::addColumn<int>("writes");
        QTest::addColumn<QString>("file");
        QTest::newRow("TAZ") << InstrumentModel::TAZ
                             << "Combo1 Label4 Text33 Text31 Command8 Command9" << 5 << 191 << 61
                             << 40 << "curve.TAZ";
        QTest::newRow("KIP") << InstrumentModel::KIP
                             << "Combo5 Combo2 Label7 Check1 Text31 Command8 Command9" << 5 << 88
                             << 16 << 12 << "curve.NAV";
        QTest::newRow("HOX") << InstrumentModel::HOX << "" << 1 << 183 << 0 << 0 << "curve.HOX";
    }
    void configuration_per_model() {
        QFETCH(InstrumentModel, model);
        QFETCH(QString, visible);
        QFETCH(int, formats);
        QFETCH(int, scroll_max);
        QFETCH(int, reads);
        QFETCH(int, writes);
        QFETCH(QString, file);
        Harness h;
        QVERIFY(h.start(model));
        QCOMPARE(h.w().windowTitle(),
                 QStringLiteral("Tessaly Kelvara - Version 8.3 - Instrument Model ") +
                     QString::fromLatin1(designation(model).data()));
        for (const char* name : {"Combo1", "Label4", "Text33", "Combo5", "Combo2", "Label7",
                                 "Check1", "Text31", "Command8", "Command9"})
            QVERIFY2(h.shown(name) == visible.split(' ').contains(QLatin1String(name)), name);
        QCOMPARE(h.find<QComboBox>("Combo1")->count(), formats);
        auto* scroll = h.find<QScrollBar>("VScroll1");
        QCOMPARE(scroll->minimum(), 1);
        QCOMPARE(scroll->maximum(), scroll_max);
        QCOMPARE(scroll->pageStep(), 10);
        QCOMPARE(int(h.w().pick_lists().read.entries.size()), reads);
        QCOMPARE(int(h.w().pick_lists().write.entries.size()), writes);
        QCOMPARE(int(h.w().pick_lists().remove.entries.size()), writes);
        // Offline: the instrument commands cannot be pressed.
        for (const char* b : {"Command3", "Command4", "Command5"})
            QVERIFY(!h.find<QPushButton>(b)->isEnabled());
        // HOX has fixed units, that cannot be edited, and always 192 rows.
        const bool hox = model == InstrumentModel::HOX;
        QCOMPARE(cell(h, 1)->isEnabled(), !hox);
        if (hox) {
            QCOMPARE(cell(h, 1)->text(), QStringLiteral("0"));
            QCOMPARE(cell(h, 2)->text(), QStringLiteral("0.02"));
            scroll->setValue(183);
            QCOMPARE(cell(h, 30)->text(), QStringLiteral("192"));
        }

        // With a plausible sensor curve of the model's own file type, every caption and number
        // fits; smaller than that, the graph gives way before the grid and buttons do.
        const int n = hox ? 192 : 40;
        h.files.push_back(write_model_curve(
            dir.filePath(file), model, n, [](int i) { return 0.09 + 0.0405 * i; },
            [](int i) { return 475.0 - 2.35 * i; }));
        h.w().Command1_Click();
        QCOMPARE(h.w().curve().breakpoint_count, n);
        h.w().resize(1200, 720);
        check_fits(h.w(), QStringLiteral("main-") + file);
        h.w().resize(h.w().minimumSizeHint());
        check_fits(h.w(), QStringLiteral("main-small-") + file);
    }

    void load_scroll_and_redraw() {
        Harness h;
        load(h, 12);
        QCOMPARE(h.filters.value(0), QStringLiteral("*.TAZ (*.TAZ *.taz);;*.TZA (*.TZA *.tza)"));
        QCOMPARE(h.text("Text31"), QStringLiteral("CURVE1"));
        QCOMPARE(h.text("Text33"), QStringLiteral("375"));
        QCOMPARE(h.find<QComboBox>("Combo1")->currentText(), QStringLiteral("Volts vs. Kelvin"));
        QCOMPARE(cell(h, 1)->text(), QStringLiteral("0.1"));
        QCOMPARE(cell(h, 11)->text(), QStringLiteral("390"));
        const GraphSpec& g = h.w().graph()->spec();
        QCOMPARE(QString::fromStdString(g.x_label), QStringLiteral("Temperature (Kelvin)"));
        QCOMPARE(QString::fromStdString(g.y_label), QStringLiteral("Sensor Units (Volts)"));
        QCOMPARE(int(g.series.size()), 1);
        QCOMPARE(int(g.series[0].points.size()), 12);
        // Scrolling first checks the cell being edited: refused, the grid stays at the top.
        QLineEdit* edit = cell(h, 13);
        edit->setFocus(Qt::MouseFocusReason);
        QTest::keyClicks(edit, "x");
        auto* scroll = h.find<QScrollBar>("VScroll1");
        scroll->setValue(3);
        QCOMPARE(h.prompts.texts(), std::vector<std::string>{"Enter Valid number."});
        QCOMPARE(scroll->value(), 1);
        QCOMPARE(cell(h, 21)->text(), QStringLiteral("1"));
        edit->setText("371");
        edit->setModified(true);
        QTest::keyClick(edit, Qt::Key_PageDown);  // accepted, then a page down
        QCOMPARE(h.w().curve().temperatures[2], 371.0);
        QCOMPARE(scroll->value(), 11);
        QCOMPARE(cell(h, 21)->text(), QStringLiteral("11"));
        QCOMPARE(cell(h, 12)->text(), QStringLiteral("280"));
        QCOMPARE(cell(h, 13)->text(), QString());
        // Another data format redraws: ohms falling with temperature are drawn log-log.
        h.find<QComboBox>("Combo1")->setCurrentIndex(2);
        QCOMPARE(QString::fromStdString(h.w().graph()->spec().y_label),
                 QStringLiteral("Sensor Units (Ohms)"));
        QVERIFY(h.w().graph()->spec().x_scale == AxisScale::Logarithmic);
        QVERIFY(h.w().graph()->spec().y_scale == AxisScale::Logarithmic);
    }

    void field_edits_data() {
        QTest::addColumn<int>("field");  // Text1..Text20 with the grid at the top, or Text33
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("message");  // "" when accepted silently
        QTest::newRow("empty last point's units") << 5 << "" << true << 4 << "";
        QTest::newRow("empty a middle point") << 3 << "" << false << 5 << "Enter Valid number.";
        QTest::newRow("letters beyond the curve")
            << 17 << "abc" << false << 5 << "Enter Valid number or nothing.";
        QTest::newRow("letters in a point") << 12 << "x1" << false << 5 << "Enter Valid number.";
        QTest::newRow("units below the previous")
            << 2 << "0.05" << true << 5
            << "WARNING! Sensor units must be entered by increasing magnitude as the point number "
               "increases.";
        QTest::newRow("units equal to the previous") << 2 << "0.1" << true << 5 << "";
        QTest::newRow("new sixth point") << 6 << "0.7" << true << 5 << "";
        QTest::newRow("setpoint zero")
            << 33 << "0" << false << 5 << "Number must be greater than 0.";
        QTest::newRow("setpoint letter") << 33 << "x" << false << 5 << "Enter Valid Number.";
        QTest::newRow("setpoint valid") << 33 << "300.5" << true << 5 << "";
    }
    void field_edits() {
        QFETCH(int, field);
        QFETCH(QString, text);
        QFETCH(bool, accepted);
        QFETCH(int, count);
        QFETCH(QString, message);
        Harness h;
        load(h, 5);
        const CurveRecord before = h.w().curve();
        QLineEdit* edit = cell(h, field);
        type_and_leave(edit, text);
        QCOMPARE(h.prompts.texts(), message.isEmpty() ? std::vector<std::string>{}
                                                      : std::vector{message.toStdString()});
        QCOMPARE(h.w().curve().breakpoint_count, count);
        QCOMPARE(QApplication::focusWidget() == edit, !accepted);
        QCOMPARE(edit->text(), text);  // the field keeps what the user typed
        if (field > 20) return;
        const int i = (field - 1) % 10;
        const auto& column = field <= 10 ? h.w().curve().sensor_units : h.w().curve().temperatures;
        const auto& old = field <= 10 ? before.sensor_units : before.temperatures;
        QCOMPARE(column[i], !accepted ? old[i] : text.isEmpty() ? UNUSED_POINT : text.toDouble());
    }

    void numbers_in_the_users_locale() {
        QLocale::setDefault(QLocale(QStringLiteral("de_DE")));
        Harness h;
        load(h, 5);
        QCOMPARE(cell(h, 1)->text(), QStringLiteral("0,1"));
        type_and_leave(cell(h, 3), QStringLiteral("0,35"));
        QVERIFY(h.prompts.shown.empty());
        QCOMPARE(h.w().curve().sensor_units[2], 0.35);
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    }

    void insert_and_delete_points() {
        Harness h;
        load(h, 5);
        QStringList pairs;
        h.script.expect("insertapoint", [&](QDialog& d) {
            auto* list = child<QComboBox>(d, "Combo1");
            for (int i = 0; i < list->count(); ++i) pairs << list->itemText(i);
            list->setCurrentIndex(1);
            child<QLineEdit>(d, "Text1")->setText("0.5");  // above point 3: refused first
            child<QLineEdit>(d, "Text2")->setText("375");
            click(d, "Command1");
            child<QLineEdit>(d, "Text1")->setText("0.25");
            return click(d, "Command1");
        });
        h.w().Command8_Click();
        QCOMPARE(pairs, (QStringList{"1 And 2", "2 And 3", "3 And 4", "4 And 5"}));
        QCOMPARE(h.prompts.texts(),
                 std::vector<std::string>{"Enter valid increasing magnitude sensor unit number."});
        QCOMPARE(h.w().curve().breakpoint_count, 6);
        QCOMPARE(h.w().curve().sensor_units[2], 0.25);
        QCOMPARE(cell(h, 13)->text(), QStringLiteral("375"));
        QCOMPARE(cell(h, 4)->text(), QStringLiteral("0.3"));

        int listed = 0;
        h.script.expect("deleteapoint", [&](QDialog& d) {
            listed = child<QComboBox>(d, "Combo1")->count();
            return pick(2)(d);  // point 3
        });
        h.w().Command9_Click();
        QCOMPARE(listed, 10);
        QCOMPARE(h.w().curve().breakpoint_count, 5);
        QCOMPARE(cell(h, 3)->text(), QStringLiteral("0.3"));
        // Point 8 of a five-point curve: nothing changes.
        h.script.expect("deleteapoint", pick(7));
        h.w().Command9_Click();
        QCOMPARE(h.w().curve().breakpoint_count, 5);
        QVERIFY(h.script.unexpected.isEmpty());
    }

    void adjustment_shows_both_series() {
        Harness h;
        load(h, 5);
        h.script.expect("adjustpoints", [](QDialog& d) {
            child<QLineEdit>(d, "txtControlPoint")->setText("abc");
            click(d, "cmdNextPoint");  // refused: the dialog stays
            child<QLineEdit>(d, "txtControlPoint")->setText("380");
            child<QLineEdit>(d, "txtSamplePoint")->setText("380.5");
            return click(d, "cmdNextPoint");
        });
        h.script.expect("adjustpoints", press("cmdDone"));
        h.w().cmdAdjust_Click();
        QCOMPARE(h.prompts.texts(),
                 std::vector<std::string>{"Temperature values must be numeric."});
        QCOMPARE(h.w().curve().temperatures[1], 380.5);
        QCOMPARE(h.text("Text31"), QStringLiteral("Adjusted"));
        QCOMPARE(h.text("Text32"), QStringLiteral("Adjusted"));
        QCOMPARE(cell(h, 12)->text(), QStringLiteral("380.5"));
        const GraphSpec& g = h.w().graph()->spec();
        QCOMPARE(int(g.series.size()), 2);
        QCOMPARE(QString::fromStdString(g.series[0].label), QStringLiteral("Original"));
        QCOMPARE(QString::fromStdString(g.series[1].label), QStringLiteral("Adjusted"));
        QCOMPARE(g.series[0].points[1].x, 380.0);
        QCOMPARE(g.series[1].points[1].x, 380.5);
    }

    void print_kip_graph_to_pdf() {
        Harness h;
        QVERIFY(h.start(InstrumentModel::KIP));
        h.find<QLineEdit>("Text31")->setText("PT100");
        h.find<QLineEdit>("Text32")->setText("X1");
        h.find<QComboBox>("Combo5")->setCurrentIndex(1);
        const QString pdf = dir.filePath(QStringLiteral("graph.pdf"));
        QStringList titles;
        h.printer = [&](QPrinter& p, QWidget*) {
            titles << QString::fromStdString(h.w().graph()->spec().subtitle);
            for (const auto& line : h.w().graph()->spec().extra_titles)
                titles << QString::fromStdString(line);
            p.setOutputFormat(QPrinter::PdfFormat);
            p.setOutputFileName(pdf);
            return true;
        };
        h.w().Command7_Click();
        QCOMPARE(titles, (QStringList{"Curve: PT100  X1", "|Setpoint Limit: 375|",
                                      "|Interploation Method: Unknown|"}));
        QFile file(pdf);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().startsWith("%PDF"));
        // The screen graph is back without the print titles.
        QVERIFY(h.w().graph()->spec().subtitle.empty());
    }

    void new_instrument_rebuilds_without_duplicates() {
        Harness h;
        load(h, 6);
        for (int round = 0; round < 2; ++round) {
            h.script.expect("instrumentselection", choose_model(InstrumentModel::KIP))
                .expect("communication", choose_interface(3, true));
            h.w().Command6_Click();
            QVERIFY(!h.w().ended());
            QCOMPARE(h.w().curve().breakpoint_count, 0);
            QCOMPARE(h.find<QComboBox>("Combo1")->count(), 5);
            QCOMPARE(h.find<QComboBox>("Combo2")->count(), 3);
            QCOMPARE(h.find<QComboBox>("Combo5")->count(), 6);
            QCOMPARE(int(h.w().pick_lists().read.entries.size()), 16);
            QCOMPARE(int(h.w().pick_lists().write.entries.size()), 12);
        }
        // QUIT in the selection dialog of "New Instrument" ends the program.
        QSignalSpy ended(h.window.get(), &ui::MainWindow::program_ended);
        h.script.expect("instrumentselection", press("Command2"));
        h.w().Command6_Click();
        QVERIFY(h.w().ended());
        QCOMPARE(ended.count(), 1);
        QVERIFY(h.script.unexpected.isEmpty());
    }

    void quit_at_start_ends_before_window() {
        Harness h;
        h.script.expect("instrumentselection", choose_model(InstrumentModel::TAZ))
            .expect("communication", press("Command2"));
        QVERIFY(!h.w().Form_Load());
        QVERIFY(h.w().ended());
        QVERIFY(!h.w().isVisible());
    }
};

QTEST_MAIN(TestMainWindow)
#include "test_main_window.moc"
