// The whole chain on every shipped board, against lists that were worked out by hand from the
// board's tables and the cables in the board file: expected/BOARD.txt.
//
//   item      an identified slot or bay: NAME | CPU LANE xWIDTH | VPP | where it comes from
//   uplink    INTERFACE.UPLINK | the socket that feeds it, or why it is unbound
//   trouble   what is said beside a success, all of it and in order
//   accesses  to chips, of one identification
#include <dirent.h>
#include <gmock/gmock.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdarg>
#include <fstream>
#include <memory>

#include "boardfeatures/pcieid_enum.h"
#include "boardplatform/platform.h"
#include "simulator.h"
#include "support/pcieid_lines.h"
#include "support/pcieid_said.h"

using boardsim::Call;
using testing::ElementsAreArray;

namespace {

std::vector<std::string> &warnings() {
    static std::vector<std::string> all;
    return all;
}

// The library warns of these as well.
bool is_success(const std::string &text) {
    for (const char *part :
         {"set GPO (to downstream)", "get GPO (from upstream)", "get GPI (from HW)",
          "inreg_val = ", " | CPU-", "Found Backplane Device"}) {
        if (text.find(part) != std::string::npos && text.find("failed") == std::string::npos) {
            return true;
        }
    }
    return false;
}

}  // namespace

// In front of the platform's own.
extern "C" void _ssp_warn(uint32_t module, const char *file, const char *function, int line,
                          const char *format, ...) {
    char text[1024];
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof(text), format, values);
    va_end(values);
    const std::string said = said_of({"warn", module, file, function, line, text});
    if (!is_success(said)) {
        warnings().push_back(squeezed(said));
    }
}

namespace {

struct Expected {
    std::vector<std::string> items, uplinks, trouble;
    uint64_t accesses = 0;
};

Expected read_expected(const std::string &board) {
    Expected expected;
    std::ifstream file(std::string(EXPECTED_DIR "/") + board + ".txt");
    EXPECT_TRUE(file.is_open()) << board;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string what, rest;
        words >> what;
        std::getline(words, rest);
        rest = squeezed(rest);
        if (what == "item") {
            expected.items.push_back(rest);
        } else if (what == "uplink") {
            expected.uplinks.push_back(rest);
        } else if (what == "trouble") {
            expected.trouble.push_back("warn " + rest);
        } else if (what == "accesses") {
            expected.accesses = std::stoul(rest);
        } else {
            EXPECT_TRUE(what.empty() || what[0] == '#') << line;
        }
    }
    return expected;
}

std::vector<std::string> files_in(const char *path, const std::string &ending) {
    std::vector<std::string> names;
    DIR *folder = opendir(path);
    // The emulator hands on inode numbers of 64 bits.
    while (const dirent64 *entry = readdir64(folder)) {
        const std::string name = entry->d_name;
        if (name.ends_with(ending)) {
            names.push_back(name.substr(0, name.size() - ending.size()));
        }
    }
    closedir(folder);
    std::sort(names.begin(), names.end());
    return names;
}

class Shipped : public testing::TestWithParam<std::string> {
protected:
    Shipped() {
        const char *state = "/var/board.state";
        boardsim::make_state(BOARDS_DIR "/" + GetParam() + ".toml", state);
        setenv("BOARDSIM_STATE", state, 1);
        simulator = std::make_unique<boardsim::Simulator>(state);
    }

    uint64_t accesses() {
        uint64_t made = 0;
        for (const Call call :
             {Call::ei2c_pca9535_get_word_value, Call::pca9535_gpio_word_get_value,
              Call::pca9535_gpio_word_get_output_value, Call::pca9535_gpio_word_set_value,
              Call::pca9535_gpio_word_direction_output}) {
            made += simulator->calls(call).made;
        }
        return made;
    }

    std::unique_ptr<boardsim::Simulator> simulator;
    std::unique_ptr<pcieid_workspace> work = std::make_unique<pcieid_workspace>();
};

TEST_P(Shipped, YieldsItsList) {
    const Expected expected = read_expected(GetParam());
    const auto cfg = std::make_unique<pciecfg_list>();
    EXPECT_EQ(pcieid_identify(work.get(), cfg.get()), 0);
    EXPECT_THAT(item_lines(*work, *cfg), ElementsAreArray(expected.items));
    EXPECT_THAT(uplink_lines(*work), ElementsAreArray(expected.uplinks));
    EXPECT_THAT(warnings(), ElementsAreArray(expected.trouble));
    EXPECT_EQ(accesses(), expected.accesses);
    // nothing else was asked
    uint64_t all = 0;
    for (const boardsim::BusAccount &bus : simulator->accounts().buses) {
        for (const uint64_t made : bus.calls) {
            all += made;
        }
    }
    EXPECT_EQ(all, expected.accesses);
    EXPECT_EQ(simulator->calls(Call::epldio_read).made, 0u);
    EXPECT_EQ(simulator->calls(Call::select_sleep).made, 0u);
}

// What is stored is what the next identification finds, with a new process's eyes.
TEST_P(Shipped, StoresItsListOnce) {
    ASSERT_EQ(pcieid_identify_and_store(work.get()), 0);
    EXPECT_EQ(work->stored, 1u);
    const auto stored = std::make_unique<pciecfg_list>();
    EXPECT_EQ(pciecfg_data_parser(stored.get()), 0);
    EXPECT_EQ(pciecfg_compare(&work->identified, stored.get()), 0);
    EXPECT_EQ(pcieid_identify_and_store(work.get()), 0);
    EXPECT_EQ(work->stored, 0u);
}

INSTANTIATE_TEST_SUITE_P(Boards, Shipped, testing::ValuesIn(files_in(BOARDS_DIR, ".toml")),
                         [](const auto &board) {
                             std::string name = board.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

}  // namespace
