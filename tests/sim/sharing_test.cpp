// One board, many processes.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <functional>
#include <thread>
#include <vector>

#include "board_test.h"

using boardsim::Call;
using boardsim::Error;
using boardsim::Simulator;
using testing::HasSubstr;
using testing::Not;

namespace {

using Sharing = BoardTest;

constexpr const char *one_expander = R"(
[[chip]]
at = "3:0x22"
kind = "pca9535"
output = 0
)";
const I2cChipRoute expander = at(3, 0x22);

pid_t start(const std::function<void()> &work) {
    const pid_t child = fork();
    if (child == 0) {
        work();
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    return child;
}
int end_of(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

struct Pipe {
    std::array<int, 2> ends = {};
    Pipe() { EXPECT_EQ(pipe(ends.data()), 0); }
    ~Pipe() {
        close(ends[0]);
        close(ends[1]);
    }
    void tell() const { EXPECT_EQ(write(ends[1], "x", 1), 1); }
    bool told_within(int milliseconds) const {
        pollfd wait = {ends[0], POLLIN, 0};
        char byte = 0;
        return poll(&wait, 1, milliseconds) == 1 && read(ends[0], &byte, 1) == 1;
    }
};

TEST_F(Sharing, WhatOneProcessWritesAnotherReads) {
    board(one_expander);
    const pid_t child = start([] {
        EXPECT_EQ(epldio_write(0x40, 0x1234), 0);
        EXPECT_EQ(pca9535_gpio_word_set_value(&expander, 0xFFFF, 0x5678), 0);
    });
    EXPECT_EQ(end_of(child), 0);
    EXPECT_EQ(epld_at(0x40), 0x1234);
    uint32_t word = 0;
    EXPECT_EQ(pca9535_gpio_word_get_output_value(&expander, 0xFFFF, &word), 0);
    EXPECT_EQ(word, 0x5678u);
    EXPECT_EQ(sim().calls(Call::epldio_write).made, 1u);
}

TEST_F(Sharing, AProcessThatAlreadyWorksSeesAnothersWrite) {
    board("");
    EXPECT_EQ(epld_at(0x40), 0);
    EXPECT_EQ(end_of(start([] { EXPECT_EQ(epldio_write(0x40, 7), 0); })), 0);
    EXPECT_EQ(epld_at(0x40), 7);
    sim().set_epld(0x40, 8);
    EXPECT_EQ(epld_at(0x40), 8);
}

constexpr uint32_t workers = 4;
constexpr uint32_t rounds = 200;

// Each worker flips pins of its own; a read and write that is not one would lose another's.
void flip_pins(uint32_t worker) {
    const uint32_t mask = 0xFu << (4 * worker);
    for (uint32_t round = 0; round < rounds; ++round) {
        EXPECT_EQ(pca9535_gpio_word_set_value(&expander, mask, round << (4 * worker)), 0);
        uint32_t word = 0;
        EXPECT_EQ(pca9535_gpio_word_get_output_value(&expander, mask, &word), 0);
        EXPECT_EQ(word, round << (4 * worker) & mask);
    }
}

TEST_F(Sharing, ConcurrentProcessesLoseNothing) {
    board(one_expander);
    std::vector<pid_t> children;
    for (uint32_t worker = 0; worker < workers; ++worker) {
        children.push_back(start([worker] { flip_pins(worker); }));
    }
    for (const pid_t child : children) {
        EXPECT_EQ(end_of(child), 0);
    }
    EXPECT_EQ(sim().calls(Call::pca9535_gpio_word_set_value).made, workers * rounds);
    EXPECT_EQ(bus(3).transfers, 3 * workers * rounds);
    EXPECT_EQ(sim().expander("3:0x22").output, 0x7777);  // the last round's low digit
}

TEST_F(Sharing, ConcurrentThreadsLoseNothing) {
    board(one_expander);
    std::vector<std::thread> threads;
    for (uint32_t worker = 0; worker < workers; ++worker) {
        threads.emplace_back(flip_pins, worker);
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(sim().calls(Call::pca9535_gpio_word_set_value).made, workers * rounds);
    EXPECT_EQ(sim().expander("3:0x22").output, 0x7777);
}

TEST_F(Sharing, TheLockHoldsOthersOffAndEndsWithItsHolder) {
    board("");
    EXPECT_EQ(epld_at(0), 0);
    const Pipe held;
    const Pipe passed;
    const pid_t holder = start([&] {
        Simulator mine(state_file);
        mine.shared().lock();
        held.tell();
        pause();
    });
    ASSERT_TRUE(held.told_within(20'000));
    const pid_t waiter = start([&] {
        EXPECT_EQ(epldio_write(0x40, 9), 0);
        passed.tell();
    });
    EXPECT_FALSE(passed.told_within(200));
    kill(holder, SIGKILL);
    EXPECT_TRUE(passed.told_within(20'000));
    EXPECT_EQ(end_of(waiter), 0);
    EXPECT_EQ(end_of(holder), SIGKILL);
    EXPECT_EQ(epld_at(0x40), 9);
}

TEST_F(Sharing, AChildOfTheKilledHolderDoesNotKeepTheLock) {
    board("");
    const Pipe held;
    const Pipe over;
    const pid_t holder = start([&] {
        EXPECT_EQ(epld_at(0), 0);
        Simulator mine(state_file);
        EXPECT_EQ(mine.epld(0), 0);
        if (fork() == 0) {
            over.told_within(20'000);
            _exit(0);
        }
        mine.shared().lock();
        held.tell();
        pause();
    });
    ASSERT_TRUE(held.told_within(20'000));
    kill(holder, SIGKILL);
    end_of(holder);
    alarm(20);
    EXPECT_EQ(epld_at(0), 0);
    alarm(0);
    over.tell();
}

TEST_F(Sharing, AForkedChildLocksForItself) {
    board(one_expander);
    EXPECT_EQ(epld_at(0), 0);  // the lock's file is open before the fork
    const pid_t child = start([] { flip_pins(0); });
    flip_pins(1);
    EXPECT_EQ(end_of(child), 0);
    EXPECT_EQ(sim().expander("3:0x22").output, 0x0077);
}

TEST_F(Sharing, AForkWhileThreadsWorkLeavesAWorkingChild) {
    board(one_expander);
    std::thread thread([] { flip_pins(0); });
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(end_of(start([] {
                      alarm(20);
                      EXPECT_EQ(epld_at(0), 0);
                  })),
                  0);
    }
    thread.join();
}

TEST_F(Sharing, ADaemonMayCloseAllItsFiles) {
    board("");
    EXPECT_EQ(epld_at(0), 0);
    for (int file = 3; file < 64; ++file) {
        close(file);
    }
    std::vector<int> others;
    for (int i = 0; i < 16; ++i) {
        others.push_back(open("/var/other", O_RDWR | O_CREAT, 0600));
    }
    EXPECT_EQ(epldio_write(0x40, 5), 0);
    EXPECT_EQ(epld_at(0x40), 5);
    for (const int file : others) {
        EXPECT_EQ(close(file), 0);  // none of them was taken for the lock and closed
    }
}

std::string maps_of_this_process() {
    std::ifstream file("/proc/self/maps");
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(Sharing, TheFileIsNotTouchedBeforeTheFirstCall) {
    boardsim::make_state_from_text("", state_file);
    setenv("BOARDSIM_STATE", state_file, 1);
    EXPECT_THAT(maps_of_this_process(), Not(HasSubstr("board.state")));
    EXPECT_EQ(epld_at(0), 0);
    EXPECT_THAT(maps_of_this_process(), HasSubstr("board.state"));
}

// ---- state files that cannot be used ----

void expect_unusable(const std::string &message) {
    setenv("BOARDSIM_STATE", "/var/board.state", 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(epld_at(0), -1);
    EXPECT_EQ(epldio_write(0, 1), -1);
    EXPECT_EQ(select_sleep(1, 0), -1);
    char text[4] = {};
    EXPECT_EQ(memcpy_s(text, 4, "abc", 4), 0);  // what needs no board goes on
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, testing::StartsWith("boardsim: /var/board.state: " + message));
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1);
    EXPECT_THROW(Simulator("/var/board.state"), Error);
}

void write_file(const std::string &text) { std::ofstream("/var/board.state") << text; }

TEST(StateFile, Missing) { expect_unusable("cannot be opened: No such file or directory"); }

TEST(StateFile, TooShort) {
    write_file("BOARDSIM");
    expect_unusable("is not a board state of this version");
}

TEST(StateFile, OfSomethingElse) {
    write_file(std::string(sizeof(boardsim::State), 'x'));
    expect_unusable("is not a board state of this version");
}

TEST(StateFile, OfAnotherVersion) {
    boardsim::make_state_from_text("", "/var/board.state");
    const int file = open("/var/board.state", O_RDWR);
    const uint32_t version = boardsim::state_version + 1;
    EXPECT_EQ(pwrite(file, &version, sizeof(version), 8), 4);
    close(file);
    expect_unusable("is not a board state of this version");
}

TEST(StateFile, CannotBeWritten) {
    EXPECT_THROW(boardsim::make_state_from_text("", "/var/no/board.state"), Error);
}

// ---- no board ----

TEST(DefaultBoard, IsTheTwelveBayMachineOfThisProcessAlone) {
    unsetenv("BOARDSIM_STATE");
    EXPECT_EQ(word_at(at(13, 0x26)), 0x8808);  // 0x5440, PCB 1, odd parity
    EXPECT_EQ(word_at(at(8, 0x20)), 0x8B68);   // 0x545B, PCB 1
    EXPECT_EQ(epldio_write(0x40, 7), 0);
    EXPECT_EQ(end_of(start([] {
                  EXPECT_EQ(epld_at(0x40), 7);
                  EXPECT_EQ(epldio_write(0x40, 8), 0);
              })),
              0);
    EXPECT_EQ(epld_at(0x40), 7);
}

}  // namespace
