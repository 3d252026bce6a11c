#include "ui/qt_ports.h"

#include <QApplication>
#include <QEvent>
#include <QFocusEvent>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QThread>
#include <QTimer>
#include <QVBoxLayout>
#include <QWindow>

#include "curve/number_format.h"
#include "protocol/scaling.h"

namespace kelvara::ui {

int exec_dialog(QDialog& dialog) {
    return dialog.exec();
}

// ---- numbers ----------------------------------------------------------------------------------

QLocale ui_locale() {
    QLocale locale;
    locale.setNumberOptions(QLocale::OmitGroupSeparator);
    return locale;
}

QString format_number(double value) {
    return ui_locale().toString(value, 'g', 15);
}

std::optional<double> parse_number(const QString& text) {
    bool ok = false;
    const double v = ui_locale().toDouble(text.trimmed(), &ok);
    if (!ok) return std::nullopt;
    return v;
}

QString setpoint_to_display(const std::string& text) {
    QString shown = QString::fromStdString(text);
    if (is_numeric_text(text)) shown.replace(QLatin1Char('.'), ui_locale().decimalPoint());
    return shown;
}

std::string setpoint_from_display(const QString& text) {
    if (!parse_number(text)) return text.toStdString();
    QString plain = text.trimmed();
    plain.remove(ui_locale().groupSeparator());
    plain.replace(ui_locale().decimalPoint(), QStringLiteral("."));
    return plain.toStdString();
}

// ---- leaving a field ----------------------------------------------------------------------------

namespace {
constexpr const char* kLeaveUnchecked = "kelvara_leave_unchecked";
}

void leave_unchecked_for(QWidget* widget) {
    widget->setProperty(kLeaveUnchecked, true);
}

class LeaveValidator : public QObject {
  public:
    LeaveValidator(QLineEdit* edit, std::function<bool()> check)
        : QObject(edit), edit_(edit), check_(std::move(check)) {}

    bool run() {
        if (busy_ || !edit_->isModified()) return true;
        busy_ = true;
        const bool ok = check_();
        busy_ = false;
        if (ok) {
            edit_->setModified(false);
        } else {
            QPointer<QLineEdit> edit = edit_;
            QTimer::singleShot(0, edit_, [edit] {
                if (edit) {
                    edit->setFocus(Qt::OtherFocusReason);
                    edit->selectAll();
                }
            });
        }
        return ok;
    }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched == edit_ && event->type() == QEvent::FocusOut) {
            // Focus taken by another window (a message box, the task switcher) is not the user
            // leaving the field.
            const auto reason = static_cast<QFocusEvent*>(event)->reason();
            // The widget taking the focus is already the application's focus widget here.
            const QWidget* to = QApplication::focusWidget();
            const bool unchecked = to && to->property(kLeaveUnchecked).toBool();
            if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason &&
                !unchecked)
                run();
        }
        return false;
    }

  private:
    QLineEdit* edit_;
    std::function<bool()> check_;
    bool busy_ = false;
};

LeaveValidator* validate_on_leave(QLineEdit* edit, std::function<bool()> check) {
    auto* v = new LeaveValidator(edit, std::move(check));
    edit->installEventFilter(v);
    edit->setProperty("kelvara_validator", QVariant::fromValue<QObject*>(v));
    return v;
}

bool validate_pending(QLineEdit* edit) {
    if (!edit) return true;
    auto* v = qobject_cast<QObject*>(edit->property("kelvara_validator").value<QObject*>());
    if (!v) return true;
    return static_cast<LeaveValidator*>(v)->run();
}

// ---- prompts ----------------------------------------------------------------------------------

void QtPrompts::message(const std::string& text, const std::string& title) {
    QMessageBox box(QMessageBox::NoIcon, QString::fromStdString(title),
                    QString::fromStdString(text), QMessageBox::Ok, parent_);
    box.exec();
}

bool QtPrompts::ask_yes_no(const std::string& text) {
    QMessageBox box(QMessageBox::Question, QString::fromLatin1(kAppTitle),
                    QString::fromStdString(text), QMessageBox::Yes | QMessageBox::No, parent_);
    box.setDefaultButton(QMessageBox::No);
    box.setEscapeButton(QMessageBox::No);
    return box.exec() == QMessageBox::Yes;
}

// ---- clock ------------------------------------------------------------------------------------

namespace {

// The Cancel button of the progress dialog whose work is running, if it has one.
QPointer<QPushButton> running_cancel_button;

// True for the input that may reach the running dialog's Cancel button: the window system hands
// a click or a key to the dialog's window first, then to the widget under the pointer or with the
// focus, and a key the button ignores goes on to the dialog (Escape rejects it).
bool reaches_cancel(QObject* watched, QEvent* event) {
    QPushButton* button = running_cancel_button;
    if (!button || !button->isEnabled() || !watched) return false;
    QWidget* dialog = button->window();
    const bool window = watched == static_cast<QObject*>(dialog->windowHandle());
    const bool in_dialog =
        window || (watched->isWidgetType() && static_cast<QWidget*>(watched)->window() == dialog);
    if (!in_dialog) return false;
    switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
            return window || watched == button;
        case QEvent::KeyPress:
        case QEvent::KeyRelease:
        case QEvent::ShortcutOverride: {
            const int key = static_cast<QKeyEvent*>(event)->key();
            if (key == Qt::Key_Escape) return true;
            const bool press_key =
                key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter;
            return press_key && (window || watched == button);
        }
        default:
            return false;
    }
}

