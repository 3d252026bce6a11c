// Pieces every kelvara-cli subcommand shares: the prompts that print to stderr, the --model
// option, and the JSON form of a curve.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "cli_commands.h"
#include "curve/curve_record.h"
#include "curve/header_fields.h"
#include "curve/model_profile.h"
#include "curve/prompts.h"

namespace kelvara::cli {

// Every message the window would show becomes one line on stderr. Questions are printed and
// answered Yes: running the command is the user's confirmation.
class StderrPrompts : public Prompts {
  public:
    explicit StderrPrompts(std::ostream& out);
    StderrPrompts();
    void message(const std::string& text, const std::string& title = kAppTitle) override;
    bool ask_yes_no(const std::string& text) override;

  private:
    std::ostream& out_;
};

// Text as it may reach a terminal: control bytes (and the C1 range a terminal may also obey)
// become \xNN, so a bad file or a garbled reply cannot move the cursor or change the terminal.
// Line ends inside a message stay.
std::string printable(std::string_view text);

// "TAZ", "qua", "QUA/RIL", ... as in the model table, any case.
std::optional<InstrumentModel> parse_model(std::string_view text);

// Removes "--model M" (or "--model=M") from args and stores the model. Returns a usage message
// when the option is missing, given twice, has no value or names no model.
std::optional<std::string> take_model_option(Args& args, InstrumentModel& model);

// The text as a JSON string literal, quotes included. Curve files are single-byte text, so bytes
// from 0x80 up are taken as Latin-1 characters.
std::string json_string(std::string_view text);

// One JSON object with the header as the window shows it and the points in use, e.g.
// {"model":"TAZ","name":"DT-470",...,"breakpoint_count":2,"points":[[0.1,300],[0.2,200]]}
void print_curve_json(std::ostream& out, InstrumentModel model, const CurveRecord& curve,
                      const HeaderFields& fields);

}  // namespace kelvara::cli
