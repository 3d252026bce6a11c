// What the window remembers between runs, through the application's QSettings: the last curve
// files, the folder of the last file dialog, and the last set-up choices (users asked not to pick
// their instrument and port again on every start).
#pragma once

#include <QString>
#include <QStringList>
#include <optional>

#include "link/setup_choices.h"

namespace kelvara::ui {

inline constexpr int kRecentFileCount = 8;

// Newest first, at most kRecentFileCount, each path once.
QStringList recent_files();
void add_recent_file(const QString& path);
void remove_recent_file(const QString& path);
void clear_recent_files();

// The folder the file dialogs open in: where the last chosen file was; "" before the first.
QString last_file_folder();
void remember_folder_of(const QString& file_path);

// The last set-up choices; each is empty when nothing (or nothing valid) was remembered.
struct RememberedSetup {
    std::optional<InstrumentModel> model;
    std::optional<Interface> interface;  // as chosen, even when the link then failed
    std::optional<int> gpib_address;     // 1..32
    std::optional<int> serial_port;      // 1..16
};
RememberedSetup remembered_setup();

// Instrument > Verify After Writing: on unless the user turned it off.
bool verify_after_writing();
void set_verify_after_writing(bool on);
void remember_setup(InstrumentModel model, Interface chosen, int gpib_address, int serial_port);

}  // namespace kelvara::ui
