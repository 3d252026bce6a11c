// The window's side of the core's ports: message boxes, the timed progress dialogs, the scaling
// dialog, the clock that keeps the window painted during instrument waits, and the numbers as the
// user's locale shows them.
#pragma once

#include <QDialog>
#include <QLocale>
#include <QString>
#include <functional>
#include <optional>
#include <string>

#include "curve/prompts.h"
#include "link/clock.h"
#include "protocol/ports.h"

class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QTimer;

namespace kelvara::ui {

// Shows a modal dialog and returns its result. The window runs every modal dialog through one of
// these so that tests can answer dialogs without an event loop of their own.
using DialogRunner = std::function<int(QDialog&)>;
int exec_dialog(QDialog& dialog);

// ---- numbers in the user's locale ------------------------------------------------------------

QLocale ui_locale();                                      // the user's locale, no group separators
QString format_number(double value);                      // general form, up to 15 digits
std::optional<double> parse_number(const QString& text);  // whole text, user's locale
// The setpoint field keeps "." in HeaderFields and shows the user's decimal separator.
QString setpoint_to_display(const std::string& text);
std::string setpoint_from_display(const QString& text);

// Runs check() when the user leaves an edited line edit; a refusal puts the focus back. Edits
// made by the program (setText) are not checked. Returns the filter, owned by the edit.
class LeaveValidator;
LeaveValidator* validate_on_leave(QLineEdit* edit, std::function<bool()> check);
// Checks an edited line edit now (before a command runs); true when it passes or was not edited.
bool validate_pending(QLineEdit* edit);
// Moving the focus to this widget (a Cancel button) checks nothing: what it abandons need not
// be valid first.
void leave_unchecked_for(QWidget* widget);

// ---- ports ------------------------------------------------------------------------------------

class QtPrompts : public Prompts {
  public:
    explicit QtPrompts(QWidget* parent = nullptr) : parent_(parent) {}
    void set_parent(QWidget* parent) { parent_ = parent; }
    void message(const std::string& text, const std::string& title = kAppTitle) override;
    bool ask_yes_no(const std::string& text) override;

  private:
    QWidget* parent_;
};

// A real clock whose waits keep the window painted while refusing user input: the instrument
// procedures wait on the one user-interface thread, and nothing typed or clicked meanwhile may
// reach them, not even later (a click queued during a long transfer must not start another).
// The one exception is the running progress dialog's Cancel button (a click, or Escape).
class GuiClock : public RealClock {
  public:
    GuiClock();
    void pause(double seconds) override;
    bool pause_unless(double seconds, const std::atomic<bool>& stop) override;
    void yield() override;

  private:
    void service_window();
};

// The wait dialog and the three progress dialogs: a label (and a bar for transfers) and a timer
// whose first tick, 100 ms after the dialog shows, runs the work and closes the dialog.
class TimedDialog : public QDialog, public Progress {
    Q_OBJECT
  public:
    TimedDialog(const QString& object_name, const QString& title, const QString& first_label,
                bool with_bar, std::function<void(Progress&)> work, QWidget* parent = nullptr);

    void set_label(const std::string& text) override;
    std::string label() const override;
    void set_fraction(double fraction) override;
    bool finished_work() const { return done_work_; }

    // Adds a Cancel button (cmdCancelTransfer): while the work runs, it and Escape call `cancel`;
    // before the work has started they close the dialog and the work never runs.
    void allow_cancel(std::function<void()> cancel);

    // Runs the work at once instead of on the timer (tests with their own dialog runner).
    void run_now();

  protected:
    void reject() override;  // no closing while the work runs

  private:
    void tick();

    void cancel_clicked();

    QLabel* label_;
    QProgressBar* bar_ = nullptr;
    QPushButton* cancel_button_ = nullptr;
    QTimer* timer_;
    std::function<void(Progress&)> work_;
    std::function<void()> cancel_;
    bool running_ = false;
    bool done_work_ = false;
};

// The scaling dialog of the older instruments' writers.
class QtScalingDialog : public ScalingDialog {
  public:
    QtScalingDialog(QWidget* parent, DialogRunner run) : parent_(parent), run_(std::move(run)) {}
    std::optional<ScalingFactors> ask(int scaling_code, const ScalingFactors& defaults) override;

    // The dialog as it shows for a code; OK stores the factors into `out`.
    static QDialog* build(int scaling_code, std::optional<ScalingFactors>& out, Prompts& prompts,
                          QWidget* parent);
    void set_prompts(Prompts* prompts) { prompts_ = prompts; }

  private:
    QWidget* parent_;
    DialogRunner run_;
    Prompts* prompts_ = nullptr;
};

}  // namespace kelvara::ui
