// Ports of the instrument procedures: the pick lists, the progress dialog and the scaling dialog.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "curve/header_fields.h"

namespace kelvara {

// The three curve-location lists of the pick dialogs (pickreadcurve, pickwritecurve,
// pickdeletecurve). Each entry begins with the curve number.
struct PickLists {
    ListField read;
    ListField write;
    ListField remove;  // pickdeletecurve

    // The lists as the start-up fills them for a model: location numbers as text, first selected.
    static PickLists for_model(InstrumentModel model);
};

// The label (and a fraction for a progress bar) of the running progress dialog.
class Progress {
  public:
    virtual ~Progress() = default;
    virtual void set_label(const std::string& text) = 0;
    virtual std::string label() const = 0;
    // 0..1, or negative when unknown; a front end may show it as a bar.
    virtual void set_fraction(double fraction) { (void)fraction; }
};

class RecordingProgress : public Progress {
  public:
    std::vector<std::string> labels;
    double fraction = -1;
    void set_label(const std::string& text) override { labels.push_back(text); }
    std::string label() const override { return labels.empty() ? std::string() : labels.back(); }
    void set_fraction(double f) override { fraction = f; }
};

// Factors of the scaling dialog.
struct ScalingFactors {
    double units_offset = 0;        // Text1, "Add"
    double units_factor = 1;        // Text2, "Multiply"
    double temperature_factor = 1;  // Text3
};

// The scaling dialog: shown with the defaults for a code; returns the factors the user
// confirmed with OK, or nullopt when the dialog was closed another way (no scaling).
class ScalingDialog {
  public:
    virtual ~ScalingDialog() = default;
    virtual std::optional<ScalingFactors> ask(int scaling_code, const ScalingFactors& defaults) = 0;
};

}  // namespace kelvara
