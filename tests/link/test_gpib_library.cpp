// Loading an NI-488.2 library at run time: the calls resolved, and where the status is read.
#include <gtest/gtest.h>

#include "link/gpib_driver.h"

namespace kelvara {
namespace {

TEST(GpibLibrary, RefusesWhatCannotBeUsed) {
    struct Row {
        const char* path;
        const char* reason;
    };
    const Row rows[] = {{"/nonexistent/libgpib.so.0", "/nonexistent/libgpib.so.0"},
                        {NI_NO_IBRD_PATH, "no ibrd"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        std::string error;
        EXPECT_EQ(load_gpib_library(row.path, &error), nullptr);
        EXPECT_NE(error.find(row.reason), std::string::npos) << error;
    }
}

TEST(GpibLibrary, ReadsTheExportedGlobalsUntilRegisteredThenTheRegisteredVariables) {
    std::string error;
    auto driver = load_gpib_library(NI_STATUS_GLOBALS_PATH, &error);
    ASSERT_NE(driver, nullptr) << error;

    EXPECT_EQ(driver->ibdev(0, 12, 0, 13, 1, 0), 7);
    EXPECT_EQ(driver->thread_ibsta(), 0x101);
    EXPECT_EQ(driver->thread_iberr(), 1);
    EXPECT_EQ(driver->thread_ibcntl(), 26);

    EXPECT_EQ(driver->register_globals(), 0);
    char buffer[4] = {' ', ' ', ' ', ' '};
    driver->ibrd(7, buffer, 4);
    EXPECT_EQ(buffer[0], 'R');
    EXPECT_EQ(driver->thread_ibsta(), 0x204);
    EXPECT_EQ(driver->thread_iberr(), 104);
    EXPECT_EQ(driver->thread_ibcntl(), 1001);

    EXPECT_EQ(driver->register_globals(), 1);  // already registered
    driver->unregister_globals();
    driver->ibwrt(7, "*IDN?", 5);
    EXPECT_EQ(driver->thread_ibsta(), 0x103);
    EXPECT_EQ(driver->thread_ibcntl(), 5);
}

#ifdef SIM_GPIB_PATH
TEST(GpibLibrary, PrefersTheThreadStatusFunctions) {
    std::string error;
    auto driver = load_gpib_library(SIM_GPIB_PATH, &error);
    ASSERT_NE(driver, nullptr) << error;
    EXPECT_EQ(driver->register_globals(), 0);  // no registration exported: nothing to do
    const int ud = driver->ibdev(0, 12, 0, 13, 1, 0);
    ASSERT_GE(ud, 0);
    EXPECT_EQ(driver->ibwrt(ud, "*IDN?", 5) & 0x8000, 0);
    EXPECT_EQ(driver->thread_ibcntl(), 5);
    char reply[80];
    driver->ibrd(ud, reply, 80);
    EXPECT_GT(driver->thread_ibcntl(), 0);
    EXPECT_EQ(driver->thread_ibsta() & 0x8000, 0);
    EXPECT_EQ(driver->ibonl(ud, 0) & 0x8000, 0);
}
#endif

}  // namespace
}  // namespace kelvara
