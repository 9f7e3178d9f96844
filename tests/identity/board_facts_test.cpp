// The board's constant facts and thin getters.
#include "boardfeatures/host.h"
#include "identity/reader.h"

using namespace identity;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct Fact {
    const char *name;
    int32_t (*ask)();
    int32_t answer;
};

constexpr Fact facts[] = {
    {"IsRackServer", IsRackServer, 1},
    {"IsSingleBiosFlashBoard", IsSingleBiosFlashBoard, 1},
    {"GetCupsSupportBoardType", GetCupsSupportBoardType, 1},
    {"GetMacDefaultSetBoardType", GetMacDefaultSetBoardType, 0},
    {"supportLowConfigProcessor", supportLowConfigProcessor, 0},
    {"GetPowerOffDelay", GetPowerOffDelay, 4},
    {"GetEpldUpdateChannel", GetEpldUpdateChannel, 0},
    {"GetFruFwLocation", GetFruFwLocation, 1},
    {"GetCardMaxNum", GetCardMaxNum, 30},
    {"GetHwAddr", GetHwAddr, 0},
    {"GetSelTransFlag", GetSelTransFlag, 0},
    {"GetOcpCardLocation", GetOcpCardLocation, 2},
    {"get_ocp_card_location", get_ocp_card_location, 2},
    {"GetHost1UartAndSOLSrc", GetHost1UartAndSOLSrc, 0},
    {"GetEpldValueWhenHost1SrcIsSocUart", GetEpldValueWhenHost1SrcIsSocUart, 255},
    {"GetSubcardSpecialProductName", GetSubcardSpecialProductName, -1},
    {"getMaintainTestEpldAddrCnt", getMaintainTestEpldAddrCnt, 111},
};

}  // namespace

TEST(BoardFacts, Constants) {
    for (const Fact &fact : facts) {
        EXPECT_EQ(fact.ask(), fact.answer) << fact.name;
    }
    expect_silence();
}

TEST(BoardFacts, PowerStatusRegisters) {
    uint16_t address[3] = {0xA5A5, 0xA5A5, 0xA5A5};
    EXPECT_EQ(GetPowerStatusAddr(address), 2);
    EXPECT_THAT(address, ElementsAre(0x310, 0x312, 0xA5A5));
    expect_silence();
}

TEST(BoardFacts, OutputsOfTheirOwnWidth) {
    uint16_t words[2] = {0xA5A5, 0xA5A5};
    EXPECT_EQ(GetBladeServer(words), 1);
    EXPECT_THAT(words, ElementsAre(0, 0xA5A5));

    words[0] = 0xA5A5;
    GetSubcardBoardIdForModifyProductName(words);
    EXPECT_THAT(words, ElementsAre(0, 0xA5A5));

    uint8_t bytes[2] = {0xA5, 0xA5};
    EXPECT_EQ(get_hw_addr(bytes), 0);
    EXPECT_THAT(bytes, ElementsAre(0, 0xA5));
    expect_silence();
}

TEST(BoardFacts, WhatTheBoardDoesNotHave) {
    uint8_t slot[2] = {0xA5, 0xA5};
    EXPECT_EQ(GetSlotId(slot), -1);
    EXPECT_EQ(get_slotid(slot), -1);
    EXPECT_THAT(slot, ElementsAre(0xA5, 0xA5));

    uint8_t lan[64];
    std::memset(lan, 0xA5, sizeof(lan));
    EXPECT_EQ(GetSlotSpecialLanInfo(1, 2, lan), -1);
    EXPECT_EQ(get_slotlaninfo(1, 2, lan), -1);
    EXPECT_THAT(lan, testing::Each(0xA5));

    const uint8_t entry[16] = {};
    EXPECT_EQ(SendAddSelIntry(entry), -1);
    EXPECT_EQ(send_addselintry(entry), -1);
    expect_silence();
}

TEST(BoardFacts, NicPortsAreCountedFromOne) {
    for (const auto ask : {GetNicDevicePortNewIndex, get_nic_device_port_new_index}) {
        for (uint32_t port = 0; port <= 300; ++port) {
            uint8_t index[2] = {0xA5, 0xA5};
            EXPECT_EQ(ask(port * 3, port + 7, port, index), 1);
            EXPECT_EQ(index[0], (port + 1) % 256) << port;
            EXPECT_EQ(index[1], 0xA5);
        }
        uint8_t index = 0xA5;
        EXPECT_EQ(ask(UINT32_MAX, UINT32_MAX, UINT32_MAX, &index), 1);
        EXPECT_EQ(index, 0);
    }
    expect_silence();
}

