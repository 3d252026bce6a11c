// The window keeps the user's work: undo and redo of every edit, a question before unsaved
// changes would be lost, a reason for every failed file command, the curve's file and the link
// in the title and the status line, recent and dropped files, and keys that let the user out of
// a field.
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QStatusBar>
#include <QTimer>
#include <QVBoxLayout>
#include <functional>

#include "curve/files.h"
#include "edit/point_grid.h"
#include "edit/point_insert_delete.h"
#include "ui/code_page.h"
#include "ui/main_window.h"
#include "ui/status_line.h"
#include "ui/user_settings.h"

namespace kelvara::ui {

namespace {

constexpr const char* kSaveQuestion = "Save changes to the open curve?";

// The model's file types as its dialogs' filter names them ("TAZ", "TZA"); none for a model
// outside the tables (the file commands say so themselves).
QStringList model_file_types(InstrumentModel model) {
    RecordingPrompts quiet;
    QStringList types;
    const QStringList parts = QString::fromStdString(file_filter(model, quiet)).split('|');
    for (int i = 1; i < parts.size(); i += 2) types << parts[i].mid(2);  // "*.TAZ"
    return types;
}

// A name typed without any extension gets the model's first file type.
QString with_default_extension(const QString& path, InstrumentModel model) {
    const QStringList types = model_file_types(model);
    if (types.isEmpty() || QFileInfo(path).fileName().contains(QLatin1Char('.'))) return path;
    return path + QLatin1Char('.') + types.front();
}

bool fits_model(const QString& path, InstrumentModel model) {
    return wrong_file_type(file_system_path(path), model).empty();
}

bool is_redo(const QKeyEvent* key) {
    return key->matches(QKeySequence::Redo) ||
           key->keyCombination() ==
               QKeyCombination(Qt::ControlModifier | Qt::ShiftModifier, Qt::Key_Z);
}

// Escape and the undo keys in the window's fields. A field first takes back its own typing;
// with none left, Ctrl+Z and Ctrl+Shift+Z undo and redo the curve's edits.
class FieldKeys : public QObject {
  public:
    FieldKeys(QObject* parent, std::function<bool(QLineEdit*)> escape, std::function<void()> undo,
              std::function<void()> redo)
        : QObject(parent),
          escape_(std::move(escape)),
          undo_(std::move(undo)),
          redo_(std::move(redo)) {}

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        auto* edit = qobject_cast<QLineEdit*>(watched);
        if (!edit || event->type() != QEvent::KeyPress) return false;
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Escape) return escape_(edit);
        if (key->matches(QKeySequence::Undo) && !edit->isUndoAvailable()) {
            undo_();
            return true;
        }
        if (is_redo(key) && !edit->isRedoAvailable()) {
            redo_();
            return true;
        }
        return false;
    }

  private:
    std::function<bool(QLineEdit*)> escape_;
    std::function<void()> undo_, redo_;
};

}  // namespace

// ---- building ---------------------------------------------------------------------------------

