// Shared plumbing of the curve-file readers and writers: a line reader with the line-end rules of
// curve files, the header-line search, and writing a file without losing what the user set up.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kelvara::file_io {

// No curve file comes near this size (a full .TAZ is under 10 kB); anything larger is not one,
// and reading it whole would only cost memory.
inline constexpr std::size_t kMaxCurveFileBytes = 1024 * 1024;

// Reasons a reader gives for a malformed file. Those tied to a line are prefixed "line N: ".
inline constexpr const char* kNotANumber = "not a number";
inline constexpr const char* kEndsBeforePoints = "the file ends before its points";
inline constexpr const char* kTooManyPoints = "more points than the model holds";

// "line 12: not a number".
std::string on_line(int line, std::string_view what);

// Reads a file's bytes as lines. A line ends at CR LF, at a lone CR or at a lone LF, so files
// saved on any system read alike; a UTF-8 byte-order mark at the very start is skipped. A
// terminator at the very end of the file does not start another line.
class LineReader {
  public:
    explicit LineReader(std::string bytes);
    bool at_end() const { return pos_ >= bytes_.size(); }
    // True when the file holds nothing but, at most, a byte-order mark.
    bool empty() const { return start_ >= bytes_.size(); }
    // The next line without its terminator; throws FileError when the file has ended.
    std::string read_line();
    // 1-based number of the line read last (0 before the first).
    int line_number() const { return line_number_; }

  private:
    std::string bytes_;
    std::size_t start_ = 0;
    std::size_t pos_ = 0;
    int line_number_ = 0;
};

// The whole file. Throws FileError with the system's reason when it cannot be opened or read,
// and refuses at once, without reading, what is not a regular file or is larger than
// kMaxCurveFileBytes (a FIFO or a device would block or never end).
std::string load_file(const std::string& path);

// Header-line search: reads lines until one holds ":" or the file ends and returns the text after
// the first ":" of the last line read (the whole line when it holds none).
std::string header_value(LineReader& in);

// First token of a value text, found on the given line, as a 32-bit integer; throws FileError
// ("line 3: not a number") when it is not one.
int header_int(std::string_view value, int line);
// First token of a value text as a number ("." decimal point; no number gives 0).
double header_number(std::string_view value);

// Name and serial number lose surrounding blanks, never tabs.
std::string trim_spaces(std::string_view text);

// Writes text as the whole new content of path, keeping what the user set up around the file:
// a symbolic link stays and its target is written; the file's permissions and owner stay; a
// file with more than one hard link is rewritten in place so the links stay joined. A new or
// singly linked file is written beside its final target and renamed over it, so a failure leaves
// the old file as it was. Throws FileError with the system's reason ("No space left on device",
// "Permission denied"); never reports success for an incomplete file.
void write_whole_file(const std::string& path, const std::string& text);

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
