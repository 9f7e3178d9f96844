#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "boardfeatures/identity.h"
#include "support/scripted_platform.h"

using scripted::platform;
using testing::ElementsAre;

TEST(BoardId, OneChipWordWithOnlyTheParityBit) {
    platform().identifier(13, 0x26, 0, 0, 0x8000);
    HardIdInfo info = {};
    EXPECT_EQ(GetHardId(0, &info), 0);
    EXPECT_EQ(info.board_id, 0x5400);
    EXPECT_EQ(info.hard_id, 0x540000u);
    EXPECT_EQ(info.raw_value, 0x540000u);
    EXPECT_THAT(platform().calls, ElementsAre("ei2c_pca9535_get_word_value 13:0x26 0xFFFF"));
}
