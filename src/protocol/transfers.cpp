#include "protocol/transfers.h"

#include <string>
#include <vector>

#include "protocol/headerpoint.h"
#include "protocol/headerpoint_wire.h"
#include "protocol/older_procedures.h"
#include "protocol/write_plans.h"

namespace kelvara {

namespace {

using Procedure = TransferResult (*)(Session&);

Procedure read_procedure(ReadProcedure p) {
    switch (p) {
        case ReadProcedure::Taz:
            return read_curve_from_taz;
        case ReadProcedure::Dal:
            return read_curve_from_dal;
        case ReadProcedure::Fen:
            return read_curve_from_fen;
        case ReadProcedure::Mep:
            return read_curve_from_mep;
        case ReadProcedure::Obr:
            return read_curve_from_obr;
        case ReadProcedure::Hox:
            return read_curve_from_hox;
        case ReadProcedure::Kor:
            return read_curve_from_kor;
        case ReadProcedure::Lum:
            return read_curve_from_lum;
        case ReadProcedure::Nav:
            return read_curve_from_nav;
        case ReadProcedure::Elk:
            return read_curve_from_elk;
        case ReadProcedure::None:
            break;
    }
    return nullptr;
}

Procedure write_procedure(WriteProcedure p) {
    switch (p) {
        case WriteProcedure::Taz:
            return write_curve_to_taz;
        case WriteProcedure::Dal:
            return write_curve_to_dal;
        case WriteProcedure::Fen:
            return write_curve_to_fen;
        case WriteProcedure::Mep:
            return write_curve_to_mep;
        case WriteProcedure::Obr:
            return write_curve_to_obr;
        case WriteProcedure::Ril:
            return write_curve_to_ril;
        case WriteProcedure::Wun:
            return write_curve_to_wun;
        case WriteProcedure::Hox:
            return write_curve_to_hox;
        case WriteProcedure::Kor:
            return write_curve_to_kor;
        case WriteProcedure::Lum:
            return write_curve_to_lum;
        case WriteProcedure::Nav:
            return write_curve_to_nav;
        case WriteProcedure::Kip:
            return write_curve_to_kip;
        case WriteProcedure::Elk:
            return write_curve_to_elk;
        case WriteProcedure::None:
            break;
    }
    return nullptr;
}

Procedure delete_procedure(DeleteProcedure p) {
    switch (p) {
        case DeleteProcedure::Taz:
            return delete_curve_from_taz;
        case DeleteProcedure::Dal:
            return delete_curve_from_dal;
        case DeleteProcedure::Fen:
            return delete_curve_from_fen;
        case DeleteProcedure::Mep:
            return delete_curve_from_mep;
        case DeleteProcedure::Obr:
            return delete_curve_from_obr;
        case DeleteProcedure::Hox:
            return delete_curve_from_hox;
        case DeleteProcedure::Kor:
            return delete_curve_from_kor;
        case DeleteProcedure::Lum:
            return delete_curve_from_lum;
        case DeleteProcedure::Nav:
            return delete_curve_from_nav;
        case DeleteProcedure::Elk:
            return delete_curve_from_elk;
        case DeleteProcedure::None:
            break;
    }
    return nullptr;
}

// The window's refresh calls of a read, held back until the read has succeeded.
class DeferredViews : public Views {
  public:
    void update_graph() override { calls_.push_back(&Views::update_graph); }
    void update_graph_series2() override { calls_.push_back(&Views::update_graph_series2); }
    void show_grid_from_top() override { calls_.push_back(&Views::show_grid_from_top); }
    void replay(Views& views) const {
        for (auto call : calls_) (views.*call)();
    }

  private:
    std::vector<void (Views::*)()> calls_;
};

const ModelProfile* profile_of(const Session& s) {
    return find_profile(s.setup.model);
}

// What a cancelled write or delete has left: the location, or the HOX's one curve.
std::string cancelled_message(Session& s, const char* what, const ListField& list,
                              int sent_before) {
    if (s.link.commands_sent() == sent_before)
        return std::string(what) + " cancelled before anything was sent to the instrument.";
    const ModelProfile* p = profile_of(s);
    const std::string where =
        p && p->write_locations.empty()
            ? std::string("The instrument")
            : "Curve location " + detail::picked_curve_number(list) + " in the instrument";
    return std::string(what) + " cancelled. " + where + " may now hold a partial curve.";
}

}  // namespace

detail::Procedure detail::read_procedure_of(InstrumentModel model) {
    const ModelProfile* p = find_profile(model);
    return p ? read_procedure(p->read) : nullptr;
}

TransferResult run_read_transfer(Session& s) {
    const ModelProfile* p = profile_of(s);
    const Procedure procedure = p ? read_procedure(p->read) : nullptr;
    if (!procedure) return TransferResult::Done;
    // The read fills copies; only a whole curve replaces what the window shows.
    CurveRecord curve = s.curve;
    HeaderFields header = s.header;
    TransferState transfer = s.transfer;
    DeferredViews views;
    Session work{s.setup, curve,     header,     s.picks,   transfer,
                 s.link,  s.prompts, s.progress, s.scaling, views};
    const TransferResult result = procedure(work);
    if (result == TransferResult::Done) {
        s.curve = std::move(curve);
        s.header = std::move(header);
        s.transfer = std::move(transfer);
        views.replay(s.views);
    }
    if (result == TransferResult::Cancelled) s.prompts.message(kReadCancelled);
    detail::settle_link(s, result);
    return result;
}

TransferResult run_write_transfer(Session& s) {
    const ModelProfile* p = profile_of(s);
    const Procedure procedure = p ? write_procedure(p->write) : nullptr;
    if (!procedure) return TransferResult::Done;
    const int sent_before = s.link.commands_sent();
    const TransferResult result = procedure(s);
    if (result == TransferResult::Cancelled)
        s.prompts.message(cancelled_message(s, "Writing", s.picks.write, sent_before));
    detail::settle_link(s, result);
    return result;
}

TransferResult run_delete_transfer(Session& s) {
    const ModelProfile* p = profile_of(s);
    const Procedure procedure = p ? delete_procedure(p->remove) : nullptr;
    if (!procedure) return TransferResult::Done;
    const int sent_before = s.link.commands_sent();
    const TransferResult result = procedure(s);
    if (result == TransferResult::Cancelled)
        s.prompts.message(cancelled_message(s, "Deleting", s.picks.remove, sent_before));
    detail::settle_link(s, result);
    return result;
}

}  // namespace kelvara
