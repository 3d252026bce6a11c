#include "ui/dialogs.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <map>

#include "edit/point_insert_delete.h"
#include "ui/code_page.h"

namespace kelvara::ui {

namespace {

QPushButton* button(QDialog* dialog, const char* name, const char* caption) {
    auto* b = new QPushButton(QString::fromLatin1(caption), dialog);
    b->setObjectName(QString::fromLatin1(name));
    return b;
}

QLabel* label(QDialog* dialog, const char* name, const QString& caption) {
    auto* l = new QLabel(caption, dialog);
    l->setObjectName(QString::fromLatin1(name));
    return l;
}

QLineEdit* line_edit(QDialog* dialog, const char* name) {
    auto* e = new QLineEdit(dialog);
    e->setObjectName(QString::fromLatin1(name));
    return e;
}

// Two fields side by side, each under its caption.
QGridLayout* captioned_pair(QLabel* first_caption, QLabel* second_caption, QLineEdit* first,
                            QLineEdit* second) {
    auto* grid = new QGridLayout;
    grid->addWidget(first_caption, 0, 0);
    grid->addWidget(second_caption, 0, 1);
    grid->addWidget(first, 1, 0);
    grid->addWidget(second, 1, 1);
    return grid;
}

QHBoxLayout* ok_cancel_row(QPushButton* ok, QPushButton* cancel) {
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(ok);
    row->addWidget(cancel);
    return row;
}

QComboBox* list_box(QDialog* dialog, const std::vector<std::string>& entries) {
    auto* combo = new QComboBox(dialog);
    combo->setObjectName(QStringLiteral("Combo1"));
    combo->setMinimumWidth(280);
    for (const auto& e : entries) combo->addItem(QString::fromStdString(e));
    if (!entries.empty()) combo->setCurrentIndex(0);
    return combo;
}

}  // namespace

// ---- pick dialogs -------------------------------------------------------------------------------

PickCurveDialog::PickCurveDialog(PickKind kind, ListField& list, std::function<bool()> confirm,
                                 QWidget* parent)
    : QDialog(parent), list_(list) {
    struct Text {
        const char* name;
        const char* title;
        const char* label;
    };
    static const Text texts[] = {
        {"pickreadcurve", "Read Curve From Instrument",
         "Pick the curve to read from the instrument."},
        {"pickwritecurve", "Write Curve To Instrument",
         "Pick the location in the instrument to write the selected curve."},
        {"pickdeletecurve", "Delete Curve From Instrument",
         "Pick the curve to delete from the instrument."},
        {"pickcomparecurve", "Compare With Instrument",
         "Pick the curve to compare the open curve with."},
    };
    const Text& t = texts[static_cast<int>(kind)];
    setObjectName(QString::fromLatin1(t.name));
    setWindowTitle(QString::fromLatin1(t.title));
    setModal(true);

    auto* layout = new QVBoxLayout(this);
    QLabel* label1 = label(this, "Label1", QString::fromLatin1(t.label));
    combo_ = new QComboBox(this);
    combo_->setObjectName(QStringLiteral("Combo1"));
    combo_->setMinimumWidth(340);
    // Entries carry the curve names the instrument holds, bytes of the files' code page.
    for (const auto& e : list.entries) combo_->addItem(from_code_page(e));
    combo_->setCurrentIndex(list.selected);
    combo_->setVisible(list.visible);
    // The read dialog keeps its instruction when its list is hidden; the others hide both.
    if (kind == PickKind::Write || kind == PickKind::Delete) label1->setVisible(list.visible);
    layout->addWidget(label1);
    layout->addWidget(combo_);
    QPushButton* ok = button(this, "Command1", "OK");
    QPushButton* cancel = button(this, "Command2", "Cancel");
    ok->setDefault(true);
    layout->addLayout(ok_cancel_row(ok, cancel));

    connect(combo_, &QComboBox::currentIndexChanged, this, [this](int i) { list_.selected = i; });
    connect(ok, &QPushButton::clicked, this, [this, confirm] {
        if (!confirm || confirm()) accept();
    });
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

// ---- reports ------------------------------------------------------------------------------------

ReportDialog::ReportDialog(const QString& object_name, const QString& title, const QString& heading,
                           const std::vector<std::string>& lines, QWidget* parent)
    : QDialog(parent) {
    setObjectName(object_name);
    setWindowTitle(title);
    setModal(true);
    auto* layout = new QVBoxLayout(this);
    QLabel* label1 = label(this, "Label1", heading);
    label1->setWordWrap(true);
    layout->addWidget(label1);
    auto* list = new QPlainTextEdit(this);
    list->setObjectName(QStringLiteral("Text1"));
    list->setReadOnly(true);
    list->setLineWrapMode(QPlainTextEdit::NoWrap);
    QStringList text;
    // Names and serial numbers are bytes of the files' code page.
    for (const auto& l : lines) text << from_code_page(l);
    list->setPlainText(text.join(QLatin1Char('\n')));
    list->setVisible(!lines.empty());
    list->setMinimumSize(560, lines.empty() ? 0 : 160);
    layout->addWidget(list, 1);
    QPushButton* ok = button(this, "Command1", "OK");
    ok->setDefault(true);
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(ok);
    layout->addLayout(row);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
}

// ---- insertapoint -------------------------------------------------------------------------------

InsertPointDialog::InsertPointDialog(CurveRecord& curve, int top_index, Prompts& prompts,
                                     Views& views, std::function<void(int)> set_scroll,
                                     QWidget* parent)
    : QDialog(parent),
      curve_(curve),
      prompts_(prompts),
      views_(views),
      set_scroll_(std::move(set_scroll)) {
    setObjectName(QStringLiteral("insertapoint"));
    setWindowTitle(QStringLiteral("Insert A Point"));
    setModal(true);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(label(this, "Label1", QStringLiteral("Insert Point Between Points:")));
    combo_ = list_box(this, insert_pair_entries(curve, top_index));
    layout->addWidget(combo_);
    units_ = line_edit(this, "Text1");
    temperature_ = line_edit(this, "Text2");
    layout->addLayout(captioned_pair(label(this, "Label2", QStringLiteral("Sensor Unit")),
                                     label(this, "Label3", QStringLiteral("Temperature")), units_,
                                     temperature_));
    QPushButton* ok = button(this, "Command1", "OK");
    QPushButton* cancel = button(this, "Command2", "Cancel");
    ok->setDefault(true);
    layout->addLayout(ok_cancel_row(ok, cancel));

    // Cancel abandons the values: clicking it must not first ask for valid ones.
    leave_unchecked_for(cancel);
    validate_on_leave(units_, [this] {
        return validate_insert_units_field(parse_number(units_->text()), prompts_);
    });
    validate_on_leave(temperature_, [this] {
        return validate_insert_temperature_field(parse_number(temperature_->text()), prompts_);
    });
    connect(ok, &QPushButton::clicked, this, &InsertPointDialog::ok_clicked);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

void InsertPointDialog::ok_clicked() {
    const std::string selected = combo_->currentText().toStdString();
    const std::string first = combo_->count() > 0 ? combo_->itemText(0).toStdString() : selected;
    auto scroll = insert_point_ok(curve_, selected, first, parse_number(units_->text()),
                                  parse_number(temperature_->text()), prompts_, views_);
    if (!scroll) return;
    set_scroll_(*scroll);
    accept();
}

// ---- deleteapoint -------------------------------------------------------------------------------

DeletePointDialog::DeletePointDialog(CurveRecord& curve, int top_index, Views& views,
                                     std::function<void(int)> set_scroll, QWidget* parent)
    : QDialog(parent), curve_(curve) {
    setObjectName(QStringLiteral("deleteapoint"));
    setWindowTitle(QStringLiteral("Delete A Point"));
    setModal(true);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(label(this, "Label1", QStringLiteral("Pick the point to be deleted.")));
    combo_ = list_box(this, delete_point_entries(top_index));
    layout->addWidget(combo_);
    QPushButton* ok = button(this, "Command1", "OK");
    QPushButton* cancel = button(this, "Command2", "Cancel");
    ok->setDefault(true);
    layout->addLayout(ok_cancel_row(ok, cancel));

    connect(ok, &QPushButton::clicked, this, [this, &views, set_scroll] {
        auto point = first_number_of_entry(combo_->currentText().toStdString());
        auto first = first_number_of_entry(combo_->itemText(0).toStdString());
        if (!point || !first) return;
        set_scroll(delete_point_ok(curve_, *point, *first, views));
        accept();
    });
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

// ---- adjustpoints -------------------------------------------------------------------------------

namespace {

class AdjustDialog : public QDialog {
  public:
    AdjustDialog(Prompts& prompts, QWidget* parent) : QDialog(parent) {
        setObjectName(QStringLiteral("adjustpoints"));
        setWindowTitle(QStringLiteral("Adjustment Points"));
        setModal(true);
        auto* layout = new QVBoxLayout(this);
        measured_ = line_edit(this, "txtControlPoint");
        actual_ = line_edit(this, "txtSamplePoint");
        layout->addLayout(captioned_pair(
            label(this, "Label1", QStringLiteral("Measured Temperature (K):")),
            label(this, "Label2", QStringLiteral("Actual Temperature (K):")), measured_, actual_));
        auto* row = new QHBoxLayout;
        for (const char* caption : {kNextPoint, kDone, kCancel}) {
            static const std::map<std::string, const char*> names = {
                {kNextPoint, "cmdNextPoint"}, {kDone, "cmdDone"}, {kCancel, "cmdCancel"}};
            QPushButton* b = button(this, names.at(caption), caption);
            row->addWidget(b);
            connect(b, &QPushButton::clicked, this, [this, caption, &prompts] {
                auto a = adjust_points_button(caption, measured_->text().toStdString(),
                                              actual_->text().toStdString(), prompts);
                if (!a) return;
                answer = *a;
                accept();
            });
            if (std::string(caption) == kNextPoint) b->setDefault(true);
        }
        layout->addLayout(row);
    }

    AdjustAnswer answer{kCancel, 0, 0, false};

  protected:
    void closeEvent(QCloseEvent* event) override {
        answer = AdjustAnswer{kCancel, 0, 0, false};
        QDialog::closeEvent(event);
    }
    void reject() override {
        answer = AdjustAnswer{kCancel, 0, 0, false};
        QDialog::reject();
    }

  private:
    QLineEdit *measured_, *actual_;
};

}  // namespace

AdjustAnswer QtAdjustPointsDialog::ask() {
    AdjustDialog dialog(prompts_, parent_);
    (run_ ? run_ : DialogRunner(exec_dialog))(dialog);
    return dialog.answer;
}

}  // namespace kelvara::ui
