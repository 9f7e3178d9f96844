// The identifier reader over another board's table: what no position of this board shows.
#include "identity/reader.h"

using namespace identity;
using testing::ElementsAre;

namespace {

constexpr char low_read[] = "ei2c_pca9535_get_word_value 1:0x20 0xFFFF";
constexpr char high_read[] = "ei2c_pca9535_get_word_value 1:0x21 0xFF";

void strap(uint32_t bus, uint16_t address, uint16_t word) {
    platform().identifier(bus, address, 0, 0, word);
}

}  // namespace

TEST(TwoChipPosition, ReadsLowThenHighAndKeepsEveryBit) {
    strap(1, 0x20, 0x1235);
    strap(1, 0x21, 0xFFDA);  // the upper port is not part of the identifier
    HardIdInfo info = untouched();
    EXPECT_EQ(get_hwid_compat(0, &info), 0);
    EXPECT_EQ(bytes_of(info), bytes_of(info_of(0x5A12, 3, 5, 0x5A1235, 0xDA1235)));
    EXPECT_THAT(platform().calls, ElementsAre(low_read, high_read));
}

TEST(TwoChipPosition, EveryValueOfEitherWord) {
    for (uint32_t n = 0; n <= 0xFFFF; ++n) {
        const uint32_t low = n;
        const uint32_t high = n * 31 % 256;
        strap(1, 0x20, static_cast<uint16_t>(low));
        strap(1, 0x21, static_cast<uint16_t>(high));
        platform().calls.clear();
        const uint32_t value = high * 0x10000 + low;
        HardIdInfo info = untouched();
        ASSERT_EQ(get_hwid_compat(0, &info), odd_ones(value) ? 0 : -1);
        ASSERT_EQ(bytes_of(info),
                  bytes_of(odd_ones(value) ? info_of(value / 256 % 0x8000, value / 16 % 16,
                                                     value % 16, value % 0x800000, value)
                                           : HardIdInfo{}))
            << std::hex << value;
    }
}

TEST(TwoChipPosition, EitherReadFailing) {
    strap(1, 0x20, 0x0001);
    strap(1, 0x21, 0x0000);
    for (const int failure : failures) {
        for (const size_t n : {1u, 2u}) {
            platform().clear_record();
            platform().failure = failure;
            platform().fail_call = n;
            HardIdInfo info = untouched();
            EXPECT_EQ(get_hwid_compat(0, &info), -1);
            EXPECT_EQ(bytes_of(info), bytes_of(HardIdInfo{}));
            EXPECT_EQ(platform().calls.size(), n);
            platform().fail_call.reset();
            EXPECT_EQ(get_hwid_compat(0, &info), 0);
            EXPECT_EQ(info.bom_id, 1);
        }
    }
}

// A position that can be strapped in several places: each failure goes on to the next of them.
TEST(PositionWithSeveralRows, TheFirstThatAnswersDecides) {
    strap(2, 0x20, word_of(0x5441));
    strap(4, 0x20, word_of(0x5443));
    HardIdInfo info = untouched();
    EXPECT_EQ(get_hwid_compat(7, &info), 0);
    EXPECT_EQ(info.board_id, 0x5441);
    EXPECT_THAT(platform().calls, ElementsAre("ei2c_pca9535_get_word_value 2:0x20 0xFFFF"));
}

TEST(PositionWithSeveralRows, FailedReadsAndEvenParityGoOn) {
    strap(2, 0x20, word_of(0x5441) ^ 0x8000);
    strap(3, 0x20, 0x0001);  // its second chip does not answer
    strap(4, 0x20, word_of(0x5443));
    HardIdInfo info = untouched();
    EXPECT_EQ(get_hwid_compat(7, &info), 0);
    EXPECT_EQ(info.board_id, 0x5443);
    EXPECT_THAT(platform().calls, ElementsAre("ei2c_pca9535_get_word_value 2:0x20 0xFFFF",
                                              "ei2c_pca9535_get_word_value 3:0x20 0xFFFF",
                                              "ei2c_pca9535_get_word_value 3:0x21 0xFF",
                                              "ei2c_pca9535_get_word_value 4:0x20 0xFFFF"));
}

TEST(PositionWithSeveralRows, FailsAfterTheLast) {
    HardIdInfo info = untouched();
    EXPECT_EQ(get_hwid_compat(7, &info), -1);
    EXPECT_EQ(bytes_of(info), bytes_of(HardIdInfo{}));
    EXPECT_EQ(platform().calls.size(), 3u);
}
