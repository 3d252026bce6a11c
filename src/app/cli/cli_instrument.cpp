// kelvara-cli list | read | write | delete: the instrument commands of the main window, run from
// the command line. The command itself is the user's confirmation; every message the window
// would show goes to stderr.
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <optional>
#include <set>

#include "cli_commands.h"
#include "cli_common.h"
#include "cli_connection.h"
#include "curve/files.h"
#include "curve/number_format.h"
#include "protocol/catalogue.h"
#include "protocol/headerpoint.h"
#include "protocol/transfers.h"

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
// otherwise, so that logs hold only the messages.
class StderrProgress : public Progress {
  public:
    StderrProgress() : live_(::isatty(STDERR_FILENO) == 1) {}
    ~StderrProgress() override {
        if (live_ && shown_) std::cerr << "\n";
    }
    void set_label(const std::string& text) override {
        label_ = text;
        if (!live_) return;
        std::cerr << "\r\033[K" << printable(text) << std::flush;
        shown_ = true;
    }
    std::string label() const override { return label_; }

  private:
    bool live_;
    bool shown_ = false;
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

enum class Action { List, Read, Write, Delete };

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
    }
    return "";
}

struct Request {
    ConnectionOptions connection;
    std::optional<int> location;
    std::string path;  // OUT for read, IN for write
    OptionScaling scaling;
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
        if (option.starts_with("--") && !seen.insert(option).second)
            return option + " given more than once";
        const bool scaling_option = option == "--units-offset" || option == "--units-factor" ||
                                    option == "--temperature-factor";
        if (option == "--no-scaling" && action == Action::Write && !value) {
            r.scaling.no_scaling = true;
            continue;
        }
        if (option == "--location" || (scaling_option && action == Action::Write)) {
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
        const bool takes_path = action == Action::Read || action == Action::Write;
        if (!takes_path || !r.path.empty()) return "unexpected argument '" + args[i] + "'";
        r.path = args[i];
    }
    if ((action == Action::Read || action == Action::Write) && r.path.empty())
        return std::string(action == Action::Read ? "read needs the file to write (OUT)"
                                                  : "write needs the curve file to send (IN)");
    if (r.scaling.no_scaling &&
        (r.scaling.units_offset || r.scaling.units_factor || r.scaling.temperature_factor))
        return std::string("--no-scaling cannot go with scaling factors");
    return std::nullopt;
}

// The list the location is picked in, as the pick dialog of the action offers it.
ListField& list_of(Action action, PickLists& picks) {
    switch (action) {
        case Action::Write:
            return picks.write;
        case Action::Delete:
            return picks.remove;
        default:
            return picks.read;
    }
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

int run_action(Action action, const Args& given) {
    const std::string who = std::string("kelvara-cli ") + name_of(action) + ": ";
    Request r;
    if (auto error = parse(action, given, r)) {
        std::cerr << who << printable(*error) << "\n";
        return 2;
    }
    const InstrumentModel model = r.connection.model;
    PickLists picks = PickLists::for_model(model);
    if (action != Action::List)
        if (auto error = pick_location(action, r, picks)) {
            std::cerr << who << *error << "\n";
            return 2;
        }
    if (action == Action::Read)
        if (auto error = check_output(r.path, model)) {
            std::cerr << who << printable(*error) << "\n";
            return 1;
        }
    catch_interrupts();

    StderrPrompts prompts;
    CurveRecord curve = CurveRecord::for_model(model);
    HeaderFields header = HeaderFields::for_model(model);
    if (action == Action::Write) {
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
    StderrProgress progress;
    NoViews views;
    Session session{connection.setup(), curve,   header,   picks,     transfer,
                    connection.link(),  prompts, progress, r.scaling, views};
    TransferResult result = TransferResult::Failed;
    switch (action) {
        case Action::List:
            result = grab_curve_names(session);
            break;
        case Action::Read:
            result = run_read_transfer(session);
            break;
        case Action::Write:
            result = run_write_transfer(session);
            break;
        case Action::Delete:
            result = run_delete_transfer(session);
            break;
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
        " IN\n      Write the curve of file IN to user location N. The older models' scaling takes"
        "\n      its defaults unless a factor is given; --no-scaling sends the data unscaled."
        "\n      Exit 1 when the instrument did not take the whole curve or did not confirm it.",
    [](const Args& a) { return run_action(Action::Write, a); });
const Subcommand kDelete("delete",
                         "delete" + kOn + " --location N" +
                             "\n      Erase user location N of the instrument.",
                         [](const Args& a) { return run_action(Action::Delete, a); });

}  // namespace

}  // namespace kelvara::cli
