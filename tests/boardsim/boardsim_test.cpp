#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "simulator.h"

namespace fs = std::filesystem;
using boardsim::Simulator;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

struct Result {
    int status;
    std::string output;
    std::string errors;
};

std::string file_text(const std::string &path) {
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

const std::string emulator = EMULATOR;

// A native boardsim when the tests are native, else one under the emulator as well.
const std::string boardsim_command =
    (emulator.empty() ? "" : emulator + " ") + std::string(BOARDSIM_PROGRAM);
const std::string emulated = emulator.empty() ? "" : " --emulator '" + emulator + "'";

Result shell(const std::string &command) {
    const int status =
        std::system(("{ " + command + "; } >/var/output 2>/var/errors </dev/null").c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), file_text("/var/output"),
            file_text("/var/errors")};
}

std::string board_path(const std::string &name) {
    return std::string(BOARDS_DIR) + '/' + name + ".toml";
}

// boardsim with the probe inside.
Result probe(const std::string &options, const std::string &commands,
             const std::string &board = board_path("tarn-12bay")) {
    return shell(boardsim_command + ' ' + board + ' ' + options + emulated + " -- " + BOARD_PROBE +
                 ' ' + commands);
}
// boardsim with a command of the machine itself.
Result native(const std::string &options, const std::string &command) {
    return shell(boardsim_command + ' ' + board_path("tarn-12bay") + ' ' + options + " -- " +
                 command);
}

void write_file(const std::string &path, const std::string &text) { std::ofstream(path) << text; }

class Boardsim : public testing::Test {
protected:
    // Inside the test's own sandbox, so that nothing stays on the machine.
    void SetUp() override { setenv("TMPDIR", "/var", 1); }
};

TEST_F(Boardsim, ProgramSeesTheBoardOfTheFile) {
    const Result twelve = probe("", "word 13 0x26 word 8 0x20 read 0x8C");
    EXPECT_EQ(twelve.status, 0) << twelve.errors;
    EXPECT_EQ(twelve.output, "0 0x8808\n0 0x8B68\n0 0x0003\n");
    EXPECT_EQ(twelve.errors, "");
    const Result empty = probe("", "word 13 0x26 word 8 0x20 read 0x8C", board_path("empty"));
    EXPECT_EQ(empty.output, "0 0x8808\n-1 0x0000\n0 0x0000\n");
}

TEST_F(Boardsim, AnEditedFileChangesTheAnswer) {
    write_file("/var/mine.toml", "[mainboard]\nboard = 0x5440\n");
    EXPECT_EQ(probe("", "word 13 0x26", "/var/mine.toml").output, "0 0x0800\n");
    write_file("/var/mine.toml", "[mainboard]\nboard = 0x5441\n");
    EXPECT_EQ(probe("", "word 13 0x26", "/var/mine.toml").output, "0 0x8820\n");
}

TEST_F(Boardsim, ExitStatusIsTheProgramsOwn) {
    EXPECT_EQ(probe("", "exit 7").status, 7);
    EXPECT_EQ(probe("", "exit 0").status, 0);
    EXPECT_EQ(native("", "sh -c 'kill -9 $$'").status, 128 + SIGKILL);
}

TEST_F(Boardsim, ArgumentsAndStandardInputArePassedAsTheyAre) {
    EXPECT_EQ(native("", "printf '%s|' 'a b' '' '--state' '*'").output, "a b||--state|*|");
    EXPECT_EQ(shell("echo in | " + boardsim_command + ' ' + board_path("empty") + " -- cat").output,
              "in\n");
}

// ---- the BMC's places ----

TEST_F(Boardsim, PlacesArePrivateAndGoneAfterwards) {
    write_file("/conf/outside", "x");
    const Result inside =
        native("",
               "sh -c 'ls /conf /var /resvz /extlog; for d in conf var resvz extlog; do "
               "echo mine >/$d/file && cat /$d/file; done; ls /proc | grep -c \"^[0-9]\" | "
               "xargs test 10 -gt; echo $?'");
    EXPECT_EQ(inside.status, 0) << inside.errors;
    EXPECT_THAT(inside.output, HasSubstr("mine\nmine\nmine\nmine\n0\n"));
    EXPECT_THAT(inside.output, Not(HasSubstr("outside")));
    EXPECT_FALSE(fs::exists("/conf/file"));
    for (const auto &entry : fs::directory_iterator("/var")) {
        EXPECT_THAT(entry.path().filename().string(), Not(StartsWith("boardsim"))) << "left behind";
    }
}

