#include "curve/model_profile.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace kelvara {

std::string SerialSettings::text() const {
    return std::to_string(baud) + "," + parity + "," + std::to_string(data_bits) + "," +
           std::to_string(stop_bits);
}

namespace {

std::vector<int> range(int first, int last) {
    std::vector<int> out;
    for (int i = first; i <= last; ++i) out.push_back(i);
    return out;
}

std::vector<int> join(std::vector<int> a, const std::vector<int>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

constexpr std::string_view kNoSetup = "NO INSTRUMENT SETUP NEEDED.";
constexpr std::string_view k9600Factory = "SET INSTRUMENT TO: 9600 BITS/SEC (FACTORY DEFAULT)";
constexpr std::string_view k1200 = "SET INSTRUMENT TO: 1200 BITS/SEC";
constexpr std::string_view k1200Odd = "SET INSTRUMENT TO: 1200 BITS/SEC, ODD PARITY, 1 STOP";

const std::vector<std::string_view> kVoltsOhmsLog = {"Volts vs. Kelvin", "Ohms vs. Kelvin",
                                                     "Log Ohms vs. Kelvin"};
const std::vector<std::string_view> kFourFormats = {"MilliVolts vs. Kelvin", "Volts vs. Kelvin",
                                                    "Ohms vs. Kelvin", "Log Ohms vs. Kelvin"};
const std::vector<std::string_view> kFiveFormats = {"MilliVolts vs. Kelvin", "Volts vs. Kelvin",
                                                    "Ohms vs. Kelvin", "Log Ohms vs. Kelvin",
                                                    "Log Ohms vs. Log Kelvin"};
const std::vector<std::string_view> kZekFormats = {"Ohms vs. Kelvin", "Log Ohms vs. Kelvin"};
const std::vector<std::string_view> kKorConversions = {"No Conversion", "Ohms/100 (e.g., Platinum)",
                                                       "(MilliVolts+15)*100 (e.g., Thermocouple)"};
const std::vector<std::string_view> kLumConversions = {
    "No Conversion", "Ohms/100 (e.g., Platinum)",
    "(MilliVolts+45)*100, Kelvin/2 (e.g., Thermocouple)"};
const std::vector<std::string_view> kNavConversions = {
    "No Conversion", "Ohms/100 (e.g., Platinum)", "(MilliVolts+15)*100 (e.g., Thermocouple)",
    "(MilliVolts+45)*100, Kelvin/2 (e.g., Thermocouple)"};
const std::vector<std::string_view> kKipConversions = {
    "No Conversion", "Ohms/100 (e.g., Platinum)", "Ohms/1000 (e.g., Platinum)",
    "Ohms*3/100 (e.g., Rhodium-Iron)", "(MilliVolts+15)*100 (e.g., Thermocouple)"};

const SerialSettings k9600{9600, 'O', 7, 1};
const SerialSettings k9600N8{9600, 'N', 8, 1};
const SerialSettings k1200O{1200, 'O', 7, 1};
const SerialSettings k57600{57600, 'O', 7, 1};

using IM = InstrumentModel;
using HS = HeaderStyle;
using CQ = CatalogueQuery;
using RP = ReadProcedure;
using WP = WriteProcedure;
using DP = DeleteProcedure;
constexpr auto TAZF = CurveFileFamily::TAZ_TYPE;
constexpr auto NAVF = CurveFileFamily::NAV_TYPE;

std::vector<ModelProfile> build_table() {
    const auto idn = std::string_view("*IDN?");
    std::vector<ModelProfile> t;
    // clang-format off
    t.push_back({IM::DAL, "DAL", "Tessaly Model DAL", "TESSALY MODEL DAL", kNoSetup, TAZF, 200, false,
                 idn, false, {"DAL"}, false, k9600, HS::HeaderPoint, kVoltsOhmsLog, -1, false,
                 {1, 2, 3, 6, 7, 21}, {21}, CQ::CrvHdr, RP::Dal, WP::Dal, DP::Dal});
    t.push_back({IM::FEN, "FEN", "Tessaly Model FEN", "TESSALY MODEL FEN", k9600Factory, TAZF, 200, true,
                 idn, true, {"FEN"}, false, k9600, HS::HeaderPoint, kVoltsOhmsLog, -1, false,
                 join(range(1, 9), range(21, 28)), range(21, 28), CQ::CrvHdr, RP::Fen, WP::Fen, DP::Fen});
    t.push_back({IM::GIR, "GIR", "Tessaly Model GIR", "TESSALY MODEL GIR", kNoSetup, TAZF, 200, true,
                 idn, true, {"GIR"}, false, k57600, HS::HeaderPoint, kFourFormats, -1, false,
                 range(1, 59), range(21, 59), CQ::CrvHdr, RP::Obr, WP::Ril, DP::Obr});
    t.push_back({IM::HOX, "HOX", "Tessaly Model HOX/HOXR", "TESSALY MODEL HOX/HOXR", kNoSetup,
                 CurveFileFamily::HOX_TYPE, 192, false,
                 idn, true, {"HOX"}, false, k9600N8, HS::Hox, {"Log Ohms vs. Kelvin"}, -1, false,
                 {}, {}, CQ::None, RP::Hox, WP::Hox, DP::Hox});
    t.push_back({IM::KOR, "KOR", "Tessaly Model KOR", "TESSALY MODEL KOR", k1200, NAVF, 97, false,
                 idn, true, {"KOR"}, false, k1200O, HS::Older, kKorConversions, 0, false,
                 range(0, 11), {11}, CQ::Cuid, RP::Kor, WP::Kor, DP::Kor});
    t.push_back({IM::LUM, "LUM", "Tessaly Model LUM", "TESSALY MODEL LUM", k1200, NAVF, 97, false,
                 idn, true, {"LUM"}, false, k1200O, HS::Older, kLumConversions, 0, false,
                 range(0, 12), {11}, CQ::Cuid, RP::Lum, WP::Lum, DP::Lum});
    t.push_back({IM::MEP, "MEP", "Tessaly Model MEP", "TESSALY MODEL MEP", k9600Factory, TAZF, 200, true,
                 idn, true, {"MEP"}, false, k9600, HS::HeaderPoint, kFourFormats, -1, false,
                 range(1, 35), range(21, 35), CQ::CrvHdr, RP::Mep, WP::Mep, DP::Mep});
    t.push_back({IM::NAV, "NAV", "Tessaly Model NAV", "TESSALY MODEL NAV", k1200, NAVF, 97, true,
                 idn, true, {"NAV"}, false, k1200O, HS::Older, kNavConversions, 2, false,
                 range(0, 31), range(11, 31), CQ::Cuid, RP::Nav, WP::Nav, DP::Nav});
    t.push_back({IM::OBR, "OBR", "Tessaly Model OBR", "TESSALY MODEL OBR", k9600Factory, TAZF, 200, true,
                 idn, true, {"OBR"}, false, k9600, HS::HeaderPoint, kFourFormats, -1, false,
                 range(0, 41), range(21, 41), CQ::CrvHdr, RP::Obr, WP::Obr, DP::Obr});
    t.push_back({IM::PIX, "PIX", "Tessaly Model PIX", "TESSALY MODEL PIX", k9600Factory, TAZF, 200, true,
                 idn, true, {"PIX"}, false, k9600, HS::HeaderPoint, kFourFormats, -1, false,
                 range(0, 41), range(21, 41), CQ::CrvHdr, RP::Obr, WP::Obr, DP::Obr});
    t.push_back({IM::QUA_RIL, "QUA/RIL", "Tessaly Model QUA/RIL", "TESSALY MODEL QUA/RIL", kNoSetup, TAZF, 200, true,
                 idn, true, {"RIL", "QUA"}, false, k57600, HS::HeaderPoint, kFourFormats, -1, false,
                 range(1, 59), range(21, 59), CQ::CrvHdr, RP::Obr, WP::Ril, DP::Obr});
    t.push_back({IM::TAZ, "TAZ", "Tessaly Model TAZ", "TESSALY MODEL TAZ",
                 "SET INSTRUMENT TO: 9600 BITS/SEC, 7 DATA, ODD PARITY, 1 STOP, 'CARRIAGE RETURN LINEFEED' (FACTORY DEFAULT)",
                 TAZF, 200, true,
                 idn, true, {"TAZ"}, false, k9600, HS::HeaderPoint, kFiveFormats, -1, false,
                 range(0, 60), range(21, 60), CQ::CrvHdr, RP::Taz, WP::Taz, DP::Taz});
    t.push_back({IM::VEM, "VEM", "Tessaly Model VEM", "TESSALY MODEL VEM", kNoSetup, TAZF, 200, true,
                 idn, true, {"YIB", "VEM", "ZEK"}, false, k57600, HS::HeaderPoint, kFourFormats, -1, false,
                 range(1, 59), range(21, 59), CQ::CrvHdr, RP::Obr, WP::Ril, DP::Obr});
    t.push_back({IM::WUN, "WUN", "Tessaly Model WUN", "TESSALY MODEL WUN", k9600Factory, TAZF, 200, true,
                 idn, true, {"WUN"}, false, k9600, HS::HeaderPoint, kFourFormats, -1, false,
                 range(1, 20), range(1, 20), CQ::CrvHdr, RP::Obr, WP::Wun, DP::Obr});
    t.push_back({IM::ZEK, "ZEK", "Tessaly Model ZEK", "TESSALY MODEL ZEK",
                 "SET INSTRUMENT TO: 57600 BITS/SEC (FACTORY DEFAULT)", TAZF, 200, true,
                 idn, true, {"ZEK"}, false, k57600, HS::HeaderPoint, kZekFormats, -1, false,
                 range(1, 59), range(21, 59), CQ::CrvHdr, RP::Obr, WP::Wun, DP::Obr});
    t.push_back({IM::KIP, "KIP", "Tessaly Model KIP", "TESSALY MODEL KIP", k1200Odd, NAVF, 97, true,
                 "W2", true, {}, true, k1200O, HS::Older, kKipConversions, 2, true,
                 range(0, 15), range(4, 15), CQ::Xdt, RP::Elk, WP::Kip, DP::Elk});
    t.push_back({IM::DUN, "DUN", "Tessaly Model DUN/DUNR", "TESSALY MODEL DUN/DUNR", k1200Odd, NAVF, 97, true,
                 "W2", true, {}, true, k1200O, HS::Older, kKipConversions, 2, true,
                 range(0, 31), range(6, 31), CQ::Xdt, RP::Elk, WP::Elk, DP::Elk});
    t.push_back({IM::ELK, "ELK", "Tessaly Model ELK/ELKR", "TESSALY MODEL ELK/ELKR", k1200Odd, NAVF, 97, true,
                 "W2", true, {}, true, k1200O, HS::Older, kKipConversions, 2, true,
                 range(0, 31), range(6, 31), CQ::Xdt, RP::Elk, WP::Elk, DP::Elk});
    // clang-format on
    return t;
}

}  // namespace

const std::vector<ModelProfile>& model_profiles() {
    static const std::vector<ModelProfile> table = build_table();
    return table;
}

const ModelProfile* find_profile(InstrumentModel model) {
    for (const auto& p : model_profiles())
        if (p.model == model) return &p;
    return nullptr;
}

const ModelProfile& profile(InstrumentModel model) {
    const ModelProfile* p = find_profile(model);
    if (!p) throw std::out_of_range("Invalid instrument model number.");
    return *p;
}

std::optional<InstrumentModel> model_from_designation(std::string_view text) {
    std::string up;
    for (char c : text) up += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (up == "QUA" || up == "RIL") return InstrumentModel::QUA_RIL;
    for (const auto& p : model_profiles())
        if (p.designation == up) return p.model;
    return std::nullopt;
}

std::string_view designation(InstrumentModel model) {
    const ModelProfile* p = find_profile(model);
    return p ? p->designation : std::string_view();
}

int max_breakpoints_of(InstrumentModel model) {
    const ModelProfile* p = find_profile(model);
    return p ? p->max_breakpoints : 0;
}

CurveFileFamily family_of(InstrumentModel model) {
    const ModelProfile* p = find_profile(model);
    return p ? p->family : CurveFileFamily::None;
}

}  // namespace kelvara
