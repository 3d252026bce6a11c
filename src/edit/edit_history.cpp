#include "edit/edit_history.h"

#include <utility>

namespace kelvara {

void EditHistory::reset(CurveState state) {
    steps_.clear();
    saved_ = state;
    steps_.push_back({std::move(state), std::string()});
    index_ = 0;
    merge_key_.clear();
}

bool EditHistory::record(CurveState state, const std::string& label, const std::string& merge_key) {
    if (steps_.empty()) {
        reset(std::move(state));
        saved_.reset();  // never read or written: whatever it holds is unsaved
        return true;
    }
    if (state == steps_[index_].state) return false;
    const bool merge = !merge_key.empty() && merge_key == merge_key_ && index_ > 0 && !can_redo();
    if (merge) {
        if (state == steps_[index_ - 1].state) {
            // Typed and taken back again: the step is gone, and so is the change.
            steps_.pop_back();
            --index_;
            merge_key_.clear();
        } else {
            steps_[index_].state = std::move(state);
        }
        return true;
    }
    steps_.resize(index_ + 1);  // a new edit ends what could be redone
    steps_.push_back({std::move(state), label});
    ++index_;
    if (steps_.size() > limit_ + 1) {
        steps_.erase(steps_.begin());
        --index_;
    }
    merge_key_ = merge_key;
    return true;
}

void EditHistory::mark_saved(CurveState state) {
    if (steps_.empty()) {
        reset(std::move(state));
        return;
    }
    saved_ = state;
    steps_[index_].state = std::move(state);
    merge_key_.clear();
}

const CurveState& EditHistory::undo() {
    if (can_undo()) --index_;
    merge_key_.clear();
    return steps_[index_].state;
}

const CurveState& EditHistory::redo() {
    if (can_redo()) ++index_;
    merge_key_.clear();
    return steps_[index_].state;
}

}  // namespace kelvara
