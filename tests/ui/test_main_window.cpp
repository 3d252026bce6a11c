// The main window offline: per-model configuration, the file commands, the grid, point
// insertion and deletion, the adjustment, the graph, printing and "New Instrument".
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
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
    static bool shown(Harness& h, const char* name) {
        return h.find(name)->isVisibleTo(h.window.get());
    }
    // A TAZ window offline with the given file read through "Read Curve From File".
    void load(Harness& h, const QByteArray& tza) {
        QVERIFY(h.start(InstrumentModel::TAZ));
        h.files.push_back(write_file(dir, QStringLiteral("c%1.tza").arg(counter++), tza));
        h.w().Command1_Click();
    }
    int counter = 0;

    // Types text into a cell (replacing what it shows) and leaves it with Tab.
    static void type_and_leave(QLineEdit* edit, const QString& text) {
        edit->setFocus(Qt::MouseFocusReason);
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Backspace);
        QTest::keyClicks(edit, text);
        QTest::keyClick(edit, Qt::Key_Tab);
        QCoreApplication::processEvents();
    }
    static void show_active(Harness& h) {
        h.w().show();
        QApplication::setActiveWindow(h.window.get());
        QVERIFY(QTest::qWaitForWindowActive(h.window.get()));
    }

  private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    void configuration_per_model_data() {
        QTest::addColumn<InstrumentModel>("model");
        QTest::addColumn<QStringList>("formats");  // Combo1 entries
        QTest::addColumn<bool>("formats_shown");
        QTest::addColumn<bool>("setpoint_text");     // Text33 shown
        QTest::addColumn<QString>("setpoint_list");  // Combo5 selection, "" when hidden
        QTest::addColumn<QString>("interpolation");  // Combo2 selection, "" when hidden
        QTest::addColumn<bool>("thermocouple");
        QTest::addColumn<bool>("name_and_insert");
        QTest::addColumn<int>("scroll_max");
        QTest::addColumn<QString>("first_write");
        QTest::addColumn<int>("writes");
        QTest::addColumn<int>("reads");
        QTest::newRow("TAZ") << InstrumentModel::TAZ
                             << QStringList{"MilliVolts vs. Kelvin", "Volts vs. Kelvin",
                                            "Ohms vs. Kelvin", "Log Ohms vs. Kelvin",
                                            "Log Ohms vs. Log Kelvin"}
                             << true << true << ""
                             << "" << false << true << 191 << "21" << 40 << 61;
        QTest::newRow("ZEK") << InstrumentModel::ZEK
                             << QStringList{"Ohms vs. Kelvin", "Log Ohms vs. Kelvin"} << true
                             << true << ""
                             << "" << false << true << 191 << "21" << 39 << 59;
        QTest::newRow("KIP") << InstrumentModel::KIP
                             << QStringList{"No Conversion", "Ohms/100 (e.g., Platinum)",
                                            "Ohms/1000 (e.g., Platinum)",
                                            "Ohms*3/100 (e.g., Rhodium-Iron)",
                                            "(MilliVolts+15)*100 (e.g., Thermocouple)"}
                             << false << false << "325"
                             << "Unknown" << true << true << 88 << "4" << 12 << 16;
        QTest::newRow("KOR") << InstrumentModel::KOR
                             << QStringList{"No Conversion", "Ohms/100 (e.g., Platinum)",
                                            "(MilliVolts+15)*100 (e.g., Thermocouple)"}
                             << false << false << "325"
                             << "" << true << true << 88 << "11" << 1 << 12;
        QTest::newRow("HOX") << InstrumentModel::HOX << QStringList{"Log Ohms vs. Kelvin"} << false
                             << false << ""
                             << "" << false << false << 183 << "" << 0 << 0;
    }
    void configuration_per_model() {
        QFETCH(InstrumentModel, model);
        QFETCH(QStringList, formats);
        QFETCH(bool, formats_shown);
        QFETCH(bool, setpoint_text);
        QFETCH(QString, setpoint_list);
        QFETCH(QString, interpolation);
        QFETCH(bool, thermocouple);
        QFETCH(bool, name_and_insert);
        QFETCH(int, scroll_max);
        QFETCH(QString, first_write);
        QFETCH(int, writes);
        QFETCH(int, reads);
        Harness h;
        QVERIFY(h.start(model));
        QCOMPARE(h.w().windowTitle(),
                 QStringLiteral("Tessaly Kelvara - Version 8.3 - Instrument Model ") +
                     QString::fromLatin1(designation(model).data()));
        auto* combo1 = h.find<QComboBox>("Combo1");
        QStringList entries;
        for (int i = 0; i < combo1->count(); ++i) entries << combo1->itemText(i);
        QCOMPARE(entries, formats);
        QCOMPARE(combo1->currentIndex(), 0);
        QCOMPARE(shown(h, "Combo1"), formats_shown);
        QCOMPARE(shown(h, "Label4"), formats_shown);
        QCOMPARE(shown(h, "Text33"), setpoint_text);
        QCOMPARE(shown(h, "Combo5"), !setpoint_list.isEmpty());
        if (!setpoint_list.isEmpty()) {
            QCOMPARE(h.find<QComboBox>("Combo5")->currentText(), setpoint_list);
            QCOMPARE(h.find<QComboBox>("Combo5")->count(), 6);
            QCOMPARE(h.find<QLabel>("Label4")->text(),
                     QStringLiteral("Data Conversion To/From Instrument"));
        }
        QCOMPARE(shown(h, "Combo2"), !interpolation.isEmpty());
        QCOMPARE(shown(h, "Label7"), !interpolation.isEmpty());
        if (!interpolation.isEmpty())
            QCOMPARE(h.find<QComboBox>("Combo2")->currentText(), interpolation);
        QCOMPARE(shown(h, "Check1"), thermocouple);
        QCOMPARE(shown(h, "Text31"), name_and_insert);
        QCOMPARE(shown(h, "Command8"), name_and_insert);
        QCOMPARE(shown(h, "Command9"), name_and_insert);
        QVERIFY(shown(h, "Text32"));
        QCOMPARE(cell(h, 1)->isEnabled(), name_and_insert);
        auto* scroll = h.find<QScrollBar>("VScroll1");
        QCOMPARE(scroll->minimum(), 1);
        QCOMPARE(scroll->maximum(), scroll_max);
        QCOMPARE(scroll->pageStep(), 10);
        QCOMPARE(scroll->value(), 1);
        QCOMPARE(int(h.w().pick_lists().write.entries.size()), writes);
        QCOMPARE(int(h.w().pick_lists().remove.entries.size()), writes);
        QCOMPARE(int(h.w().pick_lists().read.entries.size()), reads);
        if (writes) QCOMPARE(QString::fromStdString(h.w().pick_lists().write.text()), first_write);
        // Offline: the instrument commands cannot be pressed.
        for (const char* b : {"Command3", "Command4", "Command5"})
            QVERIFY(!h.find<QPushButton>(b)->isEnabled());
        QVERIFY(h.find<QPushButton>("Command1")->isEnabled());
        QVERIFY(h.script.unexpected.isEmpty());
    }

    void hox_grid_shows_fixed_units() {
        Harness h;
        QVERIFY(h.start(InstrumentModel::HOX));
        QCOMPARE(cell(h, 1)->text(), QStringLiteral("0"));
        QCOMPARE(cell(h, 2)->text(), QStringLiteral("0.02"));
        QCOMPARE(cell(h, 11)->text(), QString());
        QCOMPARE(cell(h, 21)->text(), QStringLiteral("1"));
        h.find<QScrollBar>("VScroll1")->setValue(183);
        QCOMPARE(cell(h, 21)->text(), QStringLiteral("183"));
        QCOMPARE(cell(h, 30)->text(), QStringLiteral("192"));
        QCOMPARE(h.w().curve().breakpoint_count, 0);
        QCOMPARE(h.filters.size(), 0);
        h.w().Command1_Click();  // cancelled: nothing happens
        QCOMPARE(h.filters.value(0), QStringLiteral("*.HOX (*.HOX *.hox)"));
        QVERIFY(h.prompts.shown.empty());
    }

    void read_file_and_scroll() {
        Harness h;
        load(h, tza_curve(12));
        QCOMPARE(h.filters.value(0), QStringLiteral("*.TAZ (*.TAZ *.taz);;*.TZA (*.TZA *.tza)"));
        QCOMPARE(h.w().curve().breakpoint_count, 12);
        QCOMPARE(h.find<QLineEdit>("Text31")->text(), QStringLiteral("CURVE1"));
        QCOMPARE(h.find<QLineEdit>("Text32")->text(), QStringLiteral("SN1"));
        QCOMPARE(h.find<QLineEdit>("Text33")->text(), QStringLiteral("375"));
        QCOMPARE(h.find<QComboBox>("Combo1")->currentText(), QStringLiteral("Volts vs. Kelvin"));
        QCOMPARE(cell(h, 1)->text(), QStringLiteral("0.1"));
        QCOMPARE(cell(h, 11)->text(), QStringLiteral("390"));
        h.find<QScrollBar>("VScroll1")->setValue(3);
        QCOMPARE(cell(h, 21)->text(), QStringLiteral("3"));
        QCOMPARE(cell(h, 30)->text(), QStringLiteral("12"));
        QCOMPARE(cell(h, 10)->text(), QStringLiteral("1.2"));
        QCOMPARE(cell(h, 20)->text(), QStringLiteral("280"));
        // Graph: volts against kelvin, one series of 12 points.
        const GraphSpec& g = h.w().graph()->spec();
        QCOMPARE(QString::fromStdString(g.x_label), QStringLiteral("Temperature (Kelvin)"));
        QCOMPARE(QString::fromStdString(g.y_label), QStringLiteral("Sensor Units (Volts)"));
        QCOMPARE(int(g.series.size()), 1);
        QCOMPARE(int(g.series[0].points.size()), 12);
        // Choosing another data format redraws: ohms falling with temperature are drawn log-log.
        h.find<QComboBox>("Combo1")->setCurrentIndex(2);
        QCOMPARE(QString::fromStdString(h.w().graph()->spec().y_label),
                 QStringLiteral("Sensor Units (Ohms)"));
        QVERIFY(h.w().graph()->spec().x_scale == AxisScale::Logarithmic);
        QVERIFY(h.w().graph()->spec().y_scale == AxisScale::Logarithmic);
    }

    void wrong_file_type_leaves_curve() {
        Harness h;
        load(h, tza_curve(4));
        h.files.push_back(write_file(dir, QStringLiteral("curve.nav"), tza_curve(7)));
        h.w().Command1_Click();
        QCOMPARE(h.prompts.texts().back(),
                 std::string("Wrong file type. Must use file with '.TAZ' or '.TZA' extension."));
        QCOMPARE(h.w().curve().breakpoint_count, 4);
        // A file written by "Write Curve To File" reads back as the same curve.
        const QString out = dir.filePath(QStringLiteral("written.TAZ"));
        h.find<QLineEdit>("Text31")->setText(QStringLiteral("RENAMED"));
        h.files.push_back(out);
        h.w().Command2_Click();
        QVERIFY(QFile::exists(out));
        Harness h2;
        QVERIFY(h2.start(InstrumentModel::TAZ));
        h2.files.push_back(out);
        h2.w().Command1_Click();
        QCOMPARE(h2.w().curve().breakpoint_count, 4);
        QCOMPARE(h2.find<QLineEdit>("Text31")->text(), QStringLiteral("RENAMED"));
    }

    void grid_edits_data() {
        QTest::addColumn<int>("cell");  // Text1..Text20 with the grid at the top
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("message");  // "" when accepted silently
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<int>("count");
        QTest::newRow("empty last point's units") << 5 << ""
                                                  << "" << true << 4;
        QTest::newRow("empty a middle point") << 3 << ""
                                              << "Enter Valid number." << false << 5;
        QTest::newRow("letters beyond the curve") << 17 << "abc"
                                                  << "Enter Valid number or nothing." << false << 5;
        QTest::newRow("letters in a point") << 12 << "x1"
                                            << "Enter Valid number." << false << 5;
        QTest::newRow("units below the previous")
            << 2 << "0.05"
            << "WARNING! Sensor units must be entered by increasing magnitude as the point number "
               "increases."
            << true << 5;
        QTest::newRow("units equal to the previous") << 2 << "0.1"
                                                     << "" << true << 5;
        QTest::newRow("new sixth point") << 6 << "0.7"
                                         << "" << true << 5;
    }
    void grid_edits() {
        QFETCH(int, cell);
        QFETCH(QString, text);
        QFETCH(QString, message);
        QFETCH(bool, accepted);
        QFETCH(int, count);
        Harness h;
        load(h, tza_curve(5));
        show_active(h);
        const CurveRecord before = h.w().curve();
        QLineEdit* edit = TestMainWindow::cell(h, cell);
        type_and_leave(edit, text);
        QCOMPARE(h.prompts.shown.empty() ? QString()
                                         : QString::fromStdString(h.prompts.shown.front().text),
                 message);
        QVERIFY(h.prompts.shown.size() <= 1);
        QCOMPARE(h.w().curve().breakpoint_count, count);
        QCOMPARE(QApplication::focusWidget() == edit, !accepted);
        const int index = (cell - 1) % 10;
        const auto& column = cell <= 10 ? h.w().curve().sensor_units : h.w().curve().temperatures;
        const auto& old = cell <= 10 ? before.sensor_units : before.temperatures;
        if (!accepted) {
            QCOMPARE(column[index], old[index]);
        } else if (!text.isEmpty()) {
            QCOMPARE(column[index], text.toDouble());
        } else {
            QCOMPARE(column[index], UNUSED_POINT);
        }
        // The cell keeps what the user typed.
        QCOMPARE(edit->text(), text);
    }

    void grid_in_the_users_locale() {
        QLocale::setDefault(QLocale(QStringLiteral("de_DE")));
        Harness h;
        load(h, tza_curve(5));
        show_active(h);
        QCOMPARE(cell(h, 1)->text(), QStringLiteral("0,1"));
        type_and_leave(cell(h, 3), QStringLiteral("0,35"));
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        QVERIFY(h.prompts.shown.empty());
        QCOMPARE(h.w().curve().sensor_units[2], 0.35);
    }

    void scrolling_checks_an_edit_first() {
        Harness h;
        load(h, tza_curve(12));
        show_active(h);
        QLineEdit* edit = cell(h, 13);  // temperature of point 3
        edit->setFocus(Qt::MouseFocusReason);
        QTest::keyClicks(edit, "x");
        auto* scroll = h.find<QScrollBar>("VScroll1");
        scroll->setValue(3);  // refused: the grid stays at the top
        QCOMPARE(h.prompts.texts(), std::vector<std::string>{"Enter Valid number."});
        QCOMPARE(scroll->value(), 1);
        QCOMPARE(cell(h, 21)->text(), QStringLiteral("1"));
        edit->setText("371");
        edit->setModified(true);
        QTest::keyClick(edit, Qt::Key_PageDown);  // accepted, then a page down
        QCOMPARE(h.w().curve().temperatures[2], 371.0);
        QCOMPARE(scroll->value(), 11);
        QCOMPARE(cell(h, 21)->text(), QStringLiteral("11"));
        QCOMPARE(cell(h, 12)->text(), QStringLiteral("280"));  // point 12
        QCOMPARE(cell(h, 13)->text(), QString());
    }

    void setpoint_validation_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("message");
        QTest::newRow("zero") << "0"
                              << "Number must be greater than 0.";
        QTest::newRow("letter") << "x"
                                << "Enter Valid Number.";
        QTest::newRow("valid") << "300.5"
                               << "";
    }
    void setpoint_validation() {
        QFETCH(QString, text);
        QFETCH(QString, message);
        Harness h;
        load(h, tza_curve(3));
        show_active(h);
        auto* setpoint = h.find<QLineEdit>("Text33");
        type_and_leave(setpoint, text);
        QCOMPARE(h.prompts.shown.empty() ? QString()
                                         : QString::fromStdString(h.prompts.shown.front().text),
                 message);
        QCOMPARE(QApplication::focusWidget() == setpoint, !message.isEmpty());
    }

    void setpoint_locale_conversion_data() {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("kept");
        QTest::addColumn<QString>("shown");
        QTest::newRow("en") << "en_US"
                            << "375.5"
                            << "375.5";
        QTest::newRow("de") << "de_DE"
                            << "375.5"
                            << "375,5";
        QTest::newRow("de not a number") << "de_DE"
                                         << "abc"
                                         << "abc";
    }
    void setpoint_locale_conversion() {
        QFETCH(QString, locale);
        QFETCH(QString, kept);
        QFETCH(QString, shown);
        QLocale::setDefault(QLocale(locale));
        QCOMPARE(ui::setpoint_to_display(kept.toStdString()), shown);
        QCOMPARE(QString::fromStdString(ui::setpoint_from_display(shown)), kept);
        if (kept == "375.5") QCOMPARE(*ui::parse_number(shown), 375.5);
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    }

    void insert_and_delete_points() {
        Harness h;
        load(h, tza_curve(5));
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
            auto* list = child<QComboBox>(d, "Combo1");
            listed = list->count();
            list->setCurrentIndex(2);  // point 3
            return click(d, "Command1");
        });
        h.w().Command9_Click();
        QCOMPARE(listed, 10);
        QCOMPARE(h.w().curve().breakpoint_count, 5);
        QCOMPARE(h.w().curve().sensor_units[2], 0.3);
        QCOMPARE(cell(h, 3)->text(), QStringLiteral("0.3"));
        // Point 8 of a five-point curve: nothing changes.
        h.script.expect("deleteapoint", pick(7));
        h.w().Command9_Click();
        QCOMPARE(h.w().curve().breakpoint_count, 5);
        QVERIFY(h.script.unexpected.isEmpty());
    }

    void adjustment_shows_both_series() {
        Harness h;
        QByteArray f =
            "Name: CAL\r\nSerial number: S9\r\nFormat: 2             ; Volts vs. Kelvin\r\n"
            "Limit: 500\r\nCoefficient: 2        ; Positive\r\n";
        const double temps[] = {20, 77, 175, 300, 500};
        for (int i = 0; i < 5; ++i)
            f += "Point " + QByteArray::number(i + 1) + ": " + QByteArray::number(0.1 * (i + 1)) +
                 "," + QByteArray::number(temps[i]) + "\r\n";
        load(h, f);
        h.script.expect("adjustpoints", [](QDialog& d) {
            child<QLineEdit>(d, "txtControlPoint")->setText("abc");
            click(d, "cmdNextPoint");  // refused: the dialog stays
            child<QLineEdit>(d, "txtControlPoint")->setText("77");
            child<QLineEdit>(d, "txtSamplePoint")->setText("77.5");
            return click(d, "cmdNextPoint");
        });
        h.script.expect("adjustpoints", press("cmdDone"));
        h.w().cmdAdjust_Click();
        QCOMPARE(h.prompts.texts(),
                 std::vector<std::string>{"Temperature values must be numeric."});
        QCOMPARE(h.w().curve().temperatures[1], 77.5);
        QCOMPARE(h.w().curve().temperatures[2], 175.25);
        QCOMPARE(h.w().curve().temperatures[4], 500.0);
        QCOMPARE(h.find<QLineEdit>("Text31")->text(), QStringLiteral("Adjusted"));
        QCOMPARE(h.find<QLineEdit>("Text32")->text(), QStringLiteral("Adjusted"));
        QCOMPARE(cell(h, 12)->text(), QStringLiteral("77.5"));
        const GraphSpec& g = h.w().graph()->spec();
        QCOMPARE(int(g.series.size()), 2);
        QCOMPARE(QString::fromStdString(g.series[0].label), QStringLiteral("Original"));
        QCOMPARE(QString::fromStdString(g.series[1].label), QStringLiteral("Adjusted"));
        QCOMPARE(g.series[0].points[1].x, 77.0);
        QCOMPARE(g.series[1].points[1].x, 77.5);
    }

    void print_kip_graph_to_pdf() {
        Harness h;
        QVERIFY(h.start(InstrumentModel::KIP));
        h.find<QLineEdit>("Text31")->setText("PT100");
        h.find<QLineEdit>("Text32")->setText("X1");
        h.find<QComboBox>("Combo5")->setCurrentIndex(1);
        const QString pdf = dir.filePath(QStringLiteral("graph.pdf"));
        QString subtitle;
        QStringList extra;
        h.printer = [&](QPrinter& p, QWidget*) {
            const GraphSpec& g = h.w().graph()->spec();
            subtitle = QString::fromStdString(g.subtitle);
            for (const auto& line : g.extra_titles) extra << QString::fromStdString(line);
            p.setOutputFormat(QPrinter::PdfFormat);
            p.setOutputFileName(pdf);
            return true;
        };
        h.w().Command7_Click();
        QCOMPARE(subtitle, QStringLiteral("Curve: PT100  X1"));
        QCOMPARE(extra, (QStringList{"|Setpoint Limit: 375|", "|Interploation Method: Unknown|"}));
        QFile file(pdf);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().startsWith("%PDF"));
        // The screen graph is back without the print titles.
        QVERIFY(h.w().graph()->spec().subtitle.empty());
    }

    void new_instrument_rebuilds_without_duplicates() {
        Harness h;
        load(h, tza_curve(6));
        for (int round = 0; round < 2; ++round) {
            h.script.expect("instrumentselection", choose_model(row_of(InstrumentModel::KIP)))
                .expect("communication", choose_interface(3, true));
            h.w().Command6_Click();
            QVERIFY(!h.w().ended());
            QCOMPARE(h.w().curve().breakpoint_count, 0);
            QCOMPARE(cell(h, 1)->text(), QString());
            QCOMPARE(h.find<QLineEdit>("Text31")->text(), QString());
            QCOMPARE(h.find<QComboBox>("Combo1")->count(), 5);
            QCOMPARE(h.find<QComboBox>("Combo2")->count(), 3);
            QCOMPARE(h.find<QComboBox>("Combo5")->count(), 6);
            QCOMPARE(int(h.w().pick_lists().read.entries.size()), 16);
            QCOMPARE(int(h.w().pick_lists().write.entries.size()), 12);
            QCOMPARE(h.find<QScrollBar>("VScroll1")->maximum(), 88);
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
        h.script.expect("instrumentselection", choose_model(12))
            .expect("communication", press("Command2"));
        QVERIFY(!h.w().Form_Load());
        QVERIFY(h.w().ended());
        QVERIFY(!h.w().isVisible());
    }
};

QTEST_MAIN(TestMainWindow)
#include "test_main_window.moc"
