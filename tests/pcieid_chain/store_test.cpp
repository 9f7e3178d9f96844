// Identifying and storing: only what changed is written.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "boardfeatures/pcieid_enum.h"
#include "fitted_board.h"
#include "support/scripted_flash.h"

using scripted::platform;

namespace {

class Store : public testing::Test {
protected:
    Store() { flash.install(); }
    // Fits another board under the same flash.
    void refit(const char *board) {
        platform() = {};
        flash.install();
        flash.commands.clear();
        fit_board(board);
    }
    int32_t run() { return pcieid_identify_and_store(work.get()); }
    size_t writes() const {
        size_t count = 0;
        for (const std::string &command : flash.commands) {
            count += command[0] == 'W' ? 1 : 0;
        }
        return count;
    }
    void expect_stored() {
        const auto held = std::make_unique<pciecfg_list>();
        EXPECT_EQ(pciecfg_data_parser(held.get()), 0);
        EXPECT_EQ(pciecfg_compare(held.get(), &work->identified), 0);
        EXPECT_THAT(flash.violations, testing::IsEmpty());
        EXPECT_FALSE(flash.owned());
    }

    scripted::Flash flash;
    std::unique_ptr<pcieid_workspace> work = std::make_unique<pcieid_workspace>();
};

TEST_F(Store, AnEmptyFlashIsWritten) {
    fit_board("24nvme");
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(work->stored, 1u);
    EXPECT_EQ(work->identified.count, 27u);
    EXPECT_EQ(work->held.count, 0u);
    EXPECT_EQ(writes(), 28u);  // header and items
    EXPECT_EQ(said().back(), "info identify pcieid_identify_and_store @, 27 items, stored.\n");
    expect_stored();
}

TEST_F(Store, TheSameBoardIsNotWrittenAgain) {
    fit_board("24nvme");
    EXPECT_EQ(run(), 0);
    refit("24nvme");
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(work->stored, 0u);
    EXPECT_EQ(work->held.count, 27u);
    EXPECT_EQ(writes(), 0u);
    EXPECT_THAT(flash.commands, testing::Not(testing::Contains("E")));
    EXPECT_EQ(said().back(), "info identify pcieid_identify_and_store @, 27 items, as stored.\n");
}

TEST_F(Store, AnotherBoardIsWritten) {
    fit_board("24nvme");
    EXPECT_EQ(run(), 0);
    refit("retimer");
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(work->stored, 1u);
    EXPECT_EQ(work->held.count, 27u);
    EXPECT_EQ(writes(), 11u);
    expect_stored();
}

TEST_F(Store, OneBayOnAnotherSocketIsADifference) {
    fit_board("maximal");
    EXPECT_EQ(run(), 0);
    refit("maximal");
    std::swap(platform().same_expander[socket_chip("A")],
              platform().same_expander[socket_chip("B")]);
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(work->stored, 1u);
    expect_stored();
}

// The stored order does not matter: only what is stored.
TEST_F(Store, AnUnsortedImageOfTheSameItemsIsKept) {
    fit_board("maximal");
    EXPECT_EQ(pcieid_identify(work.get(), &work->identified), 0);
    const auto turned = std::make_unique<pciecfg_list>(work->identified);
    std::reverse(turned->items, turned->items + turned->count);
    ASSERT_EQ(pciecfg_data_update(turned.get()), 0);
    flash.commands.clear();
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(work->stored, 0u);
    EXPECT_EQ(writes(), 0u);
}

TEST_F(Store, ASpoiledImageIsReplaced) {
    fit_board("maximal");
    EXPECT_EQ(run(), 0);
    refit("maximal");
    flash.pages[3][0] ^= 1;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(work->stored, 1u);
    expect_stored();
}

TEST_F(Store, AFlashThatIsNotHandedOverIsTheResult) {
    fit_board("maximal");
    flash.ownership_denied = true;
    EXPECT_EQ(run(), -1);
    EXPECT_EQ(work->stored, 0u);
    EXPECT_EQ(writes(), 0u);
    EXPECT_EQ(work->identified.count, 14u);
    EXPECT_EQ(said().back(),
              "warn identify pcieid_identify_and_store @, pciecfg_data_update()=-1\n");
}

// Fails single accesses of a storing run, all of the identification and some of the flash's: no
// crash, the flash free, and the next run stores what is right.
TEST_F(Store, AFailingAccessIsMendedByTheNextRun) {
    fit_board("empty");
    EXPECT_EQ(run(), 0);
    const size_t calls = platform().calls.size();
    ASSERT_GT(calls, 2000u);
    for (size_t n = 1; n <= calls; n += n < 30 ? 1 : 97) {
        SCOPED_TRACE(n);
        flash = {};
        refit("empty");
        platform().fail_call = n;
        const int32_t result = run();
        EXPECT_TRUE(result == 0 || work->stored == 0) << result;
        EXPECT_EQ(pthread_mutex_trylock(&ufm_dev_mutex), 0);
        pthread_mutex_unlock(&ufm_dev_mutex);
        platform().fail_call.reset();
        EXPECT_EQ(run(), 0);
        expect_stored();
    }
}

}  // namespace
