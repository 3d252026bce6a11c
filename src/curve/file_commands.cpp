// The file commands' choice of filter and of reader or writer by the model and the extension.
#include <cctype>
#include <string>

#include "curve/files.h"

namespace kelvara {

namespace {

using FileOperation = void (*)(const std::string&, CurveRecord&, HeaderFields&, Prompts&);

struct FileType {
    CurveFileFamily family;
    const char* extension;
    FileOperation read;
    FileOperation write;
};

const FileType kFileTypes[] = {
    {CurveFileFamily::TAZ_TYPE, "TAZ", read_taz_type_file, write_taz_type_file},
    {CurveFileFamily::TAZ_TYPE, "TZA", read_tza_type_file, write_tza_type_file},
    {CurveFileFamily::NAV_TYPE, "NAV", read_nav_type_file, write_nav_type_file},
    {CurveFileFamily::NAV_TYPE, "DUN", read_dun_type_file, write_dun_type_file},
    {CurveFileFamily::HOX_TYPE, "HOX", read_hox_type_file, write_hox_type_file},
};

const char* wrong_type_message(CurveFileFamily family) {
    switch (family) {
        case CurveFileFamily::TAZ_TYPE:
            return "Wrong file type. Must use file with '.TAZ' or '.TZA' extension.";
        case CurveFileFamily::NAV_TYPE:
            return "Wrong file type. Must use file with '.NAV' or '.DUN' extension.";
        case CurveFileFamily::HOX_TYPE:
            return "Wrong file type. Must use file with '.HOX' extension.";
        case CurveFileFamily::None:
            break;
    }
    return "Invalid instrument model number.";
}

// ".TAZ and .TZA": the file types of a family, from the table above.
std::string file_types_of(CurveFileFamily family) {
    std::string out;
    for (const FileType& type : kFileTypes) {
        if (type.family != family) continue;
        out += (out.empty() ? "." : " and .") + std::string(type.extension);
    }
    return out;
}

FileCommandResult run_file_command(bool reading, const std::string& path, InstrumentModel model,
                                   CurveRecord& curve, HeaderFields& fields, Prompts& prompts,
                                   std::string* reason) {
    CurveFileFamily family = family_of(model);
    std::string ext = extension_of(path);
    for (const FileType& type : kFileTypes) {
        if (type.family != family || ext != type.extension) continue;
        try {
            (reading ? type.read : type.write)(path, curve, fields, prompts);
            return FileCommandResult::Done;
        } catch (const FileError& e) {
            if (reason) *reason = e.what();
            return FileCommandResult::Failed;
        }
    }
    if (family == CurveFileFamily::None) {
        if (reason) *reason = "Invalid instrument model number.";
        return FileCommandResult::Failed;
    }
    prompts.message(wrong_type_message(family));
    if (reason)
        *reason = "model " + std::string(designation(model)) + " uses only " +
                  file_types_of(family) + " files";
    return FileCommandResult::WrongType;
}

}  // namespace

std::string extension_of(const std::string& path) {
    std::string ext = path.size() >= 3 ? path.substr(path.size() - 3) : path;
    for (char& ch : ext) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    return ext;
}

std::string file_filter(InstrumentModel model, Prompts& prompts) {
    switch (family_of(model)) {
        case CurveFileFamily::TAZ_TYPE:
            return "*.TAZ|*.TAZ|*.TZA|*.TZA";
        case CurveFileFamily::NAV_TYPE:
            return "*.NAV|*.NAV|*.DUN|*.DUN";
        case CurveFileFamily::HOX_TYPE:
            return "*.HOX|*.HOX";
        case CurveFileFamily::None:
            break;
    }
    prompts.message("Invalid instrument model number.");
    return {};
}

std::string wrong_file_type(const std::string& path, InstrumentModel model) {
    const CurveFileFamily family = family_of(model);
    const std::string ext = extension_of(path);
    for (const FileType& type : kFileTypes)
        if (type.family == family && ext == type.extension) return {};
    return wrong_type_message(family);
}

FileCommandResult read_curve_file(const std::string& path, InstrumentModel model,
                                  CurveRecord& curve, HeaderFields& fields, Prompts& prompts,
                                  std::string* reason) {
    return run_file_command(true, path, model, curve, fields, prompts, reason);
}

FileCommandResult write_curve_file(const std::string& path, InstrumentModel model,
                                   CurveRecord& curve, HeaderFields& fields, Prompts& prompts,
                                   std::string* reason) {
    return run_file_command(false, path, model, curve, fields, prompts, reason);
}

}  // namespace kelvara