class InputSwallower : public QObject {
  protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (reaches_cancel(watched, event)) return false;
        switch (event->type()) {
            case QEvent::MouseButtonPress:
            case QEvent::MouseButtonRelease:
            case QEvent::MouseButtonDblClick:
            case QEvent::KeyPress:
            case QEvent::KeyRelease:
            case QEvent::Wheel:
            case QEvent::Shortcut:
            case QEvent::ShortcutOverride:
            case QEvent::ContextMenu:
            case QEvent::TouchBegin:
            case QEvent::TouchUpdate:
            case QEvent::TouchEnd:
            case QEvent::Close:
                return true;
            default:
                return false;
        }
    }
};

}  // namespace

GuiClock::GuiClock() : RealClock() {}

void GuiClock::service_window() {
    static InputSwallower swallower;
    QCoreApplication* app = QCoreApplication::instance();
    if (!app) return;
    app->installEventFilter(&swallower);
    QCoreApplication::processEvents(QEventLoop::AllEvents, 2);
    app->removeEventFilter(&swallower);
}

void GuiClock::pause(double seconds) {
    const std::atomic<bool> never{false};
    pause_unless(seconds, never);
}

bool GuiClock::pause_unless(double seconds, const std::atomic<bool>& stop) {
    // The window is serviced every 10 ms: often enough to paint and to notice Cancel, seldom
    // enough to leave the processor alone; the last moments are waited out finely.
    const double end = now() + seconds;
    while (now() < end) {
        if (stop.load()) return false;
        service_window();
        const double left = end - now();
        if (left > 0.012)
            QThread::msleep(10);
        else if (left > 0.002)
            QThread::msleep(1);
    }
    return !stop.load();
}

void GuiClock::yield() {
    service_window();
    // Only reached when no input has come: a transport that does not wait itself must not make
    // the reply loop spin.
    QThread::msleep(1);
}

// ---- timed dialogs ------------------------------------------------------------------------------

TimedDialog::TimedDialog(const QString& object_name, const QString& title,
                         const QString& first_label, bool with_bar,
                         std::function<void(Progress&)> work, QWidget* parent)
    : QDialog(parent), work_(std::move(work)) {
    setObjectName(object_name);
    setWindowTitle(title);
    setModal(true);
    setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint);
    auto* layout = new QVBoxLayout(this);
    label_ = new QLabel(first_label, this);
    label_->setObjectName(QStringLiteral("Label1"));
    label_->setMinimumWidth(320);
    label_->setAlignment(Qt::AlignCenter);
    layout->addWidget(label_);
    if (with_bar) {
        bar_ = new QProgressBar(this);
        bar_->setObjectName(QStringLiteral("ProgressBar1"));
        bar_->setRange(0, 1000);
        bar_->setValue(0);
        bar_->setTextVisible(false);
        layout->addWidget(bar_);
    }
    timer_ = new QTimer(this);
    timer_->setObjectName(QStringLiteral("Timer1"));
    timer_->setInterval(100);
    connect(timer_, &QTimer::timeout, this, &TimedDialog::tick);
    timer_->start();
}

void TimedDialog::set_label(const std::string& text) {
    label_->setText(QString::fromStdString(text));
    label_->repaint();
}

std::string TimedDialog::label() const {
    return label_->text().toStdString();
}

void TimedDialog::set_fraction(double fraction) {
    if (!bar_) return;
    if (fraction < 0) {
        bar_->setRange(0, 0);  // busy indicator
    } else {
        bar_->setRange(0, 1000);
        bar_->setValue(static_cast<int>(std::min(1.0, fraction) * 1000));
    }
    bar_->repaint();
}

void TimedDialog::allow_cancel(std::function<void()> cancel) {
    cancel_ = std::move(cancel);
    if (cancel_button_) return;
    cancel_button_ = new QPushButton(QStringLiteral("Cancel"), this);
    cancel_button_->setObjectName(QStringLiteral("cmdCancelTransfer"));
    cancel_button_->setAutoDefault(false);
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(cancel_button_);
    row->addStretch(1);
    static_cast<QVBoxLayout*>(layout())->addLayout(row);
    connect(cancel_button_, &QPushButton::clicked, this, &TimedDialog::cancel_clicked);
}

void TimedDialog::cancel_clicked() {
    if (!running_) {
        QDialog::reject();
        return;
    }
    if (cancel_) cancel_();
    // Once asked, the transfer stops at its next step; a second click has nothing to add.
    cancel_button_->setEnabled(false);
    set_label("Cancelling...");
}

