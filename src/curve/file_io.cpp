#include "curve/file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <system_error>

#include "curve/files.h"
#include "curve/next_field.h"
#include "curve/number_format.h"
#include "curve/reader_support.h"

namespace kelvara::file_io {

namespace {

namespace fs = std::filesystem;

std::string system_reason(int error) {
    return std::system_category().message(error);
}

[[noreturn]] void fail(int error) {
    throw FileError(system_reason(error));
}

// Closes a descriptor on every path out of a function.
class Descriptor {
  public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    int get() const { return fd_; }
    // Closes now and reports the error close saw (0 when none): on some file systems a failed
    // write only shows here.
    int close() {
        int error = 0;
        if (fd_ >= 0 && ::close(fd_) != 0) error = errno;
        fd_ = -1;
        return error;
    }

  private:
    int fd_;
};

// Writes all of text at offset; returns 0 or the error that stopped it, with `written` telling
// how far it came.
int write_all(int fd, const std::string& text, bool positioned, std::size_t& written) {
    written = 0;
    while (written < text.size()) {
        const ssize_t n = positioned ? ::pwrite(fd, text.data() + written, text.size() - written,
                                                static_cast<off_t>(written))
                                     : ::write(fd, text.data() + written, text.size() - written);
        if (n < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        if (n == 0) return EIO;
        written += static_cast<std::size_t>(n);
    }
    return 0;
}

// Follows symbolic links from path to the file they finally name, which need not exist yet.
fs::path final_target(const std::string& path) {
    fs::path p(path);
    for (int hops = 0;; ++hops) {
        struct stat st;
        if (::lstat(p.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return p;
        if (hops == 40) fail(ELOOP);
        std::error_code ec;
        fs::path to = fs::read_symlink(p, ec);
        if (ec) throw FileError(ec.message());
        p = to.is_absolute() ? to : p.parent_path() / to;
    }
}

// Devices and named pipes are written as they are: there is nothing to replace, and opening
// without blocking turns a pipe nobody reads into an error instead of a hang.
void write_to_device(const fs::path& target, const std::string& text) {
    Descriptor fd(::open(target.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (fd.get() < 0) fail(errno);
    const int flags = ::fcntl(fd.get(), F_GETFL);
    if (flags >= 0) ::fcntl(fd.get(), F_SETFL, flags & ~O_NONBLOCK);
    std::size_t written = 0;
    if (int error = write_all(fd.get(), text, false, written)) fail(error);
    if (int error = fd.close()) fail(error);
}

// Rewrites a regular file in its own inode. The space is reserved first, so a full disk is
// found before the old content is touched; a failure after that is reported as what it left.
void write_in_place(const fs::path& target, const std::string& text) {
    Descriptor fd(::open(target.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
    if (fd.get() < 0) fail(errno);
    if (!text.empty()) {
        const int error = ::posix_fallocate(fd.get(), 0, static_cast<off_t>(text.size()));
        if (error != 0 && error != EINVAL && error != EOPNOTSUPP) fail(error);
    }
    auto damaged = [](int error) {
        throw FileError(system_reason(error) + "; the file is now incomplete");
    };
    std::size_t written = 0;
    if (int error = write_all(fd.get(), text, true, written)) {
        if (written == 0) fail(error);
        damaged(error);
    }
    if (::ftruncate(fd.get(), static_cast<off_t>(text.size())) != 0) damaged(errno);
    if (::fsync(fd.get()) != 0 && errno != EINVAL) damaged(errno);
    if (int error = fd.close()) damaged(error);
}

// A name beside the target that no one else uses: hidden, and short enough for any file name.
std::string temporary_name(const fs::path& target, unsigned attempt) {
    static std::atomic<unsigned> counter{0};
    std::string base = target.filename().string().substr(0, 100);
    return "." + base + ".kelvara-" + std::to_string(::getpid()) + "-" + std::to_string(counter++) +
           "-" + std::to_string(attempt);
}

enum class Replaced { Yes, CannotHere };

// Writes a temporary file beside target, gives it the old file's owner and mode, and renames it
// over target. Returns CannotHere, with nothing changed, when the folder takes no new file or
// the owner cannot be kept, so the caller can write in place instead.
Replaced replace_atomically(const fs::path& target, const std::string& text,
                            const struct stat* old) {
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    fs::path temp;
    int fd_number = -1;
    for (unsigned attempt = 0; fd_number < 0; ++attempt) {
        temp = folder / temporary_name(target, attempt);
        // 0666 under the umask: a new curve file gets the permissions any new file gets.
        fd_number = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOCTTY | O_CLOEXEC, 0666);
        if (fd_number >= 0) break;
        if (errno == EEXIST && attempt < 100) continue;
        if (old && (errno == EACCES || errno == EPERM)) return Replaced::CannotHere;
        fail(errno);
    }
    Descriptor fd(fd_number);
    auto give_up = [&](int error) {
        fd.close();
        ::unlink(temp.c_str());
        fail(error);
    };
    if (old) {
        // The owner first: changing it clears set-user and set-group bits that chmod then restores.
        if ((old->st_uid != ::geteuid() || old->st_gid != ::getegid()) &&
            ::fchown(fd.get(), old->st_uid, old->st_gid) != 0) {
            fd.close();
            ::unlink(temp.c_str());
            return Replaced::CannotHere;
        }
        if (::fchmod(fd.get(), old->st_mode & 07777) != 0) give_up(errno);
    }
    std::size_t written = 0;
    if (int error = write_all(fd.get(), text, false, written)) give_up(error);
    if (::fsync(fd.get()) != 0) give_up(errno);
    if (int error = fd.close()) give_up(error);
    if (::rename(temp.c_str(), target.c_str()) != 0) {
        const int error = errno;
        ::unlink(temp.c_str());
        fail(error);
    }
    // The rename itself lasts once the folder is on disk; a failure here changes nothing the
    // user could act on.
    Descriptor dir(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (dir.get() >= 0) ::fsync(dir.get());
    return Replaced::Yes;
}

// An access-control list belongs to the inode; a replacement would drop it.
bool has_access_list(const fs::path& target) {
    return ::getxattr(target.c_str(), "system.posix_acl_access", nullptr, 0) > 0;
}

}  // namespace

std::string on_line(int line, std::string_view what) {
    return "line " + std::to_string(line) + ": " + std::string(what);
}

LineReader::LineReader(std::string bytes) : bytes_(std::move(bytes)) {
    if (bytes_.starts_with("\xEF\xBB\xBF")) start_ = pos_ = 3;
}

std::string LineReader::read_line() {
    if (at_end()) throw FileError(kEndsBeforePoints);
    const size_t end = bytes_.find_first_of("\r\n", pos_);
    std::string line;
    if (end == std::string::npos) {
        line = bytes_.substr(pos_);
        pos_ = bytes_.size();
    } else {
        line = bytes_.substr(pos_, end - pos_);
        pos_ = end + 1;
        if (bytes_[end] == '\r' && pos_ < bytes_.size() && bytes_[pos_] == '\n') ++pos_;
    }
    ++line_number_;
    return line;
}

std::string load_file(const std::string& path) {
    // Without O_NONBLOCK, opening a FIFO would wait for a writer.
    Descriptor fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (fd.get() < 0) fail(errno);
    struct stat st;
    if (::fstat(fd.get(), &st) != 0) fail(errno);
    if (S_ISDIR(st.st_mode)) fail(EISDIR);
    if (!S_ISREG(st.st_mode)) throw FileError("not a regular file");
    const std::string too_large =
        "larger than any curve file (over " + std::to_string(kMaxCurveFileBytes / 1024) + " kB)";
    if (static_cast<std::size_t>(st.st_size) > kMaxCurveFileBytes) throw FileError(too_large);
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(st.st_size));
    char buffer[16384];
    for (;;) {
        const ssize_t n = ::read(fd.get(), buffer, sizeof buffer);
        if (n < 0) {
            if (errno == EINTR) continue;
            fail(errno);
        }
        if (n == 0) break;
        bytes.append(buffer, static_cast<std::size_t>(n));
        // The file may grow while it is read.
        if (bytes.size() > kMaxCurveFileBytes) throw FileError(too_large);
    }
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

int header_int(std::string_view value, int line) {
    int pos = 1;
    std::string token = next_field(value, pos);
    auto v = to_int32(token);
    if (!v)
        throw FileError(
            on_line(line, is_numeric_text(token) ? "number out of range" : kNotANumber));
    return *v;
}

double header_number(std::string_view value) {
    int pos = 1;
    return parse_leading_number(next_field(value, pos));
}

std::string trim_spaces(std::string_view text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    return std::string(text);
}

int read_numbered_points(LineReader& in, CurveRecord& c) {
    const std::string value = header_value(in);
    const int count_line = in.line_number();
    int count = 0;
    // The writers print a count of 0 as nothing at all.
    if (value.find_first_not_of(" \t") != std::string::npos) {
        int pos = 1;
        const std::string token = next_field(value, pos);
        if (!is_numeric_text(token)) throw FileError(on_line(count_line, kNotANumber));
        const auto n = to_int32(token);
        if (!n ? parse_leading_number(token) < 0 : *n < 0)
            throw FileError(on_line(count_line, "the number of points is negative"));
        if (!n || *n > c.max_breakpoints) throw FileError(on_line(count_line, kTooManyPoints));
        count = *n;
    }
    if (count == 0) return 0;

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
    store_point(c, 0, units, temperature, in.line_number());

    for (int i = 1; i < count; ++i) {
        line = in.read_line();
        pos = 1;
        next_field(line, pos);  // the point number is not checked
        units = number_field(line, pos);
        temperature = number_field(line, pos);
        store_point(c, i, units, temperature, in.line_number());
    }
    return count;
}

void write_whole_file(const std::string& path, const std::string& text) {
    const fs::path target = final_target(path);
    struct stat st;
    if (::lstat(target.c_str(), &st) != 0) {
        if (errno != ENOENT) fail(errno);
        replace_atomically(target, text, nullptr);
        return;
    }
    if (S_ISDIR(st.st_mode)) fail(EISDIR);
    if (S_ISCHR(st.st_mode) || S_ISFIFO(st.st_mode)) return write_to_device(target, text);
    if (!S_ISREG(st.st_mode)) throw FileError("not a regular file");
    // A read-only file stays read-only: a rename would replace it all the same.
    if (::access(target.c_str(), W_OK) != 0) fail(errno);
    if (st.st_nlink == 1 && !has_access_list(target) &&
        replace_atomically(target, text, &st) == Replaced::Yes)
        return;
    write_in_place(target, text);
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
