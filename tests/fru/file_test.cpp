// The main board's FRU data, kept in a file.
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fru/fru_support.h"
#include "support/libc_layer.h"

using namespace fru;
using libc_layer::layer;
using libc_layer::Watch;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

namespace fs = std::filesystem;

const fs::path file = "/resvz/firmware/FRU/FRU.BIN";
constexpr char open_read[] = "fopen /resvz/firmware/FRU/FRU.BIN rb";
constexpr char open_write[] = "fopen /resvz/firmware/FRU/FRU.BIN r+";
constexpr uint32_t main_board = 0;

void store(const std::vector<uint8_t> &bytes) {
    fs::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char *>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
}
std::vector<uint8_t> stored() {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}
// Content that tells its position.
std::vector<uint8_t> numbered(size_t size) {
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<uint8_t>(i * 7 + i / 256);
    }
    return bytes;
}

int32_t read_watched(uint32_t offset, uint8_t *buffer, uint32_t length) {
    const Watch watch;
    return FruRead(main_board, offset, buffer, length);
}
int32_t write_watched(uint32_t offset, const uint8_t *buffer, uint32_t length) {
    const Watch watch;
    return FruWrite(main_board, offset, buffer, length);
}

// The only message, an error; "[%s %d]" at its beginning repeats function and line.
void expect_error(const std::string &function, const std::string &text) {
    ASSERT_EQ(platform().messages.size(), 1u);
    const scripted::Message &message = platform().messages[0];
    EXPECT_EQ(message.channel, "error");
    EXPECT_EQ(message.number, 43u);
    EXPECT_EQ(message.source, "fru_common_info");
    EXPECT_EQ(message.function, function);
    const std::string place = "[" + function + " " + std::to_string(message.line) + "]";
    EXPECT_EQ(message.text, (function == "vel_fru_file_write" ? place : "") + text);
    EXPECT_THAT(platform().failed_stats,
                ElementsAre(std::pair(std::string("fru_common_info"), message.line)));
    EXPECT_THAT(platform().calls, IsEmpty()) << "the main board has no presence question";
}

void expect_no_message() {
    EXPECT_THAT(platform().messages, IsEmpty());
    EXPECT_THAT(platform().failed_stats, IsEmpty());
    EXPECT_THAT(platform().calls, IsEmpty());
}

std::string short_transfer(int got, int wanted) {
    return "file read error, really read buffer len = " + std::to_string(got) +
           ", expect read buffer len = " + std::to_string(wanted) + "\n";
}

// Where an offset lies in the file, by the documentation's two cases.
uint32_t position_of(uint32_t offset) { return offset <= 0x8000 ? offset : offset - 0x6000; }

constexpr uint32_t boundaries[] = {0,      1,      0x1FFF, 0x2000, 0x2001, 0x7FFF, 0x8000,
                                   0x8001, 0x8002, 0x9FFF, 0xDFFF, 0xE000, 0xE001, 0xFFFF};

void become_ordinary_user() {
    if (getuid() == 0) {
        ASSERT_EQ(setuid(65534), 0);
    }
}

}  // namespace

TEST(MainBoardFruRead, EveryOffset) {
    const std::vector<uint8_t> bytes = numbered(0xA003);
    store(bytes);
    std::vector<uint32_t> offsets(std::begin(boundaries), std::end(boundaries));
    for (uint32_t offset = 0; offset <= 0xFFFF; offset += 61) {
        offsets.push_back(offset);
    }
    for (const uint32_t offset : offsets) {
        SCOPED_TRACE(offset);
        uint8_t read[4] = {0, 0, 0, 0xA5};
        ASSERT_EQ(FruRead(main_board, offset, read, 3), 3);
        const uint32_t at = position_of(offset);
        ASSERT_THAT(read, ElementsAre(bytes[at], bytes[at + 1], bytes[at + 2], 0xA5));
    }
    expect_no_message();
}

TEST(MainBoardFruRead, KnownPositions) {
    store(numbered(0x9000));
    uint8_t byte = 0;
    layer().calls.clear();
    EXPECT_EQ(read_watched(0x8000, &byte, 1), 1);
    EXPECT_THAT(layer().calls, ElementsAre(open_read, "fseek 32768 0", "fclose"));
    EXPECT_EQ(byte, numbered(0x9000)[0x8000]);
    layer().calls.clear();
    EXPECT_EQ(read_watched(0x8001, &byte, 1), 1);
    EXPECT_THAT(layer().calls, ElementsAre(open_read, "fseek 8193 0", "fclose"));
    EXPECT_EQ(byte, numbered(0x9000)[0x2001]);
}

TEST(MainBoardFruRead, TheWholeFileAtOnce) {
    const std::vector<uint8_t> bytes = numbered(0x8000);
    store(bytes);
    std::vector<uint8_t> read(bytes.size());
    EXPECT_EQ(FruRead(main_board, 0, read.data(), 0x8000), 0x8000);
    EXPECT_EQ(read, bytes);
    expect_no_message();
}

