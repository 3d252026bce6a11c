// Entry points of the pick and progress dialogs: the catalogue, and the read, write and delete
// procedures chosen by the model's row of the table.
#pragma once

#include "protocol/session.h"

namespace kelvara {

// Reads the curve names held by the instrument into the three pick lists.
void grab_curve_names(Session& s);

// The procedure of the current model, as the readcurve / writecurve / deletecurve dialogs run
// it on their first timer tick. A model without a procedure does nothing.
void run_read_transfer(Session& s);
void run_write_transfer(Session& s);
void run_delete_transfer(Session& s);

// Progress-dialog captions and first labels.
inline constexpr const char* kReadDialogTitle = "Reading Curve From Instrument";
inline constexpr const char* kWriteDialogTitle = "Writing Curve To Instrument";
inline constexpr const char* kDeleteDialogTitle = "Deleting Curve From Instrument";

}  // namespace kelvara
