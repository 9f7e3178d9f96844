// Several threads use the flash at once: each exchange is whole.
#include <atomic>
#include <thread>

#include "support/flash_support.h"

using scripted::platform;

TEST_F(FlashTest, ThreadsDoNotMixTheirExchanges) {
    const pciecfg_list lists[] = {make_list(5, 1), make_list(9, 2)};
    ASSERT_EQ(pciecfg_data_update(&lists[0]), 0);
    std::atomic<int> good_reads{0};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int writer = 0; writer < 2; ++writer) {
        threads.emplace_back([&, writer] {
            for (int round = 0; round < 8; ++round) {
                wrong += pciecfg_data_update(&lists[writer]) != 0;
            }
        });
    }
    for (int reader = 0; reader < 3; ++reader) {
        threads.emplace_back([&] {
            for (int round = 0; round < 8; ++round) {
                pciecfg_list back;
                if (pciecfg_data_parser(&back) == 0 && (pciecfg_compare(&back, &lists[0]) == 0 ||
                                                        pciecfg_compare(&back, &lists[1]) == 0)) {
                    ++good_reads;
                }
            }
        });
    }
    threads.emplace_back([&] {
        for (int round = 0; round < 3; ++round) {
            wrong += pciecfg_dev_dumpfile("/var/dump") != 0;
        }
    });
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(good_reads, 24);
    for (const auto &message : platform().messages) {  // nobody met another's ownership
        EXPECT_EQ(message.text.find("can not take over"), std::string::npos);
    }
    EXPECT_FALSE(flash.owned());
}
