// kelvara-cli list | read | write | delete | compare | backup | restore: the instrument commands
// of the main window, run from the command line. The command itself is the user's confirmation;
// every message the window would show goes to stderr.
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <optional>
#include <set>

#include "cli_commands.h"
#include "cli_common.h"
#include "cli_connection.h"
#include "curve/files.h"
#include "curve/number_format.h"
#include "protocol/backup.h"
#include "protocol/catalogue.h"
#include "protocol/headerpoint.h"
#include "protocol/transfers.h"
#include "protocol/verify.h"

namespace kelvara::cli {

namespace {

// Ctrl-C (SIGINT) or SIGTERM: the running transfer stops between two commands and the tool
// exits with 128 + the signal's number once the link is closed; a second signal ends it at once.
std::atomic<std::atomic<bool>*> cancel_flag{nullptr};
volatile std::sig_atomic_t interrupted_by = 0;

extern "C" void on_interrupt(int signal) {
    if (interrupted_by != 0) ::_exit(128 + signal);
    interrupted_by = signal;
    if (std::atomic<bool>* flag = cancel_flag.load()) flag->store(true);
}

void catch_interrupts() {
    static_assert(std::atomic<std::atomic<bool>*>::is_always_lock_free);
    struct sigaction action {};
    action.sa_handler = on_interrupt;
    sigemptyset(&action.sa_mask);
    for (int signal : {SIGINT, SIGTERM}) sigaction(signal, &action, nullptr);
}

// Stops pointing the signal handler at a link that is about to go away.
struct CancelThrough {
    explicit CancelThrough(InstrumentLink& link) { cancel_flag.store(&link.cancel_flag()); }
    ~CancelThrough() { cancel_flag.store(nullptr); }
    CancelThrough(const CancelThrough&) = delete;
    CancelThrough& operator=(const CancelThrough&) = delete;
};

// Progress labels on one self-overwriting stderr line when stderr is a terminal; nothing
// otherwise, so that logs hold only the messages. A whole job (backup, restore) shows its share
// done in front of the label.
class StderrProgress : public Progress {
  public:
    explicit StderrProgress(bool share) : live_(::isatty(STDERR_FILENO) == 1), share_(share) {}
    ~StderrProgress() override { finish(); }
    void set_label(const std::string& text) override {
        label_ = text;
        show();
    }
    std::string label() const override { return label_; }
    void set_fraction(double fraction) override {
        fraction_ = fraction;
        show();
    }
    // Ends the progress line, before anything else is printed.
    void finish() {
        if (live_ && shown_) std::cerr << "\r\033[K" << std::flush;
        shown_ = false;
    }

  private:
    void show() {
        if (!live_) return;
        std::string line = printable(label_);
        if (share_ && fraction_ >= 0) {
            char percent[16];
            std::snprintf(percent, sizeof percent, "[%3d%%] ", static_cast<int>(fraction_ * 100));
            line = percent + line;
        }
        std::cerr << "\r\033[K" << line << std::flush;
        shown_ = true;
    }