void MainWindow::build_work_parts(QVBoxLayout* root) {
    // File menu: the two file commands and the recent files, above whatever else it holds.
    QAction* first = file_menu_->actions().value(0);
    auto* read = new QAction(QStringLiteral("&Read Curve From File..."), this);
    read->setObjectName(QStringLiteral("actionReadFile"));
    read->setShortcut(QKeySequence::Open);
    connect(read, &QAction::triggered, this, &MainWindow::Command1_Click);
    auto* write = new QAction(QStringLiteral("&Write Curve To File..."), this);
    write->setObjectName(QStringLiteral("actionWriteFile"));
    write->setShortcut(QKeySequence::Save);
    connect(write, &QAction::triggered, this, &MainWindow::Command2_Click);
    recent_menu_ = new QMenu(QStringLiteral("Recent &Files"), file_menu_);
    recent_menu_->setObjectName(QStringLiteral("menuRecentFiles"));
    file_menu_->insertAction(first, read);
    file_menu_->insertAction(first, write);
    file_menu_->insertSeparator(first);
    file_menu_->insertMenu(first, recent_menu_);
    if (first) file_menu_->insertSeparator(first);

    // Edit menu, between File and Instrument.
    edit_menu_ = new QMenu(QStringLiteral("&Edit"), menu_bar_);
    edit_menu_->setObjectName(QStringLiteral("menuEdit"));
    menu_bar_->insertMenu(instrument_menu_->menuAction(), edit_menu_);
    undo_action_ = edit_menu_->addAction(QStringLiteral("&Undo"));
    undo_action_->setObjectName(QStringLiteral("actionUndo"));
    undo_action_->setShortcuts(QKeySequence::Undo);
    redo_action_ = edit_menu_->addAction(QStringLiteral("&Redo"));
    redo_action_->setObjectName(QStringLiteral("actionRedo"));
    QList<QKeySequence> redo_keys = QKeySequence::keyBindings(QKeySequence::Redo);
    const QKeySequence ctrl_shift_z(Qt::ControlModifier | Qt::ShiftModifier | Qt::Key_Z);
    if (!redo_keys.contains(ctrl_shift_z)) redo_keys.prepend(ctrl_shift_z);
    redo_action_->setShortcuts(redo_keys);
    connect(undo_action_, &QAction::triggered, this, &MainWindow::undo_edit);
    connect(redo_action_, &QAction::triggered, this, &MainWindow::redo_edit);
    // The keys work wherever the focus is in the window, not only through the open menu.
    addActions({read, write, undo_action_, redo_action_});

    status_line_ = new QStatusBar(this);
    status_line_->setObjectName(QStringLiteral("statusLine"));
    status_line_->setSizeGripEnabled(false);
    status_text_ = new QLabel(status_line_);
    status_text_->setObjectName(QStringLiteral("statusText"));
    status_line_->addWidget(status_text_, 1);
    root->addWidget(status_line_);

    setAcceptDrops(true);

    auto* keys = new FieldKeys(
        this, [this](QLineEdit* edit) { return restore_field(edit); }, [this] { undo_edit(); },
        [this] { redo_edit(); });
    for (int i = 0; i < 2 * kGridRowCount; ++i) texts_[i]->installEventFilter(keys);
    for (int i : {30, 31, 32}) texts_[i]->installEventFilter(keys);

    // Name and serial number hold what the files' code page can hold; each keystroke is part of
    // one edit until the field is left.
    for (int i : {30, 31}) {
        QLineEdit* edit = texts_[i];
        edit->setValidator(new CodePageValidator(edit));
        const char* label = i == 30 ? "Curve Name" : "Serial Number";
        const char* key = i == 30 ? "Text31" : "Text32";
        connect(edit, &QLineEdit::textEdited, this, [this, label, key] { note_edit(label, key); });
        connect(edit, &QLineEdit::editingFinished, this, [this] { history_.end_merge(); });
    }
    connect(combo1_, &QComboBox::currentIndexChanged, this, [this] { note_edit("Data Format"); });
    connect(combo5_, &QComboBox::currentIndexChanged, this,
            [this] { note_edit("Setpoint Limit"); });
    connect(combo2_, &QComboBox::currentIndexChanged, this,
            [this] { note_edit("Interpolation Method"); });
    connect(check1_, &QCheckBox::clicked, this, [this] { note_edit("Thermocouple Curve"); });

    update_edit_actions();
    update_recent_menu();
}

// ---- edit history -------------------------------------------------------------------------------

void MainWindow::note_edit(const char* label, const char* merge_key) {
    take_fields_from_widgets();
    history_.record(current_state(), label, merge_key ? merge_key : "");
    update_title();
    update_edit_actions();
}

void MainWindow::show_state(const CurveState& state) {
    curve_ = state.curve;
    header_ = state.fields;
    show_fields_in_widgets();
    update_graph();
    display_grid_data(shown_top_);
    update_title();
    update_edit_actions();
}

void MainWindow::undo_edit() {
    if (transfer_running_ || !leave_pending_edits()) return;
    note_edit("Header Fields");
    if (history_.can_undo()) show_state(history_.undo());
}

void MainWindow::redo_edit() {
    if (transfer_running_ || !leave_pending_edits()) return;
    note_edit("Header Fields");
    if (history_.can_redo()) show_state(history_.redo());
}

void MainWindow::update_edit_actions() {
    if (!undo_action_) return;
    undo_action_->setEnabled(history_.can_undo());
    undo_action_->setText(
        QStringLiteral("&Undo %1").arg(QString::fromStdString(history_.undo_label())).trimmed());
    redo_action_->setEnabled(history_.can_redo());
    redo_action_->setText(
        QStringLiteral("&Redo %1").arg(QString::fromStdString(history_.redo_label())).trimmed());
}

