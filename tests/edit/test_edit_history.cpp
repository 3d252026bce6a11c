// Undo, redo and the unsaved state of the open curve.
#include <gmock/gmock.h>

#include "edit/edit_history.h"

using namespace kelvara;

namespace {

// A TAZ curve whose first temperature and name tell the states apart.
CurveState state(double first_temperature, const std::string& name = "CURVE") {
    CurveState s{CurveRecord::for_model(InstrumentModel::TAZ),
                 HeaderFields::for_model(InstrumentModel::TAZ)};
    s.curve.temperatures[0] = first_temperature;
    s.fields.name = name;
    return s;
}

TEST(EditHistory, UndoAndRedoWalkTheStepsAndKnowTheSavedOne) {
    EditHistory h;
    h.reset(state(1));
    EXPECT_FALSE(h.modified());
    EXPECT_FALSE(h.record(state(1), "Cell Edit"));  // nothing changed: no step
    EXPECT_FALSE(h.can_undo());
    EXPECT_TRUE(h.record(state(2), "Cell Edit"));
    EXPECT_TRUE(h.record(state(3), "Adjustment"));
    EXPECT_TRUE(h.modified());
    EXPECT_TRUE(h.record(state(1), "Cell Edit"));  // the old value typed again
    EXPECT_FALSE(h.modified());
    h.undo();
    EXPECT_EQ(h.undo_label(), "Adjustment");
    EXPECT_EQ(h.undo().curve.temperatures[0], 2);
    EXPECT_EQ(h.redo_label(), "Adjustment");
    EXPECT_EQ(h.undo().curve.temperatures[0], 1);
    EXPECT_FALSE(h.modified());  // back where the file left it
    EXPECT_FALSE(h.can_undo());
    EXPECT_EQ(h.redo().curve.temperatures[0], 2);
    EXPECT_TRUE(h.modified());
    // A new edit ends what could be redone.
    EXPECT_TRUE(h.record(state(9), "Insert Point"));
    EXPECT_FALSE(h.can_redo());
    EXPECT_EQ(h.undo().curve.temperatures[0], 2);
    EXPECT_EQ(h.redo_label(), "Insert Point");
}

TEST(EditHistory, SavingMarksTheCurrentStateAsWrittenTheWriterMade) {
    EditHistory h;
    h.reset(state(1));
    h.record(state(2, ""), "Cell Edit");
    h.mark_saved(state(2, "no name"));  // the writer filled in the empty name
    EXPECT_FALSE(h.modified());
    EXPECT_EQ(h.current().fields.name, "no name");
    EXPECT_EQ(h.undo().fields.name, "CURVE");
    EXPECT_TRUE(h.modified());  // the file holds the other state now
    EXPECT_EQ(h.redo().fields.name, "no name");
    EXPECT_FALSE(h.modified());
}

TEST(EditHistory, KeystrokesOfOneFieldMakeOneStep) {
    EditHistory h;
    h.reset(state(1, "A"));
    h.record(state(1, "AB"), "Name", "Text31");
    h.record(state(1, "ABC"), "Name", "Text31");
    EXPECT_EQ(h.undo().fields.name, "A");
    EXPECT_FALSE(h.can_undo());
    h.redo();
    // After the field was left, the next keystrokes are a step of their own.
    h.end_merge();
    h.record(state(1, "ABCD"), "Name", "Text31");
    EXPECT_EQ(h.undo().fields.name, "ABC");
    h.redo();
    // Typed and deleted again within one step: the step and the change are gone.
    while (h.can_undo()) h.undo();
    h.record(state(1, "AX"), "Name", "Text31");
    h.record(state(1, "A"), "Name", "Text31");
    EXPECT_FALSE(h.modified());
    EXPECT_FALSE(h.can_undo());
}

TEST(EditHistory, KeepsTheNewestStepsUpToItsLimit) {
    EditHistory h(3);
    EXPECT_FALSE(h.modified());
    EXPECT_TRUE(h.record(state(5), "Cell Edit"));  // an edit before any reset is unsaved
    EXPECT_TRUE(h.modified());
    EXPECT_FALSE(h.can_undo());
    h.reset(state(0));
    for (int i = 1; i <= 6; ++i) h.record(state(i), "Cell Edit");
    int undone = 0;
    for (; h.can_undo(); ++undone) h.undo();
    EXPECT_EQ(undone, 3);
    EXPECT_EQ(h.current().curve.temperatures[0], 3);
    EXPECT_TRUE(h.modified());  // the state the file holds has fallen out of the history
}

}  // namespace
