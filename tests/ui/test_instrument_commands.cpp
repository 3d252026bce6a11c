// The window against the simulated instrument (virtual clock): catalogue at start-up, the pick
// and progress dialogs of reading, writing and deleting, the scaling dialog, and the simple
// installation loop.
#include <QLabel>
#include <QProgressBar>
#include <QtTest>

#include "curve/files.h"
#include "sim/instrument.h"
#include "ui_script.h"

using namespace kelvara;
using namespace kelvara::test;

namespace {
const char* kAskWrite = "Do you really want to write to this curve location?";
const char* kAskDelete = "Do you really want to delete this curve?";
const char* kCompleted = "Curve writing to instrument completed.";

int entry_starting(const ListField& list, const std::string& number) {
    for (size_t i = 0; i < list.entries.size(); ++i)
        if (list.entries[i].rfind(number + " ", 0) == 0 || list.entries[i] == number) return int(i);
    return -1;
}
}  // namespace

class TestInstrumentCommands : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

    QString tza(int points, const char* name = "CURVE1") {
        return write_file(dir, QStringLiteral("%1.TZA").arg(QString::fromLatin1(name)),
                          tza_curve(points, name));
    }
    // Clicks OK in a pick dialog as often as it takes the prompts' answers to let it close.
    static Step pick_and_confirm(int index, int clicks) {
        return [=](QDialog& d) {
            child<QComboBox>(d, "Combo1")->setCurrentIndex(index);
            for (int i = 0; i < clicks; ++i) click(d, "Command1");
            return d.result();
        };
    }

  private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    void catalogue_at_start_up() {
        Harness h;
        QVERIFY(h.start(InstrumentModel::TAZ, 1, false));
        QCOMPARE(h.w().link().interface(), Interface::GPIB);
        QCOMPARE(h.script.seen, (QStringList{"instrumentselection", "communication", "wait"}));
        for (const char* b : {"Command3", "Command4", "Command5"})
            QVERIFY(h.find<QPushButton>(b)->isEnabled());
        const PickLists& p = h.w().pick_lists();
        QCOMPARE(int(p.read.entries.size()), 61);
        for (const auto& e : p.read.entries)
            QVERIFY2(e.find(" - ") != std::string::npos, e.c_str());
        QCOMPARE(p.read.selected, 0);
        QCOMPARE(p.write.selected, 0);
        QVERIFY(h.prompts.shown.empty());
    }

    void write_read_and_delete_a_curve() {
        Harness h;
        QVERIFY(h.start(InstrumentModel::TAZ, 1, false));
        h.files.push_back(tza(5));
        h.w().Command1_Click();
        sim::Instrument* sim = h.w().simulated(InstrumentModel::TAZ);
        QVERIFY(sim);
        QVERIFY(!sim->curve(21));

        // No first: the pick dialog stays open; Yes then writes.
        h.prompts.answers = {false, true};
        int bar = -1;
        QString title;
        h.script.expect("pickwritecurve", pick_and_confirm(0, 2))
            .expect("writecurve", [&](QDialog& d) {
                title = d.windowTitle();
                const int r = run_timed()(d);
                bar = child<QProgressBar>(d, "ProgressBar1")->value();
                return r;
            });
        h.w().Command4_Click();
        QCOMPARE(h.prompts.questions, (std::vector<std::string>{kAskWrite, kAskWrite}));
        QCOMPARE(title, QStringLiteral("Writing Curve To Instrument"));
        QCOMPARE(bar, 1000);
        QVERIFY(h.w().write_confirmed());
        QVERIFY(sim->curve(21));
        QVERIFY(h.w().pick_lists().write.entries[0].rfind("21 - CURVE1", 0) == 0);

        // Read it back into an emptied window.
        h.script.expect("instrumentselection", choose_model(row_of(InstrumentModel::TAZ)))
            .expect("communication", choose_interface(1, false))
            .expect("wait", run_timed());
        h.w().Command6_Click();
        QCOMPARE(h.w().curve().breakpoint_count, 0);
        const int at21 = entry_starting(h.w().pick_lists().read, "21");
        QVERIFY(at21 >= 0);
        h.script.expect("pickreadcurve", pick(at21)).expect("readcurve", run_timed());
        h.w().Command3_Click();
        QCOMPARE(h.w().curve().breakpoint_count, 5);
        QCOMPARE(h.find<QLineEdit>("Text31")->text(), QStringLiteral("CURVE1"));
        QCOMPARE(h.find<QLineEdit>("Text1")->text(), QStringLiteral("0.1"));
        QCOMPARE(int(h.w().graph()->spec().series[0].points.size()), 5);

        // Delete: No keeps the dialog, Cancel sends nothing, Yes erases.
        h.prompts.answers = {false};
        h.script.expect("pickdeletecurve", [](QDialog& d) {
            click(d, "Command1");
            return click(d, "Command2");
        });
        h.w().Command5_Click();
        QVERIFY(sim->curve(21));
        h.prompts.answers = {true};
        h.script.expect("pickdeletecurve", pick_and_confirm(0, 1))
            .expect("deletecurve", run_timed());
        h.w().Command5_Click();
        QVERIFY(!sim->curve(21));
        QCOMPARE(h.prompts.questions.back(), std::string(kAskDelete));
        QVERIFY(h.script.unexpected.isEmpty());
        QCOMPARE(h.w().curve().breakpoint_count, 5);  // deleting leaves the open curve alone
    }

    void cancelled_write_is_not_confirmed() {
        Harness h;
        QVERIFY(h.start(InstrumentModel::DAL, 2, false));
        h.files.push_back(tza(3, "SHORT"));
        h.w().Command1_Click();
        h.script.expect("pickwritecurve", press("Command2"));
        h.w().Command4_Click();
        QVERIFY(!h.w().write_confirmed());
        QVERIFY(!h.w().simulated(InstrumentModel::DAL)->curve(21));
    }

    void scaled_write_to_kip() {
        Harness h;
        QVERIFY(h.start(InstrumentModel::KIP, 1, false));
        // A platinum resistor curve ending at 300 ohms: divided by 100 on the way out.
        CurveRecord c = CurveRecord::for_model(InstrumentModel::KIP);
        HeaderFields f = HeaderFields::for_model(InstrumentModel::KIP);
        f.name = "PT";
        f.serial_number = "P1";
        const double units[] = {20, 100, 200, 300};
        const double temps[] = {50, 150, 300, 500};
        for (int i = 0; i < 4; ++i) {
            c.sensor_units[i] = units[i];
            c.temperatures[i] = temps[i];
        }
        c.breakpoint_count = 4;
        RecordingPrompts quiet;
        const QString path = dir.filePath(QStringLiteral("pt.NAV"));
        QCOMPARE(write_curve_file(path.toStdString(), InstrumentModel::KIP, c, f, quiet),
                 FileCommandResult::Done);
        h.files.push_back(path);
        h.w().Command1_Click();
        QCOMPARE(h.w().curve().breakpoint_count, 4);

        h.prompts.answers = {true};
        bool offset_shown = true;
        QString factor;
        h.script.expect("pickwritecurve", pick_and_confirm(0, 1))
            .expect("writecurve", run_timed())
            .expect("scaling", [&](QDialog& d) {
                offset_shown = child(d, "Text1")->isVisibleTo(&d);
                factor = child<QLineEdit>(d, "Text2")->text();
                child<QLineEdit>(d, "Text2")->setText("abc");
                click(d, "Command1");  // refused
                child<QLineEdit>(d, "Text2")->setText("0.01");
                return click(d, "Command1");
            });
        h.w().Command4_Click();
        QVERIFY(!offset_shown);
        QCOMPARE(factor, QStringLiteral("0.01"));
        QCOMPARE(h.prompts.texts(), std::vector<std::string>{"Enter a valid number."});
        QVERIFY(h.w().write_confirmed());
        QCOMPARE(h.w().transfer().scaling_code, 4);
        const sim::SimCurve* stored = h.w().simulated(InstrumentModel::KIP)->curve(4);
        QVERIFY(stored);
        // The window's curve keeps its unscaled values.
        QCOMPARE(h.w().curve().sensor_units[3], 300.0);
        QCOMPARE(h.find<QLineEdit>("Text4")->text(), QStringLiteral("300"));
        QVERIFY(h.script.unexpected.isEmpty());
    }

    void simple_installation_data() {
        QTest::addColumn<bool>("give_file");
        QTest::addColumn<bool>("confirm");
        QTest::addColumn<bool>("stored");
        QTest::newRow("installs then quits") << true << true << true;
        QTest::newRow("file dialog cancelled") << false << false << false;
        QTest::newRow("write cancelled") << true << false << false;
    }
    void simple_installation() {
        QFETCH(bool, give_file);
        QFETCH(bool, confirm);
        QFETCH(bool, stored);
        Harness h;
        if (give_file) h.files.push_back(tza(4, "SIMPLE"));
        h.script.expect("instrumentselection", choose_model(row_of(InstrumentModel::TAZ)))
            .expect("communication", choose_interface(1, true))
            .expect("wait", run_timed());
        if (give_file) {
            if (confirm) {
                h.prompts.answers = {true};
                h.script.expect("pickwritecurve", pick_and_confirm(0, 1))
                    .expect("writecurve", run_timed())
                    .expect("repeatchoice", press("Command2"));
            } else {
                h.script.expect("pickwritecurve", press("Command2"));
            }
        }
        QSignalSpy ended(h.window.get(), &ui::MainWindow::program_ended);
        QVERIFY(!h.w().Form_Load());
        QVERIFY(h.w().ended());
        QCOMPARE(ended.count(), 1);
        QVERIFY(h.script.steps.empty());
        QVERIFY(h.script.unexpected.isEmpty());
        QCOMPARE(h.prompts.texts(),
                 stored ? std::vector<std::string>{kCompleted} : std::vector<std::string>{});
        QCOMPARE(h.w().simulated(InstrumentModel::TAZ)->curve(21) != nullptr, stored);
    }

    void simple_installation_repeats_then_goes_advanced() {
        Harness h;
        h.files.push_back(tza(4, "FIRST"));
        h.files.push_back(tza(6, "SECOND"));
        h.prompts.answers = {true, true};
        h.script.expect("instrumentselection", choose_model(row_of(InstrumentModel::TAZ)))
            .expect("communication", choose_interface(2, true))
            .expect("wait", run_timed())
            .expect("pickwritecurve", pick_and_confirm(0, 1))
            .expect("writecurve", run_timed())
            .expect("repeatchoice", press("Command1"))  // simple again
            .expect("pickwritecurve", pick_and_confirm(1, 1))
            .expect("writecurve", run_timed())
            .expect("repeatchoice", [](QDialog& d) {
                child<QRadioButton>(d, "Option2")->setChecked(true);
                return click(d, "Command1");
            });
        QVERIFY(h.w().Form_Load());
        QVERIFY(!h.w().ended());
        QVERIFY(h.script.unexpected.isEmpty());
        QCOMPARE(h.prompts.texts(), (std::vector<std::string>{kCompleted, kCompleted}));
        sim::Instrument* sim = h.w().simulated(InstrumentModel::TAZ);
        QVERIFY(sim->curve(21) && sim->curve(22));
        QCOMPARE(h.w().curve().breakpoint_count, 6);
        QCOMPARE(h.w().link().interface(), Interface::RS232);
    }

    void failed_link_continues_offline_data() {
        QTest::addColumn<int>("option");
        QTest::newRow("GPIB library missing") << 1;
        QTest::newRow("serial device missing") << 2;
    }
    void failed_link_continues_offline() {
        QFETCH(int, option);
        ui::MainWindowOptions o;
        o.gpib_library = "/nonexistent/libgpib.so.0";
        o.serial_device = "/nonexistent/ttyS0";
        Harness h(o);
        QVERIFY(h.start(InstrumentModel::TAZ, option, true));
        QCOMPARE(h.w().setup().interface, Interface::None);
        QVERIFY(!h.prompts.shown.empty());
        const std::string last = h.prompts.shown.back().text;
        QVERIFY2(last.size() > 27 && last.substr(last.size() - 27) == "Continuing to work offline.",
                 last.c_str());
        // Offline whatever the installation type: no catalogue, no file picker, buttons off.
        QVERIFY(h.filters.isEmpty());
        QVERIFY(!h.find<QPushButton>("Command3")->isEnabled());
    }

    void real_clock_paints_but_drops_input() {
        ui::GuiClock clock;
        QPushButton button(QStringLiteral("Write Curve To Instrument"));
        button.show();
        QVERIFY(QTest::qWaitForWindowExposed(&button));
        int clicks = 0;
        connect(&button, &QPushButton::clicked, [&] { ++clicks; });
        auto post_click = [&] {
            const QPointF at(5, 5);
            for (auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease})
                QCoreApplication::postEvent(
                    &button, new QMouseEvent(type, at, button.mapToGlobal(at), Qt::LeftButton,
                                             Qt::LeftButton, Qt::NoModifier));
        };
        bool timer_ran = false;
        QTimer::singleShot(10, [&] { timer_ran = true; });
        post_click();
        QElapsedTimer elapsed;
        elapsed.start();
        clock.pause(0.05);
        QVERIFY(elapsed.elapsed() >= 50);
        QVERIFY(timer_ran);
        QCoreApplication::processEvents();
        QCOMPARE(clicks, 0);  // dropped, not replayed after the wait
        post_click();
        QCoreApplication::processEvents();
        QCOMPARE(clicks, 1);
    }

    void offline_simple_installation_stays_in_window() {
        Harness h;
        h.script.expect("instrumentselection", choose_model(row_of(InstrumentModel::TAZ)))
            .expect("communication", choose_interface(3, true));
        QVERIFY(h.w().Form_Load());
        QVERIFY(h.script.seen.indexOf("wait") < 0);
        QVERIFY(h.filters.isEmpty());
        QVERIFY(!h.find<QPushButton>("Command4")->isEnabled());
    }
};

QTEST_MAIN(TestInstrumentCommands)
#include "test_instrument_commands.moc"
