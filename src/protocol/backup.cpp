#include "protocol/backup.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <map>

#include "curve/file_io.h"
#include "curve/files.h"
#include "curve/number_format.h"
#include "protocol/catalogue.h"
#include "protocol/messages.h"
#include "protocol/transfers.h"
#include "protocol/verify.h"

namespace kelvara {

namespace fs = std::filesystem;

namespace {

// The files of a backup hold what the instrument holds, in its own units: nothing is scaled on
// the way back.
class NoScaling : public ScalingDialog {
  public:
    std::optional<ScalingFactors> ask(int, const ScalingFactors&) override { return std::nullopt; }
};

// The whole job's progress: which location, how far the job has come, then what the running
// procedure says.
class JobProgress : public Progress {
  public:
    JobProgress(Progress& inner, int steps) : inner_(inner), steps_(std::max(1, steps)) {}
    void start_step(int step, const std::string& prefix) {
        step_ = step;
        prefix_ = prefix;
        set_label("");
        set_fraction(0);
    }
    void set_label(const std::string& text) override {
        label_ = text;
        inner_.set_label(prefix_ + text);
    }
    std::string label() const override { return label_; }
    void set_fraction(double fraction) override {
        inner_.set_fraction((step_ + std::clamp(fraction, 0.0, 1.0)) / steps_);
    }

  private:
    Progress& inner_;
    int steps_;
    int step_ = 0;
    std::string prefix_;
    std::string label_;
};

// The file type a model's curves are backed up in: the type its own instruments' data map onto
// one to one (the .DUN line is the XC command itself).
std::string backup_extension(InstrumentModel model) {
    const ModelProfile& p = profile(model);
    switch (p.header_style) {
        case HeaderStyle::HeaderPoint:
            return "TAZ";
        case HeaderStyle::Hox:
            return "HOX";
        case HeaderStyle::Older:
            break;
    }
    return p.read == ReadProcedure::Elk ? "DUN" : "NAV";
}

bool xk_family(InstrumentModel model) {
    return profile(model).read == ReadProcedure::Elk;
}

std::string step_prefix(const BackupSlot& slot, int step, int steps) {
    const std::string where = slot.location.empty() ? "The curve" : "Location " + slot.location;
    return where + " (" + std::to_string(step + 1) + " of " + std::to_string(steps) + "): ";
}

std::string joined(const std::vector<std::string>& lines) {
    std::string out;
    for (const auto& l : lines) out += (out.empty() ? "" : " ") + l;
    return out;
}

// The erased HOX table: every temperature 0 and no serial number.
bool hox_erased(const LocationRead& held) {
    const CurveRecord& c = held.curve;
    for (int i = 0; i < c.breakpoint_count && i < static_cast<int>(c.temperatures.size()); ++i)
        if (c.temperatures[i] != 0) return false;
    return trim_blanks(held.header.serial_number).empty();
}

// A curve file as a restore sends it.
struct FileCurve {
    explicit FileCurve(InstrumentModel model)
        : curve(CurveRecord::for_model(model)), header(HeaderFields::for_model(model)) {}

    // False, with `reason`, when the file cannot be read.
    bool read(const std::string& path, InstrumentModel model, Prompts& prompts,
              std::string& reason) {
        if (read_curve_file(path, model, curve, header, prompts, &reason) !=
            FileCommandResult::Done)
            return false;
        if (xk_family(model) && extension_of(path) == "DUN") {
            // A .DUN file pads the name to 9 characters and right-aligns the serial number; the
            // blanks are the file's layout, not the curve's. Its thermocouple character goes to
            // the instrument with the curve.
            header.name.erase(header.name.find_last_not_of(' ') + 1);
            header.serial_number.erase(0, std::min(header.serial_number.find_first_not_of(' '),
                                                   header.serial_number.size()));
            transfer.thermocouple_char = curve.dun_format_char;
        }
        return true;
    }