TEST(MainBoardFruRead, PastTheEndIsAShortCount) {
    store(numbered(100));
    for (const auto &[offset, length, count] : {std::tuple{90u, 20u, 10},
                                                {99u, 2u, 1},
                                                {100u, 1u, 0},
                                                {101u, 5u, 0},
                                                {0x8000u, 5u, 0},
                                                {0xFFFFu, 1u, 0}}) {
        SCOPED_TRACE(offset);
        platform().clear_record();
        std::vector<uint8_t> read(length, 0xA5);
        layer().calls.clear();
        EXPECT_EQ(read_watched(offset, read.data(), length), count);
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(read[i], numbered(100)[offset + i]);
        }
        EXPECT_EQ(read[count], 0xA5);
        EXPECT_EQ(layer().calls.back(), "fclose");
        expect_error("vel_fru_file_read", short_transfer(count, static_cast<int>(length)));
    }
}

TEST(MainBoardFruRead, NothingAskedFor) {
    store(numbered(10));
    uint8_t byte = 0xA5;
    EXPECT_EQ(FruRead(main_board, 0, &byte, 0), 0);
    EXPECT_EQ(FruRead(main_board, 100, &byte, 0), 0);
    EXPECT_EQ(byte, 0xA5);
    expect_no_message();
}

TEST(MainBoardFruRead, MissingFile) {
    uint8_t byte = 0xA5;
    EXPECT_EQ(read_watched(0, &byte, 1), -1);
    EXPECT_EQ(byte, 0xA5);
    EXPECT_THAT(layer().calls, ElementsAre(open_read));
    expect_error("vel_fru_file_read", "open file /resvz/firmware/FRU/FRU.BIN failed, errno = 2");
}

TEST(MainBoardFruRead, ADiskThatFails) {
    fs::create_directories(file);  // a folder opens, and cannot be read
    uint8_t byte = 0xA5;
    EXPECT_EQ(read_watched(0, &byte, 1), 0);
    EXPECT_EQ(layer().calls.back(), "fclose");
    expect_error("vel_fru_file_read", short_transfer(0, 1));
}

// ---- writing ----

TEST(MainBoardFruWrite, EveryOffset) {
    for (const uint32_t offset : boundaries) {
        SCOPED_TRACE(offset);
        std::vector<uint8_t> bytes = numbered(0xA003);
        store(bytes);
        const uint8_t fresh[] = {0x11, 0x22, 0x33};
        EXPECT_EQ(FruWrite(main_board, offset, fresh, 3), 3);
        std::copy(std::begin(fresh), std::end(fresh), bytes.begin() + position_of(offset));
        ASSERT_EQ(stored(), bytes);
        uint8_t read[3] = {};
        EXPECT_EQ(FruRead(main_board, offset, read, 3), 3);
        EXPECT_THAT(read, ElementsAre(0x11, 0x22, 0x33));
    }
    expect_no_message();
}

TEST(MainBoardFruWrite, Accesses) {
    store(numbered(0x9000));
    const uint8_t byte = 1;
    EXPECT_EQ(write_watched(0x8001, &byte, 1), 1);
    EXPECT_THAT(layer().calls, ElementsAre(open_write, "fseek 8193 0", "fclose"));
    layer().calls.clear();
    EXPECT_EQ(write_watched(0x8000, &byte, 0), 0);
    EXPECT_THAT(layer().calls, ElementsAre(open_write, "fseek 32768 0", "fclose"));
    expect_no_message();
}

TEST(MainBoardFruWrite, AFileShorterThanTheOffsetGrows) {
    store({1, 2, 3});
    const uint8_t fresh[] = {9, 8};
    EXPECT_EQ(FruWrite(main_board, 6, fresh, 2), 2);
    EXPECT_THAT(stored(), ElementsAre(1, 2, 3, 0, 0, 0, 9, 8));
    EXPECT_EQ(FruWrite(main_board, 7, fresh, 2), 2);
    EXPECT_THAT(stored(), ElementsAre(1, 2, 3, 0, 0, 0, 9, 9, 8));
    expect_no_message();
}

TEST(MainBoardFruWrite, AMissingFileIsNotMade) {
    fs::create_directories(file.parent_path());
    const uint8_t byte = 1;
    EXPECT_EQ(write_watched(0, &byte, 1), -1);
    EXPECT_THAT(layer().calls, ElementsAre(open_write));
    EXPECT_FALSE(fs::exists(file));
    expect_error("vel_fru_file_write", "open file /resvz/firmware/FRU/FRU.BIN failed, errno = 2");
}

