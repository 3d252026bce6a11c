// The set-up dialogs on their own: model choice, interface preselection and layouts, the lists,
// CONTINUE/QUIT, and the repeat dialog's default button.
#include <QComboBox>
#include <QLabel>
#include <QRadioButton>
#include <QtTest>

#include "ui/setup_dialogs.h"
#include "ui_script.h"

using namespace kelvara;
using namespace kelvara::ui;
using kelvara::test::child;
using kelvara::test::click;

Q_DECLARE_METATYPE(kelvara::InstrumentModel)

class TestSetupDialogs : public QObject {
    Q_OBJECT

    int links_opened = 0;
    std::unique_ptr<CommunicationDialog> communication(SetupChoices& c) {
        return std::make_unique<CommunicationDialog>(
            c, [this](SetupChoices&) { ++links_opened; },
            [](int n) { return "/dev/ttyS" + std::to_string(n - 1); });
    }
    static bool shown(QDialog& d, const char* name) { return child(d, name)->isVisibleTo(&d); }

  private slots:
    void selection_starts_on_dal_and_quit_keeps_model() {
        SetupChoices c;
        c.model = InstrumentModel::TAZ;
        c.proceed = true;
        InstrumentSelectionDialog d(c);
        QVERIFY(child<QRadioButton>(d, "Option1")->isChecked());
        QCOMPARE(child<QRadioButton>(d, "Option18")->text(),
                 QStringLiteral("Tessaly Model ELK/ELKR"));
        QVERIFY(child<QPushButton>(d, "Command1")->isDefault());
        click(d, "Command2");
        QVERIFY(!c.proceed);
        QCOMPARE(c.model, InstrumentModel::TAZ);
    }

    void selection_row_gives_model_data() {
        QTest::addColumn<int>("row");
        QTest::addColumn<InstrumentModel>("model");
        QTest::newRow("DAL") << 1 << InstrumentModel::DAL;
        QTest::newRow("HOX") << 4 << InstrumentModel::HOX;
        QTest::newRow("QUA/RIL") << 11 << InstrumentModel::QUA_RIL;
        QTest::newRow("TAZ") << 12 << InstrumentModel::TAZ;
        QTest::newRow("KIP") << 16 << InstrumentModel::KIP;
        QTest::newRow("ELK") << 18 << InstrumentModel::ELK;
    }
    void selection_row_gives_model() {
        QFETCH(int, row);
        QFETCH(InstrumentModel, model);
        SetupChoices c;
        InstrumentSelectionDialog d(c);
        d.option(row)->setChecked(true);
        click(d, "Command1");
        QVERIFY(c.proceed);
        QCOMPARE(c.model, model);
        QCOMPARE(d.result(), int(QDialog::Accepted));
    }

    void communication_preselects_per_model_data() {
        QTest::addColumn<InstrumentModel>("model");
        QTest::addColumn<bool>("gpib");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("setup");
        QTest::newRow("DAL") << InstrumentModel::DAL << false << "TESSALY MODEL DAL"
                             << "NO INSTRUMENT SETUP NEEDED.";
        QTest::newRow("HOX") << InstrumentModel::HOX << false << "TESSALY MODEL HOX/HOXR"
                             << "NO INSTRUMENT SETUP NEEDED.";
        QTest::newRow("KOR") << InstrumentModel::KOR << false << "TESSALY MODEL KOR"
                             << "SET INSTRUMENT TO: 1200 BITS/SEC";
        QTest::newRow("LUM") << InstrumentModel::LUM << false << "TESSALY MODEL LUM"
                             << "SET INSTRUMENT TO: 1200 BITS/SEC";
        QTest::newRow("TAZ") << InstrumentModel::TAZ << true << "TESSALY MODEL TAZ"
                             << "SET INSTRUMENT TO: 9600 BITS/SEC, 7 DATA, ODD PARITY, 1 STOP, "
                                "'CARRIAGE RETURN LINEFEED' (FACTORY DEFAULT)";
        QTest::newRow("ZEK") << InstrumentModel::ZEK << true << "TESSALY MODEL ZEK"
                             << "SET INSTRUMENT TO: 57600 BITS/SEC (FACTORY DEFAULT)";
        QTest::newRow("QUA/RIL") << InstrumentModel::QUA_RIL << true << "TESSALY MODEL QUA/RIL"
                                 << "NO INSTRUMENT SETUP NEEDED.";
        QTest::newRow("DUN") << InstrumentModel::DUN << true << "TESSALY MODEL DUN/DUNR"
                             << "SET INSTRUMENT TO: 1200 BITS/SEC, ODD PARITY, 1 STOP";
    }
    void communication_preselects_per_model() {
        QFETCH(InstrumentModel, model);
        QFETCH(bool, gpib);
        QFETCH(QString, title);
        QFETCH(QString, setup);
        SetupChoices c;
        c.model = model;
        auto d = communication(c);
        QCOMPARE(child<QLabel>(*d, "Label2")->text(), title);
        QCOMPARE(child<QLabel>(*d, "Label4")->text(), setup);
        QCOMPARE(child<QRadioButton>(*d, "Option1")->isEnabled(), gpib);
        QCOMPARE(child<QRadioButton>(*d, "Option1")->isChecked(), gpib);
        QCOMPARE(child<QRadioButton>(*d, "Option2")->isChecked(), !gpib);
        QCOMPARE(shown(*d, "Label4"), !gpib);  // set-up text only with RS-232
        QCOMPARE(shown(*d, "Combo2"), gpib);
        QCOMPARE(shown(*d, "Combo3"), !gpib);
        QCOMPARE(child<QComboBox>(*d, "Combo2")->currentText(), QStringLiteral("12"));
        QVERIFY(child<QRadioButton>(*d, "Option4")->isChecked());
        QVERIFY(shown(*d, "Label8") && shown(*d, "Line1"));
        QVERIFY(!shown(*d, "Label9") && !shown(*d, "Line8"));
        // Selecting RS-232 by hand shows the set-up text of a GPIB model.
        child<QRadioButton>(*d, "Option2")->setChecked(true);
        QVERIFY(shown(*d, "Label4"));
        QVERIFY(!shown(*d, "Combo2"));
    }

