#include "protocol/transfers.h"

#include "protocol/headerpoint.h"
#include "protocol/older_procedures.h"

namespace kelvara {

namespace {

using Procedure = void (*)(Session&);

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

void run(Session& s, Procedure p) {
    if (p) p(s);
}

}  // namespace

void run_read_transfer(Session& s) {
    if (const ModelProfile* p = find_profile(s.setup.model)) run(s, read_procedure(p->read));
}

void run_write_transfer(Session& s) {
    if (const ModelProfile* p = find_profile(s.setup.model)) run(s, write_procedure(p->write));
}

void run_delete_transfer(Session& s) {
    if (const ModelProfile* p = find_profile(s.setup.model)) run(s, delete_procedure(p->remove));
}

}  // namespace kelvara
