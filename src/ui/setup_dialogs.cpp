#include "ui/setup_dialogs.h"

#include <QApplication>
#include <QButtonGroup>
#include <QComboBox>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "curve/model_profile.h"
#include "curve/prompts.h"

namespace kelvara::ui {

namespace {

template <class W>
W* named(W* w, const char* name) {
    w->setObjectName(QString::fromLatin1(name));
    return w;
}

// The dialogs keep their controls in place when some are hidden, so the layout does not jump
// while the user tries the interface options.
void keep_place(QWidget* w) {
    QSizePolicy p = w->sizePolicy();
    p.setRetainSizeWhenHidden(true);
    w->setSizePolicy(p);
}

QLabel* heading(const char* name, const char* text, QWidget* parent) {
    auto* l = named(new QLabel(QString::fromLatin1(text), parent), name);
    QFont f = l->font();
    f.setBold(true);
    l->setFont(f);
    return l;
}

// CONTINUE and QUIT centred under the dialog's content; the default button answers Enter.
std::pair<QPushButton*, QPushButton*> add_continue_quit(QWidget* dialog, QVBoxLayout* layout,
                                                        bool enter_quits) {
    auto* cont = named(new QPushButton(QStringLiteral("CONTINUE"), dialog), "Command1");
    auto* quit = named(new QPushButton(QStringLiteral("QUIT"), dialog), "Command2");
    QPushButton* answer = enter_quits ? quit : cont;
    (enter_quits ? cont : quit)->setAutoDefault(false);
    answer->setDefault(true);
    answer->setAutoDefault(true);
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(cont);
    row->addSpacing(24);
    row->addWidget(quit);
    row->addStretch(1);
    layout->addSpacing(8);
    layout->addLayout(row);
    return {cont, quit};
}

}  // namespace

QFrame* make_line(const QString& name, QWidget* parent, bool separator) {
    auto* line = new QFrame(parent);
    line->setObjectName(name);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    if (!separator) line->setFixedWidth(40);
    return line;
}

// ---------------------------------------------------------------------------------------------

SetupDialog::SetupDialog(SetupChoices& choices, const char* object_name, QWidget* parent)
    : QDialog(parent), choices_(choices) {
    setObjectName(QString::fromLatin1(object_name));
    setWindowTitle(QString::fromLatin1(kAppTitle));
    setModal(true);
}

void SetupDialog::done(int result) {
    if (result != Accepted) choices_.proceed = false;
    QDialog::done(result);
}

// ---------------------------------------------------------------------------------------------

InstrumentSelectionDialog::InstrumentSelectionDialog(SetupChoices& choices, QWidget* parent)
    : SetupDialog(choices, "instrumentselection", parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(heading("Label1", "SELECT TESSALY INSTRUMENT", this), 0, Qt::AlignHCenter);
    layout->addWidget(make_line(QStringLiteral("Line1"), this, true));

    auto* group = new QButtonGroup(this);
    int row = 1;
    for (const ModelProfile& p : model_profiles()) {
        auto* option = new QRadioButton(
            QString::fromUtf8(p.selection_caption.data(), int(p.selection_caption.size())), this);
        option->setObjectName(QStringLiteral("Option%1").arg(row++));
        group->addButton(option);
        options_.push_back(option);
        layout->addWidget(option);
    }
    options_.front()->setChecked(true);

    auto [cont, quit] = add_continue_quit(this, layout, false);

    connect(cont, &QPushButton::clicked, this, &InstrumentSelectionDialog::continue_clicked);
    connect(quit, &QPushButton::clicked, this, &QDialog::reject);
}

void InstrumentSelectionDialog::preselect(InstrumentModel model) {
    const auto& profiles = model_profiles();
    for (size_t i = 0; i < options_.size(); ++i)
        if (profiles[i].model == model) options_[i]->setChecked(true);
}

void InstrumentSelectionDialog::continue_clicked() {
    const auto& profiles = model_profiles();
    for (size_t i = 0; i < options_.size(); ++i)
        if (options_[i]->isChecked()) choices_.model = profiles[i].model;
    choices_.proceed = true;
    accept();
}

// ---------------------------------------------------------------------------------------------

CommunicationDialog::CommunicationDialog(SetupChoices& choices,
                                         std::function<void(SetupChoices&)> open_link,
                                         std::function<std::string(int)> device_for_port,
                                         QWidget* parent)
    : SetupDialog(choices, "communication", parent), open_link_(std::move(open_link)) {
    auto* layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetFixedSize);

    label2_ = heading("Label2", "", this);
    layout->addWidget(label2_, 0, Qt::AlignHCenter);
    layout->addWidget(make_line(QStringLiteral("Line6"), this, true));
    layout->addWidget(heading("Label1", "SELECT COMMUNICATION INTERFACE", this));