    CurveRecord curve;
    HeaderFields header;
    TransferState transfer;
};

// What a restore of the file would send, compared with what the instrument holds now.
std::vector<std::string> restore_shortfall(Session& s, const std::string& path,
                                           const BackupSlot& slot, const LocationRead& held) {
    FileCurve file(s.setup.model);
    RecordingPrompts quiet;
    std::string reason;
    if (!file.read(path, s.setup.model, quiet, reason))
        return {"the file cannot be read back: " + reason};
    NoScaling no_scaling;
    Views views;
    Session w{s.setup, file.curve, file.header, s.picks,    file.transfer,
              s.link,  quiet,      s.progress,  no_scaling, views};
    std::string why;
    const std::optional<SentCurve> plan = plan_write(w, slot.location, &why);
    if (!plan) return {"a restore would send nothing: " + why};
    return curve_differences(*plan, held, true);
}

BackupEntry back_up_slot(Session& s, const BackupSlot& slot, const std::string& folder) {
    BackupEntry entry;
    entry.slot = slot;
    LocationRead held = read_location(s, slot.location, "");
    if (held.result == TransferResult::Cancelled) return entry;
    if (held.no_curve) {
        entry.state = BackupEntry::State::Empty;
        return entry;
    }
    if (held.result != TransferResult::Done) {
        entry.state = BackupEntry::State::Failed;
        entry.notes = {held.messages.empty() ? std::string(kProblemTalking)
                                             : joined(held.messages)};
        return entry;
    }
    const InstrumentModel model = s.setup.model;
    const bool hox = profile(model).header_style == HeaderStyle::Hox;
    if (hox ? hox_erased(held) : held.curve.breakpoint_count == 0) {
        entry.state = BackupEntry::State::Empty;
        return entry;
    }
    entry.name = trim_blanks(held.header.name);
    entry.serial = trim_blanks(held.header.serial_number);
    entry.points = held.curve.breakpoint_count;

    // The thermocouple character the instrument holds goes into the .DUN header where the file
    // keeps it.
    CurveRecord curve = held.curve;
    HeaderFields header = held.header;
    if (xk_family(model)) curve.dun_format_char = held.transfer.thermocouple_char;
    RecordingPrompts quiet;
    std::string reason;
    const std::string path = (fs::path(folder) / slot.file).string();
    if (write_curve_file(path, model, curve, header, quiet, &reason) != FileCommandResult::Done) {
        entry.state = BackupEntry::State::Failed;
        entry.notes = {"cannot write " + slot.file + ": " + reason};
        return entry;
    }
    entry.notes = restore_shortfall(s, path, slot, held);
    entry.state = entry.notes.empty() ? BackupEntry::State::Saved : BackupEntry::State::Inexact;
    return entry;
}

std::string summary_text(const Session& s, const BackupReport& report, const std::string& date) {
    std::string out = "Tessaly Kelvara curve backup\n";
    out += "Model: " + std::string(designation(s.setup.model)) + "\n";
    out += "Identification: " + s.link.identification() + "\n";
    out += "Date: " + date + "\n\n";
    out += "Location\tName\tSerial number\tPoints\tFile\n";
    std::string empty, missing;
    for (const auto& e : report.entries) {
        const std::string where = e.slot.location.empty() ? "-" : e.slot.location;
        switch (e.state) {
            case BackupEntry::State::Saved:
            case BackupEntry::State::Inexact:
                out += where + "\t" + e.name + "\t" + e.serial + "\t" + std::to_string(e.points) +
                       "\t" + e.slot.file + "\n";
                break;
            case BackupEntry::State::Empty:
                empty += " " + where;
                break;
            case BackupEntry::State::Failed:
            case BackupEntry::State::NotReached:
                missing += " " + where;
                break;
        }
    }
    if (!empty.empty()) out += "\nEmpty user locations:" + empty + "\n";
    if (!missing.empty()) out += "\nNot saved (see the program's report):" + missing + "\n";
    return out;
}

// "21.TAZ" -> 21 for a model whose files are .TAZ/.TZA; "HOX.HOX" -> 0 for the HOX.
std::optional<int> location_of_file(const std::string& name, InstrumentModel model) {
    const auto dot = name.rfind('.');
    if (dot == std::string::npos || !wrong_file_type(name, model).empty()) return std::nullopt;
    std::string stem = name.substr(0, dot);
    if (profile(model).header_style == HeaderStyle::Hox) {
        for (char& ch : stem) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
        if (stem != "HOX") return std::nullopt;
        return 0;
    }
    if (stem.empty() || stem.size() > 3 ||
        !std::all_of(stem.begin(), stem.end(), [](unsigned char c) { return std::isdigit(c); }))
        return std::nullopt;
    return std::stoi(stem);
}

RestoreEntry restore_slot(Session& s, const BackupSlot& slot, const std::string& path,
                          JobProgress& progress) {
    RestoreEntry entry;
    entry.slot = slot;
    FileCurve file(s.setup.model);
    RecordingPrompts quiet;
    std::string reason;
    if (!file.read(path, s.setup.model, quiet, reason)) {
        entry.state = RestoreEntry::State::Failed;
        entry.lines = {"cannot read " + slot.file + ": " + reason};
        return entry;
    }
    if (!slot.location.empty()) {
        const int at = find_entry_by_number(s.picks.write, parse_leading_number(slot.location));
        s.picks.write.selected = at;
        s.picks.remove.selected = at;
    }
    NoScaling no_scaling;
    Views views;
    Session w{s.setup, file.curve, file.header, s.picks,    file.transfer,
              s.link,  quiet,      progress,    no_scaling, views};
    const TransferResult written = run_write_transfer(w);
    if (written != TransferResult::Done) {
        // The procedure's own words: what failed, or which location a cancel left partly
        // written.
        entry.state = RestoreEntry::State::Failed;
        entry.lines = quiet.texts();
        return entry;
    }
    const CurveCheck check = verify_last_write(w);
    switch (check.outcome) {
        case CheckOutcome::Agree:
            entry.state = RestoreEntry::State::Verified;
            break;
        case CheckOutcome::Differ:
            entry.state = RestoreEntry::State::Differs;
            entry.lines = check.differences;
            break;
        case CheckOutcome::ReadFailed:
            entry.state = RestoreEntry::State::Failed;
            entry.lines = {kVerifyReadFailed + check.failure};
            break;
        case CheckOutcome::Cancelled:
            entry.state = RestoreEntry::State::Failed;
            entry.lines = {kVerifyCancelled};
            break;
        case CheckOutcome::Unsendable:  // only a curve compared without writing
            break;
    }
    return entry;
}

bool stopped(const Session& s) {
    return s.setup.interface == Interface::None;
}

}  // namespace

std::vector<BackupSlot> backup_slots(InstrumentModel model) {
    const ModelProfile* p = find_profile(model);
    if (!p) return {};
    const std::string ext = backup_extension(model);
    if (p->header_style == HeaderStyle::Hox) return {{"", "HOX." + ext}};
    std::vector<BackupSlot> out;
    for (int n : p->write_locations) {
        char file[16];
        std::snprintf(file, sizeof file, "%02d.", n);
        out.push_back({std::to_string(n), file + ext});
    }
    return out;
}

std::string backup_folder_problem(InstrumentModel model, const std::string& folder) {
    std::error_code ec;
    if (fs::exists(folder, ec) && !fs::is_directory(folder, ec))
        return "cannot use " + folder + ": it is not a folder";
    std::vector<std::string> names{kBackupSummaryName};
    for (const auto& slot : backup_slots(model)) names.push_back(slot.file);
    for (const std::string& name : names)
        if (fs::exists(fs::path(folder) / name, ec))
            return folder + " already holds a backup (" + name +
                   "): choose an empty or a new folder";
    return {};
}

std::string slot_label(const BackupSlot& slot) {
    return slot.location.empty() ? "the curve" : "location " + slot.location;
}

BackupReport back_up_curves(Session& s, const std::string& folder, const std::string& date) {
    BackupReport report;
    const std::vector<BackupSlot> slots = backup_slots(s.setup.model);
    report.failure = backup_folder_problem(s.setup.model, folder);
    if (!report.failure.empty()) {
        report.result = TransferResult::Failed;
        return report;
    }
    std::error_code ec;
    if (!fs::create_directories(folder, ec) && ec) {
        report.result = TransferResult::Failed;
        report.failure = "cannot create " + folder + ": " + ec.message();
        return report;
    }

    JobProgress progress(s.progress, static_cast<int>(slots.size()) + 1);
    Session job{s.setup, s.curve,   s.header, s.picks,   s.transfer,
                s.link,  s.prompts, progress, s.scaling, s.views};
    progress.start_step(0, "Reading curve names: ");
    report.result = grab_curve_names(job);
    if (report.result != TransferResult::Done) return report;

    for (std::size_t k = 0; k < slots.size(); ++k) {
        const int steps = static_cast<int>(slots.size());
        progress.start_step(static_cast<int>(k) + 1,
                            step_prefix(slots[k], static_cast<int>(k), steps));
        report.entries.push_back(back_up_slot(job, slots[k], folder));
        if (stopped(s)) break;
    }
    for (std::size_t k = report.entries.size(); k < slots.size(); ++k)
        report.entries.push_back({slots[k], BackupEntry::State::NotReached, "", "", 0, {}});

    const bool all_kept =
        std::all_of(report.entries.begin(), report.entries.end(), [](const BackupEntry& e) {
            return e.state == BackupEntry::State::Saved || e.state == BackupEntry::State::Empty;
        });
    report.result = s.link.cancel_requested() ? TransferResult::Cancelled
                    : all_kept                ? TransferResult::Done
                                              : TransferResult::Failed;
    try {
        file_io::write_whole_file((fs::path(folder) / kBackupSummaryName).string(),
                                  summary_text(s, report, date));
    } catch (const FileError& e) {
        report.failure = std::string("cannot write ") + kBackupSummaryName + ": " + e.what();
        if (report.result == TransferResult::Done) report.result = TransferResult::Failed;
    }
    return report;
}

RestoreReport restore_curves(Session& s, const std::string& folder, const std::vector<int>& only) {
    RestoreReport report;
    const InstrumentModel model = s.setup.model;
    const std::vector<BackupSlot> slots = backup_slots(model);
    const bool hox = profile(model).header_style == HeaderStyle::Hox;

    // Files by the location their names give; a location named twice is refused.
    std::map<int, std::vector<std::string>> files;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
        if (!it->is_regular_file(ec)) continue;
        const std::string name = it->path().filename().string();
        if (const auto n = location_of_file(name, model)) files[*n].push_back(name);
    }
    if (ec) {
        report.result = TransferResult::Failed;
        report.failure = "cannot read " + folder + ": " + ec.message();
        return report;
    }

