// Fans by index, PWM output and tachometer; their labels and control; facts of all boards.
#include <array>

#include "support/bytes.h"
#include "support/cooling_machine.h"

using namespace cooling;

namespace {

struct Fan {
    uint8_t pwm;
    uint8_t tachometer;
    const char *mark;
    uint32_t tray;
};

constexpr Fan fans[] = {
    {0, 0, "1F", 1}, {1, 1, "2F", 2}, {2, 2, "3F", 3}, {3, 3, "4F", 4},
    {0, 4, "1R", 1}, {1, 5, "2R", 2}, {2, 6, "3R", 3}, {3, 7, "4R", 4},
};

constexpr uint8_t untouched = 0xA5;

// Indexes beyond the fans, and some whose low byte is a fan's.
constexpr uint32_t no_fans[] = {8, 9, 10, 255, 256, 257, 263, 0x10000, 0x80000000, UINT32_MAX};

// Every test holds for both configurations' rows, which are alike.
class FanMap : public CoolingTest, public testing::WithParamInterface<bool> {
protected:
    FanMap() { g_bIsFell = GetParam() ? 1 : 0; }
    ~FanMap() override {
        EXPECT_TRUE(platform().calls.empty());
        EXPECT_TRUE(platform().messages.empty());
        for (const uint8_t fell : {0, 1}) {
            g_bIsFell = fell;
            for (uint32_t fan = 0; fan < 8; ++fan) {
                EnableFanCtrl(fan);
            }
        }
    }
};

using LookUp = int32_t (*)(uint32_t, uint8_t *);

void expect_answer(LookUp look_up, uint32_t index, int32_t result, uint8_t value) {
    uint8_t out = untouched;
    EXPECT_EQ(look_up(index, &out), result) << index;
    EXPECT_EQ(out, result == 0 ? value : untouched) << index;
    EXPECT_EQ(look_up(index, nullptr), -1) << index;
}

std::string mark_of(uint32_t index, uint32_t fan_type, int32_t expected_result) {
    char mark[24];
    std::memset(mark, untouched, sizeof(mark));
    EXPECT_EQ(GetFanMarkByFanIndex(index, mark, fan_type), expected_result);
    return {mark, sizeof(mark)};
}

const std::string garbage(size_t size) { return std::string(size, static_cast<char>(untouched)); }

// A text with its terminating zero, in a buffer that stays as it was behind it.
std::string as_text(const std::string &text) { return text + '\0' + garbage(24 - text.size() - 1); }

// A label that is copied whole.
std::string as_field(const std::string &text) {
    return text + std::string(15 - text.size(), '\0') + garbage(24 - 15);
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Configurations, FanMap, testing::Bool(),
                         [](const auto &tested) { return tested.param ? "Fell" : "Tarn"; });

TEST_P(FanMap, ByFanIndex) {
    for (uint32_t index = 0; index < 8; ++index) {
        expect_answer(GetFanPwmIndexByFanIndex, index, 0, fans[index].pwm);
        expect_answer(_GetFanPwmIndexByFanIndex, index, 0, fans[index].pwm);
        expect_answer(GetTachNumByFanIndex, index, 0, fans[index].tachometer);
        expect_answer(GetFanControlModeByFanIndex, index, 0, 0);
    }
    for (const uint32_t index : no_fans) {
        expect_answer(GetFanPwmIndexByFanIndex, index, -1, 0);
        expect_answer(_GetFanPwmIndexByFanIndex, index, -1, 0);
        expect_answer(GetTachNumByFanIndex, index, -1, 0);
        expect_answer(GetFanControlModeByFanIndex, index, -1, 0);
    }
}

// Two rotors share an output: the front one is the output's fan.
TEST_P(FanMap, ByPwmIndexAndTachometer) {
    for (uint32_t index = 0; index < 4; ++index) {
        expect_answer(GetFanFanIndexByPwmIndex, index, 0, static_cast<uint8_t>(index));
    }
    for (uint32_t index = 4; index < 8; ++index) {
        expect_answer(GetFanFanIndexByPwmIndex, index, -1, 0);
    }
    for (uint32_t index = 0; index < 8; ++index) {
        expect_answer(GetFanIndexByTachNum, index, 0, static_cast<uint8_t>(index));
    }
    for (const uint32_t index : no_fans) {
        expect_answer(GetFanFanIndexByPwmIndex, index, -1, 0);
        expect_answer(GetFanIndexByTachNum, index, -1, 0);
    }
}

TEST_P(FanMap, MarksOfDualRotors) {
    for (uint32_t index = 0; index < 8; ++index) {
        EXPECT_EQ(mark_of(index, 8, 0), as_field(fans[index].mark));
    }
    for (const uint32_t index : no_fans) {
        EXPECT_EQ(mark_of(index, 8, -1), garbage(24));
        EXPECT_EQ(GetFanMarkByFanIndex(index, nullptr, 8), -1);
    }
    EXPECT_EQ(GetFanMarkByFanIndex(0, nullptr, 8), -1);
}

TEST_P(FanMap, MarksOfSingleRotors) {
    for (const uint32_t type : {7u, 0u, 9u, 264u, UINT32_MAX}) {
        for (uint32_t index = 0; index < 8; ++index) {
            EXPECT_EQ(mark_of(index, type, 0), as_text(std::to_string(index + 1)));
        }
        EXPECT_EQ(mark_of(8, type, 0), garbage(24));  // passes the test and finds no fan
        for (const uint32_t index : no_fans) {
            if (index > 8) {
                EXPECT_EQ(mark_of(index, type, -1), garbage(24));
            }
        }
        EXPECT_EQ(GetFanMarkByFanIndex(0, nullptr, type), -1);
        EXPECT_EQ(GetFanMarkByFanIndex(8, nullptr, type), -1);
    }
}

TEST_P(FanMap, NumbersOfOneConfiguration) {
    for (const auto number : {getFanMarkbyFanIndex_Tarn, getFanMarkbyFanIndex_Fell}) {
        for (uint32_t index = 0; index < 8; ++index) {
            char mark[24];
            std::memset(mark, untouched, sizeof(mark));
            EXPECT_EQ(number(index, mark), 0);
            EXPECT_EQ(std::string(mark, sizeof(mark)), as_text(std::to_string(index + 1)));
        }
        for (const uint32_t index : no_fans) {
            char mark[24];
            std::memset(mark, untouched, sizeof(mark));
            EXPECT_EQ(number(index, mark), 0);
            EXPECT_EQ(std::string(mark, sizeof(mark)), garbage(24));
        }
        EXPECT_EQ(number(0, nullptr), -1);
        EXPECT_EQ(number(8, nullptr), -1);
    }
}

TEST_P(FanMap, Trays) {
    for (uint32_t index = 0; index < 8; ++index) {
        EXPECT_EQ(FAN_GetFanSlotNum(index), fans[index].tray);
        uint8_t need = untouched;
        EXPECT_EQ(FanNeedSetFantraySerialNumber(index, &need), 1);
        EXPECT_EQ(need, fans[index].pwm);
        EXPECT_EQ(FanNeedSetFantraySerialNumber(index, nullptr), -1);
    }
    for (const uint32_t index : no_fans) {
        EXPECT_EQ(FAN_GetFanSlotNum(index), 0u);
        uint8_t need = untouched;
        EXPECT_EQ(FanNeedSetFantraySerialNumber(index, &need), -1);
        EXPECT_EQ(need, untouched);
    }
}

TEST_P(FanMap, ControlIsSwitchedFanByFan) {
    for (uint32_t index = 0; index < 8; ++index) {
        EXPECT_EQ(IsFanNeedControl(index), 1);
    }
    for (uint32_t index = 0; index < 8; ++index) {
        DisableFanCtrl(index);
        DisableFanCtrl(index);
        for (uint32_t other = 0; other < 8; ++other) {
            EXPECT_EQ(IsFanNeedControl(other), other == index ? 0 : 1);
        }
        EnableFanCtrl(index);
        EXPECT_EQ(IsFanNeedControl(index), 1);
    }
    for (const uint32_t index : no_fans) {
        DisableFanCtrl(index);
        EnableFanCtrl(index);
        EXPECT_EQ(IsFanNeedControl(index), -1);
    }
    for (uint32_t index = 0; index < 8; ++index) {
        EXPECT_EQ(IsFanNeedControl(index), 1);
        expect_answer(GetFanPwmIndexByFanIndex, index, 0, fans[index].pwm);
    }
}

// Each configuration has rows of its own: those of the moment are switched and asked.
TEST_P(FanMap, ControlBelongsToTheConfigurationOfTheMoment) {
    const uint8_t here = g_bIsFell;
    DisableFanCtrl(5);
    g_bIsFell = 1 - here;
    EXPECT_EQ(IsFanNeedControl(5), 1);
    DisableFanCtrl(2);
    g_bIsFell = here;
    EXPECT_EQ(IsFanNeedControl(5), 0);
    EXPECT_EQ(IsFanNeedControl(2), 1);
}

TEST_P(FanMap, KeepsARuntimeMapWhole) {
    std::array<uint8_t, 448 + 8> in;
    std::array<uint8_t, 448 + 8> out;
    for (const size_t offset : {0u, 1u}) {  // at any address
        for (size_t i = 0; i < in.size(); ++i) {
            in[i] = static_cast<uint8_t>(i * 7 + offset);
        }
        out.fill(untouched);
        SetFanIndexMap(reinterpret_cast<const FanIndexMap *>(in.data() + offset));
        EXPECT_EQ(SetFanIndexMap(nullptr), -1);
        EXPECT_EQ(GetFanIndexMap(nullptr), -1);
        GetFanIndexMap(reinterpret_cast<FanIndexMap *>(out.data() + offset));
        EXPECT_EQ(std::memcmp(in.data() + offset, out.data() + offset, 448), 0);
        EXPECT_EQ(out[448 + offset], untouched);
    }
    for (uint32_t index = 0; index < 8; ++index) {  // none of the look-ups reads it
        expect_answer(GetTachNumByFanIndex, index, 0, fans[index].tachometer);
    }
}

TEST_P(FanMap, KeepsTwoAllocationBlocks) {
    FanAllocationInfo blocks[2];
    for (uint32_t block = 0; block < 2; ++block) {
        for (size_t i = 0; i < sizeof(blocks[0].bytes); ++i) {
            blocks[block].bytes[i] = static_cast<uint8_t>(i * 3 + block);
        }
        EXPECT_EQ(SetFanAllocationINfo(&blocks[block], block), 0);
    }
    for (const uint32_t block : {2u, 256u, 0x80000000u, UINT32_MAX}) {
        EXPECT_EQ(SetFanAllocationINfo(&blocks[0], block), -1);
        FanAllocationInfo out;
        fill_with_garbage(out);
        EXPECT_EQ(GetAllocationINfo(&out, block), -1);
        EXPECT_EQ(out.bytes[0], untouched);
    }
    EXPECT_EQ(SetFanAllocationINfo(nullptr, 0), -1);
    EXPECT_EQ(GetAllocationINfo(nullptr, 0), -1);
    for (uint32_t block = 0; block < 2; ++block) {
        FanAllocationInfo out;
        fill_with_garbage(out);
        EXPECT_EQ(GetAllocationINfo(&out, block), 0);
        EXPECT_EQ(std::memcmp(&out, &blocks[block], 136), 0);
    }
}

TEST_P(FanMap, FanTypes) {
    uint8_t list[3] = {untouched, untouched, untouched};
    uint8_t count = untouched;
    EXPECT_EQ(GetMultiFanType(list, nullptr), -1);
    EXPECT_EQ(GetMultiFanType(nullptr, &count), -1);
    EXPECT_EQ(list[0], untouched);
    EXPECT_EQ(count, untouched);
    EXPECT_EQ(GetMultiFanType(list, &count), 0);
    EXPECT_EQ(list[0], 7);
    EXPECT_EQ(list[1], 8);
    EXPECT_EQ(list[2], untouched);
    EXPECT_EQ(count, 2);
}

// A single rotor has no sensors for the rear.
TEST_P(FanMap, SpeedSensorsThatAFanTypeLacks) {
    for (const uint32_t type : {7u, 8u, 0u, 9u, 263u, UINT32_MAX}) {
        uint8_t list[5];
        std::memset(list, untouched, sizeof(list));
        uint8_t count = untouched;
        EXPECT_EQ(FAN_DeleteFanSpeedSensor(type, list, nullptr), -1);
        EXPECT_EQ(FAN_DeleteFanSpeedSensor(type, nullptr, &count), -1);
        EXPECT_EQ(count, untouched);
        EXPECT_EQ(list[0], untouched);
        EXPECT_EQ(FAN_DeleteFanSpeedSensor(type, list, &count), type == 7 ? 1 : 0);
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(list[i], type == 7 && i < 4 ? 4 + i : untouched);
        }
        EXPECT_EQ(count, type == 7 ? 4 : untouched);
    }
}