    // Interface group: each option is joined by a line to the controls that belong to it.
    auto* frame1 = named(new QFrame(this), "Frame1");
    option1_ =
        named(new QRadioButton(QStringLiteral("IEEE-488 GPIB Interface"), frame1), "Option1");
    option2_ =
        named(new QRadioButton(QStringLiteral("RS-232C Serial Interface"), frame1), "Option2");
    option3_ = named(new QRadioButton(QStringLiteral("Do Not Communicate With Instrument"), frame1),
                     "Option3");

    line3_ = make_line(QStringLiteral("Line3"), this);
    label3_ = named(new QLabel(QStringLiteral("INSTRUMENT ADDRESS"), this), "Label3");
    combo2_ = named(new QComboBox(this), "Combo2");
    line4_ = make_line(QStringLiteral("Line4"), this);
    label6_ = named(new QLabel(QStringLiteral("PORT NUMBER"), this), "Label6");
    combo3_ = named(new QComboBox(this), "Combo3");
    line5_ = make_line(QStringLiteral("Line5"), this);
    label4_ = named(new QLabel(this), "Label4");
    label4_->setWordWrap(true);
    label4_->setMinimumWidth(330);
    line2_ = make_line(QStringLiteral("Line2"), this);
    label7_ = named(new QLabel(QStringLiteral("WORK OFFLINE FROM INSTRUMENT"), this), "Label7");
    label10_ = named(new QLabel(QStringLiteral("GPIB THROUGH"), this), "Label10");
    combo4_ = named(new QComboBox(this), "Combo4");
    combo4_->addItems({QStringLiteral("GPIB library"), QStringLiteral("USB adapter"),
                       QStringLiteral("Ethernet adapter")});
    label11_ = named(new QLabel(QStringLiteral("ADAPTER PORT NUMBER"), this), "Label11");
    combo5_ = named(new QComboBox(this), "Combo5");
    label12_ = named(new QLabel(QStringLiteral("ADAPTER HOST"), this), "Label12");
    text1_ = named(new QLineEdit(this), "Text1");
    text1_->setPlaceholderText(QStringLiteral("host or host:port"));

    // The frame holds the options and, on each option's row, the controls joined to it; the
    // GPIB option's rows go on with the way GPIB is reached.
    auto* grid = new QGridLayout(frame1);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->addWidget(option1_, 0, 0);
    grid->addWidget(option2_, 3, 0);
    grid->addWidget(option3_, 5, 0);
    grid->addWidget(line3_, 0, 1);
    grid->addWidget(label3_, 0, 2);
    grid->addWidget(combo2_, 0, 3);
    grid->addWidget(label10_, 1, 2);
    grid->addWidget(combo4_, 1, 3);
    grid->addWidget(label11_, 2, 2);
    grid->addWidget(combo5_, 2, 3);
    grid->addWidget(label12_, 2, 2);  // shares the row: one of the two adapters at a time
    grid->addWidget(text1_, 2, 3);
    grid->addWidget(line4_, 3, 1);
    grid->addWidget(label6_, 3, 2);
    grid->addWidget(combo3_, 3, 3);
    grid->addWidget(line5_, 4, 1);
    grid->addWidget(label4_, 4, 2, 1, 2);
    grid->addWidget(line2_, 5, 1);
    grid->addWidget(label7_, 5, 2, 1, 2);
    for (QWidget* w : std::initializer_list<QWidget*>{
             line3_, label3_, combo2_, line4_, label6_, combo3_, line5_, label4_, line2_, label7_,
             label10_, combo4_, label11_, combo5_, label12_, text1_})
        keep_place(w);
    grid->setColumnStretch(2, 1);
    layout->addWidget(frame1);
    layout->addWidget(make_line(QStringLiteral("Line7"), this, true));

    // Installation type.
    label5_ = heading("Label5", "SELECT INSTALLATION TYPE", this);
    frame2_ = named(new QFrame(this), "Frame2");
    option4_ =
        named(new QRadioButton(QStringLiteral("Simple Curve Installation"), frame2_), "Option4");
    option5_ =
        named(new QRadioButton(QStringLiteral("Advanced Curve Installation"), frame2_), "Option5");
    line1_ = make_line(QStringLiteral("Line1"), this);
    line8_ = make_line(QStringLiteral("Line8"), this);
    label8_ = named(
        new QLabel(QStringLiteral("READ CURVE FROM FILE AND WRITE CURVE TO INSTRUMENT LOCATION"),
                   this),
        "Label8");
    label9_ = named(
        new QLabel(QStringLiteral("READ, EDIT, AND WRITE CURVES TO AND FROM FILES AND INSTRUMENTS"),
                   this),
        "Label9");
    auto* install = new QGridLayout(frame2_);
    install->setContentsMargins(0, 0, 0, 0);
    install->addWidget(option4_, 0, 0);
    install->addWidget(option5_, 1, 0);
    install->addWidget(line1_, 0, 1);
    install->addWidget(label8_, 0, 2);
    install->addWidget(line8_, 1, 1);
    install->addWidget(label9_, 1, 2);
    for (QWidget* w :
         std::initializer_list<QWidget*>{label5_, frame2_, line1_, line8_, label8_, label9_})
        keep_place(w);
    install->setColumnStretch(2, 1);
    layout->addWidget(label5_);
    layout->addWidget(frame2_);

