// kelvara: the window. Options for Linux users:
//   --simulate             a simulated instrument of the chosen model answers on both buses
//   --serial PATH          the serial device to use whatever port number is chosen
//   --gpib-library PATH    the NI-488.2-compatible library to load
#include <QApplication>
#include <QCommandLineParser>
#include <QScreen>
#include <QStringList>
#include <QTimer>
#include <cstdio>

#include "ui/main_window.h"

int main(int argc, char** argv) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Calibration curves of Tessaly temperature instruments."));
    parser.addHelpOption();
    parser.addVersionOption();
    QCommandLineOption simulate(
        QStringLiteral("simulate"),
        QStringLiteral("Talk to a simulated instrument of the chosen model."));
    QCommandLineOption serial(
        QStringLiteral("serial"),
        QStringLiteral("Serial device to use for RS-232 (wins over the port number)."),
        QStringLiteral("PATH"));
    QCommandLineOption gpib(QStringLiteral("gpib-library"),
                            QStringLiteral("NI-488.2-compatible GPIB library to load."),
                            QStringLiteral("PATH"));
    parser.addOptions({simulate, serial, gpib});

    // --help and --version are answered before the window system is touched, so they work on a
    // terminal without a display. Everything else (Qt's own -platform, -style, ...) is checked
    // once the application has taken its options.
    QStringList arguments;
    for (int i = 0; i < argc; ++i) arguments << QString::fromLocal8Bit(argv[i]);
    parser.parse(arguments);
    if (parser.isSet(QStringLiteral("help"))) {
        std::fputs(qPrintable(parser.helpText().replace(QStringLiteral("<executable_name>"),
                                                        QStringLiteral("kelvara"))),
                   stdout);
        return 0;
    }
    if (parser.isSet(QStringLiteral("version"))) {
        std::puts("kelvara 8.3");
        return 0;
    }

    QApplication app(argc, argv);
    // What the window remembers (recent files, last folder, last set-up choices) goes to
    // ~/.config/Tessaly/Tessaly Kelvara.conf.
    QApplication::setOrganizationName(QStringLiteral("Tessaly"));
    QApplication::setApplicationName(QStringLiteral("Tessaly Kelvara"));
    QApplication::setApplicationVersion(QStringLiteral("8.3"));
    parser.process(app);

    kelvara::ui::MainWindowOptions options;
    options.simulate = parser.isSet(simulate);
    options.serial_device = parser.value(serial).toStdString();
    options.gpib_library = parser.value(gpib).toStdString();

    kelvara::ui::MainWindow window(options);
    // The set-up dialogs centre on the (still hidden) window: put it mid-screen first.
    if (QScreen* screen = QGuiApplication::primaryScreen())
        window.move(screen->availableGeometry().center() - window.rect().center());
    QObject::connect(&window, &kelvara::ui::MainWindow::program_ended, &app, &QApplication::quit,
                     Qt::QueuedConnection);
    if (!window.Form_Load()) return 0;
    window.show();
    return app.exec();
}
