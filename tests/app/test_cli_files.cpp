// kelvara-cli show and convert, and the exit status and reason of every failure found in the
// options, the files or the device before any transfer.
#include <gtest/gtest.h>

#include "cli_runner.h"

namespace {

using namespace cli_test;

const std::string kTaz =
    "Sensor Model:   He said \"hi\"\\\r\nSerial Number:  D\x80\xe9\r\n"
    "Data Format:    2      (Volts vs. Kelvin)\r\nSetPoint Limit: 475.5      (Kelvin)\r\n"
    "Temperature coefficient:  1 (Negative)\r\nNumber of Breakpoints:   2\r\n\r\n"
    "No.   Units      Temperature (K)\r\n\r\n"
    "  1  .123450        77.350\r\n  2  1.00000e-05   300.000\r\n";

// What show prints and what convert writes.
TEST(CliFiles, ShowAndConvert) {
    Scratch s;
    s.put("c.taz", kTaz);
    s.put("c.dun", "XC06,S29MYSENSOR 123456,0.12345,300.0,0.23456,250.0*\r\n");
    s.put("c.nav",
          "Sensor Model:   ABCDEFGHIJKL\r\nSerial Number:  12345678\r\n"
          "Interpolation Method:   Lagrangian\r\nSetPoint Limit: 800.0      (Kelvin)\r\n"
          "Data Format:    3      (Ohms vs. Kelvin)\r\nNumber of Breakpoints:   1\r\n\r\n"
          "No.   Units      Temperature (K)\r\n\r\n  1  0.50000         4.2\r\n");
    // arguments, the file written ("" for stdout), its bytes, stderr
    using Row = std::tuple<std::string, std::string, std::string, std::string>;
    const Row rows[] = {
        {"show --model taz c.taz", "",
         R"({"model":"TAZ","name":"He said \"hi\"\\","serial_number":"D\u20ac\u00e9","data_format":2,)"
         R"("setpoint_limit":"475.5","temperature_coefficient":1,"interpolation_method":"",)"
         R"("thermocouple":false,"nav_format_code":0,"dun_format_char":"","breakpoint_count":2,)"
         R"("points":[[0.12345,77.35],[1e-05,300]]})"
         "\n",
         ""},
        {"show c.dun --model=Elk", "",
         R"({"model":"ELK","name":"MYSENSOR ","serial_number":"123456","data_format":0,)"
         R"("setpoint_limit":"475","temperature_coefficient":1,"interpolation_method":"Straight Line",)"
         R"("thermocouple":true,"nav_format_code":1,"dun_format_char":"9","breakpoint_count":2,)"
         R"("points":[[0.12345,300],[0.23456,250]]})"
         "\n",
         ""},
        {"convert --model TAZ c.taz o.TZA", "o.TZA",
         "Name: He said \"hi\"\\\r\nSerial number: D\x80\xe9\r\nFormat: 2             ; Volts vs. "
         "Kelvin\r\nLimit: 475.50\r\nCoefficient: 2        ; Positive\r\n"
         "Point 1: .123450,77.4\r\nPoint 2: .000010,300.0\r\n",
         ""},
        {"convert --model LUM c.nav o.dun", "o.dun", "XC06,L30ABCDEFGHI123456,0.50000,4.200*\r\n",
         "Warning. Setting 3rd character in header field to 0.\n"},
    };
    for (const auto& [arguments, output, bytes, err] : rows) {
        SCOPED_TRACE(arguments);
        const CliRun r = s.cli(arguments);
        EXPECT_EQ(r.status, 0);
        EXPECT_EQ(output.empty() ? r.out : s.get(output), bytes);
        EXPECT_EQ(r.err, err);
    }
}

