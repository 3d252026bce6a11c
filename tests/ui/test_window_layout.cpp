// Every caption and number fits its control, in the dialogs and in the main window of the three
// kinds of model with a curve loaded. With KELVARA_SCREENSHOTS=DIR each screen is also saved as
// a PNG there, for a person to look at.
#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QProgressBar>
#include <QtTest>

#include "curve/files.h"
#include "ui/dialogs.h"
#include "ui/setup_dialogs.h"
#include "ui_script.h"

using namespace kelvara;
using namespace kelvara::test;

namespace {

// Names of the visible controls whose text does not fit.
QStringList clipped(QWidget& top) {
    QStringList out;
    for (QWidget* w : top.findChildren<QWidget*>()) {
        if (!w->isVisibleTo(&top)) continue;
        QString text;
        int room = 0;
        if (auto* b = qobject_cast<QAbstractButton*>(w)) {
            text = b->text();
            room = b->width() - (b->sizeHint().width() - b->fontMetrics().horizontalAdvance(text));
            if (b->height() < b->fontMetrics().height()) room = -1;  // cut off vertically
        } else if (auto* l = qobject_cast<QLabel*>(w); l && !l->wordWrap()) {
            text = l->text();
            room = l->contentsRect().width();
        } else if (auto* e = qobject_cast<QLineEdit*>(w)) {
            text = e->text();
            room = e->width() - 8;
        }
        if (text.isEmpty()) continue;
        if (w->fontMetrics().horizontalAdvance(text) > room) out << w->objectName() + ": " + text;
    }
    return out;
}

void save(QWidget& w, const QString& name) {
    const QString dir = qEnvironmentVariable("KELVARA_SCREENSHOTS");
    if (dir.isEmpty()) return;
    w.grab().save(dir + QLatin1Char('/') + name + QStringLiteral(".png"));
}

void check_dialog(QDialog& d, const QString& name) {
    d.show();
    QVERIFY(QTest::qWaitForWindowExposed(&d));
    const QStringList bad = clipped(d);
    QVERIFY2(bad.isEmpty(), qPrintable(name + ": " + bad.join(QStringLiteral(", "))));
    save(d, name);
    d.hide();
}

}  // namespace

Q_DECLARE_METATYPE(kelvara::InstrumentModel)

class TestWindowLayout : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

  private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    void setup_dialogs_fit() {
        SetupChoices c;
        ui::InstrumentSelectionDialog selection(c);
        check_dialog(selection, "instrumentselection");
        for (InstrumentModel m : {InstrumentModel::TAZ, InstrumentModel::KOR}) {
            c.model = m;
            ui::CommunicationDialog comm(c, {},
                                         [](int n) { return "/dev/ttyS" + std::to_string(n - 1); });
            check_dialog(comm, QStringLiteral("communication-") + designation(m).data());
        }
        ui::RepeatChoiceDialog repeat(c);
        check_dialog(repeat, "repeatchoice");
    }

    void small_dialogs_fit() {
        ListField list;
        list.entries = {"21 - PT-100           X12345", "22 - "};
        list.selected = 0;
        ui::PickCurveDialog write(ui::PickKind::Write, list, {});
        check_dialog(write, "pickwritecurve");
        ui::TimedDialog progress(QStringLiteral("writecurve"),
                                 QStringLiteral("Writing Curve To Instrument"),
                                 QStringLiteral("PERCENT COMPLETED: 37.5%"), true, {});
        progress.set_fraction(0.375);
        check_dialog(progress, "writecurve");
        RecordingPrompts prompts;
        std::optional<ScalingFactors> out;
        for (int code : {1, 6}) {
            std::unique_ptr<QDialog> scaling(
                ui::QtScalingDialog::build(code, out, prompts, nullptr));
            check_dialog(*scaling, QStringLiteral("scaling-%1").arg(code));
        }
    }

    void main_window_fits_data() {
        QTest::addColumn<InstrumentModel>("model");
        QTest::addColumn<QString>("file");
        QTest::newRow("TAZ") << InstrumentModel::TAZ << "curve.TAZ";
        QTest::newRow("KIP") << InstrumentModel::KIP << "curve.NAV";
        QTest::newRow("HOX") << InstrumentModel::HOX << "curve.HOX";
    }
    void main_window_fits() {
        QFETCH(InstrumentModel, model);
        QFETCH(QString, file);
        // A plausible sensor curve for the model, written with the model's own file type.
        CurveRecord c = CurveRecord::for_model(model);
        HeaderFields f = HeaderFields::for_model(model);
        f.name = "DT-470-SD";
        f.serial_number = "D6015298";
        f.setpoint_text = "475";
        const bool hox = model == InstrumentModel::HOX;
        const int n = hox ? 192 : 40;
        for (int i = 0; i < n; ++i) {
            if (!hox) c.sensor_units[i] = 0.09 + 0.0405 * i;
            c.temperatures[i] = hox ? 1.4 + 0.8 * i + 0.002 * i * i : 475.0 - 11.8 * i;
        }
        c.breakpoint_count = n;
        RecordingPrompts quiet;
        const QString path = dir.filePath(file);
        QCOMPARE(write_curve_file(path.toStdString(), model, c, f, quiet), FileCommandResult::Done);

        Harness h;
        QVERIFY(h.start(model));
        h.files.push_back(path);
        h.w().Command1_Click();
        QCOMPARE(h.w().curve().breakpoint_count, n);
        h.w().resize(1200, 720);
        h.w().show();
        QVERIFY(QTest::qWaitForWindowExposed(h.window.get()));
        const QStringList bad = clipped(h.w());
        QVERIFY2(bad.isEmpty(), qPrintable(bad.join(QStringLiteral(", "))));
        save(h.w(), QStringLiteral("main-") + designation(model).data());
        // Smaller than that, the graph gives way before the grid and buttons do.
        h.w().resize(h.w().minimumSizeHint());
        QCoreApplication::processEvents();
        QVERIFY(clipped(h.w()).isEmpty());
    }
};

QTEST_MAIN(TestWindowLayout)
#include "test_window_layout.moc"
