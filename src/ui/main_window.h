// The main window: the one open curve, the set-up choices, the instrument link and the pick
// lists, the header fields, the ten-row grid, the graph and the command buttons.
#pragma once

#include <QWidget>
#include <array>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "curve/curve_record.h"
#include "curve/header_fields.h"
#include "edit/edit_history.h"
#include "graph/curve_graph.h"
#include "link/instrument_link.h"
#include "link/setup_choices.h"
#include "link/transport_factory.h"
#include "protocol/session.h"
#include "protocol/verify.h"
#include "ui/qt_ports.h"

class QAction;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QMenu;
class QMenuBar;
class QPushButton;
class QScrollBar;
class QStatusBar;
class QVBoxLayout;

namespace kelvara::ui {

enum class FileDialogKind { Open, Save, Folder };

// Asks for a curve file with a Qt filter ("*.TAZ (*.TAZ *.taz);;..."), or for a folder (the
// filter unused); nullopt when cancelled.
using FileChooser =
    std::function<std::optional<QString>(FileDialogKind kind, const QString& filter, QWidget*)>;

// "*.TAZ|*.TAZ|*.TZA|*.TZA" as a Qt file-dialog filter, each pattern in upper and lower case.
QString qt_file_filter(const std::string& pairs);

// The platform's open or save dialog, opened in the folder of the last file chosen.
std::optional<QString> choose_with_file_dialog(FileDialogKind kind, const QString& filter,
                                               QWidget* parent);

// A path as the file commands and the backup take it: in the file system's own encoding.
std::string file_system_path(const QString& path);

struct MainWindowOptions {
    // How links reach the instrument, handed in by the program's start (the real GPIB library,
    // serial port and adapters, or the simulator's); null: the real ones. Not owned.
    TransportFactory* transports = nullptr;
    std::string serial_device;  // a serial device path that wins over the port number (RS-232 and
                                // the USB adapter)
    std::string gpib_library;   // the GPIB library to load instead of the default search
    // Seams for tests; empty/null ones get the real thing.
    Clock* clock = nullptr;
    Prompts* prompts = nullptr;
    DialogRunner run_dialog;
    FileChooser choose_file;
    CurveGraph::PrinterChooser choose_printer;
    std::function<std::string(int)> device_for_port;
};

class MainWindow : public QWidget, private Views {
    Q_OBJECT
  public:
    explicit MainWindow(MainWindowOptions options = {}, QWidget* parent = nullptr);
    ~MainWindow() override;

    // The start-up; false when the program ended during it (QUIT, cancelled installation).
    bool Form_Load();
    void Form_Unload();
    bool ended() const { return ended_; }

    // The main window's commands.
    void Command1_Click();  // Read Curve From File
    void Command2_Click();  // Write Curve To File
    void Command3_Click();  // Read Curve From Instrument
    void Command4_Click();  // Write Curve To Instrument
    void Command5_Click();  // Delete Curve From Instrument
    void Command6_Click();  // New Instrument
    void Command7_Click();  // Print Graph
    void export_graph();    // File > Export Graph...: PNG or SVG of the graph as shown
    void Command8_Click();  // Insert A Point
    void Command9_Click();  // Delete A Point
    void cmdAdjust_Click();
    // The Instrument menu's own commands: the open curve compared with a location without
    // writing, and every user curve saved to a folder or written back from one.
    void compare_with_instrument();
    void back_up_instrument();
    void restore_instrument();
    void display_grid_data(int top_index);

    // State, for the tests and the simple installation.
    const SetupChoices& setup() const { return setup_; }
    const CurveRecord& curve() const { return curve_; }
    const HeaderFields& header() const { return header_; }
    const PickLists& pick_lists() const { return picks_; }
    bool write_confirmed() const { return write_confirmed_; }
    const TransferState& transfer() const { return transfer_; }
    CurveGraph* graph() const { return graph_; }
    InstrumentLink& link() { return *link_; }

    // The open curve holds changes that are in no file and no instrument.
    bool curve_modified() const { return history_.modified(); }
    // Undo and redo of the edits of the open curve (cells, header fields, inserted and deleted
    // points, the adjustment); the window shows the restored curve.
    void undo_edit();
    void redo_edit();
    // Shows the model, the way to the instrument and whether it answers; call it whenever the
    // link changes (it goes offline, for example).
    void update_status_line();

  signals:
    void program_ended();

  protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    // Views
    void update_graph() override;
    void update_graph_series2() override;
    void show_grid_from_top() override;