    bool live_;
    bool share_;
    bool shown_ = false;
    double fraction_ = -1;
    std::string label_;
};

// The scaling dialog answered from the command line: the defaults of the data, each factor
// replaced where an option gives one; --no-scaling closes the dialog.
class OptionScaling : public ScalingDialog {
  public:
    bool no_scaling = false;
    std::optional<double> units_offset, units_factor, temperature_factor;
    std::optional<ScalingFactors> ask(int, const ScalingFactors& defaults) override {
        if (no_scaling) return std::nullopt;
        ScalingFactors f = defaults;
        if (units_offset) f.units_offset = *units_offset;
        if (units_factor) f.units_factor = *units_factor;
        if (temperature_factor) f.temperature_factor = *temperature_factor;
        return f;
    }
};

class NoViews : public Views {};

enum class Action { List, Read, Write, Delete, Compare, Backup, Restore };

const char* name_of(Action a) {
    switch (a) {
        case Action::List:
            return "list";
        case Action::Read:
            return "read";
        case Action::Write:
            return "write";
        case Action::Delete:
            return "delete";
        case Action::Compare:
            return "compare";
        case Action::Backup:
            return "backup";
        case Action::Restore:
            return "restore";
    }
    return "";
}

// Actions that send a curve file's curve (or compare it as they would send it).
bool takes_curve_file(Action a) {
    return a == Action::Write || a == Action::Compare;
}

struct Request {
    ConnectionOptions connection;
    std::optional<int> location;
    std::vector<int> locations;  // restore: --location may be given more than once
    std::string path;            // OUT for read, IN for write and compare, DIR for backup, restore
    OptionScaling scaling;
    bool verify = true;
};

std::optional<double> number_option(const std::string& text) {
    if (!is_numeric_text(text)) return std::nullopt;
    return parse_leading_number(text);
}

// Parses everything after the subcommand; a usage message on error.
std::optional<std::string> parse(Action action, Args args, Request& r) {
    if (auto error = parse_connection_options(args, r.connection)) return error;
    std::set<std::string> seen;
    for (size_t i = 0; i < args.size(); ++i) {
        std::string option = args[i];
        std::optional<std::string> value;
        if (const auto eq = option.find('='); option.starts_with("--") && eq != std::string::npos) {
            value = option.substr(eq + 1);
            option.resize(eq);
        }
        const bool repeatable = option == "--location" && action == Action::Restore;
        if (option.starts_with("--") && !repeatable && !seen.insert(option).second)
            return option + " given more than once";
        const bool scaling_option = option == "--units-offset" || option == "--units-factor" ||
                                    option == "--temperature-factor";
        if (option == "--no-scaling" && takes_curve_file(action) && !value) {
            r.scaling.no_scaling = true;
            continue;
        }
        if (option == "--no-verify" && action == Action::Write && !value) {
            r.verify = false;
            continue;
        }
        const bool locates = action != Action::List && action != Action::Backup;
        if ((option == "--location" && locates) || (scaling_option && takes_curve_file(action))) {
            if (!value) {
                if (i + 1 >= args.size()) return option + " needs a value";
                value = args[++i];
            }
            if (option == "--location") {
                int n = 0;
                const auto [end, ec] =
                    std::from_chars(value->data(), value->data() + value->size(), n);
                if (ec != std::errc() || end != value->data() + value->size())
                    return "--location takes a curve number, not '" + *value + "'";
                r.location = n;
                r.locations.push_back(n);
                continue;
            }
            const auto x = number_option(*value);
            if (!x) return option + " takes a number, not '" + *value + "'";
            (option == "--units-offset"   ? r.scaling.units_offset
             : option == "--units-factor" ? r.scaling.units_factor
                                          : r.scaling.temperature_factor) = *x;
            continue;
        }
        if (option.starts_with("--")) return "unknown option '" + option + "'";
        const bool takes_path = action != Action::List && action != Action::Delete;
        if (!takes_path || !r.path.empty()) return "unexpected argument '" + args[i] + "'";
        r.path = args[i];
    }
    if (action != Action::List && action != Action::Delete && r.path.empty()) {
        switch (action) {
            case Action::Read:
                return std::string("read needs the file to write (OUT)");
            case Action::Write:
                return std::string("write needs the curve file to send (IN)");
            case Action::Compare:
                return std::string("compare needs the curve file to compare (FILE)");
            default:
                return std::string(name_of(action)) + " needs the backup's folder (DIR)";
        }
    }
    if (r.scaling.no_scaling &&
        (r.scaling.units_offset || r.scaling.units_factor || r.scaling.temperature_factor))
        return std::string("--no-scaling cannot go with scaling factors");
    return std::nullopt;
}

// The list the location is picked in, as the pick dialog of the action offers it.
ListField& list_of(Action action, PickLists& picks) {
    switch (action) {
        case Action::Write:
        case Action::Restore:
            return picks.write;
        case Action::Delete:
            return picks.remove;
        default:
            return picks.read;
    }
}

// restore's --location: each one a location the model lets the user write.
std::optional<std::string> check_restore_locations(const Request& r, PickLists& picks) {
    for (int n : r.locations) {
        if (picks.write.entries.empty())
            return std::string("this model has no curve locations to choose from");
        if (find_entry_by_number(picks.write, n) >= 0) continue;
        std::string offered;
        for (const auto& e : picks.write.entries)
            offered += (offered.empty() ? "" : " ") + curve_number_field(e);
        return "location " + std::to_string(n) + " is not one the " +
               std::string(designation(r.connection.model)) + " offers to restore (" + offered +
               ")";
    }
    return std::nullopt;
}

// Selects the location in its list; a usage message when the model has no such location. A
// model without locations (HOX holds one curve) takes no --location.
std::optional<std::string> pick_location(Action action, const Request& r, PickLists& picks) {
    ListField& list = list_of(action, picks);
    if (list.entries.empty()) {
        if (r.location) return std::string("this model has no curve locations to choose from");
        return std::nullopt;
    }
    if (!r.location) return std::string(name_of(action)) + " needs --location N";
    const int at = find_entry_by_number(list, *r.location);
    if (at < 0) {
        std::string offered;
        for (const auto& e : list.entries)
            offered += (offered.empty() ? "" : " ") + curve_number_field(e);
        return "location " + std::to_string(*r.location) + " is not one the " +
               std::string(designation(r.connection.model)) + " offers to " + name_of(action) +
               " (" + offered + ")";
    }
    list.selected = at;
    // The write and delete lists hold the same locations; the procedures refresh both.
    if (action == Action::Write) picks.remove.selected = at;
    if (action == Action::Delete) picks.write.selected = at;
    return std::nullopt;
}

// OUT must be a file the model's reader family writes, in a folder that exists and takes new
// files; checked before the instrument is asked anything.
std::optional<std::string> check_output(const std::string& path, InstrumentModel model) {
    if (std::string wrong = wrong_file_type(path, model); !wrong.empty()) return wrong;
    namespace fs = std::filesystem;
    const fs::path parent = fs::path(path).parent_path();
    const std::string folder = parent.empty() ? std::string(".") : parent.string();
    std::error_code ec;
    if (!fs::is_directory(folder, ec))
        return "cannot write " + path + ": the folder " + folder + " does not exist";
    if (::access(folder.c_str(), W_OK | X_OK) != 0)
        return "cannot write " + path + ": " + folder + ": " + std::strerror(errno);
    if (fs::is_directory(path, ec)) return "cannot write " + path + ": it is a folder";
    return std::nullopt;
}

int interrupted() {
    return 128 + interrupted_by;
}

// DIR of backup and restore, looked at before the instrument is asked anything.
std::optional<std::string> check_folder(Action action, const std::string& dir,
                                        InstrumentModel model) {
    if (action == Action::Backup) {
        const std::string problem = backup_folder_problem(model, dir);
        if (!problem.empty()) return problem;
        return std::nullopt;
    }
    std::error_code ec;
    if (!std::filesystem::is_directory(dir, ec))
        return "cannot restore from " + dir + ": no such folder";
    return std::nullopt;
}

std::string local_date() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    char text[64];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S %z", &local);
    return text;
}

void print_lines(std::ostream& out, const std::vector<std::string>& lines) {
    for (const auto& line : lines) out << printable(line) << "\n";
}

int run_action(Action action, const Args& given) {
    const std::string who = std::string("kelvara-cli ") + name_of(action) + ": ";
    Request r;
    if (auto error = parse(action, given, r)) {
        std::cerr << who << printable(*error) << "\n";
        return 2;
    }
    const InstrumentModel model = r.connection.model;
    PickLists picks = PickLists::for_model(model);
    if (action != Action::List && action != Action::Backup && action != Action::Restore)
        if (auto error = pick_location(action, r, picks)) {
            std::cerr << who << *error << "\n";
            return 2;
        }
    if (action == Action::Restore)
        if (auto error = check_restore_locations(r, picks)) {
            std::cerr << who << *error << "\n";
            return 2;
        }
    if (action == Action::Read)
        if (auto error = check_output(r.path, model)) {
            std::cerr << who << printable(*error) << "\n";
            return 1;
        }
    if (action == Action::Backup || action == Action::Restore)
        if (auto error = check_folder(action, r.path, model)) {
            std::cerr << who << printable(*error) << "\n";
            return 1;
        }
    catch_interrupts();

    StderrPrompts prompts;
    CurveRecord curve = CurveRecord::for_model(model);
    HeaderFields header = HeaderFields::for_model(model);
    if (takes_curve_file(action)) {
        std::string reason;
        if (read_curve_file(r.path, model, curve, header, prompts, &reason) !=
            FileCommandResult::Done) {
            std::cerr << who
                      << printable("cannot read " + r.path + (reason.empty() ? "" : ": " + reason))
                      << "\n";
            return 1;
        }
    }
    if (interrupted_by != 0) return interrupted();

    Connection connection(r.connection, prompts);
    const CancelThrough cancel(connection.link());
    const bool open = connection.open();
    if (!connection.library_error().empty())
        std::cerr << who << "no GPIB library: " << printable(connection.library_error()) << "\n";
    if (!connection.adapter_error().empty())
        std::cerr << who << printable(connection.adapter_error()) << "\n";
    if (!connection.serial_error().empty())
        std::cerr << who << printable(connection.serial_error()) << "\n";
    if (interrupted_by != 0) return interrupted();
    if (!open) return 1;

    TransferState transfer;
    StderrProgress progress(action == Action::Backup || action == Action::Restore);
    NoViews views;
    Session session{connection.setup(), curve,   header,   picks,     transfer,
                    connection.link(),  prompts, progress, r.scaling, views};
    TransferResult result = TransferResult::Failed;
    std::optional<CurveCheck> check;
    std::vector<std::string> report;
    std::string failure;  // backup, restore: the folder could not be used
    switch (action) {
        case Action::List:
            result = grab_curve_names(session);
            break;
        case Action::Read:
            result = run_read_transfer(session);
            break;
        case Action::Write:
            result = run_write_transfer(session);
            if (result == TransferResult::Done && r.verify) check = verify_last_write(session);
            break;
        case Action::Delete:
            result = run_delete_transfer(session);
            break;
        case Action::Compare:
            result = TransferResult::Done;
            check = compare_with_location(session,
                                          r.location ? std::to_string(*r.location) : std::string());
            break;
        case Action::Backup: {
            const BackupReport done = back_up_curves(session, r.path, local_date());
            result = done.result;
            report = backup_report_lines(done);
            failure = done.failure;
            break;
        }
        case Action::Restore: {
            const RestoreReport done = restore_curves(session, r.path, r.locations);
            result = done.result;
            report = restore_report_lines(done);
            failure = done.failure;
            break;
        }
    }
    progress.finish();
    print_lines(std::cout, report);
    if (!failure.empty()) std::cerr << who << printable(failure) << "\n";
    if (check) {
        const bool comparing = action == Action::Compare;
        switch (check->outcome) {
            case CheckOutcome::Agree:
                if (comparing) std::cout << kCompareAgrees << "\n";
                break;
            case CheckOutcome::Differ:
                (comparing ? std::cout : std::cerr)
                    << (comparing ? kCompareDiffers : kVerifyDiffers) << "\n";
                print_lines(comparing ? std::cout : std::cerr, check->differences);
                result = TransferResult::Failed;
                break;
            case CheckOutcome::ReadFailed:
                std::cerr << who
                          << printable((comparing ? kCompareReadFailed : kVerifyReadFailed) +
                                       check->failure)
                          << "\n";
                result = TransferResult::Failed;
                break;
            case CheckOutcome::Cancelled:
                if (!comparing) std::cerr << who << kVerifyCancelled << "\n";
                result = TransferResult::Cancelled;
                break;
            case CheckOutcome::Unsendable:
                std::cerr << who << printable(check->failure) << "\n";
                result = TransferResult::Failed;
                break;
        }
    }
    if (connection.link().line_dead())
        std::cerr << who << "the connection to the instrument was lost: "
                  << printable(connection.link().dead_reason()) << "\n";
    if (result == TransferResult::Cancelled) return interrupted_by != 0 ? interrupted() : 1;
    if (result != TransferResult::Done) return 1;

    if (action == Action::List)
        for (const auto& entry : picks.read.entries) std::cout << printable(entry) << "\n";
    if (action != Action::Read) return 0;
    if (curve.breakpoint_count == 0) {
        std::cerr << who << "the location holds no curve points; nothing written\n";
        return 1;
    }
    // The writer's notices (a header field it had to change) are printed, not failures.
    std::string reason;
    if (write_curve_file(r.path, model, curve, header, prompts, &reason) !=
        FileCommandResult::Done) {
        std::cerr << who
                  << printable("cannot write " + r.path + (reason.empty() ? "" : ": " + reason))
                  << "\n";
        return 1;
    }
    return 0;
}

const std::string kOn = std::string(" ") + kConnectionUsage;

const Subcommand kList(
    "list",
    "list" + kOn +
        "\n      Read the instrument's curve catalogue and print the read list's"
        "\n      entries, one a line (\"21 - NAME  SERIAL\"). Ctrl-C (or SIGTERM)"
        "\n      stops any instrument command between two commands and exits"
        "\n      with 130 (143).",
    [](const Args& a) { return run_action(Action::List, a); });
const Subcommand kRead(
    "read",
    "read" + kOn + " --location N OUT" +
        "\n      Read curve N from the instrument and write it to OUT, a curve file of"
        "\n      the model's family (.TAZ/.TZA, .NAV/.DUN or .HOX). OUT's type and folder are"
        "\n      checked first; a read that fails or is stopped leaves OUT untouched.",
    [](const Args& a) { return run_action(Action::Read, a); });
const Subcommand kWrite(
    "write",
    "write" + kOn +
        " --location N [--no-scaling | --units-offset X --units-factor X --temperature-factor X]"
        " [--no-verify] IN\n      Write the curve of file IN to user location N. The older models'"
        "\n      scaling takes its defaults unless a factor is given; --no-scaling sends the data"
        "\n      unscaled. The location is then read back and compared with what was sent (the"
        "\n      differences on stderr, one a line); --no-verify skips that. Exit 1 when the"
        "\n      instrument did not take the whole curve, did not confirm it, or holds anything"
        "\n      else.",
    [](const Args& a) { return run_action(Action::Write, a); });
const Subcommand kDelete("delete",
                         "delete" + kOn + " --location N" +
                             "\n      Erase user location N of the instrument.",
                         [](const Args& a) { return run_action(Action::Delete, a); });
const Subcommand kCompare(
    "compare",
    "compare" + kOn +
        " --location N [--no-scaling | --units-offset X --units-factor X"
        " --temperature-factor X] FILE"
        "\n      Compare curve file FILE with curve N of the instrument as a write would send it"
        "\n      (the older models' data scaled as write scales them), without writing. The"
        "\n      differences go to stdout, one a line. Exit 0 when they agree, 1 when they"
        "\n      differ or the curve cannot be read.",
    [](const Args& a) { return run_action(Action::Compare, a); });
const Subcommand kBackup(
    "backup",
    "backup" + kOn + " DIR" +
        "\n      Read the catalogue, then every user location, into folder DIR (made when"
        "\n      missing; one that already holds a backup is refused): a curve file of the"
        "\n      model's own type for each location that holds a curve, named by the location"
        "\n      (21.TAZ, 04.NAV, 06.DUN, HOX.HOX), and backup.txt with the model, the"
        "\n      identification reply, the date and each curve's location, name, serial number"
        "\n      and point count. Factory locations are not saved. One line per curve on"
        "\n      stdout. Exit 1 when a location could not be saved, or its file cannot give"
        "\n      back all of what the instrument holds.",
    [](const Args& a) { return run_action(Action::Backup, a); });
const Subcommand kRestore(
    "restore",
    "restore" + kOn + " DIR [--location N]..." +
        "\n      Write the curve files of backup folder DIR back to the locations their names"
        "\n      give, all of them or those given with --location (which may be repeated),"
        "\n      unscaled, each read back and compared. One line per location: written and"
        "\n      verified, written but the instrument holds something else, or failed. Exit 1"
        "\n      unless every one was verified.",
    [](const Args& a) { return run_action(Action::Restore, a); });

}  // namespace

}  // namespace kelvara::cli
