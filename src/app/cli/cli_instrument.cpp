// kelvara-cli list | read | write | delete: the instrument commands of the main window, run from
// the command line. The command itself is the user's confirmation; every message the window
// would show goes to stderr.
#include <unistd.h>

#include <charconv>
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

// Passes messages on to stderr and remembers whether one of them reported a failure. The two
// data-format notices are warnings: the transfer goes on after them.
class WatchingPrompts : public Prompts {
  public:
    explicit WatchingPrompts(Prompts& out) : out_(out) {}
    void message(const std::string& text, const std::string& title) override {
        static const std::set<std::string> warnings = {kFormatZeroWarning,
                                                       "Invalid data format number."};
        if (!warnings.contains(text)) failed = true;
        out_.message(text, title);
    }
    bool ask_yes_no(const std::string& text) override { return out_.ask_yes_no(text); }
    bool failed = false;

  private:
    Prompts& out_;
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
        std::cerr << "\r\033[K" << text << std::flush;
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
    for (size_t i = 0; i < args.size(); ++i) {
        std::string option = args[i];
        std::optional<std::string> value;
        if (const auto eq = option.find('='); option.starts_with("--") && eq != std::string::npos) {
            value = option.substr(eq + 1);
            option.resize(eq);
        }
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

int run_action(Action action, const Args& given) {
    const std::string who = std::string("kelvara-cli ") + name_of(action) + ": ";
    Request r;
    if (auto error = parse(action, given, r)) {
        std::cerr << who << *error << "\n";
        return 2;
    }
    const InstrumentModel model = r.connection.model;
    PickLists picks = PickLists::for_model(model);
    if (action != Action::List)
        if (auto error = pick_location(action, r, picks)) {
            std::cerr << who << *error << "\n";
            return 2;
        }

    StderrPrompts stderr_prompts;
    WatchingPrompts prompts(stderr_prompts);
    CurveRecord curve = CurveRecord::for_model(model);
    HeaderFields header = HeaderFields::for_model(model);
    if (action == Action::Write) {
        std::string reason;
        if (read_curve_file(r.path, model, curve, header, prompts, &reason) !=
            FileCommandResult::Done) {
            std::cerr << who << (reason.empty() ? "cannot read " + r.path : reason) << "\n";
            return 1;
        }
        prompts.failed = false;  // file notices are not transfer failures
    }

    Connection connection(r.connection, prompts);
    const bool open = connection.open();
    if (!connection.library_error().empty())
        std::cerr << who << "no GPIB library: " << connection.library_error() << "\n";
    if (!connection.adapter_error().empty()) std::cerr << who << connection.adapter_error() << "\n";
    if (!open) return 1;

    TransferState transfer;
    StderrProgress progress;
    NoViews views;
    Session session{connection.setup(), curve,   header,   picks,     transfer,
                    connection.link(),  prompts, progress, r.scaling, views};
    switch (action) {
        case Action::List:
            grab_curve_names(session);
            if (prompts.failed) return 1;
            for (const auto& entry : picks.read.entries) std::cout << entry << "\n";
            return 0;
        case Action::Read: {
            run_read_transfer(session);
            if (prompts.failed) return 1;
            if (curve.breakpoint_count == 0) {
                std::cerr << who << "the location holds no curve points; nothing written\n";
                return 1;
            }
            std::string reason;
            if (write_curve_file(r.path, model, curve, header, prompts, &reason) !=
                FileCommandResult::Done) {
                std::cerr << who << (reason.empty() ? "cannot write " + r.path : reason) << "\n";
                return 1;
            }
            return prompts.failed ? 1 : 0;
        }
        case Action::Write:
            run_write_transfer(session);
            return prompts.failed ? 1 : 0;
        case Action::Delete:
            run_delete_transfer(session);
            return prompts.failed ? 1 : 0;
    }
    return 1;
}

const std::string kOn = std::string(" ") + kConnectionUsage;

const Subcommand kList("list",
                       "list" + kOn +
                           "\n      Read the instrument's curve catalogue and print the read list's"
                           "\n      entries, one a line (\"21 - NAME  SERIAL\").",
                       [](const Args& a) { return run_action(Action::List, a); });
const Subcommand kRead(
    "read",
    "read" + kOn + " --location N OUT" +
        "\n      Read curve N from the instrument and write it to OUT, a curve file of"
        "\n      the model's family (.TAZ/.TZA, .NAV/.DUN or .HOX).",
    [](const Args& a) { return run_action(Action::Read, a); });
const Subcommand kWrite(
    "write",
    "write" + kOn +
        " --location N [--no-scaling | --units-offset X --units-factor X --temperature-factor X]"
        " IN\n      Write the curve of file IN to user location N. The older models' scaling takes"
        "\n      its defaults unless a factor is given; --no-scaling sends the data unscaled.",
    [](const Args& a) { return run_action(Action::Write, a); });
const Subcommand kDelete("delete",
                         "delete" + kOn + " --location N" +
                             "\n      Erase user location N of the instrument.",
                         [](const Args& a) { return run_action(Action::Delete, a); });

}  // namespace

}  // namespace kelvara::cli
