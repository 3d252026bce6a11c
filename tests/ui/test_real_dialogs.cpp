// The window as the program runs it: real modal loops, the 100 ms timers of the wait and progress
// dialogs and the real clock, against the simulated DAL over RS-232. A timer answers whichever
// modal dialog is active.
#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QtTest>

#include "sim/instrument.h"
#include "ui_script.h"

using namespace kelvara;
using namespace kelvara::test;

class TestRealDialogs : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

  private slots:
    void advanced_installation_writes_through_real_dialogs() {
        RecordingPrompts prompts;
        prompts.answers = {true};
        QStringList answered;
        QStringList progress_labels;
        const QString path = write_file(dir, QStringLiteral("dal.TZA"), tza_curve(3, "DALCURVE"));

        ui::MainWindowOptions o;
        o.simulate = true;
        o.prompts = &prompts;
        o.choose_file = [&](ui::FileDialogKind, const QString&, QWidget*) {
            return std::optional<QString>(path);
        };
        ui::MainWindow window(o);

        QTimer answer;
        answer.setInterval(20);
        QObject::connect(&answer, &QTimer::timeout, [&] {
            auto* d = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            if (!d || !d->isVisible()) return;
            const QString name = d->objectName();
            if (name == "writecurve") {
                const QString text = child<QLabel>(*d, "Label1")->text();
                if (progress_labels.value(progress_labels.size() - 1) != text)
                    progress_labels << text;
                return;
            }
            if (name == "wait") return;  // runs by itself
            answered << name;
            if (name == "instrumentselection") {
                choose_model(row_of(InstrumentModel::DAL))(*d);
            } else if (name == "communication") {
                child<QRadioButton>(*d, "Option5")->setChecked(true);  // RS-232 is preselected
                click(*d, "Command1");
            } else if (name == "pickwritecurve") {
                click(*d, "Command1");
            } else {
                d->reject();
            }
        });
        answer.start();

        QElapsedTimer elapsed;
        elapsed.start();
        QVERIFY(window.Form_Load());
        // Six locations, each asked with a 0.3 s pause on the serial line.
        QVERIFY(elapsed.elapsed() >= 1800);
        QCOMPARE(window.link().interface(), Interface::RS232);
        QCOMPARE(int(window.pick_lists().read.entries.size()), 6);
        for (const auto& e : window.pick_lists().read.entries)
            QVERIFY2(e.find(" - ") != std::string::npos, e.c_str());

        window.show();
        window.Command1_Click();
        QCOMPARE(window.curve().breakpoint_count, 3);
        window.Command4_Click();
        answer.stop();
        QCOMPARE(answered, (QStringList{"instrumentselection", "communication", "pickwritecurve"}));
        QVERIFY(window.write_confirmed());
        QVERIFY(prompts.shown.empty());
        const sim::SimCurve* stored = window.simulated(InstrumentModel::DAL)->curve(21);
        QVERIFY(stored);
        QVERIFY(window.pick_lists().write.entries[0].rfind("21 - DALCURVE", 0) == 0);
        // The label moved on while the points went out.
        QVERIFY2(progress_labels.size() >= 2, qPrintable(progress_labels.join('|')));
    }
};

QTEST_MAIN(TestRealDialogs)
#include "test_real_dialogs.moc"
