// What a question about one disk reads on each shipped board, in order, and where it stops.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <numeric>
#include <string>

#include "boardfeatures/storage.h"
#include "boardplatform/platform.h"
#include "simulator.h"

namespace {

std::string reads;  // "3 3 3:21": bus, and the address when it is no identifier's

}  // namespace

// Stands in front of the simulated platform's.
extern "C" int ei2c_pca9535_get_word_value(const I2cChipRoute *route, uint32_t mask,
                                           uint32_t *value) {
    using Function = int(const I2cChipRoute *, uint32_t, uint32_t *);
    static auto *const next =
        reinterpret_cast<Function *>(dlsym(RTLD_NEXT, "ei2c_pca9535_get_word_value"));
    char text[32];
    std::snprintf(text, sizeof(text), "%s%u", reads.empty() ? "" : " ", route->bus);
    reads += text;
    if (route->address != 0x20) {
        std::snprintf(text, sizeof(text), ":%x", route->address);
        reads += text;
    }
    return next(route, mask, value);
}

namespace {

struct Question {
    const char *board;
    uint32_t slot;
    int32_t answer;
    const char *reads;
};
void PrintTo(const Question &question, std::ostream *out) {
    *out << question.board << " slot " << question.slot;
}

class OnBoard : public testing::TestWithParam<Question> {
protected:
    static constexpr const char *state_file = "/var/board.state";
};

TEST_P(OnBoard, ReadsWhatItMustAndStops) {
    const Question &question = GetParam();
    boardsim::make_state(std::string(BOARDS_DIR) + '/' + question.board + ".toml", state_file);
    setenv("BOARDSIM_STATE", state_file, 1);
    testing::internal::CaptureStdout();  // failed reads are printed
    EXPECT_EQ(GetDiskOnlineStatus(question.slot), question.answer);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(reads, question.reads);
    // and nothing of another kind
    const auto accounts = boardsim::Simulator(state_file).accounts();
    const uint64_t made = std::accumulate(
        std::begin(accounts.calls), std::end(accounts.calls), uint64_t{0},
        [](uint64_t sum, const boardsim::CallAccount &call) { return sum + call.made; });
    const std::string all = reads;
    EXPECT_EQ(made, all.empty()
                        ? 0u
                        : 1u + static_cast<uint64_t>(std::count(all.begin(), all.end(), ' ')));
}

// For the connectors on buses 3 to 9 an identifier read to see whether something is fitted, for
// what is fitted a second to see what, then the expanders of a backplane that takes the slot.
// Risers and backplanes that do not take the slot cost the two identifier reads.
const Question questions[] = {
    {"empty", 1, -1, "3 4 5 6 7 8 9"},
    {"empty", 200, -1, "3 4 5 6 7 8 9"},
    {"empty", 201, -1, ""},

    // rear backplanes on 3 and 6, risers on 4 and 5, twelve bays on 8
    {"tarn-12bay", 1, 0, "3 3 4 4 5 5 6 6 7 8 8 8:21 8:22"},
    {"tarn-12bay", 10, 0, "3 3 4 4 5 5 6 6 7 8 8 8:21 8:22"},
    {"tarn-12bay", 7, -1, "3 3 4 4 5 5 6 6 7 8 8 8:21 8:22 9"},
    {"tarn-12bay", 13, -1, "3 3 4 4 5 5 6 6 7 8 8 9"},
    {"tarn-12bay", 25, -1, "3 3 4 4 5 5 6 6 7 8 8 9:21 9"},  // nobody there: 9:22 is not read
    {"tarn-12bay", 50, 0, "3 3 3:21"},
    // each rear backplane knows the other's slots
    {"tarn-12bay", 51, -1, "3 3 3:21 4 4 5 5 6 6 3:21 7 8 8 9"},
    {"tarn-12bay", 61, -1, "3 3 6:21 4 4 5 5 6 6 6:21 7 8 8 9"},
    {"tarn-12bay", 200, -1, "3 3 4 4 5 5 6 6 7 8 8 9"},
    {"tarn-12bay", 201, -1, ""},

    // risers on 4 and 5, 24 bays on 8
    {"tarn-24bay-fell", 2, 0, "3 4 4 5 5 6 7 8 8 8:21 8:22 8:23"},
    {"tarn-24bay-fell", 13, -1, "3 4 4 5 5 6 7 8 8 8:21 8:22 8:23 9"},
    {"tarn-24bay-fell", 25, 0, "3 4 4 5 5 6 7 8 8 8:21 8:22 8:23"},  // behind no expander
    {"tarn-24bay-fell", 26, -1, "3 4 4 5 5 6 7 8 8 9"},

    // rear backplanes on 4, 5 and 6, 25 bays on 8
    {"tarn-25bay", 1, 0, "3 4 4 5 5 6 6 7 8 8 8:21 8:22 8:23 8:24"},
    {"tarn-25bay", 13, -1, "3 4 4 5 5 6 6 7 8 8 8:21 8:22 8:23 8:24 9"},
    {"tarn-25bay", 53, 0, "3 4 4 4:21"},
    {"tarn-25bay", 57, 0, "3 4 4 5:21"},  // the first of the model knows the other's slots
    {"tarn-25bay", 58, -1, "3 4 4 5:21 5 5 5:21 6 6 7 8 8 9"},
    {"tarn-25bay", 61, 0, "3 4 4 5 5 6 6 6:21"},
    {"tarn-25bay", 101, -1, "3 4 4 5 5 6 6 7 8 8 9"},

    // risers on 3 to 6, eight bays each on 7, 8 and 9; the middle backplane on 10 is never asked
    {"tarn-maximal", 1, 0, "3 3 4 4 5 5 6 6 7 7 7:21"},
    {"tarn-maximal", 9, 0, "3 3 4 4 5 5 6 6 7 7 8:21"},
    {"tarn-maximal", 24, 0, "3 3 4 4 5 5 6 6 7 7 9:21"},
    {"tarn-maximal", 25, -1, "3 3 4 4 5 5 6 6 7 7 8 8 9 9"},
    {"tarn-maximal", 99, -1, "3 3 4 4 5 5 6 6 7 7 8 8 9 9"},
    {"tarn-maximal", 200, -1, "3 3 4 4 5 5 6 6 7 7 8 8 9 9"},

    // risers, and eight bays on each of up to three front connectors
    {"tarn-24nvme", 24, 0, "3 4 4 5 5 6 7 7 9:21"},
    {"tarn-24nvme", 25, -1, "3 4 4 5 5 6 7 7 8 8 9 9"},
    {"tarn-retimer", 9, 0, "3 4 4 5 5 6 7 7 8:21"},
    {"tarn-retimer", 7, -1, "3 4 4 5 5 6 7 7 7:21 8 8 7:21 9"},
    {"tarn-miscabled", 16, -1, "3 3 4 4 5 5 6 7 7 8:21 8 8 8:21 9"},
    {"tarn-liquid", 8, 0, "3 4 5 5 6 7 7 7:21"},

    // a silent expander on 5, a floating one on 9
    {"broken-backplanes", 1, 0, "3 4 5 5 6 7 7 7:21"},
    {"broken-backplanes", 4, 0, "3 4 5 5 6 7 7 7:21"},
    {"broken-backplanes", 6, -1, "3 4 5 5 6 7 7 7:21 8 9 9 7:21"},
    {"broken-backplanes", 9, -1, "3 4 5 5 6 7 7 8:21 8 9 9 8:21"},
    {"broken-backplanes", 17, -1, "3 4 5 5 6 7 7 9:21 8 9 9 9:21"},
    {"broken-backplanes", 57, -1, "3 4 5 5 5:21 6 7 7 8 9 9"},

    // identifiers that are not believed, and a rear backplane on 6 without its expander
    {"broken-identifiers", 1, -1, "3 4 5 6 6 7 8 9"},
    {"broken-identifiers", 61, -1, "3 4 5 6 6 6:21 7 8 9"},
};

INSTANTIATE_TEST_SUITE_P(Shipped, OnBoard, testing::ValuesIn(questions), [](const auto &question) {
    std::string name =
        std::string(question.param.board) + "_slot_" + std::to_string(question.param.slot);
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

}  // namespace
