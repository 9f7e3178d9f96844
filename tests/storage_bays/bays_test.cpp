// Each backplane model on its own: presence, type, routes, lists and counts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <set>

#include "boardfeatures/host.h"
#include "boardfeatures/storage.h"
#include "support/backplane_rules.h"
#include "support/scripted_platform.h"

using rules::Model;
using rules::models;
using rules::Reading;
using scripted::platform;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

constexpr uint8_t untouched = 0xA5;

void make_marker(const char *path) {
    const int file = creat(path, 0600);
    ASSERT_GE(file, 0) << path;
    close(file);
}

// What a call prints on standard output.
template <typename Call>
std::string printed(Call call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

int32_t disk_list(const Model &model, uint32_t board_id, uint32_t position, HddList *list) {
    const rules::Functions &f = rules::functions(model.name);
    return f.disk_list != nullptr ? f.disk_list(board_id, position, list)
                                  : f.disk_list_fixed(board_id, list);
}
std::optional<int32_t> online_count(const Model &model, uint32_t slot_id) {
    const rules::Functions &f = rules::functions(model.name);
    if (f.count == nullptr && f.count_fixed == nullptr) {
        return std::nullopt;
    }
    return f.count != nullptr ? f.count(slot_id) : f.count_fixed();
}

}  // namespace

// ---- every slot, every field ----

TEST(Bays, PresenceAndTypeOfEverySlotAndField) {
    for (const Model &model : models()) {
        const rules::Functions &f = rules::functions(model.name);
        for (uint32_t slot = 0; slot <= 255; ++slot) {
            const auto place = model.slots.find(slot);
            for (uint32_t seed = 0; seed < 3; ++seed) {
                rules::noise(seed * 1000 + slot);
                for (uint32_t field = 0; field < 4; ++field) {
                    if (place != model.slots.end() && rules::has_field(model, place->second.bay)) {
                        rules::set_bay(model, place->second.bus, place->second.bay, field);
                    }
                    SCOPED_TRACE(model.name + " slot " + std::to_string(slot) + " field " +
                                 std::to_string(field));
                    platform().clear_record();
                    Reading expected;
                    EXPECT_EQ(f.present(slot), expected.present(model, slot));
                    EXPECT_EQ(platform().calls, expected.calls);

                    platform().clear_record();
                    Reading expected_of_type;
                    uint8_t type = untouched, expected_type = untouched;
                    EXPECT_EQ(f.type(slot, &type),
                              expected_of_type.type(model, slot, &expected_type));
                    EXPECT_EQ(type, expected_type);
                    EXPECT_EQ(platform().calls, expected_of_type.calls);
                }
            }
        }
        ASSERT_FALSE(HasFailure()) << model.name;
    }
}