TEST_F(Boardsim, SystemVKeysAndNetworkArePrivate) {
    const Result inside = native("",
                                 "sh -c 'ipcs -m | grep -c 0x; ls /sys/class/net 2>/dev/null; "
                                 "cat /proc/net/dev | tail -n +3 | cut -d: -f1'");
    EXPECT_THAT(inside.output, HasSubstr("0\n"));
    EXPECT_THAT(inside.output, HasSubstr("lo"));
    EXPECT_THAT(file_text("/proc/net/dev"), HasSubstr("lo"));
}

TEST_F(Boardsim, StateFolderKeepsPlacesAndBoard) {
    const Result first = probe("--state /var/kept", "write 0x40 0x1234 read 0x40");
    EXPECT_EQ(first.output, "0\n0 0x1234\n") << first.errors;
    EXPECT_EQ(native("--state /var/kept", "sh -c 'echo note >/conf/note'").status, 0);
    EXPECT_EQ(file_text("/var/kept/conf/note"), "note\n");
    const Result second = probe("--state /var/kept", "read 0x40");
    EXPECT_EQ(second.output, "0 0x1234\n");
    EXPECT_EQ(Simulator("/var/kept/board.state").epld(0x40), 0x1234);
    EXPECT_EQ(probe("", "read 0x40").output, "0 0x0000\n");
}

TEST_F(Boardsim, AChangedBoardFileMakesTheBoardAnewAndKeepsThePlaces) {
    write_file("/var/mine.toml", "[epld.registers]\n0x40 = 1\n");
    EXPECT_EQ(probe("--state /var/kept", "write 0x40 2", "/var/mine.toml").output, "0\n");
    write_file("/var/kept/conf/note", "x");
    EXPECT_EQ(probe("--state /var/kept", "read 0x40", "/var/mine.toml").output, "0 0x0002\n");
    write_file("/var/mine.toml", "[epld.registers]\n0x40 = 3\n");
    EXPECT_EQ(probe("--state /var/kept", "read 0x40", "/var/mine.toml").output, "0 0x0003\n");
    EXPECT_TRUE(fs::exists("/var/kept/conf/note"));
}

TEST_F(Boardsim, SeveralProcessesInsideSeeOneBoard) {
    const std::string run = emulator + ' ' + BOARD_PROBE;
    const Result both =
        native("", "sh -c '" + run + " write 0x40 7 & wait; " + run + " read 0x40'");
    EXPECT_EQ(both.output, "0\n0 0x0007\n") << both.errors;
}

// ---- faults, accounts, time, diagnostics ----

TEST_F(Boardsim, FaultsOfTheCommandLine) {
    const Result faulted = probe(
        "--fault access=epldio_read,nth=2,result=-5 "
        "--faults card=bpfa_2 --fault register=0x10,value=0xABCD",
        "read 0x40 read 0x40 read 0x40 word 8 0x20 read 0x10");
    EXPECT_EQ(faulted.output, "0 0x0000\n-5 0x0000\n0 0x0000\n-1 0x0000\n0 0xABCD\n");
}

TEST_F(Boardsim, FaultsOfAnEarlierRunAreOver) {
    EXPECT_EQ(probe("--state /var/kept --fault register=0x40", "read 0x40").output, "-1 0x0000\n");
    EXPECT_EQ(probe("--state /var/kept", "read 0x40").output, "0 0x0000\n");
}

