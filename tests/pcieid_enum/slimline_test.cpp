// The words on a slimline cable and the binding of uplinks to the sockets that feed them.
#include <gmock/gmock.h>

#include "boardfeatures/pcieid_enum.h"
#include "support/bytes.h"
#include "support/pcieid_said.h"
#include "support/scripted_platform.h"

using scripted::platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const I2cChipRoute io = {12, 0x27, 0, 0x70, 5, "SLIMLINE IO"};
const scripted::Chip io_chip = {12, 0x27, 0x70, 5};

scripted::Expander &fit_io() { return platform().expanders[io_chip]; }

// ---- the expander calls ----

TEST(IoBits, AreForwardedUnchanged) {
    fit_io().input = 0x1234;
    uint32_t value = 0;
    EXPECT_EQ(iobits_write_output(&io, 0xFF0, 0xA50), 0);
    EXPECT_EQ(iobits_direction_output(&io, 0xE000, 0x6000), 0);
    EXPECT_EQ(iobits_read_output(&io, 0xFFF0, &value), 0);
    EXPECT_EQ(value, 0x7A50u);
    EXPECT_EQ(iobits_read_input(&io, 0xFFF, &value), 0);
    EXPECT_EQ(value, 0x234u);
    EXPECT_THAT(platform().calls,
                ElementsAre("pca9535_gpio_word_set_value 12:0x70.5:0x27 0xFF0 0xA50",
                            "pca9535_gpio_word_direction_output 12:0x70.5:0x27 0xE000 0x6000",
                            "pca9535_gpio_word_get_output_value 12:0x70.5:0x27 0xFFF0",
                            "pca9535_gpio_word_get_value 12:0x70.5:0x27 0xFFF"));
}

