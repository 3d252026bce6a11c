#include "ui/status_line.h"

#include <QStringList>

#include "link/prologix_driver.h"

namespace kelvara::ui {

QString program_title(InstrumentModel model) {
    const auto name = designation(model);
    return QStringLiteral("Tessaly Kelvara - Version 8.3 - Instrument Model ") +
           QString::fromLatin1(name.data(), name.size());
}

QString window_title(const QString& program_title, const QString& document, bool modified) {
    if (document.isEmpty() && !modified) return program_title;
    const QString name = document.isEmpty() ? QStringLiteral("Untitled") : document;
    return program_title + QStringLiteral(" - ") + name +
           (modified ? QStringLiteral("*") : QString());
}

QString status_line_text(const SetupChoices& choices, Interface chosen, const QString& device,
                         bool online) {
    const auto name = designation(choices.model);
    QStringList parts{QStringLiteral("Model ") + QString::fromLatin1(name.data(), name.size())};
    switch (chosen) {
        case Interface::GPIB: {
            QString where = QStringLiteral("GPIB address %1").arg(choices.gpib_address);
            if (choices.gpib_route == GpibRoute::UsbAdapter) {
                where +=
                    device.isEmpty()
                        ? QStringLiteral(" through USB adapter port %1").arg(choices.adapter_port)
                        : QStringLiteral(" through USB adapter %1").arg(device);
            } else if (choices.gpib_route == GpibRoute::EthernetAdapter) {
                // As the link reaches it: the port it takes when none was given, too.
                QString host = QString::fromStdString(choices.adapter_host);
                if (const auto parsed = parse_adapter_host(choices.adapter_host))
                    host = QString::fromStdString(adapter_host_text(parsed->first, parsed->second));
                where += QStringLiteral(" through Ethernet adapter %1").arg(host);
            }
            parts << where;
            break;
        }
        case Interface::RS232:
            parts << (device.isEmpty() ? QStringLiteral("RS-232 port %1").arg(choices.serial_port)
                                       : QStringLiteral("RS-232 port %1 (%2)")
                                             .arg(choices.serial_port)
                                             .arg(device));
            break;
        case Interface::None:
            parts << QStringLiteral("no instrument interface");
            break;
    }
    parts << (online ? QStringLiteral("online") : QStringLiteral("offline"));
    return parts.join(QStringLiteral("  |  "));
}

}  // namespace kelvara::ui
