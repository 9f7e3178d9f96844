// The boards that are shipped, read through the library as a daemon reads them.
#include <dirent.h>

#include <set>

#include "board_test.h"
#include "boardfeatures/cooling.h"
#include "boardfeatures/host.h"
#include "boardfeatures/identity.h"

using testing::Contains;

namespace {

class Shipped : public BoardTest {
protected:
    void ship(const std::string &name) {
        boardsim::make_state(std::string(BOARDS_DIR) + '/' + name + ".toml", state_file);
        open_state();
    }
    static std::set<uint32_t> online() {
        std::set<uint32_t> keys;
        for (uint32_t key = 1; key <= 30; ++key) {
            if (GetCardOnlineStatus(key) == 1) {
                keys.insert(key);
            }
        }
        return keys;
    }
};

TEST_F(Shipped, EveryFileLoads) {
    std::set<std::string> names;
    DIR *folder = opendir(BOARDS_DIR);
    ASSERT_NE(folder, nullptr);
    // The emulator hands on inode numbers of 64 bits.
    while (const dirent64 *entry = readdir64(folder)) {
        const std::string name = entry->d_name;
        if (name.ends_with(".toml")) {
            EXPECT_NO_THROW(boardsim::make_state(std::string(BOARDS_DIR) + '/' + name, state_file))
                << name;
            names.insert(name);
        }
    }
    closedir(folder);
    for (const char *name :
         {"empty", "tarn-12bay", "tarn-24bay-fell", "tarn-maximal", "tarn-liquid", "tarn-24nvme",
          "tarn-retimer", "tarn-miscabled", "broken-identifiers"}) {
        EXPECT_THAT(names, Contains(std::string(name) + ".toml"));
    }
}

TEST_F(Shipped, Empty) {
    ship("empty");
    EXPECT_EQ(GetBoardId(), 0x5440u);
    EXPECT_EQ(isTarnT(), 0u);
    EXPECT_EQ(online(), std::set<uint32_t>{});
    EXPECT_EQ(GetHDbkBoardId(), 255u);
    EXPECT_EQ(GetCpuOnlineStatus(0), 0);
}

TEST_F(Shipped, TwelveBays) {
    ship("tarn-12bay");
    EXPECT_EQ(GetBoardId(), 0x5440u);
    EXPECT_EQ(GetBoardPcbId(), 1u);
    EXPECT_EQ(isTarnT(), 0u);
    EXPECT_EQ(GetHDbkBoardId(), 1u);
    EXPECT_EQ(GetCardBoardId(10), 0x545Bu);
    EXPECT_EQ(GetCardBoardId(5), 0x5464u);
    EXPECT_EQ(GetCardBoardId(8), 0x5464u);
    EXPECT_EQ(GetCardBoardId(27), 0x546Cu);
    EXPECT_EQ(GetCardBoardId(28), 0x5481u);
    EXPECT_EQ(GetCardBomId(28), 2u);
    EXPECT_EQ(GetOcpCardIsPresent(), 1u);
    EXPECT_EQ(GetCpuOnlineStatus(0), 1);
    EXPECT_EQ(GetCpuOnlineStatus(1), 1);
    EXPECT_EQ(online(),
              (std::set<uint32_t>{1, 5, 6, 7, 8, 10, 16, 17, 18, 19, 20, 22, 25, 27, 28}));
}

TEST_F(Shipped, TwentyFourBaysAreAFell) {
    ship("tarn-24bay-fell");
    EXPECT_EQ(GetCardBoardId(10), 0x546Fu);
    EXPECT_EQ(GetHDbkBoardId(), 3u);
    EXPECT_EQ(isTarnT(), 0u);
    EXPECT_EQ(online(), (std::set<uint32_t>{6, 7, 10, 17, 18, 19, 20, 22, 27, 29}));
}

// Its risers have no slots 4 and 8; a retimer card is in every slot that they have.
TEST_F(Shipped, MaximalHasACardInEveryPosition) {
    ship("tarn-maximal");
    EXPECT_EQ(isTarnT(), 1u);
    EXPECT_EQ(GetHDbkBoardId(), 3u);
    std::set<uint32_t> all = {1, 5, 6, 7, 8, 9, 10, 11, 14};
    for (const uint32_t key : {16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 27, 28, 29}) {
        all.insert(key);
    }
    EXPECT_EQ(online(), all);
    for (const uint32_t key : {23, 24, 31, 32}) {
        EXPECT_EQ(GetCardBoardId(key), 0x5481u + (key - 23)) << key;
    }
    for (const uint32_t key : {25, 27, 28, 29}) {
        EXPECT_EQ(GetCardBoardId(key), 0x546Cu) << key;
    }
}

TEST_F(Shipped, BrokenIdentifiersAreNotBelieved) {
    ship("broken-identifiers");
    EXPECT_EQ(GetBoardId(), 0x7FFFu);
    EXPECT_EQ(GetBoardHardId(), 0xFFFFFFu);
    EXPECT_EQ(GetCardOnlineStatus(1), 1);  // its bit says so
    EXPECT_EQ(GetCardBoardId(1), 0x7FFFu);
    EXPECT_EQ(GetCardOnlineStatus(28), 1);
    EXPECT_EQ(GetCardBoardId(28), 0x7FFFu);
    EXPECT_EQ(GetSpecialHDbkBoardId(), 0x5464u);
    EXPECT_EQ(online(), (std::set<uint32_t>{1, 8, 17, 28}));
    EXPECT_EQ(word_at(at(8, 0x20)), -5);
}

TEST_F(Shipped, LiquidCooled) {
    ship("tarn-liquid");
    EXPECT_EQ(IsLiquidCoolingBoard(), 1);
    EXPECT_EQ(CheckExistFlangeCard(), 1);
    uint8_t flag = 1;
    EXPECT_GE(I2C_GetLiquidLeakageFlag(&flag), 0);
    EXPECT_EQ(flag, 0);
    EXPECT_EQ(GetHDbkBoardId(), 0u);
}

// Fans turn as fans of their kind can.
TEST_F(Shipped, FansTurnWithinTheirLimits) {
    for (const char *name : {"tarn-12bay", "tarn-24bay-fell", "tarn-maximal", "tarn-liquid"}) {
        boardsim::make_state(std::string(BOARDS_DIR) + '/' + name + ".toml", "/var/other.state");
        boardsim::Simulator other("/var/other.state");
        const boardsim::StateLock lock(other.shared());
        const boardsim::Board &board = other.shared().state().board;
        EXPECT_EQ(board.epld[0x208] & 0x03C0, 0x03C0) << name;
        for (uint32_t fan = 0; fan < 8; ++fan) {
            EXPECT_NE(board.fans[fan].answers, 0u) << name;
            EXPECT_GE(board.fans[fan].rpm, fan < 4 ? 1350u : 1100u) << name;
            EXPECT_LE(board.fans[fan].rpm, fan < 4 ? 17000u : 14500u) << name;
        }
    }
}

// The leak sensor of each kind in each state, as the library reads it.
struct Leak {
    const char *sensor, *state;
    int leaking, broken, absent;
};
class LeakSensor : public BoardTest, public testing::WithParamInterface<Leak> {};

TEST_P(LeakSensor, IsReadByTheLibrary) {
    const Leak &leak = GetParam();
    board(std::string("[liquid_cooling]\nsensor = \"") + leak.sensor + "\"\nstate = \"" +
          leak.state + "\"\n");
    uint8_t leaking = 9, broken = 9, absent = 9;
    EXPECT_GE(I2C_GetLiquidLeakageFlag(&leaking), 0);
    EXPECT_GE(I2C_GetLiquidLeakageLineFlag(&broken), 0);
    EXPECT_GE(I2C_GetLiquidLeakageLineAbsentFlag(&absent), 0);
    EXPECT_EQ(leaking, leak.leaking);
    EXPECT_EQ(broken, leak.broken);
    EXPECT_EQ(absent, leak.absent);
    EXPECT_EQ(IsLiquidCoolingBoard(), 0);
    // The line is an input until it is made an output, and then reads what it is driven to.
    EXPECT_GE(I2C_LiquidLeakageWriteEnable(), 0);
    for (const uint32_t level : {1u, 0u, 1u}) {
        EXPECT_GE(I2C_SetLiquidLeakageOrLineFlag(level), 0);
        EXPECT_EQ(word_at(at(10, 0x21), 0x0100), level << 8);
    }
}

INSTANTIATE_TEST_SUITE_P(
    States, LeakSensor,
    testing::Values(Leak{"leakage", "dry", 0, 0, 0}, Leak{"leakage", "leaking", 1, 0, 0},
                    Leak{"leakage", "absent", 0, 0, 1}, Leak{"line", "intact", 0, 0, 0},
                    Leak{"line", "broken", 0, 1, 0}, Leak{"line", "absent", 0, 0, 1}),
    [](const auto &tested) { return std::string(tested.param.sensor) + "_" + tested.param.state; });

}  // namespace
