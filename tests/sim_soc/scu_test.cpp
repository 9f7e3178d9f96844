// The SoC's system control unit: what is protected, what clears, and what /dev/mem shows.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <vector>

#include "boardfeatures/soc.h"
#include "sim/board_test.h"

namespace {

constexpr uint32_t protection = 0x1E6E2000;
constexpr uint32_t reset_status = 0x1E6E203C;
constexpr uint32_t strap = 0x1E6E2070;
constexpr uint32_t key = 0x1688A8A8;
constexpr char memory_file[] = "/var/memory";

uint32_t word(uint32_t address) {
    uint32_t value = 0xBADBAD;
    EXPECT_EQ(mmap_read32(address, &value), 0);
    return value;
}

using Scu = BoardTest;

TEST_F(Scu, StartsLockedWithPowerOn) {
    board("[soc]\n");
    EXPECT_EQ(word(protection), 0u);
    EXPECT_EQ(word(reset_status), 1u);
    EXPECT_EQ(word(strap), 0u);
}

TEST_F(Scu, TakesItsRegistersFromTheBoardFile) {
    board("[soc]\nreset_status = 0x0000000A\nstrap = 0xF100C40C\n");
    EXPECT_EQ(word(reset_status), 0xAu);
    EXPECT_EQ(word(strap), 0xF100C40Cu);
}

TEST_F(Scu, IgnoresWritesWhileLocked) {
    board("[soc]\nreset_status = 7\nstrap = 4\n[memory]\n0x1E6E2FFC = 9\n0x1E6E3000 = 8\n");
    for (const uint32_t address : {reset_status, strap, 0x1E6E2FFCu}) {
        const uint32_t before = word(address);
        EXPECT_EQ(mmap_write32(address, 0), 0);
        EXPECT_EQ(word(address), before);
    }
    EXPECT_EQ(mmap_write32(0x1E6E3000, 0), 0);  // not the unit's
    EXPECT_EQ(word(0x1E6E3000), 0u);
}

TEST_F(Scu, OnlyTheKeyUnlocks) {
    board("[soc]\nstrap = 4\n");
    for (const uint32_t value : {1u, key - 1, key + 1, 0xFFFFFFFFu}) {
        EXPECT_EQ(mmap_write32(protection, value), 0);
        EXPECT_EQ(word(protection), 0u);
        EXPECT_EQ(mmap_write32(strap, 8), 0);
        EXPECT_EQ(word(strap), 4u);
    }
    EXPECT_EQ(mmap_write32(protection, key), 0);
    EXPECT_EQ(word(protection), 1u);
    EXPECT_EQ(mmap_write32(strap, 8), 0);
    EXPECT_EQ(word(strap), 8u);
}

TEST_F(Scu, AnythingElseLocksAgain) {
    board("[soc]\nstrap = 4\n");
    for (const uint32_t value : {0u, 1u, 0xFFFFFFFFu}) {
        EXPECT_EQ(mmap_write32(protection, key), 0);
        EXPECT_EQ(mmap_write32(protection, value), 0);
        EXPECT_EQ(word(protection), 0u);
        EXPECT_EQ(mmap_write32(strap, 8), 0);
        EXPECT_EQ(word(strap), 4u);
    }
}

TEST_F(Scu, ResetFlagsAreClearedAndNeverSet) {
    board("[soc]\nreset_status = 0xF\n");
    EXPECT_EQ(mmap_write32(protection, key), 0);
    EXPECT_EQ(mmap_write32(reset_status, 0xFA), 0);
    EXPECT_EQ(word(reset_status), 0xAu);
    EXPECT_EQ(mmap_write32(reset_status, 0xF), 0);
    EXPECT_EQ(word(reset_status), 0xAu);
    EXPECT_EQ(mmap_write32(reset_status, 0), 0);
    EXPECT_EQ(word(reset_status), 0u);
}

TEST_F(Scu, ABoardWithoutItHasNoSuchRegisters) {
    board("[gpio]\n1 = 1\n");
    uint32_t value = 0;
    EXPECT_EQ(mmap_read32(protection, &value), -1);
    EXPECT_EQ(mmap_write32(protection, key), -1);
}

TEST_F(Scu, RawWordsHaveTheLastWord) {
    board("[soc]\nstrap = 4\n[memory]\n0x1E6E2070 = 12\n0x1E6E2000 = 1\n");
    EXPECT_EQ(word(strap), 12u);
    EXPECT_EQ(mmap_write32(strap, 8), 0);  // was left unlocked
    EXPECT_EQ(word(strap), 8u);
}

// What the library makes of it: one capture a boot, and the unit locked behind it.
TEST_F(Scu, ResetStatusIsCapturedOnce) {
    board("[soc]\nreset_status = 0x3\n");
    EXPECT_EQ(VEL_readSCU3C(), 3u);
    EXPECT_EQ(VEL_PDKIsACPowerOn(), 1);
    EXPECT_EQ(sim().memory(reset_status), 0u);
    EXPECT_EQ(sim().memory(protection), 0u);
    EXPECT_EQ(sim().calls(boardsim::Call::mmap_read32).made, 2u);
    EXPECT_EQ(sim().calls(boardsim::Call::mmap_write32).made, 3u);
}

TEST_F(Scu, MemoryFileHoldsThePageAtItsAddress) {
    board("[soc]\nstrap = 0x0403020C\nreset_status = 0x11\n[memory]\n0x10 = 0x55\n");
    ASSERT_TRUE(sim().write_memory_file(memory_file));
    struct stat status = {};
    ASSERT_EQ(stat(memory_file, &status), 0);
    EXPECT_EQ(status.st_size, 0x1E6E3000);
    EXPECT_LE(status.st_blocks * 512, 65536);  // sparse
    EXPECT_EQ(status.st_mode & 0777, 0666u);
    std::ifstream file(memory_file, std::ios::binary);
    std::vector<char> page(0x1000);
    file.seekg(0x1E6E2000);
    file.read(page.data(), static_cast<std::streamsize>(page.size()));
    ASSERT_TRUE(file);
    std::vector<char> expected(0x1000);
    expected[0x3C] = 0x11;
    expected[0x70] = 0x0C;
    expected[0x71] = 2;
    expected[0x72] = 3;
    expected[0x73] = 4;
    EXPECT_EQ(page, expected);
    // written anew for the next run
    sim().set_memory(strap, 4);
    ASSERT_TRUE(sim().write_memory_file(memory_file));
    file.seekg(0x1E6E2070);
    EXPECT_EQ(file.get(), 4);
}

TEST_F(Scu, NoMemoryFileWithoutTheUnit) {
    board("[memory]\n0x10 = 0x55\n");
    EXPECT_FALSE(sim().write_memory_file(memory_file));
    EXPECT_FALSE(std::ifstream(memory_file).is_open());
}

TEST_F(Scu, MemoryFileThatCannotBeWrittenIsTold) {
    board("[soc]\n");
    EXPECT_THROW(sim().write_memory_file("/var/missing/memory"), boardsim::Error);
}

TEST_F(Scu, WrongKeysAreRefused) {
    EXPECT_THROW(board("[soc]\nstrap = 0x100000000\n"), boardsim::Error);
    EXPECT_THROW(board("[soc]\nstraps = 1\n"), boardsim::Error);
}

}  // namespace
