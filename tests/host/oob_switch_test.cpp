// The RAID cards' out-of-band switch, kept in a configuration file.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "host/host_support.h"

using namespace host;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

namespace fs = std::filesystem;

const fs::path folder = "/conf/vel";
const fs::path file = folder / "outband_storage_switch.ini";

const char load[] = "IniLoadFile /conf/vel/outband_storage_switch.ini";
const char set[] = "IniSetUInt pmc/enable";
const char get[] = "IniGetUInt pmc/enable";
const char save[] = "IniSaveFile /conf/vel/outband_storage_switch.ini";
const char close_file[] = "IniCloseFile";

void write_file(const std::string &text) {
    fs::create_directories(folder);
    std::ofstream(file) << text;
}

std::string file_text() {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

// The folder's contents cannot be changed, whoever the tests run as.
void make_folder_unwritable() {
    ASSERT_EQ(chmod(folder.c_str(), 0555), 0);
    if (getuid() == 0) {
        ASSERT_EQ(setuid(65534), 0);
    }
}

}  // namespace

// ---- get ----

TEST(OobSwitchGet, MissingFile) {
    uint32_t value = 0xA5A5A5A5;
    EXPECT_EQ(GetRaidCardOOBSwitch(&value), -1);
    EXPECT_EQ(value, 0xA5A5A5A5u);
    EXPECT_THAT(platform().calls, ElementsAre(load));
    expect_message("audit", 149, "GetRaidCardOOBSwitch:get outband swith failed");
    EXPECT_FALSE(fs::exists(file));
}

TEST(OobSwitchGet, StoredValue) {
    const std::pair<const char *, uint32_t> values[] = {
        {"0", 0}, {"1", 1}, {"2", 2}, {"4294967295", UINT32_MAX}};
    for (const auto &[text, expected] : values) {
        write_file(std::string("[pmc]\nenable=") + text + "\n");
        platform().clear_record();
        uint32_t value[2] = {0xA5A5A5A5, 0xA5A5A5A5};
        EXPECT_EQ(GetRaidCardOOBSwitch(value), 0);
        EXPECT_THAT(value, ElementsAre(expected, 0xA5A5A5A5));
        EXPECT_THAT(platform().calls, ElementsAre(load, get, close_file));
        EXPECT_THAT(platform().messages, IsEmpty());
    }
}

TEST(OobSwitchGet, AFileWithoutTheEntryMeansOn) {
    for (const char *text : {"", "[pmc]\n", "[pmc]\nother=0\n", "[other]\nenable=0\n"}) {
        write_file(text);
        platform().clear_record();
        uint32_t value = 0xA5A5A5A5;
        EXPECT_EQ(GetRaidCardOOBSwitch(&value), 0);
        EXPECT_EQ(value, 1u) << text;
        EXPECT_THAT(platform().calls, ElementsAre(load, get, close_file));
        EXPECT_THAT(platform().messages, IsEmpty());
        EXPECT_EQ(file_text(), text);
    }
}

TEST(OobSwitchGet, FailedLoad) {
    write_file("[pmc]\nenable=0\n");
    platform().fail_call = 1;
    uint32_t value = 0xA5A5A5A5;
    EXPECT_EQ(GetRaidCardOOBSwitch(&value), -1);
    EXPECT_EQ(value, 0xA5A5A5A5u);
    EXPECT_THAT(platform().calls, ElementsAre(load));
    expect_message("audit", 149, "GetRaidCardOOBSwitch:get outband swith failed");
    platform().fail_call.reset();
    EXPECT_EQ(GetRaidCardOOBSwitch(&value), 0);
    EXPECT_EQ(value, 0u);
}

TEST(OobSwitchGet, NullIsRefusedBeforeAnyAccess) {
    write_file("[pmc]\nenable=0\n");
    EXPECT_EQ(GetRaidCardOOBSwitch(nullptr), -1);
    expect_silence();
}

// ---- set ----

TEST(OobSwitchSet, MissingFile) {
    EXPECT_EQ(SetRaidCardOOBSwitch(1), -1);
    EXPECT_THAT(platform().calls, ElementsAre(load));
    EXPECT_THAT(platform().messages, IsEmpty());
    fs::create_directories(folder);
    EXPECT_EQ(SetRaidCardOOBSwitch(1), -1);
    EXPECT_FALSE(fs::exists(file));
}

