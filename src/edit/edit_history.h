// Undo and redo of the open curve, and whether it holds changes that are in no file and no
// instrument. Every edit leaves a snapshot of the whole curve and its header fields: a curve is
// at most a few kilobytes, and a snapshot cannot miss a field the way a hand-written inverse of
// each edit could.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "curve/curve_record.h"
#include "curve/header_fields.h"

namespace kelvara {

struct CurveState {
    CurveRecord curve;
    HeaderFields fields;

    friend bool operator==(const CurveState&, const CurveState&) = default;
};

class EditHistory {
  public:
    explicit EditHistory(std::size_t limit = 100) : limit_(limit) {}

    // A curve just read or emptied: no steps to undo, nothing to save.
    void reset(CurveState state);

    // `state` is the curve after an edit the user knows as `label` ("Cell Edit"). Nothing is
    // recorded when it equals the current state. Edits with the same non-empty merge key that
    // follow each other (the keystrokes of one field) make one step; a step that merges back to
    // the state before it disappears. True when the current state changed.
    bool record(CurveState state, const std::string& label, const std::string& merge_key = {});
    // The next edit starts a step of its own even with the same merge key.
    void end_merge() { merge_key_.clear(); }

    // The current state went into a file or an instrument, as `state` (a writer may have filled
    // in an empty name or cut a serial number).
    void mark_saved(CurveState state);

    // The current state differs from the one last read or written (undoing back to it, or
    // typing the old value again, leaves nothing to save).
    bool modified() const { return !steps_.empty() && (!saved_ || current() != *saved_); }
    bool can_undo() const { return index_ > 0; }
    bool can_redo() const { return index_ + 1 < steps_.size(); }
    // What undo or redo would take back or do again; "" when there is nothing.
    std::string undo_label() const { return can_undo() ? steps_[index_].label : std::string(); }
    std::string redo_label() const { return can_redo() ? steps_[index_ + 1].label : std::string(); }

    // Move one step; the returned state is the new current one. Call only when possible.
    const CurveState& undo();
    const CurveState& redo();
    const CurveState& current() const { return steps_[index_].state; }

  private:
    struct Step {
        CurveState state;
        std::string label;  // the edit that led to this state
    };

    std::size_t limit_;  // steps that can be undone
    std::vector<Step> steps_;
    std::size_t index_ = 0;
    std::optional<CurveState> saved_;  // none: never read or written
    std::string merge_key_;
};

}  // namespace kelvara
