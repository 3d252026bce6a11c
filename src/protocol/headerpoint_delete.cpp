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

TransferResult delete_header_point_curve(Session& s, const DeleteRow& row) {
    Wire wire(s, row.route);
    if (!wire.check_interface()) return wire.result();
    const std::string n = detail::picked_curve_number(s.picks.remove);
    if (!wire.send("CRVDEL " + n + (row.save_and_poll ? ";CRVSAV" : "")) || !wire.pause(row.erase))
        return wire.result();
    bool saved = true;
    if (row.save_and_poll) {
        const std::optional<bool> ready = detail::poll_until_ready(s, wire);
        if (!ready) return wire.result();
        saved = *ready;
    }
    if (!detail::read_back_location(s, wire, n, row.readback, detail::Refresh::FromDelete))
        return wire.result();
    return saved ? wire.result() : wire.stop_with(kNotConfirmedSaved);
}

}  // namespace

TransferResult delete_curve_from_taz(Session& s) {
    return delete_header_point_curve(s, kTazDelete);
}
TransferResult delete_curve_from_dal(Session& s) {
    return delete_header_point_curve(s, kDalDelete);
}
TransferResult delete_curve_from_fen(Session& s) {
    return delete_header_point_curve(s, kFenDelete);
}
TransferResult delete_curve_from_mep(Session& s) {
    return delete_header_point_curve(s, kMepDelete);
}
TransferResult delete_curve_from_obr(Session& s) {
    return delete_header_point_curve(s, kObrDelete);
}

}  // namespace kelvara
