#include "ui/status_line.h"

#include <QStringList>

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

QString status_line_text(InstrumentModel model, Interface chosen, int gpib_address, int serial_port,
                         const QString& device, bool online) {
    const auto name = designation(model);
    QStringList parts{QStringLiteral("Model ") + QString::fromLatin1(name.data(), name.size())};
    switch (chosen) {
        case Interface::GPIB:
            parts << QStringLiteral("GPIB address %1").arg(gpib_address);
            break;
        case Interface::RS232:
            parts << (device.isEmpty()
                          ? QStringLiteral("RS-232 port %1").arg(serial_port)
                          : QStringLiteral("RS-232 port %1 (%2)").arg(serial_port).arg(device));
            break;
        case Interface::None:
            parts << QStringLiteral("no instrument interface");
            break;
    }
    parts << (online ? QStringLiteral("online") : QStringLiteral("offline"));
    return parts.join(QStringLiteral("  |  "));
}

}  // namespace kelvara::ui