void TimedDialog::run_now() {
    tick();
}

void TimedDialog::tick() {
    timer_->stop();
    if (running_ || done_work_) return;
    running_ = true;
    QPointer<QPushButton> before = running_cancel_button;
    if (cancel_button_) running_cancel_button = cancel_button_;
    if (work_) work_(*this);
    running_cancel_button = before;
    running_ = false;
    done_work_ = true;
    accept();
}

void TimedDialog::reject() {
    if (cancel_button_ && cancel_button_->isEnabled()) return cancel_clicked();
    if (running_) return;
    QDialog::reject();
}

// ---- scaling dialog ---------------------------------------------------------------------------

QDialog* QtScalingDialog::build(int code, std::optional<ScalingFactors>& out, Prompts& prompts,
                                QWidget* parent) {
    const ScalingRows rows = scaling_rows(code);
    auto* dialog = new QDialog(parent);
    dialog->setObjectName(QStringLiteral("scaling"));
    dialog->setWindowTitle(QString::fromLatin1(kScalingTitle));
    dialog->setModal(true);
    auto* layout = new QVBoxLayout(dialog);
    auto* message = new QLabel(QString::fromLatin1(kScalingMessage), dialog);
    message->setObjectName(QStringLiteral("Label1"));
    message->setWordWrap(true);
    message->setMinimumWidth(380);
    layout->addWidget(message);

    auto label = [dialog](const char* name, const std::string& text) {
        auto* l = new QLabel(QString::fromStdString(text), dialog);
        l->setObjectName(QString::fromLatin1(name));
        return l;
    };
    auto box = [dialog](const char* name, const std::string& text) {
        auto* e = new QLineEdit(dialog);
        e->setObjectName(QString::fromLatin1(name));
        e->setText(setpoint_to_display(text));
        return e;
    };
    auto* grid = new QGridLayout;
    QLabel* label2 = label("Label2", kScalingOffsetHeading);
    QLabel* label3 = label("Label3", kScalingOffsetLabel);
    QLineEdit* text1 = box("Text1", rows.offset_text);
    QLabel* label7 = label("Label7", kScalingFactorHeading);
    QLabel* label4 = label("Label4", rows.factor_label.empty() ? std::string(kScalingMultiplyLabel)
                                                               : rows.factor_label);
    QLineEdit* text2 = box("Text2", rows.factor_text);
    QLabel* label5 = label("Label5", kScalingTemperatureHeading);
    QLabel* label6 = label("Label6", kScalingMultiplyLabel);
    QLineEdit* text3 = box("Text3", rows.temperature_text);
    grid->addWidget(label2, 0, 0);
    grid->addWidget(label3, 0, 1);
    grid->addWidget(text1, 0, 2);
    grid->addWidget(label7, 1, 0);
    grid->addWidget(label4, 1, 1);
    grid->addWidget(text2, 1, 2);
    grid->addWidget(label5, 2, 0);
    grid->addWidget(label6, 2, 1);
    grid->addWidget(text3, 2, 2);
    layout->addLayout(grid);
    for (QWidget* w : {static_cast<QWidget*>(label2), static_cast<QWidget*>(label3),
                       static_cast<QWidget*>(text1)})
        w->setVisible(rows.offset_row);
    text2->setVisible(rows.factor_box);
    for (QWidget* w : {static_cast<QWidget*>(label5), static_cast<QWidget*>(label6),
                       static_cast<QWidget*>(text3)})
        w->setVisible(rows.temperature_row);

    for (QLineEdit* e : {text1, text2, text3}) {
        validate_on_leave(e, [e, &prompts] {
            if (parse_number(e->text())) return true;
            prompts.message(kScalingInvalidNumber);
            return false;
        });
    }

    auto* ok = new QPushButton(QStringLiteral("OK"), dialog);
    ok->setObjectName(QStringLiteral("Command1"));
    ok->setDefault(true);
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(ok);
    row->addStretch(1);
    layout->addLayout(row);

    QObject::connect(ok, &QPushButton::clicked, dialog, [=, &out, &prompts] {
        auto plain = [](QLineEdit* e) { return setpoint_from_display(e->text()); };
        auto factors = scaling_factors_from_texts(code, plain(text1), plain(text2), plain(text3));
        if (!factors) {
            prompts.message(kScalingInvalidNumber);
            return;
        }
        out = factors;
        dialog->accept();
    });
    return dialog;
}

std::optional<ScalingFactors> QtScalingDialog::ask(int scaling_code, const ScalingFactors&) {
    std::optional<ScalingFactors> out;
    QtPrompts fallback(parent_);
    Prompts& prompts = prompts_ ? *prompts_ : static_cast<Prompts&>(fallback);
    std::unique_ptr<QDialog> dialog(build(scaling_code, out, prompts, parent_));
    (run_ ? run_ : DialogRunner(exec_dialog))(*dialog);
    return out;
}

}  // namespace kelvara::ui
