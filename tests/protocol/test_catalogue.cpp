// The curve catalogue: the queries per model, the entry texts in the three lists, the pauses,
// failures, and replies too short for the cutting steps.
#include <gtest/gtest.h>

#include "headerpoint_rig.h"
#include "protocol/catalogue.h"
#include "protocol/headerpoint.h"
#include "protocol/transfers.h"

namespace kelvara::test {
namespace {

void answer_with(Rig& rig, std::string query, std::string reply) {
    auto answer = rig.respond;
    rig.respond = [=](const std::string& c) { return c == query ? reply : answer(c); };
}

TEST(CatalogueHeaderPoint, EntryTextsInTheListsThatHoldTheLocation) {
    struct Row {
        InstrumentModel model;
        int location;
        bool in_user_lists;
    };
    for (const Row& row :
         {Row{InstrumentModel::TAZ, 21, true}, Row{InstrumentModel::TAZ, 3, false},
          Row{InstrumentModel::FEN, 21, true}, Row{InstrumentModel::WUN, 2, true}}) {
        SCOPED_TRACE(std::to_string(row.location) + " " + std::string(designation(row.model)));
        Rig rig(row.model);
        const std::string n = std::to_string(row.location);
        answer_with(rig, "CRVHDR? " + n, "MYCURVE      ,SN123     ,2,+375.000,1\r\n");
        rig.connect(Interface::GPIB);
        rig.picks.read.selected = rig.picks.write.selected = rig.picks.remove.selected = 2;
        grab_curve_names(rig.session());

        const std::string entry = n + " - MYCURVE  SN123";
        EXPECT_NE(rig.picks.read.find(entry), -1);
        EXPECT_EQ(rig.picks.write.find(entry) != -1, row.in_user_lists);
        EXPECT_EQ(rig.picks.remove.find(entry), rig.picks.write.find(entry));
        // Locations answered with an empty line read as the number and blanks.
        EXPECT_EQ(rig.picks.read.entries.back(),
                  curve_number_field(rig.picks.read.entries.back()) + " -   ");
        EXPECT_EQ(rig.picks.read.selected, 0);
        EXPECT_EQ(rig.picks.write.selected, 0);
        EXPECT_EQ(rig.picks.remove.selected, 0);
    }
}

TEST(CatalogueHeaderPoint, QueriesEveryLocationWithItsPause) {
    struct Row {
        Interface interface;
        const char* first;
        const char* pause;
        double total;
    };
    // TAZ has the 61 locations 0..60.
    for (const Row& row : {Row{Interface::GPIB, "CRVHDR? 0", "pause 0.1", 61 * 0.1},
                           Row{Interface::RS232, "CRVHDR? 0\r\n", "pause 0.3", 61 * 0.3}}) {
        Rig rig(InstrumentModel::TAZ);
        rig.connect(row.interface);
        grab_curve_names(rig.session());
        ASSERT_EQ(rig.timeline.events.size(), 122u);
        EXPECT_EQ(rig.timeline.events[0], row.first);
        EXPECT_EQ(rig.timeline.events[1], row.pause);
        EXPECT_NEAR(rig.clock.total_paused(), row.total, 1e-9);
    }
}

TEST(CatalogueHeaderPoint, FailuresStopOrSkip) {
    {
        SCOPED_TRACE("a failed GPIB send stops the catalogue, no selection");
        Rig rig(InstrumentModel::TAZ);
        rig.connect(Interface::GPIB);
        rig.gpib->fail_write_number = 3;
        rig.picks.read.selected = 5;
        grab_curve_names(rig.session());
        EXPECT_EQ(rig.prompts.texts(), std::vector<std::string>{kProblemTalking});
        EXPECT_EQ(rig.picks.read.entries[1], "1 -   ");
        EXPECT_EQ(rig.picks.read.entries[2], "2");
        EXPECT_EQ(rig.picks.read.selected, 5);
    }
    {
        SCOPED_TRACE("no interface: one message per location");
        Rig rig(InstrumentModel::DAL);
        rig.connect(Interface::None);
        grab_curve_names(rig.session());
        EXPECT_EQ(rig.prompts.texts(), std::vector<std::string>(6, kInvalidInterface));
        EXPECT_EQ(rig.picks.read.entries, PickLists::for_model(InstrumentModel::DAL).read.entries);
    }
}

TEST(CatalogueOlder, CuidAndXdtReplies) {
    struct Row {
        const char* label;
        InstrumentModel model;
        Interface interface;
        const char* query;
        std::string reply;
        std::vector<std::string> timeline;
        std::vector<std::pair<int, std::string>> read_entries;  // position, text
        std::string first_user_entry;
    };
    const std::vector<Row> rows = {
        {"CUID? names curves 1 and 11",
         InstrumentModel::NAV,
         Interface::GPIB,
         "CUID?",
         "1,   CURVE A ,x,y,11,   USER B,x,y\r\n",
         {"CUID?", "pause 0.1"},
         {{1, "1 - CURVE A"}, {11, "11 - USER B"}, {12, "12"}},
         "11 - USER B"},
        {"CUID? over RS-232 waits 1.1 s",
         InstrumentModel::KOR,
         Interface::RS232,
         "CUID?",
         "11,   USER B,x,y\r\n",
         {"CUID?\r\n", "pause 1.1"},
         {{11, "11 - USER B"}},
         "11 - USER B"},
        {"CUID? record cut before its name is ignored",
         InstrumentModel::NAV,
         Interface::GPIB,
         "CUID?",
         "1,   CURVE A ,x,y,12,  TRUNC",
         {"CUID?", "pause 0.1"},
         {{1, "1 - CURVE A"}, {12, "12"}},
         "11"},
        {"XDT names until the numbers stop rising",
         InstrumentModel::KIP,
         Interface::GPIB,
         "XDT",
         "1234 BYTES FREE,z,1,a,b, PT-100 ,2,a,b,THERMO,1,a,b,AGAIN\r\n",
         {"XDT", "pause 0.1"},
         {{1, "1 - PT-100"}, {2, "2 - THERMO"}},
         ""},
        {"XDT over RS-232 waits 6 s; a short reply is ignored",
         InstrumentModel::ELK,
         Interface::RS232,
         "XDT",
         "1234,z,1,a\r\n",
         {"XDT\r\n", "pause 6"},
         {{1, "1"}},
         ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        Rig rig(row.model);
        answer_with(rig, row.query, row.reply);
        rig.connect(row.interface);
        grab_curve_names(rig.session());
        EXPECT_EQ(rig.timeline.events, row.timeline);
        for (const auto& [number, text] : row.read_entries) {
            const int at = find_entry_by_number(rig.picks.read, number);
            ASSERT_GE(at, 0);
            EXPECT_EQ(rig.picks.read.entries[at], text);
        }
        if (!row.first_user_entry.empty()) {
            EXPECT_EQ(rig.picks.write.entries.front(), row.first_user_entry);
            EXPECT_EQ(rig.picks.remove.entries.front(), row.first_user_entry);
        }
        EXPECT_TRUE(rig.prompts.shown.empty());
    }
}

TEST(CatalogueOlder, FailedGpibSendMessages) {
    for (auto [model, message] :
         {std::pair{InstrumentModel::NAV, std::string(kProblemTalking)},
          std::pair{InstrumentModel::DUN,
                    std::string("Problem talking to instrument, XDT command.")}}) {
        Rig rig(model);
        rig.connect(Interface::GPIB);
        rig.gpib->fail_write_number = 1;
        grab_curve_names(rig.session());
        EXPECT_EQ(rig.prompts.texts(), std::vector<std::string>{message});
    }
}

TEST(CatalogueOlder, GpibReadsIntoAThousandCharacterBuffer) {
    Rig rig(InstrumentModel::NAV);
    std::string reply;
    for (int n = 11; n <= 31; ++n)
        reply += std::to_string(n) + ",   NAME" + std::to_string(n) + "   ,x,y,";
    ASSERT_GT(reply.size(), 80u);
    answer_with(rig, "CUID?", reply);
    rig.connect(Interface::GPIB);
    grab_curve_names(rig.session());
    EXPECT_EQ(rig.picks.write.entries.back(), "31 - NAME31");
}

}  // namespace
}  // namespace kelvara::test
