// The choice of the main board's regulators, their firmware revision and the diagnostic line.
#include <atomic>
#include <thread>

#include "power/power_support.h"

using namespace power;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// What row `index` names: address behind the mux, channel, chip.
struct Place {
    const char *route;
    const char *line;
};
constexpr Place places[] = {
    {"13:0x77.0:0x04", "addr:0X4 bridge:0X77 channel:0"},
    {"13:0x77.0:0x06", "addr:0X6 bridge:0X77 channel:0"},
    {"13:0x77.0:0x08", "addr:0X8 bridge:0X77 channel:0"},
    {"13:0x77.0:0x0A", "addr:0XA bridge:0X77 channel:0"},
    {"13:0x77.0:0x64", "addr:0X64 bridge:0X77 channel:0"},
    {"13:0x77.1:0x04", "addr:0X4 bridge:0X77 channel:0X1"},
    {"13:0x77.1:0x06", "addr:0X6 bridge:0X77 channel:0X1"},
    {"13:0x77.1:0x08", "addr:0X8 bridge:0X77 channel:0X1"},
    {"13:0x77.1:0x0A", "addr:0XA bridge:0X77 channel:0X1"},
    {"13:0x77.1:0x64", "addr:0X64 bridge:0X77 channel:0X1"},
};
constexpr const char *chips[] = {"M1310C", "E1410C", "E1410C", "M1310C", "XDPE12284C"};

std::string topology_line(uint32_t index) {
    return std::string(" [INFO] >>>>> bus:13 ") + places[index].line +
           " page:0 offset:0X9B datalen:2 chipname:" + chips[index % 5] + "\n";
}
std::string page_write(uint32_t index) {
    return std::string("i2cWrite ") + places[index].route + " width 1 offset 0x0 length 1: 00";
}
std::string revision_read(uint32_t index) {
    return std::string("i2cRead ") + places[index].route + " width 1 offset 0x9B length 2";
}

void expect_audit(const std::vector<std::pair<std::string, std::string>> &lines) {
    ASSERT_EQ(platform().messages.size(), lines.size());
    for (size_t i = 0; i < lines.size(); ++i) {
        const scripted::Message &message = platform().messages[i];
        EXPECT_EQ(message.channel, "audit");
        EXPECT_EQ(message.number, 190u);
        EXPECT_EQ(message.source, lines[i].first);  // the place begins with the function's name
        EXPECT_GT(message.line, 0);
        EXPECT_EQ(message.text, lines[i].second);
    }
    EXPECT_THAT(platform().failed_stats, IsEmpty());
}

}  // namespace

// ---- choice of the rows; each test is a process of its own ----

TEST(RegulatorRows, UnknownBomHasNone) {
    fit_main_board(0x5440, 3);
    const VrRow any = {};
    const VrRow *rows = &any;
    EXPECT_EQ(GetPemVRInfoBy9548(&rows), 0);
    EXPECT_EQ(rows, nullptr);
}

TEST(RegulatorRows, UnreadableBoardHasNone) {
    const VrRow *rows = nullptr;
    EXPECT_EQ(GetPemVRInfoBy9548(&rows), 0);
    EXPECT_THAT(platform().calls, ElementsAre(identifier_read));
}

TEST(RegulatorRows, AreChosenOnceForTheLifeOfTheProcess) {
    fit_main_board(0x5440, 1);
    const VrRow *first = nullptr;
    EXPECT_EQ(GetPemVRInfoBy9548(&first), 14);
    EXPECT_THAT(platform().calls, ElementsAre(identifier_read));
    fit_main_board(0x5440, 2);
    const VrRow *later = nullptr;
    EXPECT_EQ(GetPemVRInfoBy9548(&later), 14);
    EXPECT_EQ(later, first);
    EXPECT_EQ(later->bom_id, 1);
    EXPECT_THAT(platform().calls, ElementsAre(identifier_read));
    EXPECT_THAT(platform().messages, IsEmpty());
}