// Exit status 1 when the operation failed, 2 for a usage error; the reason goes to stderr.
TEST(CliFiles, FailuresExitWithAReason) {
    Scratch s;
    s.put("c.taz", kTaz);
    s.put("bad.dun", "XC06,S29MYSENSOR 123456,0.1,300.0\r\n");
    s.put("one.nav",
          "Sensor Model:   ONE\r\nSerial Number:  S1\r\nInterpolation Method:   Unknown\r\n"
          "SetPoint Limit: 800.0      (Kelvin)\r\nData Format:    0      \r\n"
          "Number of Breakpoints:   1\r\n\r\nNo.   Units      Temperature (K)\r\n\r\n"
          "  1  0.10800       475.0\r\n");
    // arguments, exit status, what stderr holds
    const std::tuple<std::string, int, std::string> rows[] = {
        {"show --model NAV c.taz", 1, "Must use file with '.NAV' or '.DUN' extension.\n"},
        {"convert --model TAZ c.taz x.nav", 1, "Must use file with '.TAZ' or '.TZA' extension.\n"},
        {"show --model DUN bad.dun", 1,
         "Bad file format.\nkelvara-cli: cannot read bad.dun: line 1: no '*' after the points\n"},
        {"show --model TAZ no.taz", 1,
         "kelvara-cli: cannot read no.taz: No such file or directory\n"},
        {"convert --model TAZ c.taz no/x.tza", 1,
         "kelvara-cli: cannot write no/x.tza: No such file or directory\n"},
        {"show c.taz", 2, "kelvara-cli show: --model M is required (see --help)\n"},
        {"show --model QUARIL c.taz", 2, "show: unknown instrument model 'QUARIL' "},
        {"show --model TAZ c.taz --fast", 2, "show: unknown option '--fast' (see --help)\n"},
        {"convert --model TAZ c.taz", 2, "convert: expected 2 file names (see --help)\n"},
        {"identify --model TAZ --gpib 12 --port 1", 2, "exactly one of --serial, --port, --gpib"},
        {"identify --model TAZ --gpib 33", 2, "--gpib takes a GPIB address 1 to 32, not '33'\n"},
        {"identify --model TAZ --port 17", 2, "--port takes a serial port number 1 to 16, not"},
        {"read --model DAL --simulate --location 4 x.taz", 2,
         "DAL offers to read (1 2 3 6 7 21)\n"},
        {"delete --model DAL --simulate --location 1", 2, "1 is not one the DAL offers to delete"},
        {"delete --model TAZ --simulate", 2, "delete: delete needs --location N\n"},
        {"write --model KOR --simulate --location 11 --no-scaling --units-factor 2 x.nav", 2,
         "--no-scaling cannot go with scaling factors\n"},
        // OUT's type and folder are checked before the transfer.
        {"read --model TAZ --simulate --location 1 x.nav", 1,
         "read: Wrong file type. Must use file with '.TAZ' or '.TZA' extension.\n"},
        {"read --model TAZ --simulate --location 1 no/x.taz", 1,
         "read: cannot write no/x.taz: the folder no does not exist\n"},
        {"read --model KOR --gpib 12 --location 11 x.nav", 2,
         "the KOR has no GPIB: it is reached over RS-232 (--serial PATH or --port N)"},
        {"list --model HOX --gpib 3", 2, "the HOX has no GPIB"},
        {"delete --model TAZ --simulate --location 21 --location 22", 2,
         "delete: --location given more than once\n"},
        {"list --model TAZ --model FEN --simulate", 2, "--model given more than once"},
        {"list --model TAZ --serial /dev/null --serial /dev/zero", 2,
         "--serial given more than once"},
        {"write --model KOR --simulate --location 11 --no-scaling --no-scaling one.nav", 2,
         "--no-scaling given more than once"},
        // The system's reason why the device would not open.
        {"list --model TAZ --serial /nonexistent/tty", 1,
         "kelvara-cli list: /nonexistent/tty: No such file or directory\n"},
        // A one-point curve cannot go to the older instruments: nothing is sent, and that fails
        // (each family's refusal is the protocol tests' fault table).
        {"write --model KOR --simulate --location 11 one.nav", 1,
         "Nothing was sent to the instrument: it takes curves of at least 2 points.\n"},
        // The .DUN writer's notice is printed; the read succeeded.
        {"read --model ELK --simulate --location 1 e.dun", 0,
         "Warning. Setting 3rd character in header field to 0.\n"},
    };
    for (const auto& [arguments, status, reason] : rows) {
        SCOPED_TRACE(arguments);
        const CliRun r = s.cli(arguments);
        EXPECT_EQ(r.status, status);
        EXPECT_NE(r.err.find(reason), std::string::npos) << r.err;
        EXPECT_EQ(r.out, "");
    }
    EXPECT_FALSE(s.exists("x.nav"));
    EXPECT_TRUE(s.exists("e.dun"));
}

}  // namespace
