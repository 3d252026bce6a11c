// kelvara-cli show and convert, run as a user runs them.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct CliRun {
    int status;
    std::string out;
    std::string err;
};

std::string slurp(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

class CliFiles : public ::testing::Test {
  protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() /
               ("kelvara-cli-" + std::to_string(::getpid()) + "-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(dir_);
        fs::create_directories(dir_);
    }
    void TearDown() override { fs::remove_all(dir_); }

    std::string path(const std::string& name) const { return (dir_ / name).string(); }
    std::string put(const std::string& name, const std::string& bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
        return path(name);
    }
    CliRun run(const std::vector<std::string>& args) const {
        std::string command = "'" KELVARA_CLI_PATH "'";
        for (const auto& a : args) command += " '" + a + "'";
        command += " >'" + path("stdout") + "' 2>'" + path("stderr") + "'";
        int raw = std::system(command.c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(path("stdout")),
                slurp(path("stderr"))};
    }

    fs::path dir_;
};

const std::string kTaz =
    "Sensor Model:   He said \"hi\"\\\r\nSerial Number:  D1\r\n"
    "Data Format:    2      (Volts vs. Kelvin)\r\nSetPoint Limit: 475.5      (Kelvin)\r\n"
    "Temperature coefficient:  1 (Negative)\r\nNumber of Breakpoints:   2\r\n\r\n"
    "No.   Units      Temperature (K)\r\n\r\n"
    "  1  .123450        77.350\r\n  2  1.00000e-05   300.000\r\n";

TEST_F(CliFiles, ShowPrintsTheCurveAsJson) {
    put("c.taz", kTaz);
    put("c.dun", "XC06,S29MYSENSOR 123456,0.12345,300.0,0.23456,250.0*\r\n");
    put("c.hox", "H\xe9\r\n0.00,300.000\r\n");
    struct Row {
        std::vector<std::string> args;
        std::string json;
    };
    const std::vector<Row> rows = {
        {{"show", "--model", "taz", path("c.taz")},
         R"({"model":"TAZ","name":"He said \"hi\"\\","serial_number":"D1","data_format":2,)"
         R"("setpoint_limit":"475.5","temperature_coefficient":1,"interpolation_method":"",)"
         R"("thermocouple":false,"nav_format_code":0,"dun_format_char":"","breakpoint_count":2,)"
         R"("points":[[0.12345,77.35],[1e-05,300]]})"},
        {{"show", path("c.dun"), "--model=Elk"},
         R"({"model":"ELK","name":"MYSENSOR ","serial_number":"123456","data_format":0,)"
         R"("setpoint_limit":"475","temperature_coefficient":1,"interpolation_method":"Straight Line",)"
         R"("thermocouple":true,"nav_format_code":1,"dun_format_char":"9","breakpoint_count":2,)"
         R"("points":[[0.12345,300],[0.23456,250]]})"},
        {{"show", "--model", "HOX", path("c.hox")},
         R"({"model":"HOX","name":"","serial_number":"H\u00e9","data_format":4,"setpoint_limit":"",)"
         R"("temperature_coefficient":1,"interpolation_method":"","thermocouple":false,)"
         R"("nav_format_code":0,"dun_format_char":"","breakpoint_count":1,"points":[[0,300]]})"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.args[1]);
        CliRun r = run(row.args);
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out, row.json + "\n");
        EXPECT_EQ(r.err, "");
    }
}

TEST_F(CliFiles, ModelDesignations) {
    put("c.tza", "Name: a\r\nSerial number: b\r\nFormat: 1\r\nLimit: 2\r\nCoefficient: 1\r\n");
    const std::pair<const char*, int> rows[] = {
        {"QUA", 0}, {"ril", 0}, {"Qua/Ril", 0}, {"zek", 0}, {"QUARIL", 2}, {"", 2}, {"XYZ", 2}};
    for (const auto& [model, status] : rows) {
        SCOPED_TRACE(model);
        CliRun r = run({"show", "--model", model, path("c.tza")});
        EXPECT_EQ(r.status, status) << r.err;
        const char* needle = status == 0 ? "\"breakpoint_count\":0" : "unknown instrument model";
        EXPECT_NE((status == 0 ? r.out : r.err).find(needle), std::string::npos);
    }
}

