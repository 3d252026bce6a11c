// Shared plumbing of the curve-file readers and writers: a line reader with the line-end rules of
// curve files, the header-line search, and whole-file writing through a temporary file.
#pragma once

#include <string>
#include <string_view>

namespace kelvara::file_io {

// Reads a file's bytes as lines. A line ends at CR LF or at a lone CR; a lone LF stays inside
// the line (the token splitter treats it as a separator). A terminator at the very end of the
// file does not start another line.
class LineReader {
  public:
    explicit LineReader(std::string bytes) : bytes_(std::move(bytes)) {}
    bool at_end() const { return pos_ >= bytes_.size(); }
    bool empty() const { return bytes_.empty(); }
    // The next line without its terminator; throws FileError when the file has ended.
    std::string read_line();

  private:
    std::string bytes_;
    size_t pos_ = 0;
};

// The whole file; throws FileError when it cannot be opened or read.
std::string load_file(const std::string& path);

// Header-line search: reads lines until one holds ":" or the file ends and returns the text after
// the first ":" of the last line read (the whole line when it holds none).
std::string header_value(LineReader& in);

// First token of a value text as a 32-bit integer; throws FileError when it is not one.
int header_int(std::string_view value, const char* what);
// First token of a value text as a number ("." decimal point; no number gives 0).
double header_number(std::string_view value);

// Writes text to a temporary file next to path and renames it over path, so a failure never
// leaves a half-written curve file behind. Throws FileError.
void write_file_atomically(const std::string& path, const std::string& text);

inline constexpr const char* kCrLf = "\r\n";

}  // namespace kelvara::file_io

namespace kelvara {
struct HeaderFields;
}

namespace kelvara::file_io {

// Writers first replace an empty name by "no name" and an empty serial number by "no number"
// in the fields themselves, so the window shows what the file carries.
void apply_name_replacements(HeaderFields& fields);

// "  7", " 42", "123": the point number of the .TAZ and .NAV layouts.
std::string point_number_taz(int number);

// "  4.200", " 77.350", "300.000": the temperature column of the .TAZ and .HOX layouts; a
// negative temperature takes the given picture.
std::string column_temperature(double value, const char* negative_picture);

// "(MilliVolts vs. Kelvin)" ... for codes 1..5; "" otherwise.
std::string parenthesised_name(int code);

}  // namespace kelvara::file_io