void MainWindow::start_new_curve() {
    take_fields_from_widgets();
    history_.reset(current_state());
    document_.clear();
    update_title();
    update_edit_actions();
    update_recent_menu();
    update_status_line();
}

bool MainWindow::restore_field(QLineEdit* edit) {
    // Escape puts back what the curve holds; the field has nothing left to check.
    for (int i = 0; i < 2 * kGridRowCount; ++i) {
        if (texts_[i] != edit) continue;
        const GridRow row = grid_rows(curve_, shown_top_)[i % kGridRowCount];
        const bool units = i < kGridRowCount;
        const bool unused = units ? row.units_unused : row.temperature_unused;
        edit->setText(unused ? QString()
                             : format_number(units ? row.sensor_units : row.temperature));
        return true;
    }
    if (edit != texts_[32]) return false;
    edit->setText(setpoint_to_display(header_.setpoint_text));
    return true;
}

// ---- the save question --------------------------------------------------------------------------

bool MainWindow::may_replace_curve() {
    note_edit("Header Fields");  // typing the window has not seen as an edit yet
    if (!history_.modified()) return true;
    QMessageBox box(QMessageBox::Question, QString::fromLatin1(kAppTitle),
                    QString::fromLatin1(kSaveQuestion),
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, this);
    box.setObjectName(QStringLiteral("savechanges"));
    for (auto [button, name, text] : {std::tuple{QMessageBox::Save, "Save", "&Save"},
                                      {QMessageBox::Discard, "Discard", "&Discard"},
                                      {QMessageBox::Cancel, "Cancel", "Cancel"}}) {
        box.button(button)->setObjectName(QString::fromLatin1(name));
        box.button(button)->setText(QString::fromLatin1(text));
    }
    box.setDefaultButton(QMessageBox::Save);
    box.setEscapeButton(QMessageBox::Cancel);
    show_dialog(box);
    QAbstractButton* answer = box.clickedButton();
    if (answer == box.button(QMessageBox::Discard)) return true;
    if (answer == box.button(QMessageBox::Save)) return write_with_file_dialog();
    return false;
}

// ---- files --------------------------------------------------------------------------------------

bool MainWindow::read_curve_from(const QString& path) {
    remember_folder_of(path);
    take_fields_from_widgets();
    std::string reason;
    const auto result =
        read_curve_file(file_system_path(path), setup_.model, curve_, header_, *prompts_, &reason);
    show_fields_in_widgets();
    if (result == FileCommandResult::Failed) report_file_failure(true, path, reason);
    if (result != FileCommandResult::Done) return false;
    update_graph();
    show_grid_from_top();
    take_fields_from_widgets();
    history_.reset(current_state());
    now_holds_file(path);
    return true;
}

bool MainWindow::write_with_file_dialog() {
    const std::string filter = file_filter(setup_.model, *prompts_);
    auto chosen = options_.choose_file(FileDialogKind::Save, qt_file_filter(filter), this);
    if (!chosen) return false;
    const QString path = with_default_extension(*chosen, setup_.model);
    remember_folder_of(path);
    take_fields_from_widgets();
    std::string reason;
    const auto result =
        write_curve_file(file_system_path(path), setup_.model, curve_, header_, *prompts_, &reason);
    show_fields_in_widgets();
    if (result == FileCommandResult::Failed) report_file_failure(false, path, reason);
    if (result != FileCommandResult::Done) return false;
    // The writer may have filled in an empty name or serial number: that is what the file holds.
    take_fields_from_widgets();
    history_.mark_saved(current_state());
    now_holds_file(path);
    return true;
}

// The file names the window and heads the recent files.
void MainWindow::now_holds_file(const QString& path) {
    document_ = QFileInfo(path).fileName();
    add_recent_file(path);
    update_title();
    update_edit_actions();
    update_recent_menu();
}

void MainWindow::read_curve_from_elsewhere(const QString& path) {
    if (transfer_running_ || ended_ || !leave_pending_edits()) return;
    if (!QFileInfo::exists(path)) {
        report_file_failure(true, path, "the file no longer exists");
        remove_recent_file(path);
        update_recent_menu();
        return;
    }
    if (!may_replace_curve()) return;
    read_curve_from(path);
}

