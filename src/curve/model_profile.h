// Everything that differs between instrument models lives in one table of ModelProfile rows.
// Code that needs a per-model fact looks it up here instead of switching on the model.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvara {

enum class InstrumentModel {
    DAL,
    FEN,
    GIR,
    HOX,
    KOR,
    LUM,
    MEP,
    NAV,
    OBR,
    PIX,
    QUA_RIL,
    TAZ,
    VEM,
    WUN,
    ZEK,
    KIP,
    DUN,
    ELK,
    Invalid,
};

enum class CurveFileFamily { TAZ_TYPE, NAV_TYPE, HOX_TYPE, None };

// How the main window shows the curve header for a model.
enum class HeaderStyle { HeaderPoint, Older, Hox };

// Which catalogue query fills the pick lists.
enum class CatalogueQuery { CrvHdr, Cuid, Xdt, None };

// The transfer procedures, named after the model whose procedure is shared.
enum class ReadProcedure { Taz, Dal, Fen, Mep, Obr, Hox, Kor, Lum, Nav, Elk, None };
enum class WriteProcedure { Taz, Dal, Fen, Mep, Obr, Ril, Wun, Hox, Kor, Lum, Nav, Kip, Elk, None };
enum class DeleteProcedure { Taz, Dal, Fen, Mep, Obr, Hox, Kor, Lum, Nav, Elk, None };

struct SerialSettings {
    int baud = 9600;
    char parity = 'O';  // 'O' odd, 'E' even, 'N' none
    int data_bits = 7;
    int stop_bits = 1;
    std::string text() const;  // "9600,O,7,1"
};

struct ModelProfile {
    InstrumentModel model;
    std::string_view designation;        // "TAZ", "QUA/RIL"
    std::string_view selection_caption;  // option caption of the instrument-selection dialog
    std::string_view setup_title;        // communication dialog heading
    std::string_view setup_text;         // instrument set-up text shown for RS-232
    CurveFileFamily family;
    int max_breakpoints;
    bool gpib_allowed;  // false: the communication dialog disables GPIB and preselects RS-232

    // Identification.
    std::string_view ping;  // "*IDN?" or "W2"
    bool gpib_ping_listed;  // false: GPIB opening first says the model is unknown
    std::vector<std::string_view> accepted_ids;  // substrings of the *IDN? model field
    bool ping_reply_needs_comma;                 // W2 instruments: any reply holding a comma passes
    SerialSettings serial;

    // Main-window configuration.
    HeaderStyle header_style;
    std::vector<std::string_view> combo1_entries;  // data formats or conversion names
    int interpolation_preselect;                   // -1: list not filled
    bool interpolation_visible;

    // Curve locations.
    std::vector<int> read_locations;
    std::vector<int> write_locations;  // also the delete list

    // Instrument protocol dispatch.
    CatalogueQuery catalogue;
    ReadProcedure read;
    WriteProcedure write;
    DeleteProcedure remove;
};

// The 18 selectable models, in the order of the instrument-selection dialog.
const std::vector<ModelProfile>& model_profiles();

// nullptr for InstrumentModel::Invalid.
const ModelProfile* find_profile(InstrumentModel model);
const ModelProfile& profile(InstrumentModel model);  // throws std::out_of_range for Invalid

// "TAZ" -> TAZ; "QUA/RIL", "QUA" and "RIL" -> QUA_RIL; case-insensitive; nullopt otherwise.
std::optional<InstrumentModel> model_from_designation(std::string_view text);

// Designation, or "" for Invalid.
std::string_view designation(InstrumentModel model);

int max_breakpoints_of(InstrumentModel model);  // 0 for Invalid
CurveFileFamily family_of(InstrumentModel model);

}  // namespace kelvara
