// Several real processes and the one mailbox of the system.
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <unistd.h>

#include <atomic>
#include <memory>

#include "boardfeatures/ipc.h"
#include "mailbox/pier_card.h"
#include "support/child_process.h"

using namespace mailbox;
using child_process::Child;
using child_process::Signpost;

namespace {

constexpr int processes = 8;
constexpr int rounds = 25;
constexpr int accesses_per_exchange = 7;  // two polls

// What all processes see of the buses: who made each access, in order.
struct Bus {
    struct Access {
        std::atomic<int> process;
        std::atomic<int> offset;  // a write's, -1 - offset for a read
    };
    std::atomic<int> count;
    Access accesses[processes * rounds * accesses_per_exchange + 64];

    void add(int process, int offset) {
        const int n = count++;
        accesses[n].process = process;
        accesses[n].offset = offset;
    }
};

Bus *shared_bus() {
    void *memory =
        mmap(nullptr, sizeof(Bus), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    EXPECT_NE(memory, MAP_FAILED);
    return new (memory) Bus();
}

// The card of one slot, echoing the command that it was told; its accesses go on record.
class EchoingCard {
public:
    EchoingCard(Bus *bus, int process) {
        platform().on_i2c_write = [this, bus, process](const I2cChipRoute &, uint32_t length,
                                                       const uint8_t *bytes, uint32_t offset) {
            bus->add(process, static_cast<int>(offset));
            const int result = card_.write(length, bytes, offset);
            if (offset == 4) {
                card_.answer = card_.command;
            }
            return result;
        };
        platform().on_i2c_read = [this, bus, process](const I2cChipRoute &, uint32_t length,
                                                      uint8_t *bytes, uint32_t offset) {
            bus->add(process, -1 - static_cast<int>(offset));
            if (on_read) {
                on_read();
            }
            return card_.read(length, bytes, offset);
        };
        card_.busy_polls = 1;
    }
    std::function<void()> on_read;

private:
    PierCard card_;
};

// One exchange whose answer tells that it is this one's.
bool exchange_is_answered(uint32_t slot, uint32_t round) {
    uint8_t response[MOORING_DATA_MAX] = {};
    uint8_t length = 0;
    const uint8_t request[] = {1};
    return VEL_Mooring_SendGetMsgFromPier(slot, slot, round, 0x5A, request, sizeof(request),
                                          response, &length) == 0 &&
           length == 4 && response[0] == slot && response[1] == round && response[2] == 0x5A;
}

// A process that stands in the middle of an exchange until it is killed.
class StuckProcess {
public:
    explicit StuckProcess(Bus *bus)
        : child_([=, this] {
              EchoingCard card(bus, 1);
              card.on_read = [this] {
                  in_the_middle_.reach();
                  never_.wait();
              };
              return exchange_is_answered(1, 1) ? 0 : 1;
          }) {
        in_the_middle_.wait();
    }
    void kill_now() { child_.kill_now(); }

private:
    const Signpost in_the_middle_, never_;
    Child child_;
};

}  // namespace

// Each to its own card: what they do on the buses never mixes, and every answer arrives.
TEST(MailboxProcesses, NeverInterleave) {
    Bus *bus = shared_bus();
    OAL_SemCreate(semaphore_key);
    const Signpost start;
    {
        std::vector<std::unique_ptr<Child>> children;
        for (int process = 0; process < processes; ++process) {
            children.push_back(std::make_unique<Child>([&, process] {
                EchoingCard card(bus, process);
                start.wait();
                int lost = 0;
                for (int round = 0; round < rounds; ++round) {
                    lost += exchange_is_answered(static_cast<uint32_t>(process + 1),
                                                 static_cast<uint32_t>(round))
                                ? 0
                                : 1;
                }
                return lost;
            }));
        }
        for (int process = 0; process < processes; ++process) {
            start.reach();
        }
        for (const auto &child : children) {
            EXPECT_EQ(child->wait(), 0);
        }
    }
    ASSERT_EQ(bus->count, processes * rounds * accesses_per_exchange);
    constexpr int order[] = {0, 8, 4, 0, -1, -1, -9};
    static_assert(std::size(order) == accesses_per_exchange);
    int changes = 0;
    for (int n = 0; n < bus->count; ++n) {
        const int first = n / accesses_per_exchange * accesses_per_exchange;
        ASSERT_EQ(bus->accesses[n].process, bus->accesses[first].process) << n;
        ASSERT_EQ(bus->accesses[n].offset, order[n - first]) << n;
        changes += n > 0 && bus->accesses[n].process != bus->accesses[n - 1].process ? 1 : 0;
    }
    EXPECT_GE(changes, processes - 1) << "all of them took part";
}

// The kernel gives back what a process held that died in the middle of an exchange.
TEST(MailboxProcesses, ADeadProcessHoldsNothing) {
    Bus *bus = shared_bus();
    OAL_SemCreate(semaphore_key);
    StuckProcess holder(bus);
    EXPECT_EQ(semctl(semget(semaphore_key, 0, 0), 0, GETVAL), 0);
    holder.kill_now();
    EXPECT_EQ(semctl(semget(semaphore_key, 0, 0), 0, GETVAL), 1);
    const EchoingCard card(bus, 0);
    EXPECT_TRUE(exchange_is_answered(2, 7));
}

// A process that waits goes on as soon as the other one dies.
TEST(MailboxProcesses, ADeathLetsTheNextOneIn) {
    Bus *bus = shared_bus();
    OAL_SemCreate(semaphore_key);
    StuckProcess holder(bus);
    Child next([&] {
        const EchoingCard card(bus, 2);
        return exchange_is_answered(2, 2) ? 0 : 1;
    });
    const int set = semget(semaphore_key, 0, 0);
    while (semctl(set, 0, GETNCNT) == 0) {  // until it waits
        usleep(1000);
    }
    holder.kill_now();
    EXPECT_EQ(next.wait(), 0);
}

// A process that lives holds the mailbox; the others give up after three seconds.
TEST(MailboxProcesses, AHeldMailboxIsWaitedForThreeSeconds) {
    Bus *bus = shared_bus();
    OAL_SemCreate(semaphore_key);
    const Signpost held, never;
    Child holder([&] {
        VEL_Mooring_MRPIER_SemLock();
        held.reach();
        never.wait();
        return 0;
    });
    held.wait();
    const EchoingCard card(bus, 0);
    timespec before = {}, after = {};
    clock_gettime(CLOCK_MONOTONIC, &before);
    EXPECT_FALSE(exchange_is_answered(2, 7));
    clock_gettime(CLOCK_MONOTONIC, &after);
    EXPECT_GE((after.tv_sec - before.tv_sec) * 1000 + (after.tv_nsec - before.tv_nsec) / 1000000,
              2990);
    EXPECT_EQ(bus->count, 0) << "no card was touched";
    EXPECT_EQ(semctl(semget(semaphore_key, 0, 0), 0, GETVAL), 0);
}
