// The power-button shield: shielded unless the file says otherwise.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "boardfeatures/soc.h"
#include "support/scripted_platform.h"

using scripted::platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char path[] = "/conf/shieldpowerbuttonstate.conf";

void write_file(const std::string &text) { std::ofstream(path) << text; }
void write_flag(const std::string &flag) {
    write_file("[ShieldPowerButton]\nenable=" + flag + "\n");
}
std::string file_text() {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

void expect_message(const std::string &text) {
    ASSERT_EQ(platform().messages.size(), 1u);
    const scripted::Message &message = platform().messages[0];
    EXPECT_EQ(message.channel, "dbgout");
    EXPECT_EQ(message.number, 130u);
    EXPECT_EQ(message.source, "soc");
    EXPECT_GT(message.line, 0);
    EXPECT_EQ(message.text, text);
}

}  // namespace

TEST(ShieldStatus, IsWhatTheFileSays) {
    write_flag("0");
    EXPECT_EQ(GetShieldPowerButtonStatus(), 0);
    EXPECT_THAT(platform().calls,
                ElementsAre("IniLoadFile /conf/shieldpowerbuttonstate.conf",
                            "IniGetUInt ShieldPowerButton/enable", "IniCloseFile"));
    write_flag("1");
    EXPECT_EQ(GetShieldPowerButtonStatus(), 1);
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(ShieldStatus, IsOnWithoutAFile) {
    EXPECT_EQ(GetShieldPowerButtonStatus(), 1);
    expect_message("Error in load shield power button config file");
    EXPECT_THAT(platform().calls, ElementsAre("IniLoadFile /conf/shieldpowerbuttonstate.conf"));
}

TEST(ShieldStatus, IsOnWithoutTheEntry) {
    for (const char *text : {"", "[ShieldPowerButton]\n", "[Other]\nenable=0\n"}) {
        write_file(text);
        EXPECT_EQ(GetShieldPowerButtonStatus(), 1) << text;
    }
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(ShieldStatus, IsOnForABadNumber) {
    write_flag("2");
    EXPECT_EQ(GetShieldPowerButtonStatus(), 1);
    expect_message("Error enable flag 2");
    EXPECT_EQ(platform().calls.back(), "IniCloseFile");
    platform().clear_record();
    write_flag("4294967295");
    EXPECT_EQ(GetShieldPowerButtonStatus(), 1);
    expect_message("Error enable flag -1");
}

TEST(ShieldSet, StoresAndReadsBack) {
    write_flag("1");
    EXPECT_EQ(SetShieldPowerButtonStatus(0), 0);
    EXPECT_THAT(platform().calls,
                ElementsAre("IniLoadFile /conf/shieldpowerbuttonstate.conf",
                            "IniSetUInt ShieldPowerButton/enable",
                            "IniSaveFile /conf/shieldpowerbuttonstate.conf",
                            "IniGetUInt ShieldPowerButton/enable", "IniCloseFile"));
    EXPECT_EQ(GetShieldPowerButtonStatus(), 0);
    EXPECT_EQ(SetShieldPowerButtonStatus(1), 0);
    EXPECT_EQ(GetShieldPowerButtonStatus(), 1);
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(ShieldSet, KeepsTheRestOfTheFile) {
    write_file("[Other]\nkey=5\n[ShieldPowerButton]\nenable=1\nmore=6\n");
    EXPECT_EQ(SetShieldPowerButtonStatus(0), 0);
    EXPECT_NE(file_text().find("key=5"), std::string::npos);
    EXPECT_NE(file_text().find("more=6"), std::string::npos);
}

TEST(ShieldSet, AddsTheEntryToAnEmptyFile) {
    write_file("");
    EXPECT_EQ(SetShieldPowerButtonStatus(0), 0);
    EXPECT_EQ(GetShieldPowerButtonStatus(), 0);
}

TEST(ShieldSet, RefusesOtherFlagsAndLeavesTheFile) {
    write_flag("0");
    const std::string before = file_text();
    for (const uint32_t flag : {2u, 3u, 255u, 256u, 0xFFFFFFFFu}) {
        platform().clear_record();
        EXPECT_EQ(SetShieldPowerButtonStatus(flag), -1);
        expect_message("Error set enable flag " + std::to_string(static_cast<int>(flag)));
        EXPECT_THAT(platform().calls,
                    ElementsAre("IniLoadFile /conf/shieldpowerbuttonstate.conf", "IniCloseFile"));
        EXPECT_EQ(file_text(), before);
    }
}

TEST(ShieldSet, NeedsTheFile) {
    EXPECT_EQ(SetShieldPowerButtonStatus(1), -1);
    expect_message("Error in load shield power button config file");
    platform().clear_record();
    // before the flag is looked at
    EXPECT_EQ(SetShieldPowerButtonStatus(2), -1);
    expect_message("Error in load shield power button config file");
}

TEST(ShieldSet, FailsWhenItIsNotStored) {
    const struct {
        size_t failing;
        uint32_t flag;
    } faults[] = {{1, 0}, {2, 0}, {3, 0}, {4, 1}};
    for (const auto &fault : faults) {
        write_flag(fault.flag == 0 ? "1" : "0");
        platform().clear_record();
        platform().fail_call = fault.failing;
        EXPECT_EQ(SetShieldPowerButtonStatus(fault.flag), -1) << fault.failing;
        EXPECT_EQ(platform().calls_of("IniCloseFile").size(), fault.failing == 1 ? 0u : 1u);
    }
}
