// Answers the window's modal dialogs in order without an event loop: each step receives the
// dialog the window wanted to show and returns its result, usually by clicking its buttons.
#pragma once

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <deque>
#include <functional>
#include <map>

#include "curve/files.h"
#include "link/clock.h"
#include "sim/simulated_transports.h"
#include "ui/main_window.h"

Q_DECLARE_METATYPE(kelvara::InstrumentModel)

namespace kelvara::test {

using Step = std::function<int(QDialog&)>;
using Steps = std::vector<std::pair<QString, Step>>;  // expected objectName, answer; in order

struct DialogScript {
    std::deque<std::pair<QString, Step>> steps;  // expected objectName, answer
    QStringList unexpected;

    DialogScript& expect(const QString& name, Step step) {
        steps.emplace_back(name, std::move(step));
        return *this;
    }
    int operator()(QDialog& dialog) {
        if (steps.empty() || steps.front().first != dialog.objectName()) {
            unexpected << dialog.objectName();
            dialog.reject();
            return QDialog::Rejected;
        }
        Step step = std::move(steps.front().second);
        steps.pop_front();
        return step(dialog);
    }
    bool done() const { return steps.empty() && unexpected.isEmpty(); }
};

template <class W = QWidget>
W* child(QObject& parent, const char* name) {
    return parent.findChild<W*>(QString::fromLatin1(name));
}

inline int click(QDialog& d, const char* button) {
    auto* b = child<QPushButton>(d, button);
    if (!b) qFatal("no button %s in %s", button, qPrintable(d.objectName()));
    b->click();
    return d.result();
}
inline void check_option(QDialog& d, int option) {
    child<QRadioButton>(d, qPrintable(QStringLiteral("Option%1").arg(option)))->setChecked(true);
}
inline Step press(const char* button) {
    return [button](QDialog& d) { return click(d, button); };
}
// Types into the dialog's fields by name, then clicks the button.
inline Step fill(std::vector<std::pair<const char*, QString>> texts, const char* button) {
    return [=](QDialog& d) {
        for (const auto& [name, text] : texts) child<QLineEdit>(d, name)->setText(text);
        return click(d, button);
    };
}
// option: 1 GPIB, 2 RS-232, 3 offline; simple installation (Option4) or advanced (Option5).
inline Step choose_interface(int option, bool simple) {
    return [=](QDialog& d) {
        check_option(d, option);
        check_option(d, simple ? 4 : 5);
        return click(d, "Command1");
    };
}
// GPIB (or the given option) through route: 0 the library, 1 a USB adapter on port 3, 2 an
// Ethernet adapter at host.
inline Step gpib_through(int route, const QString& host, int option = 1) {
    return [=](QDialog& d) {
        child<QComboBox>(d, "Combo4")->setCurrentIndex(route);
        child<QComboBox>(d, "Combo5")->setCurrentIndex(2);
        child<QLineEdit>(d, "Text1")->setText(host);
        return choose_interface(option, false)(d);
    };
}
// The wait and progress dialogs: run their work now instead of on the timer.
inline Step run_timed() {
    return [](QDialog& d) {
        auto* timed = dynamic_cast<ui::TimedDialog*>(&d);
        if (!timed) qFatal("not a timed dialog: %s", qPrintable(d.objectName()));
        timed->run_now();
        return d.result();
    };
}
// Picks an entry of a list dialog and clicks OK as often as the prompts' answers need.
inline Step pick(int index, int clicks = 1) {
    return [=](QDialog& d) {
        child<QComboBox>(d, "Combo1")->setCurrentIndex(index);
        for (int i = 0; i < clicks; ++i) click(d, "Command1");
        return d.result();
    };
}
// The instrument-selection dialog lists the models in the order of the model table.
inline Step choose_model(InstrumentModel model) {
    return [model](QDialog& d) {
        const auto& p = model_profiles();
        for (size_t i = 0; i < p.size(); ++i)
            if (p[i].model == model) check_option(d, int(i) + 1);
        return click(d, "Command1");
    };
}

// Those of the named controls that top shows, in the order named.
inline QStringList shown_of(QWidget& top, QStringList names) {
    names.removeIf([&](const QString& n) { return !child(top, qPrintable(n))->isVisibleTo(&top); });
    return names;
}

inline QString program_title(InstrumentModel model, const QString& rest = {}) {
    return QStringLiteral("Tessaly Kelvara - Version 8.3 - Instrument Model ") +
           QString::fromLatin1(designation(model).data()) + rest;
}

// Types text into a field (replacing what it shows) and leaves it with Tab.
inline void type_and_leave(QLineEdit* edit, const QString& text) {
    edit->setFocus(Qt::MouseFocusReason);
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Backspace);
    QTest::keyClicks(edit, text);
    QTest::keyClick(edit, Qt::Key_Tab);
    QCoreApplication::processEvents();
}

