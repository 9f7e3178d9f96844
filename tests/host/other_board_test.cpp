// Card presence over another board's table.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "boardfeatures/host.h"
#include "support/scripted_platform.h"

using scripted::platform;
using testing::ElementsAre;

TEST(OtherBoardsCards, ARegisterOfTheirOwn) {
    platform().epld = {{0x208, 0x7FFF}, {0x30A, 0x8000}};
    EXPECT_EQ(GetCardOnlineStatus(3), 1);
    EXPECT_EQ(GetCardOnlineStatus(4), 1);
    platform().epld = {{0x208, 0xFFFE}, {0x30A, 0x7FFF}};
    EXPECT_EQ(GetCardOnlineStatus(3), 0);
    EXPECT_EQ(GetCardOnlineStatus(4), 0);
    EXPECT_THAT(platform().calls, ElementsAre("epldio_read 0x30A", "epldio_read 0x208",
                                              "epldio_read 0x30A", "epldio_read 0x208"));
}

TEST(OtherBoardsCards, TheFirstRowOfAKeyCounts) {
    CardPresence card = {};
    EXPECT_EQ(GetCardOnlineInfoBySlotID(3, &card), 0);
    EXPECT_STREQ(card.route.name, "own");
    EXPECT_EQ(card.epld_register, 0x30A);
}
