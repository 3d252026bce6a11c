#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "curve/curve_record.h"
#include "curve/number_format.h"
#include "sim/command_sets.h"

using kelvara::InstrumentModel;
using kelvara::sim::Instrument;

namespace {

std::string strip(std::string reply) {
    EXPECT_TRUE(reply.ends_with("\r\n")) << reply;
    if (reply.ends_with("\r\n")) reply.resize(reply.size() - 2);
    return reply;
}

using kelvara::trim_blanks;
std::vector<std::string> fields(const std::string& text) {
    return kelvara::sim::split_fields(text);
}

// The catalogue's cutting of a "CUID?" reply: number, 3 characters dropped, name, two more
// fields dropped; location -> name.
std::map<int, std::string> cut_cuid(std::string rest) {
    std::map<int, std::string> out;
    while (rest.find(',') != std::string::npos) {
        const auto comma = rest.find(',');
        const int number = std::stoi(rest.substr(0, comma));
        rest = rest.substr(comma + 1);
        rest = rest.size() > 3 ? rest.substr(3) : "";
        const auto end = rest.find(',');
        out[number] = trim_blanks(rest.substr(0, end));
        for (int drop = 0; drop < 3; ++drop) {
            const auto c = rest.find(',');
            rest = c == std::string::npos ? "" : rest.substr(c + 1);
        }
    }
    return out;
}

// The catalogue's cutting of an "XDT" reply: two fields dropped, then records of number, two
// more dropped fields and a name while the numbers increase.
std::map<int, std::string> cut_xdt(const std::string& reply) {
    auto f = fields(reply);
    std::map<int, std::string> out;
    int previous = -1;
    for (std::size_t i = 2; i + 3 < f.size(); i += 4) {
        const int current = static_cast<int>(kelvara::parse_leading_number(f[i]));
        if (current <= previous) break;
        out[current] = trim_blanks(f[i + 3]);
        previous = current;
    }
    return out;
}

// The free-memory query's cutting: first field without its last 11 characters.
int bytes_free(const std::string& reply) {
    const auto first = reply.substr(0, reply.find(','));
    if (reply.find(',') == std::string::npos || first.size() < 11) return 0;
    return *kelvara::to_int32(first.substr(0, first.size() - 11));
}

struct KcurForms {
    InstrumentModel model;
    int location;
    const char* erase;
    const char* header;
    const char* append;
    const char* query;
};

}  // namespace

TEST(KcurCommands, EachModelsFormsStoreAndReadBack) {
    const KcurForms forms[] = {
        {InstrumentModel::KOR, 11, "KCUR11",
         "CURV11,S10PLATINUM1SN0001,0.10000,300.0,0.20000,200.0*", "ECUR11,0.30000,100.0",
         "CURV? 11"},
        {InstrumentModel::LUM, 11, "KCUR11",
         "CURV 11,S10PLATINUM1SN0001,0.10000,300.0,0.20000,200.0*", "ECUR11,0.30000,100.0",
         "CURV? 11"},
        {InstrumentModel::NAV, 12, "KCUR 12",
         "CURV 12,S10PLATINUM1SN0001,0.10000,300.0,0.20000,200.0*", "ECUR 12,0.30000,100.0",
         "CURV? 12"},
    };
    for (const auto& f : forms) {
        SCOPED_TRACE(f.header);
        Instrument in(f.model);
        EXPECT_EQ(in.handle(f.erase), "");
        EXPECT_EQ(in.handle(f.header), "");
        EXPECT_EQ(in.handle(f.append), "");
        // Falling temperatures: "N"; 3 points plus the instrument's own two pairs.
        EXPECT_EQ(strip(in.handle(f.query)),
                  std::to_string(f.location) +
                      ",S10PLATINUM1SN0001,N,5,0.00000,000.0,0.10000,300.0,0.20000,200.0,0.30000,"
                      "100.0,9.99999,000.0");
        in.handle(f.erase);
        EXPECT_EQ(strip(in.handle(f.query)), "-1,NO CURVE");
    }
}

