#include "ui/main_window.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollBar>
#include <QStringList>
#include <QStyle>
#include <QVBoxLayout>
#include <QWheelEvent>

#include "curve/files.h"
#include "edit/curve_adjustment.h"
#include "edit/point_grid.h"
#include "edit/point_insert_delete.h"
#include "link/qt/real_transports.h"
#include "protocol/transfers.h"
#include "protocol/verify.h"
#include "ui/about_dialog.h"
#include "ui/code_page.h"
#include "ui/dialogs.h"
#include "ui/setup_dialogs.h"
#include "ui/status_line.h"
#include "ui/user_settings.h"

namespace kelvara::ui {

namespace {

constexpr const char* kGridHeading = "   Point          Sensor Unit        Temperature";
constexpr const char* kAskWrite = "Do you really want to write to this curve location?";
constexpr const char* kAskDelete = "Do you really want to delete this curve?";
constexpr const char* kCompleted = "Curve writing to instrument completed.";
constexpr const char* kReconnect =
    " Kelvara now works offline: choose \"New Instrument\" to connect again.";

// Why the link closed under a transfer: the line died, or the user cancelled.
std::string offline_message(const InstrumentLink& link) {
    if (link.line_dead())
        return "The connection to the instrument was lost (" + link.dead_reason() + ")." +
               kReconnect;
    return std::string("The instrument was disconnected after the cancel.") + kReconnect;
}

[[maybe_unused]] QString qs(std::string_view s) {
    return QString::fromUtf8(s.data(), int(s.size()));
}

void fill_combo(QComboBox* combo, const ListField& list) {
    QSignalBlocker block(combo);
    combo->clear();
    for (const auto& e : list.entries) combo->addItem(QString::fromStdString(e));
    combo->setCurrentIndex(list.selected);
    combo->setVisible(list.visible);
}

}  // namespace

std::optional<QString> choose_with_file_dialog(FileDialogKind kind, const QString& filter,
                                               QWidget* parent) {
    QString path;
    const QString folder = last_file_folder();
    if (kind == FileDialogKind::Open) {
        path = QFileDialog::getOpenFileName(parent, QString(), folder, filter);
    } else if (kind == FileDialogKind::Folder) {
        path = QFileDialog::getExistingDirectory(parent, QString(), folder);
    } else {
        // Writing over an existing file is what the user asked for; no second question.
        path = QFileDialog::getSaveFileName(parent, QString(), folder, filter, nullptr,
                                            QFileDialog::DontConfirmOverwrite);
    }
    if (path.isEmpty()) return std::nullopt;
    return path;
}

std::string file_system_path(const QString& path) {
    return QFile::encodeName(path).toStdString();
}

QString qt_file_filter(const std::string& pairs) {
    const QStringList parts = QString::fromStdString(pairs).split(QLatin1Char('|'));
    QStringList filters;
    for (int i = 0; i + 1 < parts.size(); i += 2) {
        const QString pattern = parts[i + 1];
        QStringList patterns{pattern};
        // Linux file names keep their case: offer the lower-case spelling as well.
        if (pattern.toLower() != pattern) patterns << pattern.toLower();
        filters << QStringLiteral("%1 (%2)").arg(parts[i], patterns.join(QLatin1Char(' ')));
    }
    return filters.join(QStringLiteral(";;"));
}

// ---------------------------------------------------------------------------------------------

MainWindow::MainWindow(MainWindowOptions options, QWidget* parent)
    : QWidget(parent), options_(std::move(options)), scaling_dialog_(this, options_.run_dialog) {
    setObjectName(QStringLiteral("main"));
    if (options_.clock) {
        clock_ = options_.clock;
    } else {
        own_clock_ = std::make_unique<GuiClock>();
        clock_ = own_clock_.get();
    }
    if (options_.prompts) {
        prompts_ = options_.prompts;
    } else {
        own_prompts_ = std::make_unique<QtPrompts>(this);
        prompts_ = own_prompts_.get();
    }
    scaling_dialog_.set_prompts(prompts_);
    if (!options_.choose_file) options_.choose_file = choose_with_file_dialog;
    if (!options_.choose_printer) options_.choose_printer = CurveGraph::ask_with_print_dialog;
    if (!options_.device_for_port) {
        // Show the device each port number really reaches: a forced path wins.
        options_.device_for_port = [forced = options_.serial_device](int port) {
            return forced.empty() ? serial_device_for_port(port) : forced;
        };
    }
    if (options_.transports) {
        transports_ = options_.transports;
    } else {
        own_transports_ = std::make_unique<RealTransports>();
        transports_ = own_transports_.get();
    }
    link_ = std::make_unique<InstrumentLink>(*clock_, *prompts_);
    build_widgets();
}

MainWindow::~MainWindow() = default;

int MainWindow::show_dialog(QDialog& dialog) {
    return options_.run_dialog ? options_.run_dialog(dialog) : dialog.exec();
}

Session MainWindow::session(Progress& progress) {
    return Session{setup_, curve_,    header_,  picks_,          transfer_,
                   *link_, *prompts_, progress, scaling_dialog_, *this};
}

// ---- layout -----------------------------------------------------------------------------------

void MainWindow::build_widgets() {
    auto named = [](QWidget* w, const QString& name) {
        w->setObjectName(name);
        return w;
    };
    // The window's own controls side by side; our status line under them.
    auto* root = new QVBoxLayout(this);
    root->setContentsMargins(0, 0, 0, 0);
    root->setSpacing(0);
    auto* outer = new QHBoxLayout;
    outer->setContentsMargins(style()->pixelMetric(QStyle::PM_LayoutLeftMargin),
                              style()->pixelMetric(QStyle::PM_LayoutTopMargin),
                              style()->pixelMetric(QStyle::PM_LayoutRightMargin),
                              style()->pixelMetric(QStyle::PM_LayoutBottomMargin));
    root->addLayout(outer, 1);

    // The menu bar sits above the window's own controls, which keep their places below it.
    menu_bar_ = new QMenuBar(this);
    menu_bar_->setObjectName(QStringLiteral("menuBar"));
    file_menu_ = menu_bar_->addMenu(QStringLiteral("&File"));
    file_menu_->setObjectName(QStringLiteral("menuFile"));
    instrument_menu_ = menu_bar_->addMenu(QStringLiteral("&Instrument"));
    instrument_menu_->setObjectName(QStringLiteral("menuInstrument"));
    help_menu_ = menu_bar_->addMenu(QStringLiteral("&Help"));
    help_menu_->setObjectName(QStringLiteral("menuHelp"));
    QAction* about = help_menu_->addAction(QStringLiteral("&About Kelvara"));
    about->setObjectName(QStringLiteral("actionAbout"));
    connect(about, &QAction::triggered, this, [this] {
        AboutDialog dialog(this);
        show_dialog(dialog);
    });
    root->setMenuBar(menu_bar_);

    // Left: header fields, point grid, commands.
    auto* left = new QVBoxLayout;
    outer->addLayout(left, 0);

    auto* header = new QGridLayout;
    label2_ = new QLabel(QStringLiteral("Cuve Name"), this);
    label3_ = new QLabel(QStringLiteral("Cuve Serial Number"), this);
    label4_ = new QLabel(QStringLiteral("Data Format"), this);
    label5_ = new QLabel(QStringLiteral("Setpoint Limit (K)"), this);
    label7_ = new QLabel(QStringLiteral("Interpolation Method"), this);
    for (auto [l, n] : {std::pair{label2_, "Label2"},
                        {label3_, "Label3"},
                        {label4_, "Label4"},
                        {label5_, "Label5"},
                        {label7_, "Label7"}})
        l->setObjectName(QString::fromLatin1(n));
    for (int i = 0; i < 33; ++i) {
        texts_[i] = new QLineEdit(this);
        texts_[i]->setObjectName(QStringLiteral("Text%1").arg(i + 1));
    }
    combo1_ = static_cast<QComboBox*>(named(new QComboBox(this), QStringLiteral("Combo1")));
    combo2_ = static_cast<QComboBox*>(named(new QComboBox(this), QStringLiteral("Combo2")));
    combo5_ = static_cast<QComboBox*>(named(new QComboBox(this), QStringLiteral("Combo5")));
    combo1_->setMinimumContentsLength(22);
    // Label8 is the backdrop of the thermocouple box.
    label8_ = new QLabel(this);
    label8_->setObjectName(QStringLiteral("Label8"));
    label8_->setFrameShape(QFrame::StyledPanel);
    check1_ = new QCheckBox(QStringLiteral("Thermocouple Curve"), label8_);
    check1_->setObjectName(QStringLiteral("Check1"));
    auto* backdrop = new QHBoxLayout(label8_);
    backdrop->setContentsMargins(6, 3, 6, 3);
    backdrop->addWidget(check1_);
    label8_->setMinimumHeight(check1_->sizeHint().height() + 6);

    header->addWidget(label2_, 0, 0);
    header->addWidget(texts_[30], 0, 1);
    header->addWidget(label3_, 1, 0);
    header->addWidget(texts_[31], 1, 1);
    header->addWidget(label4_, 2, 0);
    header->addWidget(combo1_, 2, 1);
    header->addWidget(label5_, 3, 0);
    auto* setpoint = new QHBoxLayout;
    setpoint->addWidget(texts_[32]);
    setpoint->addWidget(combo5_);
    header->addLayout(setpoint, 3, 1);
    header->addWidget(label7_, 4, 0);
    header->addWidget(combo2_, 4, 1);
    header->addWidget(label8_, 5, 1);
    left->addLayout(header);

    auto* line1 = new QFrame(this);
    line1->setObjectName(QStringLiteral("Line1"));
    line1->setFrameShape(QFrame::HLine);
    line1->setFrameShadow(QFrame::Sunken);
    left->addWidget(line1);

    // The grid: point number, sensor units, temperature; the scroll bar beside it.
    label1_ = new QLabel(QString::fromLatin1(kGridHeading), this);
    label1_->setObjectName(QStringLiteral("Label1"));
    label1_->setTextFormat(Qt::PlainText);
    left->addWidget(label1_);
    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(2);
    grid->setVerticalSpacing(1);
    QPalette locked = palette();
    locked.setColor(QPalette::Base, QColor(0xC0, 0xC0, 0xC0));
    for (int r = 0; r < kGridRowCount; ++r) {
        QLineEdit* number = texts_[20 + r];
        number->setReadOnly(true);
        number->setPalette(locked);
        number->setFocusPolicy(Qt::NoFocus);
        number->setMaximumWidth(64);
        grid->addWidget(number, r, 0);
        grid->addWidget(texts_[r], r, 1);
        grid->addWidget(texts_[10 + r], r, 2);
    }
    vscroll1_ = new QScrollBar(Qt::Vertical, this);
    vscroll1_->setObjectName(QStringLiteral("VScroll1"));
    grid->addWidget(vscroll1_, 0, 3, kGridRowCount, 1);
    left->addLayout(grid);
    // Tab walks the grid row by row: units, then temperature, then the next row.
    QWidget* previous = texts_[32];
    for (int r = 0; r < kGridRowCount; ++r) {
        setTabOrder(previous, texts_[r]);
        setTabOrder(texts_[r], texts_[10 + r]);
        previous = texts_[10 + r];
    }
    setTabOrder(texts_[30], texts_[31]);
    setTabOrder(texts_[31], combo1_);
    setTabOrder(combo1_, texts_[32]);

    // Commands.
    // Each caption carries a mnemonic (Alt + the underlined letter); none is taken by the menus.
    static const char* const captions[] = {"&Read Curve From File",
                                           "&Write Curve To File",
                                           "Read Curve From Ins&trument",
                                           "Write Curve To Instr&ument",
                                           "&Delete Curve From Instrument",
                                           "&New Instrument",
                                           "&Print Graph",
                                           "Insert &A Point",
                                           "De&lete A Point",
                                           "&Make Adjustment To Curve File"};
    for (int i = 0; i < 10; ++i) {
        commands_[i] = new QPushButton(QString::fromLatin1(captions[i]), this);
        commands_[i]->setObjectName(i < 9 ? QStringLiteral("Command%1").arg(i + 1)
                                          : QStringLiteral("cmdAdjust"));
        commands_[i]->setAutoDefault(false);
    }
    auto* buttons = new QGridLayout;
    const int order[][2] = {{0, 1}, {2, 3}, {4, 5}, {7, 8}, {9, 6}};
    for (int row = 0; row < 5; ++row)
        for (int col = 0; col < 2; ++col) buttons->addWidget(commands_[order[row][col]], row, col);
    left->addSpacing(6);
    left->addLayout(buttons);
    left->addStretch(1);

    // Right: the graph in its frame.
    auto* frame = new QFrame(this);
    frame->setObjectName(QStringLiteral("Pesgo1"));
    frame->setFrameShape(QFrame::StyledPanel);
    auto* frame_layout = new QVBoxLayout(frame);
    frame_layout->setContentsMargins(2, 2, 2, 2);
    graph_ = new CurveGraph(frame);
    graph_->setObjectName(QStringLiteral("PesgoStd1"));
    graph_->setMinimumSize(480, 360);
    frame_layout->addWidget(graph_);
    outer->addWidget(frame, 1);
    wire_graph();
    QAction* export_action =
        file_menu_->addAction(QStringLiteral("Export Graph..."), this, &MainWindow::export_graph);
    export_action->setObjectName(QStringLiteral("actionExportGraph"));

    // Handlers.
    void (MainWindow::*handlers[])() = {&MainWindow::Command1_Click, &MainWindow::Command2_Click,
                                        &MainWindow::Command3_Click, &MainWindow::Command4_Click,
                                        &MainWindow::Command5_Click, &MainWindow::Command6_Click,
                                        &MainWindow::Command7_Click, &MainWindow::Command8_Click,
                                        &MainWindow::Command9_Click, &MainWindow::cmdAdjust_Click};
    for (int i = 0; i < 10; ++i) connect(commands_[i], &QPushButton::clicked, this, handlers[i]);
    connect(vscroll1_, &QScrollBar::valueChanged, this, [this](int v) {
        // An edit still in a cell is checked before the rows move under it; a refused one
        // keeps the grid where it was.
        if (!leave_pending_edits()) {
            QSignalBlocker block(vscroll1_);
            vscroll1_->setValue(scroll_value_for_top_index(shown_top_));
            return;
        }
        display_grid_data(top_index_for_scroll_value(v));
    });
    connect(combo1_, &QComboBox::currentIndexChanged, this, [this] {
        // Combo1_Click: a new data format only redraws the graph.
        take_fields_from_widgets();
        update_graph();
    });
    for (int i = 0; i < 2 * kGridRowCount; ++i) {
        validate_on_leave(texts_[i], [this, i] { return validate_cell(i); });
        texts_[i]->installEventFilter(this);
    }
    validate_on_leave(texts_[32], [this] { return validate_setpoint(); });
    build_instrument_menu();
    build_work_parts(root);
    resize(1200, 720);
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
    // The wheel and the arrow keys over the grid move the grid like its scroll bar.
    if (event->type() == QEvent::Wheel) {
        QCoreApplication::sendEvent(vscroll1_, event);
        return true;
    }
    if (event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        int cell = -1;
        for (int i = 0; i < 2 * kGridRowCount; ++i)
            if (texts_[i] == watched) cell = i;
        if (cell < 0) return false;
        const int row = cell % kGridRowCount;
        const int column = cell / kGridRowCount;
        int target_row = row;
        if (key->key() == Qt::Key_Down) {
            if (row == kGridRowCount - 1) {
                if (!validate_pending(texts_[cell])) return true;
                vscroll1_->triggerAction(QAbstractSlider::SliderSingleStepAdd);
                return true;
            }
            target_row = row + 1;
        } else if (key->key() == Qt::Key_Up) {
            if (row == 0) {
                if (!validate_pending(texts_[cell])) return true;
                vscroll1_->triggerAction(QAbstractSlider::SliderSingleStepSub);
                return true;
            }
            target_row = row - 1;
        } else if (key->key() == Qt::Key_PageDown || key->key() == Qt::Key_PageUp) {
            if (!validate_pending(texts_[cell])) return true;
            vscroll1_->triggerAction(key->key() == Qt::Key_PageDown
                                         ? QAbstractSlider::SliderPageStepAdd
                                         : QAbstractSlider::SliderPageStepSub);
            return true;
        } else {
            return false;
        }
        texts_[column * kGridRowCount + target_row]->setFocus(Qt::TabFocusReason);
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

// ---- header fields <-> widgets ------------------------------------------------------------------

void MainWindow::take_fields_from_widgets() {
    header_.name = to_code_page(texts_[30]->text());
    header_.serial_number = to_code_page(texts_[31]->text());
    header_.data_format.selected = combo1_->currentIndex();
    header_.setpoint_text = setpoint_from_display(texts_[32]->text());
    header_.setpoint_list.selected = combo5_->currentIndex();
    header_.interpolation.selected = combo2_->currentIndex();
    header_.thermocouple = check1_->isChecked();
}

void MainWindow::show_fields_in_widgets() {
    texts_[30]->setText(from_code_page(header_.name));
    texts_[30]->setVisible(header_.name_visible);
    label2_->setVisible(header_.name_visible);
    texts_[31]->setText(from_code_page(header_.serial_number));
    label4_->setText(QString::fromStdString(header_.data_format_caption));
    fill_combo(combo1_, header_.data_format);
    label4_->setVisible(header_.data_format.visible);
    texts_[32]->setText(setpoint_to_display(header_.setpoint_text));
    texts_[32]->setVisible(header_.setpoint_text_visible);
    fill_combo(combo5_, header_.setpoint_list);
    label5_->setVisible(header_.setpoint_text_visible || header_.setpoint_list.visible);
    fill_combo(combo2_, header_.interpolation);
    label7_->setVisible(header_.interpolation.visible);
    check1_->setChecked(header_.thermocouple);
    label8_->setVisible(header_.thermocouple_visible);
}

// ---- start-up ---------------------------------------------------------------------------------

bool MainWindow::Form_Load() {
    {
        InstrumentSelectionDialog selection(setup_, this);
        if (auto model = remembered_setup().model) selection.preselect(*model);
        show_dialog(selection);
    }
    if (!setup_.proceed) {
        end_program();
        return false;
    }
    {
        chosen_interface_ = Interface::None;
        CommunicationDialog communication(
            setup_,
            [this](SetupChoices& c) {
                chosen_interface_ = c.interface;
                open_link(c);
            },
            options_.device_for_port, this);
        communication.preselect(remembered_setup());
        show_dialog(communication);
    }
    if (!setup_.proceed) {
        end_program();
        return false;
    }
    remember_setup(setup_.model, chosen_interface_, setup_.gpib_address, setup_.serial_port);

    // A fresh graph: it remembers the series it was last given.
    {
        QLayout* frame_layout = graph_->parentWidget()->layout();
        auto* fresh = new CurveGraph(graph_->parentWidget());
        fresh->setObjectName(QStringLiteral("PesgoStd1"));
        fresh->setMinimumSize(graph_->minimumSize());
        frame_layout->replaceWidget(graph_, fresh);
        delete graph_;
        graph_ = fresh;
        wire_graph();
    }

    configure_for_model();
    setWindowTitle(program_title(setup_.model));

    curve_ = CurveRecord::for_model(setup_.model);
    curve_.breakpoint_count = 0;
    {
        QSignalBlocker block(combo1_);
        combo1_->setCurrentIndex(combo1_->count() > 0 ? 0 : -1);
    }
    take_fields_from_widgets();
    update_graph();

    const GridScrollRange range = grid_scroll_range(curve_.max_breakpoints);
    {
        QSignalBlocker block(vscroll1_);
        vscroll1_->setRange(range.minimum, range.maximum);
        vscroll1_->setSingleStep(range.single_step);
        vscroll1_->setPageStep(range.page_step);
        vscroll1_->setValue(range.minimum);
    }
    display_grid_data(0);

    curve_.temperature_coefficient = 1;
    header_.thermocouple = false;
    check1_->setChecked(false);
    transfer_.thermocouple_char.clear();
    curve_.nav_format_code = 0;
    transfer_.scaling_code = 0;
    start_new_curve();

    const bool online = setup_.interface != Interface::None;
    set_instrument_commands_enabled(online);
    if (!online) return true;

    {
        TimedDialog wait(
            QStringLiteral("wait"), QStringLiteral("Kelvara Message"),
            QStringLiteral("Wait, reading curve names from instrument."), false,
            [this](Progress& p) {
                Session s = session(p);
                grab_curve_names(s);
            },
            this);
        // A slow or silent instrument can hold the catalogue for a while: the user may stop it
        // and work offline, as after a cancelled transfer.
        wait.allow_cancel([this] { link_->request_cancel(); });
        show_dialog(wait);
        if (!wait.finished_work()) {  // cancelled before its first query
            link_->close();
            setup_.interface = Interface::None;
        }
    }
    if (setup_.interface == Interface::None) {
        go_offline(offline_message(*link_));
        // No curve can reach the instrument now: the window, as after a failed set-up.
        return true;
    }
    if (!setup_.simple_installation) return true;
    simple_installation_loop();
    return !ended_;
}

void MainWindow::configure_for_model() {
    const ModelProfile* profile = find_profile(setup_.model);
    header_ = HeaderFields::for_model(setup_.model);
    picks_ = PickLists::for_model(setup_.model);
    if (!profile) prompts_->message("Invalid instrument model number.");

    for (int i = 0; i < 30; ++i) texts_[i]->clear();
    for (int i = 0; i < 10; ++i) texts_[i]->setEnabled(true);
    texts_[31]->show();
    label3_->show();
    show_fields_in_widgets();

    const bool hox = profile && profile->header_style == HeaderStyle::Hox;
    commands_[7]->setVisible(!hox);
    commands_[8]->setVisible(!hox);
    // The HOX instrument fixes the sensor-unit grid; only temperatures are edited.
    for (int i = 0; i < 10; ++i) texts_[i]->setEnabled(!hox);
}

void MainWindow::simple_installation_loop() {
    read_with_file_dialog();
    if (curve_.breakpoint_count == 0) return end_program();
    Command4_Click();
    // A write the instrument does not hold as sent has shown what differs; the user may repeat.
    if (last_write_ == WriteOutcome::NotWritten) return end_program();
    if (write_confirmed_) prompts_->message(kCompleted);
    for (;;) {
        {
            RepeatChoiceDialog repeat(setup_, this);
            show_dialog(repeat);
        }
        if (!setup_.proceed) return end_program();
        if (!setup_.simple_installation) return;
        curve_.breakpoint_count = 0;
        read_with_file_dialog();
        if (curve_.breakpoint_count == 0) return end_program();
        Command4_Click();
        if (last_write_ == WriteOutcome::NotWritten) return end_program();
        if (write_confirmed_) prompts_->message(kCompleted);
    }
}

void MainWindow::end_program() {
    hide();
    Form_Unload();
    if (!ended_) {
        ended_ = true;
        emit program_ended();
    }
}

void MainWindow::Form_Unload() {
    // The pick dialogs live only while they are shown; nothing else is released here.
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (transfer_running_ || !leave_pending_edits() || !may_replace_curve()) {
        event->ignore();
        return;
    }
    Form_Unload();
    if (!ended_) {
        ended_ = true;
        emit program_ended();
    }
    event->accept();
}

void MainWindow::open_link(SetupChoices& choices) {
    choices.serial_device = options_.serial_device;
    choices.adapter_device = options_.serial_device;
    choices.gpib_library = options_.gpib_library;
    transports_->attach(*link_, choices);
    if (choices.interface == Interface::GPIB)
        link_->setup_488(choices);
    else
        link_->setup_rs232(choices);
    update_status_line();
    // The link's own message does not say which adapter could not be reached.
    if (choices.interface == Interface::None)
        if (const std::string why = transports_->failure(); !why.empty()) prompts_->message(why);
}

// ---- views ------------------------------------------------------------------------------------

void MainWindow::update_graph() {
    graph_->update_graph(setup_.model, curve_, header_);
}

void MainWindow::update_graph_series2() {
    graph_->update_graph_series2(setup_.model, curve_, header_);
}

void MainWindow::show_grid_from_top() {
    {
        QSignalBlocker block(vscroll1_);
        vscroll1_->setValue(vscroll1_->minimum());
    }
    display_grid_data(0);
}

void MainWindow::display_grid_data(int top_index) {
    shown_top_ = top_index;
    const auto rows = grid_rows(curve_, top_index);
    for (int r = 0; r < kGridRowCount; ++r)
        texts_[r]->setText(rows[r].units_unused ? QString() : format_number(rows[r].sensor_units));
    for (int r = 0; r < kGridRowCount; ++r)
        texts_[10 + r]->setText(rows[r].temperature_unused ? QString()
                                                           : format_number(rows[r].temperature));
    for (int r = 0; r < kGridRowCount; ++r)
        texts_[20 + r]->setText(QString::number(rows[r].point_number));
}

int MainWindow::top_index() const {
    return top_index_for_scroll_value(vscroll1_->value());
}

// ---- grid and setpoint validation -----------------------------------------------------------

bool MainWindow::validate_cell(int cell) {
    take_fields_from_widgets();
    const int row = cell % kGridRowCount;
    const GridColumn column =
        cell < kGridRowCount ? GridColumn::SensorUnits : GridColumn::Temperature;
    const int point = texts_[20 + row]->text().toInt();
    const QString text = texts_[cell]->text();
    CellEntry entry{parse_number(text), text.trimmed().isEmpty()};
    if (!validate_grid_cell(curve_, column, point, entry, *prompts_, *this)) return false;
    note_edit("Cell Edit");
    return true;
}

bool MainWindow::validate_setpoint() {
    if (!validate_setpoint_limit(parse_number(texts_[32]->text()), *prompts_)) return false;
    note_edit("Setpoint Limit");
    return true;
}

bool MainWindow::leave_pending_edits() {
    for (int i = 0; i < 2 * kGridRowCount; ++i)
        if (!validate_pending(texts_[i])) return false;
    return validate_pending(texts_[32]);
}

// ---- file commands ----------------------------------------------------------------------------

bool MainWindow::read_with_file_dialog() {
    // Also the start-up picker of the simple installation: same dialog, same rules.
    const std::string filter = file_filter(setup_.model, *prompts_);
    auto path = options_.choose_file(FileDialogKind::Open, qt_file_filter(filter), this);
    if (!path) return false;
    return read_curve_from(*path);
}

void MainWindow::Command1_Click() {
    if (!leave_pending_edits() || !may_replace_curve()) return;
    read_with_file_dialog();
}

void MainWindow::Command2_Click() {
    if (!leave_pending_edits()) return;
    write_with_file_dialog();
}

// ---- instrument commands ------------------------------------------------------------------------

TransferResult MainWindow::run_transfer(const QString& name, const char* title,
                                        const QString& first_label,
                                        const std::function<TransferResult(Session&)>& procedure) {
    take_fields_from_widgets();
    transfer_running_ = true;
    const bool online = setup_.interface != Interface::None;
    std::optional<TransferResult> result;
    {
        TimedDialog progress(
            name, QString::fromLatin1(title), first_label, true,
            [this, procedure, &result](Progress& p) {
                Session s = session(p);
                result = procedure(s);
            },
            this);
        progress.allow_cancel([this] { link_->request_cancel(); });
        // Reads and deletes do not know their length in advance: the bar shows activity until
        // a procedure reports how far it has come.
        if (name != QLatin1String("writecurve") && name != QLatin1String("backupcurves") &&
            name != QLatin1String("restorecurves"))
            progress.set_fraction(-1);
        show_dialog(progress);
    }
    transfer_running_ = false;
    show_fields_in_widgets();
    if (online && setup_.interface == Interface::None) go_offline(offline_message(*link_));
    // Closed before the work began: nothing was sent.
    return result.value_or(TransferResult::Cancelled);
}

void MainWindow::go_offline(const std::string& why) {
    set_instrument_commands_enabled(false);
    update_status_line();
    prompts_->message(why);
}

void MainWindow::Command3_Click() {
    if (!leave_pending_edits() || !may_replace_curve()) return;
    PickCurveDialog pick(PickKind::Read, picks_.read, nullptr, this);
    if (show_dialog(pick) != QDialog::Accepted) return;
    curve_received(run_transfer(QStringLiteral("readcurve"), kReadDialogTitle,
                                QStringLiteral("Wait..."),
                                run_read_transfer) == TransferResult::Done);
}

void MainWindow::Command4_Click() {
    if (!leave_pending_edits()) return;
    write_confirmed_ = false;
    last_write_ = WriteOutcome::NotWritten;
    PickCurveDialog pick(
        PickKind::Write, picks_.write, [this] { return prompts_->ask_yes_no(kAskWrite); }, this);
    if (show_dialog(pick) != QDialog::Accepted) {
        write_confirmed_ = false;
        return;
    }
    // The check runs in the same progress dialog, right after the write.
    const bool verify = verify_action_ && verify_action_->isChecked();
    std::optional<CurveCheck> check;
    const TransferResult written =
        run_transfer(QStringLiteral("writecurve"), kWriteDialogTitle, QString(), [&](Session& s) {
            const TransferResult result = run_write_transfer(s);
            if (result == TransferResult::Done && verify) check = verify_last_write(s);
            return result;
        });
    // Only a write that went through as a whole, and that the instrument is seen to hold when
    // checked, counts as confirmed.
    if (written == TransferResult::Done) {
        write_confirmed_ = !check || report_write_check(*check);
        last_write_ = write_confirmed_ ? WriteOutcome::Confirmed : WriteOutcome::NotVerified;
    }
    curve_sent(write_confirmed_);
}

void MainWindow::Command5_Click() {
    if (!leave_pending_edits()) return;
    PickCurveDialog pick(
        PickKind::Delete, picks_.remove, [this] { return prompts_->ask_yes_no(kAskDelete); }, this);
    if (show_dialog(pick) != QDialog::Accepted) return;
    run_transfer(QStringLiteral("deletecurve"), kDeleteDialogTitle,
                 QStringLiteral("Waiting for instrument to update..."), run_delete_transfer);
}

void MainWindow::Command6_Click() {
    if (!leave_pending_edits() || !may_replace_curve()) return;
    // The port must be free before the communication dialog opens it again.
    if (setup_.interface == Interface::RS232) link_->close();
    Form_Load();
    if (!ended_) show();
}

void MainWindow::Command7_Click() {
    if (!leave_pending_edits()) return;
    take_fields_from_widgets();
    graph_->print_graph(setup_.model, curve_, header_, this, options_.choose_printer);
}

void MainWindow::export_graph() {
    if (!leave_pending_edits()) return;
    graph_->export_with_dialog(CurveGraph::export_filter(), GraphImageFormat::Png);
}

void MainWindow::wire_graph() {
    graph_->set_export_hooks(
        [this](const QString& filter, QWidget* parent) {
            return options_.choose_file(FileDialogKind::Save, filter, parent);
        },
        [this](const QString& text) { prompts_->message(text.toStdString()); });
}

// ---- editing commands ---------------------------------------------------------------------------

void MainWindow::Command8_Click() {
    if (!leave_pending_edits()) return;
    take_fields_from_widgets();
    if (insert_a_point_precheck(curve_, top_index(), *prompts_) != InsertPrecheck::OpenDialog)
        return;
    InsertPointDialog dialog(
        curve_, top_index(), *prompts_, *this, [this](int value) { move_grid_to(value); }, this);
    show_dialog(dialog);
    note_edit("Insert Point");
}

void MainWindow::move_grid_to(int scroll_value) {
    {
        QSignalBlocker block(vscroll1_);
        vscroll1_->setValue(scroll_value);
    }
    display_grid_data(top_index_for_scroll_value(scroll_value));
}

void MainWindow::Command9_Click() {
    if (!leave_pending_edits()) return;
    take_fields_from_widgets();
    DeletePointDialog dialog(
        curve_, top_index(), *this, [this](int value) { move_grid_to(value); }, this);
    show_dialog(dialog);
    note_edit("Delete Point");
}

void MainWindow::cmdAdjust_Click() {
    if (!leave_pending_edits()) return;
    take_fields_from_widgets();
    QtAdjustPointsDialog dialog(*prompts_, options_.run_dialog, this);
    kelvara::cmdAdjust_Click(curve_, header_, dialog, *prompts_, *this);
    show_fields_in_widgets();
    note_edit("Adjustment");
}

}  // namespace kelvara::ui
