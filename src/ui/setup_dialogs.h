// The set-up dialogs shown before the main window: instrument model, communication interface and
// installation type, and the repeat dialog after a simple installation. They fill SetupChoices
// and keep nothing of their own.
#pragma once

#include <QDialog>
#include <functional>
#include <string>
#include <vector>

#include "link/setup_choices.h"
#include "ui/user_settings.h"

class QComboBox;
class QFrame;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace kelvara::ui {

// Horizontal line standing for the connector lines (short) and separator lines (full width) of
// the dialogs.
QFrame* make_line(const QString& name, QWidget* parent, bool separator = false);

// The three set-up dialogs: named, titled with the program and modal. Closed any other way than
// CONTINUE, they count as QUIT.
class SetupDialog : public QDialog {
    Q_OBJECT
  public:
    SetupDialog(SetupChoices& choices, const char* object_name, QWidget* parent);
    void done(int result) override;

  protected:
    SetupChoices& choices_;
};

class InstrumentSelectionDialog : public SetupDialog {
    Q_OBJECT
  public:
    explicit InstrumentSelectionDialog(SetupChoices& choices, QWidget* parent = nullptr);

    QRadioButton* option(int row) const { return options_.at(row - 1); }  // row 1..18
    // Selects the model remembered from the last run instead of the first row.
    void preselect(InstrumentModel model);

  private:
    void continue_clicked();

    std::vector<QRadioButton*> options_;
};

class CommunicationDialog : public SetupDialog {
    Q_OBJECT
  public:
    // open_link runs the link set-up for the interface just chosen (GPIB or RS-232); it reports
    // its own failures. device_for_port gives the Linux device shown next to a port number.
    CommunicationDialog(SetupChoices& choices, std::function<void(SetupChoices&)> open_link,
                        std::function<std::string(int)> device_for_port, QWidget* parent = nullptr);

    void show_model_setup();
    void show_gpib_controls();
    void show_rs232_controls();
    void show_offline_controls();
    // Selects what was remembered from the last run over the model's built-in choice; GPIB only
    // where the model allows it.
    void preselect(const RememberedSetup& remembered);

  private:
    void show_installation_description();
    void show_gpib_route_controls(bool gpib);
    void continue_clicked();

    std::function<void(SetupChoices&)> open_link_;
    QLabel *label2_, *label3_, *label4_, *label5_, *label6_, *label7_, *label8_, *label9_;
    QRadioButton *option1_, *option2_, *option3_, *option4_, *option5_;
    QComboBox *combo2_, *combo3_;
    QFrame *frame2_, *line1_, *line2_, *line3_, *line4_, *line5_, *line8_;
    // Our additions for GPIB adapters, shown with the GPIB choice: the "GPIB through" list
    // (Label10, Combo4), the USB adapter's serial port (Label11, Combo5) and the Ethernet
    // adapter's host (Label12, Text1).
    QLabel *label10_, *label11_, *label12_;
    QComboBox *combo4_, *combo5_;
    QLineEdit* text1_;
};

class RepeatChoiceDialog : public SetupDialog {
    Q_OBJECT
  public:
    explicit RepeatChoiceDialog(SetupChoices& choices, QWidget* parent = nullptr);

  private:
    QRadioButton* option1_;
};

}  // namespace kelvara::ui