TEST(KcurCommands, ReplyCutsLikeTheReaderAndRefusesFactoryLocations) {
    Instrument in(InstrumentModel::NAV);
    in.handle("CURV 05,S20ABC,1.0,2.0,3.0,4.0*");  // 5 is a factory location
    const std::string factory = strip(in.handle("CURV? 5"));
    EXPECT_EQ(factory.substr(0, 3), "05,");
    EXPECT_EQ(factory.find("ABC"), std::string::npos);
    in.handle("KCUR 5");
    EXPECT_EQ(strip(in.handle("CURV? 5")), factory);

    // A short name is kept unpadded: the reader's 9-character split then runs into the serial.
    in.handle("CURV 20,S21DT1SN12,0.5,10.0,0.6,20.0*");
    const auto f = fields(strip(in.handle("CURV? 20")));
    ASSERT_GE(f.size(), 4u);
    EXPECT_EQ(f[1], "S21DT1SN12");
    EXPECT_EQ(f[2], "P");
    EXPECT_EQ(f[3], "4");
}

TEST(KcurCommands, FreeMemoryShrinksAndAFullMemoryRefusesPoints) {
    Instrument in(InstrumentModel::NAV);
    const int before = std::stoi(strip(in.handle("FREE?")));
    in.handle("CURV 11,S00A,1,2,3,4*");
    const int after_header = std::stoi(strip(in.handle("FREE?")));
    in.handle("ECUR 11,5,6");
    const int after_point = std::stoi(strip(in.handle("FREE?")));
    EXPECT_EQ(before - after_header, Instrument::kHeaderBytes + 2 * Instrument::kPointBytes);
    EXPECT_EQ(after_header - after_point, Instrument::kPointBytes);

    in.memory_bytes = Instrument::kHeaderBytes + 3 * Instrument::kPointBytes;
    EXPECT_EQ(strip(in.handle("FREE?")), "0");
    in.handle("ECUR 11,7,8");
    EXPECT_EQ(in.curve(11)->points.size(), 3u);
    in.handle("CURV 12,S00B,1,2,3,4*");
    EXPECT_EQ(in.curve(12), nullptr);
}

TEST(CatalogueCommands, CuidCutsIntoEveryStoredLocationsName) {
    for (InstrumentModel model :
         {InstrumentModel::KOR, InstrumentModel::LUM, InstrumentModel::NAV}) {
        SCOPED_TRACE(std::string(kelvara::designation(model)));
        Instrument in(model);
        in.handle(model == InstrumentModel::KOR ? "CURV11,S10MYCURVE12SN9,1,2,3,4*"
                                                : "CURV 11,S10MYCURVE12SN9,1,2,3,4*");
        const auto names = cut_cuid(strip(in.handle("CUID?")));
        std::map<int, std::string> expected;
        for (int location : kelvara::profile(model).read_locations)
            if (const auto* c = in.curve(location))
                expected[location] = kelvara::trim_blanks(c->header.substr(3, 9));
        EXPECT_EQ(names, expected);
        EXPECT_EQ(names.at(11), "MYCURVE12");
        EXPECT_EQ(names.at(0), "DT-470");
    }
}

TEST(CatalogueCommands, XdtCutsIntoNamesAndFreeBytes) {
    for (InstrumentModel model :
         {InstrumentModel::KIP, InstrumentModel::DUN, InstrumentModel::ELK}) {
        SCOPED_TRACE(std::string(kelvara::designation(model)));
        Instrument in(model);
        const int location = model == InstrumentModel::KIP ? 7 : 30;
        const std::string nn = std::to_string(location);
        in.handle("XC" + nn + ", 21SILICON  D1,0.50000,300.0,1.00000,77.0*");
        const std::string reply = strip(in.handle("XDT"));
        EXPECT_EQ(bytes_free(reply), in.free_bytes());
        EXPECT_LT(reply.size(), 1000u);  // the program reads it into 1000 characters
        const auto names = cut_xdt(reply);
        EXPECT_EQ(names.at(location), "SILICON");
        EXPECT_EQ(names.at(0), "DT-470");
        std::size_t stored = 0;
        for (int l : kelvara::profile(model).read_locations) stored += in.curve(l) != nullptr;
        EXPECT_EQ(names.size(), stored);
    }
}

