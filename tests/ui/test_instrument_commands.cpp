// The window against the simulated instrument: catalogue at start-up, the pick and progress
// dialogs of reading, writing and deleting, the scaling dialog, the simple installation loop,
// once the program as it runs, with real modal loops and the real clock; and the Instrument
// menu: writes checked by reading the location back (and what the window does when the
// instrument holds something else), compare, and curves backed up to a folder and restored.
#include <QElapsedTimer>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QtTest>
#include <thread>

#include "link/qt/real_transports.h"
#include "protocol/verify.h"
#include "sim/adapter_server.h"
#include "sim/instrument.h"
#include "ui_script.h"

using namespace kelvara;
using namespace kelvara::test;

namespace {
const char* kAskWrite = "Do you really want to write to this curve location?";
const char* kCompleted = "Curve writing to instrument completed.";

// Answers a report dialog and keeps its heading and lines.
Step read_report(QString& heading, QString& lines) {
    return [&](QDialog& d) {
        heading = child<QLabel>(d, "Label1")->text();
        lines = child<QPlainTextEdit>(d, "Text1")->toPlainText();
        return click(d, "Command1");
    };
}

}  // namespace

class TestInstrumentCommands : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

  private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    void write_read_and_delete_a_curve() {
        Harness h;
        QVERIFY(h.start(InstrumentModel::TAZ, 1));
        QVERIFY(h.online_commands_enabled());
        // The catalogue was read at start-up.
        QCOMPARE(int(h.w().pick_lists().read.entries.size()), 61);
        for (const auto& e : h.w().pick_lists().read.entries)
            QVERIFY2(e.find(" - ") != std::string::npos, e.c_str());
        QVERIFY(h.prompts.shown.empty());
        h.read_file(tza_file(dir, 5));
        sim::Instrument* sim = h.sim(InstrumentModel::TAZ);
        QVERIFY(!sim->curve(21));

        // No first: the pick dialog stays open; Yes then writes.
        h.prompts.answers = {false, true};
        int bar = -1;
        h.script
            .expect("pickwritecurve",
                    [](QDialog& d) {
                        check_fits(d, QStringLiteral("pickwritecurve"));
                        return pick(0, 2)(d);
                    })
            .expect("writecurve", [&](QDialog& d) {
                const int r = run_timed()(d);
                bar = child<QProgressBar>(d, "ProgressBar1")->value();
                check_fits(d, QStringLiteral("writecurve"));
                return r;
            });
        h.w().Command4_Click();
        QCOMPARE(h.prompts.questions, (std::vector<std::string>{kAskWrite, kAskWrite}));
        QCOMPARE(bar, 1000);
        QVERIFY(h.w().write_confirmed());
        QVERIFY(sim->curve(21));
        QVERIFY(h.w().pick_lists().write.entries[0].rfind("21 - CURVE1", 0) == 0);

        // Read it back over another curve; the read list shows the new entry too.
        h.read_file(tza_file(dir, 3, "OTHER"));
        const auto& reads = h.w().pick_lists().read.entries;
        const auto written =
            std::find(reads.begin(), reads.end(), h.w().pick_lists().write.entries[0]);
        h.transfer("readcurve", int(written - reads.begin()));
        QCOMPARE(h.w().curve().breakpoint_count, 5);
        QCOMPARE(h.text("Text31"), QStringLiteral("CURVE1"));
        QCOMPARE(h.text("Text1"), QStringLiteral("0.1"));

        // Delete: No keeps the dialog, Cancel sends nothing, Yes erases.
        h.prompts.answers = {false};
        h.script.expect("pickdeletecurve", [](QDialog& d) {
            click(d, "Command1");
            return click(d, "Command2");
        });
        h.w().Command5_Click();
        QVERIFY(sim->curve(21));
        h.transfer("deletecurve", 0);
        QVERIFY(!sim->curve(21));
        QCOMPARE(h.prompts.questions.back(),
                 std::string("Do you really want to delete this curve?"));
        QVERIFY(h.script.done());
        QCOMPARE(h.w().curve().breakpoint_count, 5);  // deleting leaves the open curve alone
    }

    void scaled_write_to_kip() {
        Harness h;
        QVERIFY(h.start(InstrumentModel::KIP, 1));
        // A platinum resistor curve ending at 300 ohms: divided by 100 on the way out.
        h.read_file(write_model_curve(
            dir.filePath(QStringLiteral("pt.NAV")), InstrumentModel::KIP, 4,
            [](int i) { return i ? 100.0 * i : 20; }, [](int i) { return 50 + 150.0 * i; }));
        QString factor;
        h.transfer("writecurve", 0, {{"scaling", [&](QDialog& d) {
                                          check_fits(d, QStringLiteral("scaling"));
                                          factor = child<QLineEdit>(d, "Text2")->text();
                                          fill({{"Text2", "abc"}}, "Command1")(d);  // refused
                                          return fill({{"Text2", "0.01"}}, "Command1")(d);
                                      }}});
        QCOMPARE(factor, QStringLiteral("0.01"));
        QCOMPARE(h.prompts.texts(), std::vector<std::string>{"Enter a valid number."});
        QVERIFY(h.w().write_confirmed());
        QCOMPARE(h.w().transfer().scaling_code, 4);
        QVERIFY(h.sim(InstrumentModel::KIP)->curve(4));
        // The window's curve keeps its unscaled values.
        QCOMPARE(h.w().curve().sensor_units[3], 300.0);
        QCOMPARE(h.text("Text4"), QStringLiteral("300"));
        QVERIFY(h.script.done());
    }

    void simple_installation_data() {
        QTest::addColumn<int>("files");     // files given before the chooser is cancelled
        QTest::addColumn<int>("installs");  // curves written
        QTest::addColumn<QString>("faults");
        QTest::addColumn<QString>("report");  // the differences shown, "" for none
        QTest::newRow("installs twice then quits") << 2 << 2 << QString() << QString();
        QTest::newRow("file dialog cancelled") << 0 << 0 << QString() << QString();
        QTest::newRow("write cancelled") << 1 << 0 << QString() << QString();
        // The differences, then the question to repeat instead of the completion message.
        QTest::newRow("differences shown")
            << 1 << 1 << "droplast"
            << "point 4: sent .400000, 360.000; instrument holds no point";
    }
    void simple_installation() {
        QFETCH(int, files);
        QFETCH(int, installs);
        QFETCH(QString, faults);
        QFETCH(QString, report);
        Harness h;
        QVERIFY(h.transports.instrument(InstrumentModel::TAZ).faults.parse(faults.toStdString()));
        h.expect_setup(InstrumentModel::TAZ, 2, true);
        QString heading, lines;
        for (int i = 0; i < files; ++i) {
            h.files.push_back(tza_file(dir, 4 + i, i ? "SECOND" : "FIRST"));
            if (i == installs) {
                h.script.expect("pickwritecurve", press("Command2"));
                continue;
            }
            h.prompts.answers.push_back(true);
            h.script.expect("pickwritecurve", pick(i)).expect("writecurve", run_timed());
            if (!report.isEmpty()) h.script.expect("verifyreport", read_report(heading, lines));
            h.script.expect("repeatchoice", press(i + 1 < installs ? "Command1" : "Command2"));
        }
        QSignalSpy ended(h.window.get(), &ui::MainWindow::program_ended);
        QVERIFY(!h.w().Form_Load());
        QCOMPARE(ended.count(), 1);
        QVERIFY(h.script.done());
        QCOMPARE(lines, report);
        QCOMPARE(h.prompts.texts(),
                 std::vector<std::string>(report.isEmpty() ? installs : 0, kCompleted));
        sim::Instrument* sim = h.sim(InstrumentModel::TAZ);
        for (int i = 0; i < 3; ++i) QCOMPARE(sim->curve(21 + i) != nullptr, i < installs);
    }

    // GPIB through an Ethernet adapter chosen in the communication dialog: the real transports
    // reach the simulated adapter over TCP; a curve goes out and, read back to check it, comes
    // back.
    void through_an_ethernet_adapter() {
        RealClock server_clock;
        sim::Instrument instrument(InstrumentModel::TAZ);
        sim::PrologixAdapter adapter(instrument, server_clock,
                                     sim::PrologixAdapter::kEthernetVersion);
        sim::AdapterServer server(adapter, server_clock);
        QVERIFY(server.listen_tcp(0));
        std::thread serving([&] { server.serve(); });
        RealTransports real;
        {
            Harness h(false, &real);
            h.script.expect("instrumentselection", choose_model(InstrumentModel::TAZ))
                .expect("communication", gpib_through(2, QString::fromStdString(server.address())))
                .expect("wait", run_timed());
            QVERIFY(h.w().Form_Load());
            h.read_file(tza_file(dir, 3, "VIA-LAN"));
            h.transfer("writecurve", 0);
            QVERIFY(h.w().write_confirmed() && h.prompts.shown.empty());
            QVERIFY(h.script.done());
        }
        server.stop();
        serving.join();
        QVERIFY(instrument.curve(21));
        QCOMPARE(instrument.curve(21)->points.size(), std::size_t(3));
    }

    // An adapter that cannot be reached: the link's message, then which adapter and why.
    void unreachable_adapter_is_named() {
        RealTransports real;
        Harness h(false, &real);
        h.script.expect("instrumentselection", choose_model(InstrumentModel::TAZ))
            .expect("communication", gpib_through(2, "127.0.0.1:1"));
        QVERIFY(h.w().Form_Load());
        QCOMPARE(h.w().setup().interface, Interface::None);
        QCOMPARE(h.prompts.texts(),
                 (std::vector<std::string>{
                     "Problem talking to instrument (ildev). Continuing to work offline.",
                     "GPIB adapter 127.0.0.1:1: Connection refused"}));
    }

    // The program as it runs: real modal loops, the wait and progress dialogs' own timers and the
    // real clock, against the simulated FEN on GPIB. A timer answers the active dialog.
    void advanced_installation_writes_through_real_dialogs() {
        Harness h(true);
        h.prompts.answers = {true};
        h.files.push_back(tza_file(dir, 3, "REAL"));
        QStringList answered;
        QStringList progress_labels;
        QTimer answer;
        answer_real_dialogs(answer, InstrumentModel::FEN, 1, [&](QDialog& d) {
            if (d.objectName() != "writecurve") {
                answered << d.objectName();
                return;
            }
            const QString text = child<QLabel>(d, "Label1")->text();
            if (progress_labels.value(progress_labels.size() - 1) != text) progress_labels << text;
        });
        QElapsedTimer elapsed;
        elapsed.start();
        QVERIFY(h.w().Form_Load());
        // Each location is asked with a 0.1 s pause on the bus.
        const auto locations = h.w().pick_lists().read.entries.size();
        QVERIFY(elapsed.elapsed() >= 100 * qint64(locations));
        h.w().show();
        h.w().Command1_Click();
        h.w().Command4_Click();
        answer.stop();
        QCOMPARE(answered, (QStringList{"instrumentselection", "communication", "pickwritecurve"}));
        QVERIFY(h.w().write_confirmed());
        QVERIFY(h.prompts.shown.empty());
        QVERIFY(h.sim(InstrumentModel::FEN)->curve(21));
        // The label moved on while the points went out.
        QVERIFY2(progress_labels.size() >= 2, qPrintable(progress_labels.join('|')));
    }

    void menu_follows_the_link_and_remembers_the_check() {
        const char* commands[] = {"actionCompareWithInstrument", "actionBackUpInstrument",
                                  "actionRestoreInstrument"};
        {
            Harness h;
            QVERIFY(h.start(InstrumentModel::TAZ));  // offline
            QVERIFY(h.action("actionVerifyAfterWriting")->isChecked());
            for (const char* c : commands) QVERIFY2(!h.action(c)->isEnabled(), c);
            h.action("actionVerifyAfterWriting")->setChecked(false);
        }
        ui::MainWindow next;  // the next run
        QVERIFY(!next.findChild<QAction*>(QStringLiteral("actionVerifyAfterWriting"))->isChecked());
        Harness h;
        QVERIFY(h.start(InstrumentModel::TAZ, 2));
        for (const char* c : commands) QVERIFY2(h.action(c)->isEnabled(), c);
    }

    void write_is_checked_data() {
        QTest::addColumn<QString>("faults");
        QTest::addColumn<bool>("verify");
        QTest::addColumn<QString>("report");  // the differences shown, "" for none
        QTest::newRow("held as sent") << "" << true << "";
        QTest::newRow("point 2 stored wrong")
            << "corrupt=2" << true
            << "point 2: sent .200000, 380.000; instrument holds .200000, 381.000";
        QTest::newRow("not checked") << "corrupt=2" << false << "";
    }
    void write_is_checked() {
        QFETCH(QString, faults);
        QFETCH(bool, verify);
        QFETCH(QString, report);
        Harness h;
        QVERIFY(h.start(InstrumentModel::TAZ, 2));
        h.action("actionVerifyAfterWriting")->setChecked(verify);
        h.read_file(tza_file(dir, 3));
        QTest::keyClicks(h.find<QLineEdit>("Text31"), "X");
        QVERIFY(h.w().curve_modified());
        sim::Instrument* sim = h.sim(InstrumentModel::TAZ);
        QVERIFY(sim->faults.parse(faults.toStdString()));
        sim->clear_log();

        QString heading, lines;
        h.transfer(
            "writecurve", 0,
            report.isEmpty() ? Steps{} : Steps{{"verifyreport", read_report(heading, lines)}});
        QVERIFY(h.script.done());
        QCOMPARE(lines, report);
        if (!report.isEmpty()) QCOMPARE(heading, QString::fromLatin1(kVerifyDiffers));
        // Only a write the instrument is seen to hold (or that was not checked) is confirmed
        // and leaves nothing to save.
        QCOMPARE(h.w().write_confirmed(), report.isEmpty());
        QCOMPARE(h.w().curve_modified(), !report.isEmpty());
        const auto& log = sim->log();
        QCOMPARE(std::count(log.begin(), log.end(), "CRVPT? 21,1"), verify ? 1 : 0);
    }

    void compare_with_a_location() {
        Harness h;
        QVERIFY(h.start(InstrumentModel::TAZ, 1));
        h.read_file(tza_file(dir, 3, "WRITTEN"));
        h.transfer("writecurve", 0);
        QVERIFY(h.w().write_confirmed());
        const sim::SimCurve held = *h.sim(InstrumentModel::TAZ)->curve(21);

        h.transfer("comparecurve", 21);
        QCOMPARE(h.prompts.texts().back(), std::string(kCompareAgrees));

        h.read_file(tza_file(dir, 2, "OTHER"));
        QString heading, lines;
        h.transfer("comparecurve", 21, {{"comparereport", read_report(heading, lines)}});
        // The report's lines are the protocol's (test_verify); here, that they reach the dialog.
        QCOMPARE(lines.section('\n', 0, 0),
                 QStringLiteral("name: would send \"OTHER\", instrument holds \"WRITTEN\""));
        QCOMPARE(*h.sim(InstrumentModel::TAZ)->curve(21), held);  // nothing written
        QCOMPARE(h.text("Text31"), QStringLiteral("OTHER"));
        QVERIFY(h.script.done());
    }

    void back_up_and_restore() {
        Harness h;
        QVERIFY(h.start(InstrumentModel::FEN, 2));
        sim::Instrument* sim = h.sim(InstrumentModel::FEN);
        for (int k = 0; k < 2; ++k) {
            h.read_file(tza_file(dir, 3 + k, k ? "SECOND" : "FIRST"));
            h.transfer("writecurve", k);
        }
        const sim::SimCurve first = *sim->curve(21), second = *sim->curve(22);
        const QString folder = dir.filePath(QStringLiteral("backup"));

        QString heading, lines;
        h.files.push_back(folder);
        h.script.expect("backupcurves", run_timed())
            .expect("backupreport", read_report(heading, lines));
        h.w().back_up_instrument();
        QCOMPARE(heading, QStringLiteral("The instrument's curves were saved in %1.").arg(folder));
        QCOMPARE(lines.section('\n', 0, 0),
                 QStringLiteral("location 21: saved in 21.TAZ (FIRST, SN1, 3 points)"));
        sim->erase(21);
        sim->erase(22);

        h.files.push_back(folder);
        h.prompts.answers = {true};
        h.script.expect("restorecurves", run_timed())
            .expect("restorereport", read_report(heading, lines));
        h.w().restore_instrument();
        QCOMPARE(lines.section('\n', 0, 0),
                 QStringLiteral("location 21 (21.TAZ): written and verified"));
        QCOMPARE(*sim->curve(21), first);
        QCOMPARE(*sim->curve(22), second);
        QVERIFY(h.script.done());
    }
};

QTEST_MAIN(TestInstrumentCommands)
#include "test_instrument_commands.moc"