// Also a choice of nothing is kept.
TEST(RegulatorRows, AFailedChoiceIsKept) {
    const VrRow *rows = nullptr;
    EXPECT_EQ(GetPemVRInfoBy9548(&rows), 0);
    fit_main_board(0x5440, 0);
    EXPECT_EQ(GetPemVRInfoBy9548(&rows), 0);
    EXPECT_THAT(platform().calls, ElementsAre(identifier_read));
}

TEST(RegulatorRows, CanBeChosenAnew) {
    const VrRow *rows = nullptr;
    for (const uint32_t bom : {2u, 0u, 1u, 3u, 7u, 0u}) {
        fit_main_board(0x5440, bom);
        platform().clear_record();
        EXPECT_EQ(reinit_different_bomid_vr_info(), 0);
        EXPECT_THAT(platform().calls, ElementsAre(identifier_read));
        EXPECT_EQ(GetPemVRInfoBy9548(&rows), bom < 3 ? 14 : 0);
        EXPECT_EQ(rows != nullptr, bom < 3);
        EXPECT_TRUE(bom >= 3 || rows->bom_id == bom);
        EXPECT_THAT(platform().calls, ElementsAre(identifier_read));
    }
}

// Two threads choose at once and one cannot read the board: rows and their number fit all the same.
TEST(RegulatorRows, AreOneChoiceForAllThreads) {
    fit_main_board(0x5440, 1);
    std::atomic<bool> over = false;
    std::thread chooser([&] {
        for (int i = 0; i < 20000; ++i) {
            fit_main_board(0x5440, i % 2 == 0 ? 7 : 1);
            reinit_different_bomid_vr_info();
        }
        over = true;
    });
    for (bool last = false; !last;) {
        last = over;
        const VrRow *rows = nullptr;
        const int32_t count = GetPemVRInfoBy9548(&rows);
        ASSERT_EQ(count, rows != nullptr ? 14 : 0);
    }
    chooser.join();
}

TEST(RegulatorRows, NullIsRefused) {
    fit_main_board(0x5440, 0);
    EXPECT_EQ(GetPemVRInfoBy9548(nullptr), 0);
    expect_silence();
}

TEST(RegulatorStatus, IsTheEpldRead) {
    platform().epld[0x310] = 0x1234;
    uint16_t value[2] = {0xA5A5, 0xA5A5};
    EXPECT_EQ(GetPemVRInfoByEpld(0x310, value), 0);
    EXPECT_THAT(value, ElementsAre(0x1234, 0xA5A5));
    EXPECT_THAT(platform().calls, ElementsAre("epldio_read 0x310"));
    for (const int failure : failures) {
        platform().clear_record();
        platform().fail_call = 1;
        platform().failure = failure;
        EXPECT_EQ(GetPemVRInfoByEpld(0x80000312, value), failure);
        EXPECT_THAT(platform().calls, ElementsAre("epldio_read 0x80000312"));
        EXPECT_THAT(value, ElementsAre(0x1234, 0xA5A5));
    }
    platform().clear_record();
    EXPECT_EQ(GetPemVRInfoByEpld(0x310, nullptr), -1);
    expect_silence();
}

// ---- firmware ----

TEST(RegulatorFirmware, IsSupportedUnlessTheBoardIsTheTVariant) {
    fit_main_board(0x5440, 1);
    EXPECT_EQ(isSupportedVrFw(), 0);
    fit_main_board(0x5440, 0);
    EXPECT_EQ(isSupportedVrFw(), 1);
    fit_main_board(0x547D, 1);
    EXPECT_EQ(isSupportedVrFw(), 1);
    platform().expanders.clear();
    EXPECT_EQ(isSupportedVrFw(), 1);
    EXPECT_THAT(platform().calls,
                ElementsAre(identifier_read, identifier_read, identifier_read, identifier_read));
}