TEST(XkCommands, StoreAppendReadBackAndErase) {
    struct Row {
        const char* store;
        const char* append;
        const char* query;
        const char* reply;
    };
    const Row rows[] = {
        {"XC05,L21THERMOCOUPLEK,0.10000,010.0,0.20000,020.0*", "XE05,0.30000,030.0*", "XD05",
         "05,L21THERMOCOUPLEK,P,5,0.00000,000.0,0.10000,010.0,0.20000,020.0,0.30000,030.0,9.99999,"
         "000.0"},
        {"XC 12, 40NAME     SN,1.00000,300.0,2.00000,100.0*", "XE 12,3.00000,050.0*", "XD 12",
         "12, 40NAME     SN,N,5,0.00000,000.0,1.00000,300.0,2.00000,100.0,3.00000,050.0,9.99999,"
         "000.0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.store);
        Instrument in(InstrumentModel::KIP);
        const int free_before = in.free_bytes();
        EXPECT_EQ(in.handle(row.store), "");
        EXPECT_EQ(in.handle(row.append), "");
        EXPECT_EQ(strip(in.handle(row.query)), row.reply);
        const std::string nn = std::string(row.query).substr(std::string(row.query).size() - 2);
        in.handle("XK" + nn + "*");
        const std::string empty = strip(in.handle(row.query));
        EXPECT_NE(empty.find("BYTES FREE,"), std::string::npos);
        EXPECT_EQ(in.free_bytes(), free_before);
    }
}

TEST(XkCommands, FactoryLocationsRefuseAndAppendNeedsAStart) {
    Instrument in(InstrumentModel::ELK);
    const std::string factory = in.handle("XD03");
    in.handle("XK03*");
    in.handle("XC03,L00X,1,2,3,4*");
    in.handle("XE03,5,6*");
    EXPECT_EQ(in.handle("XD03"), factory);
    in.handle("XE10,5,6*");  // nothing started at 10
    EXPECT_EQ(in.curve(10), nullptr);
}

TEST(HoxCommands, GridPointsSerialNumberAndErase) {
    Instrument in(InstrumentModel::HOX);
    EXPECT_EQ(in.handle("C0.00,475.000"), "");
    EXPECT_EQ(in.handle("C3.04,012.500"), "");
    EXPECT_EQ(in.handle("C5.60,001.234"), "");
    EXPECT_EQ(in.handle("SIDABCDEFGHIJ"), "");
    struct Query {
        const char* command;
        const char* reply;
    };
    const Query queries[] = {{"C?0.00", "475.000"}, {"C?3.04", "012.500"},   {"C?5.60", "001.234"},
                             {"C?0.02", "0.000"},   {"C?0.01", "BAD POINT"}, {"C?x", "BAD POINT"},
                             {"SID?", "ABCDEFGH"}};
    for (const auto& q : queries) {
        SCOPED_TRACE(q.command);
        EXPECT_EQ(strip(in.handle(q.command)), q.reply);
    }
    // Every grid point answers a number the reader accepts.
    for (int i = 0; i < 192; ++i)
        EXPECT_TRUE(kelvara::is_numeric_text(
            strip(in.handle("C?" + kelvara::FormatNoLocale(kelvara::hox_grid_units(i), "0.00")))));
    EXPECT_EQ(in.handle("ERASE!"), "");
    EXPECT_EQ(strip(in.handle("C?0.00")), "0.000");
    EXPECT_EQ(strip(in.handle("SID?")), "");
}
