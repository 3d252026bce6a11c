#include "ui/about_dialog.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "kelvara_version.h"

namespace kelvara::ui {

AboutDialog::AboutDialog(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("about"));
    setWindowTitle(QStringLiteral("About Kelvara"));

    // Selectable, so that the version can be copied into a problem report.
    auto label = [this](const char* name, const QString& text) {
        auto* l = new QLabel(text, this);
        l->setObjectName(QString::fromLatin1(name));
        l->setTextInteractionFlags(Qt::TextSelectableByMouse);
        return l;
    };
    auto* program = label("labelProgram", QStringLiteral("Tessaly Kelvara"));
    QFont heading = program->font();
    heading.setBold(true);
    heading.setPointSizeF(heading.pointSizeF() * 1.4);
    program->setFont(heading);
    auto* version =
        label("labelVersion", QStringLiteral("Version %1").arg(QString::fromLatin1(kVersion)));
    auto* purpose = label(
        "labelPurpose",
        QStringLiteral("Reads, edits and writes the temperature-sensor calibration curves of "
                       "Tessaly cryogenic temperature controllers and monitors: curve files "
                       "(.TAZ, .TZA, .NAV, .DUN, .HOX) and the curves stored in an instrument, "
                       "over GPIB or RS-232."));
    purpose->setWordWrap(true);
    auto* license =
        label("labelLicense",
              QStringLiteral("Copyright \u00a9 2026 The Kelvara developers.\n"
                             "Free software under the GNU General Public License, version 3 or "
                             "(at your option) any later version. It comes with ABSOLUTELY NO "
                             "WARRANTY."));
    license->setWordWrap(true);

    auto* text = new QVBoxLayout;
    text->addWidget(program);
    text->addWidget(version);
    text->addSpacing(8);
    text->addWidget(purpose);
    text->addSpacing(8);
    text->addWidget(license);

    auto* top = new QHBoxLayout;
    // The installed icon, when the icon theme has it (not in a build tree).
    const QIcon icon = QIcon::fromTheme(QStringLiteral("kelvara"));
    if (!icon.isNull()) {
        auto* picture = new QLabel(this);
        picture->setObjectName(QStringLiteral("labelIcon"));
        picture->setPixmap(icon.pixmap(64, 64));
        picture->setAlignment(Qt::AlignTop);
        top->addWidget(picture);
        top->addSpacing(12);
    }
    top->addLayout(text, 1);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    buttons->button(QDialogButtonBox::Close)->setObjectName(QStringLiteral("Command1"));
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* outer = new QVBoxLayout(this);
    outer->addLayout(top);
    outer->addWidget(buttons);
    // Wrapped labels: the height follows from the width.
    setFixedSize(440, heightForWidth(440));
}

}  // namespace kelvara::ui