TEST_F(Boardsim, AccountOfThisRun) {
    EXPECT_EQ(probe("--state /var/kept", "read 0 read 0").errors, "");
    const Result run = probe("--state /var/kept --account --fault register=0x10,delay_us=500000",
                             "word 13 0x26 word 13 0x26 word 8 0x2F read 0x10 sleep 250000");
    EXPECT_THAT(run.errors, HasSubstr("ei2c_pca9535_get_word_value                  3         1"
                                      "  bus 8: 1, bus 13: 2\n"));
    EXPECT_THAT(run.errors,
                HasSubstr("epldio_read                                  1         0\n"));
    EXPECT_THAT(run.errors,
                HasSubstr("select_sleep                                 1         0\n"));
    EXPECT_THAT(run.errors,
                HasSubstr("\n13              2          4           96     0.000960\n"));
    EXPECT_THAT(run.errors,
                HasSubstr("\n8               1          2           11     0.000110\n"));
    EXPECT_THAT(run.errors, HasSubstr("bus time 0.001070 s, sleeps 0.250000 s, delays 0.500000 s"));
    EXPECT_THAT(run.output, Not(HasSubstr("bus")));
}

double seconds_now() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

TEST_F(Boardsim, RealTimeSleeps) {
    const double start = seconds_now();
    EXPECT_EQ(probe("--real-time", "sleep 900000").output, "0\n");
    EXPECT_GE(seconds_now() - start, 0.9);
}

TEST_F(Boardsim, LogLevel) {
    EXPECT_EQ(probe("", "warn debug").errors, "");
    EXPECT_EQ(probe("--log warn", "warn debug").errors, "warn module 56 probe:1 main: warned\n");
    EXPECT_EQ(probe("--log debug", "debug").errors, "debug module 56 probe:2 main: debugged\n");
    EXPECT_EQ(probe("--log loud", "debug").status, 2);
}

// ---- what can be wrong ----

TEST_F(Boardsim, BoardFileNotFound) {
    const Result result = probe("", "exit 0", "/var/none.toml");
    EXPECT_EQ(result.status, 120);
    EXPECT_EQ(result.errors, "boardsim: /var/none.toml: No such file or directory\n");
}

TEST_F(Boardsim, BadBoardFile) {
    write_file("/var/bad.toml", "[mainboard]\nboard = 0x5440\ncolour = \"red\"\n");
    const Result result = probe("", "exit 0", "/var/bad.toml");
    EXPECT_EQ(result.status, 121);
    EXPECT_EQ(result.errors, "boardsim: /var/bad.toml:3: mainboard.colour: unknown key\n");
}

TEST_F(Boardsim, BadFault) {
    const Result result = probe("--fault access=epldio_reed", "exit 0");
    EXPECT_EQ(result.status, 121);
    EXPECT_THAT(result.errors, HasSubstr("there is no platform function \"epldio_reed\""));
}

TEST_F(Boardsim, ProgramNotFound) {
    const Result result = native("", "no-such-program");
    EXPECT_EQ(result.status, 127);
    EXPECT_EQ(result.errors, "boardsim: no-such-program: no such program\n");
    EXPECT_EQ(native("", "/etc/passwd").status, 127);  // a file, but no program
}

TEST_F(Boardsim, BubblewrapMissing) {
    mkdir("/var/bin", 0755);
    const Result result = shell("export PATH=/var/bin; " + boardsim_command + ' ' +
                                board_path("empty") + " -- /bin/true");
    // The emulator is found through PATH, so this is for native tests only.
    if (emulator.empty()) {
        EXPECT_EQ(result.status, 122);
        EXPECT_THAT(result.errors, StartsWith("boardsim: bubblewrap is not installed"));
    }
}

TEST_F(Boardsim, SandboxRefused) {
    mkdir("/var/bin", 0755);
    write_file("/var/bin/bwrap",
               "#!/bin/sh\necho 'bwrap: No permissions to create new namespace' >&2\nexit 1\n");
    chmod("/var/bin/bwrap", 0755);
    const Result result = shell("PATH=/var/bin:$PATH; " + boardsim_command + ' ' +
                                board_path("empty") + " -- /bin/true");
    EXPECT_EQ(result.status, 123);
    EXPECT_THAT(result.errors, HasSubstr("refuses the sandbox: bwrap: No permissions"));
}

