// The curve catalogue: the query per model, the entry texts in the three lists, the pauses, the
// failures, and replies too short for the cutting steps.
#include <gtest/gtest.h>

#include "headerpoint_rig.h"
#include "protocol/catalogue.h"
#include "protocol/headerpoint.h"
#include "protocol/transfers.h"

namespace kelvara::test {
namespace {

TEST(CatalogueHeaderPoint, EntryTextsInTheListsThatHoldTheLocation) {
    struct Case {
        InstrumentModel model;
        int location;
        bool user_location;
    };
    for (const Case& c :
         {Case{InstrumentModel::TAZ, 21, true}, Case{InstrumentModel::TAZ, 3, false},
          Case{InstrumentModel::FEN, 21, true}, Case{InstrumentModel::WUN, 2, true}}) {
        const std::string n = std::to_string(c.location);
        SCOPED_TRACE(std::string(designation(c.model)) + " " + n);
        Rig rig(c.model);
        rig.answer("CRVHDR? " + n, "MYCURVE      ,SN123     ,2,+375.000,1");
        rig.connect(Interface::GPIB);
        rig.picks.read.selected = rig.picks.write.selected = rig.picks.remove.selected = 2;
        grab_curve_names(rig.session());

        const std::string entry = n + " - MYCURVE  SN123";
        EXPECT_NE(rig.picks.read.find(entry), -1);
        EXPECT_EQ(rig.picks.write.find(entry) != -1, c.user_location);
        EXPECT_EQ(rig.picks.remove.find(entry), rig.picks.write.find(entry));
        // An empty reply leaves the number, " - " and blanks.
        const std::string& last = rig.picks.read.entries.back();
        EXPECT_EQ(last, curve_number_field(last) + " -   ");
        for (const ListField* l : {&rig.picks.read, &rig.picks.write, &rig.picks.remove})
            EXPECT_EQ(l->selected, 0);
    }
}

TEST(CatalogueHeaderPoint, QueriesEveryLocationWithItsPause) {
    // TAZ has the 61 locations 0..60.
    for (auto [i, first, pause] : {std::tuple{Interface::GPIB, "CRVHDR? 0", 0.1},
                                   std::tuple{Interface::RS232, "CRVHDR? 0\r\n", 0.3}}) {
        Rig rig(InstrumentModel::TAZ);
        rig.connect(i);
        grab_curve_names(rig.session());
        ASSERT_EQ(rig.timeline.events.size(), 122u);
        EXPECT_EQ(rig.timeline.events[0], first);
        EXPECT_EQ(rig.clock.pauses, std::vector<double>(61, pause));
    }
}

TEST(CatalogueHeaderPoint, FailedSendStopsAndNoInterfaceSkipsEachLocation) {
    Rig rig(InstrumentModel::TAZ);
    rig.connect(Interface::GPIB);
    rig.gpib->fail_write_number = 3;
    rig.picks.read.selected = 5;
    grab_curve_names(rig.session());
    EXPECT_EQ(rig.prompts.texts(), std::vector<std::string>{kProblemTalking});
    EXPECT_EQ(rig.picks.read.entries[1], "1 -   ");
    EXPECT_EQ(rig.picks.read.entries[2], "2");
    EXPECT_EQ(rig.picks.read.selected, 5);  // no selection set

    Rig offline(InstrumentModel::DAL);
    offline.connect(Interface::None);
    grab_curve_names(offline.session());
    EXPECT_EQ(offline.prompts.texts(), std::vector<std::string>(6, kInvalidInterface));
    EXPECT_EQ(offline.picks.read.entries, PickLists::for_model(InstrumentModel::DAL).read.entries);
}

TEST(CatalogueOlder, CuidAndXdtReplies) {
    struct Case {
        InstrumentModel model;
        Interface interface;
        const char* query;
        std::string reply;
        std::vector<std::string> timeline;
        std::vector<std::pair<int, std::string>> entries;  // location, read-list text
        std::string first_user_entry;
    };
    const std::vector<Case> cases = {
        {InstrumentModel::NAV,
         Interface::GPIB,
         "CUID?",
         "1,   CURVE A ,x,y,11,   USER B,x,y",
         {"CUID?", "pause 0.1"},
         {{1, "1 - CURVE A"}, {11, "11 - USER B"}, {12, "12"}},
         "11 - USER B"},
        {InstrumentModel::KOR,
         Interface::RS232,
         "CUID?",
         "11,   USER B,x,y",
         {"CUID?\r\n", "pause 1.1"},
         {{11, "11 - USER B"}},
         "11 - USER B"},
        // A record cut before its name is ignored.
        {InstrumentModel::NAV,
         Interface::GPIB,
         "CUID?",
         "1,   CURVE A ,x,y,12,  TRUNC",
         {"CUID?", "pause 0.1"},
         {{1, "1 - CURVE A"}, {12, "12"}},
         "11"},
        // Names until the curve numbers stop rising.
        {InstrumentModel::KIP,
         Interface::GPIB,
         "XDT",
         "1234 BYTES FREE,z,1,a,b, PT-100 ,2,a,b,THERMO,1,a,b,AGAIN",
         {"XDT", "pause 0.1"},
         {{1, "1 - PT-100"}, {2, "2 - THERMO"}},
         ""},
        {InstrumentModel::ELK,
         Interface::RS232,
         "XDT",
         "1234,z,1,a",
         {"XDT\r\n", "pause 6"},
         {{1, "1"}},
         ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.reply);
        Rig rig(c.model);
        rig.answer(c.query, c.reply);
        rig.connect(c.interface);
        grab_curve_names(rig.session());
        EXPECT_EQ(rig.timeline.events, c.timeline);
        for (const auto& [number, text] : c.entries) {
            const int at = find_entry_by_number(rig.picks.read, number);
            ASSERT_GE(at, 0);
            EXPECT_EQ(rig.picks.read.entries[at], text);
        }
        if (!c.first_user_entry.empty()) {
            EXPECT_EQ(rig.picks.write.entries.front(), c.first_user_entry);
            EXPECT_EQ(rig.picks.remove.entries.front(), c.first_user_entry);
        }
        EXPECT_TRUE(rig.prompts.shown.empty());
    }
}

TEST(CatalogueOlder, FailedGpibSendMessagesAndTheLongGpibReply) {
    for (auto [model, message] :
         {std::pair{InstrumentModel::NAV, kProblemTalking},
          std::pair{InstrumentModel::DUN, "Problem talking to instrument, XDT command."}}) {
        Rig rig(model);
        rig.connect(Interface::GPIB);
        rig.gpib->fail_write_number = 1;
        grab_curve_names(rig.session());
        EXPECT_EQ(rig.prompts.texts(), std::vector<std::string>{message});
    }
    // Far beyond the 80 characters of a header reply: the buffer holds 1000.
    Rig rig(InstrumentModel::NAV);
    std::string reply;
    for (int n = 11; n <= 31; ++n)
        reply += std::to_string(n) + ",   NAME" + std::to_string(n) + "   ,x,y,";
    rig.answer("CUID?", reply);
    rig.connect(Interface::GPIB);
    grab_curve_names(rig.session());
    EXPECT_EQ(rig.picks.write.entries.back(), "31 - NAME31");
}

}  // namespace
}  // namespace kelvara::test