    auto [cont, quit] = add_continue_quit(this, layout, false);

    connect(option1_, &QRadioButton::toggled, this, [this](bool on) {
        if (on) show_gpib_controls();
    });
    connect(option2_, &QRadioButton::toggled, this, [this](bool on) {
        if (on) show_rs232_controls();
    });
    connect(option3_, &QRadioButton::toggled, this, [this](bool on) {
        if (on) show_offline_controls();
    });
    connect(option4_, &QRadioButton::toggled, this,
            &CommunicationDialog::show_installation_description);
    connect(combo4_, &QComboBox::currentIndexChanged, this,
            [this] { show_gpib_route_controls(option1_->isChecked()); });
    connect(cont, &QPushButton::clicked, this, &CommunicationDialog::continue_clicked);
    connect(quit, &QPushButton::clicked, this, &QDialog::reject);

    // On load: the lists, the model's set-up, then simple installation.
    for (int i = 1; i <= 32; ++i) combo2_->addItem(QString::number(i));
    combo2_->setCurrentIndex(11);
    for (int i = 1; i <= 16; ++i) {
        QString entry = QString::number(i);
        std::string device = device_for_port ? device_for_port(i) : std::string();
        if (!device.empty()) entry += QStringLiteral("  (%1)").arg(QString::fromStdString(device));
        combo3_->addItem(entry);
        combo5_->addItem(entry);
    }
    combo3_->setCurrentIndex(0);
    // The adapter choices of an earlier showing in this run come back, so that a change of
    // instrument does not mean typing the host again.
    combo4_->setCurrentIndex(static_cast<int>(choices_.gpib_route));
    combo5_->setCurrentIndex(std::clamp(choices_.adapter_port, 1, 16) - 1);
    text1_->setText(QString::fromStdString(choices_.adapter_host));
    show_model_setup();
    line1_->show();
    label8_->show();
    line8_->hide();
    label9_->hide();
    option4_->setChecked(true);
}

void CommunicationDialog::show_model_setup() {
    const ModelProfile* p = find_profile(choices_.model);
    if (!p) return;
    label2_->setText(QString::fromUtf8(p->setup_title.data(), int(p->setup_title.size())));
    if (!p->gpib_allowed) {
        // GPIB never shows for this model: its adapter rows need no room.
        for (QWidget* w : std::initializer_list<QWidget*>{label10_, combo4_, label11_, combo5_,
                                                          label12_, text1_}) {
            QSizePolicy policy = w->sizePolicy();
            policy.setRetainSizeWhenHidden(false);
            w->setSizePolicy(policy);
        }
        option1_->setEnabled(false);
        option2_->setChecked(true);
        show_rs232_controls();
    } else {
        option1_->setChecked(true);
        show_gpib_controls();
        combo2_->setCurrentIndex(11);
    }
    label4_->setText(QString::fromUtf8(p->setup_text.data(), int(p->setup_text.size())));
}

void CommunicationDialog::show_gpib_controls() {
    for (QWidget* w : std::initializer_list<QWidget*>{line3_, label3_, combo2_}) w->show();
    for (QWidget* w : std::initializer_list<QWidget*>{line4_, line5_, label6_, combo3_, label4_,
                                                      line2_, label7_})
        w->hide();
    show_gpib_route_controls(true);
    frame2_->show();
    label5_->show();
    show_installation_description();
}

void CommunicationDialog::show_rs232_controls() {
    for (QWidget* w : std::initializer_list<QWidget*>{line4_, line5_, label6_, combo3_, label4_})
        w->show();
    for (QWidget* w : std::initializer_list<QWidget*>{line3_, label3_, combo2_, line2_, label7_})
        w->hide();
    show_gpib_route_controls(false);
    frame2_->show();
    label5_->show();
    show_installation_description();
}

