// The library and the simulated user flash, each taken at its word by the other.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <optional>

#include "boardfeatures/pcieid.h"
#include "simulator.h"
#include "support/pciecfg_model.h"

using boardsim::FlashRecord;
using boardsim::Ownership;
using boardsim::Simulator;
using testing::Each;
using testing::ElementsAreArray;
using testing::HasSubstr;

namespace {

constexpr char state_file[] = "/var/board.state";

class SimFlash : public testing::Test {
protected:
    void SetUp() override {
        setenv("BOARDSIM_LOG", "warn", 1);
        power_on("");
    }
    // A board whose [flash] section holds these lines.
    void power_on(const std::string &flash) {
        board.reset();
        boardsim::make_state_from_text("name = \"test\"\n[flash]\n" + flash, state_file);
        setenv("BOARDSIM_STATE", state_file, 1);
        board.emplace(state_file);
    }
    model::Bytes stored(size_t size) {
        model::Bytes bytes;
        for (uint32_t page = 0; bytes.size() < size; ++page) {
            const auto cells = board->flash_page(page);
            bytes.insert(bytes.end(), cells.begin(), cells.end());
        }
        bytes.resize(size);
        return bytes;
    }
    pciecfg_list make_list(uint32_t count, uint32_t seed = 7) {
        model::Random random(seed);
        return model::random_list(random, count);
    }
    // What the library said while it worked.
    template <typename Work>
    std::string said(Work work) {
        testing::internal::CaptureStderr();
        testing::internal::CaptureStdout();
        work();
        testing::internal::GetCapturedStdout();
        return testing::internal::GetCapturedStderr();
    }
    bool owned() { return (board->epld(0x344) & 0x20) != 0; }

    std::optional<Simulator> board;
};

uint16_t read_register(uint32_t reg) {
    uint16_t value = 0;
    EXPECT_EQ(epldio_read(reg, &value), 0);
    return value;
}
void write_register(uint32_t reg, uint16_t value) { EXPECT_EQ(epldio_write(reg, value), 0); }

void write_page(uint16_t page, uint16_t word) {
    for (uint32_t reg = 0x34E; reg <= 0x35C; reg += 2) {
        write_register(reg, word);
    }
    write_register(0x346, page);
    write_register(0x344, 0x31);
}
uint16_t first_word(uint16_t page) {
    write_register(0x346, page);
    write_register(0x344, 0x32);
    return read_register(0x35E);
}

}  // namespace

TEST_F(SimFlash, IsErasedAtFirst) {
    EXPECT_THAT(stored(2046 * 16), Each(0xFF));
    pciecfg_list list;
    EXPECT_THAT(said([&] { EXPECT_EQ(pciecfg_data_parser(&list), -1); }),
                HasSubstr("IS_PCIEDATA_VALID is false."));
}

TEST_F(SimFlash, KeepsWhatTheLibraryStores) {
    for (const uint32_t count : {3u, 128u, 1u}) {
        const pciecfg_list list = make_list(count);
        pciecfg_list back;
        EXPECT_EQ(pciecfg_data_update(&list), 0);
        const model::Bytes image = model::image_of(list);
        const size_t used = 16 + 16 * count;
        EXPECT_EQ(stored(used), model::Bytes(image.begin(), image.begin() + used));
        EXPECT_THAT(board->flash_page(count + 1), Each(0xFF));
        EXPECT_EQ(pciecfg_data_parser(&back), 0);
        EXPECT_EQ(pciecfg_compare(&list, &back), 0);
        EXPECT_FALSE(owned());
    }
}

