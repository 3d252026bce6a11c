// The Instrument menu: writes checked by reading the location back (and what the window does
// when the instrument holds something else), the open curve compared with a location, and an
// instrument's curves backed up to a folder and restored from it.
#include <QAction>
#include <QPlainTextEdit>
#include <QtTest>

#include "protocol/verify.h"
#include "sim/instrument.h"
#include "ui_script.h"

using namespace kelvara;
using namespace kelvara::test;

namespace {

// Answers a report dialog and keeps its heading and lines.
Step read_report(QString& heading, QString& lines) {
    return [&](QDialog& d) {
        heading = child<QLabel>(d, "Label1")->text();
        lines = child<QPlainTextEdit>(d, "Text1")->toPlainText();
        return click(d, "Command1");
    };
}

}  // namespace

class TestInstrumentMenu : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

  private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

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
        if (report.isEmpty())
            h.transfer("writecurve", 0);
        else
            h.transfer("writecurve", 0, {{"verifyreport", read_report(heading, lines)}});
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

    // The simple installation shows the differences, then asks to repeat instead of saying the
    // curve was installed.
    void simple_installation_shows_the_differences() {
        Harness h;
        h.transports.instrument(InstrumentModel::TAZ).faults.parse("droplast");
        h.expect_setup(InstrumentModel::TAZ, 2, true);
        h.files.push_back(tza_file(dir, 3, "SIMPLE"));
        h.prompts.answers = {true};
        QString heading, lines;
        h.script.expect("pickwritecurve", pick(0))
            .expect("writecurve", run_timed())
            .expect("verifyreport", read_report(heading, lines))
            .expect("repeatchoice", press("Command2"));
        QVERIFY(!h.w().Form_Load());
        QVERIFY(h.script.done());
        QCOMPARE(lines,
                 QStringLiteral("point 3: sent .300000, 370.000; instrument holds no point"));
        QVERIFY(h.prompts.texts().empty());  // no "Curve writing to instrument completed."
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
        QCOMPARE(lines, QStringLiteral("name: would send \"OTHER\", instrument holds \"WRITTEN\"\n"
                                       "point 3: not in the curve; instrument holds .300000, "
                                       "370.000"));
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
        QCOMPARE(lines, QStringLiteral("location 21: saved in 21.TAZ (FIRST, SN1, 3 points)\n"
                                       "location 22: saved in 22.TAZ (SECOND, SN1, 4 points)\n"
                                       "empty, nothing to save: 23 24 25 26 27 28"));
        sim->erase(21);
        sim->erase(22);

        h.files.push_back(folder);
        h.prompts.answers = {true};
        h.script.expect("restorecurves", run_timed())
            .expect("restorereport", read_report(heading, lines));
        h.w().restore_instrument();
        QCOMPARE(lines, QStringLiteral("location 21 (21.TAZ): written and verified\n"
                                       "location 22 (22.TAZ): written and verified"));
        QCOMPARE(*sim->curve(21), first);
        QCOMPARE(*sim->curve(22), second);
        QVERIFY(h.script.done());
    }
};

QTEST_MAIN(TestInstrumentMenu)
#include "test_instrument_menu.moc"
