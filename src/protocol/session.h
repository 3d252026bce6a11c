// Everything an instrument procedure reaches: what the main window owns, and the ports through
// which it shows things. The window and the command-line tool each build one.
#pragma once

#include <string>
#include <vector>

#include "curve/curve_record.h"
#include "curve/header_fields.h"
#include "curve/prompts.h"
#include "link/instrument_link.h"
#include "link/setup_choices.h"
#include "protocol/ports.h"
#include "protocol/sent_curve.h"

namespace kelvara {

// How an instrument procedure ended. Failed: it showed why; Cancelled: the user stopped it.
enum class TransferResult { Done, Failed, Cancelled };

// The scaled copy of the curve that the older instruments' writers send.
struct TransferState {
    std::vector<double> transfer_units;
    std::vector<double> transfer_temperatures;
    int scaling_code = 0;
    // Thermocouple character remembered from the last curve read from an ELK/DUN/KIP instrument
    // ("" when none has been read).
    std::string thermocouple_char;
    // What the last write put on the wire (or would put, when only planned).
    SentCurve sent;
};

struct Session {
    SetupChoices& setup;
    CurveRecord& curve;
    HeaderFields& header;
    PickLists& picks;
    TransferState& transfer;
    InstrumentLink& link;
    Prompts& prompts;
    Progress& progress;
    ScalingDialog& scaling;
    Views& views;
};

}  // namespace kelvara
