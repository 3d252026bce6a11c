// Where the user is: the window title with the open curve's file and its unsaved state, and the
// status line with the instrument, the way to it and whether it answers.
#pragma once

#include <QString>

#include "link/setup_choices.h"

namespace kelvara::ui {

// "Tessaly Kelvara - Version 8.3 - Instrument Model TAZ": the program's own title for a model.
QString program_title(InstrumentModel model);

// The program's own title, then " - " and the curve's file name (or where it came from) with
// "*" while it holds unsaved changes: "... Instrument Model TAZ - CURVE1.TAZ*". An emptied curve
// that was never changed keeps the bare title; one changed without a file is "Untitled".
QString window_title(const QString& program_title, const QString& document, bool modified);

// "Model TAZ  |  GPIB address 12  |  online", "Model TAZ  |  GPIB address 12 through USB adapter
// /dev/ttyUSB0  |  online", "Model FEN  |  GPIB address 5 through Ethernet adapter
// 192.168.1.5:1234  |  offline", "Model KIP  |  RS-232 port 1 (/dev/ttyS0)  |  offline",
// "Model HOX  |  no instrument interface  |  offline". `choices` gives the model, address, port
// and GPIB route; `chosen` is the interface the user chose, also when its link then failed;
// `device` is the serial device the RS-232 port or the USB adapter reaches ("" if unknown).
QString status_line_text(const SetupChoices& choices, Interface chosen, const QString& device,
                         bool online);

}  // namespace kelvara::ui