TEST_P(FanMap, Facts) {
    const struct {
        const char *name;
        int32_t (*ask)();
        int32_t value;
    } facts[] = {
        {"GetFanMaxCount", GetFanMaxCount, 8},
        {"GetFanMaxCount_Board", GetFanMaxCount_Board, 8},
        {"GetFanRealCount", GetFanRealCount, 4},
        {"GetFanRealCount_Board", GetFanRealCount_Board, 4},
        {"GetInletSensorMaxCount", GetInletSensorMaxCount, 1},
        {"GetFanSupportFlag", GetFanSupportFlag, 1},
        {"IsSupportMultiFanType", IsSupportMultiFanType, 1},
        {"GetIsSupportMultiFanType", GetIsSupportMultiFanType, 1},
        {"FAN_GetFanTypeByBoard", FAN_GetFanTypeByBoard, 8},
        {"GetSupportDevice", GetSupportDevice, 0xFEBF},
        {"GetLiquidSupportDevice", GetLiquidSupportDevice, 0xFEBE},
        {"IsSupportCoolingMode", IsSupportCoolingMode, 1},
        {"IsSupportFantype8038Or8056", IsSupportFantype8038Or8056, 1},
        {"GetFanControlByHostFlag", GetFanControlByHostFlag, 1},
        {"IsFanLowestPWMCtlLinear", IsFanLowestPWMCtlLinear, 1},
        {"IsSupportFanIndexMapCfg", IsSupportFanIndexMapCfg, 0},
        {"IsSupportHDConfMode", IsSupportHDConfMode, 0},
        {"IsSupportInputTempOfMpema", IsSupportInputTempOfMpema, 0},
        {"IsFantrayReduce", IsFantrayReduce, 0},
        {"IsSupportPartitionCtrolFan", IsSupportPartitionCtrolFan, GetParam() ? 0 : 1},
        {"GetFanOfflineLowerstCountOfFullSpeed", GetFanOfflineLowerstCountOfFullSpeed, 255},
        {"SetFantrayAlarmCfg", SetFantrayAlarmCfg, 213},
        {"GetFantrayAlarmCfg", GetFantrayAlarmCfg, 213},
    };
    for (const auto &fact : facts) {
        EXPECT_EQ(fact.ask(), fact.value) << fact.name;
    }
    for (const uint32_t type : {7u, 8u, 0u, 9u, 263u, UINT32_MAX}) {
        EXPECT_EQ(GetFanCountSharedBoard(type), type == 7 ? 4 : 8);
    }
    GetFanIndexMapDiffBoard();
    uint8_t info = untouched;
    AddAdditionalPrintInfo(&info);
    EXPECT_EQ(info, 0);
    AddAdditionalPrintInfo(nullptr);
}

// No LEDs on fans, no PWM from the EPLD, whatever the arguments.
TEST_P(FanMap, WhatTheBoardsFansLack) {
    uint8_t out[2] = {untouched, untouched};
    for (const uint32_t index : {0u, 7u, 8u, UINT32_MAX}) {
        EXPECT_EQ(SetFanLedStatus(index, 1u), -1);
        EXPECT_EQ(SetFanLedStatus(index, 0u, 1u), -1);
        EXPECT_EQ(FanEpldWrOperation(index, 1u, 2u), 0);
        EXPECT_EQ(GetCurrentPWMFromEpld(index, out), 0);
        EXPECT_EQ(GetCurrentPWMPercentageFromEpld(index, out), 0);
        EXPECT_EQ(SetCurrentPWMToEpld(index, 255u), 0);
    }
    EXPECT_EQ(out[0], untouched);
}
