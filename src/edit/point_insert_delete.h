// "Insert A Point" and "Delete A Point": the choices both dialogs offer are built from the ten
// rows visible in the grid; after a change the grid is shown again at the same scroll position.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "curve/curve_record.h"
#include "curve/prompts.h"

namespace kelvara {

// "Insert A Point" before the dialog opens.
enum class InsertPrecheck {
    CurveFull,   // the message has been shown
    NoPair,      // no visible point has a successor: nothing happens
    OpenDialog,  // open insertapoint
};
InsertPrecheck insert_a_point_precheck(const CurveRecord& curve, int top_index, Prompts& prompts);

// Entries of insertapoint's pair list ("3 And 4") for the grid at top_index; rows 1..9 only.
std::vector<std::string> insert_pair_entries(const CurveRecord& curve, int top_index);

// Field checks of insertapoint when the user leaves a field; true = accept.
bool validate_insert_units_field(std::optional<double> value, Prompts& prompts);
bool validate_insert_temperature_field(std::optional<double> value, Prompts& prompts);

// insertapoint OK. selected_entry is the chosen pair, first_entry the list's first entry.
// Returns the scroll value the grid must take (then display_grid_data(value - 1) and close the
// dialog), or nullopt when a message was shown and the dialog stays open.
std::optional<int> insert_point_ok(CurveRecord& curve, const std::string& selected_entry,
                                   const std::string& first_entry, std::optional<double> units,
                                   std::optional<double> temperature, Prompts& prompts,
                                   Views& views);

// Entries of deleteapoint's list: the point numbers of all ten grid rows.
std::vector<std::string> delete_point_entries(int top_index);

// deleteapoint OK for the selected point number. Returns the scroll value the grid must take
// (the list's first entry). A point beyond the count changes nothing in the record.
int delete_point_ok(CurveRecord& curve, int point_number, int first_entry_number, Views& views);

// The point number an entry of either list starts with ("3 And 4" -> 3); nullopt if none.
std::optional<int> first_number_of_entry(const std::string& entry);

}  // namespace kelvara
