// The window when a transfer goes wrong: a failed read leaves the curve on screen as it was, a
// dead line takes the window offline with the way back named, a busy instrument and an
// unsendable curve are reported; and the progress dialog's Cancel button, which alone gets
// through while the window refuses every other click during a transfer.
#include <sys/resource.h>

#include <QElapsedTimer>
#include <QtTest>

#include "protocol/messages.h"
#include "sim/instrument.h"
#include "ui_script.h"

using namespace kelvara;
using namespace kelvara::test;

namespace {
const std::string kLost =
    "The connection to the instrument was lost (%1). Kelvara now works offline: choose "
    "\"New Instrument\" to connect again.";
const std::string kCancelled =
    "The instrument was disconnected after the cancel. Kelvara now works offline: choose "
    "\"New Instrument\" to connect again.";

double cpu_seconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec + usage.ru_utime.tv_usec / 1e6 + usage.ru_stime.tv_sec +
           usage.ru_stime.tv_usec / 1e6;
}

// The instrument commands greyed and the status line saying so.
bool offline(Harness& h) {
    return !h.online_commands_enabled() &&
           h.find<QLabel>("statusText")->text().endsWith(QLatin1String("  |  offline"));
}

// A transfer with a TAZ on bus (1 GPIB, 2 RS-232) through its dialog, of a four-point curve read
// from a file first, with the simulated instrument's faults (counts are lines from the transfer's
// start). Which message each fault gives is the protocol's to pin (tests/protocol test_faults);
// here, that the window shows it, keeps its curve, and goes offline with the buttons greyed.
struct Fault {
    int bus;
    QString dialog, faults;
    QStringList messages;
    bool offline;
};
}  // namespace
Q_DECLARE_METATYPE(Fault)