TEST(IoBits, HandOnThePlatformsResult) {
    platform().failure = -17;
    platform().fail_if = [](const std::string &) { return true; };
    uint32_t value = 77;
    EXPECT_EQ(iobits_write_output(&io, 1, 1), -17);
    EXPECT_EQ(iobits_direction_output(&io, 1, 1), -17);
    EXPECT_EQ(iobits_read_output(&io, 1, &value), -17);
    EXPECT_EQ(iobits_read_input(&io, 1, &value), -17);
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(IoBits, NullIsRefused) {
    uint32_t value = 0;
    EXPECT_EQ(iobits_write_output(nullptr, 1, 1), -1);
    EXPECT_EQ(iobits_direction_output(nullptr, 1, 1), -1);
    EXPECT_EQ(iobits_read_output(nullptr, 1, &value), -1);
    EXPECT_EQ(iobits_read_output(&io, 1, nullptr), -1);
    EXPECT_EQ(iobits_read_input(nullptr, 1, &value), -1);
    EXPECT_EQ(iobits_read_input(&io, 1, nullptr), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
}

// ---- the socket's word ----

TEST(SourceWord, OddWithoutTheParityBit) {
    fit_io();
    EXPECT_EQ(src_slimline_set_odata(&io, 0x27, 5), 0);
    EXPECT_THAT(platform().calls,
                ElementsAre("pca9535_gpio_word_set_value 12:0x70.5:0x27 0xFFFF 0xE005",
                            "pca9535_gpio_word_direction_output 12:0x70.5:0x27 0xE000 0xE000"));
    EXPECT_THAT(said(), ElementsAre("warn slimline_io src_slimline_set_odata @, upstream slimline "
                                    "side set GPO (to downstream) vppaddr=27, "
                                    "src_slimline_index=5\n"));
    EXPECT_EQ(fit_io().output, 0xE005);
    EXPECT_EQ(fit_io().direction, 0x1FFF);
}

TEST(SourceWord, EvenGetsTheParityBit) {
    fit_io();
    EXPECT_EQ(src_slimline_set_odata(&io, 0x26, 3), 0);
    EXPECT_THAT(platform().calls,
                ElementsAre("pca9535_gpio_word_set_value 12:0x70.5:0x27 0xFFFF 0xC083",
                            "pca9535_gpio_word_direction_output 12:0x70.5:0x27 0xE000 0xC000"));
}

TEST(SourceWord, OnlySevenBitsOfTheIndexAndThreeOfTheAddress) {
    fit_io();
    EXPECT_EQ(src_slimline_set_odata(&io, 0xF8, 0x3FF), 0);  // 0x7F holds seven ones
    EXPECT_EQ(platform().calls[0], "pca9535_gpio_word_set_value 12:0x70.5:0x27 0xFFFF 0x7F");
    EXPECT_EQ(platform().calls[1], "pca9535_gpio_word_direction_output 12:0x70.5:0x27 0xE000 0x0");
    EXPECT_EQ(said().front(),
              "warn slimline_io src_slimline_set_odata @, upstream slimline side "
              "set GPO (to downstream) vppaddr=f8, src_slimline_index=1023\n");
}

TEST(SourceWord, NothingIsZeroWithTheParityBit) {
    fit_io();
    EXPECT_EQ(src_slimline_set_odata(&io, 0, 0), 0);
    EXPECT_EQ(platform().calls[0], "pca9535_gpio_word_set_value 12:0x70.5:0x27 0xFFFF 0x80");
}

TEST(SourceWord, AFailedWriteEndsIt) {
    fit_io();
    platform().fail_call = 1;
    EXPECT_EQ(src_slimline_set_odata(&io, 0x27, 5), -5);
    EXPECT_EQ(platform().calls.size(), 1u);
    EXPECT_THAT(said(), ElementsAre("warn slimline_io src_slimline_set_odata @, "
                                    "iobits_write_output(bitsfield=ffff, outreg_val=e005)=-5\n"));
}

TEST(SourceWord, AFailedDirectionIsItsResult) {
    fit_io();
    platform().fail_call = 2;
    EXPECT_EQ(src_slimline_set_odata(&io, 0x26, 5), -5);
    EXPECT_THAT(said(),
                ElementsAre("warn slimline_io src_slimline_set_odata @, "
                            "iobits_direction_output(bitsfield=e000, outreg_val=c000)=-5\n"));
}

TEST(SourceWord, EveryIndexAndAddressReadsBackAtTheOtherEnd) {
    fit_io();
    for (uint32_t vpp = 0; vpp < 8; ++vpp) {
        for (uint32_t index = 0; index < 128; ++index) {
            ASSERT_EQ(src_slimline_set_odata(&io, 0x20 + vpp, index), 0);
            ASSERT_EQ(__builtin_popcount(fit_io().output) % 2, 1);
            uint32_t read_vpp = 99;
            uint32_t read_index = 999;
            ASSERT_EQ(dest_slimline_get_odata(&io, &read_vpp, &read_index), 0);
            ASSERT_EQ(read_vpp, vpp);
            ASSERT_EQ(read_index, index);
        }
    }
}

TEST(SourceWord, NullIsRefused) {
    EXPECT_EQ(src_slimline_set_odata(nullptr, 1, 1), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
}

// ---- reading it at the backplane ----

TEST(DestinationWord, OddIsAccepted) {
    fit_io().output = 0xE005;
    uint32_t vpp = 99;
    uint32_t index = 99;
    EXPECT_EQ(dest_slimline_get_odata(&io, &vpp, &index), 0);
    EXPECT_EQ(vpp, 7u);
    EXPECT_EQ(index, 5u);
    EXPECT_THAT(platform().calls,
                ElementsAre("pca9535_gpio_word_get_output_value 12:0x70.5:0x27 0xFFFF"));
    EXPECT_THAT(said(), ElementsAre("warn slimline_io dest_slimline_get_odata @, downstream "
                                    "slimline side get GPO (from upstream) vppaddr=07, "
                                    "src_slimline_index=5\n"));
}

TEST(DestinationWord, EvenIsRefused) {
    fit_io().output = 0xE004;
    uint32_t vpp = 99;
    uint32_t index = 99;
    EXPECT_EQ(dest_slimline_get_odata(&io, &vpp, &index), -1);
    EXPECT_EQ(vpp, 99u);
    EXPECT_EQ(index, 99u);
    EXPECT_THAT(said(), ElementsAre("warn slimline_io dest_slimline_get_odata @, "
                                    "is_odd_parity_pass(bitscount=16, outreg_val=e004) failed\n"));
}

TEST(DestinationWord, AnExpanderAfterResetIsRefused) {
    fit_io().output = 0xFFFF;
    uint32_t vpp = 99;
    uint32_t index = 99;
    EXPECT_EQ(dest_slimline_get_odata(&io, &vpp, &index), -1);
}

TEST(DestinationWord, AFailedReadIsMinusOne) {
    uint32_t vpp = 99;
    uint32_t index = 99;
    platform().fail_call = 1;
    EXPECT_EQ(dest_slimline_get_odata(&io, &vpp, &index), -1);
    EXPECT_EQ(index, 99u);
    EXPECT_THAT(said(), ElementsAre("warn slimline_io dest_slimline_get_odata @, "
                                    "iobits_read_output(bitsfield=ffff, outreg_val=0000)=-5\n"));
}

TEST(DestinationIndex, OddOverThirteenBits) {
    fit_io().input = 0xE007;  // the upper three bits are not asked for
    uint32_t index = 99;
    EXPECT_EQ(dest_slimline_get_idata(&io, &index), 0);
    EXPECT_EQ(index, 7u);
    EXPECT_THAT(platform().calls, ElementsAre("pca9535_gpio_word_get_value 12:0x70.5:0x27 0x1FFF"));
    EXPECT_THAT(said(),
                ElementsAre("warn slimline_io dest_slimline_get_idata inreg_val = 0007\n",
                            "warn slimline_io dest_slimline_get_idata @, downstream "
                            "slimline side get GPI (from HW) backplane_slimline_index=7\n"));
}

TEST(DestinationIndex, ItIsFourBitsOfThem) {
    fit_io().input = 0x1FF3;  // eleven ones
    uint32_t index = 99;
    EXPECT_EQ(dest_slimline_get_idata(&io, &index), 0);
    EXPECT_EQ(index, 3u);
}

TEST(DestinationIndex, EvenIsRefused) {
    fit_io().input = 0x0003;
    uint32_t index = 99;
    EXPECT_EQ(dest_slimline_get_idata(&io, &index), -1);
    EXPECT_EQ(index, 99u);
    EXPECT_THAT(said(), ElementsAre("warn slimline_io dest_slimline_get_idata inreg_val = 0003\n",
                                    "warn slimline_io dest_slimline_get_idata @, "
                                    "is_odd_parity_pass(bitscount=13, inreg_val=0003) failed\n"));
}

TEST(DestinationIndex, AFailedReadIsMinusOne) {
    uint32_t index = 99;
    platform().fail_call = 1;
    EXPECT_EQ(dest_slimline_get_idata(&io, &index), -1);
    EXPECT_THAT(said(), ElementsAre("warn slimline_io dest_slimline_get_idata @, "
                                    "iobits_read_input(bitsfield=1fff, inreg_val=0000)=-5\n"));
}

TEST(DestinationWords, NullIsRefused) {
    uint32_t value = 0;
    EXPECT_EQ(dest_slimline_get_odata(nullptr, &value, &value), -1);
    EXPECT_EQ(dest_slimline_get_odata(&io, nullptr, &value), -1);
    EXPECT_EQ(dest_slimline_get_odata(&io, &value, nullptr), -1);
    EXPECT_EQ(dest_slimline_get_idata(nullptr, &value), -1);
    EXPECT_EQ(dest_slimline_get_idata(&io, nullptr), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
}

// ---- announcing the sources ----

TEST(AnnounceSources, EverySocketInOrder) {
    slimline_list list;
    EXPECT_EQ(board_get_mainboard_slimline_list(&list), 0);
    for (uint32_t channel = 0; channel < 6; ++channel) {
        platform().expanders[{12, 0x27, 0x70, channel}] = {};
    }
    src_slimline_output_all(&list);
    EXPECT_THAT(platform().calls,
                ElementsAre("pca9535_gpio_word_set_value 12:0x70.0:0x27 0xFFFF 0xC080",
                            "pca9535_gpio_word_direction_output 12:0x70.0:0x27 0xE000 0xC000",
                            "pca9535_gpio_word_set_value 12:0x70.1:0x27 0xFFFF 0xE081",
                            "pca9535_gpio_word_direction_output 12:0x70.1:0x27 0xE000 0xE000",
                            "pca9535_gpio_word_set_value 12:0x70.2:0x27 0xFFFF 0xC002",
                            "pca9535_gpio_word_direction_output 12:0x70.2:0x27 0xE000 0xC000",
                            "pca9535_gpio_word_set_value 12:0x70.3:0x27 0xFFFF 0xE003",
                            "pca9535_gpio_word_direction_output 12:0x70.3:0x27 0xE000 0xE000",
                            "pca9535_gpio_word_set_value 12:0x70.4:0x27 0xFFFF 0x4084",
                            "pca9535_gpio_word_direction_output 12:0x70.4:0x27 0xE000 0x4000",
                            "pca9535_gpio_word_set_value 12:0x70.5:0x27 0xFFFF 0x6085",
                            "pca9535_gpio_word_direction_output 12:0x70.5:0x27 0xE000 0x6000"));
}

TEST(AnnounceSources, AFailureIsLoggedAndTheNextFollows) {
    slimline_list list;
    EXPECT_EQ(board_get_mainboard_slimline_list(&list), 0);
    list.count = 2;
    platform().expanders[{12, 0x27, 0x70, 1}] = {};
    platform().failure = -3;
    platform().fail_call = 1;
    src_slimline_output_all(&list);
    EXPECT_EQ(platform().calls.size(), 3u);
    EXPECT_THAT(said(),
                ElementsAre("warn slimline_io src_slimline_set_odata @, "
                            "iobits_write_output(bitsfield=ffff, outreg_val=c080)=-3\n",
                            "warn slimline_bind src_slimline_output_single @, "
                            "src_slimline_set_odata(vpp=26, srcindex=0)=-3.\n",
                            "warn slimline_bind src_slimline_output_all @, "
                            "src_slimline_output_single(0, SLIMLINE:CPU1 SLIMLINE A)=-3.\n",
                            "warn slimline_io src_slimline_set_odata @, upstream slimline side set "
                            "GPO (to downstream) vppaddr=27, src_slimline_index=1\n"));
}

TEST(AnnounceSources, ASingleOneTakesItsIndexFromTheCaller) {
    slimline_list list;
    EXPECT_EQ(board_get_mainboard_slimline_list(&list), 0);
    platform().expanders[{12, 0x27, 0x70, 3}] = {};
    EXPECT_EQ(src_slimline_output_single(9, &list.items[3]), 0);
    EXPECT_EQ(platform().calls[0], "pca9535_gpio_word_set_value 12:0x70.3:0x27 0xFFFF 0xE009");
    platform().fail_if = [](const std::string &) { return true; };
    EXPECT_EQ(src_slimline_output_single(9, &list.items[3]), -5);
}

TEST(AnnounceSources, NothingForAnEmptyListAndNull) {
    const slimline_list list = {};
    src_slimline_output_all(&list);
    src_slimline_output_all(nullptr);
    EXPECT_EQ(src_slimline_output_single(0, nullptr), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(AnnounceSources, ACountBeyondTheListIsNotFollowed) {
    slimline_list list = {};
    list.count = 17;
    src_slimline_output_all(&list);
    EXPECT_EQ(platform().calls.size(), 16u);
}

// ---- binding ----

class Bind : public testing::Test {
protected:
    Bind() {
        EXPECT_EQ(board_get_mainboard_slimline_list(&slimlines), 0);
        device.uplink_count = 2;
        for (uint32_t k = 0; k < 2; ++k) {
            device.uplinks[k].io = {7, 0x27, 0, 0x70, k, "UPLINK"};
        }
    }
    static scripted::Expander &uplink(uint32_t k) {
        return platform().expanders[{7, 0x27, 0x70, k}];
    }
    static void cable(uint32_t k, uint16_t own, uint16_t word) {
        uplink(k).input = own;
        uplink(k).output = word;
    }
    void expect_placeholder(uint32_t k) {
        Bytes expected;
        expected.text("NOSLIMLINE", 64).u32(8).u32(240).u32(8).u32(0x12345678).zeros(32).u32(0);
        expect_bytes(&device.uplinks[k].source, 116, expected);
    }
    void expect_bound(uint32_t k, uint32_t socket) {
        EXPECT_EQ(std::memcmp(&device.uplinks[k].source, &slimlines.items[socket], 116), 0);
    }

    slimline_list slimlines;
    bpdev_item device = {};
};

const std::string own_index_0 =
    "warn slimline_io dest_slimline_get_idata @, downstream slimline side get GPI (from HW) "
    "backplane_slimline_index=0\n";

TEST_F(Bind, EachUplinkToItsSocket) {
    cable(0, 0x1FF0, 0xC002);
    cable(1, 0x0001, 0x4084);
    EXPECT_EQ(bpdev_slimline_bind(&device, &slimlines), 2);
    expect_bound(0, 2);
    expect_bound(1, 4);
    EXPECT_THAT(platform().calls,
                ElementsAre("pca9535_gpio_word_get_value 7:0x70.0:0x27 0x1FFF",
                            "pca9535_gpio_word_get_output_value 7:0x70.0:0x27 0xFFFF",
                            "pca9535_gpio_word_get_value 7:0x70.1:0x27 0x1FFF",
                            "pca9535_gpio_word_get_output_value 7:0x70.1:0x27 0xFFFF"));
    EXPECT_THAT(
        said(),
        ElementsAre("warn slimline_io dest_slimline_get_idata inreg_val = 1ff0\n", own_index_0,
                    "warn slimline_io dest_slimline_get_odata @, downstream slimline side get GPO "
                    "(from upstream) vppaddr=06, src_slimline_index=2\n",
                    "info slimline_bind bpdev_slimline_bind [@], downstream slimline#0 parse Ok, "
                    "dest_idx_of_hw=0, src_name=CPU2 SLIMLINE C\n",
                    "warn slimline_io dest_slimline_get_idata inreg_val = 0001\n",
                    "warn slimline_io dest_slimline_get_idata @, downstream slimline side get GPI "
                    "(from HW) backplane_slimline_index=1\n",
                    "warn slimline_io dest_slimline_get_odata @, downstream slimline side get GPO "
                    "(from upstream) vppaddr=02, src_slimline_index=4\n",
                    "info slimline_bind bpdev_slimline_bind [@], downstream slimline#1 parse Ok, "
                    "dest_idx_of_hw=1, src_name=CPU2 SLIMLINE E\n"));
}

TEST_F(Bind, AnIndexEqualToTheCountIsUnbound) {
    cable(0, 0x0001, 0xC002);
    cable(1, 0x0002, 0x0086);  // index 6 of 6 sockets
    EXPECT_EQ(bpdev_slimline_bind(&device, &slimlines), 1);
    expect_bound(0, 2);
    expect_placeholder(1);
    const auto all = said();
    ASSERT_EQ(all.size(), 9u);
    EXPECT_EQ(all[7],
              "warn slimline_bind _slimline_io_parse @, _src_index(6) >= "
              "pres_slimline_list->item_count(6).\n");
    EXPECT_EQ(all[8],
              "warn slimline_bind bpdev_slimline_bind [@], downstream slimline#1 parse "
              "failed, dest_idx_of_hw=0, src_name=NOSLIMLINE\n");
}

TEST_F(Bind, WithoutItsOwnIndexTheWordIsNotRead) {
    device.uplink_count = 1;
    cable(0, 0x0003, 0xC002);
    EXPECT_EQ(bpdev_slimline_bind(&device, &slimlines), -1);
    expect_placeholder(0);
    EXPECT_EQ(platform().calls.size(), 1u);
    EXPECT_THAT(
        said(),
        ElementsAre("warn slimline_io dest_slimline_get_idata inreg_val = 0003\n",
                    "warn slimline_io dest_slimline_get_idata @, is_odd_parity_pass(bitscount=13, "
                    "inreg_val=0003) failed\n",
                    "warn slimline_bind _dest_slimline_io_parse @, dest_slimline_get_idata()=-1\n",
                    "warn slimline_bind bpdev_slimline_bind [@], downstream slimline#0 parse "
                    "failed, dest_idx_of_hw=0, src_name=NOSLIMLINE\n"));
}

TEST_F(Bind, WithoutACableTheUplinkIsUnbound) {
    device.uplink_count = 1;
    cable(0, 0x0001, 0xFFFF);
    EXPECT_EQ(bpdev_slimline_bind(&device, &slimlines), -1);
    expect_placeholder(0);
    const auto all = said();
    ASSERT_EQ(all.size(), 5u);
    EXPECT_EQ(all[2],
              "warn slimline_io dest_slimline_get_odata @, is_odd_parity_pass(bitscount=16, "
              "outreg_val=ffff) failed\n");
    EXPECT_EQ(all[3],
              "warn slimline_bind _dest_slimline_io_parse @, dest_slimline_get_odata()=-1\n");
}

TEST_F(Bind, EveryFailedReadUnbindsItsUplinkOnly) {
    for (size_t n = 1; n <= 4; ++n) {
        SCOPED_TRACE(n);
        platform() = {};
        cable(0, 0x0001, 0xC002);
        cable(1, 0x0002, 0x4084);
        platform().fail_call = n;
        EXPECT_EQ(bpdev_slimline_bind(&device, &slimlines), 1);
        // a failed first read saves the second
        EXPECT_EQ(platform().calls.size(), n == 1 || n == 3 ? 3u : 4u);
        if (n <= 2) {
            expect_placeholder(0);
            expect_bound(1, 4);
        } else {
            expect_bound(0, 2);
            expect_placeholder(1);
        }
    }
}

TEST_F(Bind, TwoUplinksMayReadOneSocket) {
    cable(0, 0x0001, 0xC002);
    cable(1, 0x0002, 0xC002);
    EXPECT_EQ(bpdev_slimline_bind(&device, &slimlines), 2);
    expect_bound(0, 2);
    expect_bound(1, 2);
}

TEST_F(Bind, NoUplinksIsMinusOne) {
    device.uplink_count = 0;
    EXPECT_EQ(bpdev_slimline_bind(&device, &slimlines), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST_F(Bind, CountsBeyondTheRecordsAreNotFollowed) {
    device.uplink_count = 17;
    for (bpdev_uplink &one : device.uplinks) {
        one.io = device.uplinks[0].io;
    }
    cable(0, 0x0001, 0x0010);  // index 16, odd
    slimlines.count = 0xFFFFFFFF;
    EXPECT_EQ(bpdev_slimline_bind(&device, &slimlines), -1);
    EXPECT_EQ(platform().calls.size(), 32u);
    expect_placeholder(15);
}

TEST_F(Bind, NullIsRefused) {
    EXPECT_EQ(bpdev_slimline_bind(nullptr, &slimlines), -1);
    EXPECT_EQ(bpdev_slimline_bind(&device, nullptr), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
}

}  // namespace
