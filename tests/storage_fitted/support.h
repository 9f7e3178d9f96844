// What the tests about fitted backplanes share.
#pragma once

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "boardfeatures/storage.h"
#include "support/backplane_rules.h"
#include "support/scripted_platform.h"

inline constexpr uint8_t untouched = 0xA5;

inline void write_file(const char *path, const std::string &text) {
    std::ofstream file(path);
    file << text;
    ASSERT_TRUE(file.good()) << path;
}

template <typename Call>
std::string printed(Call call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

// Runs a body with the library's caches as they are now, and leaves them so.
template <typename Body>
void in_child(Body body) {
    std::fflush(stdout);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        body();
        std::fflush(stdout);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
}

// The accesses of the hardware, without the configuration files'.
inline std::vector<std::string> reads() { return scripted::platform().calls_of("ei2c_"); }

class Random {
public:
    explicit Random(uint32_t seed) : state_(seed * 2654435761u + 12345) {}
    uint32_t below(uint32_t limit) {
        state_ = state_ * 1664525u + 1013904223u;
        return (state_ >> 8) % limit;
    }

private:
    uint32_t state_;
};

// A backplane of any model, an unknown one or one without a driver; 0 for none.
inline uint32_t any_board(Random &random) {
    const uint32_t pick = random.below(15);
    if (pick < rules::models().size()) {
        return rules::models()[pick].board_id;
    }
    return pick == 10 ? 21592 : pick == 11 ? 21600 : 0;
}
inline void refit(uint32_t card, uint32_t board_id) {
    if (board_id == 0) {
        rules::unfit(card);
    } else {
        rules::fit(card, board_id);
    }
}
