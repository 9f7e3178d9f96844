// The on-board network controllers.
#include <functional>

#include "host/host_support.h"

using namespace host;

namespace {

std::vector<uint8_t> text_field(const char *text, size_t size) {
    std::vector<uint8_t> bytes(text, text + std::strlen(text));
    bytes.resize(size, 0);
    return bytes;
}

struct Getter {
    const char *name;
    std::function<int32_t(int32_t index, void *out)> ask;
    std::vector<uint8_t> answers[2];  // for each controller, all bytes
};

template <typename Out>
Getter getter(const char *name, int32_t (*ask)(int32_t, Out *), std::vector<uint8_t> first,
              std::vector<uint8_t> second) {
    return {name,
            [ask](int32_t index, void *out) { return ask(index, static_cast<Out *>(out)); },
            {std::move(first), std::move(second)}};
}

std::vector<Getter> getters() {
    const auto text = [](const char *name, int32_t (*ask)(int32_t, char *), const char *value,
                         size_t size) {
        return getter(name, ask, text_field(value, size), text_field(value, size));
    };
    return {
        getter("GetNcsiNetCardBoardId", GetNcsiNetCardBoardId, {0xFF, 0x00}, {0xFF, 0x00}),
        getter("GetNcsiNetCardPackageID", GetNcsiNetCardPackageID, {0}, {1}),
        getter("GetNcsiNetCardSlotId", GetNcsiNetCardSlotId, {0xFF}, {0xFF}),
        getter("GetNcsiNetCardPortNum", GetNcsiNetCardPortNum, {1}, {1}),
        getter("GetNcsiNetCardInterfaceType", GetNcsiNetCardInterfaceType, {0}, {0}),
        text("GetNcsiNetCardDeviceName", GetNcsiNetCardDeviceName, "I210", 16),
        text("GetNcsiNetCardName", GetNcsiNetCardName, "OnBoard", 32),
        text("GetNcsiNetCardChipManufactrue", GetNcsiNetCardChipManufactrue, "Intel", 32),
        text("GetNcsiNetCardManufactrue", GetNcsiNetCardManufactrue, "VEL", 16),
        text("GetNcsiNetCardModule", GetNcsiNetCardModule, "1*GE", 32),
    };
}

struct PortGetter {
    const char *name;
    int32_t (*ask)(int32_t index, int32_t port);
    uint8_t answers[2][8];
};

constexpr PortGetter port_getters[] = {
    {"GetNcsiNetPortSpeed", GetNcsiNetPortSpeed, {}},
    {"GetNcsiNetPortSubinterface", GetNcsiNetPortSubinterface, {}},
    {"GetNcsiNetPortSubindex", GetNcsiNetPortSubindex, {{1}, {2}}},
};

}  // namespace

TEST(Ncsi, Count) {
    EXPECT_EQ(GetNcsiNetCardMaxCount(), 2);
    expect_silence();
}

TEST(Ncsi, EveryFieldOfBothControllersAndNoByteMore) {
    for (const Getter &getter : getters()) {
        for (int32_t index = 0; index < 2; ++index) {
            SCOPED_TRACE(testing::Message() << getter.name << " " << index);
            std::vector<uint8_t> expected = getter.answers[index];
            expected.resize(64, 0xA5);
            alignas(8) uint8_t buffer[64];
            std::memset(buffer, 0xA5, sizeof(buffer));
            EXPECT_EQ(getter.ask(index, buffer), 0);
            EXPECT_EQ(std::vector<uint8_t>(buffer, buffer + 64), expected);
        }
    }
    expect_silence();
}

TEST(Ncsi, OtherIndexesAnswerMinusOne) {
    for (const Getter &getter : getters()) {
        for (const int32_t index : strange_indexes) {
            alignas(8) uint8_t buffer[64];
            std::memset(buffer, 0xA5, sizeof(buffer));
            EXPECT_EQ(getter.ask(index, buffer), -1) << getter.name << " " << index;
            EXPECT_THAT(buffer, testing::Each(0xA5));
        }
    }
    expect_silence();
}

TEST(Ncsi, NullIsRefused) {
    for (const Getter &getter : getters()) {
        for (const int32_t index : {0, 1, 2, -1, INT_MAX}) {
            EXPECT_EQ(getter.ask(index, nullptr), -1) << getter.name;
        }
    }
    expect_silence();
}

TEST(Ncsi, EveryPortOfBothControllers) {
    for (const PortGetter &getter : port_getters) {
        for (int32_t index = 0; index < 2; ++index) {
            for (int32_t port = 0; port < 8; ++port) {
                EXPECT_EQ(getter.ask(index, port), getter.answers[index][port])
                    << getter.name << " " << index << " " << port;
            }
        }
    }
    expect_silence();
}

TEST(Ncsi, PortsAndControllersOutsideTheTableAnswer255) {
    for (const PortGetter &getter : port_getters) {
        for (const int32_t strange : strange_indexes) {
            EXPECT_EQ(getter.ask(strange, 0), 255) << getter.name << " " << strange;
            EXPECT_EQ(getter.ask(strange, strange), 255) << getter.name << " " << strange;
            if (strange < 0 || strange > 7) {
                EXPECT_EQ(getter.ask(0, strange), 255) << getter.name << " " << strange;
                EXPECT_EQ(getter.ask(1, strange), 255) << getter.name << " " << strange;
            }
        }
    }
    expect_silence();
}
