// Entry points of the pick and progress dialogs: the catalogue, and the read, write and delete
// procedures chosen by the model's row of the table.
#pragma once

#include "protocol/session.h"

namespace kelvara {

// Reads the curve names held by the instrument into the three pick lists. A failure keeps the
// entries named so far and sets no selection.
TransferResult grab_curve_names(Session& s);

// The procedure of the current model, as the readcurve / writecurve / deletecurve dialogs run
// it on their first timer tick. A model without a procedure does nothing (Done).
//  - A read replaces the curve, the header fields and what it remembers only when it succeeded
//    as a whole; a failed or cancelled read changes none of them.
//  - A cancel says what it left: the open curve unchanged, or the location that may now hold a
//    partial curve.
//  - After a cancel or a dead line the link is closed and the interface is None: the front end
//    goes offline (link().line_dead() tells which, dead_reason() why).
TransferResult run_read_transfer(Session& s);
TransferResult run_write_transfer(Session& s);
TransferResult run_delete_transfer(Session& s);

// Progress-dialog captions and first labels.
inline constexpr const char* kReadDialogTitle = "Reading Curve From Instrument";
inline constexpr const char* kWriteDialogTitle = "Writing Curve To Instrument";
inline constexpr const char* kDeleteDialogTitle = "Deleting Curve From Instrument";

}  // namespace kelvara
