#include "edit/curve_adjustment.h"

#include <cstddef>
#include <utility>

#include "curve/number_format.h"

namespace kelvara {

namespace {

// Both ends of the correction are pinned to the melting point of ice; temperatures from there to
// 323 K are where the sensors are trusted as they are.
constexpr double kFixedPoint = 273.0;
constexpr double kHighPassFloor = 323.0;

// The table of pairs, sorted by increasing measured temperature.
class PairTable {
  public:
    explicit PairTable(std::vector<AdjustmentPair> sorted) : p_(std::move(sorted)) {}

    double m(std::size_t i) const { return p_[i].measured; }
    double a(std::size_t i) const { return p_[i].actual; }
    std::size_t n() const { return p_.size(); }

    // Interpolation between neighbouring pairs, or a pair's actual temperature when T is exactly
    // its measured one. T itself when no pair brackets it.
    double between_pairs(double t) const {
        for (std::size_t i = 0; i + 1 < n(); ++i) {
            if (m(i) < t && t < m(i + 1)) {
                const double r = (m(i + 1) - t) / (m(i + 1) - m(i));
                return a(i + 1) - (a(i + 1) - a(i)) * r;
            }
            if (t == m(i)) return a(i);
            if (t == m(i + 1)) return a(i + 1);
        }
        return t;
    }

    double low_rule(double t) const {
        if (!(m(0) < kFixedPoint)) return t;
        if (t < m(0)) {
            // Two pairs measured at the same temperature give no slope: leave the point alone.
            if (m(1) == m(0)) return t;
            const double r = (m(1) - t) / (m(1) - m(0));
            return a(1) - (a(1) - a(0)) * r;
        }
        return between_pairs(t);
    }

    double high_rule(double t) const {
        const std::size_t top = n() - 1;
        if (!(t > kHighPassFloor && m(top) > kFixedPoint)) return t;
        if (t <= m(top)) return between_pairs(t);
        if (m(top) == m(top - 1)) return t;
        const double r = (m(top) - t) / (m(top) - m(top - 1));
        return a(top) - (a(top) - a(top - 1)) * r;
    }

  private:
    std::vector<AdjustmentPair> p_;
};

std::vector<AdjustmentPair> sorted_with_fixed_pair(const std::vector<AdjustmentPair>& entered) {
    std::vector<AdjustmentPair> pairs;
    pairs.reserve(entered.size() + 1);
    pairs.push_back({kFixedPoint, kFixedPoint});
    pairs.insert(pairs.end(), entered.begin(), entered.end());
    // A bubble sort keeps pairs with equal measured temperatures in the order entered.
    for (std::size_t j = pairs.size() - 1; j >= 1; --j) {
        for (std::size_t i = 1; i <= j; ++i) {
            if (pairs[i].measured < pairs[i - 1].measured) std::swap(pairs[i], pairs[i - 1]);
        }
    }
    return pairs;
}

// The first points may have been pushed below 0 K; they are dropped and the rest moves up.
// False when no point is left at 0 K or above.
bool remove_leading_negative_points(CurveRecord& curve) {
    auto& t = curve.temperatures;
    auto& u = curve.sensor_units;
    const int count = curve.breakpoint_count;
    int p = 1;
    while (p < count && t[static_cast<std::size_t>(p)] < 0) ++p;
    if (p >= count) return false;
    for (int i = p; i <= count; ++i) {
        const auto from = static_cast<std::size_t>(i);
        const auto to = static_cast<std::size_t>(i - p);
        u[to] = u[from];
        t[to] = t[from];
    }
    curve.breakpoint_count = count - p;
    curve.clear_unused_slots();
    return true;
}

}  // namespace

bool pair_is_kept(double measured, double actual) {
    return measured != 0 && actual != 0 && measured != kFixedPoint && actual != kFixedPoint;
}

std::optional<AdjustAnswer> adjust_points_button(const std::string& button,
                                                 const std::string& measured_text,
                                                 const std::string& actual_text, Prompts& prompts) {
    AdjustAnswer answer;
    if (button != kNextPoint && button != kDone) {
        answer.button = kCancel;
        return answer;
    }
    answer.button = button;
    if (button == kDone && trim_blanks(measured_text).empty() && trim_blanks(actual_text).empty())
        return answer;
    if (!is_numeric_text(measured_text) || !is_numeric_text(actual_text)) {
        prompts.message(kAdjustNotNumericText, kInvalidDataTitle);
        return std::nullopt;
    }
    answer.measured = parse_leading_number(measured_text);
    answer.actual = parse_leading_number(actual_text);
    answer.has_pair = true;
    return answer;
}

AdjustmentResult apply_adjustment(CurveRecord& curve, const std::vector<AdjustmentPair>& pairs) {
    const PairTable table(sorted_with_fixed_pair(pairs));
    const CurveRecord before = curve;
    auto& t = curve.temperatures;
    const int count = curve.breakpoint_count;

    // The low pass follows storage order and ends at the first point at 273 K or above; every
    // point from there on goes to the high rule.
    int k = 0;
    for (; k < count && t[static_cast<std::size_t>(k)] < kFixedPoint; ++k)
        t[static_cast<std::size_t>(k)] = table.low_rule(t[static_cast<std::size_t>(k)]);
    for (; k < count; ++k)
        t[static_cast<std::size_t>(k)] = table.high_rule(t[static_cast<std::size_t>(k)]);

    if (count > 0 && t[0] < 0 && !remove_leading_negative_points(curve)) {
        curve = before;
        return AdjustmentResult::EveryPointNegative;
    }

    // Two decimals are all a calibration table carries; "." both ways, whatever the locale.
    for (int i = 0; i < curve.breakpoint_count; ++i) {
        auto& value = t[static_cast<std::size_t>(i)];
        value = parse_leading_number(FormatNoLocale(value, "#####.0#"));
    }
    return AdjustmentResult::Applied;
}

AdjustmentOutcome cmdAdjust_Click(CurveRecord& curve, HeaderFields& fields,
                                  AdjustPointsDialog& dialog, Prompts& prompts, Views& views) {
    if (fields.name.empty()) {
        prompts.message(kAdjustNoCurveText, kAdjustNoCurveTitle);
        return AdjustmentOutcome::NoCurveOpen;
    }
    std::vector<AdjustmentPair> pairs;
    bool ask_again = true;
    bool done = false;
    while (ask_again) {
        const AdjustAnswer answer = dialog.ask();
        const bool next = answer.button == kNextPoint;
        done = answer.button == kDone;
        ask_again = next;
        if ((next || done) && answer.has_pair && pair_is_kept(answer.measured, answer.actual)) {
            if (static_cast<int>(pairs.size()) >= kMaxEnteredPairs) {
                // The pair is refused; the user decides between Done and Cancel.
                prompts.message(kAdjustTooManyPairsText, kInvalidDataTitle);
                ask_again = true;
            } else {
                pairs.push_back({answer.measured, answer.actual});
            }
        }
    }
    if (!done) return AdjustmentOutcome::Cancelled;
    if (pairs.empty()) {
        prompts.message(kAdjustNoPairsText, kInvalidDataTitle);
        return AdjustmentOutcome::NoPairs;
    }
    if (apply_adjustment(curve, pairs) == AdjustmentResult::EveryPointNegative) {
        prompts.message(kAdjustAllNegativeText, kInvalidDataTitle);
        return AdjustmentOutcome::EveryPointNegative;
    }
    views.update_graph_series2();
    views.show_grid_from_top();
    fields.name = "Adjusted";
    fields.serial_number = "Adjusted";
    return AdjustmentOutcome::Applied;
}

}  // namespace kelvara
