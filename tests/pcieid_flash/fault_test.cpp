// Every platform call of every operation fails once: nothing crashes, mutex and ownership are given
// back, the result is the stated one and the next run is as good as the first.
#include <algorithm>

#include "support/flash_support.h"

using scripted::platform;

namespace {

constexpr uint32_t items = 3;
constexpr int32_t failed = -5;

struct Operation {
    const char *name;
    std::function<int32_t()> run;
    bool reads_image;
    std::function<void()> check_good;  // after a good run
};

class FaultSweep : public testing::Test {
protected:
    FaultSweep() {
        list = make_list(items);
        bytes = model::image_of(list);
        image = model::as_image(bytes);
    }

    // Fails each call of the choice once. `chosen` says which calls, counted from 1 of `total`.
    void sweep(const Operation &operation, const std::function<bool(size_t, size_t)> &chosen) {
        testing::internal::CaptureStdout();
        Calls good;
        {
            scripted::Flash flash;
            begin(flash);
            EXPECT_EQ(operation.run(), 0);
            good = platform().calls;
        }
        for (size_t n = 1; n <= good.size() && !HasFailure(); ++n) {
            if (chosen(n, good.size())) {
                fail_call(operation, good, n);
            }
        }
        testing::internal::GetCapturedStdout();
    }

    pciecfg_list list;
    model::Bytes bytes;
    pciecfg_image image;

private:
    void begin(scripted::Flash &flash) {
        platform().clear_record();
        platform().fail_call.reset();
        flash.load(bytes.data(), 16 * (items + 1));
        flash.install();
    }

    // The page on which call n works.
    static unsigned page_of(const Calls &good, size_t n) {
        unsigned page = 0;
        for (size_t i = 0; i < n; ++i) {
            if (good[i].starts_with("epldio_read 0x346") && i > 4) {
                ++page;
            }
        }
        return page;
    }

    // What the failure of call n of a good run must lead to.
    static int32_t expected_result(const Operation &operation, const Calls &good, size_t n) {
        const size_t total = good.size();
        if (n == 2 || n == 3 || n == total - 2 || n == total - 1) {
            return failed;  // acquiring or releasing the ownership
        }
        const std::string &call = good[n - 1];
        const bool ignored = n == 1 || n == 4 || n == total || call.starts_with("select_sleep") ||
                             call == "epldio_read 0x348" || call == "epldio_read 0x34A" ||
                             call == "epldio_read 0x34C";
        return !ignored && operation.reads_image && page_of(good, n) <= items ? -1 : 0;
    }

    void fail_call(const Operation &operation, const Calls &good, size_t n) {
        SCOPED_TRACE(std::string(operation.name) + ", call " + std::to_string(n) + ": " +
                     good[n - 1]);
        scripted::Flash flash;
        begin(flash);
        platform().fail_call = n;
        EXPECT_EQ(operation.run(), expected_result(operation, good, n));
        EXPECT_TRUE(mutex_free());
        ASSERT_GE(platform().calls.size(), n);
        const bool release_fails = n == good.size() - 2 || n == good.size() - 1;
        EXPECT_EQ(flash.owned(), release_fails);  // then its release was what failed
        if (release_fails) {
            EXPECT_EQ(platform().calls[n - 1], good[n - 1]);
        }
        EXPECT_EQ(flash.violations, std::vector<std::string>());

        platform().clear_record();
        platform().fail_call.reset();
        // A reader after a spoilt write would rightly fail: the next run has what it needs.
        flash.load(bytes.data(), 16 * (items + 1));
        EXPECT_EQ(operation.run(), 0);
        operation.check_good();
        EXPECT_FALSE(flash.owned());
        EXPECT_TRUE(mutex_free());
    }
};

bool every(size_t, size_t) { return true; }

}  // namespace

TEST_F(FaultSweep, Write) {
    pciecfg_image back;
    sweep({"write", [&] { return pciecfg_dev_write(&image); }, false,
           [&] {
               EXPECT_EQ(pciecfg_dev_read(&back), 0);
               EXPECT_EQ(std::memcmp(&back, &image, 16 * (items + 1)), 0);
           }},
          every);
}

TEST_F(FaultSweep, Update) {
    pciecfg_list back;
    sweep({"update", [&] { return pciecfg_data_update(&list); }, false,
           [&] {
               EXPECT_EQ(pciecfg_data_parser(&back), 0);
               EXPECT_EQ(pciecfg_compare(&back, &list), 0);
           }},
          every);
}

TEST_F(FaultSweep, Erase) {
    sweep({"erase", [] { return pciecfg_dev_erase(); }, false,
           [] {
               pciecfg_image back;
               EXPECT_EQ(pciecfg_dev_read(&back), -1);
               EXPECT_THAT(model::bytes_of(back), testing::Each(0xFF));
           }},
          every);
}

TEST_F(FaultSweep, Dump) {
    sweep({"dump", [] { return pciecfg_dev_dump(3); }, false,
           [] { EXPECT_EQ(platform().calls.size(), 7u + 3 * 16); }},
          every);
}

// All pages are the same calls: the first pages, the last and some between stand for them.
TEST_F(FaultSweep, DumpFile) {
    sweep({"dumpfile", [] { return pciecfg_dev_dumpfile("/var/dump"); }, false,
           [&] {
               const model::Bytes dump = file_bytes("/var/dump");
               ASSERT_EQ(dump.size(), 2046u * 16);
               EXPECT_TRUE(std::equal(bytes.begin(), bytes.begin() + 64, dump.begin()));
           }},
          [](size_t n, size_t total) { return n <= 21 || n > total - 20 || n % 4001 == 0; });
}

// A whole read is long: the calls are dealt out to several tests.
class FaultSweepOfRead : public FaultSweep, public testing::WithParamInterface<int> {};
constexpr int parts = 8;

TEST_P(FaultSweepOfRead, Read) {
    pciecfg_image back;
    sweep({"read", [&] { return pciecfg_dev_read(&back); }, true,
           [&] { EXPECT_EQ(std::memcmp(&back, &image, 16 * (items + 1)), 0); }},
          [](size_t n, size_t) { return n % parts == static_cast<size_t>(GetParam()); });
}

TEST_P(FaultSweepOfRead, Parser) {
    pciecfg_list back;
    sweep({"parser", [&] { return pciecfg_data_parser(&back); }, true,
           [&] { EXPECT_EQ(pciecfg_compare(&back, &list), 0); }},
          [](size_t n, size_t) { return n % parts == static_cast<size_t>(GetParam()); });
}

INSTANTIATE_TEST_SUITE_P(Part, FaultSweepOfRead, testing::Range(0, parts));