    void build_widgets();
    void wire_graph();  // the graph's export asks and reports through the window
    void configure_for_model();
    void simple_installation_loop();
    void end_program();
    void open_link(SetupChoices& choices);
    void read_catalogue();
    bool read_with_file_dialog();  // the read command, shared with dialogcontainer
    TransferResult run_transfer(const QString& name, const char* title, const QString& first_label,
                                const std::function<TransferResult(Session&)>& procedure);
    // After a dead line or a cancel the link is closed: no instrument command until the user
    // connects again.
    void go_offline(const std::string& why);
    // The Instrument menu (main_window_instrument.cpp).
    void build_instrument_menu();
    void set_instrument_commands_enabled(bool online);
    // After a write that went through: what the check found, shown to the user; true when the
    // instrument holds what was sent.
    bool report_write_check(const CurveCheck& check);
    void show_report(const QString& name, const QString& title, const QString& heading,
                     const std::vector<std::string>& lines);
    int show_dialog(QDialog& dialog);
    Session session(Progress& progress);

    // Header fields <-> widgets, around every call into the core.
    void take_fields_from_widgets();
    void show_fields_in_widgets();
    bool leave_pending_edits();  // validates an edited cell/field before a command runs
    bool validate_cell(int cell);
    bool validate_setpoint();
    int top_index() const;
    void move_grid_to(int scroll_value);  // after a point was inserted or deleted

    // Keeping the user's work (main_window_work.cpp): menus, status line and drops; the edit
    // history; the save question; the file commands' reports; title and recent files.
    void build_work_parts(QVBoxLayout* root);
    CurveState current_state() const { return {curve_, header_}; }
    void note_edit(const char* label, const char* merge_key = nullptr);
    void show_state(const CurveState& state);
    bool may_replace_curve();  // false: the user cancelled, or chose Save and it failed
    bool write_with_file_dialog();
    bool read_curve_from(const QString& path);
    void read_curve_from_elsewhere(const QString& path);  // a recent or dropped file
    void now_holds_file(const QString& path);  // after the curve was read from or written to it
    void report_file_failure(bool reading, const QString& path, const std::string& reason);
    void start_new_curve();
    void curve_received(bool whole);
    void curve_sent(bool whole);
    bool restore_field(QLineEdit* edit);  // Escape
    void update_title();
    void update_edit_actions();
    void update_recent_menu();

    MainWindowOptions options_;
    std::unique_ptr<Clock> own_clock_;
    std::unique_ptr<QtPrompts> own_prompts_;
    Clock* clock_;
    Prompts* prompts_;
    QtScalingDialog scaling_dialog_;
    std::unique_ptr<TransportFactory> own_transports_;
    TransportFactory* transports_;
    std::unique_ptr<InstrumentLink> link_;

    SetupChoices setup_;
    CurveRecord curve_;
    HeaderFields header_;
    PickLists picks_;
    TransferState transfer_;
    bool write_confirmed_ = false;
    // The last "Write Curve To Instrument": not written (declined, failed), written and found
    // in the instrument (or not checked), or written but not found as sent.
    enum class WriteOutcome { NotWritten, Confirmed, NotVerified };
    WriteOutcome last_write_ = WriteOutcome::NotWritten;
    bool ended_ = false;
    bool transfer_running_ = false;
    int shown_top_ = 0;  // top_index of the rows the grid shows

    EditHistory history_;
    QString document_;  // the curve's file name, or where it was read from
    Interface chosen_interface_ = Interface::None;  // as chosen, also when the link then failed

    // Widgets, named as the controls they stand for.
    std::array<QPushButton*, 10> commands_{};  // Command1..Command9, cmdAdjust
    std::array<QLineEdit*, 33> texts_{};       // Text1..Text33
    QScrollBar* vscroll1_ = nullptr;
    QLabel *label1_, *label2_, *label3_, *label4_, *label5_, *label7_, *label8_;
    QComboBox *combo1_, *combo2_, *combo5_;
    QCheckBox* check1_;
    CurveGraph* graph_ = nullptr;

    // Our additions above the window's own controls: File, Instrument and Help menus.
    QMenuBar* menu_bar_ = nullptr;
    QMenu* file_menu_ = nullptr;
    QMenu* instrument_menu_ = nullptr;
    QAction* verify_action_ = nullptr;              // actionVerifyAfterWriting
    std::array<QAction*, 3> instrument_actions_{};  // compare, back up, restore
    QMenu* help_menu_ = nullptr;
    QMenu* edit_menu_ = nullptr;
    QMenu* recent_menu_ = nullptr;
    QAction* undo_action_ = nullptr;
    QAction* redo_action_ = nullptr;
    QStatusBar* status_line_ = nullptr;
    QLabel* status_text_ = nullptr;
};

}  // namespace kelvara::ui