TEST_F(Boardsim, StateThatCannotBeUsed) {
    fs::create_directory("/var/kept");
    write_file("/var/kept/board.state", "something else");
    const Result result = probe("--state /var/kept", "exit 0");
    EXPECT_EQ(result.status, 124);
    EXPECT_THAT(result.errors, HasSubstr("board.state: is not a board state of this version"));
    write_file("/var/file", "x");
    EXPECT_EQ(probe("--state /var/file", "exit 0").status, 124);
}

TEST_F(Boardsim, WrongUse) {
    EXPECT_EQ(shell(boardsim_command).status, 2);
    EXPECT_EQ(shell(boardsim_command + ' ' + board_path("empty")).status, 2);
    EXPECT_EQ(native("--no-such-option", "true").status, 2);
    const Result help = shell(boardsim_command + " --help");
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.output, HasSubstr("a later run goes on with registers"));
    EXPECT_THAT(help.output, HasSubstr("Exit status:"));
}

// ---- a board whose EPLD is being reset ----

TEST_F(Boardsim, ProgramsFindTheFlagOfAnEpldReset) {
    write_file("/var/reset.toml", "[epld]\nin_reset = true\n");
    const auto look = [](const std::string &options, const std::string &command) {
        return shell(boardsim_command + " /var/reset.toml " + options + " -- sh -c '" + command +
                     "; ls /var'")
            .output;
    };
    EXPECT_EQ(look("", "true"), "epldresetflag\n");
    EXPECT_EQ(look("", "rm /var/epldresetflag"), "");
    EXPECT_EQ(native("", "ls /var").output, "host_dimms\n");
    // A board that goes on stays as programs left it.
    EXPECT_EQ(look("--state /var/kept", "true"), "epldresetflag\n");
    EXPECT_EQ(look("--state /var/kept", "rm /var/epldresetflag"), "");
    EXPECT_EQ(look("--state /var/kept", "true"), "");
}

// ---- what a board puts into files ----

TEST_F(Boardsim, ProgramsFindTheMainBoardsFruDataAndTheDimms) {
    write_file("/var/files.toml",
               "[[fru]]\nposition = \"mainboard\"\nsize = 16\nbytes = [0x41, 0x42]\n"
               "[dimms]\nfitted = [\"DIMM1A1\", \"DIMM1B2\"]\n[epld]\nin_reset = true\n");
    const auto look = [](const std::string &options) {
        return shell(boardsim_command + " /var/files.toml " + options +
                     " -- sh -c 'cd /resvz/firmware/FRU; head -c 2 FRU.BIN; wc -c <FRU.BIN; "
                     "printf x | dd of=FRU.BIN conv=notrunc 2>/dev/null; cat /var/host_dimms; "
                     "ls /var'")
            .output;
    };
    const std::string rest = "16\n1\n4\nepldresetflag\nhost_dimms\n";
    EXPECT_EQ(look(""), "AB" + rest);
    // A board that goes on keeps what was written, wherever its folder is.
    EXPECT_EQ(look("--state '/var/kept here'"), "AB" + rest);
    EXPECT_EQ(look("--state '/var/kept here'"), "xB" + rest);
}

// ---- ending ----

TEST_F(Boardsim, ASignalToEndReachesTheProgram) {
    const pid_t child = fork();
    if (child == 0) {
        const std::string command = "exec " + boardsim_command + ' ' + board_path("empty") +
                                    emulated + " -- " + BOARD_PROBE + " hang >/var/output";
        execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char *>(nullptr));
        _exit(1);
    }
    for (int tries = 0; tries < 600 && file_text("/var/output").empty(); ++tries) {
        usleep(50'000);
    }
    EXPECT_EQ(file_text("/var/output"), "hanging\n");
    kill(child, SIGTERM);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 128 + SIGTERM);
    for (const auto &entry : fs::directory_iterator("/var")) {
        EXPECT_THAT(entry.path().filename().string(), Not(StartsWith("boardsim"))) << "left behind";
    }
}

}  // namespace
