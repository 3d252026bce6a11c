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

// "Model TAZ  |  GPIB address 12  |  online", "Model KIP  |  RS-232 port 1 (/dev/ttyS0)  |
// offline", "Model HOX  |  no instrument interface  |  offline". `chosen` is the interface the
// user chose, also when its link then failed; `device` is what the serial port number reaches.
QString status_line_text(InstrumentModel model, Interface chosen, int gpib_address, int serial_port,
                         const QString& device, bool online);

}  // namespace kelvara::ui