    std::vector<std::pair<BackupSlot, std::string>> work;  // slot and the file's path
    for (auto& [n, names] : files) {
        const bool wanted =
            only.empty() || std::find(only.begin(), only.end(), n) != only.end() || hox;
        if (!wanted) continue;
        std::sort(names.begin(), names.end());
        BackupSlot slot{hox ? std::string() : std::to_string(n), names.front()};
        const bool writable =
            hox || std::any_of(slots.begin(), slots.end(),
                               [&](const BackupSlot& b) { return b.location == slot.location; });
        if (!writable || names.size() > 1) {
            RestoreEntry refused{slot, RestoreEntry::State::Failed, {}};
            refused.lines = {!writable ? slot_label(slot) + " is not a user location of the " +
                                             std::string(designation(model)) + ": not written"
                                       : "more than one file for it (" + names[0] + ", " +
                                             names[1] + "): not written"};
            report.entries.push_back(std::move(refused));
            continue;
        }
        work.emplace_back(slot, (fs::path(folder) / names.front()).string());
    }
    for (int n : only) {
        if (hox || files.count(n)) continue;
        report.entries.push_back({{std::to_string(n), ""},
                                  RestoreEntry::State::Failed,
                                  {"no file for location " + std::to_string(n) + " in " + folder}});
    }
    if (work.empty() && report.entries.empty()) {
        report.result = TransferResult::Failed;
        report.failure = folder + " holds no curve files of the " +
                         std::string(designation(model)) + " (named like " +
                         (slots.empty() ? std::string("21.TAZ") : slots.front().file) + ")";
        return report;
    }

