// RAID cards, the storage controllers that were found, and the back panel.
#include "host/host_support.h"

using namespace host;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct RaidCard {
    uint32_t index;
    int32_t pcie_slot;
    uint8_t slot_id;
    I2cChipRoute route;
};

std::vector<RaidCard> raid_cards() {
    const uint32_t buses[] = {3, 3, 4, 4, 4, 5, 5, 5, 6, 6};
    const uint32_t channels[] = {2, 1, 3, 2, 1, 1, 2, 3, 2, 1};
    std::vector<RaidCard> all;
    for (uint32_t n = 1; n <= 10; ++n) {
        all.push_back(
            {n, static_cast<int32_t>(n), static_cast<uint8_t>(22 + n),
             route_of(buses[n - 1], 0x01, 0x70, channels[n - 1], "pcie" + std::to_string(n))});
    }
    all.push_back({11, 0, 3, route_of(13, 0x01, 0x77, 5, "pmc")});
    return all;
}

const RaidCard *card_of(const std::vector<RaidCard> &all, uint32_t index) {
    return index >= 1 && index <= all.size() ? &all[index - 1] : nullptr;
}

void list(std::initializer_list<ControllerEntry> entries) {
    std::memset(&g_ControllerList, 0, sizeof(g_ControllerList));
    for (const ControllerEntry &entry : entries) {
        g_ControllerList.entries[g_ControllerList.count++] = entry;
    }
}

bool out_of_band(uint32_t device_id) {
    return device_id == 0xAC || device_id == 0xC4 || device_id == 0xE6 || device_id == 0xAF;
}

}  // namespace

// ---- the table ----

TEST(RaidCards, Count) {
    EXPECT_EQ(GetRaidCardMaxCount(), 11);
    EXPECT_EQ(raid_cards().size(), 11u);
}

TEST(RaidCards, EveryIndexWithoutControllers) {
    const std::vector<RaidCard> all = raid_cards();
    for (const uint32_t index : key_space()) {
        SCOPED_TRACE(index);
        const RaidCard *card = card_of(all, index);
        I2cChipRoute route = untouched<I2cChipRoute>();
        uint8_t slot_id[2] = {0xA5, 0xA5};
        EXPECT_EQ(GetRaidCardI2cInfo(index, &route), card != nullptr ? 0 : -1);
        EXPECT_EQ(GetRaidCardSlotId(index, slot_id), card != nullptr ? 0 : -1);
        EXPECT_EQ(slot_id[1], 0xA5);
        if (card != nullptr) {
            EXPECT_EQ(bytes_of(route), bytes_of(card->route));
            EXPECT_EQ(slot_id[0], card->slot_id);
            EXPECT_EQ(GetRaidCardPCIeSlot(index), card->pcie_slot);
        } else {
            EXPECT_EQ(bytes_of(route), bytes_of(untouched<I2cChipRoute>()));
            EXPECT_EQ(slot_id[0], 0xA5);
            EXPECT_EQ(GetRaidCardPCIeSlot(index), 13);
        }
    }
    expect_silence();
}

TEST(RaidCards, TheOnBoardCardHasNoPcieSlot) { EXPECT_EQ(GetRaidCardPCIeSlot(11), 0); }

TEST(RaidCards, AnUnknownCardIsInSlotThirteen) { EXPECT_EQ(GetRaidCardPCIeSlot(12), 13); }

TEST(RaidCards, NullIsRefused) {
    list({{0x1000, 0xAC, 1}});
    for (const uint32_t index : key_space()) {
        EXPECT_EQ(GetRaidCardI2cInfo(index, nullptr), -1);
        EXPECT_EQ(GetRaidCardSlotId(index, nullptr), -1);
        EXPECT_EQ(GetRaidCardSlaveAddr(index, nullptr), -1);
    }
    expect_silence();
}

// ---- the controller list ----

TEST(Controllers, TheListIsTheCallersToFill) {
    EXPECT_EQ(g_ControllerList.count, 0u);
    EXPECT_EQ(sizeof(g_ControllerList), 100u);
    EXPECT_EQ(sizeof(g_ControllerList.entries[0]), 6u);
    list({{0x1000, 0x005D, 3}});
    EXPECT_EQ(StorageSearchController(0x1000, 0x005D), 0);
}

