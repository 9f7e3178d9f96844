// FRU data of a board: the image that is made of the fields, and where programs find it.
#include <memory>
#include <numeric>

#include "board_file.h"
#include "board_test.h"
#include "boardfeatures/fru.h"

using boardsim::Error;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

using Fru = BoardTest;

std::vector<uint8_t> first(std::vector<uint8_t> bytes, size_t count) {
    bytes.resize(count);
    return bytes;
}

TEST_F(Fru, IsLaidOutAsIpmiDoes) {
    board(R"(
[[fru]]
position = "sas"
board.manufacturer = "VEL"
board.manufactured = "2024-05-17 08:30"
)");
    EXPECT_THAT(first(sim().cells("11:0x51"), 25),
                ElementsAre(0x01, 0, 0, 0x01, 0, 0, 0, 0xFE,        // header: board at 8
                            0x01, 0x02, 0, 0x7E, 0xBB, 0xE3,        // length 16, English, date
                            0xC3, 'V', 'E', 'L', 0, 0, 0, 0, 0xC1,  // fields and their end
                            0x76, 0xFF));                           // checksum, erased cell
    EXPECT_EQ(sim().cells("11:0x51").size(), 256u);
}

TEST_F(Fru, AllAreasAndCustomFields) {
    board(R"(
[[fru]]
position = "pcie6"
chassis.type = 0x11
chassis.part = "P"
board.custom = ["one", "two"]
product.product = "Card"
product.asset_tag = "rack 7"
size = 512
)");
    const std::vector<uint8_t> bytes = sim().cells("5:0x70.1:0x53");
    EXPECT_EQ(bytes.size(), 512u);
    EXPECT_THAT(first(bytes, 8), ElementsAre(0x01, 0, 1, 3, 6, 0, 0, 0xF5));
    // A single character is padded: its type and length would be the end of the fields.
    EXPECT_THAT(std::vector(bytes.begin() + 8, bytes.begin() + 16),
                ElementsAre(0x01, 2, 0x11, 0xC2, 'P', ' ', 0, 0xC1));
    const std::string text(bytes.begin(), bytes.end());
    EXPECT_THAT(text, HasSubstr("\xC3one\xC3two\xC1"));
    EXPECT_THAT(text, HasSubstr("\xC6rack 7"));
}

TEST_F(Fru, ChecksumsCanBeWrong) {
    board(R"(
[[fru]]
position = "sas"
checksum = false
board.product = "x"
product.product = "y"
product.checksum = false
)");
    const std::vector<uint8_t> bytes = sim().cells("11:0x51");
    const auto sum = [&](size_t from, size_t size) {
        return std::accumulate(bytes.begin() + static_cast<long>(from),
                               bytes.begin() + static_cast<long>(from + size), 0u) &
               0xFF;
    };
    EXPECT_EQ(sum(0, 8), 1u);
    EXPECT_EQ(sum(bytes[3] * 8u, bytes[bytes[3] * 8u + 1] * 8u), 0u);
    EXPECT_EQ(sum(bytes[4] * 8u, bytes[bytes[4] * 8u + 1] * 8u), 1u);
}

TEST_F(Fru, IsReadAndWrittenThroughTheLibrary) {
    board(R"(
[[card]]
position = "sas"
[[fru]]
position = "sas"
bytes = [1, 2, 3]
[[fru]]
position = "pcie6"  # no card there
)");
    uint8_t bytes[4] = {};
    EXPECT_EQ(FruRead(1, 0, bytes, 4), 4);
    EXPECT_THAT(bytes, ElementsAre(1, 2, 3, 0xFF));
    EXPECT_EQ(FruWrite(1, 254, bytes, 2), 2);
    EXPECT_LT(FruWrite(1, 255, bytes, 2), 0) << "beyond its end";
    EXPECT_EQ(sim().cells("11:0x51")[255], 2);
    EXPECT_EQ(FruRead(28, 0, bytes, 4), -1);
}

TEST_F(Fru, TheMainBoardsIsAFile) {
    board(R"(
[[fru]]
position = "mainboard"
bytes = [9, 8]
[dimms]
fitted = ["DIMM1A1", "DIMM2H2"]
)");
    const std::vector<boardsim::BoardFile> files = sim().files();
    ASSERT_EQ(files.size(), 2u);
    EXPECT_EQ(files[0].path, "/resvz/firmware/FRU/FRU.BIN");
    EXPECT_EQ(files[0].bytes.size(), 4096u);
    EXPECT_THAT(first(files[0].bytes, 3), ElementsAre(9, 8, 0xFF));
    EXPECT_EQ(files[1].path, "/var/host_dimms");
    EXPECT_EQ(std::string(files[1].bytes.begin(), files[1].bytes.end()), "1\n32\n");
}

TEST_F(Fru, ASilentMainBoardHasNoFile) {
    board("[[fru]]\nposition = \"mainboard\"\nanswers = false\n");
    EXPECT_TRUE(sim().files().empty());
}

// ---- what a board file may not say ----

std::string refusal(std::string_view text) {
    const auto made = std::make_unique<boardsim::Board>();
    try {
        boardsim::read_board(text, "x.toml", *made);
        return "it was taken";
    } catch (const Error &error) {
        return error.what();
    }
}