TEST(RegulatorFirmware, TheSecondByteIsTheRevision) {
    for (uint32_t index = 0; index < 10; ++index) {
        for (const auto &[high, low] : {std::pair{0x00, 0x00},
                                        {0x00, 0x12},
                                        {0x34, 0x00},
                                        {0xFF, 0xFF},
                                        {0x00, 0xFF},
                                        {0xFF, 0x01}}) {
            SCOPED_TRACE(index);
            platform().clear_record();
            platform().on_i2c_write = [](const I2cChipRoute &, uint32_t, const uint8_t *,
                                         uint32_t) { return 0; };
            platform().on_i2c_read = [high = high, low = low](const I2cChipRoute &, uint32_t,
                                                              uint8_t *buffer, uint32_t) {
                buffer[0] = static_cast<uint8_t>(high);
                buffer[1] = static_cast<uint8_t>(low);
                return 2;
            };
            EXPECT_EQ(GetVrVersionByIndex(index), static_cast<uint32_t>(low));
            EXPECT_THAT(platform().calls, ElementsAre(page_write(index), revision_read(index)));
            for (const I2cChipRoute &route : platform().routes) {
                EXPECT_TRUE(scripted::same_route(route, GetVrFwI2cRegInfoByIndex(index)->route));
            }
            expect_audit({{"printI2cTopo", topology_line(index)}});
        }
    }
}

TEST(RegulatorFirmware, AFailedPageIsNotRead) {
    for (const int failure : failures) {
        platform().clear_record();
        platform().bytes[{13, 0x06, 0x77, 1}] = std::vector<uint8_t>(256, 0x42);
        platform().fail_call = 1;
        platform().failure = failure;
        if (failure < 0) {
            EXPECT_EQ(GetVrVersionByIndex(6), 0u);
            EXPECT_THAT(platform().calls, ElementsAre(page_write(6)));
            expect_audit({{"printI2cTopo", topology_line(6)},
                          {"GetVrVersionByIndex", " [ERROR] i2c write failed \n"}});
        } else {
            EXPECT_EQ(GetVrVersionByIndex(6), 0x42u) << failure;
            expect_audit({{"printI2cTopo", topology_line(6)}});
        }
    }
}

TEST(RegulatorFirmware, AFailedReadAnswersZero) {
    for (const int failure : failures) {
        platform().clear_record();
        platform().bytes[{13, 0x64, 0x77, 0}] = std::vector<uint8_t>(256, 0x42);
        platform().fail_call = 2;
        platform().failure = failure;
        EXPECT_EQ(GetVrVersionByIndex(4), 0u) << failure;
        EXPECT_THAT(platform().calls, ElementsAre(page_write(4), revision_read(4)));
        if (failure < 0) {
            expect_audit({{"printI2cTopo", topology_line(4)},
                          {"GetVrVersionByIndex", " [ERROR] i2c read failed \n"}});
        } else {
            expect_audit({{"printI2cTopo", topology_line(4)}});
        }
    }
}

TEST(RegulatorFirmware, NothingBeyondTheTable) {
    for (const uint32_t index : strange_indexes) {
        if (index >= 10) {
            EXPECT_EQ(GetVrVersionByIndex(index), 0u) << index;
        }
    }
    expect_silence();
}

// ---- the diagnostic line ----

TEST(TopologyLine, ShowsEveryField) {
    I2cChipRoute route = {};
    route.bus = 10;
    route.address = 0x4E;
    route.flags = 0x1234;
    route.switch_address = 0x710070;
    route.switch_channel = 0x20001;
    std::memcpy(route.name, "sixteen letters!", 16);
    printI2cTopo(&route, 0xFF, 0x1000, UINT32_MAX);
    EXPECT_THAT(platform().calls, IsEmpty());
    expect_audit({{"printI2cTopo",
                   " [INFO] >>>>> bus:10 addr:0X4E bridge:0X710070 channel:0X20001 page:0XFF "
                   "offset:0X1000 datalen:-1 chipname:sixteen letters!\n"}});
}

TEST(TopologyLine, NoRouteNoLine) {
    printI2cTopo(nullptr, 0, 0, 0);
    expect_silence();
}