TEST(Controllers, AnEmptyListHoldsNothing) {
    EXPECT_EQ(StorageSearchController(0, 0), 1);
    EXPECT_EQ(StorageSearchController(0x1000, 0xAC), 1);
    // An entry beyond the count is none.
    list({});
    g_ControllerList.entries[0] = {0x1000, 0xAC, 1};
    EXPECT_EQ(StorageSearchController(0x1000, 0xAC), 1);
    uint16_t address = 0xA5A5;
    EXPECT_EQ(GetRaidCardSlaveAddr(1, &address), -1);
    EXPECT_EQ(address, 0xA5A5);
    expect_silence();
}

TEST(Controllers, BothIdsOfOneEntryMustMatch) {
    list({{0x1000, 0x005D, 3}, {0x9005, 0x028F, 4}, {0x1000, 0x0097, 5}});
    EXPECT_EQ(StorageSearchController(0x1000, 0x005D), 0);
    EXPECT_EQ(StorageSearchController(0x9005, 0x028F), 0);
    EXPECT_EQ(StorageSearchController(0x1000, 0x0097), 0);
    EXPECT_EQ(StorageSearchController(0x1000, 0x028F), 1);
    EXPECT_EQ(StorageSearchController(0x9005, 0x005D), 1);
    EXPECT_EQ(StorageSearchController(0x005D, 0x1000), 1);
    EXPECT_EQ(StorageSearchController(0, 0), 1);
    expect_silence();
}

TEST(Controllers, IdsAreComparedAsThirtyTwoBits) {
    list({{0x1000, 0x005D, 3}, {0xFFFF, 0xFFFF, 4}});
    EXPECT_EQ(StorageSearchController(0x11000, 0x005D), 1);
    EXPECT_EQ(StorageSearchController(0x1000, 0x1005D), 1);
    EXPECT_EQ(StorageSearchController(UINT32_MAX, UINT32_MAX), 1);
    EXPECT_EQ(StorageSearchController(0xFFFF, 0xFFFF), 0);
    uint16_t address = 0xA5A5;
    list({{0x1000, 0xAC, 3}});
    EXPECT_EQ(GetRaidCardSlaveAddr(0x103, &address), -1);
    EXPECT_EQ(GetRaidCardSlaveAddr(0xFFFFFF03, &address), -1);
    EXPECT_EQ(address, 0xA5A5);
}

TEST(Controllers, EveryPlaceOfTheList) {
    for (uint32_t place = 0; place < 16; ++place) {
        list({});
        g_ControllerList.count = place + 1;
        g_ControllerList.entries[place] = {0x1000, 0x00E6, 9};
        EXPECT_EQ(StorageSearchController(0x1000, 0x00E6), 0);
        uint16_t address = 0;
        EXPECT_EQ(GetRaidCardSlaveAddr(9, &address), 0);
        EXPECT_EQ(address, 5);
        g_ControllerList.count = place;
        EXPECT_EQ(StorageSearchController(0x1000, 0x00E6), 1);
        EXPECT_EQ(GetRaidCardSlaveAddr(9, &address), -1);
    }
}

TEST(Controllers, ACountBeyondTheListIsTheWholeList) {
    for (const uint32_t count : {17u, 18u, 255u, 65536u, 0x7FFFFFFFu, 0x80000000u, UINT32_MAX}) {
        list({});
        for (ControllerEntry &entry : g_ControllerList.entries) {
            entry = {0x1000, 0x0001, 200};
        }
        g_ControllerList.entries[15] = {0x1234, 0x00AF, 7};
        g_ControllerList.count = count;
        EXPECT_EQ(StorageSearchController(0x1234, 0x00AF), 0);
        EXPECT_EQ(StorageSearchController(0x1234, 0x00AE), 1);
        uint16_t address = 0;
        EXPECT_EQ(GetRaidCardSlaveAddr(7, &address), 0);
        EXPECT_EQ(address, 5);
        EXPECT_EQ(GetRaidCardSlaveAddr(8, &address), -1);
        I2cChipRoute route = {};
        EXPECT_EQ(GetRaidCardI2cInfo(7, &route), 0);
        EXPECT_EQ(route.address, 5);
    }
    list({});
}

// ---- addresses ----

TEST(RaidAddress, EveryDeviceId) {
    for (uint32_t device_id = 0; device_id <= 0xFFFF; ++device_id) {
        list({{0x1000, static_cast<uint16_t>(device_id), 4}});
        uint16_t address[2] = {0xA5A5, 0xA5A5};
        const bool expected = out_of_band(device_id);
        ASSERT_EQ(GetRaidCardSlaveAddr(4, address), expected ? 0 : -1) << device_id;
        ASSERT_EQ(address[0], expected ? 5 : 0xA5A5) << device_id;
        ASSERT_EQ(address[1], 0xA5A5);
    }
    expect_silence();
}

