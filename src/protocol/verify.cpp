#include "protocol/verify.h"

#include <algorithm>
#include <cstdio>

#include "curve/number_format.h"
#include "protocol/catalogue.h"
#include "protocol/kcur_shared.h"
#include "protocol/wire.h"
#include "protocol/write_plans.h"

namespace kelvara {

namespace {

// The label of the running dialog while a location is read back: what the read procedure says,
// after a prefix that tells the user this is the check, not a read of their own.
class PrefixProgress : public Progress {
  public:
    PrefixProgress(Progress& inner, std::string prefix)
        : inner_(inner), prefix_(std::move(prefix)) {}
    void set_label(const std::string& text) override {
        label_ = text;
        inner_.set_label(prefix_ + text);
    }
    std::string label() const override { return label_; }
    void set_fraction(double fraction) override { inner_.set_fraction(fraction); }

  private:
    Progress& inner_;
    std::string prefix_;
    std::string label_;
};

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

std::string trimmed(const std::string& text) {
    return trim_reply_field(text);
}

// Where the differences go, and how they name the curve's side: "sent" after a write, "would
// send" for a curve compared without writing.
struct Report {
    std::vector<std::string> lines;
    std::string sent;
};

void compare_text(Report& out, const char* field, const std::string& sent,
                  const std::string& held) {
    if (trimmed(sent) != trimmed(held))
        out.lines.push_back(std::string(field) + ": " + out.sent + " " + quoted(trimmed(sent)) +
                            ", instrument holds " + quoted(trimmed(held)));
}

void compare_code(Report& out, const char* field, const std::string& sent,
                  const std::string& held) {
    if (sent != held)
        out.lines.push_back(std::string(field) + ": " + out.sent + " " + sent +
                            ", instrument holds " + (held.empty() ? std::string("none") : held));
}

bool agrees(const SentNumber& sent, double held) {
    if (FormatNoLocale(held, sent.picture) == sent.text) return true;
    // A text whose value is exactly what came back agrees too: "-000.000" (an empty HOX slot)
    // comes back as a zero that the picture prints without its sign.
    return is_numeric_text(sent.text) && parse_leading_number(sent.text) == held;
}

// How a point the instrument holds but was not sent is shown: in the model's own pictures.
std::pair<std::string, std::string> shown_unsent(SentForm form, double units, double t) {
    if (form == SentForm::Kcur || form == SentForm::Xk)
        return {older_units_text(units), older_temperature_text(t)};
    return {format_sensor_units(units), format_temperature(t)};
}

std::string point_range(int first, int last) {
    return first == last ? "point " + std::to_string(first)
                         : "points " + std::to_string(first) + " to " + std::to_string(last);
}

void compare_points(Report& out, const SentCurve& sent, const CurveRecord& held) {
    const int sent_count = static_cast<int>(sent.points.size());
    const int held_count = std::clamp<int>(
        held.breakpoint_count, 0,
        static_cast<int>(std::min(held.sensor_units.size(), held.temperatures.size())));
    for (int i = 0; i < std::min(sent_count, held_count); ++i) {
        const SentPoint& p = sent.points[i];
        const double u = held.sensor_units[i];
        const double t = held.temperatures[i];
        if (agrees(p.units, u) && agrees(p.temperature, t)) continue;
        out.lines.push_back("point " + std::to_string(i + 1) + ": " + out.sent + " " +
                            p.units.text + ", " + p.temperature.text + "; instrument holds " +
                            FormatNoLocale(u, p.units.picture) + ", " +
                            FormatNoLocale(t, p.temperature.picture));
    }
    // A lost tail or a tail left over: one line, in full when it is a single point.
    if (held_count < sent_count) {
        const int first = held_count + 1;
        if (first == sent_count) {
            const SentPoint& p = sent.points.back();
            out.lines.push_back("point " + std::to_string(first) + ": " + out.sent + " " +
                                p.units.text + ", " + p.temperature.text +
                                "; instrument holds no point");
        } else {
            out.lines.push_back(point_range(first, sent_count) + ": " + out.sent +
                                "; instrument holds none of them");
        }
    } else if (held_count > sent_count) {
        const int first = sent_count + 1;
        if (first == held_count) {
            const auto [u, t] =
                shown_unsent(sent.form, held.sensor_units[first - 1], held.temperatures[first - 1]);
            out.lines.push_back("point " + std::to_string(first) +
                                ": not in the curve; instrument holds " + u + ", " + t);
        } else {
            out.lines.push_back(point_range(first, held_count) +
                                ": not in the curve; instrument holds them");
        }
    }
}

void compare_header_point(Report& out, const SentCurve& sent, const LocationRead& held) {
    compare_text(out, "name", sent.name, held.header.name);
    compare_text(out, "serial number", sent.serial, held.header.serial_number);
    compare_code(out, "data format", std::to_string(sent.data_format),
                 std::to_string(held.curve.data_format));
    const double limit = parse_leading_number(sent.setpoint_limit);
    if (!is_numeric_text(held.header.setpoint_text) ||
        parse_leading_number(held.header.setpoint_text) != limit)
        compare_code(out, "setpoint limit", general_text(limit), held.header.setpoint_text);
    compare_code(out, "temperature coefficient", std::to_string(sent.coefficient),
                 std::to_string(held.curve.temperature_coefficient));
}

// The older instruments' header field, as their read procedure takes it apart.
void compare_older(Report& out, const SentCurve& sent, const LocationRead& held) {
    const std::string& field = sent.header_field;
    const char code = field.size() > 1 ? field[1] : '\0';
    const char thermocouple = field.size() > 2 ? field[2] : '\0';
    const auto [name, serial] = older_name_and_serial(field.size() > 3 ? field.substr(3) : "");
    compare_text(out, "name", name, held.header.name);
    compare_text(out, "serial number", serial, held.header.serial_number);
    compare_code(out, "setpoint limit", setpoint_entry_of_code(code),
                 held.header.setpoint_list.text());
    if (sent.form == SentForm::Kcur) {
        const bool sent_tc = thermocouple == '9';
        if (sent_tc != held.header.thermocouple)
            out.lines.push_back("thermocouple curve: " + out.sent + (sent_tc ? " yes" : " no") +
                                ", instrument holds " + (held.header.thermocouple ? "yes" : "no"));
        return;
    }
    compare_text(out, "interpolation method",
                 field.empty() || field[0] != 'L' ? "Straight Line" : "Lagrangian",
                 held.header.interpolation.text());
    compare_text(out, "thermocouple character", std::string(1, thermocouple),
                 held.transfer.thermocouple_char);
}

}  // namespace

LocationRead read_location(Session& s, const std::string& location,
                           const std::string& label_prefix) {
    LocationRead out;
    const InstrumentModel model = s.setup.model;
    out.curve = CurveRecord::for_model(model);
    out.header = HeaderFields::for_model(model);
    // A setpoint code that names no limit must not pass for the first limit of the list.
    out.header.setpoint_list.selected = -1;
    const auto procedure = detail::read_procedure_of(model);
    if (!procedure) return out;
    PickLists picks;
    picks.read.entries = {location};
    picks.read.selected = 0;
    RecordingPrompts prompts;
    PrefixProgress progress(s.progress, label_prefix);
    Views views;
    Session scratch{s.setup, out.curve, out.header, picks,     out.transfer,
                    s.link,  prompts,   progress,   s.scaling, views};
    out.result = procedure(scratch);
    out.messages = prompts.texts();
    const bool said_none =
        out.result == TransferResult::Failed && !s.link.line_dead() &&
        std::find(out.messages.begin(), out.messages.end(), kNoCurvePresent) != out.messages.end();
    const bool blank = out.result == TransferResult::Done && out.curve.breakpoint_count == 0 &&
                       trim_blanks(out.header.name).empty() &&
                       trim_blanks(out.header.serial_number).empty();
    out.no_curve = said_none || blank;
    detail::settle_link(s, out.result);
    return out;
}

std::vector<std::string> curve_differences(const SentCurve& sent, const LocationRead& held,
                                           bool planned) {
    Report out{{}, planned ? "would send" : "sent"};
    if (held.no_curve) {
        out.lines.push_back(sent.location.empty()
                                ? std::string("the instrument holds no curve")
                                : "location " + sent.location + " holds no curve");
        return out.lines;
    }
    switch (sent.form) {
        case SentForm::HeaderPoint:
            compare_header_point(out, sent, held);
            break;
        case SentForm::Kcur:
        case SentForm::Xk:
            compare_older(out, sent, held);
            break;
        case SentForm::Hox:
            compare_text(out, "serial number", sent.serial, held.header.serial_number);
            break;
        case SentForm::None:
            break;
    }
    compare_points(out, sent, held.curve);
    // The instrument's own complaint about a point explains the value it gave for it.
    for (const auto& m : held.messages)
        if (m.rfind(kBadDataPoint, 0) == 0) out.lines.push_back("reading back: " + m);
    return out.lines;
}

CurveCheck verify_sent_curve(Session& s, const SentCurve& sent, bool planned) {
    CurveCheck check;
    const LocationRead held = read_location(s, sent.location);
    if (held.result == TransferResult::Cancelled) {
        check.outcome = CheckOutcome::Cancelled;
        return check;
    }
    if (held.result == TransferResult::Failed && !held.no_curve) {
        check.outcome = CheckOutcome::ReadFailed;
        for (const auto& m : held.messages) check.failure += (check.failure.empty() ? "" : " ") + m;
        if (check.failure.empty()) check.failure = kProblemTalking;
        return check;
    }
    check.differences = curve_differences(sent, held, planned);
    check.outcome = check.differences.empty() ? CheckOutcome::Agree : CheckOutcome::Differ;
    return check;
}

std::optional<SentCurve> plan_write(Session& s, const std::string& location, std::string* why) {
    const ModelProfile* p = find_profile(s.setup.model);
    if (!p) return std::nullopt;
    CurveRecord curve = s.curve;
    HeaderFields header = s.header;
    TransferState transfer = s.transfer;
    RecordingPrompts quiet;
    Views views;
    Session w{s.setup, curve, header,     s.picks,   transfer,
              s.link,  quiet, s.progress, s.scaling, views};
    switch (p->write) {
        case WriteProcedure::Taz:
        case WriteProcedure::Dal:
        case WriteProcedure::Fen:
        case WriteProcedure::Mep:
        case WriteProcedure::Obr:
        case WriteProcedure::Ril:
            return detail::plan_header_point_write(w, false, location);
        case WriteProcedure::Wun:
            return detail::plan_header_point_write(w, true, location);
        case WriteProcedure::Hox:
            return detail::plan_hox_write(w);
        case WriteProcedure::Kor:
        case WriteProcedure::Lum:
        case WriteProcedure::Nav:
        case WriteProcedure::Kip:
        case WriteProcedure::Elk:
            if (curve.breakpoint_count < 2) {
                if (why) *why = kNothingSent;
                return std::nullopt;
            }
            return detail::plan_older_write(
                w, p->read == ReadProcedure::Elk ? SentForm::Xk : SentForm::Kcur, location);
        case WriteProcedure::None:
            break;
    }
    return std::nullopt;
}

CurveCheck compare_with_location(Session& s, const std::string& location) {
    std::string why;
    const std::optional<SentCurve> plan = plan_write(s, location, &why);
    if (!plan) return {CheckOutcome::Unsendable, {}, why};
    return verify_sent_curve(s, *plan, true);
}

}  // namespace kelvara
