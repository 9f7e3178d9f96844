// The disks of a backplane: what its expanders show, and the NVMe disks' management endpoints.
#include <algorithm>
#include <boost/crc.hpp>
#include <memory>
#include <vector>

#include "board_file.h"
#include "board_test.h"
#include "boardfeatures/storage.h"
#include "chips.h"

namespace {

// ---- the backplanes as a person reads them off the board's documentation ----

struct Model {
    const char *name;
    uint32_t bays;
    std::vector<uint16_t> expanders;
    std::vector<int> channels;  // by bay; -1: no NVMe management
};

const std::vector<int> odd = {-1, 0,  -1, 1,  -1, 2,  -1, 3,  -1, -1, -1, -1, -1,
                              -1, -1, -1, -1, 4,  -1, 5,  -1, 6,  -1, 7,  -1};
const std::vector<Model> models = {
    {"BPFA", 8, {0x21}, {0, 1, 2, 3, 4, 5, 6, 7}},
    {"BPFB", 8, {0x21}, {0, 1, 2, 3, 4, 5, 6, 7}},
    {"BPFC", 12, {0x21, 0x22}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}},
    {"BPFG", 12, {0x21, 0x22}, {1, 0, -1, 3, 2, -1, 4, 5, -1, 6, 7, -1}},
    {"BPFD", 25, {0x21, 0x22, 0x23, 0x24}, odd},
    {"BPFE", 24, {0x21, 0x22, 0x23}, odd},
    {"BPFF", 24, {0x29, 0x22, 0x23}, odd},
    {"BPRA", 2, {0x21}, {0, 1}},
    {"BPRB", 2, {0x21}, {0, 1}},
    {"BPMA", 2, {0x21}, {-1, -1}},
};

struct Connector {
    const char *name;
    uint32_t bus;
};
const Connector connectors[] = {{"F I2C 1", 7}, {"F I2C 2", 8}, {"F I2C 3", 9}, {"R I2C 4", 3},
                                {"R I2C 5", 4}, {"R I2C 7", 5}, {"R I2C 8", 6}, {"M I2C 6", 10}};

uint32_t bus_of(const std::string &connector) {
    return std::find_if(std::begin(connectors), std::end(connectors),
                        [&](const Connector &each) { return connector == each.name; })
        ->bus;
}

std::string backplane(const std::string &connector, const std::string &model,
                      const std::string &more = "") {
    return "[[backplane]]\nconnector = \"" + connector + "\"\nmodel = \"" + model + "\"\n" + more;
}
std::string disk(uint32_t bay, const std::string &kind, const std::string &more = "") {
    return "[[backplane.disks]]\nbay = " + std::to_string(bay) + "\nkind = \"" + kind + "\"\n" +
           more;
}

I2cChipRoute endpoint(uint32_t bus, int channel) {
    return at(bus, 0x72, 0x6A, static_cast<uint32_t>(channel));
}
// A block as a manager reads it: length, data and PEC.
std::vector<uint8_t> block(const I2cChipRoute &route, uint32_t first, uint32_t size) {
    std::vector<uint8_t> bytes(size);
    return i2cRead(&route, size, bytes.data(), 1, first) < 0 ? std::vector<uint8_t>() : bytes;
}

// The SMBus packet error code of a block read from a device.
uint8_t pec(uint8_t address, uint8_t command, const std::vector<uint8_t> &data) {
    boost::crc_optimal<8, 0x07> crc;
    crc.process_byte(static_cast<uint8_t>(address << 1));
    crc.process_byte(command);
    crc.process_byte(static_cast<uint8_t>(address << 1 | 1));
    crc.process_bytes(data.data(), data.size());
    return crc.checksum();
}

// A block as an endpoint answers it: what it holds, a text at its end, the packet error code.
std::vector<uint8_t> sealed(uint8_t command, std::vector<uint8_t> data,
                            const std::string &text = "") {
    data.insert(data.end(), text.begin(), text.end());
    data.push_back(pec(0x72, command, data));
    return data;
}

// A board that is only looked at.
class Made {
public:
    explicit Made(const std::string &text) { boardsim::read_board(text, "x.toml", *board_); }

    std::vector<uint8_t> cells(const I2cChipRoute &route) {
        const boardsim::ChipRecord *chip = boardsim::find_chip(*board_, boardsim::route_of(route));
        if (chip == nullptr) {
            return {};
        }
        const auto cells = boardsim::cells_of(*board_, *chip);
        return {cells.begin(), cells.end()};
    }
    // What is on the pins of a model's expanders.
    std::vector<int> words(const Model &model, uint32_t bus) {
        std::vector<int> found;
        for (const uint16_t address : model.expanders) {
            const auto registers = cells(at(bus, address));
            found.push_back(registers.empty() ? -1 : registers[0] | registers[1] << 8);
        }
        return found;
    }

private:
    std::unique_ptr<boardsim::Board> board_ = std::make_unique<boardsim::Board>();
};

