// "About Kelvara" (Help menu): the program, its version, what it is for and its license. The
// version is the one users give when they report a problem.
#pragma once

#include <QDialog>

namespace kelvara::ui {

class AboutDialog : public QDialog {
    Q_OBJECT
  public:
    explicit AboutDialog(QWidget* parent = nullptr);
};

}  // namespace kelvara::ui
