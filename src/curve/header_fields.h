// The main window's curve-header fields as plain data. Readers fill it and writers read it
// exactly as they fill and read the window's fields; the window binds it to its widgets.
// Numbers in setpoint_text are kept with "." as the decimal point; the window converts to and
// from the user's locale when it shows or takes the text.
#pragma once

#include <string>
#include <vector>

#include "curve/model_profile.h"
#include "curve/prompts.h"

namespace kelvara {

struct ListField {
    std::vector<std::string> entries;
    int selected = -1;  // -1: nothing selected
    bool visible = true;

    std::string text() const;                  // the selected entry, or ""
    int find(const std::string& entry) const;  // first position with exactly this text, or -1

    friend bool operator==(const ListField&, const ListField&) = default;
};

inline const std::vector<std::string> kSetpointEntries = {"325", "375", "475",
                                                          "800", "999", "1273"};
inline const std::vector<std::string> kInterpolationEntries = {"Lagrangian", "Straight Line",
                                                               "Unknown"};

struct HeaderFields {
    std::string name;  // Text31
    bool name_visible = true;
    std::string serial_number;        // Text32
    std::string data_format_caption;  // Label4
    ListField data_format;            // Combo1: data formats, or the older models' conversions
    std::string setpoint_text;        // Text33 (header/point models and HOX)
    bool setpoint_text_visible = true;
    ListField setpoint_list;    // Combo5 (older models): "325" .. "1273"
    ListField interpolation;    // Combo2: "Lagrangian", "Straight Line", "Unknown"
    bool thermocouple = false;  // Check1
    bool thermocouple_visible = false;

    // The fields as the start-up leaves them for a model (lists filled, first entries selected).
    static HeaderFields for_model(InstrumentModel model);

    // "Setpoint Limit" as a user would read it: the text field, or the selected list entry.
    std::string setpoint_shown() const;

    friend bool operator==(const HeaderFields&, const HeaderFields&) = default;
};

// Selects the entry named by the code; outside 1..5 shows "Invalid data format number." and looks
// for the empty entry. When no entry matches, the selection stays as it was.
void select_data_format(HeaderFields& fields, int code, Prompts& prompts);

// Code of the selected data-format entry, 0 when it is none of the five names.
int data_format_from_selection(const HeaderFields& fields);

}  // namespace kelvara