    JobProgress progress(s.progress, static_cast<int>(work.size()));
    for (std::size_t k = 0; k < work.size(); ++k) {
        const auto& [slot, path] = work[k];
        if (stopped(s)) {
            report.entries.push_back({slot, RestoreEntry::State::NotReached, {}});
            continue;
        }
        progress.start_step(static_cast<int>(k),
                            step_prefix(slot, static_cast<int>(k), static_cast<int>(work.size())));
        report.entries.push_back(restore_slot(s, slot, path, progress));
    }
    const bool cancelled = s.link.cancel_requested();
    std::stable_sort(
        report.entries.begin(), report.entries.end(), [](const auto& a, const auto& b) {
            return parse_leading_number(a.slot.location) < parse_leading_number(b.slot.location);
        });
    const bool all_verified =
        std::all_of(report.entries.begin(), report.entries.end(),
                    [](const RestoreEntry& e) { return e.state == RestoreEntry::State::Verified; });
    report.result = cancelled      ? TransferResult::Cancelled
                    : all_verified ? TransferResult::Done
                                   : TransferResult::Failed;
    return report;
}

// "-" stands for the HOX's one curve in a list of locations.
std::string listed(const BackupSlot& slot) {
    return slot.location.empty() ? std::string("-") : slot.location;
}

