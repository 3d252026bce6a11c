// Checking that the instrument holds a curve: after a write, the location is read back through
// the model's own read procedure into a scratch curve and compared with what the write sent; a
// curve that was not written (a file, the open curve) is compared as a write would send it.
// Nothing the window shows is touched: its curve, header fields and pick lists stay as they are.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "protocol/session.h"

namespace kelvara {

enum class CheckOutcome {
    Agree,       // the instrument holds what was sent
    Differ,      // it holds something else: `differences` says what, one line each
    ReadFailed,  // the location could not be read back: `failure` says why
    Cancelled,   // the user stopped the read-back (the link is closed, as after any cancel)
    Unsendable,  // compared without writing: a write would send nothing (`failure` says why)
};

struct CurveCheck {
    CheckOutcome outcome = CheckOutcome::Agree;
    std::vector<std::string> differences;
    std::string failure;
};

// What the model's read procedure made of a location.
struct LocationRead {
    TransferResult result = TransferResult::Failed;
    // The instrument answered that the location holds no curve (the older models), or gave a
    // header of blanks and no point.
    bool no_curve = false;
    CurveRecord curve;
    HeaderFields header;
    TransferState transfer;
    std::vector<std::string> messages;  // what the read procedure would have shown
};

// The progress label while a location is read back, before the read procedure's own.
inline constexpr const char* kReadingBack = "Reading back: ";

// Reads `location` (as the read list names it; "" for the HOX) through the model's read
// procedure into scratch state; its messages are collected, not shown, and its progress labels
// come after `label_prefix`. A dead line or a cancel closes the link and sets the interface to
// None, as after any transfer.
LocationRead read_location(Session& s, const std::string& location,
                           const std::string& label_prefix = kReadingBack);

// The differences between what was sent and what a read found, one line each, e.g.
// `name: sent "PT100", instrument holds "PT10"` or
// `point 5: sent 0.12345, 300.000; instrument holds 0.12345, 301.000`. Numbers agree when the
// value read, formatted with the picture the sent text was made with, gives the sent text (or
// has the sent text's value); texts agree without the blanks around them.
// `planned`: the curve was not written but is compared as a write would send it ("would send"
// instead of "sent").
std::vector<std::string> curve_differences(const SentCurve& sent, const LocationRead& held,
                                           bool planned = false);

// Reads the location `sent` names and compares.
CurveCheck verify_sent_curve(Session& s, const SentCurve& sent, bool planned = false);
// After a write that returned Done: the curve that write sent.
inline CurveCheck verify_last_write(Session& s) {
    return verify_sent_curve(s, s.transfer.sent);
}

// What the model's write procedure would send for the open curve to `location`, without
// sending anything: it works on copies, so the window's fields keep their texts. The older
// models run the scaling dialog as a write does. nullopt, with the reason in `why`, when a
// write would send nothing.
std::optional<SentCurve> plan_write(Session& s, const std::string& location, std::string* why);

// plan_write, then verify_sent_curve: the open curve against a location, without writing.
CurveCheck compare_with_location(Session& s, const std::string& location);

// The front ends' words for an outcome.
inline constexpr const char* kVerifyDiffers =
    "The instrument does not hold the curve as it was sent:";
inline constexpr const char* kCompareDiffers =
    "The instrument does not hold the curve as a write would send it:";
inline constexpr const char* kCompareAgrees =
    "The instrument holds the curve as a write would send it.";
inline constexpr const char* kVerifyCancelled =
    "Verifying cancelled: the curve was written, but what the instrument holds was not checked.";
// Followed by the read's own message.
inline constexpr const char* kVerifyReadFailed =
    "The curve was written, but it could not be read back to check it: ";
inline constexpr const char* kCompareReadFailed = "The instrument's curve could not be read: ";

}  // namespace kelvara
