#include "curve/file_io.h"

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "curve/files.h"
#include "curve/next_field.h"
#include "curve/number_format.h"
#include "curve/reader_support.h"

namespace kelvara::file_io {

std::string LineReader::read_line() {
    if (at_end()) throw FileError("the file ends too early");
    size_t cr = bytes_.find('\r', pos_);
    std::string line;
    if (cr == std::string::npos) {
        line = bytes_.substr(pos_);
        pos_ = bytes_.size();
    } else {
        line = bytes_.substr(pos_, cr - pos_);
        pos_ = cr + 1;
        if (pos_ < bytes_.size() && bytes_[pos_] == '\n') ++pos_;
    }
    return line;
}

std::string load_file(const std::string& path) {
    std::error_code ec;
    if (std::filesystem::is_directory(path, ec))
        throw FileError("cannot open " + path + ": is a directory");
    std::ifstream in(path, std::ios::binary);
    if (!in) throw FileError("cannot open " + path);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) throw FileError("cannot read " + path);
    return bytes;
}

std::string header_value(LineReader& in) {
    std::string line;
    do {
        line = in.read_line();
    } while (line.find(':') == std::string::npos && !in.at_end());
    size_t colon = line.find(':');
    return colon == std::string::npos ? line : line.substr(colon + 1);
}

int header_int(std::string_view value, const char* what) {
    int pos = 1;
    std::string token = next_field(value, pos);
    auto v = to_int32(token);
    if (!v) throw FileError(std::string("the ") + what + " is not a whole number: '" + token + "'");
    return *v;
}

double header_number(std::string_view value) {
    int pos = 1;
    return parse_leading_number(next_field(value, pos));
}

int read_numbered_points(LineReader& in, CurveRecord& c) {
    int count = header_int(header_value(in), "number of breakpoints");
    if (count < 0 || count > c.max_breakpoints)
        throw FileError("the file declares " + std::to_string(count) +
                        " points; the model allows " + std::to_string(c.max_breakpoints));

    // The first point is the first line holding a "1" (its point number); whatever comes
    // before it is the column heading.
    std::string line;
    do {
        line = in.read_line();
    } while (line.find('1') == std::string::npos && !in.at_end());
    size_t one = line.find('1');
    std::string rest = one == std::string::npos ? line : line.substr(one + 1);
    int pos = 1;
    double units = number_field(rest, pos);
    double temperature = number_field(rest, pos);
    store_point(c, 0, units, temperature);

    for (int i = 1; i < count; ++i) {
        line = in.read_line();
        pos = 1;
        next_field(line, pos);  // the point number is not checked
        units = number_field(line, pos);
        temperature = number_field(line, pos);
        store_point(c, i, units, temperature);
    }
    return count;
}

void write_file_atomically(const std::string& path, const std::string& text) {
    namespace fs = std::filesystem;
    static std::atomic<unsigned> counter{0};
    fs::path target(path);
    fs::path temp = target;
    temp += ".~" + std::to_string(::getpid()) + "-" + std::to_string(counter++);
    {
        std::ofstream out(temp, std::ios::binary | std::ios::trunc);
        if (!out) throw FileError("cannot create " + path);
        out.write(text.data(), static_cast<std::streamsize>(text.size()));
        out.close();
        if (!out) {
            std::error_code ec;
            fs::remove(temp, ec);
            throw FileError("cannot write " + path);
        }
    }
    std::error_code ec;
    fs::rename(temp, target, ec);
    if (ec) {
        std::error_code ignored;
        fs::remove(temp, ignored);
        throw FileError("cannot write " + path + ": " + ec.message());
    }
}

}  // namespace kelvara::file_io

#include "curve/data_format.h"
#include "curve/header_fields.h"

namespace kelvara::file_io {

void apply_name_replacements(HeaderFields& fields) {
    if (fields.name.empty()) fields.name = "no name";
    if (fields.serial_number.empty()) fields.serial_number = "no number";
}

std::string point_number_taz(int number) {
    const char* picture = number < 10     ? "  #"
                          : number < 100  ? " ##"
                          : number < 1000 ? "###"
                                          : "######";
    return FormatNoLocale(number, picture);
}

std::string column_temperature(double value, const char* negative_picture) {
    const char* picture = value < 0     ? negative_picture
                          : value < 10  ? "  0.000"
                          : value < 100 ? " 00.000"
                                        : "000.000";
    return FormatNoLocale(value, picture);
}

std::string parenthesised_name(int code) {
    auto name = data_format_name(code);
    return name.empty() ? std::string() : "(" + std::string(name) + ")";
}

}  // namespace kelvara::file_io
