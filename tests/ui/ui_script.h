// Answers the window's modal dialogs in order without an event loop: each step receives the
// dialog the window wanted to show and returns its result, usually by clicking its buttons.
#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>
#include <deque>
#include <functional>
#include <string>

#include "link/clock.h"
#include "ui/main_window.h"

namespace kelvara::test {

using Step = std::function<int(QDialog&)>;

struct DialogScript {
    std::deque<std::pair<QString, Step>> steps;  // expected objectName, answer
    QStringList seen;
    QStringList unexpected;

    DialogScript& expect(const QString& name, Step step) {
        steps.emplace_back(name, std::move(step));
        return *this;
    }
    int operator()(QDialog& dialog) {
        seen << dialog.objectName();
        if (steps.empty() || steps.front().first != dialog.objectName()) {
            unexpected << dialog.objectName();
            dialog.reject();
            return QDialog::Rejected;
        }
        Step step = std::move(steps.front().second);
        steps.pop_front();
        return step(dialog);
    }
};

template <class W = QWidget>
W* child(QWidget& parent, const char* name) {
    return parent.findChild<W*>(QString::fromLatin1(name));
}

inline int click(QDialog& d, const char* button) {
    auto* b = child<QPushButton>(d, button);
    if (!b) qFatal("no button %s in %s", button, qPrintable(d.objectName()));
    b->click();
    return d.result();
}

// Steps for the set-up dialogs.
inline Step choose_model(int row) {
    return [row](QDialog& d) {
        child<QRadioButton>(d, qPrintable(QStringLiteral("Option%1").arg(row)))->setChecked(true);
        return click(d, "Command1");
    };
}
// option: 1 GPIB, 2 RS-232, 3 offline; simple: Option4 (true) or Option5.
inline Step choose_interface(int option, bool simple) {
    return [=](QDialog& d) {
        child<QRadioButton>(d, qPrintable(QStringLiteral("Option%1").arg(option)))
            ->setChecked(true);
        child<QRadioButton>(d, simple ? "Option4" : "Option5")->setChecked(true);
        return click(d, "Command1");
    };
}
inline Step press(const char* button) {
    return [button](QDialog& d) { return click(d, button); };
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
inline Step pick(int index) {
    return [index](QDialog& d) {
        child<QComboBox>(d, "Combo1")->setCurrentIndex(index);
        return click(d, "Command1");
    };
}

// Model rows of the instrument-selection dialog.
inline int row_of(InstrumentModel model) {
    const auto& p = model_profiles();
    for (size_t i = 0; i < p.size(); ++i)
        if (p[i].model == model) return int(i) + 1;
    return 0;
}

// A window with a virtual clock, recording prompts, a simulated instrument, the script and a
// scripted file chooser.
struct Harness {
    VirtualClock clock;
    RecordingPrompts prompts;
    DialogScript script;
    std::deque<std::optional<QString>> files;  // answers of the file dialog, in order
    QStringList filters;                       // filters the file dialog was given
    CurveGraph::PrinterChooser printer;        // answers the print dialog
    std::unique_ptr<ui::MainWindow> window;

    // Without `options`, the simulated instrument answers.
    explicit Harness(std::optional<ui::MainWindowOptions> options = std::nullopt) {
        ui::MainWindowOptions o;
        o.simulate = true;
        if (options) o = *options;
        o.clock = &clock;
        o.prompts = &prompts;
        o.run_dialog = [this](QDialog& d) { return script(d); };
        o.choose_file = [this](ui::FileDialogKind, const QString& filter, QWidget*) {
            filters << filter;
            std::optional<QString> chosen;
            if (!files.empty()) {
                chosen = files.front();
                files.pop_front();
            }
            return chosen;
        };
        o.choose_printer = [this](QPrinter& p, QWidget* parent) {
            return printer ? printer(p, parent) : false;
        };
        o.device_for_port = [](int n) { return "/dev/ttyS" + std::to_string(n - 1); };
        window = std::make_unique<ui::MainWindow>(o);
    }

    // Start-up for a model: offline (interface 3) or an instrument, advanced installation.
    bool start(InstrumentModel model, int interface_option = 3, bool simple = false) {
        script.expect("instrumentselection", choose_model(row_of(model)))
            .expect("communication", choose_interface(interface_option, simple));
        if (interface_option != 3) script.expect("wait", run_timed());
        return window->Form_Load();
    }

    ui::MainWindow& w() { return *window; }
    template <class W = QWidget>
    W* find(const char* name) {
        return child<W>(*window, name);
    }
};

// Writes text to a file in dir and returns its path.
inline QString write_file(const QTemporaryDir& dir, const QString& name, const QByteArray& text) {
    const QString path = dir.filePath(name);
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly)) qFatal("cannot write %s", qPrintable(path));
    f.write(text);
    return path;
}

// A ".TZA" curve of n points: units rising from 0.1 in steps of 0.1, temperatures falling.
inline QByteArray tza_curve(int n, const char* name = "CURVE1", const char* serial = "SN1") {
    QByteArray t = QByteArray("Name: ") + name + "\r\nSerial number: " + serial +
                   "\r\nFormat: 2             ; Volts vs. Kelvin\r\nLimit: 375\r\n"
                   "Coefficient: 1        ; Negative\r\n";
    for (int i = 1; i <= n; ++i)
        t += "Point " + QByteArray::number(i) + ": " + QByteArray::number(0.1 * i, 'f', 5) + "," +
             QByteArray::number(400.0 - 10 * i, 'f', 3) + "\r\n";
    return t;
}

}  // namespace kelvara::test
