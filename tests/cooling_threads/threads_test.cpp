// Daemons ask from several threads without a lock: whoever looks the configuration up stores the
// same, and of presence and control the last writer's word holds.
#include <atomic>
#include <thread>

#include "cooling/getters.h"

using namespace cooling;

namespace {

constexpr int thread_count = 4;

void in_threads(const std::function<void(int)> &work) {
    std::atomic<int> waiting{thread_count};
    std::vector<std::thread> threads;
    for (int i = 0; i < thread_count; ++i) {
        threads.emplace_back([&, i] {
            --waiting;
            while (waiting > 0) {
                std::this_thread::yield();
            }
            work(i);
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

class CoolingThreads : public CoolingTest {};

}  // namespace

TEST_F(CoolingThreads, LookTheConfigurationUpTogether) {
    fit_cards(0x5473, 0x545B);
    std::atomic<int> wrong{0};
    in_threads([&](int number) {
        const size_t count = getters().size();
        for (size_t i = 0; i < count; ++i) {
            const Getter &getter = getters()[(i + static_cast<size_t>(number) * count / 4) % count];
            const Answer answer = getter.ask();
            // who asks without looking up may come before the first look-up
            wrong += answer != getter.fell && (getter.member != nullptr || answer != getter.tarn);
        }
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(g_bIsFell, 1);
    EXPECT_EQ(g_wSubCardID_SLOT10, 0x5473);
    EXPECT_EQ(g_wSubCardID_SLOT11, 0x545B);
    EXPECT_LE(platform().calls_of("ei2c_").size(), 2u * thread_count);
}

// A count that is lost allows one more look-up, never an end without twenty.
TEST_F(CoolingThreads, GiveUpTogether) {
    in_threads([](int) {
        for (int call = 0; call < 100; ++call) {
            EXPECT_EQ(FAN_GetCoolingModeCnt(), 30);
        }
    });
    EXPECT_GE(g_dwGetNoBoardIDTimes, 20u);
    EXPECT_LT(g_dwGetNoBoardIDTimes, 20u + thread_count);
    EXPECT_GE(platform().calls.size(), 40u);
    platform().clear_record();
    FAN_GetCoolingModeCnt();
    EXPECT_TRUE(platform().calls.empty());
}

TEST_F(CoolingThreads, SwitchFansAndAskForThem) {
    platform().epld[0x208] = 0x03C0;
    in_threads([](int number) {
        for (int round = 0; round < 50; ++round) {
            const uint32_t fan = static_cast<uint32_t>(round) % 8;
            if (number % 2 == 0) {
                DisableFanCtrl(fan);
                EnableFanCtrl(fan);
            }
            const int32_t controlled = IsFanNeedControl(fan);
            EXPECT_TRUE(controlled == 0 || controlled == 1);
            EXPECT_EQ(GetFanOnlineStatus(fan), 1);
            uint8_t out = 0;
            EXPECT_EQ(GetTachNumByFanIndex(fan, &out), 0);
            EXPECT_EQ(out, fan);
        }
    });
    for (uint32_t fan = 0; fan < 8; ++fan) {
        EXPECT_EQ(IsFanNeedControl(fan), 1);
    }
}

TEST_F(CoolingThreads, CheckTheKitTogether) {
    platform().bytes[{10, 0x20, 0, 0}] = {0x28, 0x8F};
    platform().bytes[{13, 0x20, 0x77, 3}] = {9};
    in_threads([](int) {
        for (int round = 0; round < 50; ++round) {
            EXPECT_EQ(IsLiquidCoolingBoard(), 1);
            EXPECT_EQ(CheckExistFlangeCard(), 1);
        }
    });
    EXPECT_EQ(g_IsLiquidCoolingBoard, 1);
    EXPECT_EQ(g_IsExistFlangeCard, 1);
}