TEST(FruSection, Rules) {
    const std::pair<const char *, const char *> wrong[] = {
        {"[[fru]]\n", "x.toml:1: fru.position: is missing"},
        {"[[fru]]\nposition = \"ocp\"",
         "x.toml:2: fru.position: there is no FRU data of \"ocp\"; there are mainboard, sas, "},
        {"[[fru]]\nposition = \"sas\"\n[[fru]]\nposition = \"sas\"",
         "x.toml:3: fru: a chip at 11:0x51 is already fitted by x.toml:1"},
        {"[[fru]]\nposition = \"sas\"\nsize = 7", "x.toml:3: fru.size: 0x7 is out of range"},
        {"[[fru]]\nposition = \"sas\"\nbytes = [1]\nboard.product = \"x\"",
         "x.toml:4: fru.board: cannot stand beside bytes"},
        {"[[fru]]\nposition = \"sas\"\nsize = 8\nboard.product = \"x\"",
         "x.toml:1: fru: holds 24 bytes, more than the 8 of the EEPROM"},
        {"[[fru]]\nposition = \"sas\"\nboard.colour = \"x\"",
         "x.toml:3: fru.board.colour: unknown key"},
        {"[[fru]]\nposition = \"sas\"\nboard.custom = \"x\"",
         "x.toml:3: fru.board.custom: is not a list of texts"},
        {"[[fru]]\nposition = \"sas\"\nboard.serial = "
         "\"0123456789012345678901234567890123456789012345678901234567890123\"",
         "x.toml:3: fru.board.serial: is longer than 63 characters"},
        {"[[fru]]\nposition = \"sas\"\nboard.manufactured = \"2024-02-30 08:30\"",
         "x.toml:3: fru.board.manufactured: is no time as \"2024-05-17 08:30\""},
        {"[[fru]]\nposition = \"sas\"\nboard.manufactured = \"2024-05-17 08:30x\"",
         "x.toml:3: fru.board.manufactured: is longer than 16 characters"},
        {"[[fru]]\nposition = \"sas\"\nboard.manufactured = \"2024-05-17\"",
         "x.toml:3: fru.board.manufactured: is no time"},
        {"[[fru]]\nposition = \"sas\"\nboard.manufactured = \"2027-11-24 20:16\"",
         "x.toml:3: fru.board.manufactured: is out of range"},
        {"[[fru]]\nposition = \"sas\"\nboard.manufactured = \"1996-01-01 00:00\"",
         "x.toml:3: fru.board.manufactured: is out of range"},
        {"[dimms]\nfitted = [\"DIMM3A1\"]",
         "x.toml:2: dimms.fitted: there is no socket \"DIMM3A1\"; there are DIMM1A1 to DIMM2H2"},
        {"[dimms]\nfitted = [\"DIMM1I1\"]", "x.toml:2: dimms.fitted: there is no socket"},
        {"[[regulator]]\ncpu = 3\naddress = 4", "x.toml:2: regulator.cpu: 0x3 is out of range"},
        {"[[regulator]]\ncpu = 1\naddress = 4", "x.toml:1: regulator.revisions: is not a list"},
        {"[[regulator]]\ncpu = 1\naddress = 4\nrevisions = []",
         "x.toml:4: regulator.revisions: is not a list of one byte a page"},
        {"[[chip]]\nat = \"1:0x20\"\nkind = \"regulator\"",
         "x.toml:3: chip.kind: there is no kind \"regulator\""},
        {"[[chip]]\nat = \"1:0x20\"\nkind = \"pier\"",
         "x.toml:3: chip.kind: there is no kind \"pier\""},
        {"[[pier]]\nslot = 11", "x.toml:2: pier.slot: 0xB is out of range, 0x1 to 0xA"},
        {"[[pier]]\nslot = 1\nerror = 1", "x.toml:3: pier.error: 0x1 is out of range, 0x2 to 0xFF"},
        {"[[pier]]\nslot = 1\nnever = true\ntext = \"x\"",
         "x.toml:3: pier.never: leaves nothing to answer"},
        {"[[pier]]\nslot = 1\nbytes = [1]\ntext = \"x\"",
         "x.toml:4: pier.text: cannot stand beside bytes"},
        {"[[pier]]\nslot = 1\nreplies = [{ text = \"x\" }]",
         "x.toml:3: pier.replies.command: is not a list of three bytes"},
        {"[[pier]]\nslot = 1\nreplies = [{ command = [1, 2], text = \"x\" }]",
         "x.toml:3: pier.replies.command: is not a list of three bytes"},
        {"[[pier]]\nslot = 1\nreplies = [{ command = [1, 2, 3] }, { command = [1, 2, 3] }]",
         "x.toml:3: pier.replies.command: has a reply already"},
        {"[[pier]]\nslot = 1\nreplies = [{ command = [1, 2, 3], colour = 1 }]",
         "x.toml:3: pier.replies.colour: unknown key"},
    };
    for (const auto &[text, message] : wrong) {
        EXPECT_THAT(refusal(text), StartsWith(message));
    }
}

}  // namespace