TEST(RaidAddress, TheFirstIdDoesNotMatter) {
    for (const int id1 : {0, 1, 0x1000, 0xAC, 0xFFFF}) {
        list({{static_cast<uint16_t>(id1), 0x00C4, 2}});
        uint16_t address = 0;
        EXPECT_EQ(GetRaidCardSlaveAddr(2, &address), 0);
        list({{0x00C4, static_cast<uint16_t>(id1 == 0xAC ? 0 : id1), 2}});
        EXPECT_EQ(GetRaidCardSlaveAddr(2, &address), -1);
    }
}

TEST(RaidAddress, AnyControllerOfTheSlotCounts) {
    list({{0x1000, 0x0001, 6}, {0x1000, 0x00AC, 5}, {0x1000, 0x00AF, 6}});
    uint16_t address = 0;
    EXPECT_EQ(GetRaidCardSlaveAddr(6, &address), 0);
    EXPECT_EQ(address, 5);
    EXPECT_EQ(GetRaidCardSlaveAddr(4, &address), -1);
}

TEST(RaidAddress, TheRouteOfEachCardFollowsItsOwnSlot) {
    const std::vector<RaidCard> all = raid_cards();
    for (int slot = 0; slot <= 255; ++slot) {
        list({{0x1000, 0x00AC, static_cast<uint8_t>(slot)}});
        for (const RaidCard &card : all) {
            I2cChipRoute expected = card.route;
            if (card.pcie_slot == slot) {
                expected.address = 5;
            }
            I2cChipRoute route = untouched<I2cChipRoute>();
            EXPECT_EQ(GetRaidCardI2cInfo(card.index, &route), 0);
            EXPECT_EQ(bytes_of(route), bytes_of(expected)) << slot << " " << card.index;
        }
    }
    expect_silence();
}

TEST(RaidAddress, AControllerWithoutOutOfBandKeepsThePlaceholder) {
    list({{0x1000, 0x005D, 3}});
    I2cChipRoute route = {};
    EXPECT_EQ(GetRaidCardI2cInfo(3, &route), 0);
    EXPECT_EQ(route.address, 1);
}

TEST(RaidAddress, TheTableStaysAsItIs) {
    list({{0x1000, 0x00AC, 3}});
    I2cChipRoute route = {};
    EXPECT_EQ(GetRaidCardI2cInfo(3, &route), 0);
    EXPECT_EQ(route.address, 5);
    list({});
    EXPECT_EQ(GetRaidCardI2cInfo(3, &route), 0);
    EXPECT_EQ(route.address, 1);
}

// ---- the back panel ----

TEST(BackPanel, ThePlatformsAnswerIsHandedOn) {
    for (const uint32_t id : {0u, 1u, 0x5459u, UINT32_MAX}) {
        platform().back_panel_id = id;
        platform().clear_record();
        uint32_t out[2] = {0xA5A5A5A5, 0xA5A5A5A5};
        EXPECT_EQ(GetDiskBackPanelInfo(out), 0);
        EXPECT_THAT(out, ElementsAre(id, 0xA5A5A5A5));
        EXPECT_THAT(platform().calls, ElementsAre("hdd_get_back_panel_id"));
        EXPECT_THAT(platform().messages, IsEmpty());
    }
}

TEST(BackPanel, AFailureIsHandedOnWithZero) {
    platform().back_panel_id = 7;
    for (const int failure : failures) {
        platform().clear_record();
        platform().failure = failure;
        platform().fail_call = 1;
        uint32_t out = 0xA5A5A5A5;
        EXPECT_EQ(GetDiskBackPanelInfo(&out), failure);
        EXPECT_EQ(out, 0u);
        platform().fail_call.reset();
        EXPECT_EQ(GetDiskBackPanelInfo(&out), 0);
        EXPECT_EQ(out, 7u);
    }
}

TEST(BackPanel, NullIsRefused) {
    EXPECT_EQ(GetDiskBackPanelInfo(nullptr), -1);
    EXPECT_EQ(getBackPaneCardId(nullptr), -1);
    expect_silence();
}

TEST(BackPanel, NoneHasACardId) {
    uint16_t card_id[2] = {0xA5A5, 0xA5A5};
    EXPECT_EQ(getBackPaneCardId(card_id), 0);
    EXPECT_THAT(card_id, ElementsAre(0x7FFF, 0xA5A5));
    expect_silence();
}
