// The set-up dialogs on their own: model choice, interface preselection and layouts, the lists,
// CONTINUE/QUIT, and the repeat dialog's default button.
#include <QtTest>

#include "ui/setup_dialogs.h"
#include "ui_script.h"

using namespace kelvara;
using namespace kelvara::ui;
using namespace kelvara::test;

class TestSetupDialogs : public QObject {
    Q_OBJECT

    int links_opened = 0;
    std::unique_ptr<CommunicationDialog> communication(SetupChoices& c) {
        links_opened = 0;
        return std::make_unique<CommunicationDialog>(
            c, [this](SetupChoices&) { ++links_opened; },
            [](int n) { return "/dev/ttyS" + std::to_string(n - 1); });
    }

  private slots:
    void selection_data() {
        QTest::addColumn<int>("row");  // 0: QUIT
        QTest::addColumn<InstrumentModel>("model");
        QTest::newRow("DAL") << 1 << InstrumentModel::DAL;
        QTest::newRow("HOX") << 4 << InstrumentModel::HOX;
        QTest::newRow("TAZ") << 12 << InstrumentModel::TAZ;
        QTest::newRow("ELK") << 18 << InstrumentModel::ELK;
        QTest::newRow("QUIT keeps the model") << 0 << InstrumentModel::KIP;
    }
    void selection() {
        QFETCH(int, row);
        QFETCH(InstrumentModel, model);
        SetupChoices c;
        c.model = InstrumentModel::KIP;
        c.proceed = row == 0;
        InstrumentSelectionDialog d(c);
        QVERIFY(d.option(1)->isChecked());
        if (!row) check_fits(d, QStringLiteral("instrumentselection"));
        if (row) d.option(row)->setChecked(true);
        click(d, row ? "Command1" : "Command2");
        QCOMPARE(c.proceed, row != 0);
        QCOMPARE(c.model, model);
    }

    void communication_per_model_data() {
        QTest::addColumn<InstrumentModel>("model");
        QTest::addColumn<bool>("gpib");
        QTest::addColumn<QString>("setup");
        QTest::newRow("DAL") << InstrumentModel::DAL << false << "NO INSTRUMENT SETUP NEEDED.";
        QTest::newRow("HOX") << InstrumentModel::HOX << false << "NO INSTRUMENT SETUP NEEDED.";
        QTest::newRow("KOR") << InstrumentModel::KOR << false << "SET INSTRUMENT TO: 1200 BITS/SEC";
        QTest::newRow("LUM") << InstrumentModel::LUM << false << "SET INSTRUMENT TO: 1200 BITS/SEC";
        QTest::newRow("TAZ") << InstrumentModel::TAZ << true
                             << "SET INSTRUMENT TO: 9600 BITS/SEC, 7 DATA, ODD PARITY, 1 STOP, "
                                "'CARRIAGE RETURN LINEFEED' (FACTORY DEFAULT)";
        QTest::newRow("QUA/RIL") << InstrumentModel::QUA_RIL << true
                                 << "NO INSTRUMENT SETUP NEEDED.";
        QTest::newRow("DUN") << InstrumentModel::DUN << true
                             << "SET INSTRUMENT TO: 1200 BITS/SEC, ODD PARITY, 1 STOP";
    }
    void communication_per_model() {
        QFETCH(InstrumentModel, model);
        QFETCH(bool, gpib);
        QFETCH(QString, setup);
        SetupChoices c;
        c.model = model;
        auto d = communication(c);
        check_fits(*d, QStringLiteral("communication-") + QTest::currentDataTag());
        QCOMPARE(child<QLabel>(*d, "Label4")->text(), setup);
        QCOMPARE(child<QRadioButton>(*d, "Option1")->isEnabled(), gpib);
        QCOMPARE(child<QRadioButton>(*d, "Option1")->isChecked(), gpib);
        QCOMPARE(child<QRadioButton>(*d, "Option2")->isChecked(), !gpib);
        QVERIFY(child<QRadioButton>(*d, "Option4")->isChecked());
        // The set-up text only with RS-232; the simple installation's note (Label8).
        const QStringList lists{"Label4", "Combo2", "Combo3", "Label8", "Label9"};
        const QStringList on_gpib{"Combo2"}, on_serial{"Label4", "Combo3"};
        QCOMPARE(shown_of(*d, lists), (gpib ? on_gpib : on_serial) + QStringList{"Label8"});
        auto* address = child<QComboBox>(*d, "Combo2");
        auto* port = child<QComboBox>(*d, "Combo3");
        QCOMPARE(address->currentText(), QStringLiteral("12"));
        QCOMPARE(address->count(), 32);
        QCOMPARE(address->itemText(31), QStringLiteral("32"));
        QCOMPARE(port->count(), 16);
        QCOMPARE(port->itemText(0), QStringLiteral("1  (/dev/ttyS0)"));
        // Choosing the other interface by hand swaps the lists; the position gives the number.
        check_option(*d, gpib ? 2 : 1);
        check_option(*d, 5);
        QCOMPARE(shown_of(*d, lists), (gpib ? on_serial : on_gpib) + QStringList{"Label9"});
        port->setCurrentIndex(4);
        address->setCurrentIndex(31);
        click(*d, "Command1");
        QCOMPARE(c.serial_port, 5);
        QCOMPARE(c.gpib_address, 32);
        QCOMPARE(c.interface, gpib ? Interface::RS232 : Interface::GPIB);
        QVERIFY(!c.simple_installation);
        QCOMPARE(links_opened, 1);
    }

