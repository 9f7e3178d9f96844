// The front-panel LEDs: both tables, byte by byte.
#include "host/host_support.h"

using namespace host;

namespace {

using Bytes = std::vector<uint8_t>;

const std::vector<Bytes> &common_rows() {
    static const std::vector<Bytes> rows = {
        {0xFF, 0x00, 0x05, 0, 0, 0, 0}, {0x00, 0x01, 0x03, 0, 0, 0, 0},
        {0x01, 0x04, 0x03, 0, 0, 0, 0}, {0x58, 0x04, 0x03, 0, 0, 0, 0},
        {0x59, 0x04, 0x03, 0, 0, 0, 0}, {0x5A, 0x04, 0x03, 0, 0, 0, 0},
        {0x5B, 0x04, 0x03, 0, 0, 0, 0}, {0x03, 0x08, 0x03, 0, 0, 0, 0},
    };
    return rows;
}

const std::vector<Bytes> &epld_rows() {
    static const std::vector<Bytes> rows = {
        {0x00, 0x38, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00},
        {0x01, 0x3A, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00},
        {0x58, 0x3E, 0x03, 0x01, 0x00, 0x00, 0x00, 0x00},
        {0x59, 0x3E, 0x03, 0x02, 0x00, 0x00, 0x00, 0x00},
        {0x5A, 0x3E, 0x03, 0x04, 0x00, 0x00, 0x00, 0x00},
        {0x5B, 0x3E, 0x03, 0x08, 0x00, 0x00, 0x00, 0x00},
        {0x03, 0x32, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00},
    };
    return rows;
}

// The index of the row that begins with an id, or -1.
int index_of(const std::vector<Bytes> &rows, uint32_t id) {
    for (size_t i = 0; i < rows.size(); ++i) {
        if (rows[i][0] == id) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

}  // namespace

TEST(Leds, Counts) {
    EXPECT_EQ(GetAllLedCount(), 8);
    EXPECT_EQ(GetEpldLedCount(), 7);
    EXPECT_EQ(GetI2cLedCount(), 0);
    EXPECT_EQ(GetGpioLedCount(), 0);
    expect_silence();
}

TEST(Leds, EveryIndex) {
    for (const uint32_t index : key_space()) {
        LedInfo led = untouched<LedInfo>();
        const int32_t result = GetLedCommonInfoByIndex(index, &led);
        if (index < 8) {
            EXPECT_EQ(result, 0);
            EXPECT_EQ(bytes_of(led), common_rows()[index]);
        } else {
            EXPECT_EQ(result, -1) << index;
            EXPECT_EQ(bytes_of(led), Bytes(7, 0xA5));
        }
    }
    expect_silence();
}

TEST(Leds, EveryId) {
    for (const uint32_t id : key_space()) {
        SCOPED_TRACE(id);
        const int row = index_of(common_rows(), id);
        LedInfo led = untouched<LedInfo>();
        uint32_t index = 0xA5A5A5A5;
        EXPECT_EQ(GetLedCommonInfoByLedId(id, &led), row < 0 ? -1 : 0);
        EXPECT_EQ(bytes_of(led), row < 0 ? Bytes(7, 0xA5) : common_rows()[row]);
        EXPECT_EQ(GetLedindexByLedId(id, &index), row < 0 ? -1 : 0);
        EXPECT_EQ(index, row < 0 ? 0xA5A5A5A5u : static_cast<uint32_t>(row));
    }
    expect_silence();
}

TEST(Leds, EveryEpldId) {
    for (const uint32_t id : key_space()) {
        SCOPED_TRACE(id);
        const int row = index_of(epld_rows(), id);
        LedEpldInfo led = untouched<LedEpldInfo>();
        EXPECT_EQ(GetLedEpldInfoByLedId(id, &led), row < 0 ? -1 : 0);
        EXPECT_EQ(bytes_of(led), row < 0 ? Bytes(8, 0xA5) : epld_rows()[row]);
    }
    expect_silence();
}

TEST(Leds, NoneHangsOnGpioOrI2c) {
    for (const uint32_t id : key_space()) {
        Bytes buffer(64, 0xA5);
        EXPECT_EQ(GetLedGpioInfoByLedId(id, buffer.data()), -1);
        EXPECT_EQ(GetLedI2cInfoByLedId(id, buffer.data()), -1);
        EXPECT_EQ(GetLedGpioInfoByLedId(id, nullptr), -1);
        EXPECT_EQ(GetLedI2cInfoByLedId(id, nullptr), -1);
        EXPECT_EQ(buffer, Bytes(64, 0xA5));
    }
    expect_silence();
}

TEST(Leds, NullIsRefused) {
    for (const uint32_t id : key_space()) {
        EXPECT_EQ(GetLedCommonInfoByIndex(id, nullptr), -1);
        EXPECT_EQ(GetLedCommonInfoByLedId(id, nullptr), -1);
        EXPECT_EQ(GetLedindexByLedId(id, nullptr), -1);
        EXPECT_EQ(GetLedEpldInfoByLedId(id, nullptr), -1);
    }
    expect_silence();
}
