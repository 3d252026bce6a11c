// Curve files: the five readers and writers and the extension dispatch of the file commands.
#pragma once

#include <stdexcept>
#include <string>

#include "curve/curve_record.h"
#include "curve/header_fields.h"
#include "curve/prompts.h"

namespace kelvara {

// A reader or writer failed. what() is the reason alone, without the file's name, as a user can
// act on it: the system's reason ("No such file or directory", "No space left on device") or
// what in the file is wrong ("line 12: not a number", "the file ends before its points",
// "line 6: more points than the model holds").
class FileError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Readers: on success the record and fields hold the file's curve. On failure they throw
// FileError and leave record and fields exactly as they were before the read. The .DUN and .HOX
// readers show "Bad file format." themselves before throwing.
void read_taz_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                        Prompts& prompts);
void read_tza_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                        Prompts& prompts);
void read_nav_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                        Prompts& prompts);
void read_dun_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                        Prompts& prompts);
void read_hox_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                        Prompts& prompts);

// Writers: apply the "no name"/"no number" replacements (and the .DUN serial cut) to the
// fields, recompute what the layout needs, write the whole file or throw FileError.
void write_taz_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                         Prompts& prompts);
void write_tza_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                         Prompts& prompts);
void write_nav_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                         Prompts& prompts);
void write_dun_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                         Prompts& prompts);
void write_hox_type_file(const std::string& path, CurveRecord& curve, HeaderFields& fields,
                         Prompts& prompts);

// The open/save dialogs' filter for a model ("*.TAZ|*.TAZ|*.TZA|*.TZA"); for an unknown model
// shows "Invalid instrument model number." and returns "".
std::string file_filter(InstrumentModel model, Prompts& prompts);

enum class FileCommandResult {
    Done,       // the reader or writer ran to the end
    WrongType,  // the wrong-file-type message was shown; nothing read or written
    Failed,     // the reader or writer failed (message shown only by .DUN/.HOX readers)
};

// The last three characters of the name in capitals, which the file commands go by; the "." in
// front is not checked.
std::string extension_of(const std::string& path);

// The wrong-file-type message the file commands would show for path and model, or "" when the
// path names a file type of the model's family. Lets a front end refuse a path before any work.
std::string wrong_file_type(const std::string& path, InstrumentModel model);

// Dispatch by the last three characters of the path, any case. `reason` receives, for Failed and
// WrongType, a one-line reason without the file's name (FileError's text; for WrongType
// "model TAZ uses only .TAZ and .TZA files"); the front end adds the name.
FileCommandResult read_curve_file(const std::string& path, InstrumentModel model,
                                  CurveRecord& curve, HeaderFields& fields, Prompts& prompts,
                                  std::string* reason = nullptr);
FileCommandResult write_curve_file(const std::string& path, InstrumentModel model,
                                   CurveRecord& curve, HeaderFields& fields, Prompts& prompts,
                                   std::string* reason = nullptr);

}  // namespace kelvara