    void communication_lists_hold_addresses_and_ports() {
        SetupChoices c;
        c.model = InstrumentModel::TAZ;
        auto d = communication(c);
        auto* address = child<QComboBox>(*d, "Combo2");
        auto* port = child<QComboBox>(*d, "Combo3");
        QCOMPARE(address->count(), 32);
        QCOMPARE(address->itemText(0), QStringLiteral("1"));
        QCOMPARE(address->itemText(31), QStringLiteral("32"));
        QCOMPARE(port->count(), 16);
        QCOMPARE(port->itemText(0), QStringLiteral("1  (/dev/ttyS0)"));
        QCOMPARE(port->currentIndex(), 0);
        // The position decides the number, whatever the device text says.
        child<QRadioButton>(*d, "Option2")->setChecked(true);
        port->setCurrentIndex(4);
        address->setCurrentIndex(31);
        click(*d, "Command1");
        QCOMPARE(c.serial_port, 5);
        QCOMPARE(c.gpib_address, 32);
        QCOMPARE(c.interface, Interface::RS232);
        QCOMPARE(links_opened, 1);
    }

    void offline_hides_everything_and_opens_no_link() {
        SetupChoices c;
        c.model = InstrumentModel::KIP;
        c.simple_installation = false;
        links_opened = 0;
        auto d = communication(c);
        child<QRadioButton>(*d, "Option3")->setChecked(true);
        for (const char* name : {"Combo2", "Label3", "Combo3", "Label6", "Label4", "Frame2",
                                 "Label5", "Label8", "Label9", "Line1", "Line8"})
            QVERIFY2(!shown(*d, name), name);
        QVERIFY(shown(*d, "Label7") && shown(*d, "Line2"));
        click(*d, "Command1");
        QCOMPARE(c.interface, Interface::None);
        QVERIFY(c.simple_installation);  // Option4 was selected at load
        QVERIFY(c.proceed);
        QCOMPARE(links_opened, 0);
    }

    void advanced_choice_and_quit() {
        SetupChoices c;
        c.model = InstrumentModel::FEN;
        auto d = communication(c);
        child<QRadioButton>(*d, "Option5")->setChecked(true);
        QVERIFY(shown(*d, "Label9") && !shown(*d, "Label8"));
        click(*d, "Command1");
        QVERIFY(!c.simple_installation);
        QCOMPARE(c.interface, Interface::GPIB);

        SetupChoices q;
        q.model = InstrumentModel::FEN;
        q.proceed = true;
        links_opened = 0;
        auto d2 = communication(q);
        click(*d2, "Command2");
        QVERIFY(!q.proceed);
        QCOMPARE(q.interface, Interface::None);
        QCOMPARE(links_opened, 0);
    }

    void repeat_dialog_enter_quits() {
        SetupChoices c;
        c.proceed = true;
        RepeatChoiceDialog d(c);
        QVERIFY(child<QRadioButton>(d, "Option1")->isChecked());
        d.show();
        QVERIFY(QTest::qWaitForWindowExposed(&d));
        QTest::keyClick(&d, Qt::Key_Return);
        QVERIFY(!c.proceed);
        QCOMPARE(d.result(), int(QDialog::Rejected));
    }

    void repeat_dialog_continue_advanced() {
        SetupChoices c;
        RepeatChoiceDialog d(c);
        child<QRadioButton>(d, "Option2")->setChecked(true);
        click(d, "Command1");
        QVERIFY(c.proceed);
        QVERIFY(!c.simple_installation);
    }
};

QTEST_MAIN(TestSetupDialogs)
#include "test_setup_dialogs.moc"