void MainWindow::report_file_failure(bool reading, const QString& path, const std::string& reason) {
    const QString why =
        reason.empty() ? QStringLiteral("no reason was given") : QString::fromStdString(reason);
    const QString text =
        reading ? QStringLiteral("The curve could not be read from\n%1\n\nReason: %2")
                : QStringLiteral("The curve could not be written to\n%1\n\nReason: %2");
    prompts_->message(text.arg(QDir::toNativeSeparators(path), why).toStdString());
}

void MainWindow::update_recent_menu() {
    if (!recent_menu_) return;
    // A recent file's own action may be running this: its old actions go once it has returned.
    for (QAction* old : recent_menu_->actions()) {
        recent_menu_->removeAction(old);
        old->setObjectName(QString());
        old->deleteLater();
    }
    const QStringList files = recent_files();
    for (int n = 1; n <= files.size(); ++n) {
        const QString file = files[n - 1];
        QString shown = QDir::toNativeSeparators(file);
        shown.replace(QLatin1Char('&'), QStringLiteral("&&"));
        auto* action = new QAction(QStringLiteral("&%1 %2").arg(n).arg(shown), recent_menu_);
        action->setObjectName(QStringLiteral("recentFile%1").arg(n));
        // Files of another model's types cannot be read here; they stay listed for that model.
        action->setEnabled(fits_model(file, setup_.model));
        connect(action, &QAction::triggered, this,
                [this, file] { read_curve_from_elsewhere(file); });
        recent_menu_->addAction(action);
    }
    recent_menu_->addSeparator();
    auto* clear = new QAction(QStringLiteral("&Clear Recent Files"), recent_menu_);
    clear->setObjectName(QStringLiteral("actionClearRecentFiles"));
    clear->setEnabled(!files.isEmpty());
    connect(clear, &QAction::triggered, this, [this] {
        clear_recent_files();
        update_recent_menu();
    });
    recent_menu_->addAction(clear);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    const QList<QUrl> urls = event->mimeData()->urls();
    if (!transfer_running_ && urls.size() == 1 && urls.front().isLocalFile())
        event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
    const QList<QUrl> urls = event->mimeData()->urls();
    if (transfer_running_ || urls.size() != 1 || !urls.front().isLocalFile()) return;
    event->acceptProposedAction();
    // The program the file came from waits until the drop returns; the question and the read
    // come after it.
    const QString path = urls.front().toLocalFile();
    QTimer::singleShot(0, this, [this, path] { read_curve_from_elsewhere(path); });
}

// ---- instrument transfers -----------------------------------------------------------------------

void MainWindow::curve_received(bool whole) {
    // A read that failed or was cancelled left the open curve as it was.
    if (!whole) return;
    take_fields_from_widgets();
    history_.reset(current_state());
    const auto number = first_number_of_entry(picks_.read.text());
    document_ = number ? QStringLiteral("Instrument curve %1").arg(*number)
                       : QStringLiteral("Instrument curve");
    update_title();
    update_edit_actions();
}

void MainWindow::curve_sent(bool whole) {
    if (!whole) return;
    take_fields_from_widgets();
    history_.mark_saved(current_state());
    update_title();
}

// ---- title and status line ----------------------------------------------------------------------

void MainWindow::update_title() {
    setWindowTitle(window_title(program_title(setup_.model), document_, history_.modified()));
}

void MainWindow::update_status_line() {
    if (!status_text_) return;
    const bool online =
        setup_.interface != Interface::None && link_->interface() != Interface::None;
    // The device the port number reaches, unless the program was told another one.
    const auto device_of = [this](const std::string& given, int port) {
        if (!given.empty()) return QString::fromStdString(given);
        return options_.device_for_port ? QString::fromStdString(options_.device_for_port(port))
                                        : QString();
    };
    QString device;
    if (chosen_interface_ == Interface::RS232)
        device = device_of(setup_.serial_device, setup_.serial_port);
    else if (chosen_interface_ == Interface::GPIB && setup_.gpib_route == GpibRoute::UsbAdapter)
        device = device_of(setup_.adapter_device, setup_.adapter_port);
    status_text_->setText(status_line_text(setup_, chosen_interface_, device, online));
}

}  // namespace kelvara::ui