TEST(MainBoardFruWrite, AReadOnlyFile) {
    store({1, 2, 3});
    ASSERT_EQ(chmod(file.c_str(), 0444), 0);
    ASSERT_NO_FATAL_FAILURE(become_ordinary_user());
    uint8_t bytes[3] = {9, 9, 9};
    EXPECT_EQ(FruWrite(main_board, 0, bytes, 3), -1);
    expect_error("vel_fru_file_write", "open file /resvz/firmware/FRU/FRU.BIN failed, errno = 13");
    EXPECT_EQ(FruRead(main_board, 0, bytes, 3), 3);
    EXPECT_THAT(bytes, ElementsAre(1, 2, 3));
}

TEST(MainBoardFruWrite, AFullDisk) {
    store({1, 2, 3});
    layer().redirected[file] = "/dev/full";
    const uint8_t bytes[3] = {9, 9, 9};
    EXPECT_EQ(write_watched(0, bytes, 3), 0);
    EXPECT_EQ(layer().calls.back(), "fclose");
    expect_error("vel_fru_file_write", short_transfer(0, 3));
}

TEST(MainBoardFruWrite, ADiskThatFillsInTheMiddle) {
    store(numbered(8));
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit before = limit;
    limit.rlim_cur = 10;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    const uint8_t bytes[5] = {0xC1, 0xC2, 0xC3, 0xC4, 0xC5};
    const int32_t written = FruWrite(main_board, 7, bytes, 5);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_EQ(written, 3);
    expect_error("vel_fru_file_write", short_transfer(3, 5));
    std::vector<uint8_t> expected = numbered(7);
    expected.insert(expected.end(), {0xC1, 0xC2, 0xC3});
    EXPECT_EQ(stored(), expected);
}

// ---- every step fails ----

namespace {

struct Step {
    const char *call;
    const char *text;
    int32_t result;
    int calls;  // made in all but the transfers
};
bool is_transfer(const std::string &call) { return call == "read" || call == "write"; }
// EIO is 5. A failed close gives the file back all the same.
constexpr Step steps[] = {
    {"fopen", "open file /resvz/firmware/FRU/FRU.BIN failed, errno = 5", -1, 1},
    {"fseek", "file seek failed, ret = -1\n", 0, 3},
    {"transfer", "file read error, really read buffer len = 0, expect read buffer len = 2\n", 0, 3},
    {"fclose", "close file failed, errno = 5\n", -1, 3},
};

}  // namespace

TEST(MainBoardFru, EachFailingStep) {
    store(numbered(16));
    const size_t descriptors = libc_layer::open_descriptors();
    for (const bool writes : {false, true}) {
        for (const Step &step : steps) {
            SCOPED_TRACE(testing::Message() << step.call << (writes ? " of a write" : ""));
            platform().clear_record();
            layer().clear();
            layer().transfers = true;
            layer().fail_with = [&](const std::string &call) {
                return (is_transfer(call) ? "transfer" : call).starts_with(step.call) ? EIO : 0;
            };
            uint8_t bytes[2] = {0xA5, 0xA5};
            const int32_t result = writes ? write_watched(4, bytes, 2) : read_watched(4, bytes, 2);
            EXPECT_EQ(result, step.result);
            EXPECT_EQ(std::count_if(layer().calls.begin(), layer().calls.end(),
                                    [](const std::string &call) { return !is_transfer(call); }),
                      step.calls);
            EXPECT_EQ(libc_layer::open_descriptors(), descriptors);
            expect_error(writes ? "vel_fru_file_write" : "vel_fru_file_read", step.text);
            // Only a close fails after the transfer.
            const bool transferred = step.call == std::string("fclose");
            EXPECT_EQ(stored()[4], writes && transferred ? 0xA5 : numbered(16)[4]);
            EXPECT_EQ(bytes[0], !writes && transferred ? numbered(16)[4] : 0xA5);
            store(numbered(16));
        }
    }
}

// A short transfer and a failed close: both are said, the close decides.
TEST(MainBoardFru, AShortReadWhoseCloseFails) {
    store(numbered(4));
    layer().fail_with = [](const std::string &call) { return call == "fclose" ? EIO : 0; };
    uint8_t bytes[8] = {};
    EXPECT_EQ(read_watched(0, bytes, 8), -1);
    EXPECT_THAT(platform().texts(),
                ElementsAre(short_transfer(4, 8), "close file failed, errno = 5\n"));
}

// Positions that no file has answer without harm.
TEST(MainBoardFru, AnOffsetBeyondEverything) {
    store(numbered(4));
    uint8_t byte = 0xA5;
    for (const uint32_t offset : {0x80006000u, 0xFFFF0000u, UINT32_MAX}) {
        platform().clear_record();
        EXPECT_EQ(FruRead(main_board, offset, &byte, 1), 0);
        expect_error("vel_fru_file_read", "file seek failed, ret = -1\n");
        platform().clear_record();
        EXPECT_EQ(FruWrite(main_board, offset, &byte, 1), 0);
        expect_error("vel_fru_file_write", "file seek failed, ret = -1\n");
    }
    EXPECT_EQ(byte, 0xA5);
    EXPECT_EQ(stored(), numbered(4));
}
