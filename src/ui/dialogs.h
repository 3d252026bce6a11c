// The small modal dialogs of the main window: the three pick dialogs of the instrument commands,
// "Insert A Point", "Delete A Point" and the adjustment's "Adjustment Points".
#pragma once

#include <QDialog>
#include <functional>
#include <string>
#include <vector>

#include "curve/curve_record.h"
#include "curve/header_fields.h"
#include "curve/prompts.h"
#include "edit/curve_adjustment.h"
#include "ui/qt_ports.h"

class QComboBox;
class QLineEdit;

namespace kelvara::ui {

// Compare: our own, over the read list: the location the open curve is compared with.
enum class PickKind { Read, Write, Delete, Compare };

// pickreadcurve / pickwritecurve / pickdeletecurve over one of the pick lists. The selection
// follows the list field while the dialog is open. OK runs confirm(); the dialog closes with
// Accepted when it returns true and stays open otherwise.
class PickCurveDialog : public QDialog {
    Q_OBJECT
  public:
    PickCurveDialog(PickKind kind, ListField& list, std::function<bool()> confirm,
                    QWidget* parent = nullptr);
    QComboBox* list() const { return combo_; }

  private:
    ListField& list_;
    QComboBox* combo_;
};

// What an instrument check or a backup found: a heading and one line per difference or
// location, in a list the user can scroll and copy from; OK (Command1) closes it.
class ReportDialog : public QDialog {
    Q_OBJECT
  public:
    ReportDialog(const QString& object_name, const QString& title, const QString& heading,
                 const std::vector<std::string>& lines, QWidget* parent = nullptr);
};

// insertapoint: the pairs of neighbouring visible points, the new point's two values.
class InsertPointDialog : public QDialog {
    Q_OBJECT
  public:
    // set_scroll(v): the grid's scroll bar to v and the grid shown from v - 1.
    InsertPointDialog(CurveRecord& curve, int top_index, Prompts& prompts, Views& views,
                      std::function<void(int)> set_scroll, QWidget* parent = nullptr);

  private:
    void ok_clicked();

    CurveRecord& curve_;
    Prompts& prompts_;
    Views& views_;
    std::function<void(int)> set_scroll_;
    QComboBox* combo_;
    QLineEdit *units_, *temperature_;
};

// deleteapoint: the point numbers of the ten visible rows.
class DeletePointDialog : public QDialog {
    Q_OBJECT
  public:
    DeletePointDialog(CurveRecord& curve, int top_index, Views& views,
                      std::function<void(int)> set_scroll, QWidget* parent = nullptr);

  private:
    CurveRecord& curve_;
    QComboBox* combo_;
};

// adjustpoints, shown fresh for every pair.
class QtAdjustPointsDialog : public AdjustPointsDialog {
  public:
    QtAdjustPointsDialog(Prompts& prompts, DialogRunner run, QWidget* parent)
        : prompts_(prompts), run_(std::move(run)), parent_(parent) {}
    AdjustAnswer ask() override;

  private:
    Prompts& prompts_;
    DialogRunner run_;
    QWidget* parent_;
};

}  // namespace kelvara::ui
