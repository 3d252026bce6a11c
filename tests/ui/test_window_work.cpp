// The window keeps the user's work: the save question on every path that would lose an edit,
// the point dialogs with undo and redo, a reason for every failed file command, the names' bytes,
// title and status line, default extension, dropped and recent files, remembered set-up choices,
// Cancel of a point dialog and the command keys. Escape in a refused field: test_main_window.cpp.
#include <QApplication>
#include <QFileDialog>
#include <QMenuBar>
#include <QMimeData>
#include <QStatusBar>
#include <QtTest>

#include "ui/user_settings.h"
#include "ui_script.h"

using namespace kelvara;
using namespace kelvara::test;
using M = InstrumentModel;

namespace {
// A file command that fails: the file (holding content first unless that is null), the file
// command's own message ("" for none) and whether a message with file name and reason follows.
struct Failure {
    M model;
    bool reading, reason;
    QString file, shown_first;
    QByteArray content;
};
// The set-up (communication dialog option, GPIB route, the simulated instrument's faults) and
// the status line it gives after "Model NAME  |  ".
struct Setup {
    M model;
    int option, route;
    QString faults, status;
};
}  // namespace
Q_DECLARE_METATYPE(Failure)
Q_DECLARE_METATYPE(Setup)

class TestWindowWork : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

    // Drags a file onto the window and drops it; true when the window took the drag.
    static bool drop(Harness& h, const QList<QUrl>& urls) {
        QMimeData data;
        data.setUrls(urls);
        QDragEnterEvent enter(QPoint(40, 40), Qt::CopyAction, &data, Qt::LeftButton,
                              Qt::NoModifier);
        enter.setAccepted(false);
        QCoreApplication::sendEvent(h.window.get(), &enter);
        if (!enter.isAccepted()) return false;
        QDropEvent dropped(QPointF(40, 40), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(h.window.get(), &dropped);
        QCoreApplication::processEvents();  // the read runs once the drop has returned
        return true;
    }
    static std::string name_line(const QString& path) {
        QFile f(path);
        if (!f.open(QIODevice::ReadOnly)) return {};
        return f.readLine().toStdString();
    }

  private slots:
    void initTestCase() {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        use_test_settings();
        // What the window remembers goes to the test location, never the user's settings.
        QVERIFY2(QSettings().fileName().contains(QLatin1String("qttest")),
                 qPrintable(QSettings().fileName()));
    }

    void save_question_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("answer");  // the button; "Save fails": the file is not written
        for (const char* path : {"New Instrument", "close", "read file", "read instrument",
                                 "dropped file", "recent file"})
            for (const char* answer : {"Save", "Discard", "Cancel"})
                QTest::addRow("%s, %s", path, answer) << path << answer;
        QTest::newRow("read file, Save fails") << QString("read file") << QString("Save fails");
    }
    void save_question() {
        QFETCH(QString, path);
        QFETCH(QString, answer);
        Harness h;
        QVERIFY(h.start(InstrumentModel::TAZ, 1));
        const QString other = tza_file(dir, 3, "OTHER");
        h.files = {other, tza_file(dir, 5)};
        h.w().Command1_Click();
        h.w().Command1_Click();  // CURVE1 is open; OTHER is the second recent file
        activate(h.window.get());
        QVERIFY(!h.w().curve_modified());
        type_and_leave(h.cell(12), "371");
        QVERIFY(h.w().curve_modified());

        const QString saved = dir.filePath(QStringLiteral("saved.TAZ"));
        QFile::remove(saved);
        const bool goes_on = answer == "Save" || answer == "Discard";
        QString question;
        h.script.expect("savechanges", [&](QDialog& d) {
            if (QTest::currentDataTag() == QLatin1String("close, Save"))
                check_fits(d, QStringLiteral("window-save-question"));
            question = child<QLabel>(d, "qt_msgbox_label")->text();
            return click(d, answer == "Save fails" ? "Save" : qPrintable(answer));
        });
        if (answer == "Save") h.files.push_back(saved);
        if (answer == "Save fails") h.files.push_back(dir.filePath(QStringLiteral("none/x.TAZ")));
        bool closed = false;
        if (path == "New Instrument") {
            if (goes_on) h.expect_setup(InstrumentModel::TAZ);
            h.w().Command6_Click();
        } else if (path == "close") {
            closed = h.w().close();
        } else if (path == "read file") {
            h.read_file(other);
        } else if (path == "read instrument") {
            if (goes_on) h.script.expect("pickreadcurve", pick(1)).expect("readcurve", run_timed());
            h.w().Command3_Click();
        } else if (path == "dropped file") {
            QVERIFY(drop(h, {QUrl::fromLocalFile(other)}));
        } else {
            h.action("recentFile2")->trigger();
        }
        QVERIFY(h.script.done());
        QCOMPARE(question, QStringLiteral("Save changes to the open curve?"));
        QCOMPARE(path == "close" ? closed : h.text("Text31") != "CURVE1", goes_on);
        QCOMPARE(QFile::exists(saved), answer == "Save");
        // The edit is kept: in the file saved, or on screen still to be saved.
        if (answer == "Save") h.read_file(saved);
        if (answer != "Discard") QCOMPARE(h.w().curve().temperatures[1], 371.0);
        if (!goes_on) QVERIFY(h.w().curve_modified());
    }

    void insert_cancel_undo_and_redo() {
        Harness h;
        load_taz(h, dir, 5);
        std::vector<CurveState> states{{h.w().curve(), h.w().header()}};
        auto keep = [&] { states.push_back({h.w().curve(), h.w().header()}); };
        // Cancel in Insert A Point closes it, whatever its fields hold, and leaves nothing to undo.
        int cancelled = -1;
        h.script.expect("insertapoint", [&](QDialog& d) {
            activate(&d);
            auto* units = child<QLineEdit>(d, "Text1");
            units->setFocus(Qt::MouseFocusReason);
            QTest::keyClicks(units, "abc");
            QTest::mouseClick(child<QPushButton>(d, "Command2"), Qt::LeftButton);
            return cancelled = d.result();
        });
        h.w().Command8_Click();
        QVERIFY(cancelled == QDialog::Rejected && h.prompts.shown.empty());
        QVERIFY(h.w().curve() == states[0].curve && !h.action("actionUndo")->isEnabled());
        activate(h.window.get());
        type_and_leave(h.cell(12), "371");
        keep();
        // Which units an insert refuses is the edit layer's (InsertDeletePoint); here the dialog's
        // pair list and fields reach the grid.
        h.script.expect("insertapoint", [](QDialog& d) {
            child<QComboBox>(d, "Combo1")->setCurrentIndex(1);  // "2 And 3"
            return fill({{"Text1", "0.25"}, {"Text2", "370.5"}}, "Command1")(d);
        });
        h.w().Command8_Click();
        QCOMPARE(h.cell(3)->text() + " " + h.cell(13)->text(), QStringLiteral("0.25 370.5"));
        keep();
        int listed = 0;
        h.script.expect("deleteapoint", [&](QDialog& d) {
            listed = child<QComboBox>(d, "Combo1")->count();
            return pick(5)(d);
        });
        h.w().Command9_Click();
        QCOMPARE(listed, 10);
        keep();
        h.script
            .expect("adjustpoints",
                    [](QDialog& d) {
                        fill({{"txtControlPoint", "abc"}}, "cmdNextPoint")(d);  // refused
                        return fill({{"txtControlPoint", "390"}, {"txtSamplePoint", "391"}},
                                    "cmdNextPoint")(d);
                    })
            .expect("adjustpoints", press("cmdDone"));
        h.w().cmdAdjust_Click();
        keep();
        QCOMPARE(h.prompts.texts(),
                 std::vector<std::string>{"Temperature values must be numeric."});
        h.prompts.shown.clear();
        QCOMPARE(int(h.w().graph()->spec().series.size()), 2);  // before and after
        QCOMPARE(h.w().curve().breakpoint_count, 5);
        // The adjustment still names the curve "Adjusted"; one undo takes it all back.
        QCOMPARE(h.text("Text31"), QStringLiteral("Adjusted"));
        QCOMPARE(h.action("actionUndo")->text(), QStringLiteral("&Undo Adjustment"));
        QVERIFY(h.w().windowTitle().endsWith(QLatin1String("CURVE1.TZA*")));

        for (int i = int(states.size()) - 2; i >= 0; --i) {
            h.action("actionUndo")->trigger();
            QVERIFY2(h.w().curve() == states[i].curve, qPrintable(QString::number(i)));
            QVERIFY(h.w().header() == states[i].fields);
        }
        QCOMPARE(h.text("Text31"), QStringLiteral("CURVE1"));
        QCOMPARE(h.cell(12)->text(), QStringLiteral("380"));
        QCOMPARE(int(h.w().graph()->spec().series.size()), 1);
        QVERIFY(!h.w().curve_modified());
        QCOMPARE(h.w().windowTitle(), program_title(InstrumentModel::TAZ, " - CURVE1.TZA"));
        QVERIFY(!h.action("actionUndo")->isEnabled());

        // The keys work from a grid cell that has nothing of its own to take back.
        QLineEdit* focus = h.cell(1);
        focus->setFocus();
        for (int i = 1; i < int(states.size()); ++i) {
            QTest::keyClick(focus, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
            QVERIFY(h.w().curve() == states[i].curve);
        }
        QCOMPARE(h.text("Text32"), QStringLiteral("Adjusted"));
        QTest::keyClick(focus, Qt::Key_Z, Qt::ControlModifier);
        QVERIFY(h.w().curve() == states[states.size() - 2].curve);
        QVERIFY(h.prompts.shown.empty());
    }

    void failure_messages_data() {
        QTest::addColumn<Failure>("f");
        const QString wrong = "Wrong file type. Must use file with '.TAZ' or '.TZA' extension.";
        // Which reason or wrong-type message a file gets is the file layer's to tell (tests/curve
        // FileReasons, Files.Dispatch...); here, that it reaches a box with the file's name.
        QTest::newRow("TAZ that is not one")
            << Failure{M::TAZ, true, true, "bad.TAZ", "", "garbage\r\n"};
        QTest::newRow("DUN not one")
            << Failure{M::KIP, true, true, "bad.DUN", "Bad file format.", "x\r\n"};
        QTest::newRow("wrong type read") << Failure{M::TAZ, true, false, "curve.NAV", wrong, "x"};
        QTest::newRow("write into a missing folder")
            << Failure{M::TAZ, false, true, "none/x.TAZ", "", {}};
    }
    void failure_messages() {
        QFETCH(Failure, f);
        Harness h;
        QVERIFY(h.start(f.model));
        const QString path = dir.filePath(f.file);
        QFile::remove(path);
        if (!f.content.isNull()) write_bytes(path, f.content);
        h.files.push_back(path);
        if (!f.reading) h.find<QLineEdit>("Text33")->setText("375");
        f.reading ? h.w().Command1_Click() : h.w().Command2_Click();
        QCOMPARE(QFile::exists(path), !f.content.isNull());
        const QStringList shown = h.messages();
        QCOMPARE(shown.size(), int(!f.shown_first.isEmpty()) + int(f.reason));
        if (!f.shown_first.isEmpty()) QCOMPARE(shown.front(), f.shown_first);
        const QString why = shown.back();
        const int at = why.indexOf(QLatin1String("\nReason: "));
        if (f.reason)
            QVERIFY2(why.contains(QDir::toNativeSeparators(path)) && at > 0 &&
                         !why.mid(at + 9).trimmed().isEmpty(),
                     qPrintable(why));
        QCOMPARE(h.w().windowTitle(), program_title(f.model));  // nothing was read or written
    }

    void windows_1252_round_trip() {
        Harness h;
        QVERIFY(h.start(InstrumentModel::TAZ));
        // The code page's mapping itself: CodePage.Windows1252BothWays (tests/curve).
        QLineEdit* name = h.find<QLineEdit>("Text31");
        // A file's name and serial number come back byte for byte.
        std::string bytes;
        for (int b = 0x21; b < 256; ++b) bytes += char(b);
        h.files = {write_bytes(dir.filePath("bytes.TZA"),
                               ("Name: " + bytes +
                                "\r\nSerial number: PT100 \xb0K\r\nFormat: 2\r\nLimit: 375\r\n"
                                "Coefficient: 1\r\nPoint 1: 0.1,300\r\nPoint 2: 0.2,200\r\n")
                                   .c_str()),
                   dir.filePath(QStringLiteral("back.TZA"))};
        h.w().Command1_Click();
        QCOMPARE(h.text("Text32"), QStringLiteral(u"PT100 \u00b0K"));
        h.w().Command2_Click();
        QCOMPARE(name_line(dir.filePath(QStringLiteral("back.TZA"))), "Name: " + bytes + "\r\n");

        // Typing: what the code page holds goes in, anything else is refused as it is typed.
        activate(h.window.get());
        name->setFocus();
        name->clear();
        for (QChar c : QStringLiteral(u"R\u00b0\u20ac\u03a9\u2603x")) {
            QKeyEvent key(QEvent::KeyPress, Qt::Key_unknown, Qt::NoModifier, QString(c));
            QCoreApplication::sendEvent(name, &key);
        }
        QCOMPARE(name->text(), QStringLiteral(u"R\u00b0\u20acx"));
        h.files = {dir.filePath(QStringLiteral("typed.TZA"))};
        h.w().Command2_Click();
        QCOMPARE(name_line(dir.filePath(QStringLiteral("typed.TZA"))),
                 std::string("Name: R\xb0\x80x\r\n"));
    }

    void title_status_and_extension_data() {
        QTest::addColumn<Setup>("s");
        const char* none = "no instrument interface  |  offline";
        const char* through = "GPIB address 12 through ";
        QTest::newRow("TAZ offline") << Setup{M::TAZ, 3, 0, "", none};
        QTest::newRow("TAZ over GPIB") << Setup{M::TAZ, 1, 0, "", "GPIB address 12  |  online"};
        QTest::newRow("TAZ through a USB adapter")
            << Setup{M::TAZ, 1, 1, "", through + QString("USB adapter /dev/ttyS2  |  online")};
        QTest::newRow("FEN through an Ethernet adapter") << Setup{
            M::FEN, 1, 2, "", through + QString("Ethernet adapter lab-gpib:1234  |  online")};
        QTest::newRow("FEN set-up failed")
            << Setup{M::FEN, 1, 0, "silent", "GPIB address 12  |  offline"};
        QTest::newRow("TAZ over RS-232")
            << Setup{M::TAZ, 2, 0, "", "RS-232 port 1 (/dev/ttyS0)  |  online"};
        QTest::newRow("KIP offline") << Setup{M::KIP, 3, 0, "", none};
        QTest::newRow("HOX offline") << Setup{M::HOX, 3, 0, "", none};
    }
    void title_status_and_extension() {
        QFETCH(Setup, s);
        const InstrumentModel model = s.model;
        const QString status =
            "Model " + QString::fromLatin1(designation(model).data()) + "  |  " + s.status;
        // What a name without extension gets: the model's first file type.
        const QString type = model == M::KIP ? "NAV" : model == M::HOX ? "HOX" : "TAZ";
        Harness h;
        QVERIFY(h.transports.instrument(model).faults.parse(s.faults.toStdString()));
        h.script.expect("instrumentselection", choose_model(model))
            .expect("communication", gpib_through(s.route, "lab-gpib", s.option));
        const bool online = status.endsWith(QLatin1String("online"));
        if (online) h.script.expect("wait", run_timed());
        QVERIFY(h.w().Form_Load());
        QCOMPARE(h.find<QLabel>("statusText")->text(), status);
        QCOMPARE(h.prompts.shown.empty(), s.faults.isEmpty());  // the set-up's own message
        h.prompts.shown.clear();
        QCOMPARE(h.w().windowTitle(), program_title(model));
        const QString file = QStringLiteral("CURVE1.") + type;
        h.files.push_back(write_model_curve(
            dir.filePath(file), model, model == InstrumentModel::HOX ? 192 : 12,
            [](int i) { return 0.1 + 0.05 * i; }, [](int i) { return 400.0 - 20 * i; }));
        h.w().Command1_Click();
        QCOMPARE(h.w().windowTitle(), program_title(model, " - " + file));
        activate(h.window.get());
        QVERIFY(h.find<QStatusBar>("statusLine")->isVisible());
        if (QTest::currentDataTag() == QLatin1String("FEN through an Ethernet adapter"))
            check_fits(h.w(), QStringLiteral("window-main-status-line"));
        type_and_leave(h.cell(11), "401");
        QCOMPARE(h.w().windowTitle(), program_title(model, " - " + file + "*"));

        // A name typed without extension gets the model's first file type.
        const QString bare = dir.filePath(QStringLiteral("NEW%1").arg(s.option));
        h.files.push_back(bare);
        h.w().Command2_Click();
        QVERIFY(QFile::exists(bare + "." + type));
        QCOMPARE(h.w().windowTitle(),
                 program_title(model, QStringLiteral(" - NEW%1.").arg(s.option) + type));

        if (!online) return;
        h.transfer("readcurve", 1);
        QVERIFY(h.w().windowTitle().startsWith(program_title(model, " - Instrument curve ")));
        QVERIFY(h.prompts.shown.empty());
    }

    void dropped_files() {
        Harness h;
        load_taz(h, dir, 4);
        // One local file at a time.
        QVERIFY(!drop(h, {QUrl::fromLocalFile(dir.filePath("a.TZA")),
                          QUrl::fromLocalFile(dir.filePath("b.TZA"))}));
        QVERIFY(!drop(h, {QUrl(QStringLiteral("https://example.org/c.TZA"))}));
        QVERIFY(drop(h, {QUrl::fromLocalFile(tza_file(dir, 7, "DROPPED"))}));
        QCOMPARE(h.text("Text31"), QStringLiteral("DROPPED"));
        QCOMPARE(h.w().curve().breakpoint_count, 7);
        // The file commands' rules: a .NAV file is not one of TAZ's.
        QVERIFY(drop(h, {QUrl::fromLocalFile(dir.filePath("curve.NAV"))}));
        QCOMPARE(h.prompts.texts(),
                 std::vector<std::string>{"Wrong file type. Must use file with '.TAZ' or '.TZA' "
                                          "extension."});
        QCOMPARE(h.text("Text31"), QStringLiteral("DROPPED"));
    }

    void recent_files_and_last_folder() {
        Harness h;
        QVERIFY(h.start(InstrumentModel::TAZ));
        QTemporaryDir folder;
        QStringList paths;
        for (int i = 0; i < 9; ++i) {
            QTemporaryDir* where = i == 8 ? &folder : &dir;
            paths << tza_file(*where, 2 + i, qPrintable(QStringLiteral("R%1").arg(i)));
            h.files.push_back(paths.back());
            h.w().Command1_Click();
        }
        auto entry = [&](int n) {
            return h.action(qPrintable(QStringLiteral("recentFile%1").arg(n)));
        };
        QVERIFY(entry(8) && !entry(9));
        for (int n = 1; n <= 8; ++n)
            QCOMPARE(entry(n)->text(), QStringLiteral("&%1 ").arg(n) + paths[9 - n]);
        entry(3)->trigger();  // R6, without a file dialog
        QCOMPARE(h.text("Text31"), QStringLiteral("R6"));
        QCOMPARE(h.filters.size(), 9);
        QCOMPARE(entry(1)->text(), QStringLiteral("&1 ") + paths[6]);
        // A file gone since: said so, and dropped from the list.
        QFile::remove(paths[5]);
        entry(4)->trigger();
        QVERIFY(QString::fromStdString(h.prompts.texts().back()).contains(paths[5]));
        QVERIFY(!entry(8));
        QCOMPARE(h.text("Text31"), QStringLiteral("R6"));
        // Another model cannot read these types: listed, but not offered.
        h.expect_setup(InstrumentModel::KIP);
        h.w().Command6_Click();
        QVERIFY(!entry(1)->isEnabled());
        h.action("actionClearRecentFiles")->trigger();
        QVERIFY(!entry(1));

        // The file dialogs open where the last file was read (R6, after R8 in another folder).
        QCOMPARE(ui::last_file_folder(), dir.path());
        QString opened;
        QTimer answer;
        connect(&answer, &QTimer::timeout, [&] {
            if (auto* d = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
                opened = d->directory().absolutePath();
                d->reject();
            }
        });
        answer.start(10);
        QVERIFY(!ui::choose_with_file_dialog(ui::FileDialogKind::Open, "*.TAZ (*.TAZ)", nullptr));
        QCOMPARE(opened, QDir(dir.path()).absolutePath());
    }

    void set_up_choices_remembered() {
        Harness h;
        h.script.expect("instrumentselection", choose_model(InstrumentModel::TAZ))
            .expect("communication",
                    [](QDialog& d) {
                        child<QComboBox>(d, "Combo3")->setCurrentIndex(2);
                        child<QComboBox>(d, "Combo2")->setCurrentIndex(4);
                        return choose_interface(2, false)(d);
                    })
            .expect("wait", run_timed());
        QVERIFY(h.w().Form_Load());
        QStringList preselected;
        h.script
            .expect("instrumentselection",
                    [&](QDialog& d) {
                        for (QRadioButton* option : d.findChildren<QRadioButton*>())
                            if (option->isChecked()) preselected << option->text();
                        return click(d, "Command1");
                    })
            .expect("communication", [&](QDialog& d) {
                for (const char* option : {"Option1", "Option2", "Option3"})
                    if (child<QRadioButton>(d, option)->isChecked()) preselected << option;
                preselected << child<QComboBox>(d, "Combo3")->currentText()
                            << child<QComboBox>(d, "Combo2")->currentText();
                return click(d, "Command2");
            });
        h.w().Command6_Click();
        QCOMPARE(preselected,
                 (QStringList{"Tessaly Model TAZ", "Option2", "3  (/dev/ttyS2)", "5"}));
    }

    void command_mnemonics() {
        Harness h;
        QVERIFY(h.start(InstrumentModel::TAZ));
        activate(h.window.get());
        const QStringList captions =
            QStringLiteral(
                "Read Curve From File|Write Curve To File|Read Curve From Instrument|"
                "Write Curve To Instrument|Delete Curve From Instrument|New Instrument|"
                "Print Graph|Insert A Point|Delete A Point|Make Adjustment To Curve File")
                .split(QLatin1Char('|'));
        QString letters;
        auto take = [&](const QString& text) {
            QCOMPARE(text.count(QLatin1Char('&')), 1);
            const QChar letter = text.at(text.indexOf(QLatin1Char('&')) + 1).toUpper();
            QVERIFY2(letter.isLetter() && !letters.contains(letter), qPrintable(text));
            letters += letter;
        };
        for (QAction* menu : h.find<QMenuBar>("menuBar")->actions()) take(menu->text());
        for (int i = 0; i < 10; ++i) {
            const QString name =
                i < 9 ? QStringLiteral("Command%1").arg(i + 1) : QStringLiteral("cmdAdjust");
            auto* button = h.find<QPushButton>(qPrintable(name));
            QCOMPARE(button->text().remove(QLatin1Char('&')), captions[i]);
            take(button->text());
        }
        // A mnemonic presses its button visibly, then clicks it.
        QTest::keyClick(h.window.get(), Qt::Key_R, Qt::AltModifier);  // Read Curve From File
        QTRY_COMPARE(h.filters.size(), 1);
        QTest::keyClick(h.window.get(), Qt::Key_M, Qt::AltModifier);  // the adjustment
        QTRY_COMPARE(h.prompts.texts(),
                     std::vector<std::string>{"Open a curve before making an adjustment."});
    }
};

QTEST_MAIN(TestWindowWork)
#include "test_window_work.moc"
