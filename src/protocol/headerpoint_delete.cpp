#include <string>

#include "protocol/headerpoint.h"
#include "protocol/headerpoint_wire.h"

namespace kelvara {

using detail::Pace;
using detail::Route;
using detail::Wire;

namespace {

struct DeleteRow {
    Route route;
    bool save_and_poll;  // TAZ: "CRVDEL n;CRVSAV" in one line, then "BUSY?" until ready
    Pace erase;
    Pace readback;
};

constexpr DeleteRow kTazDelete{Route::Chosen, true, {1.0, 1.0}, {0.1, 0.1}};
constexpr DeleteRow kDalDelete{Route::Rs232Only, false, {5.0, 5.0}, {0.3, 0.3}};
constexpr DeleteRow kFenDelete{Route::Chosen, false, {0.1, 0.3}, {0.1, 0.3}};
constexpr DeleteRow kMepDelete{Route::Chosen, false, {0.1, 0.1}, {0.1, 0.1}};
constexpr DeleteRow kObrDelete{Route::Chosen, false, {0.5, 2.0}, {0.1, 0.1}};

void delete_header_point_curve(Session& s, const DeleteRow& row) {
    Wire wire(s, row.route);
    if (!wire.check_interface()) return;
    const std::string n = detail::picked_curve_number(s.picks.remove);
    if (!wire.send("CRVDEL " + n + (row.save_and_poll ? ";CRVSAV" : ""))) return;
    wire.pause(row.erase);
    if (row.save_and_poll && !detail::poll_until_ready(s, wire)) return;
    detail::read_back_location(s, wire, n, row.readback, detail::Refresh::FromDelete);
}

}  // namespace

void delete_curve_from_taz(Session& s) {
    delete_header_point_curve(s, kTazDelete);
}
void delete_curve_from_dal(Session& s) {
    delete_header_point_curve(s, kDalDelete);
}
void delete_curve_from_fen(Session& s) {
    delete_header_point_curve(s, kFenDelete);
}
void delete_curve_from_mep(Session& s) {
    delete_header_point_curve(s, kMepDelete);
}
void delete_curve_from_obr(Session& s) {
    delete_header_point_curve(s, kObrDelete);
}

}  // namespace kelvara
