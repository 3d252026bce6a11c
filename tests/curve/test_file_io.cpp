// Curve files on a real file system: line ends of every system, reasons for every failure, and
// what writing over a file keeps (links, permissions, owner).
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "curve/file_io.h"
#include "curve/files.h"
#include "file_fixture.h"

namespace kelvara {
namespace {

namespace fs = std::filesystem;
using testing_support::Points;
using testing_support::repeat;
using testing_support::replace_all;
using testing_support::Scratch;
using testing_support::small_curve;
using testing_support::Window;
using M = InstrumentModel;

struct FileType {
    M model;
    const char* extension;
};
const FileType kFileTypes[] = {
    {M::TAZ, "TAZ"}, {M::TAZ, "TZA"}, {M::NAV, "NAV"}, {M::ELK, "DUN"}, {M::HOX, "HOX"}};

// A window with a curve of its model, written by our own writer.
std::string written(const FileType& type, const Scratch& dir) {
    Window w = small_curve(type.model);
    w.fields.thermocouple = type.model == M::ELK;  // no warning about the format character
    w.curve.temperatures[5] = 42;                  // HOX: a point beyond the three
    const std::string name = std::string("w.") + type.extension;
    RecordingPrompts prompts;
    EXPECT_EQ(write_curve_file(dir.path(name), w.model, w.curve, w.fields, prompts),
              FileCommandResult::Done);
    return dir.get(name);
}

TEST(FileLineEnds, LineReaderEndsLinesAtCrLfCrAndLf) {
    const std::pair<std::string, std::vector<std::string>> rows[] = {
        {"a\nb\r\nc\rd\n\re\r\n", {"a", "b", "c", "d", "", "e"}},
        {"a\r\r\nb", {"a", "", "b"}},
        {"\n\n", {"", ""}},
        {"\xEF\xBB\xBFXC06,\r\n", {"XC06,"}},
        {"\xEF\xBB\xBF\xEF\xBB\xBFx", {"\xEF\xBB\xBFx"}},  // only the first is a mark
        {"x\xEF\xBB\xBF\ny", {"x\xEF\xBB\xBF", "y"}},
        {"\xEF\xBB\xBF", {}},
        {"", {}},
    };
    for (const auto& [bytes, expected] : rows) {
        SCOPED_TRACE(bytes);
        file_io::LineReader in(bytes);
        EXPECT_EQ(in.empty(), expected.empty());
        std::vector<std::string> lines;
        while (!in.at_end()) lines.push_back(in.read_line());
        EXPECT_EQ(lines, expected);
        EXPECT_EQ(in.line_number(), static_cast<int>(expected.size()));
    }
}

// Every type as our writers write it (CR LF), then with LF only, CR only and a UTF-8 byte-order
// mark in front: all read alike, and no mark or line end reaches a name or serial number.
TEST(FileLineEnds, FilesFromEverySystemReadAlike) {
    // Name, line end, whether a byte-order mark comes first; the first read is the reference.
    const std::tuple<const char*, const char*, bool> variants[] = {
        {"CR LF", "\r\n", false},    {"LF", "\n", false},    {"CR", "\r", false},
        {"BOM CR LF", "\r\n", true}, {"BOM LF", "\n", true}, {"BOM CR", "\r", true}};
    Scratch dir;
    for (const auto& type : kFileTypes) {
        SCOPED_TRACE(type.extension);
        const std::string original = written(type, dir);
        std::optional<Window> reference;
        RecordingPrompts prompts;
        for (const auto& [name, end, mark] : variants) {
            SCOPED_TRACE(name);
            const std::string bytes =
                (mark ? "\xEF\xBB\xBF" : "") + replace_all(original, "\r\n", end);
            const std::string file = std::string("v.") + type.extension;
            Window w = small_curve(type.model);
            ASSERT_EQ(read_curve_file(dir.put(file, bytes), type.model, w.curve, w.fields, prompts),
                      FileCommandResult::Done);
            if (!reference) reference = w;
            EXPECT_EQ(w.state(), reference->state());
        }
        EXPECT_EQ(reference->fields.serial_number, "D12345");
        EXPECT_EQ(reference->curve.breakpoint_count, type.model == M::HOX ? 192 : 3);
        EXPECT_EQ(prompts.texts(), std::vector<std::string>{});
    }
}

// How the reason of a failed read is provoked.
enum class Input { Bytes, Missing, Folder, Fifo, Device };

// A read takes what fits the model or says why not; only the .DUN and .HOX readers also tell the
// user.
TEST(FileReasons, EveryReadTakesTheCurveOrSaysWhy) {
    using Row = std::tuple<M, const char*, Input, std::string, std::string, Points>;
    const std::string head = "Name: x\r\nSerial: y\r\nFormat: 3\r\nLimit: 475\r\nCoeff: 2\r\n";
    const std::string big(file_io::kMaxCurveFileBytes + 1, '\n');
    // clang-format off
    const std::vector<Row> rows = {
        {M::TAZ, "missing.taz", Input::Missing, "", "No such file or directory", {}},
        {M::TAZ, "folder.taz", Input::Folder, "", "Is a directory", {}},
        {M::NAV, "pipe.nav", Input::Fifo, "", "not a regular file", {}},
        {M::HOX, "zero.hox", Input::Device, "", "not a regular file", {}},
        {M::TAZ, "big.tza", Input::Bytes, big, "larger than any curve file (over 1024 kB)", {}},
        {M::TAZ, "count.taz", Input::Bytes, head + "Count: three\r\n", "line 6: not a number", {}},
        {M::TAZ, "format.taz", Input::Bytes, "junk\r\n" + replace_all(head, "3", "III"), "line 4: not a number", {}},
        {M::TAZ, "coefficient.tza", Input::Bytes, replace_all(head, "2", "two"), "line 5: not a number", {}},
        {M::TAZ, "huge format.tza", Input::Bytes, replace_all(head, "3", "3e10"), "line 3: number out of range", {}},
        // The .NAV layout has its data format on the fifth line.
        {M::NAV, "nav format.nav", Input::Bytes, replace_all(head, "2", "x") + "Count: 1\r\n", "line 5: not a number", {}},
        {M::TAZ, "header only.taz", Input::Bytes, "Name: x\nSerial: y\n", "the file ends before its points", {}},
        {M::TAZ, "short.taz", Input::Bytes, head + "Count: 3\r\n\r\n  1 1 1\r\n  2 2 2\r\n", "the file ends before its points", {}},
        {M::NAV, "short.nav", Input::Bytes, head + "Count: 2\r\n", "the file ends before its points", {}},
        {M::TAZ, "201.taz", Input::Bytes, head + "Count: 201\r\n", "line 6: more points than the model holds", {}},
        {M::TAZ, "1e12.taz", Input::Bytes, head + "Count: 1e12\r\n", "line 6: more points than the model holds", {}},
        {M::TAZ, "negative.taz", Input::Bytes, head + "Count: -1\r\n", "line 6: the number of points is negative", {}},
        {M::TAZ, "201.tza", Input::Bytes, head + repeat("Point 1: 1,1\r\n", 201), "line 206: more points than the model holds", {}},
        {M::NAV, "98.nav", Input::Bytes, head + "Count: 98\r\n" + repeat(" 1 1 1\r\n", 98), "line 6: more points than the model holds", {}},
        {M::ELK, "98.dun", Input::Bytes, "XC06,L00N" + repeat(",1,1", 98) + "*", "line 1: more points than the model holds", {}},
        {M::HOX, "193.hox", Input::Bytes, "S\n" + repeat("1,1\n", 193), "line 194: more points than the model holds", {}},
        {M::DUN, "empty.dun", Input::Bytes, "\xEF\xBB\xBF", "the file is empty", {}},
        {M::DUN, "comma.dun", Input::Bytes, "XC06,L00NAME\r\n", "line 1: no ',' after the header field", {}},
        {M::DUN, "star.dun", Input::Bytes, "XC06,L00NAME,1,2\r\n", "line 1: no '*' after the points", {}},
        {M::DUN, "odd.dun", Input::Bytes, "XC06,L00NAME,1,2,3*\r\n", "line 1: a point has no temperature", {}},
        {M::HOX, "empty.hox", Input::Bytes, "", "the file is empty", {}},
        {M::HOX, "comma.hox", Input::Bytes, "S\n1,2\n3 4\n", "line 3: no ',' between units and temperature", {}},
        // What users and other tools write is read, up to each model's capacity.
        {M::TAZ, "count 3 with 5 lines.taz", Input::Bytes, head + "Number of Breakpoints:   3\r\n\r\nNo.   Units      Temperature (K)\r\n\r\n"
         "  1  0.1 300\r\n  2  0.2 200\r\n  3  0.3 100\r\n  4  0.4 50\r\n  5 x y\r\n", "", {{0.1, 300}, {0.2, 200}, {0.3, 100}}},
        {M::TAZ, "labels, tabs, commas, exponents, lone CR.TAZ", Input::Bytes, "junk line\rName = x: DT-470\rS: D12345\rF:3\rL:475\rC:2\rCount:2 points\r"
         "1\t1.5e-1,\t3E2\r2,2.5E-01 , 2.0e+2 trailing\r", "", {{0.15, 300}, {0.25, 200}}},
        {M::TAZ, "blank line is 0,0.tza", Input::Bytes, head + "Point 1: 1,2\r\n\r\nPoint 3: 3,4\r\n\r\n", "", {{1, 2}, {0, 0}, {3, 4}, {0, 0}}},
        {M::TAZ, "200.taz", Input::Bytes, head + "Count: 200\r\n" + repeat("  1 1 1\r\n", 200), "", Points(200, {1, 1})},
        {M::TAZ, "200.tza", Input::Bytes, head + repeat("Point 1: 1,1\r\n", 200), "", Points(200, {1, 1})},
        {M::NAV, "97.nav", Input::Bytes, head + "Count: 97\r\n" + repeat(" 1 1 1\r\n", 97), "", Points(97, {1, 1})},
        {M::DUN, "97.dun", Input::Bytes, "XC06,L00N" + repeat(",1,1", 97) + "*", "", Points(97, {1, 1})},
        {M::HOX, "192.hox", Input::Bytes, "S\r\n" + repeat("1,1\r\n", 192), "", Points(192, {1, 1})},
    };
    // clang-format on
    Scratch dir;
    for (const auto& [model, file, input, bytes, expected, points] : rows) {
        SCOPED_TRACE(file);
        const std::string path = dir.path(file);
        if (input == Input::Bytes) dir.put(file, bytes);
        if (input == Input::Folder) fs::create_directory(path);
        ASSERT_TRUE(input != Input::Fifo || ::mkfifo(path.c_str(), 0600) == 0);
        if (input == Input::Device) fs::create_symlink("/dev/zero", path);
        Window w = small_curve(model);
        const Window before = w;
        RecordingPrompts prompts;
        std::string reason;
        EXPECT_EQ(read_curve_file(path, model, w.curve, w.fields, prompts, &reason),
                  expected.empty() ? FileCommandResult::Done : FileCommandResult::Failed);
        EXPECT_EQ(reason, expected);
        if (expected.empty()) {
            EXPECT_EQ(w.points(), points);
            for (size_t i = points.size(); i < w.curve.sensor_units.size() - 1; ++i)
                ASSERT_EQ(w.curve.temperatures[i], UNUSED_POINT) << i;
        } else {
            EXPECT_EQ(w.state(), before.state());
        }
        const bool says = !expected.empty() && model != M::TAZ && model != M::NAV;
        EXPECT_EQ(prompts.texts(),
                  says ? std::vector<std::string>{"Bad file format."} : std::vector<std::string>{});
    }
}

// Temporary files the writer may have left beside its targets.
std::vector<std::string> leftovers(const Scratch& dir) {
    std::vector<std::string> out;
    for (const auto& entry : fs::recursive_directory_iterator(dir.path("")))
        if (entry.path().filename().string().find(".kelvara-") != std::string::npos)
            out.push_back(entry.path().string());
    return out;
}

enum class Output { Plain, Folder, FullDisk, LinkLoop, Fifo, ReadOnly };

TEST(FileReasons, EveryFailedWriteSaysWhy) {
    constexpr auto Failed = FileCommandResult::Failed;
    // clang-format off
    const std::tuple<const char*, Output, std::string, const char*, FileCommandResult> rows[] = {
        // File, what is there, reason, setpoint limit, result.
        {"no/x.taz", Output::Plain, "No such file or directory", "475", Failed},
        {"folder.taz", Output::Folder, "Is a directory", "475", Failed},
        {"full.taz", Output::FullDisk, "No space left on device", "475", Failed},
        {"loop.taz", Output::LinkLoop, "Too many levels of symbolic links", "475", Failed},
        {"pipe.taz", Output::Fifo, "No such device or address", "475", Failed},  // nobody reads the pipe
        {"read-only.taz", Output::ReadOnly, "Permission denied", "475", Failed},
        {"x.taz", Output::Plain, "the setpoint limit is empty", " ", Failed},
        {"x.tza", Output::Plain, "the setpoint limit 'abc' is not a number", "abc", Failed},
        {"x.nav", Output::Plain, "model TAZ uses only .TAZ and .TZA files", "475", FileCommandResult::WrongType},
    };
    // clang-format on
    Scratch dir;
    for (const auto& [file, output, expected, setpoint, result] : rows) {
        SCOPED_TRACE(file);
        const std::string path = dir.path(file);
        if (output == Output::Folder) fs::create_directory(path);
        if (output == Output::FullDisk) fs::create_symlink("/dev/full", path);
        if (output == Output::LinkLoop) {
            fs::create_symlink("loop2.taz", path);
            fs::create_symlink("loop.taz", dir.path("loop2.taz"));
        }
        ASSERT_TRUE(output != Output::Fifo || ::mkfifo(path.c_str(), 0600) == 0);
        if (output == Output::ReadOnly) {
            if (::geteuid() == 0) continue;  // the superuser writes read-only files
            dir.put(file, "old");
            fs::permissions(path, fs::perms::owner_read);
        }
        Window w = small_curve(M::TAZ);
        w.fields.setpoint_text = setpoint;
        RecordingPrompts prompts;
        std::string reason;
        EXPECT_EQ(write_curve_file(path, M::TAZ, w.curve, w.fields, prompts, &reason), result);
        EXPECT_EQ(reason, expected);
        EXPECT_TRUE(output != Output::Plain || !fs::exists(path));
        EXPECT_EQ(output == Output::ReadOnly ? dir.get(file) : "old", "old");
    }
    EXPECT_EQ(leftovers(dir), std::vector<std::string>{});
}

struct stat status_of(const std::string& path) {
    struct stat st {};
    EXPECT_EQ(::lstat(path.c_str(), &st), 0) << path;
    return st;
}

// Writing over a file keeps the links, permissions and owner the user gave it, and replaces a
// singly linked file whole (a reader that has the old file open still sees the old curve).
TEST(FileWriting, KeepsLinksPermissionsAndOwner) {
    struct Row {
        const char* name;
        std::function<void(const Scratch&)> setup;
        std::function<void(const Scratch&, const std::string& expected)> check;
        bool superuser_only = false;
    };
    auto mode_of = [](const Scratch& dir, const char* file) {
        return status_of(dir.path(file)).st_mode & 07777;
    };
    // user::rw- user:65534:r-- group::r-- mask::r-- other::---, as a little-endian kernel
    // stores it: a version, then tag, permissions and id of each entry.
    const char* kAcl = "system.posix_acl_access";
    const std::string acl(
        "\x02\0\0\0"
        "\x01\0\x06\0\xff\xff\xff\xff\x02\0\x04\0\xfe\xff\0\0\x04\0\x04\0\xff\xff\xff\xff"
        "\x10\0\x04\0\xff\xff\xff\xff\x20\0\0\0\xff\xff\xff\xff",
        44);
    bool acl_set = false;
    int old_reader = -1;
    const mode_t mask = ::umask(0);
    ::umask(mask);
    const std::vector<Row> rows = {
        // Each relative target counts from its own link's folder.
        {"chain of links: into a subfolder, relative there, then absolute",
         [](const Scratch& d) {
             fs::create_directory(d.path("sub"));
             d.put("real.taz", "old");
             fs::create_symlink("sub/b.taz", d.path("c.taz"));
             fs::create_symlink("a.taz", d.path("sub/b.taz"));
             fs::create_symlink(d.path("real.taz"), d.path("sub/a.taz"));
         },
         [](const Scratch& d, const std::string& expected) {
             EXPECT_EQ(fs::read_symlink(d.path("c.taz")), "sub/b.taz");
             EXPECT_EQ(fs::read_symlink(d.path("sub/b.taz")), "a.taz");
             EXPECT_EQ(fs::read_symlink(d.path("sub/a.taz")), d.path("real.taz"));
             EXPECT_EQ(d.get("real.taz"), expected);
         }},
        {"link to a file not there yet",
         [](const Scratch& d) { fs::create_symlink("new.taz", d.path("c.taz")); },
         [](const Scratch& d, const std::string& expected) {
             EXPECT_TRUE(fs::is_symlink(d.path("c.taz")));
             EXPECT_EQ(d.get("new.taz"), expected);
         }},
        {"hard links, old content longer",
         [](const Scratch& d) {
             d.put("c.taz", std::string(20000, 'x'));
             fs::create_hard_link(d.path("c.taz"), d.path("d.taz"));
             fs::permissions(d.path("c.taz"), fs::perms(0640));
         },
         [&](const Scratch& d, const std::string& expected) {
             const struct stat c = status_of(d.path("c.taz"));
             EXPECT_EQ(c.st_ino, status_of(d.path("d.taz")).st_ino);
             EXPECT_EQ(c.st_nlink, 2u);
             EXPECT_EQ(d.get("d.taz"), expected);
             EXPECT_EQ(mode_of(d, "d.taz"), 0640u);
         }},
        // A singly linked file is replaced whole: a reader that opened the old file before still
        // reads the old curve; the new file takes the old one's mode, the set-group-ID bit
        // included.
        {"single link, still open",
         [&](const Scratch& d) {
             ASSERT_EQ(::chmod(d.put("c.taz", "old curve").c_str(), 02754), 0);
             old_reader = ::open(d.path("c.taz").c_str(), O_RDONLY);
         },
         [&](const Scratch& d, const std::string&) {
             EXPECT_EQ(mode_of(d, "c.taz"), 02754u);
             char buffer[32] = {};
             EXPECT_EQ(::pread(old_reader, buffer, sizeof buffer, 0), 9);
             EXPECT_STREQ(buffer, "old curve");
             ::close(old_reader);
         }},
        {"new file", [](const Scratch&) {},
         [&](const Scratch& d, const std::string&) {
             EXPECT_EQ(mode_of(d, "c.taz"), 0666u & ~mask);
         }},
        {"access-control list",
         [&](const Scratch& d) {
             d.put("c.taz", "old");
             acl_set = ::setxattr(d.path("c.taz").c_str(), kAcl, acl.data(), acl.size(), 0) == 0;
         },
         [&](const Scratch& d, const std::string&) {
             if (!acl_set) return;  // a file system without lists has nothing to keep
             std::string kept(acl.size() + 8, '\0');
             kept.resize(std::max<ssize_t>(
                 0, ::getxattr(d.path("c.taz").c_str(), kAcl, kept.data(), kept.size())));
             EXPECT_EQ(kept, acl);
         }},
        {"owner and group",
         [](const Scratch& d) {
             d.put("c.taz", "old");
             ASSERT_EQ(::chown(d.path("c.taz").c_str(), 65534, 65534), 0);
         },
         [](const Scratch& d, const std::string&) {
             const struct stat c = status_of(d.path("c.taz"));
             EXPECT_EQ(std::pair(c.st_uid, c.st_gid), std::pair(65534u, 65534u));
         },
         true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.superuser_only && ::geteuid() != 0) continue;
        Scratch dir;
        Window w = small_curve(M::TAZ);
        RecordingPrompts prompts;
        ASSERT_EQ(write_curve_file(dir.path("expected.taz"), M::TAZ, w.curve, w.fields, prompts),
                  FileCommandResult::Done);
        row.setup(dir);
        std::string reason;
        ASSERT_EQ(write_curve_file(dir.path("c.taz"), M::TAZ, w.curve, w.fields, prompts, &reason),
                  FileCommandResult::Done)
            << reason;
        EXPECT_EQ(dir.get("c.taz"), dir.get("expected.taz"));
        row.check(dir, dir.get("expected.taz"));
        EXPECT_EQ(leftovers(dir), std::vector<std::string>{});
    }
}

// With the file-size limit below the curve's size every write fails part-way: the old file, a
// hard-linked one included, stays as it was, and no new file appears.
TEST(FileWriting, AFailedWriteLeavesTheOldFile) {
    // The old file (nullptr: none yet), and whether it has a second hard link.
    const std::pair<const char*, bool> rows[] = {
        {"old curve", false}, {"old curve", true}, {nullptr, false}};
    auto* previous = ::signal(SIGXFSZ, SIG_IGN);
    struct rlimit saved {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
    for (const auto& [old, hard_link] : rows) {
        SCOPED_TRACE(hard_link ? "hard links" : old ? "single link" : "new file");
        Scratch dir;
        if (old) dir.put("c.taz", old);
        if (hard_link) fs::create_hard_link(dir.path("c.taz"), dir.path("d.taz"));
        Window w = small_curve(M::TAZ);
        RecordingPrompts prompts;
        std::string reason;
        struct rlimit small = saved;
        small.rlim_cur = 64;
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
        const FileCommandResult result =
            write_curve_file(dir.path("c.taz"), M::TAZ, w.curve, w.fields, prompts, &reason);
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &saved), 0);
        EXPECT_EQ(result, FileCommandResult::Failed);
        EXPECT_EQ(reason, "File too large");
        EXPECT_EQ(dir.exists("c.taz") ? dir.get("c.taz") : "(none)", old ? old : "(none)");
        EXPECT_EQ(leftovers(dir), std::vector<std::string>{});
    }
    ::signal(SIGXFSZ, previous);
}

}  // namespace
}  // namespace kelvara
