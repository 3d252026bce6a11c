#include "protocol/catalogue.h"

#include <algorithm>
#include <cctype>
#include <optional>

#include "curve/next_field.h"
#include "curve/number_format.h"
#include "protocol/headerpoint.h"
#include "protocol/headerpoint_wire.h"
#include "protocol/transfers.h"

namespace kelvara {

std::string curve_number_field(const std::string& entry) {
    int position = 1;
    return next_field(entry, position);
}

int find_entry_by_number(const ListField& list, double n) {
    for (size_t i = 0; i < list.entries.size(); ++i)
        if (parse_leading_number(curve_number_field(list.entries[i])) == n)
            return static_cast<int>(i);
    return -1;
}

int find_entry_by_first_two(const ListField& list, double n) {
    for (size_t i = 0; i < list.entries.size(); ++i)
        if (parse_leading_number(list.entries[i].substr(0, 2)) == n) return static_cast<int>(i);
    return -1;
}

std::string trim_reply_field(const std::string& field) {
    const size_t first = field.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return {};
    return field.substr(first, field.find_last_not_of(" \t\r\n") - first + 1);
}

std::pair<std::string, std::string> name_and_serial(const std::string& reply) {
    const size_t first = reply.find(',');
    if (first == std::string::npos) return {trim_reply_field(reply), ""};
    const size_t second = reply.find(',', first + 1);
    const size_t serial_len = second == std::string::npos ? std::string::npos : second - first - 1;
    return {trim_reply_field(reply.substr(0, first)),
            trim_reply_field(reply.substr(first + 1, serial_len))};
}

std::string header_point_entry(const std::string& n, const std::string& name,
                               const std::string& serial) {
    return n + " - " + name + "  " + serial;
}

namespace {

void replace_at(ListField& list, int position, const std::string& entry, bool select) {
    if (position < 0 || position >= static_cast<int>(list.entries.size())) return;
    list.entries[position] = entry;
    if (select) list.selected = position;
}

// After a catalogue entry of the read list was rewritten: the same location in the delete and
// write lists (which hold the same numbers in the same order).
void mirror_into_user_lists(PickLists& picks, double n, const std::string& entry) {
    const int j = find_entry_by_number(picks.remove, n);
    if (j < 0) return;
    replace_at(picks.remove, j, entry, false);
    replace_at(picks.write, j, entry, false);
}

void select_first_entries(PickLists& picks) {
    for (ListField* l : {&picks.read, &picks.write, &picks.remove})
        l->selected = l->entries.empty() ? -1 : 0;
}

void catalogue_header_point(Session& s, detail::Wire& wire) {
    ListField& read = s.picks.read;
    for (size_t i = 0; i < read.entries.size(); ++i) {
        const std::string n = curve_number_field(read.entries[i]);
        if (!wire.interface_named()) continue;
        if (!wire.send_query("CRVHDR? " + n, {0.1, 0.3})) return;
        const std::optional<std::string> reply = wire.read();
        if (!reply) return;
        // A garbled answer stops the catalogue like a silent one: the entries already named
        // stay, and no selection is set.
        if (!detail::header_reply_parses(*reply)) return (void)wire.fail();
        const auto [name, serial] = name_and_serial(*reply);
        const std::string entry = header_point_entry(n, name, serial);
        read.entries[i] = entry;
        mirror_into_user_lists(s.picks, parse_leading_number(n), entry);
    }
    select_first_entries(s.picks);
}

// Sends a catalogue query of the older instruments and takes its reply: "" when the interface
// is neither GPIB nor RS-232 (the message is shown), nullopt when the exchange failed.
std::optional<std::string> ask_catalogue(detail::Wire& wire, const std::string& query,
                                         double serial_pause, const char* failure) {
    constexpr int kCatalogueReply = 1000;
    if (!wire.interface_named()) return std::string();
    if (!wire.send_query(query, {0.1, serial_pause}, failure)) return std::nullopt;
    return wire.read(kCatalogueReply, failure);
}

// Cuts the text up to the next comma out of rest (the comma dropped too); nullopt when there is
// no comma left.
std::optional<std::string> take_field(std::string& rest) {
    const size_t comma = rest.find(',');
    if (comma == std::string::npos) return std::nullopt;
    std::string field = rest.substr(0, comma);
    rest.erase(0, comma + 1);
    return field;
}

// Drops one field; a last field without its comma is dropped whole.
void drop_field(std::string& rest) {
    if (!take_field(rest)) rest.clear();
}

void name_older_location(PickLists& picks, const std::string& number, const std::string& name) {
    const std::string n = trim_reply_field(number);
    // The read list is searched by an entry's first two characters, so only a curve number of
    // one or two digits names a location; any other text ("5E-1010", worth 0) would begin an
    // entry whose first two characters a later record takes for another location.
    if (n.empty() || n.size() > 2 ||
        !std::all_of(n.begin(), n.end(), [](unsigned char c) { return std::isdigit(c); }))
        return;
    const double value = parse_leading_number(n);
    const std::string entry = n + " - " + name;
    const int i = find_entry_by_first_two(picks.read, value);
    if (i >= 0) picks.read.entries[i] = entry;
    mirror_into_user_lists(picks, value, entry);
}

void catalogue_cuid(Session& s, detail::Wire& wire) {
    const auto reply = ask_catalogue(wire, "CUID?", 1.1, kProblemTalking);
    if (!reply) return;
    std::string rest = *reply;
    while (rest.find(',') != std::string::npos) {
        const std::string number = *take_field(rest);
        rest.erase(0, std::min<size_t>(3, rest.size()));
        const auto name = take_field(rest);
        if (!name) break;  // the record ends before its name: ignore it
        drop_field(rest);
        drop_field(rest);
        name_older_location(s.picks, number, trim_reply_field(*name));
    }
    select_first_entries(s.picks);
}

void catalogue_xdt(Session& s, detail::Wire& wire) {
    const auto reply =
        ask_catalogue(wire, "XDT", 6.0, "Problem talking to instrument, XDT command.");
    if (!reply) return;
    std::string rest = *reply;
    drop_field(rest);
    drop_field(rest);
    double current = -1;
    for (;;) {
        const double previous = current;
        const size_t comma = rest.find(',');
        if (comma == std::string::npos) break;
        const std::string number = rest.substr(0, comma);
        current = parse_leading_number(number);
        if (!(current > previous)) break;
        // The curve number is the first of the three fields before the name.
        for (int k = 0; k < 3; ++k) drop_field(rest);
        const auto name = take_field(rest);
        if (!name) break;  // incomplete record
        name_older_location(s.picks, number, trim_reply_field(*name));
    }
    select_first_entries(s.picks);
}

}  // namespace

void refresh_location_entry(PickLists& picks, PickedIn picked, const std::string& n,
                            const std::string& entry) {
    const int r = find_entry_by_number(picks.read, parse_leading_number(n));
    if (r < 0) return;
    ListField& chosen = picked == PickedIn::Write ? picks.write : picks.remove;
    ListField& twin = picked == PickedIn::Write ? picks.remove : picks.write;
    const int j = chosen.selected;
    replace_at(picks.read, r, entry, true);
    replace_at(chosen, j, entry, true);
    replace_at(twin, j, entry, true);
}

namespace detail {

void read_catalogue(Wire& wire) {
    Session& s = wire.session();
    const ModelProfile* p = find_profile(s.setup.model);
    if (!p) return;
    switch (p->catalogue) {
        case CatalogueQuery::CrvHdr:
            catalogue_header_point(s, wire);
            break;
        case CatalogueQuery::Cuid:
            catalogue_cuid(s, wire);
            break;
        case CatalogueQuery::Xdt:
            catalogue_xdt(s, wire);
            break;
        case CatalogueQuery::None:
            break;
    }
    // Offline the catalogue has said so already; it has read nothing.
    const Interface bus = s.setup.interface;
    if (bus != Interface::GPIB && bus != Interface::RS232) wire.mark_failed();
}

}  // namespace detail

TransferResult grab_curve_names(Session& s) {
    detail::Wire wire(s);
    detail::read_catalogue(wire);
    if (wire.result() == TransferResult::Cancelled) s.prompts.message(kCatalogueCancelled);
    detail::settle_link(s, wire.result());
    return wire.result();
}

}  // namespace kelvara
