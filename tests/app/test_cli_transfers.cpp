// kelvara-cli write, read, list and delete in real time against kelvara-sim on a pseudo-terminal,
// behind its simulated GPIB adapters (USB on a pseudo-terminal, Ethernet on TCP) and through the
// simulated GPIB library. Every GPIB model writes through both adapter kinds (the write reads the
// curve back to check it); read, list and delete go the whole way round once per way in and file
// kind, since what each model's procedures send and take is the protocol tests' round trip.
#include <gtest/gtest.h>

#include <algorithm>

#include "cli_runner.h"

namespace {

using namespace cli_test;

std::string nav(const std::string& name, const std::string& serial,
                const std::string& interpolation,
                const std::string& points =
                    "  1  0.10800       475.0\r\n  2  1.00000        77.4\r\n"
                    "  3  1.60000         4.2\r\n") {
    return "Sensor Model:   " + name + "\r\nSerial Number:  " + serial +
           "\r\nInterpolation Method:   " + interpolation +
           "\r\nSetPoint Limit: 800.0      (Kelvin)\r\nData Format:    0      \r\n"
           "Number of Breakpoints:   " +
           std::to_string(std::count(points.begin(), points.end(), '\n')) +
           "\r\n\r\nNo.   Units      Temperature (K)\r\n\r\n" + points;
}
// The older instruments keep name and serial number in one field and split it after nine.
const std::string kNav = nav("CLI-TESTS", "N77", "Straight Line");
// A platinum curve ending at 350 ohms: by default the ohms go to the instrument divided by 100.
// Read back, the short name and serial number share the name field and the serial number is empty.
const std::string kPlatinum =
    nav("PT-100", "P1", "Unknown", "  1 20.00000        30.0\r\n  2 350.00000       900.0\r\n");
std::string platinum_back(const std::string& first, const std::string& last) {
    return nav("PT-100P1", "no number", "Straight Line",
               "  1  " + first + "        30.0\r\n  2  " + last + "       900.0\r\n");
}

enum Link { Pty, Usb, Tcp, Library };

// steps: w: write; r: read back as `back`; l: listed; d: deleted, then not read
struct Trip {
    std::string model;
    Link link;
    int location;
    std::string steps, in, back = "", write_options = "";
};

// The last user location of each GPIB model, and the procedures' full round trips.
std::vector<Trip> trips() {
    std::vector<Trip> t = {
        {"FEN", Pty, 21, "wr", kE2eTaz, kE2eTaz},
        {"LUM", Pty, 11, "wld", nav("CLI-TEST", "SN77", "Unknown")},
        {"ELK", Library, 8, "wr", kPlatinum, platinum_back("0.20000", "3.50000")},
        {"ELK", Library, 8, "wr", kPlatinum, platinum_back("20.0000", "350.000"), "--no-scaling"},
        {"ELK", Library, 8, "wr", kPlatinum, platinum_back("0.02000", "0.35000"),
         "--units-factor 0.001"},
    };
    const std::vector<Trip> models = {
        {"TAZ", Usb, 60, "w", kE2eTaz}, {"FEN", Usb, 28, "wrld", kE2eTaz, kE2eTaz},
        {"GIR", Usb, 59, "w", kE2eTaz}, {"MEP", Usb, 35, "w", kE2eTaz},
        {"OBR", Usb, 41, "w", kE2eTaz}, {"PIX", Usb, 41, "w", kE2eTaz},
        {"QUA", Usb, 59, "w", kE2eTaz}, {"VEM", Usb, 59, "w", kE2eTaz},
        {"WUN", Usb, 20, "w", kE2eTaz}, {"ZEK", Usb, 59, "w", kE2eTaz},
        {"NAV", Usb, 31, "w", kNav},    {"KIP", Usb, 15, "wrld", kNav, kNav},
        {"DUN", Usb, 31, "w", kNav},    {"ELK", Usb, 31, "w", kNav},
    };
    for (const Link link : {Usb, Tcp})
        for (Trip trip : models) {
            trip.link = link;
            t.push_back(trip);
        }
    return t;
}

TEST(CliTransfers, WriteReadListDelete) {
    in_parallel(trips(), [](const Trip& row) {
        SCOPED_TRACE(row.model + " " + std::to_string(row.link) + " " + row.write_options);
        Scratch s;
        const bool library = row.link == Library;
        const char* kinds[] = {"", " --prologix", " --prologix-tcp 0"};
        const Simulator sim(library ? "" : "--model " + row.model + kinds[row.link]);
        ASSERT_EQ(sim.device().empty(), library);
        const std::string options[] = {"--serial {dev}", "--gpib 7 --prologix {dev}",
                                       "--gpib 7 --prologix-host {dev}", kGpib};
        const std::string link = " --model " + row.model + " " + sim.put_device(options[row.link]);
        const std::string environment =
            library ? "KELVARA_SIM_STATE=state KELVARA_SIM_MODEL=" + row.model : "";
        const std::string at = " --location " + std::to_string(row.location) + " ";
        const std::string file = row.in.find("Interpolation") == std::string::npos ? "taz" : "nav";
        s.put("in." + file, row.in);

        CliRun r = s.cli("write" + link + at + row.write_options + " in." + file, environment);
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.err, "");
        if (row.steps.find('r') != std::string::npos) {
            r = s.cli("read" + link + at + "back." + file, environment);
            ASSERT_EQ(r.status, 0) << r.err;
            EXPECT_EQ(s.get("back." + file), row.back);
        }
        if (row.steps.find('l') != std::string::npos) {
            r = s.cli("list" + link, environment);
            ASSERT_EQ(r.status, 0) << r.err;
            char number[8];
            std::snprintf(number, sizeof number, "\n%02d - ", row.location);
            const std::string name = file == "taz" ? "E2E  SN-7\n" : "CLI-TESTS\n";
            EXPECT_NE(("\n" + r.out).find(number + name), std::string::npos) << r.out;
        }
        if (row.steps.find('d') != std::string::npos) {
            r = s.cli("delete" + link + at, environment);
            ASSERT_EQ(r.status, 0) << r.err;
            r = s.cli("read" + link + at + "gone." + file, environment);
            EXPECT_EQ(r.status, 1);
            EXPECT_FALSE(s.exists("gone." + file));
        }
    });
}

}  // namespace