std::vector<std::string> backup_report_lines(const BackupReport& report) {
    std::vector<std::string> out;
    std::string empty, stopped;
    for (const auto& e : report.entries) {
        const std::string who = slot_label(e.slot);
        switch (e.state) {
            case BackupEntry::State::Saved:
            case BackupEntry::State::Inexact:
                out.push_back(who + ": saved in " + e.slot.file + " (" + e.name + ", " + e.serial +
                              ", " + std::to_string(e.points) + " points)" +
                              (e.state == BackupEntry::State::Inexact
                                   ? "; a restore would not give back all of it:"
                                   : ""));
                break;
            case BackupEntry::State::Empty:
                empty += (empty.empty() ? "" : " ") + listed(e.slot);
                continue;
            case BackupEntry::State::Failed:
                out.push_back(who + ": not saved:");
                break;
            case BackupEntry::State::NotReached:
                stopped += (stopped.empty() ? "" : " ") + listed(e.slot);
                continue;
        }
        for (const auto& n : e.notes) out.push_back("  " + n);
    }
    if (!empty.empty()) out.push_back("empty, nothing to save: " + empty);
    if (!stopped.empty()) out.push_back("not saved, the backup stopped before them: " + stopped);
    return out;
}

std::vector<std::string> restore_report_lines(const RestoreReport& report) {
    std::vector<std::string> out;
    for (const auto& e : report.entries) {
        const std::string who =
            slot_label(e.slot) + (e.slot.file.empty() ? "" : " (" + e.slot.file + ")");
        switch (e.state) {
            case RestoreEntry::State::Verified:
                out.push_back(who + ": written and verified");
                break;
            case RestoreEntry::State::Differs:
                out.push_back(who + ": written, but the instrument holds something else:");
                break;
            case RestoreEntry::State::Failed:
                out.push_back(who + ": failed:");
                break;
            case RestoreEntry::State::NotReached:
                out.push_back(who + ": not written: the restore stopped before it");
                break;
        }
        for (const auto& l : e.lines) out.push_back("  " + l);
    }
    return out;
}

}  // namespace kelvara
