// Constant facts about CPUs, network and storage, and which CPUs are fitted.
#include "host/host_support.h"

using namespace host;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct Fact {
    const char *name;
    int32_t (*ask)();
    int32_t answer;
};

#define FACT(name, answer) \
    { #name, name, answer }
constexpr Fact facts[] = {
    FACT(GetCpuType, 1),
    FACT(GetCpuPlatform, 1),
    FACT(GetCpuSilkScreenIndexFixValue, 1),
    FACT(GetCpuEntityInsStartIndex, 1),
    FACT(GetCpuMaxCount, 2),
    FACT(IsCloseMCTP, 0),
    FACT(GetEpldCpuTempSupportFlag, 0),
    FACT(GETBoardCpuSupportISSFlag, 0),
    FACT(GetCpuReduceFlag, 0),
    FACT(GetSyncTimeSavePath, 0),
    FACT(GetEpldCpuTempOffset, 0xFFFF),
    FACT(GetOsTimeEPLDRegAddr, 0xFFFF),
    FACT(OsSyncTimeEnable, -1),
    FACT(GetBusOwnerProxyEid, 8),
    FACT(GetFrb2WdtTimeout, 64),
    FACT(NetcardNcsiSupport, 1),
    FACT(NetcardSmbusSupport, 1),
    FACT(NetworkBondCfgSupport, 1),
    FACT(NetworkAutoCfgSupport, 1),
    FACT(RaidCardSupport, 1),
    FACT(NetcardTEPSupport, 0),
    FACT(NetcardSyncMacSupport, 0),
    FACT(NetcardX722Only2CopperSupport, 0),
    FACT(GetPhyCheckDisableFlag, 0),
    FACT(NetworkCorrectDevTbl, 0),
    FACT(GetRaidCardBoardOOBSwitchIfSupport, 0),
    FACT(GetRaidCardBoardOOBSwitchDefVal, 1),
    FACT(GetNcsiNetCardMaxCount, 2),
    FACT(GetRaidCardMaxCount, 11),
    FACT(Hdd_GetConvertLocationByModel, -1),
    FACT(TempNonCritlDisable, -1),
};
#undef FACT

constexpr int32_t (*temperature_limits[])(uint8_t *) = {
    GETBoardCpuTempTjmax, GETBoardCpuTempTcritical, GETBoardCpuTempTnonrecoverable};

}  // namespace

TEST(HostFacts, Constants) {
    for (const Fact &fact : facts) {
        EXPECT_EQ(fact.ask(), fact.answer) << fact.name;
    }
    expect_silence();
}

TEST(HostFacts, NoTemperatureLimitIsStated) {
    for (const auto ask : temperature_limits) {
        uint8_t value[2] = {0xA5, 0xA5};
        EXPECT_EQ(ask(value), -1);
        EXPECT_THAT(value, ElementsAre(0, 0xA5));
        EXPECT_EQ(ask(nullptr), -1);
    }
    expect_silence();
}

TEST(HostFacts, BiosPostEndFlag) {
    uint8_t flag[2] = {0xA5, 0xA5};
    EXPECT_EQ(GETCpuBiosPostEndFlag(flag), 0);
    EXPECT_THAT(flag, ElementsAre(255, 0xA5));
    EXPECT_EQ(GETCpuBiosPostEndFlag(nullptr), -1);
    expect_silence();
}

// ---- CPUs ----

TEST(CpuPresence, EachCpuHasItsBit) {
    for (uint32_t value = 0; value <= 0xFFFF; value += 1 + value / 32) {
        platform().epld[0x8C] = static_cast<uint16_t>(value);
        for (const uint32_t cpu : {0u, 1u}) {
            platform().clear_record();
            EXPECT_EQ(GetCpuOnlineStatus(cpu), static_cast<int32_t>(value >> cpu) % 2) << value;
            EXPECT_THAT(platform().calls, ElementsAre("epldio_read 0x8C"));
            EXPECT_THAT(platform().messages, IsEmpty());
        }
    }
}

TEST(CpuPresence, OtherCpusAreAnError) {
    platform().epld[0x8C] = 0xFFFF;
    for (const uint32_t cpu : key_space()) {
        if (cpu > 1) {
            EXPECT_EQ(GetCpuOnlineStatus(cpu), -1) << cpu;
        }
    }
    expect_silence();
}

TEST(CpuPresence, AFailedReadMeansNotFitted) {
    platform().epld[0x8C] = 0xFFFF;
    for (const int failure : failures) {
        for (const uint32_t cpu : {0u, 1u}) {
            platform().clear_record();
            platform().failure = failure;
            platform().fail_call = 1;
            EXPECT_EQ(GetCpuOnlineStatus(cpu), 0);
            EXPECT_EQ(platform().calls.size(), 1u);
            platform().fail_call.reset();
            EXPECT_EQ(GetCpuOnlineStatus(cpu), 1);
        }
    }
    platform().on_epld_read = [](uint32_t, uint16_t *value) {
        *value = 0xFFFF;
        return -1;
    };
    EXPECT_EQ(GetCpuOnlineStatus(0), 0);
    EXPECT_EQ(getScreeCpuLocationData(), 0);
}

TEST(CpuLocation, IsItsRegister) {
    for (uint32_t value = 0; value <= 0xFFFF; value += 1 + value / 32) {
        platform().epld[0x316] = static_cast<uint16_t>(value);
        platform().clear_record();
        EXPECT_EQ(getScreeCpuLocationData(), static_cast<int32_t>(value));
        EXPECT_THAT(platform().calls, ElementsAre("epldio_read 0x316"));
    }
    platform().epld[0x316] = 0xFFFF;
    EXPECT_EQ(getScreeCpuLocationData(), 0xFFFF);
}

TEST(CpuLocation, AFailedReadAnswersZero) {
    platform().epld[0x316] = 0x1234;
    for (const int failure : failures) {
        platform().clear_record();
        platform().failure = failure;
        platform().fail_call = 1;
        EXPECT_EQ(getScreeCpuLocationData(), 0);
        EXPECT_EQ(platform().calls.size(), 1u);
        platform().fail_call.reset();
        EXPECT_EQ(getScreeCpuLocationData(), 0x1234);
    }
    EXPECT_THAT(platform().messages, IsEmpty());
}
