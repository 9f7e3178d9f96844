// What goes to standard error: channel, level, place and text, from the chosen level up.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

#include "boardplatform/platform.h"

namespace {

std::string all_channels(const char *level) {
    if (level == nullptr) {
        unsetenv("BOARDSIM_LOG");
    } else {
        setenv("BOARDSIM_LOG", level, 1);
    }
    testing::internal::CaptureStderr();
    sspFailedStat("file", 1);
    _ssp_error(56, "enum_mbslot", "slot_enum", 12, "%s(@%d) failed\n", "slot_enum", 12);
    _ssp_warn(39, "pier", "wait", 3, "slow");
    _ssp_info(40, "pem", "scan", 4, "two\n");
    _ssp_debug(255, "x", "y", 5, "%u", 7u);
    IDBG_LINUXAPP_DbgOut(130, "[%s:%d]missing\n", "hwid", 9);
    IDBG_LINUXAPP_AuditOut(149, "%s:done", "pmc");
    IDBG_LINUXAPP_Runtime_DbgOut(135, "[%s:%d]run\n", "hwid", 8);
    return testing::internal::GetCapturedStderr();
}

const std::string error_line = "error module 56 enum_mbslot:12 slot_enum: slot_enum(@12) failed\n";
const std::string warn_line = "warn module 39 pier:3 wait: slow\n";
const std::string info_lines = "info module 40 pem:4 scan: two\n";
const std::string audit_line = "info audit 149: pmc:done\n";
const std::string debug_lines = "debug module 255 x:5 y: 7\ndebug debug 130: [hwid:9]missing\n";
const std::string runtime_line = "debug runtime 135: [hwid:8]run\n";

TEST(Diagnostics, ErrorsByDefault) { EXPECT_EQ(all_channels(nullptr), error_line); }
TEST(Diagnostics, None) { EXPECT_EQ(all_channels("none"), ""); }
TEST(Diagnostics, Errors) { EXPECT_EQ(all_channels("error"), error_line); }
TEST(Diagnostics, Warnings) { EXPECT_EQ(all_channels("warn"), error_line + warn_line); }
TEST(Diagnostics, Information) {
    EXPECT_EQ(all_channels("info"), error_line + warn_line + info_lines + audit_line);
}
TEST(Diagnostics, Everything) {
    EXPECT_EQ(all_channels("debug"),
              error_line + warn_line + info_lines + debug_lines + audit_line + runtime_line);
}
TEST(Diagnostics, AnUnknownLevelIsTheDefault) { EXPECT_EQ(all_channels("loud"), error_line); }

TEST(Diagnostics, LongTextIsCutAndStaysOneLine) {
    testing::internal::CaptureStderr();
    _ssp_error(1, "f", "g", 1, "%s", std::string(5000, 'x').c_str());
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(said, "error module 1 f:1 g: " + std::string(2047, 'x') + "\n");
}

}  // namespace