std::string filled(std::string text) {
    text.append(20 - text.size(), ' ');
    return text;
}

using Disks = BoardTest;

}  // namespace

TEST(Bays, EmptyOnesReadOnesInEveryConnector) {
    for (const Connector &connector : connectors) {
        for (const Model &model : models) {
            SCOPED_TRACE(std::string(model.name) + " at " + connector.name);
            for (const char *none : {"", "disks = []\n"}) {
                Made made(backplane(connector.name, model.name, none));
                EXPECT_EQ(made.words(model, connector.bus),
                          std::vector<int>(model.expanders.size(), 0xFFFF));
                EXPECT_TRUE(made.cells(at(connector.bus, 0x25)).empty());
            }
        }
    }
}

TEST(Bays, EachShowsItsKind) {
    const std::pair<const char *, uint32_t> kinds[] = {
        {"nvme", 1}, {"sas", 0}, {"sata", 0}, {"unknown", 2}};
    for (const Model &model : models) {
        for (uint32_t bay = 1; bay <= model.bays; ++bay) {
            for (const auto &[kind, field] : kinds) {
                SCOPED_TRACE(std::string(model.name) + " bay " + std::to_string(bay) + " " + kind);
                Made made(backplane("F I2C 2", model.name) + disk(bay, kind));
                std::vector<int> expected(model.expanders.size(), 0xFFFF);
                expected[(bay - 1) / 8] &= ~static_cast<int>((field ^ 3) << (2 * ((bay - 1) % 8)));
                EXPECT_EQ(made.words(model, 8), expected);
            }
        }
    }
}

TEST_F(Disks, ExpandersThatAreSilentOrFloat) {
    board(backplane("F I2C 2", "BPFF", "silent_expanders = [0x22]\nfloating_expanders = [0x29]\n") +
          disk(1, "sas") + disk(9, "sas") + disk(17, "sas"));
    EXPECT_EQ(word_at(at(8, 0x29)), 0xFFFF);
    EXPECT_EQ(word_at(at(8, 0x22)), -1);
    EXPECT_EQ(word_at(at(8, 0x23)), 0xFFFC);
}

TEST(Bays, OnlyNvmeDisksOnALaneHaveAnEndpoint) {
    for (const Model &model : models) {
        for (const char *kind : {"nvme", "sas", "unknown"}) {
            std::string text = backplane("R I2C 7", model.name);
            for (uint32_t bay = 1; bay <= model.bays; ++bay) {
                text += disk(bay, kind);
            }
            Made made(text);
            std::vector<std::string> expected(16), found;
            for (uint32_t bay = 1; bay <= model.bays; ++bay) {
                const int channel = model.channels[bay - 1];
                if (kind == std::string("nvme") && channel >= 0) {
                    expected[static_cast<size_t>(channel)] =
                        filled("R I2C 7 bay " + std::to_string(bay));
                }
            }
            for (int channel = 0; channel < 16; ++channel) {
                const auto cells = made.cells(endpoint(5, channel));
                found.push_back(cells.empty() ? ""
                                              : std::string(cells.begin() + 11, cells.end() - 1));
            }
            EXPECT_EQ(found, expected) << model.name << " of " << kind;
        }
    }
}

// ---- what an endpoint answers ----

TEST_F(Disks, AHealthyDisk) {
    board(backplane("F I2C 1", "BPFA") + disk(3, "nvme"));
    const I2cChipRoute route = endpoint(7, 2);
    std::vector<uint8_t> status = sealed(0, {6, 0xBB, 0xFF, 30, 0, 0, 0});
    EXPECT_EQ(block(route, 0, 8), status);
    const std::vector<uint8_t> identity = sealed(8, {22, 0x1D, 0x0F}, "F I2C 1 bay 3       ");
    EXPECT_EQ(block(route, 8, 24), identity);
    status.insert(status.end(), identity.begin(), identity.end());
    EXPECT_EQ(block(route, 0, 32), status);
}

TEST_F(Disks, SaysWhatItsKeysSay) {
    board(backplane("R I2C 5", "BPRB") +
          disk(2, "nvme",
               "status = 0x53\nsmart = 0xFA\ntemperature = -60\nwear = 255\nvendor = 0x144D\n"
               "serial = \"01234567890123456789\"\n"));
    const I2cChipRoute route = endpoint(4, 1);
    EXPECT_EQ(block(route, 0, 8), sealed(0, {6, 0x53, 0xFA, 0xC4, 255, 0, 0}));
    EXPECT_EQ(block(route, 8, 24), sealed(8, {22, 0x14, 0x4D}, "01234567890123456789"));
}