TEST(Bays, SlotsFarOutsideAreRefusedWithoutAccess) {
    rules::noise(1);
    for (const Model &model : models()) {
        for (const uint32_t slot : {201u, 256u, 306u, 65535u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
            uint8_t type = untouched;
            NvmeRoute route = {};
            EXPECT_EQ(rules::functions(model.name).present(slot), -1);
            EXPECT_EQ(rules::functions(model.name).type(slot, &type), -1);
            EXPECT_EQ(rules::functions(model.name).route(slot, &route), -1);
            EXPECT_EQ(type, untouched);
        }
    }
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST(Bays, NullsAreRefusedWithoutAccess) {
    rules::noise(1);
    for (const Model &model : models()) {
        const rules::Functions &f = rules::functions(model.name);
        const uint32_t slot = model.slots.rbegin()->first;
        EXPECT_EQ(f.type(slot, nullptr), -1);
        EXPECT_EQ(f.route(slot, nullptr), -1);
        if (f.u2_list != nullptr) {
            EXPECT_EQ(f.u2_list(model.board_id, 5, nullptr), -1);
            EXPECT_EQ(disk_list(model, model.board_id, 5, nullptr), -1);
        }
    }
    EXPECT_EQ(GetOnlineHDDCountInner(nullptr, 1, 8), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
}

// ---- failures ----

TEST(Bays, EveryFailedReadEndsTheAnswerAndIsPrinted) {
    for (const Model &model : models()) {
        const rules::Functions &f = rules::functions(model.name);
        for (const auto &[slot, place] : model.slots) {
            for (size_t failing = 1; failing <= model.expanders.size(); ++failing) {
                SCOPED_TRACE(model.name + " slot " + std::to_string(slot));
                rules::noise(slot);
                platform().fail_call = failing;

                platform().clear_record();
                const std::string text =
                    printed([&, slot = slot] { EXPECT_EQ(f.present(slot), -1); });
                const std::string bus =
                    model.name == "bpfa" ? "bus " + std::to_string(place.bus) + " " : "";
                EXPECT_THAT(text, MatchesRegex("\\[_" + model.name + "_hdd_present [0-9]+\\] " +
                                               bus + "get 9535 failed\\.\n"));
                EXPECT_EQ(platform().calls.size(), failing);

                platform().clear_record();
                uint8_t type = untouched;
                const std::string type_text =
                    printed([&, slot = slot] { EXPECT_EQ(f.type(slot, &type), -1); });
                // bpma's type is that of its presence question, bits unseen.
                const std::string asked = model.name == "bpma" ? "_hdd_present" : "_hdd_type";
                EXPECT_THAT(type_text, MatchesRegex("\\[_" + model.name + asked +
                                                    " [0-9]+\\] get 9535 failed\\.\n"));
                EXPECT_EQ(type, untouched);
                EXPECT_EQ(platform().calls.size(), failing);
            }
        }
        ASSERT_FALSE(HasFailure()) << model.name;
    }
}

TEST(Bays, PositiveReadResultsAreNoFailure) {
    rules::noise(3);
    platform().on_word_read = [](const I2cChipRoute &, uint32_t, uint32_t *value) {
        *value = 0xFFFE;  // bay 1: untyped
        return 2;
    };
    EXPECT_EQ(_bpfb_hdd_present(1), 0);
    EXPECT_EQ(_bpfb_hdd_present(2), -1);
}

TEST(Bays, BitsBeyondTheWordOfAnExpanderAreNotItsNeighbours) {
    platform().on_word_read = [](const I2cChipRoute &, uint32_t, uint32_t *value) {
        *value = 0x5A5A0000;
        return 0;
    };
    uint8_t type = untouched;
    EXPECT_EQ(_bpfc_hdd_type(9, &type), 0);
    EXPECT_EQ(type, DISK_SAS_SATA);
}

TEST(Bays, NothingIsPrintedWithoutAFailureOrAMarker) {
    rules::noise(4);
    EXPECT_EQ(printed([] {
                  for (const Model &model : models()) {
                      const rules::Functions &f = rules::functions(model.name);
                      uint8_t type = 0;
                      HddList disks = {};
                      U2NvmeList nvmes = {};
                      NvmeRoute route = {};
                      for (uint32_t slot = 0; slot < 256; ++slot) {
                          f.present(slot);
                          f.type(slot, &type);
                          f.route(slot, &route);
                      }
                      online_count(model, 5);
                      if (f.u2_list != nullptr) {
                          f.u2_list(model.board_id, 5, &nvmes);
                          disk_list(model, model.board_id, 5, &disks);
                      }
                  }
              }),
              "");
    EXPECT_THAT(platform().messages, IsEmpty());
}

// ---- stated edge cases ----

TEST(BaysEdge, SlotZeroOfFrontModelsIsAPresentSasDisk) {
    for (const char *name : {"bpfa", "bpfb", "bpfc", "bpfg", "bpfd", "bpfe", "bpff"}) {
        const Model &model = rules::model_named(name);
        const rules::Functions &f = rules::functions(name);
        for (uint32_t bus = 3; bus <= 10; ++bus) {
            for (const uint16_t address : model.expanders) {
                rules::set_word(bus, address, 0xFFFF);
            }
        }
        uint8_t type = untouched;
        EXPECT_EQ(f.present(0), 0) << name;
        EXPECT_EQ(f.type(0, &type), 0) << name;
        EXPECT_EQ(type, DISK_SAS_SATA) << name;
        NvmeRoute route = {};
        EXPECT_EQ(f.route(0, &route), -1) << name;
    }
}

TEST(BaysEdge, FirstNumberOfARearRunIsAPresentSasDisk) {
    for (uint32_t bus = 3; bus <= 6; ++bus) {
        rules::set_word(bus, 0x21, 0xFFFF);
    }
    uint8_t type = untouched;
    for (const uint32_t slot : {50u, 60u}) {
        EXPECT_EQ(_bpra_hdd_present(slot), 0);
        EXPECT_EQ(_bpra_hdd_type(slot, &type), 0);
        EXPECT_EQ(type, DISK_SAS_SATA);
        EXPECT_EQ(_bpra_hdd_present(slot + 1), -1);
    }
    for (const uint32_t slot : {52u, 56u}) {
        EXPECT_EQ(_bprb_hdd_present(slot), 0);
        EXPECT_EQ(_bprb_hdd_type(slot, &type), 0);
        EXPECT_EQ(type, DISK_SAS_SATA);
        EXPECT_EQ(_bprb_hdd_present(slot + 1), -1);
    }
}

TEST(BaysEdge, SlotZeroStillReadsTheExpanders) {
    rules::noise(1);
    _bpfd_hdd_present(0);
    EXPECT_THAT(platform().calls, ElementsAre("ei2c_pca9535_get_word_value 8:0x21 0xFFFF",
                                              "ei2c_pca9535_get_word_value 8:0x22 0xFFFF",
                                              "ei2c_pca9535_get_word_value 8:0x23 0xFFFF",
                                              "ei2c_pca9535_get_word_value 8:0x24 0xFFFF"));
    platform().fail_call = 1;
    platform().clear_record();
    printed([] { EXPECT_EQ(_bpfd_hdd_present(0), -1); });
}

TEST(BaysEdge, BpfcRejects13And25IsBay1OnTheOtherBus) {
    rules::set_word(9, 0x21, 0xFFFD);  // bay 1: U.2
    rules::set_word(9, 0x22, 0xFFFF);
    EXPECT_EQ(_bpfc_hdd_present(13), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
    uint8_t type = untouched;
    EXPECT_EQ(_bpfc_hdd_type(25, &type), 0);
    EXPECT_EQ(type, DISK_U2_NVME);
    EXPECT_THAT(platform().calls, ElementsAre("ei2c_pca9535_get_word_value 9:0x21 0xFFFF",
                                              "ei2c_pca9535_get_word_value 9:0x22 0xFFFF"));
}

TEST(BaysEdge, BpfaUntypedBayAnswers2) {
    rules::set_word(7, 0x21, 0xFFFE);
    uint8_t type = untouched;
    EXPECT_EQ(_bpfa_hdd_type(1, &type), 2);
    EXPECT_EQ(type, DISK_SAS_SATA);
    EXPECT_EQ(_bpfa_hdd_present(1), 0);
}

TEST(BaysEdge, BpfdUntypedBayLeavesTheTypeAlone) {
    rules::noise(1);
    rules::set_bay(rules::model_named("bpfd"), 8, 17, 2);
    uint8_t type = untouched;
    EXPECT_EQ(_bpfd_hdd_type(17, &type), 0);
    EXPECT_EQ(type, untouched);
}

TEST(BaysEdge, AllOnesIsEmptyEverywhere) {
    for (uint32_t bus = 3; bus <= 10; ++bus) {
        for (const uint16_t address : {0x21, 0x22, 0x23, 0x24, 0x29}) {
            rules::set_word(bus, address, 0xFFFF);
        }
    }
    for (const Model &model : models()) {
        for (const auto &[slot, place] : model.slots) {
            if (rules::has_field(model, place.bay)) {
                EXPECT_EQ(rules::functions(model.name).present(slot), -1);
            }
        }
        for (const uint32_t card : rules::cards()) {
            EXPECT_LE(GetOnlineHDDCount(model.board_id, card), 0) << model.name;
        }
    }
    EXPECT_EQ(GetOnlineHDDCount(21598, 0), 0);
}

TEST(BaysEdge, BpfeBay25HasNoExpanderAndReadsOccupied) {
    for (const uint16_t address : {0x21, 0x22, 0x23, 0x24}) {
        rules::set_word(8, address, 0xFFFF);
    }
    uint8_t type = untouched;
    EXPECT_EQ(_bpfe_hdd_present(25), 0);
    EXPECT_EQ(_bpfe_hdd_type(25, &type), 0);
    EXPECT_EQ(type, DISK_SAS_SATA);
    EXPECT_EQ(_bpff_hdd_present(25), -1);
    EXPECT_THAT(platform().calls_of("ei2c_pca9535_get_word_value 8:0x24"), IsEmpty());
}

// ---- what the expanders are called ----

namespace {

// The expanders that a call reads, as "bus:address name".
template <typename Call>
std::vector<std::string> expanders_of(Call call) {
    std::vector<std::string> found;
    platform().on_word_read = [&](const I2cChipRoute &route, uint32_t mask, uint32_t *value) {
        EXPECT_EQ(mask, 65535u);
        EXPECT_EQ(route.flags, 0u);
        EXPECT_EQ(route.switch_address, 0u);
        EXPECT_EQ(route.switch_channel, 0u);
        const std::string field(route.name, sizeof(route.name));
        const std::string name = field.substr(0, field.find('\0'));
        EXPECT_EQ(field, name + std::string(field.size() - name.size(), '\0'));
        EXPECT_LT(name.size(), field.size());
        found.push_back(scripted::route_text(route) + " " + name);
        *value = 0x5555;
        return 0;
    };
    call();
    platform().on_word_read = nullptr;
    return found;
}

std::vector<std::string> expected_expanders(const Model &model, uint32_t bus,
                                            const std::string &label) {
    std::vector<std::string> expected;
    for (size_t i = 0; i < model.expanders.size(); ++i) {
        I2cChipRoute route = {};
        route.bus = bus;
        route.address = model.expanders[i];
        expected.push_back(scripted::route_text(route) + " " + label + std::to_string(i));
    }
    return expected;
}

}  // namespace

TEST(Expanders, AreReadInOrderUnderTheirNames) {
    for (const Model &model : models()) {
        const rules::Functions &f = rules::functions(model.name);
        for (const auto &[slot, place] : model.slots) {
            const auto expected = expected_expanders(model, place.bus, model.label);
            uint8_t type = 0;
            EXPECT_EQ(expanders_of([&, slot = slot] { f.present(slot); }), expected) << model.name;
            EXPECT_EQ(expanders_of([&, slot = slot] { f.type(slot, &type); }), expected)
                << model.name;
        }
        if (f.u2_list != nullptr) {
            for (uint32_t position = 0; position < 7; ++position) {
                const uint32_t bus = model.in_several_connectors() ? position + 3 : 8;
                const auto expected = expected_expanders(model, bus, model.label);
                U2NvmeList nvmes = {};
                HddList disks = {};
                EXPECT_EQ(expanders_of([&] { f.u2_list(model.board_id, position, &nvmes); }),
                          expected);
                EXPECT_EQ(expanders_of([&] { disk_list(model, model.board_id, position, &disks); }),
                          expected);
            }
        }
        if (model.counted != 0) {
            const uint32_t bus = model.count_buses.empty() ? 8 : model.count_buses.back();
            EXPECT_EQ(expanders_of([&] { online_count(model, bus + 2); }),
                      expected_expanders(model, bus, model.count_label));
        }
    }
}

// ---- routes ----

TEST(Routes, EverySlotOfEveryModel) {
    for (const Model &model : models()) {
        const rules::Functions &f = rules::functions(model.name);
        for (uint32_t slot = 0; slot <= 255; ++slot) {
            NvmeRoute route, expected;
            std::memset(&route, untouched, sizeof(route));
            std::memset(&expected, untouched, sizeof(expected));
            Reading reading;
            EXPECT_EQ(f.route(slot, &route), reading.route(model, slot, &expected))
                << model.name << " slot " << slot;
            EXPECT_EQ(std::memcmp(&route, &expected, sizeof(route)), 0)
                << model.name << " slot " << slot;
        }
    }
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST(RoutesEdge, BpfgBaysWithoutLanesHaveNone) {
    NvmeRoute route = {};
    for (const uint32_t bay : {2u, 5u, 8u, 11u}) {
        EXPECT_EQ(_bpfg_hdd_nvme_i2c_info(bay + 1, &route), -1);
        EXPECT_EQ(_bpfg_hdd_nvme_i2c_info(bay + 25, &route), -1);
    }
    EXPECT_EQ(_bpfg_hdd_nvme_i2c_info(25, &route), 0);
    EXPECT_EQ(route.bus, 9u);
    EXPECT_EQ(route.mux_channel, 1u);
    EXPECT_STREQ(route.name, "NVME0");
}

TEST(RoutesEdge, TheExportedRowsStayAsTheyAre) {
    NvmeRoute route = {};
    EXPECT_EQ(_bpfa_hdd_nvme_i2c_info(24, &route), 0);
    EXPECT_EQ(route.bus, 9u);
    EXPECT_EQ(_bpfa_hdd_nvme_i2c_table[23].bus, 8u);
}

TEST(Routes, ExportedTables) {
    // Each front table, its rows in order as "channel/name number".
    const std::string odd = "0/1 1/3 2/5 3/7 4/17 5/19 6/21 7/23";
    const struct {
        const NvmeRoute *table;
        size_t bytes;
        std::string rows;
    } front[] = {
        {_bpfa_hdd_nvme_i2c_table, 768,
         "0/0 1/1 2/2 3/3 4/4 5/5 6/6 7/7 0/8 1/9 2/10 3/11 4/12 5/13 6/14 7/15 "
         "0/16 1/17 2/18 3/19 4/20 5/21 6/22 7/23"},
        {_bpfb_hdd_nvme_i2c_table, 256, "0/0 1/1 2/2 3/3 4/4 5/5 6/6 7/7"},
        {_bpfc_hdd_nvme_i2c_table, 384, "0/0 1/1 2/2 3/3 4/4 5/5 6/6 7/7 8/8 9/9 10/10 11/11"},
        {_bpfd_hdd_nvme_i2c_table, 256, odd},
        {_bpfe_hdd_nvme_i2c_table, 256, odd},
        {_bpff_hdd_nvme_i2c_table, 256, odd},
        {_bpfg_hdd_nvme_i2c_table, 256, "1/0 0/1 3/3 2/4 4/6 5/7 6/9 7/10"},
    };
    for (const auto &one : front) {
        const auto rows = rules::split(one.rows, ' ');
        ASSERT_EQ(rows.size() * 32, one.bytes);
        for (size_t i = 0; i < rows.size(); ++i) {
            const auto parts = rules::split(rows[i], '/');
            const NvmeRoute &row = one.table[i];
            EXPECT_EQ(row.bus, 8u);
            EXPECT_EQ(row.mux_address, 0x6Au);
            EXPECT_EQ(row.disk_address, 0x72u);
            EXPECT_EQ(row.mux_channel, std::stoul(parts[0]));
            char name[16] = {};
            std::snprintf(name, sizeof(name), "NVME%s", parts[1].c_str());
            EXPECT_EQ(std::memcmp(row.name, name, sizeof(name)), 0) << row.name;
        }
    }
    static_assert(sizeof(_bpfa_hdd_nvme_i2c_table) == 768);
    static_assert(sizeof(_bpfb_hdd_nvme_i2c_table) == 256);
    static_assert(sizeof(_bpfc_hdd_nvme_i2c_table) == 384);
    static_assert(sizeof(_bpfd_hdd_nvme_i2c_table) == 256);
    static_assert(sizeof(_bpfe_hdd_nvme_i2c_table) == 256);
    static_assert(sizeof(_bpff_hdd_nvme_i2c_table) == 256);
    static_assert(sizeof(_bpfg_hdd_nvme_i2c_table) == 256);
    static_assert(sizeof(_bpra_hdd_nvme_i2c_table) == 144);
    static_assert(sizeof(_bprb_hdd_nvme_i2c_table) == 144);
    const struct {
        const RearNvmeRoute *table;
        uint32_t slots[4];
        uint32_t buses[4];
    } rear[] = {{_bpra_hdd_nvme_i2c_table, {50, 51, 60, 61}, {3, 3, 6, 6}},
                {_bprb_hdd_nvme_i2c_table, {52, 53, 56, 57}, {4, 4, 5, 5}}};
    for (const auto &one : rear) {
        for (uint32_t i = 0; i < 4; ++i) {
            const RearNvmeRoute &row = one.table[i];
            EXPECT_EQ(row.slot, one.slots[i]);
            EXPECT_EQ(row.route.bus, one.buses[i]);
            EXPECT_EQ(row.route.mux_address, 0x6Au);
            EXPECT_EQ(row.route.disk_address, 0x72u);
            EXPECT_EQ(row.route.mux_channel, i % 2);
            EXPECT_EQ(std::string(row.route.name), "NVME" + std::to_string(one.slots[i]));
        }
    }
    EXPECT_THAT(g_array_bus_num, ElementsAre(3, 4, 5, 6, 7, 8, 9));
    EXPECT_THAT(g_array_nvme_slot_start, ElementsAre(50, 52, 56, 60, 0, 8, 16));
}

// ---- lists ----

namespace {

template <typename List>
List marked() {
    List list;
    std::memset(&list, untouched, sizeof(list));
    list.count = 2;  // lists are appended to, never cleared
    return list;
}

}  // namespace

TEST(Lists, EveryModelInEveryPosition) {
    for (const Model &model : models()) {
        const rules::Functions &f = rules::functions(model.name);
        if (f.u2_list == nullptr) {
            continue;
        }
        for (uint32_t position = 0; position < 7; ++position) {
            for (uint32_t seed = 0; seed < 8; ++seed) {
                for (size_t failing = 0; failing <= model.expanders.size(); ++failing) {
                    SCOPED_TRACE(model.name + " position " + std::to_string(position) + " seed " +
                                 std::to_string(seed) + " failing " + std::to_string(failing));
                    rules::noise(seed * 77 + position);
                    platform().fail_call = failing;
                    const uint32_t card = 5 + position;

                    Reading nvme_reading, disk_reading;
                    nvme_reading.fail_call = disk_reading.fail_call = failing;
                    const auto nvme_bays = nvme_reading.listed(model, card, 1);
                    const auto disk_bays = disk_reading.listed(model, card, 0);

                    auto nvmes = marked<U2NvmeList>(), expected_nvmes = nvmes;
                    platform().clear_record();
                    std::string text = printed([&] {
                        EXPECT_EQ(f.u2_list(model.board_id, position, &nvmes), nvme_bays ? 0 : -1);
                    });
                    for (const uint32_t bay : nvme_bays.value_or(std::vector<uint32_t>())) {
                        expected_nvmes.entries[expected_nvmes.count++] = {bay, {0, 0}};
                    }
                    EXPECT_EQ(std::memcmp(&nvmes, &expected_nvmes, sizeof(nvmes)), 0);
                    EXPECT_EQ(platform().calls, nvme_reading.calls);
                    const uint32_t bus = model.in_several_connectors() ? position + 3 : 8;
                    const std::string failed =
                        " [0-9]+\\] bus " + std::to_string(bus) + " get 9535 failed\\.\n";
                    EXPECT_THAT(text, MatchesRegex(nvme_bays ? ""
                                                             : "\\[_" + model.name +
                                                                   "_get_u2_nvme_list" + failed));

                    auto disks = marked<HddList>(), expected_disks = disks;
                    platform().clear_record();
                    text = printed([&] {
                        EXPECT_EQ(disk_list(model, model.board_id, position, &disks),
                                  disk_bays ? 0 : -1);
                    });
                    for (const uint32_t bay : disk_bays.value_or(std::vector<uint32_t>())) {
                        expected_disks.entries[expected_disks.count++] = {
                            0, static_cast<uint8_t>(bay)};
                    }
                    EXPECT_EQ(std::memcmp(&disks, &expected_disks, sizeof(disks)), 0);
                    EXPECT_EQ(platform().calls, disk_reading.calls);
                    EXPECT_THAT(
                        text, MatchesRegex(
                                  disk_bays ? "" : "\\[" + model.name + "_get_hdd_list" + failed));
                }
            }
        }
        ASSERT_FALSE(HasFailure()) << model.name;
    }
}

TEST(Lists, TheBoardIdGivesTheNumberOfBays) {
    for (uint32_t bus = 3; bus <= 9; ++bus) {
        for (const uint16_t address : {0x21, 0x22, 0x23, 0x24, 0x29}) {
            rules::set_word(bus, address, 0);  // SAS everywhere
        }
    }
    HddList disks = {};
    EXPECT_EQ(bpra_get_hdd_list(21598, 0, &disks), 0);  // beyond its word: 0 as well
    EXPECT_EQ(disks.count, 25u);
    disks = {};
    EXPECT_EQ(bpfd_get_hdd_list(21604, &disks), 0);
    EXPECT_EQ(disks.count, 2u);
    disks = {};
    EXPECT_EQ(bpfd_get_hdd_list(1, &disks), 0);
    EXPECT_EQ(disks.count, 0u);
}

TEST(Lists, PositionsThatDoNotExistAreRefusedWithoutAccess) {
    rules::noise(1);
    for (const uint32_t position : {7u, 8u, 255u, 256u, 0x40000000u, 0xFFFFFFFFu}) {
        auto nvmes = marked<U2NvmeList>();
        auto disks = marked<HddList>();
        for (const char *name : {"bpra", "bprb", "bpfa", "bpfc", "bpfg"}) {
            const Model &model = rules::model_named(name);
            EXPECT_EQ(rules::functions(name).u2_list(model.board_id, position, &nvmes), -1);
            EXPECT_EQ(rules::functions(name).disk_list(model.board_id, position, &disks), -1);
        }
        EXPECT_EQ(nvmes.count, 2u);
        EXPECT_EQ(disks.count, 2u);
    }
    EXPECT_THAT(platform().calls, IsEmpty());
}

// A model with one connector is read there, wherever it is said to be.
TEST(Lists, OneConnectorIsReadAtAnyPosition) {
    rules::noise(6);
    for (const char *name : {"bpfb", "bpfd", "bpfe", "bpff"}) {
        const Model &model = rules::model_named(name);
        Reading reading;
        const auto bays = reading.listed(model, 10, 1);
        ASSERT_TRUE(bays && !bays->empty()) << name;
        for (const uint32_t position : {5u, 7u, 255u, 0xFFFFFFFFu}) {
            U2NvmeList list = {};
            platform().clear_record();
            EXPECT_EQ(rules::functions(name).u2_list(model.board_id, position, &list), 0)
                << name << " position " << position;
            EXPECT_EQ(list.count, bays->size());
            EXPECT_EQ(platform().calls, reading.calls);
        }
    }
}

TEST(Lists, SupportedDisksByBoardId) {
    const std::map<uint32_t, uint32_t> expected = {{21593, 8},  {21595, 12}, {21598, 25},
                                                   {21604, 2},  {21605, 2},  {21615, 24},
                                                   {21618, 12}, {21619, 24}, {21743, 8}};
    for (uint32_t id = 0; id < 0x10000; ++id) {
        const auto found = expected.find(id);
        ASSERT_EQ(get_supported_disk_num_by_cardid(id), found == expected.end() ? 0 : found->second)
            << id;
    }
    EXPECT_EQ(get_supported_disk_num_by_cardid(0x10000 + 21593), 0u);
}

// ---- counts ----

TEST(Counts, EveryModelOnEveryConnector) {
    for (const Model &model : models()) {
        for (uint32_t key = 0; key <= 300; ++key) {
            CardPresence connector = {};
            const bool known = GetCardOnlineInfoBySlotID(key, &connector) == 0;
            for (uint32_t seed = 0; seed < (key < 40 ? 16u : 1u); ++seed) {
                rules::noise(seed * 31 + key);
                platform().clear_record();
                Reading expected;
                int32_t count = -1;
                uint32_t bus = 8;
                bool asked = model.counted != 0;
                if (!model.count_buses.empty()) {
                    bus = connector.route.bus;
                    asked = known && testing::Value(model.count_buses, testing::Contains(bus));
                }
                if (asked) {
                    const auto fields = expected.fields(model, bus);
                    count = 0;
                    for (uint32_t bay = 1; bay <= model.counted; ++bay) {
                        count += Reading::field(*fields, bay) != 3;
                    }
                }
                const auto answer = online_count(model, key);
                ASSERT_EQ(answer.has_value(), model.counted != 0);
                if (answer) {
                    EXPECT_EQ(*answer, count) << model.name << " key " << key;
                    EXPECT_EQ(platform().calls, expected.calls) << model.name << " key " << key;
                }
                platform().clear_record();
                EXPECT_EQ(GetOnlineHDDCount(model.board_id, key), count)
                    << model.name << " key " << key;
                EXPECT_EQ(platform().calls, expected.calls) << model.name << " key " << key;
            }
        }
        ASSERT_FALSE(HasFailure()) << model.name;
    }
}

TEST(Counts, AFailedReadEndsTheCountSilently) {
    for (const Model &model : models()) {
        for (size_t failing = 1; model.counted != 0 && failing <= model.expanders.size();
             ++failing) {
            rules::noise(9);
            platform().fail_call = failing;
            platform().clear_record();
            const uint32_t bus = model.count_buses.empty() ? 8 : model.count_buses.front();
            EXPECT_EQ(printed([&] { EXPECT_EQ(online_count(model, bus + 2), -1); }), "");
            EXPECT_EQ(platform().calls.size(), failing);
        }
    }
}

TEST(Counts, UnknownBoardIdsHaveNone) {
    rules::noise(1);
    const std::set<uint32_t> counted = {21604, 21593, 21595, 21598, 21605, 21618, 21619, 21743};
    for (uint32_t id = 21500; id < 21800; ++id) {
        EXPECT_EQ(GetOnlineHDDCount(id, 40) == -1 && GetOnlineHDDCount(id, 7) == -1 &&
                      GetOnlineHDDCount(id, 5) == -1 && GetOnlineHDDCount(id, 9) == -1,
                  !counted.contains(id))
            << id;
    }
    platform().clear_record();
    for (const uint32_t id : {0u, 21615u, 21620u, 0x7FFFu, 0x10000u + 21598u, 0xFFFFFFFFu}) {
        EXPECT_EQ(GetOnlineHDDCount(id, 5), -1);
    }
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST(Counts, InnerRefusesBeforeAnyRead) {
    rules::noise(1);
    I2cChipRoute expanders[5] = {};
    for (auto &route : expanders) {
        route.bus = 8;
        route.address = 0x21;
    }
    EXPECT_EQ(GetOnlineHDDCountInner(expanders, 0, 8), -1);
    EXPECT_EQ(GetOnlineHDDCountInner(expanders, 5, 8), -1);
    EXPECT_EQ(GetOnlineHDDCountInner(expanders, 0xFFFFFFFF, 8), -1);
    EXPECT_EQ(GetOnlineHDDCountInner(expanders, 4, 33), -1);
    EXPECT_EQ(GetOnlineHDDCountInner(expanders, 4, 0xFFFFFFFF), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_EQ(GetOnlineHDDCountInner(expanders, 4, 0), 0);
    EXPECT_EQ(platform().calls.size(), 4u);
}

TEST(Counts, InnerTakesOddBaysFromTheLastExpander) {
    const uint16_t addresses[] = {0x21, 0x22, 0x23, 0x24};
    I2cChipRoute expanders[4] = {};
    for (int i = 0; i < 4; ++i) {
        expanders[i].bus = 8;
        expanders[i].address = addresses[i];
    }
    for (uint32_t seed = 0; seed < 32; ++seed) {
        rules::noise(seed);
        for (uint32_t count = 1; count <= 4; ++count) {
            // Fields of the words read; words that are not read hold no empty bay.
            uint32_t fields[4][8] = {};
            for (uint32_t i = 0; i < count; ++i) {
                const uint16_t word = platform().expanders[{8, addresses[i], 0, 0}].input;
                for (int bay = 0; bay < 8; ++bay) {
                    fields[i][bay] = (word >> (2 * bay)) & 3;
                }
            }
            for (uint32_t bays = 0; bays <= 32; ++bays) {
                int32_t occupied = 0;
                for (uint32_t bay = 0; bay < bays; ++bay) {
                    const uint32_t word = bay / 8 < bays / 8 ? bay / 8 : count - 1;
                    occupied += fields[word][bay % 8] != 3;
                }
                platform().clear_record();
                EXPECT_EQ(GetOnlineHDDCountInner(expanders, count, bays), occupied)
                    << count << " expanders, " << bays << " bays, seed " << seed;
                EXPECT_EQ(platform().calls.size(), count);
            }
        }
    }
}

TEST(CountsEdge, TwentyFiveBaysOnFourExpanders) {
    for (const uint16_t address : {0x21, 0x22, 0x23}) {
        rules::set_word(8, address, 0xFFFF);
    }
    rules::set_word(8, 0x24, 0xFFFE);  // bay 25
    EXPECT_EQ(get_bpfd_online_hdd_count(), 1);
    rules::set_word(8, 0x24, 0x0003);  // only the bays that there are not
    EXPECT_EQ(get_bpfd_online_hdd_count(), 0);
}

TEST(CountsEdge, Crag) {
    EXPECT_EQ(GetCragOnlineHDDCount(2608), 0);
    EXPECT_EQ(GetCragOnlineHDDCount(2624), 0);
    EXPECT_THAT(platform().messages, IsEmpty());
    for (const uint32_t type : {0u, 1u, 2609u, 0x10000u + 2608u}) {
        platform().clear_record();
        EXPECT_EQ(GetCragOnlineHDDCount(type), -1);
        ASSERT_EQ(platform().messages.size(), 1u);
        EXPECT_EQ(platform().messages[0].channel, "dbgout");
        EXPECT_EQ(platform().messages[0].number, 130u);
        EXPECT_EQ(platform().messages[0].source, "common/harddisk/harddisk_common_info");
        EXPECT_EQ(platform().messages[0].text, "[GetCragOnlineHDDCount] Unkown board.\n");
    }
    EXPECT_EQ(get_crag_online_hdd_count(), 0);
}

// ---- field-service traces ----

TEST(Traces, KfotestShowsTheBitsOfTheWideModels) {
    make_marker("/var/kfotest");
    const uint16_t words[] = {0x1234, 0xABCD, 0x0F0F, 0x8001};
    for (int i = 0; i < 4; ++i) {
        rules::set_word(8, static_cast<uint16_t>(0x21 + i), words[i]);
    }
    rules::set_word(8, 0x29, 0x4321);
    uint8_t type = 0;
    const auto trace = [&](const char *name, uint32_t slot) {
        return printed([&] { rules::functions(name).type(slot, &type); });
    };
    for (const uint32_t slot : {0u, 1u, 24u}) {
        EXPECT_EQ(trace("bpfd", slot), "ioval = 80010f0fabcd1234\n");
        EXPECT_EQ(trace("bpfe", slot), "ioval = f0fabcd1234\n");
        EXPECT_EQ(trace("bpff", slot), "ioval = f0fabcd4321\n");
    }
    EXPECT_EQ(trace("bpfd", 26), "");
    for (const char *name : {"bpra", "bprb", "bpfa", "bpfb", "bpfc", "bpfg", "bpma"}) {
        rules::noise(2);
        EXPECT_EQ(trace(name, rules::model_named(name).slots.begin()->first), "") << name;
    }
    EXPECT_EQ(printed([] { _bpfd_hdd_present(1); }), "");
    platform().clear_record();
    platform().fail_call = 4;
    EXPECT_THAT(trace("bpfd", 1), MatchesRegex("\\[_bpfd_hdd_type [0-9]+\\] get 9535 failed\\.\n"));
}

TEST(Traces, NvmetestShowsTheWordOfBprb) {
    make_marker("/var/nvmetest");
    rules::set_word(4, 0x21, 0xFFFD);
    rules::set_word(5, 0x21, 0x0102);
    uint8_t type = 0;
    EXPECT_THAT(printed([&] { _bprb_hdd_type(53, &type); }),
                MatchesRegex("\\[_bprb_hdd_type [0-9]+\\] bus = 4, ioval = 65533\n"));
    EXPECT_THAT(printed([&] { _bprb_hdd_type(58, &type); }),
                MatchesRegex("\\[_bprb_hdd_type [0-9]+\\] bus = 5, ioval = 258\n"));
    for (const Model &model : models()) {
        rules::noise(2);
        const rules::Functions &f = rules::functions(model.name);
        const uint32_t slot = model.slots.rbegin()->first;
        if (model.name != "bprb") {
            EXPECT_EQ(printed([&] { f.type(slot, &type); }), "") << model.name;
        }
        EXPECT_EQ(printed([&] { f.present(slot); }), "") << model.name;
    }
}

TEST(Traces, OobdbgShowsTheBitsAndTheCountOfDiskLists) {
    make_marker("/var/oobdbg");
    const uint16_t words[] = {0xFFFC, 0xABCF, 0x0FFF, 0xFFFF};
    for (uint32_t bus = 3; bus <= 9; ++bus) {
        for (int i = 0; i < 4; ++i) {
            rules::set_word(bus, static_cast<uint16_t>(0x21 + i), words[i]);
        }
        rules::set_word(bus, 0x29, 0xFFFC);
    }
    const std::map<std::string, std::string> expected = {
        {"bpra", "bus = 4, iovalue =  fffc"},     {"bprb", "bus = 4, iovalue =  fffc"},
        {"bpfa", "bus = 4, iovalue =  fffc"},     {"bpfb", "bus = 8, iovalue =  fffc"},
        {"bpfc", "bus = 4, iovalue =  abcffffc"}, {"bpfg", "bus = 4, iovalue =  abcffffc"},
        {"bpfd", "ioval=0xffff0fffabcffffc"},     {"bpfe", "ioval=0xfffabcffffc"},
        {"bpff", "ioval=0xfffabcffffc"}};
    for (const auto &[name, text] : expected) {
        const Model &model = rules::model_named(name);
        HddList list = {};
        const std::string shown =
            printed([&] { EXPECT_EQ(disk_list(model, model.board_id, 1, &list), 0); });
        EXPECT_THAT(shown, MatchesRegex("\\[" + name + "_get_hdd_list [0-9]+\\] " + text + "\n\\[" +
                                        name + "_get_hdd_list [0-9]+\\] slotCounts = " +
                                        std::to_string(list.count) + "\n"));
        EXPECT_GE(list.count, 1u);
        U2NvmeList nvmes = {};
        EXPECT_EQ(printed([&, name = name] {
                      rules::functions(name).u2_list(model.board_id, 1, &nvmes);
                  }),
                  "");
    }
    platform().clear_record();
    platform().fail_call = 1;
    HddList list = {};
    EXPECT_THAT(printed([&] { bpfb_get_hdd_list(21743, &list); }),
                MatchesRegex("\\[bpfb_get_hdd_list [0-9]+\\] bus 8 get 9535 failed\\.\n"));
}