TEST(BoardFacts, NullIsRefused) {
    EXPECT_EQ(GetPowerStatusAddr(nullptr), -1);
    EXPECT_EQ(GetBladeServer(nullptr), -1);
    EXPECT_EQ(get_hw_addr(nullptr), -1);
    EXPECT_EQ(GetSlotId(nullptr), -1);
    EXPECT_EQ(get_slotid(nullptr), -1);
    EXPECT_EQ(GetSlotSpecialLanInfo(0, 0, nullptr), -1);
    EXPECT_EQ(get_slotlaninfo(0, 0, nullptr), -1);
    EXPECT_EQ(SendAddSelIntry(nullptr), -1);
    EXPECT_EQ(send_addselintry(nullptr), -1);
    EXPECT_EQ(GetNicDevicePortNewIndex(0, 0, 0, nullptr), -1);
    EXPECT_EQ(get_nic_device_port_new_index(0, 0, 0, nullptr), -1);
    EXPECT_EQ(GetSubcardBoardIdForModifyProductName(nullptr), -1);
    EXPECT_EQ(getIntrusionState(nullptr), -1);
    expect_silence();
}

TEST(BoardFacts, TheI2cControlRegisterIsLeftAlone) {
    OpenI2CControlReg();
    CloseI2CControlReg();
    expect_silence();
}

TEST(BoardFacts, SetSpecialIPOnlyWritesAnAuditLine) {
    SetSpecialIP();
    EXPECT_THAT(platform().calls, IsEmpty());
    expect_message("audit", 149, "SetSpecialIP", " don't need Set special ip\n");
}

// ---- the OCP card ----

TEST(OcpCard, IsBitTwelveOfThePresenceRegister) {
    for (const auto ask : {GetOcpCardIsPresent, get_ocp_card_present}) {
        for (uint32_t bit = 0; bit < 16; ++bit) {
            platform().epld[0x208] = static_cast<uint16_t>(1u << bit);
            EXPECT_EQ(ask(), bit == 12 ? 1 : 0) << bit;
            platform().epld[0x208] = static_cast<uint16_t>(~(1u << bit));
            EXPECT_EQ(ask(), bit == 12 ? 0 : 1) << bit;
        }
        platform().clear_record();
        ask();
        EXPECT_THAT(platform().calls, ElementsAre("epldio_read 0x208"));
        EXPECT_THAT(platform().messages, IsEmpty());
    }
}

TEST(OcpCard, AFailedReadMeansAbsent) {
    platform().epld[0x208] = 0xFFFF;
    for (const auto ask : {GetOcpCardIsPresent, get_ocp_card_present}) {
        for (const int failure : failures) {
            platform().clear_record();
            platform().failure = failure;
            platform().fail_call = 1;
            EXPECT_EQ(ask(), 0);
            EXPECT_EQ(platform().calls.size(), 1u);
            platform().fail_call.reset();
            EXPECT_EQ(ask(), 1);
        }
    }
}

// ---- the intrusion switch ----

TEST(Intrusion, IsBitZeroOfItsRegister) {
    for (uint32_t value = 0; value <= 0xFFFF; value += 1 + value / 16) {
        platform().epld[0x188] = static_cast<uint16_t>(value);
        platform().clear_record();
        uint8_t state[2] = {0xA5, 0xA5};
        EXPECT_EQ(getIntrusionState(state), 0);
        EXPECT_THAT(state, ElementsAre(value % 2, 0xA5)) << value;
        EXPECT_THAT(platform().calls, ElementsAre("epldio_read 0x188"));
    }
}

TEST(Intrusion, AFailedReadAnswersZero) {
    platform().epld[0x188] = 0xFFFF;
    for (const int failure : failures) {
        platform().clear_record();
        platform().failure = failure;
        platform().fail_call = 1;
        uint8_t state = 0xA5;
        EXPECT_EQ(getIntrusionState(&state), 0);
        EXPECT_EQ(state, 0);
        EXPECT_THAT(platform().messages, IsEmpty());
        platform().fail_call.reset();
        EXPECT_EQ(getIntrusionState(&state), 0);
        EXPECT_EQ(state, 1);
    }
}

// A read that fails after it has written something is still no reading.
TEST(Intrusion, AFailedReadsValueIsNotUsed) {
    platform().on_epld_read = [](uint32_t, uint16_t *value) {
        *value = 0xFFFF;
        return -1;
    };
    uint8_t state = 0xA5;
    EXPECT_EQ(getIntrusionState(&state), 0);
    EXPECT_EQ(state, 0);
    EXPECT_EQ(GetOcpCardIsPresent(), 0);
}

// ---- the maintenance test ----

TEST(MaintenanceTest, EveryRegisterInOrder) {
    std::istringstream text(maintenance_registers);
    std::vector<int32_t> expected;
    for (std::string number; text >> number;) {
        expected.push_back(static_cast<int32_t>(std::stol(number, nullptr, 16)));
    }
    ASSERT_EQ(expected.size(), 111u);
    std::vector<int32_t> found;
    for (uint32_t index = 0; index < 111; ++index) {
        found.push_back(getMaintainTestEpldAddrByIndex(index));
    }
    EXPECT_EQ(found, expected);
    expect_silence();
}

TEST(MaintenanceTest, BeyondTheListIsAnError) {
    for (const uint32_t index :
         {111u, 112u, 255u, 256u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFF00u, UINT32_MAX}) {
        platform().clear_record();
        EXPECT_EQ(getMaintainTestEpldAddrByIndex(index), -1);
        EXPECT_THAT(platform().calls, IsEmpty());
        expect_message("dbgout", 130, "maintain_test_common_info",
                       "getEpldAddrByIndex dwIndex oversize!\n");
    }
}
