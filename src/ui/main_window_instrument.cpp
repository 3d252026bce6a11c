// The Instrument menu: whether a write is checked by reading the location back, the open curve
// compared with a location without writing, and an instrument's curves saved to a folder and
// written back from it. The Parts' own buttons and messages stay as they are.
#include <QAction>
#include <QDateTime>
#include <QDir>
#include <QMenu>
#include <QPushButton>

#include "curve/next_field.h"
#include "protocol/backup.h"
#include "protocol/catalogue.h"
#include "ui/dialogs.h"
#include "ui/main_window.h"
#include "ui/user_settings.h"

namespace kelvara::ui {

namespace {

constexpr const char* kCompareTitle = "Comparing Curve With Instrument";
constexpr const char* kBackupTitle = "Backing Up Instrument Curves";
constexpr const char* kRestoreTitle = "Restoring Instrument Curves";
constexpr const char* kReportTitle = "Tessaly Kelvara";

}  // namespace

void MainWindow::build_instrument_menu() {
    verify_action_ = instrument_menu_->addAction(QStringLiteral("&Verify After Writing"));
    verify_action_->setObjectName(QStringLiteral("actionVerifyAfterWriting"));
    verify_action_->setCheckable(true);
    verify_action_->setChecked(verify_after_writing());
    connect(verify_action_, &QAction::toggled, this, [](bool on) { set_verify_after_writing(on); });
    instrument_menu_->addSeparator();
    const std::array<std::tuple<const char*, const char*, void (MainWindow::*)()>, 3> commands = {{
        {"&Compare With Instrument...", "actionCompareWithInstrument",
         &MainWindow::compare_with_instrument},
        {"&Back Up Instrument Curves...", "actionBackUpInstrument",
         &MainWindow::back_up_instrument},
        {"&Restore Instrument Curves...", "actionRestoreInstrument",
         &MainWindow::restore_instrument},
    }};
    for (std::size_t i = 0; i < commands.size(); ++i) {
        const auto& [caption, name, handler] = commands[i];
        QAction* a = instrument_menu_->addAction(QString::fromLatin1(caption));
        a->setObjectName(QString::fromLatin1(name));
        a->setEnabled(false);  // until an instrument answers
        connect(a, &QAction::triggered, this, handler);
        instrument_actions_[i] = a;
    }
}

void MainWindow::set_instrument_commands_enabled(bool online) {
    for (int i : {2, 3, 4}) commands_[i]->setEnabled(online);
    for (QAction* a : instrument_actions_)
        if (a) a->setEnabled(online);
}

void MainWindow::show_report(const QString& name, const QString& title, const QString& heading,
                             const std::vector<std::string>& lines) {
    ReportDialog report(name, title, heading, lines, this);
    show_dialog(report);
}

bool MainWindow::report_write_check(const CurveCheck& check) {
    switch (check.outcome) {
        case CheckOutcome::Agree:
            return true;
        case CheckOutcome::Differ:
            show_report(QStringLiteral("verifyreport"), QString::fromLatin1(kReportTitle),
                        QString::fromLatin1(kVerifyDiffers), check.differences);
            break;
        case CheckOutcome::ReadFailed:
            prompts_->message(kVerifyReadFailed + check.failure);
            break;
        case CheckOutcome::Cancelled:
            prompts_->message(kVerifyCancelled);
            break;
        case CheckOutcome::Unsendable:
            break;
    }
    return false;
}

void MainWindow::compare_with_instrument() {
    if (transfer_running_ || !leave_pending_edits()) return;
    std::string location;
    if (!picks_.read.entries.empty()) {
        PickCurveDialog pick(PickKind::Compare, picks_.read, nullptr, this);
        if (show_dialog(pick) != QDialog::Accepted) return;
        location = curve_number_field(picks_.read.text());
    }
    std::optional<CurveCheck> check;
    run_transfer(QStringLiteral("comparecurve"), kCompareTitle, QStringLiteral("Wait..."),
                 [&](Session& s) {
                     check = compare_with_location(s, location);
                     return TransferResult::Done;
                 });
    if (!check) return;
    switch (check->outcome) {
        case CheckOutcome::Agree:
            prompts_->message(kCompareAgrees);
            break;
        case CheckOutcome::Differ:
            show_report(QStringLiteral("comparereport"), QString::fromLatin1(kReportTitle),
                        QString::fromLatin1(kCompareDiffers), check->differences);
            break;
        case CheckOutcome::ReadFailed:
            prompts_->message(kCompareReadFailed + check->failure);
            break;
        case CheckOutcome::Unsendable:
            prompts_->message(check->failure);
            break;
        case CheckOutcome::Cancelled:
            break;  // going offline has said so
    }
}

void MainWindow::back_up_instrument() {
    if (transfer_running_ || !leave_pending_edits()) return;
    const auto folder = options_.choose_file(FileDialogKind::Folder, QString(), this);
    if (!folder) return;
    const std::string path = file_system_path(*folder);
    if (const std::string problem = backup_folder_problem(setup_.model, path); !problem.empty())
        return prompts_->message(problem);
    std::optional<BackupReport> report;
    const std::string date = QDateTime::currentDateTime()
                                 .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss t"))
                                 .toStdString();
    run_transfer(QStringLiteral("backupcurves"), kBackupTitle, QStringLiteral("Wait..."),
                 [&](Session& s) {
                     report = back_up_curves(s, path, date);
                     return report->result;
                 });
    if (!report) return;
    const QString where = QDir::toNativeSeparators(*folder);
    QString heading;
    if (!report->failure.empty())
        heading = QString::fromStdString(report->failure);
    else if (report->result == TransferResult::Done)
        heading = QStringLiteral("The instrument's curves were saved in %1.").arg(where);
    else if (report->result == TransferResult::Cancelled)
        heading = QStringLiteral("The backup was cancelled. What was saved is in %1.").arg(where);
    else
        heading = QStringLiteral(
                      "Not every curve could be saved in %1 as the instrument holds "
                      "it.")
                      .arg(where);
    show_report(QStringLiteral("backupreport"), QString::fromLatin1(kBackupTitle), heading,
                backup_report_lines(*report));
}

void MainWindow::restore_instrument() {
    if (transfer_running_ || !leave_pending_edits()) return;
    const auto folder = options_.choose_file(FileDialogKind::Folder, QString(), this);
    if (!folder) return;
    const QString where = QDir::toNativeSeparators(*folder);
    if (!prompts_->ask_yes_no(
            QStringLiteral("Do you really want to write the curves saved in %1 back to the "
                           "instrument? They replace the curves at their locations.")
                .arg(where)
                .toStdString()))
        return;
    const std::string path = file_system_path(*folder);
    std::optional<RestoreReport> report;
    run_transfer(QStringLiteral("restorecurves"), kRestoreTitle, QStringLiteral("Wait..."),
                 [&](Session& s) {
                     report = restore_curves(s, path, {});
                     return report->result;
                 });
    if (!report) return;
    QString heading;
    if (!report->failure.empty())
        heading = QString::fromStdString(report->failure);
    else if (report->result == TransferResult::Done)
        heading = QStringLiteral("Every curve was written back and verified.");
    else
        heading = QStringLiteral("Not every curve was written back as it was saved.");
    show_report(QStringLiteral("restorereport"), QString::fromLatin1(kRestoreTitle), heading,
                restore_report_lines(*report));
}

}  // namespace kelvara::ui
