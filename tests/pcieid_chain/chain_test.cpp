// The order of the chain's accesses, its failures, and what any single failing access leaves.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "boardfeatures/pcieid_enum.h"
#include "fitted_board.h"

using scripted::platform;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {
bool fail_memcpy_s = false;
}

// The platform's copy, which one of the board's tables is handed out with.
extern "C" int memcpy_s(void *dest, size_t dest_size, const void *src, size_t count) {
    if (fail_memcpy_s || count > dest_size) {
        return -34;
    }
    std::memcpy(dest, src, count);
    return 0;
}

namespace {

class Chain : public testing::Test {
protected:
    Chain() { std::memset(static_cast<void *>(cfg.get()), 0x5A, sizeof(*cfg)); }
    int32_t run() { return pcieid_identify(work.get(), cfg.get()); }

    std::unique_ptr<pcieid_workspace> work = std::make_unique<pcieid_workspace>();
    std::unique_ptr<pciecfg_list> cfg = std::make_unique<pciecfg_list>();
};

TEST_F(Chain, AccessesInOrder) {
    fit_board("retimer");
    EXPECT_EQ(run(), 0);
    const auto identifier = [](const std::string &chip) {
        return "ei2c_pca9535_get_word_value " + chip + " 0xFFFF";
    };
    std::vector<std::string> expected = {
        // riser connectors
        identifier("4:0x20"),
        identifier("5:0x20"),
        // slots of riser 2
        identifier("4:0x70.3:0x22"),
        identifier("4:0x70.2:0x22"),
        identifier("4:0x70.1:0x22"),
        // sockets: A has no cable
        "pca9535_gpio_word_set_value 12:0x70.0:0x27 0xFFFF 0xC080",
        "pca9535_gpio_word_set_value 12:0x70.1:0x27 0xFFFF 0xE081",
        "pca9535_gpio_word_direction_output 12:0x70.1:0x27 0xE000 0xE000",
        "pca9535_gpio_word_set_value 12:0x70.2:0x27 0xFFFF 0xC002",
        "pca9535_gpio_word_set_value 12:0x70.3:0x27 0xFFFF 0xE003",
        "pca9535_gpio_word_set_value 12:0x70.4:0x27 0xFFFF 0x4084",
        "pca9535_gpio_word_set_value 12:0x70.5:0x27 0xFFFF 0x6085",
        "pca9535_gpio_word_set_value 4:0x700071.10000:0x27 0xFFFF 0x2006",
        "pca9535_gpio_word_direction_output 4:0x700071.10000:0x27 0xE000 0x2000",
        "pca9535_gpio_word_set_value 4:0x700071.10001:0x27 0xFFFF 0x7",
        "pca9535_gpio_word_direction_output 4:0x700071.10001:0x27 0xE000 0x0",
    };
    // cards that decide slot bases
    for (int attempt = 0; attempt < 4; ++attempt) {
        expected.push_back(identifier("8:0x20"));
        expected.push_back(identifier("9:0x20"));
    }
    // interfaces
    for (const char *bus : {"7", "8", "9", "3", "4", "5", "6"}) {
        expected.push_back(identifier(std::string(bus) + ":0x20"));
    }
    // uplinks
    for (const char *channel : {"0", "1", "2"}) {
        const std::string chip = std::string("7:0x70.") + channel + ":0x27";
        expected.push_back("pca9535_gpio_word_get_value " + chip + " 0x1FFF");
        expected.push_back("pca9535_gpio_word_get_output_value " + chip + " 0xFFFF");
    }
    expected.push_back("pca9535_gpio_word_get_value 7:0x70.3:0x27 0x1FFF");
    EXPECT_THAT(platform().calls, ElementsAreArray(expected));
}

TEST_F(Chain, NullIsRefusedBeforeAnyAccess) {
    EXPECT_EQ(pcieid_identify(nullptr, cfg.get()), -1);
    EXPECT_EQ(pcieid_identify(work.get(), nullptr), -1);
    EXPECT_EQ(pcieid_identify_and_store(nullptr), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST_F(Chain, WithoutItsMetadataItTouchesNothing) {
    fit_board("maximal");
    const auto before = std::make_unique<pciecfg_list>(*cfg);
    fail_memcpy_s = true;
    EXPECT_EQ(run(), -34);
    EXPECT_EQ(pcieid_identify_and_store(work.get()), -34);
    EXPECT_EQ(work->stored, 0u);
    fail_memcpy_s = false;
    EXPECT_EQ(std::memcmp(cfg.get(), before.get(), sizeof(*cfg)), 0);
    EXPECT_THAT(platform().calls, IsEmpty());
    const std::string line = "warn identify load_metadata @, board metadata copy=-34\n";
    EXPECT_THAT(said(), testing::ElementsAre(line, line));
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(cfg->count, 14u);
}

TEST_F(Chain, WhatAPreviousBoardLeftIsGone) {
    fit_board("24nvme");
    EXPECT_EQ(run(), 0);
    platform() = {};
    fit_board("empty");
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(cfg->count, 2u);
    EXPECT_EQ(work->slimlines.count, 6u);
    EXPECT_EQ(work->devices.count, 0u);
}

// Fails each access of a good run in turn: cards and cables are missing then, but every bay that
// is still listed is as before, except that a x16 slot may lose its second half.
class Faults : public testing::TestWithParam<const char *> {};

TEST_P(Faults, EveryFailingAccessLeavesASoundList) {
    const auto work = std::make_unique<pcieid_workspace>();
    const auto good = std::make_unique<pciecfg_list>();
    const auto cfg = std::make_unique<pciecfg_list>();
    const FittedBoard board = fit_board(GetParam());
    ASSERT_EQ(pcieid_identify(work.get(), good.get()), 0);
    const size_t calls = platform().calls.size();
    ASSERT_EQ(calls, board.calls);
    size_t losses = 0;
    for (size_t n = 1; n <= calls; ++n) {
        SCOPED_TRACE(n);
        platform() = {};
        fit_board(GetParam());
        platform().fail_call = n;
        ASSERT_EQ(pcieid_identify(work.get(), cfg.get()), 0);
        ASSERT_LE(cfg->count, PCIECFG_MAX_ITEMS);
        size_t same = 0;
        for (uint32_t i = 0; i < cfg->count; ++i) {
            const pciecfg_item &item = cfg->items[i];
            if (i > 0) {
                const pciecfg_item &before = cfg->items[i - 1];
                EXPECT_LE(std::pair(before.cpu, before.x1_start),
                          std::pair(item.cpu, item.x1_start));
            }
            const pciecfg_item *known = nullptr;
            for (uint32_t k = 0; k < good->count; ++k) {
                if (std::strcmp(good->items[k].name, item.name) == 0) {
                    known = &good->items[k];
                }
            }
            if (known == nullptr) {
                // a slot whose retimer did not answer
                EXPECT_EQ(item.type, static_cast<uint32_t>(PCIECFG_PCIE_SLOT)) << item.name;
                EXPECT_EQ(item.width, 16u);
                continue;
            }
            pciecfg_item expected = *known;
            if (item.type == PCIECFG_PCIE_SLOT && expected.width == 16) {
                expected.width = item.width;
                EXPECT_TRUE(item.width == 16 || item.width == 8);
            }
            EXPECT_EQ(std::memcmp(&item, &expected, sizeof(item)), 0) << item.name;
            ++same;
        }
        losses += same < good->count ? 1 : 0;
        EXPECT_EQ(pcieid_identify(work.get(), cfg.get()), 0);
        EXPECT_EQ(std::memcmp(cfg.get(), good.get(), sizeof(*cfg)), 0);
    }
    EXPECT_GT(losses, board.items.size() > 2 ? 10u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Fitted, Faults, testing::Values("24nvme", "retimer", "maximal"));

}  // namespace