// Shown and active, so that its fields take focus and keys.
inline void activate(QWidget* w) {
    w->show();
    QApplication::setActiveWindow(w);
    QVERIFY(QTest::qWaitForWindowActive(w));
}

// For a window on the real clock: every 20 ms the timer answers the active modal dialog (the
// wait dialog runs alone): the set-up dialogs with model and interface, the write pick with OK;
// then also(dialog) sees every dialog answered or not.
inline void answer_real_dialogs(QTimer& timer, InstrumentModel model, int interface,
                                std::function<void(QDialog&)> also) {
    QObject::connect(&timer, &QTimer::timeout, [=] {
        auto* d = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!d || !d->isVisible() || d->objectName() == QLatin1String("wait")) return;
        const QString name = d->objectName();
        if (name == QLatin1String("instrumentselection")) choose_model(model)(*d);
        if (name == QLatin1String("communication")) choose_interface(interface, false)(*d);
        if (name == QLatin1String("pickwritecurve")) click(*d, "Command1");
        also(*d);
    });
    timer.start(20);
}

// The window remembers files and set-up choices in QSettings: tests keep theirs in the test
// location, apart from the user's, and each window starts with nothing remembered.
inline void use_test_settings() {
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName(QStringLiteral("KelvaraTest"));
    QSettings().clear();
}

// A window with a virtual clock, recording prompts, the simulated instruments, the dialog script
// and a scripted file chooser; a real one runs its own modal loops on the real clock.
struct Harness {
    sim::SimulatedTransports transports;  // outlives the window, whose link talks to them
    VirtualClock clock;
    RecordingPrompts prompts;
    DialogScript script;
    std::deque<QString> files;           // answers of the file dialog, in order; then cancelled
    QStringList filters;                 // filters the file dialog was given
    CurveGraph::PrinterChooser printer;  // answers the print dialog
    std::unique_ptr<ui::MainWindow> window;

    // other: transports to use instead of the simulated ones (they must outlive the harness).
    explicit Harness(bool real = false, TransportFactory* other = nullptr) {
        use_test_settings();
        ui::MainWindowOptions o;
        o.transports = other ? other : &transports;
        o.prompts = &prompts;
        if (!real) o.clock = &clock;
        if (!real) o.run_dialog = [this](QDialog& d) { return script(d); };
        o.choose_file = [this](ui::FileDialogKind, const QString& filter, QWidget*) {
            filters << filter;
            std::optional<QString> chosen;
            if (!files.empty()) chosen = files.front();
            if (!files.empty()) files.pop_front();
            return chosen;
        };
        o.choose_printer = [this](QPrinter& p, QWidget* parent) {
            return printer ? printer(p, parent) : false;
        };
        o.device_for_port = [](int n) { return "/dev/ttyS" + std::to_string(n - 1); };
        window = std::make_unique<ui::MainWindow>(o);
    }

    // The set-up dialogs for a model: offline (interface 3) or an instrument, whose catalogue
    // is then read; advanced installation unless simple.
    DialogScript& expect_setup(InstrumentModel model, int interface_option = 3,
                               bool simple = false) {
        script.expect("instrumentselection", choose_model(model))
            .expect("communication", choose_interface(interface_option, simple));
        if (interface_option != 3) script.expect("wait", run_timed());
        return script;
    }
    bool start(InstrumentModel model, int interface_option = 3) {
        expect_setup(model, interface_option);
        return window->Form_Load();
    }
    void read_file(const QString& path) {
        files.push_back(path);
        window->Command1_Click();
    }
    // An instrument command through its pick dialog ("readcurve", "writecurve", "deletecurve",
    // "comparecurve") on entry index, answered Yes; then the dialogs of after (its report).
    void transfer(const QString& dialog, int index, Steps after = {}) {
        using M = ui::MainWindow;
        static const std::map<QString, void (M::*)()> commands{
            {"readcurve", &M::Command3_Click},
            {"writecurve", &M::Command4_Click},
            {"deletecurve", &M::Command5_Click},
            {"comparecurve", &M::compare_with_instrument}};
        prompts.answers = {true};
        script.expect("pick" + dialog, pick(index)).expect(dialog, run_timed());
        for (auto& [name, step] : after) script.expect(name, step);
        (window.get()->*commands.at(dialog))();
    }