class TestTransferFaults : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

  private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    void fault_during_a_transfer_data() {
        QTest::addColumn<Fault>("f");
        const QString lost = QString::fromStdString(kLost);
        const QString lost_serial = lost.arg("simulated port: the line hung up");
        const QString lost_gpib = lost.arg("the GPIB driver reported ENOL (no listener)");
        const QString problem = QString::fromLatin1(kProblemTalking);
        QTest::newRow("read, line hung up")
            << Fault{2, "readcurve", "hangup=3", {problem, lost_serial}, true};
        QTest::newRow("read, silence") << Fault{2, "readcurve", "cut=3", {problem}, false};
        QTest::newRow("write, GPIB write fails")
            << Fault{1, "writecurve", "hangup=2", {problem, lost_gpib}, true};
        QTest::newRow("delete, busy to the end")
            << Fault{1, "deletecurve", "busy=forever", {kNotConfirmedSaved}, false};
    }
    void fault_during_a_transfer() {
        QFETCH(Fault, f);
        Harness h;
        QVERIFY(h.start(InstrumentModel::TAZ, f.bus));
        h.read_file(tza_file(dir, 4, "ONSCREEN"));
        const CurveRecord before = h.w().curve();
        const QString name = h.text("Text31");

        sim::Instrument* sim = h.sim(InstrumentModel::TAZ);
        QVERIFY(sim->faults.parse(f.faults.toStdString()));
        // Counted from the transfer's first command on.
        if (sim->faults.hangup_after >= 0) sim->faults.hangup_after += sim->commands_received();
        if (sim->faults.cut_after >= 0) sim->faults.cut_after += sim->commands_received();
        h.transfer(f.dialog, 0);
        QCOMPARE(h.messages(), f.messages);
        // Offline: the instrument commands disabled, no interface, and the status line says so.
        QCOMPARE((QList<bool>{!h.online_commands_enabled(),
                              h.w().setup().interface == Interface::None, offline(h)}),
                 QList<bool>(3, f.offline));
        QVERIFY(!h.w().write_confirmed());
        // Whatever failed, the window shows the curve it had.
        QVERIFY(h.w().curve() == before);
        QCOMPARE(h.text("Text31"), name);
        QVERIFY(h.script.done());
    }

    // The program as it runs, with the real clock and real modal loops: the HOX erase waits
    // 20.1 s, the Cancel button (or Escape) ends it within a second, and a click on the window
    // meanwhile does nothing.
    void cancel_a_hox_write_data() {
        QTest::addColumn<bool>("escape");
        QTest::newRow("Cancel clicked") << false;
        QTest::newRow("Escape pressed") << true;
    }
    void cancel_a_hox_write() {
        QFETCH(bool, escape);
        Harness h(true);
        h.prompts.answers = {true};
        h.files.push_back(write_model_curve(
            dir.filePath(QStringLiteral("cancel.HOX")), InstrumentModel::HOX, 192,
            [](int) { return 0.0; }, [](int i) { return 300.0 - i; }));
        QElapsedTimer erase_sent, since_cancel;
        double cpu_at_erase = 0, wait_cpu_share = 1;
        bool cancel_found = false;
        QTimer answer;
        answer_real_dialogs(answer, InstrumentModel::HOX, 2, [&](QDialog& d) {
            if (d.objectName() != "writecurve" || since_cancel.isValid()) return;
            auto* cancel = child<QPushButton>(d, "cmdCancelTransfer");
            cancel_found = cancel != nullptr;
            const sim::Instrument* sim = h.sim(InstrumentModel::HOX);
            if (!cancel || !sim || sim->log().empty() || sim->log().back() != "ERASE!") return;
            if (!erase_sent.isValid()) {
                erase_sent.start();
                cpu_at_erase = cpu_seconds();
            }
            if (erase_sent.elapsed() < 500) return;
            wait_cpu_share = (cpu_seconds() - cpu_at_erase) / (erase_sent.elapsed() / 1000.0);
            // Half a second into the erase: the window first, which must not answer.
            QTest::mouseClick(h.find<QPushButton>("Command1"), Qt::LeftButton);
            since_cancel.start();
            if (escape)
                QTest::keyClick(&d, Qt::Key_Escape);
            else
                QTest::mouseClick(cancel, Qt::LeftButton);
        });
        QVERIFY(h.w().Form_Load());
        h.w().show();
        h.w().Command1_Click();
        const int chooser_calls = int(h.filters.size());
        h.w().Command4_Click();
        answer.stop();
        QVERIFY(cancel_found);
        // The window stays painted during the wait without keeping a core busy.
        QVERIFY2(wait_cpu_share < 0.05, qPrintable(QString::number(wait_cpu_share)));
        QVERIFY(since_cancel.isValid());
        QVERIFY2(since_cancel.elapsed() < 1000,
                 qPrintable(QString::number(since_cancel.elapsed())));
        QCOMPARE(int(h.filters.size()), chooser_calls);  // the click on the window was refused
        QCOMPARE(
            h.prompts.texts(),
            (std::vector<std::string>{
                "Writing cancelled. The instrument may now hold a partial curve.", kCancelled}));
        QVERIFY(offline(h));
        QVERIFY(!h.w().write_confirmed());
        QCOMPARE(h.sim(InstrumentModel::HOX)->log().back(), std::string("ERASE!"));
    }

    // The start-up catalogue's wait dialog has a Cancel button too. Before its first query it
    // closes the dialog; during the catalogue it stops it within a second. Either way the window
    // opens offline, and a simple installation does not go on to ask for a file to write.
    void cancel_the_start_up_catalogue_before_it_starts() {
        Harness h;
        h.script.expect("instrumentselection", choose_model(InstrumentModel::TAZ))
            .expect("communication", choose_interface(2, true))
            .expect("wait", press("cmdCancelTransfer"));
        QVERIFY(h.w().Form_Load());
        QVERIFY(h.script.done());
        QCOMPARE(h.messages(), QStringList{QString::fromStdString(kCancelled)});
        QVERIFY(h.filters.isEmpty());
        QVERIFY(offline(h));
        QVERIFY(h.sim(InstrumentModel::TAZ)->log().size() <= 1);  // the identification only
    }
    void cancel_the_start_up_catalogue_while_it_runs() {
        Harness h(true);
        QTimer answer, cancel;
        answer_real_dialogs(answer, InstrumentModel::TAZ, 2, [](QDialog&) {});
        QElapsedTimer since_cancel;
        QObject::connect(&cancel, &QTimer::timeout, [&] {
            auto* d = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            const sim::Instrument* sim = h.sim(InstrumentModel::TAZ);
            if (!d || d->objectName() != QLatin1String("wait") || since_cancel.isValid() || !sim ||
                sim->log().size() < 4)
                return;
            since_cancel.start();
            QTest::mouseClick(child<QPushButton>(*d, "cmdCancelTransfer"), Qt::LeftButton);
        });
        cancel.start(20);
        QVERIFY(h.w().Form_Load());
        QVERIFY(since_cancel.isValid());
        QVERIFY2(since_cancel.elapsed() < 1000,
                 qPrintable(QString::number(since_cancel.elapsed())));
        QCOMPARE(h.prompts.texts(), (std::vector<std::string>{kCatalogueCancelled, kCancelled}));
        QVERIFY(offline(h));
    }
};

QTEST_MAIN(TestTransferFaults)
#include "test_transfer_faults.moc"