TEST_F(SimFlash, TakesTheTimeOfAFlash) {
    const pciecfg_list list = make_list(3);
    EXPECT_EQ(pciecfg_data_update(&list), 0);
    // erase 3 s in looks of 20 ms and 5 s more; each page is done by the second look, 10 ms more
    EXPECT_EQ(board->accounts().slept_us, 3'000'000u + 5'000'000 + 4 * 30'000);
}

TEST_F(SimFlash, IsSharedByProcesses) {
    const pciecfg_list list = make_list(5);
    const pid_t child = fork();
    if (child == 0) {
        _exit(pciecfg_data_update(&list) == 0 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    pciecfg_list back;
    EXPECT_EQ(pciecfg_data_parser(&back), 0);
    EXPECT_EQ(pciecfg_compare(&list, &back), 0);
}

TEST_F(SimFlash, StartsWithTheBytesOfTheBoardFile) {
    power_on("bytes = [0xDE, 0xAD, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xBE]\n");
    EXPECT_EQ(board->flash_page(0)[1], 0xAD);
    EXPECT_EQ(board->flash_page(1)[0], 0xBE);
    EXPECT_EQ(board->flash_page(1)[1], 0xFF);
}

// ---- the registers themselves ----

TEST_F(SimFlash, ACommandNeedsTheOwnership) {
    for (uint32_t reg = 0x34E; reg <= 0x35C; reg += 2) {
        write_register(reg, 0x1234);
    }
    write_register(0x346, 7);
    write_register(0x344, 0x11);
    EXPECT_THAT(board->flash_page(7), Each(0xFF));
    EXPECT_EQ(read_register(0x34C), 0);
    write_register(0x344, 0x31);
    EXPECT_EQ(board->flash_page(7)[0], 0x12);
}

TEST_F(SimFlash, WritingClearsBitsAndErasingSetsThem) {
    write_page(3, 0xF0F0);
    write_page(3, 0xFF00);
    EXPECT_EQ(first_word(3), 0xF000);
    write_register(0x344, 0x3F);
    EXPECT_EQ(first_word(3), 0xFFFF);
}

TEST_F(SimFlash, EachCommandHasItsCompletionBit) {
    power_on("erase_ms = 40\nwrite_ms = 10\nread_ms = 5\n");
    const struct {
        uint16_t command;
        uint16_t bit;
        uint32_t microseconds;
    } rows[] = {{0x3F, 0x0100, 40'000}, {0x31, 0x0200, 10'000}, {0x32, 0x0400, 5'000}};
    for (const auto &row : rows) {
        write_register(0x344, row.command);
        EXPECT_EQ(read_register(0x34C), 0);
        select_sleep(0, row.microseconds - 1);
        EXPECT_EQ(read_register(0x34C), 0);
        select_sleep(0, 1);
        EXPECT_EQ(read_register(0x34C), row.bit);
    }
}

TEST_F(SimFlash, PagesThatAreNotThereReadErased) {
    write_page(2045, 0x0102);
    write_page(2046, 0x0304);
    write_page(4095, 0x0506);
    EXPECT_EQ(first_word(2045), 0x0102);
    EXPECT_EQ(first_word(2046), 0xFFFF);
    EXPECT_EQ(first_word(4095), 0xFFFF);
}

TEST_F(SimFlash, PageAddressHasTwelveBits) {
    write_page(0xA005, 0x0102);
    EXPECT_EQ(board->flash_page(5)[0], 0x01);
    EXPECT_EQ(read_register(0x346), 0xA005);
}

TEST_F(SimFlash, StatusAndReadBankIgnoreWrites) {
    for (const uint32_t reg : {0x348u, 0x34Au, 0x34Cu, 0x35Eu, 0x36Cu}) {
        write_register(reg, 0x5555);
        EXPECT_EQ(read_register(reg), 0) << reg;
    }
    write_register(0x36E, 0x5555);  // no register of the flash
    EXPECT_EQ(read_register(0x36E), 0x5555);
}

// ---- faults ----

TEST_F(SimFlash, AFlashThatNeverCompletesWorksAllTheSame) {
    power_on("never_completes = true\n");
    const std::string log = said([] { EXPECT_EQ(pciecfg_dev_dump(1), 0); });
    EXPECT_THAT(log, HasSubstr("wait R timeout(1000 ms), STATUS1(0000)"));
}

TEST_F(SimFlash, AnEraseThatFailsSpoilsTheNextImage) {
    const pciecfg_list first = make_list(3, 1);
    const pciecfg_list second = make_list(3, 2);
    EXPECT_EQ(pciecfg_data_update(&first), 0);
    board->change_flash([](FlashRecord &flash) { flash.erase_fails = 1; });
    EXPECT_EQ(pciecfg_data_update(&second), 0);
    pciecfg_list back;
    said([&] { EXPECT_EQ(pciecfg_data_parser(&back), -1); });
    board->change_flash([](FlashRecord &flash) { flash.erase_fails = 0; });
    EXPECT_EQ(pciecfg_data_update(&second), 0);
    EXPECT_EQ(pciecfg_data_parser(&back), 0);
}

TEST_F(SimFlash, APageThatCannotBeWrittenSpoilsTheImage) {
    power_on("write_fails = 2\n");
    const pciecfg_list list = make_list(3);
    pciecfg_list back;
    EXPECT_EQ(pciecfg_data_update(&list), 0);
    EXPECT_THAT(board->flash_page(2), Each(0xFF));
    said([&] { EXPECT_EQ(pciecfg_data_parser(&back), -1); });
}

TEST_F(SimFlash, APageThatReadsBackWrongSpoilsTheImage) {
    power_on("misreads = 3\n");
    const pciecfg_list list = make_list(3);
    pciecfg_list back;
    EXPECT_EQ(pciecfg_data_update(&list), 0);
    const model::Bytes image = model::image_of(list);
    EXPECT_EQ(stored(64), model::Bytes(image.begin(), image.begin() + 64));
    said([&] { EXPECT_EQ(pciecfg_data_parser(&back), -1); });
    board->change_flash([](FlashRecord &flash) { flash.misreads = 0; });
    EXPECT_EQ(pciecfg_data_parser(&back), 0);
}

TEST_F(SimFlash, OwnershipThatTheOtherSideShowsIsReported) {
    power_on("ownership = \"stuck\"\n");
    const pciecfg_list list = make_list(3);
    pciecfg_list back;
    EXPECT_THAT(said([&] { EXPECT_EQ(pciecfg_data_update(&list), 0); }),
                HasSubstr("BMC can not take over control."));
    said([&] { EXPECT_EQ(pciecfg_data_parser(&back), 0); });
    EXPECT_EQ(pciecfg_compare(&list, &back), 0);
}

TEST_F(SimFlash, OwnershipThatTheOtherSideKeepsEndsTheOperation) {
    power_on("ownership = \"refused\"\n");
    const pciecfg_list list = make_list(3);
    EXPECT_THAT(said([&] { EXPECT_EQ(pciecfg_data_update(&list), -1); }),
                HasSubstr("ufm_access_ok() failed."));
    EXPECT_THAT(stored(64), Each(0xFF));
    board->change_flash(
        [](FlashRecord &flash) { flash.ownership = static_cast<uint32_t>(Ownership::free); });
    EXPECT_EQ(pciecfg_data_update(&list), 0);
}

// ---- the board file ----

TEST_F(SimFlash, WrongKeysAreNamed) {
    const struct {
        const char *line;
        const char *message;
    } rows[] = {
        {"ownership = \"mine\"", "board:3: flash.ownership: \"mine\" is neither free nor stuck"},
        {"misreads = 2046", "board:3: flash.misreads: 0x7FE is out of range, 0x0 to 0x7FD"},
        {"erase_ms = \"long\"", "board:3: flash.erase_ms: is not a whole number"},
        {"erased = true", "board:3: flash.erased: unknown key"},
    };
    for (const auto &row : rows) {
        try {
            power_on(std::string(row.line) + '\n');
            ADD_FAILURE() << row.line;
        } catch (const boardsim::Error &error) {
            EXPECT_THAT(error.what(), HasSubstr(row.message));
        }
    }
}

TEST_F(SimFlash, ToolsAreToldOfPagesThatAreNotThere) {
    EXPECT_THROW(board->flash_page(2046), boardsim::Error);
    EXPECT_THROW(board->set_flash_page(0, std::vector<uint8_t>(17)), boardsim::Error);
    board->set_flash_page(2045, {1, 2});
    EXPECT_EQ(board->flash_page(2045)[1], 2);
}
