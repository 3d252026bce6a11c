#include "curve/header_fields.h"

#include "curve/data_format.h"

namespace kelvara {

std::string ListField::text() const {
    if (selected < 0 || selected >= static_cast<int>(entries.size())) return {};
    return entries[selected];
}

int ListField::find(const std::string& entry) const {
    for (size_t i = 0; i < entries.size(); ++i)
        if (entries[i] == entry) return static_cast<int>(i);
    return -1;
}

HeaderFields HeaderFields::for_model(InstrumentModel model) {
    HeaderFields f;
    f.data_format_caption = "Data Format";
    f.setpoint_list.visible = false;
    const ModelProfile* p = find_profile(model);
    if (!p) {
        // Unknown model: one empty data-format entry, no interpolation list.
        f.data_format.entries = {""};
        f.data_format.selected = 0;
        f.interpolation.visible = false;
        return f;
    }
    for (auto e : p->combo1_entries) f.data_format.entries.emplace_back(e);
    f.data_format.selected = f.data_format.entries.empty() ? -1 : 0;
    switch (p->header_style) {
        case HeaderStyle::HeaderPoint:
            f.interpolation.visible = false;
            break;
        case HeaderStyle::Older:
            f.setpoint_text_visible = false;
            f.setpoint_list.entries = kSetpointEntries;
            f.setpoint_list.selected = 0;
            f.setpoint_list.visible = true;
            f.data_format_caption = "Data Conversion To/From Instrument";
            f.data_format.visible = false;
            f.thermocouple_visible = true;
            f.interpolation.entries = kInterpolationEntries;
            f.interpolation.selected = p->interpolation_preselect;
            f.interpolation.visible = p->interpolation_visible;
            break;
        case HeaderStyle::Hox:
            f.data_format.visible = false;
            f.name_visible = false;
            f.interpolation.visible = false;
            f.setpoint_text_visible = false;
            break;
    }
    return f;
}

std::string HeaderFields::setpoint_shown() const {
    if (setpoint_text_visible) return setpoint_text;
    if (setpoint_list.visible) return setpoint_list.text();
    return {};
}

void select_data_format(HeaderFields& fields, int code, Prompts& prompts) {
    std::string wanted;
    if (code >= 1 && code <= 5) {
        wanted = std::string(data_format_name(code));
    } else {
        prompts.message("Invalid data format number.");
    }
    int pos = fields.data_format.find(wanted);
    if (pos >= 0) fields.data_format.selected = pos;
}

int data_format_from_selection(const HeaderFields& fields) {
    return data_format_code(fields.data_format.text());
}

}  // namespace kelvara
