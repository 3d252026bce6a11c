// Saving the curves of an instrument before a repair, a firmware update or a swap, and putting
// them back: every user location that holds a curve goes to one curve file of the model's own
// type in a folder, named by its location ("21.TAZ", "04.DUN", "HOX.HOX"), with a summary
// (backup.txt); a restore writes each file back to its location and checks what the instrument
// then holds.
#pragma once

#include <string>
#include <vector>

#include "protocol/session.h"

namespace kelvara {

inline constexpr const char* kBackupSummaryName = "backup.txt";

// One place an instrument keeps a user curve: its number as the pick lists name it ("21"; ""
// for the HOX's one curve) and the file it is saved in.
struct BackupSlot {
    std::string location;
    std::string file;
};

// The user locations of the model, in list order: the factory locations cannot be written
// back, so they are not saved.
std::vector<BackupSlot> backup_slots(InstrumentModel model);

// "location 21", or "the curve" for the HOX.
std::string slot_label(const BackupSlot& slot);

struct BackupEntry {
    enum class State {
        Saved,       // in its file, which a restore turns back into what the instrument holds
        Inexact,     // in its file, but a restore would not give back all of it (`notes`)
        Empty,       // the location holds no curve: no file
        Failed,      // the read failed or the file could not be written (`notes`): no file
        NotReached,  // the backup stopped before this location
    };
    BackupSlot slot;
    State state = State::NotReached;
    std::string name, serial;
    int points = 0;
    std::vector<std::string> notes;
};

struct BackupReport {
    // Done when every user location was saved exactly or is empty; Cancelled after a cancel.
    TransferResult result = TransferResult::Done;
    std::string failure;  // the folder or the summary could not be used (no location then)
    std::vector<BackupEntry> entries;
};

// Why `folder` cannot take a backup of the model ("" when it can): it is no folder, or it already
// holds a backup.
std::string backup_folder_problem(InstrumentModel model, const std::string& folder);

// Reads the catalogue (refreshing the pick lists), then every user location, into `folder`,
// which is created when missing. A folder that already holds a backup is refused before the
// instrument is asked anything, so that an older backup is never mixed with a newer one. A file
// is written only after its location was read whole. `date` goes into the summary as given.
// Messages of the reads are collected into the entries; progress names the location and the
// share of the whole job.
BackupReport back_up_curves(Session& s, const std::string& folder, const std::string& date);

struct RestoreEntry {
    enum class State { Verified, Differs, Failed, NotReached };
    BackupSlot slot;
    State state = State::NotReached;
    std::vector<std::string> lines;  // the differences, or why it failed
};

struct RestoreReport {
    // Done only when every file was written and verified.
    TransferResult result = TransferResult::Done;
    std::string failure;  // the folder holds nothing to restore
    std::vector<RestoreEntry> entries;
};

// Writes the curve files of `folder` back to the locations their names give, in location order,
// each checked by reading it back; `only` (location numbers) restricts it to those. Files are
// sent as they are: the older models' files hold the instrument's own units, so no scaling is
// applied. A file named for a location the model cannot write is reported, not sent.
RestoreReport restore_curves(Session& s, const std::string& folder, const std::vector<int>& only);

// One line per location for the front ends ("location 21: saved in 21.TAZ (PT100, SN1, 30
// points)", "location 21: written and verified"), each detail on its own line after it,
// indented by two blanks; empty locations are summed up in one line.
std::vector<std::string> backup_report_lines(const BackupReport& report);
std::vector<std::string> restore_report_lines(const RestoreReport& report);

}  // namespace kelvara
