// Several real processes on one key.
#include <gtest/gtest.h>
#include <signal.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "boardfeatures/ipc.h"
#include "oal_ipc/ipc_state.h"
#include "support/child_process.h"

using namespace ipc_state;
using child_process::Child;

namespace {

constexpr int processes = 8;
constexpr uint32_t rounds = 500;

int all_of(const std::function<int(int)> &work) {
    std::vector<std::unique_ptr<Child>> children;
    for (int i = 0; i < processes; ++i) {
        children.push_back(std::make_unique<Child>([&, i] { return work(i); }));
    }
    int failures = 0;
    for (const auto &child : children) {
        failures += child->wait() == 0 ? 0 : 1;
    }
    return failures;
}

}  // namespace

// Each process counts in a word of its own and rewrites a common block as a whole: no count is
// lost, and no block is ever seen half-written.
TEST(Processes, CopiesLoseNothingAndTearNothing) {
    constexpr uint32_t block_offset = processes * sizeof(uint32_t);
    constexpr uint32_t block_size = 4096;
    OAL_CreatMemResource(key, block_offset + block_size);
    EXPECT_EQ(all_of([](int process) {
                  std::vector<uint8_t> block(block_size);
                  for (uint32_t round = 0; round < rounds; ++round) {
                      const uint32_t offset = static_cast<uint32_t>(process) * sizeof(uint32_t);
                      uint32_t count = 0;
                      if (OAL_ShmRead(key, &count, sizeof(count), offset) != 0 || count != round) {
                          return 1;
                      }
                      ++count;
                      if (OAL_ShmWrite(key, &count, sizeof(count), offset) != 0) {
                          return 2;
                      }
                      std::memset(block.data(), process * 31 + static_cast<int>(round),
                                  block.size());
                      if (OAL_ShmWrite(key, block.data(), block_size, block_offset) != 0 ||
                          OAL_ShmRead(key, block.data(), block_size, block_offset) != 0) {
                          return 3;
                      }
                      for (const uint8_t byte : block) {
                          if (byte != block[0]) {
                              return 4;
                          }
                      }
                  }
                  return 0;
              }),
              0);
    for (uint32_t process = 0; process < processes; ++process) {
        uint32_t count = 0;
        EXPECT_EQ(OAL_ShmRead(key, &count, sizeof(count), process * 4), 0u);
        EXPECT_EQ(count, rounds);
    }
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(Processes, ACounterUnderTheLockLosesNoUpdate) {
    void *address = nullptr;
    ASSERT_EQ(OAL_CreatMemResource1(key, 4, &address), 0u);
    auto *counter = static_cast<volatile uint32_t *>(address);
    EXPECT_EQ(
        all_of([=](int process) {
            const auto id = static_cast<uint32_t>(semaphore_id());
            for (uint32_t round = 0; round < rounds; ++round) {
                const bool by_key = ((round + static_cast<uint32_t>(process)) & 1) != 0;
                if ((by_key ? OAL_SemLockByKey(key, 20000) : OAL_SemLockBySemId(id, 65535)) != 0) {
                    return 1;
                }
                *counter = *counter + 1;
                if ((by_key ? OAL_SemUnLockByKey(key, 20000) : OAL_SemUnLockBySemId(id, 0)) != 0) {
                    return 2;
                }
            }
            return 0;
        }),
        0);
    EXPECT_EQ(*counter, processes * rounds);
    EXPECT_EQ(semaphore_value(), 1);
    EXPECT_EQ(OAL_PutMemResourceAddr(key, address), 0u);
}

// Whoever creates first, all end with the same set and the lock is at 1.
TEST(Processes, OneOfManyCreatorsInitialises) {
    for (int round = 0; round < 50; ++round) {
        EXPECT_EQ(all_of([](int) {
                      const uint32_t id = OAL_SemCreate(key);
                      return id == 0x80108303u || id == static_cast<uint32_t>(semaphore_id()) ? 0
                                                                                              : 1;
                  }),
                  0);
        EXPECT_EQ(semaphore_value(), 1);
        EXPECT_EQ(OAL_SemRelease(key), 0);
    }
}

TEST(Processes, HoldersKilledAnywhereLeaveTheLockFree) {
    OAL_SemCreate(key);
    std::mt19937 random(4711);
    for (int round = 0; round < 1000; ++round) {
        Child worker([] {
            for (;;) {
                if (OAL_SemLockByKey(key, 2000) != 0 || OAL_SemUnLockByKey(key, 2000) != 0) {
                    return 1;
                }
            }
        });
        usleep(static_cast<useconds_t>(random() % 2000));
        worker.kill_now();
        ASSERT_EQ(OAL_SemLockByKey(key, 2000), 0u);
        ASSERT_EQ(OAL_SemUnLockByKey(key, 2000), 0u);
        ASSERT_EQ(semaphore_value(), 1);
    }
}