    ui::MainWindow& w() { return *window; }
    // The model's simulated instrument, once a link to it was opened.
    sim::Instrument* sim(InstrumentModel model) { return transports.find(model); }
    template <class W = QWidget>
    W* find(const char* name) {
        return child<W>(*window, name);
    }
    QString text(const char* name) { return find<QLineEdit>(name)->text(); }
    QAction* action(const char* name) { return child<QAction>(*window, name); }
    QLineEdit* cell(int n) { return find<QLineEdit>(qPrintable(QStringLiteral("Text%1").arg(n))); }
    bool online_commands_enabled() {
        return find<QPushButton>("Command3")->isEnabled() &&
               find<QPushButton>("Command4")->isEnabled() &&
               find<QPushButton>("Command5")->isEnabled();
    }
    QStringList messages() const {
        QStringList out;
        for (const auto& s : prompts.shown) out << QString::fromStdString(s.text);
        return out;
    }
};

// Shows a window and checks that the caption or number of every visible control fits it. With
// KELVARA_SCREENSHOTS=DIR the window is also saved there as NAME.png, for a person to look at.
inline void check_fits(QWidget& top, QString name) {
    top.show();
    QVERIFY(QTest::qWaitForWindowExposed(&top));
    QStringList clipped;
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
        if (!text.isEmpty() && w->fontMetrics().horizontalAdvance(text) > room)
            clipped << w->objectName() + ": " + text;
    }
    QVERIFY2(clipped.isEmpty(), qPrintable(name + ": " + clipped.join(QStringLiteral(", "))));
    const QString dir = qEnvironmentVariable("KELVARA_SCREENSHOTS");
    if (!dir.isEmpty())
        top.grab().save(dir + QLatin1Char('/') + name.replace(QLatin1Char('/'), '-') + ".png");
}

inline QString write_bytes(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly) || f.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

// Writes n points given by unit(i) and temperature(i) in the model's own file type.
inline QString write_model_curve(const QString& path, InstrumentModel model, int n,
                                 double (*unit)(int), double (*temperature)(int)) {
    CurveRecord c = CurveRecord::for_model(model);
    HeaderFields f = HeaderFields::for_model(model);
    f.name = "DT-470-SD";
    f.serial_number = "D6015298";
    f.setpoint_text = "475";
    c.breakpoint_count = n;
    for (int i = 0; i < n; ++i) {
        if (model != InstrumentModel::HOX) c.sensor_units[i] = unit(i);
        c.temperatures[i] = temperature(i);
    }
    RecordingPrompts quiet;
    if (write_curve_file(path.toStdString(), model, c, f, quiet) != FileCommandResult::Done)
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

// A NAME.TZA file in dir of n points: units rising from 0.1 in steps of 0.1, temperatures falling
// from 390 in steps of 10.
inline QString tza_file(const QTemporaryDir& dir, int n, const char* name = "CURVE1") {
    QByteArray t = QByteArray("Name: ") + name +
                   "\r\nSerial number: SN1\r\nFormat: 2             ; Volts vs. Kelvin\r\n"
                   "Limit: 375\r\nCoefficient: 1        ; Negative\r\n";
    for (int i = 1; i <= n; ++i)
        t += "Point " + QByteArray::number(i) + ": " + QByteArray::number(0.1 * i, 'f', 5) + "," +
             QByteArray::number(400.0 - 10 * i, 'f', 3) + "\r\n";
    return write_bytes(dir.filePath(QString::fromLatin1(name) + QStringLiteral(".TZA")), t);
}

// A TAZ window offline with CURVE1.TZA of n points read, shown and active.
inline void load_taz(Harness& h, const QTemporaryDir& dir, int points) {
    QVERIFY(h.start(InstrumentModel::TAZ));
    h.read_file(tza_file(dir, points));
    activate(h.window.get());
}

}  // namespace kelvara::test