TEST_F(CliFiles, FailuresAndUsageErrors) {
    put("c.taz", kTaz);
    put("bad.dun", "XC06,S29MYSENSOR 123456,0.1,300.0\r\n");
    put("short.taz", kTaz.substr(0, kTaz.size() - 30));
    struct Row {
        std::vector<std::string> args;
        int status;
        std::string stderr_start;
    };
    const std::vector<Row> rows = {
        {{"show", "--model", "NAV", path("c.taz")},
         1,
         "Wrong file type. Must use file with '.NAV' or '.DUN' extension.\n"},
        {{"show", "--model", "HOX", path("c.taz")},
         1,
         "Wrong file type. Must use file with '.HOX' extension.\n"},
        {{"show", "--model", "DUN", path("bad.dun")},
         1,
         "Bad file format.\nkelvara-cli: cannot read "},
        {{"show", "--model", "TAZ", path("short.taz")}, 1, "kelvara-cli: cannot read "},
        {{"show", "--model", "TAZ", path("none.taz")}, 1, "kelvara-cli: cannot read "},
        {{"convert", "--model", "TAZ", path("c.taz"), path("no/such/dir/x.tza")},
         1,
         "kelvara-cli: cannot write "},
        {{"convert", "--model", "TAZ", path("c.taz"), path("x.nav")},
         1,
         "Wrong file type. Must use file with '.TAZ' or '.TZA' extension.\n"},
        {{"show", path("c.taz")}, 2, "kelvara-cli show: --model M is required"},
        {{"show", "--model", "TAZ"}, 2, "kelvara-cli show: expected 1 file name"},
        {{"show", "--model", "TAZ", path("c.taz"), "--fast"},
         2,
         "kelvara-cli show: unknown option '--fast'"},
        {{"convert", "--model", "TAZ", path("c.taz")},
         2,
         "kelvara-cli convert: expected 2 file names"},
        {{"show", "--model"}, 2, "kelvara-cli show: --model needs"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.args.size() > 3 ? row.args[3] : row.args.back());
        CliRun r = run(row.args);
        EXPECT_EQ(r.status, row.status);
        EXPECT_EQ(r.err.substr(0, row.stderr_start.size()), row.stderr_start) << r.err;
        EXPECT_EQ(r.out, "");
    }
    EXPECT_FALSE(fs::exists(path("x.nav")));

    CliRun help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("show --model M FILE"), std::string::npos);
    EXPECT_NE(help.out.find("convert --model M IN OUT"), std::string::npos);
}

TEST_F(CliFiles, ConvertWritesWhatTheWindowWould) {
    put("c.taz", kTaz);
    put("e.tza",
        "Name:\r\nSerial number:\r\nFormat: 1\r\nLimit: 10\r\nCoefficient: 1\r\nPoint 1: "
        "1,4\r\nPoint 2: 2,9\r\n");
    put("c.nav",
        "Sensor Model:   ABCDEFGHIJKL\r\nSerial Number:  12345678\r\nInterpolation Method:   "
        "Lagrangian\r\n"
        "SetPoint Limit: 800.0      (Kelvin)\r\nData Format:    3      (Ohms vs. Kelvin)\r\n"
        "Number of Breakpoints:   1\r\n\r\nNo.   Units      Temperature (K)\r\n\r\n  1  0.50000    "
        "     4.2\r\n");
    struct Row {
        std::vector<std::string> args;
        const char* out_name;
        std::string bytes;
        std::string err;
    };
    const std::vector<Row> rows = {
        {{"convert", "--model", "TAZ", path("c.taz"), path("o.TZA")},
         "o.TZA",
         "Name: He said \"hi\"\\\r\nSerial number: D1\r\nFormat: 2             ; Volts vs. "
         "Kelvin\r\n"
         "Limit: 475.50\r\nCoefficient: 2        ; Positive\r\nPoint 1: .123450,77.4\r\nPoint 2: "
         ".000010,300.0\r\n",
         ""},
        {{"convert", "--model", "mep", path("e.tza"), path("e.taz")},
         "e.taz",
         "Sensor Model:   no name\r\nSerial Number:  no number\r\n"
         "Data Format:    1      (MilliVolts vs. Kelvin)\r\nSetPoint Limit: 10.0      (Kelvin)\r\n"
         "Temperature coefficient:  2 (Positive)\r\nNumber of Breakpoints:   2\r\n\r\n"
         "No.   Units      Temperature (K)\r\n\r\n  1  1.00000         4.000\r\n  2  2.00000       "
         "  9.000\r\n",
         ""},
        {{"convert", "--model", "LUM", path("c.nav"), path("o.dun")},
         "o.dun",
         "XC06,L30ABCDEFGHI123456,0.50000,4.200*\r\n",
         "Warning. Setting 3rd character in header field to 0.\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.out_name);
        CliRun r = run(row.args);
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(slurp(path(row.out_name)), row.bytes);
        EXPECT_EQ(r.err, row.err);
    }
}

}  // namespace