    // Our addition: with GPIB chosen, "GPIB through" offers the library (the default) or an
    // adapter, each with its own control; RS-232 and offline hide them all.
    void gpib_through_data() {
        QTest::addColumn<int>("interface");  // the option clicked last: 1 GPIB, 2 RS-232, 3 offline
        QTest::addColumn<int>("route");      // Combo4's entry
        QTest::addColumn<QString>("visible");
        // Whatever shows, the route picked is kept for when GPIB is chosen again.
        QTest::newRow("library") << 1 << 0 << "Label10 Combo4";
        QTest::newRow("USB adapter") << 1 << 1 << "Label10 Combo4 Label11 Combo5";
        QTest::newRow("Ethernet adapter") << 1 << 2 << "Label10 Combo4 Label12 Text1";
        QTest::newRow("RS-232 hides them") << 2 << 2 << "";
        QTest::newRow("offline hides them") << 3 << 1 << "";
    }
    void gpib_through() {
        QFETCH(int, interface);
        QFETCH(int, route);
        QFETCH(QString, visible);
        SetupChoices c;
        c.model = InstrumentModel::TAZ;
        auto d = communication(c);
        auto* through = child<QComboBox>(*d, "Combo4");
        QCOMPARE(through->currentIndex(), 0);
        QStringList entries;
        for (int i = 0; i < through->count(); ++i) entries << through->itemText(i);
        QCOMPARE(entries, (QStringList{"GPIB library", "USB adapter", "Ethernet adapter"}));
        through->setCurrentIndex(route);
        check_option(*d, interface);
        QCOMPARE(shown_of(*d, {"Label10", "Combo4", "Label11", "Combo5", "Label12", "Text1"}),
                 visible.split(' ', Qt::SkipEmptyParts));
        check_fits(*d, QStringLiteral("communication-") + QTest::currentDataTag());
        // The USB adapter's list is numbered as the RS-232 one, with the device shown.
        auto* ports = child<QComboBox>(*d, "Combo5");
        QCOMPARE(ports->count(), 16);
        QCOMPARE(ports->itemText(2), QStringLiteral("3  (/dev/ttyS2)"));
        ports->setCurrentIndex(2);
        child<QLineEdit>(*d, "Text1")->setText(QStringLiteral(" lab-gpib:1235 "));
        click(*d, "Command1");
        QCOMPARE(int(c.gpib_route), route);
        QCOMPARE(c.adapter_port, 3);
        QCOMPARE(c.adapter_host, std::string("lab-gpib:1235"));
        QCOMPARE(c.gpib_address, 12);  // the address list keeps its default
        // Shown again in the same run, the dialog offers the same adapter.
        auto again = communication(c);
        QCOMPARE(child<QComboBox>(*again, "Combo4")->currentIndex(), route);
        QCOMPARE(child<QComboBox>(*again, "Combo5")->currentIndex(), 2);
        QCOMPARE(child<QLineEdit>(*again, "Text1")->text(), QStringLiteral("lab-gpib:1235"));
    }

    void offline_hides_everything_and_opens_no_link() {
        SetupChoices c;
        c.model = InstrumentModel::KIP;
        c.simple_installation = false;
        auto d = communication(c);
        check_option(*d, 3);
        QCOMPARE(shown_of(*d, {"Combo2", "Label3", "Combo3", "Label6", "Label4", "Frame2", "Label5",
                               "Label8", "Label9", "Line1", "Line8", "Label7", "Line2"}),
                 (QStringList{"Label7", "Line2"}));
        click(*d, "Command1");
        QCOMPARE(c.interface, Interface::None);
        QVERIFY(c.simple_installation);  // Option4 was selected at load
        QVERIFY(c.proceed);
        QCOMPARE(links_opened, 0);
    }

    void repeat_dialog_enter_quits() {
        SetupChoices c;
        c.proceed = true;
        RepeatChoiceDialog d(c);
        QVERIFY(child<QRadioButton>(d, "Option1")->isChecked());
        check_fits(d, QStringLiteral("repeatchoice"));
        QTest::keyClick(&d, Qt::Key_Return);
        QVERIFY(!c.proceed);
        QCOMPARE(d.result(), int(QDialog::Rejected));
    }
};

QTEST_MAIN(TestSetupDialogs)
#include "test_setup_dialogs.moc"
