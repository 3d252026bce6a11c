// kelvara: the window. Options for Linux users:
//   --simulate             a simulated instrument of the chosen model answers on both buses, and
//                          through a simulated GPIB adapter
//   --serial PATH          the serial device to use whatever port number is chosen
//   --gpib-library PATH    the NI-488.2-compatible library to load ("simulated": the one
//                          installed with the program)
#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <QScreen>
#include <QStringList>
#include <QTimer>
#include <cstdio>

#include "gpib_library_path.h"
#include "kelvara_version.h"
#include "link/qt/real_transports.h"
#include "sim/simulated_transports.h"
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
    QCommandLineOption gpib(
        QStringLiteral("gpib-library"),
        QStringLiteral("NI-488.2-compatible GPIB library to load; \"simulated\" is the "
                       "simulated instrument library installed with Kelvara (model "
                       "KELVARA_SIM_MODEL, default TAZ)."),
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
        std::printf("kelvara %s\n%s", kelvara::kVersion, kelvara::kVersionNotice);
        return 0;
    }

    QApplication app(argc, argv);
    // What the window remembers (recent files, last folder, last set-up choices) goes to
    // ~/.config/Tessaly/Tessaly Kelvara.conf.
    QApplication::setOrganizationName(QStringLiteral("Tessaly"));
    QApplication::setApplicationName(QStringLiteral("Tessaly Kelvara"));
    QApplication::setApplicationVersion(QString::fromLatin1(kelvara::kVersion));
    // Ties the window to kelvara.desktop and its icon (installed in the icon theme by the
    // package; a build tree has none and keeps the default).
    QGuiApplication::setDesktopFileName(QStringLiteral("kelvara"));
    QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("kelvara")));
    parser.process(app);

    // The window reaches instruments through what it is handed here. The simulated instruments
    // live for the whole run, so curves written survive "New Instrument".
    std::unique_ptr<kelvara::TransportFactory> transports;
    kelvara::ui::MainWindowOptions options;
    if (parser.isSet(simulate)) {
        transports = std::make_unique<kelvara::sim::SimulatedTransports>();
        options.device_for_port = [](int) { return std::string("simulated"); };
    } else {
        transports = std::make_unique<kelvara::RealTransports>();
    }
    options.transports = transports.get();
    options.serial_device = parser.value(serial).toStdString();
    options.gpib_library = kelvara::app::resolve_gpib_library(parser.value(gpib).toStdString());

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