void CommunicationDialog::show_offline_controls() {
    for (QWidget* w : std::initializer_list<QWidget*>{line2_, label7_}) w->show();
    for (QWidget* w : std::initializer_list<QWidget*>{line3_, label3_, combo2_, line4_, line5_,
                                                      label6_, combo3_, label4_, frame2_, label5_,
                                                      line1_, label8_, line8_, label9_})
        w->hide();
    show_gpib_route_controls(false);
}

void CommunicationDialog::show_gpib_route_controls(bool gpib) {
    const auto route = static_cast<GpibRoute>(combo4_->currentIndex());
    label10_->setVisible(gpib);
    combo4_->setVisible(gpib);
    label11_->setVisible(gpib && route == GpibRoute::UsbAdapter);
    combo5_->setVisible(gpib && route == GpibRoute::UsbAdapter);
    label12_->setVisible(gpib && route == GpibRoute::EthernetAdapter);
    text1_->setVisible(gpib && route == GpibRoute::EthernetAdapter);
}

void CommunicationDialog::show_installation_description() {
    // Offline shows no installation description whatever the choice.
    if (option3_->isChecked()) return;
    const bool simple = option4_->isChecked();
    line1_->setVisible(simple);
    label8_->setVisible(simple);
    line8_->setVisible(!simple);
    label9_->setVisible(!simple);
}

void CommunicationDialog::preselect(const RememberedSetup& remembered) {
    if (remembered.gpib_address) combo2_->setCurrentIndex(*remembered.gpib_address - 1);
    if (remembered.serial_port) combo3_->setCurrentIndex(*remembered.serial_port - 1);
    if (!remembered.interface) return;
    switch (*remembered.interface) {
        case Interface::GPIB:
            if (option1_->isEnabled()) option1_->setChecked(true);
            break;
        case Interface::RS232:
            option2_->setChecked(true);
            break;
        case Interface::None:
            option3_->setChecked(true);
            break;
    }
}

void CommunicationDialog::continue_clicked() {
    if (option1_->isChecked())
        choices_.interface = Interface::GPIB;
    else if (option2_->isChecked())
        choices_.interface = Interface::RS232;
    else
        choices_.interface = Interface::None;
    choices_.gpib_address = combo2_->currentIndex() + 1;
    choices_.serial_port = combo3_->currentIndex() + 1;
    choices_.gpib_route = static_cast<GpibRoute>(combo4_->currentIndex());
    choices_.adapter_port = combo5_->currentIndex() + 1;
    choices_.adapter_host = text1_->text().trimmed().toStdString();
    choices_.simple_installation = option4_->isChecked();
    if (choices_.interface != Interface::None && open_link_) {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        open_link_(choices_);
        QApplication::restoreOverrideCursor();
    }
    choices_.proceed = true;
    accept();
}

// ---------------------------------------------------------------------------------------------

RepeatChoiceDialog::RepeatChoiceDialog(SetupChoices& choices, QWidget* parent)
    : SetupDialog(choices, "repeatchoice", parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(heading("Label1", "SELECT INSTALLATION TYPE", this));
    auto* frame = named(new QFrame(this), "Frame1");
    auto* frame_layout = new QVBoxLayout(frame);
    frame_layout->setContentsMargins(0, 0, 0, 0);
    option1_ =
        named(new QRadioButton(QStringLiteral("Simple Curve Installation"), frame), "Option1");
    auto* option2 =
        named(new QRadioButton(QStringLiteral("Advanced Curve Installation"), frame), "Option2");
    frame_layout->addWidget(option1_);
    frame_layout->addWidget(option2);
    auto* grid = new QGridLayout;
    grid->addWidget(frame, 0, 0, 2, 1);
    grid->addWidget(make_line(QStringLiteral("Line1"), this), 0, 1);
    grid->addWidget(
        named(new QLabel(
                  QStringLiteral("READ CURVE FROM FILE AND WRITE CURVE TO INSTRUMENT LOCATION"),
                  this),
              "Label2"),
        0, 2);
    grid->addWidget(make_line(QStringLiteral("Line2"), this), 1, 1);
    grid->addWidget(
        named(new QLabel(
                  QStringLiteral("READ, EDIT, AND WRITE CURVES TO AND FROM FILES AND INSTRUMENTS"),
                  this),
              "Label3"),
        1, 2);
    layout->addLayout(grid);

    // Here Enter quits: a user who pressed Enter through the last install is done.
    auto [cont, quit] = add_continue_quit(this, layout, true);
    option1_->setChecked(true);

    connect(cont, &QPushButton::clicked, this, [this] {
        choices_.proceed = true;
        choices_.simple_installation = option1_->isChecked();
        accept();
    });
    connect(quit, &QPushButton::clicked, this, &QDialog::reject);
}

}  // namespace kelvara::ui
