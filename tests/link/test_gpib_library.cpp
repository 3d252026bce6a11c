// Loading an NI-488.2 library at run time: what lacks a call is refused, the simulator's talks.
#include <gtest/gtest.h>

#include "link/gpib_driver.h"

namespace kelvara {
namespace {

TEST(GpibLibrary, RefusesWhatCannotBeUsed) {
    const std::pair<const char*, const char*> rows[] = {
        {"/nonexistent/libgpib.so.0", "/nonexistent/libgpib.so.0"}, {NI_NO_IBRD_PATH, "no ibrd"}};
    for (const auto& [path, reason] : rows) {
        std::string error;
        EXPECT_EQ(load_gpib_library(path, &error), nullptr) << path;
        EXPECT_NE(error.find(reason), std::string::npos) << error;
    }
}

#ifdef SIM_GPIB_PATH
TEST(GpibLibrary, LoadsTheSimulatorsAndReadsTheThreadStatus) {
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
}
#endif

}  // namespace
}  // namespace kelvara