TEST_F(Disks, GarbledAndSilentEndpoints) {
    board(backplane("F I2C 1", "BPFA") + disk(1, "nvme", "wrong_pec = true\n") +
          disk(2, "nvme", "answers = false\n"));
    for (const auto &[first, size] : {std::pair{0u, 7u}, std::pair{8u, 23u}}) {
        const auto data = block(endpoint(7, 0), first, size);
        const auto garbled = block(endpoint(7, 0), first, size + 1);
        ASSERT_EQ(garbled.size(), size + 1);
        EXPECT_NE(garbled.back(), pec(0x72, static_cast<uint8_t>(first), data));
    }
    EXPECT_TRUE(block(endpoint(7, 1), 0, 8).empty());
    EXPECT_EQ(word_at(at(7, 0x21)), 0xFFF5);  // both are there all the same
}

// ---- the library's routes, followed ----

namespace {

struct Place {
    const char *connector;
    const char *model;
    uint32_t before_first;  // the slot number before the first bay's
};
void PrintTo(const Place &place, std::ostream *out) {
    *out << place.model << " at " << place.connector;
}
class Followed : public BoardTest, public testing::WithParamInterface<Place> {};

TEST_P(Followed, EveryRouteLeadsToTheDiskOfItsSlot) {
    const Place &place = GetParam();
    const Model &model = *std::find_if(models.begin(), models.end(), [&](const Model &each) {
        return each.name == std::string(place.model);
    });
    std::string text = backplane(place.connector, place.model);
    for (uint32_t bay = 1; bay <= model.bays; ++bay) {
        text += disk(bay, "nvme");
    }
    board(text);
    int routes = 0;
    for (uint32_t slot = 0; slot <= 200; ++slot) {
        NvmeRoute route = {};
        // A model is known by its slot numbers on every connector that it fits.
        if (hdd_get_nvme_i2c_info(slot, &route) != 0 || route.bus != bus_of(place.connector)) {
            continue;
        }
        ++routes;
        const auto serial = block(at(route.bus, static_cast<uint16_t>(route.disk_address),
                                     route.mux_address, route.mux_channel),
                                  11, 20);
        EXPECT_EQ(std::string(serial.begin(), serial.end()),
                  filled(std::string(place.connector) + " bay " +
                         std::to_string(slot - place.before_first)))
            << "slot " << slot;
    }
    EXPECT_EQ(routes, std::count_if(model.channels.begin(), model.channels.end(),
                                    [](int channel) { return channel >= 0; }));
}

// On the rear backplanes the routes count from the first number of the run.
INSTANTIATE_TEST_SUITE_P(Backplanes, Followed,
                         testing::Values(Place{"F I2C 1", "BPFA", 0}, Place{"F I2C 2", "BPFA", 8},
                                         Place{"F I2C 3", "BPFA", 16}, Place{"F I2C 2", "BPFB", 0},
                                         Place{"F I2C 2", "BPFC", 0}, Place{"F I2C 3", "BPFC", 24},
                                         Place{"F I2C 2", "BPFG", 0}, Place{"F I2C 3", "BPFG", 24},
                                         Place{"F I2C 2", "BPFD", 0}, Place{"F I2C 2", "BPFE", 0},
                                         Place{"F I2C 2", "BPFF", 0}, Place{"R I2C 4", "BPRA", 49},
                                         Place{"R I2C 8", "BPRA", 59}, Place{"R I2C 5", "BPRB", 51},
                                         Place{"R I2C 7", "BPRB", 55}),
                         [](const auto &place) {
                             std::string name =
                                 std::string(place.param.model) + "_at_" + place.param.connector;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

}  // namespace

// ---- what is refused ----

namespace {

struct Wrong {
    std::string text;
    const char *message;
};
void PrintTo(const Wrong &wrong, std::ostream *out) { *out << wrong.message; }
std::string in_front(const std::string &model, const std::string &more) {
    return "[[backplane]]\nconnector = \"F I2C 1\"\nmodel = \"" + model + "\"\n" + more;
}

class WrongDisks : public testing::TestWithParam<Wrong> {};

TEST_P(WrongDisks, AreRefusedWithLineAndKey) {
    const auto board = std::make_unique<boardsim::Board>();
    std::string message = "it was taken";
    try {
        boardsim::read_board(GetParam().text, "x.toml", *board);
    } catch (const boardsim::Error &error) {
        message = error.what();
    }
    EXPECT_THAT(message, testing::StartsWith(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    All, WrongDisks,
    testing::Values(
        Wrong{in_front("BPFA", "disks = 8"), "x.toml:4: backplane.disks: is not a list of tables"},
        Wrong{in_front("BPFA", "disks = [{ kind = \"sas\" }]"),
              "x.toml:4: backplane.disks.bay: is missing"},
        Wrong{in_front("BPFA", "disks = [{ bay = 0, kind = \"sas\" }]"),
              "x.toml:4: backplane.disks.bay: 0x0 is out of range, 0x1 to 0x8"},
        Wrong{in_front("BPFE", "disks = [{ bay = 25, kind = \"sas\" }]"),
              "x.toml:4: backplane.disks.bay: 0x19 is out of range, 0x1 to 0x18"},
        Wrong{in_front("BPFD", "disks = [{ bay = 26, kind = \"sas\" }]"),
              "x.toml:4: backplane.disks.bay: 0x1A is out of range, 0x1 to 0x19"},
        Wrong{in_front("BPFA", "disks = [{ bay = 1 }]"),
              "x.toml:4: backplane.disks.kind: is missing"},
        Wrong{in_front("BPFA", "disks = [{ bay = 1, kind = \"nvm\" }]"),
              "x.toml:4: backplane.disks.kind: there is no kind \"nvm\"; there are nvme, sas, "
              "sata, unknown"},
        Wrong{in_front("BPFA",
                       "disks = [\n{ bay = 2, kind = \"sas\" },\n{ bay = 2, kind = \"sata\" }]"),
              "x.toml:6: backplane.disks.bay: F I2C 1 bay 2 already holds a disk"},
        Wrong{in_front("BPFA", "disks = [{ bay = 1, kind = \"sas\", size = 3 }]"),
              "x.toml:4: backplane.disks.size: unknown key"},
        Wrong{in_front("BPFA", "disks = [{ bay = 1, kind = \"sas\", wear = 3 }]"),
              "x.toml:4: backplane.disks.wear: only an nvme disk has a management endpoint"},
        Wrong{in_front("BPFD", "disks = [{ bay = 1, kind = \"nvme\", wear = 3 }]"),
              "x.toml:4: backplane.disks.wear: F I2C 1 bay 1 has no NVMe management"},
        Wrong{in_front("BPFA", "disks = [{ bay = 1, kind = \"nvme\", temperature = -61 }]"),
              "x.toml:4: backplane.disks.temperature: -61 is out of range"},
        Wrong{in_front("BPFA", "disks = [{ bay = 1, kind = \"nvme\", temperature = 128 }]"),
              "x.toml:4: backplane.disks.temperature: 0x80 is out of range"},
        Wrong{in_front("BPFA", "disks = [{ bay = 1, kind = \"nvme\", wear = 256 }]"),
              "x.toml:4: backplane.disks.wear: 0x100 is out of range"},
        Wrong{in_front("BPFA", "disks = [{ bay = 1, kind = \"nvme\", smart = 256 }]"),
              "x.toml:4: backplane.disks.smart: 0x100 is out of range"},
        Wrong{in_front("BPFA", "disks = [{ bay = 1, kind = \"nvme\", status = 256 }]"),
              "x.toml:4: backplane.disks.status: 0x100 is out of range"},
        Wrong{in_front("BPFA", "disks = [{ bay = 1, kind = \"nvme\", vendor = 0x10000 }]"),
              "x.toml:4: backplane.disks.vendor: 0x10000 is out of range"},
        Wrong{
            in_front("BPFA",
                     "disks = [{ bay = 1, kind = \"nvme\", serial = \"012345678901234567890\" }]"),
            "x.toml:4: backplane.disks.serial: is longer than 20 characters"},
        Wrong{in_front("BPFF", "silent_expanders = [0x21]"),
              "x.toml:4: backplane.silent_expanders: the backplane has no expander 0x21"},
        Wrong{in_front("BPFA", "floating_expanders = [0]"),
              "x.toml:4: backplane.floating_expanders: the backplane has no expander 0x00"},
        Wrong{in_front("BPFA", "silent_expanders = 0x21"),
              "x.toml:4: backplane.silent_expanders: is not a list of bytes"},
        Wrong{in_front("BPRE", "disks = []"), "x.toml:4: backplane.disks: unknown key"},
        Wrong{in_front("BPFA", "[[chip]]\nat = \"7:0x21\"\nkind = \"pca9535\"\n"),
              "x.toml:4: chip: a chip at 7:0x21 is already fitted by x.toml:1"}));

}  // namespace
