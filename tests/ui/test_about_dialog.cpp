// Help > About Kelvara: the dialog the window shows names the program, the version of CMake's
// project(), what it is for and the license, and nothing in it is cut off.
#include <QAction>
#include <QMenu>
#include <QtTest>

#include "ui/about_dialog.h"
#include "ui_script.h"

using namespace kelvara;
using namespace kelvara::test;

class TestAboutDialog : public QObject {
    Q_OBJECT

  private slots:
    void shown_from_the_help_menu() {
        Harness h;
        QStringList texts;
        h.script.expect("about", [&](QDialog& d) {
            for (const char* name :
                 {"labelProgram", "labelVersion", "labelPurpose", "labelLicense"})
                texts << child<QLabel>(d, name)->text();
            texts << d.windowTitle();
            check_fits(d, QStringLiteral("about"));
            return click(d, "Command1");
        });
        QAction* about = h.action("actionAbout");
        QVERIFY(h.w().findChild<QMenu*>(QStringLiteral("menuHelp"))->actions().contains(about));
        about->trigger();
        QVERIFY(h.script.done());
        QCOMPARE(texts[0], QStringLiteral("Tessaly Kelvara"));
        QCOMPARE(texts[1], QStringLiteral("Version " KELVARA_EXPECTED_VERSION));
        QVERIFY(texts[2].contains(QStringLiteral("calibration curves")));
        QVERIFY(texts[3].contains(QStringLiteral("GNU General Public License, version 3")));
        QCOMPARE(texts[4], QStringLiteral("About Kelvara"));
    }
};

QTEST_MAIN(TestAboutDialog)
#include "test_about_dialog.moc"