TEST(OobSwitchSet, StoresTheValueAndKeepsTheRest) {
    const std::pair<uint32_t, const char *> values[] = {
        {0, "0"}, {1, "1"}, {7, "7"}, {0x7FFFFFFF, "2147483647"}, {UINT32_MAX, "-1"}};
    for (const auto &[value, printed] : values) {
        write_file("[pmc]\nenable=5\nother=keep\n[more]\nx=1\n");
        platform().clear_record();
        EXPECT_EQ(SetRaidCardOOBSwitch(value), 0);
        EXPECT_THAT(platform().calls, ElementsAre(load, set, save, close_file));
        expect_message("audit", 149,
                       std::string("SetRaidCardOOBSwitch:pmc outband switch:") + printed);
        EXPECT_EQ(platform().messages[0].calls_before, 1u) << "before it is set";
        uint32_t read_back = value + 1;
        EXPECT_EQ(GetRaidCardOOBSwitch(&read_back), 0);
        EXPECT_EQ(read_back, value);
        EXPECT_THAT(file_text(), testing::HasSubstr("other=keep"));
        EXPECT_THAT(file_text(), testing::HasSubstr("[more]"));
    }
}

TEST(OobSwitchSet, AddsTheEntryToAFileWithoutIt) {
    write_file("[other]\nx=1\n");
    EXPECT_EQ(SetRaidCardOOBSwitch(0), 0);
    uint32_t value = 9;
    EXPECT_EQ(GetRaidCardOOBSwitch(&value), 0);
    EXPECT_EQ(value, 0u);
    EXPECT_THAT(file_text(), testing::HasSubstr("[pmc]"));
    EXPECT_THAT(file_text(), testing::HasSubstr("[other]"));
}

// Every call of a good run fails once; the file is closed whenever it was loaded, and keeps its
// text.
TEST(OobSwitchSet, EachFailingCall) {
    const std::string text = "[pmc]\nenable=0\n";
    write_file(text);
    const std::pair<int32_t, std::vector<std::string>> outcomes[] = {
        {-1, {load}},
        {0, {load, set, save, close_file}},  // what cannot be set is saved as it was
        {-1, {load, set, save, close_file}}};
    for (size_t n = 1; n <= 3; ++n) {
        SCOPED_TRACE(n);
        platform().clear_record();
        platform().fail_call = n;
        EXPECT_EQ(SetRaidCardOOBSwitch(1), outcomes[n - 1].first);
        EXPECT_EQ(platform().calls, outcomes[n - 1].second);
        EXPECT_EQ(platform().messages.size(), n == 1 ? 0u : 1u);
        platform().fail_call.reset();
        uint32_t value = 9;
        EXPECT_EQ(GetRaidCardOOBSwitch(&value), 0);
        EXPECT_EQ(value, 0u);
    }
    EXPECT_EQ(SetRaidCardOOBSwitch(1), 0);
    uint32_t value = 9;
    EXPECT_EQ(GetRaidCardOOBSwitch(&value), 0);
    EXPECT_EQ(value, 1u);
}

TEST(OobSwitchSet, AnUnwritableFolderIsAFailure) {
    const std::string text = "[pmc]\nenable=0\n";
    write_file(text);
    ASSERT_NO_FATAL_FAILURE(make_folder_unwritable());
    EXPECT_EQ(SetRaidCardOOBSwitch(1), -1);
    EXPECT_THAT(platform().calls, ElementsAre(load, set, save, close_file));
    expect_message("audit", 149, "SetRaidCardOOBSwitch:pmc outband switch:1");
    EXPECT_EQ(file_text(), text);
    uint32_t value = 9;
    EXPECT_EQ(GetRaidCardOOBSwitch(&value), 0);
    EXPECT_EQ(value, 0u);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
}

TEST(OobSwitchSet, AnUnreadableFileIsAFailure) {
    write_file("[pmc]\nenable=0\n");
    ASSERT_EQ(chmod(file.c_str(), 0), 0);
    ASSERT_NO_FATAL_FAILURE(make_folder_unwritable());
    EXPECT_EQ(SetRaidCardOOBSwitch(1), -1);
    uint32_t value = 9;
    EXPECT_EQ(GetRaidCardOOBSwitch(&value), -1);
    EXPECT_EQ(value, 9u);
    EXPECT_THAT(platform().calls, ElementsAre(load, load));
}
