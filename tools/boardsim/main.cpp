// boardsim: runs any program inside a simulated BMC.
#include <fmt/format.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "report.h"
#include "sandbox.h"
#include "simulator.h"

namespace fs = std::filesystem;
using boardsim::Error;
using boardsim::Origin;
using boardsim::Simulator;

namespace {

enum Exit {
    exit_usage = 2,
    exit_no_board_file = 120,
    exit_bad_board_file = 121,
    exit_no_bubblewrap = 122,
    exit_sandbox_refused = 123,
    exit_bad_state = 124,
    exit_no_program = 127,
};

constexpr const char *footer = R"(
The program finds /conf, /var, /resvz and /extlog, System V keys, POSIX semaphores, processes and
network of its own; everything else is the machine's. What it reads from the hardware is the board
of the file, which all processes inside share. As /dev/mem they find the SoC's registers as they are
when the program starts, and the main board's FRU data in /resvz/firmware/FRU/FRU.BIN.

Without --state everything is gone when the program ends. With --state DIR the folders are kept in
DIR and the board itself in DIR/board.state: a later run goes on with registers, EEPROMs and GPIOs
as they were left, as long as the board file is the same; after the file is edited the board is
made anew and the folders stay. Remove DIR/board.state to start with a fresh board.

A fault is KEY=VALUE,... as in a board file's [[fault]]: access=FUNCTION of the platform; one target
of chip=ROUTE (with offset=N), card=POSITION, register=N (EPLD), line=N (GPIO), fan=N, physical=N;
nth=N for the n-th such access only; then result=-N (fail, the default: -1), value=N (read this) or
delay_us=N. Example: --fault access=epldio_read,register=0x208,nth=2,result=-5

Exit status: the program's own; 2 wrong use; 120 board file not found; 121 bad board file or fault;
122 bubblewrap missing; 123 sandbox refused; 124 board state cannot be used; 127 program not found;
128 + N when a signal N ended it.)";

struct Options {
    std::string board;
    std::string state;
    std::vector<std::string> faults;
    std::string log;
    std::string emulator;
    bool account = false;
    bool real_time = false;
    std::vector<std::string> program;
};

struct Failure {
    int status;
    std::string text;
};

// A folder that is gone with the run, or the user's own.
class StateFolder {
public:
    explicit StateFolder(const std::string &chosen) : path_(chosen), temporary_(chosen.empty()) {
        if (!temporary_) {
            std::error_code error;
            fs::create_directories(path_, error);
            if (error) {
                throw Failure{exit_bad_state,
                              fmt::format("{}: cannot be made: {}", path_, error.message())};
            }
            return;
        }
        path_ = (fs::temp_directory_path() / "boardsim.XXXXXX").string();
        if (mkdtemp(path_.data()) == nullptr) {
            throw Failure{exit_bad_state, fmt::format("{}: cannot be made", path_)};
        }
    }
    ~StateFolder() {
        if (temporary_) {
            std::error_code error;
            fs::remove_all(path_, error);
        }
    }
    StateFolder(const StateFolder &) = delete;
    StateFolder &operator=(const StateFolder &) = delete;

    std::string board_state() const { return path_ + "/board.state"; }
    std::string physical_memory() const { return path_ + "/board.memory"; }
    std::string file(size_t number) const { return fmt::format("{}/board.file{}", path_, number); }

private:
    std::string path_;
    bool temporary_;
};

std::string read_board_file(const std::string &path) {
    try {
        return boardsim::read_text_file(path);
    } catch (const Error &error) {
        throw Failure{exit_no_board_file, error.what()};
    }
}

// Whether the state there belongs to this board file and can go on.
bool goes_on(const std::string &state, const std::string &board_text) {
    if (!fs::exists(state)) {
        return false;
    }
    try {
        return Simulator(state).source_hash() == boardsim::hash_of(board_text);
    } catch (const Error &error) {
        throw Failure{exit_bad_state, error.what()};
    }
}

// True when the board is made anew.
bool prepare_board(const Options &options, const std::string &state) {
    const std::string text = read_board_file(options.board);
    const bool is_new = !goes_on(state, text);
    if (is_new) {
        try {
            boardsim::make_state(options.board, state);
        } catch (const Error &error) {
            throw Failure{exit_bad_board_file, error.what()};
        }
    }
    Simulator simulator(state);
    simulator.remove_faults(Origin::command_line);
    for (const std::string &fault : options.faults) {
        try {
            simulator.add_fault(fault, Origin::command_line);
        } catch (const Error &error) {
            throw Failure{exit_bad_board_file, error.what()};
        }
    }
    if (options.real_time) {
        simulator.set_real_time(true);
    }
    return is_new;
}

void check_sandbox(const std::string &script) {
    if (!boardsim::program_exists("bwrap")) {
        throw Failure{exit_no_bubblewrap,
                      "bubblewrap is not installed: install the Debian package bubblewrap"};
    }
    if (!boardsim::program_exists(script)) {
        throw Failure{exit_sandbox_refused, fmt::format("{}: is missing", script)};
    }
    const std::string refusal = boardsim::sandbox_refusal(script);
    if (!refusal.empty()) {
        throw Failure{exit_sandbox_refused,
                      fmt::format("this system refuses the sandbox: {}\n"
                                  "boardsim: it needs user namespaces; see sysctl "
                                  "kernel.unprivileged_userns_clone and user.max_user_namespaces",
                                  refusal)};
    }
}

std::vector<std::string> sandboxed(const Options &options, const std::string &script,
                                   const std::string &state, const std::string &memory,
                                   const std::vector<std::string> &files) {
    std::vector<std::string> command = {script, "--board", state};
    for (const std::string &file : files) {
        command.insert(command.end(), {"--file", file});
    }
    if (!memory.empty()) {
        command.insert(command.end(), {"--dev-mem", memory});
    }
    if (!options.state.empty()) {
        command.insert(command.end(), {"--state", options.state});
    }
    command.emplace_back("--");
    const std::vector<std::string> emulator = CLI::detail::split_up(options.emulator);
    command.insert(command.end(), emulator.begin(), emulator.end());
    command.insert(command.end(), options.program.begin(), options.program.end());
    return command;
}

// Each as the sandbox takes it: the path inside and the file outside that holds the bytes.
std::vector<std::string> write_files(const StateFolder &folder,
                                     const std::vector<boardsim::BoardFile> &files) {
    std::vector<std::string> pairs;
    for (const boardsim::BoardFile &file : files) {
        const std::string copy = folder.file(pairs.size());
        std::ofstream out(copy, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char *>(file.bytes.data()),
                  static_cast<std::streamsize>(file.bytes.size()));
        if (!out.flush()) {
            throw Failure{exit_bad_state, fmt::format("{}: cannot be written", copy)};
        }
        pairs.push_back(file.path + '=' + copy);
    }
    return pairs;
}

int run(const Options &options) {
    if (!boardsim::program_exists(options.program.front())) {
        throw Failure{exit_no_program, fmt::format("{}: no such program", options.program.front())};
    }
    const std::string script = boardsim::sandbox_script();
    const StateFolder folder(options.state);
    const std::string state = folder.board_state();
    const bool is_new = prepare_board(options, state);
    check_sandbox(script);
    if (!options.log.empty()) {
        setenv("BOARDSIM_LOG", options.log.c_str(), 1);
    }
    Simulator simulator(state);
    const boardsim::Accounts before = simulator.accounts();
    const std::string memory = folder.physical_memory();
    const bool has_memory = simulator.write_memory_file(memory);
    const std::vector<std::string> files =
        is_new ? write_files(folder, simulator.files()) : std::vector<std::string>();
    const int status = boardsim::run(
        sandboxed(options, script, state, has_memory ? memory : std::string(), files));
    if (options.account) {
        fmt::print(stderr, "{}", boardsim::account_report(before, simulator.accounts()));
    }
    return status;
}

}  // namespace

int main(int argc, char **argv) {
    Options options;
    CLI::App app("Runs a program inside a simulated BMC.", "boardsim");
    app.footer(footer);
    app.option_defaults()->always_capture_default(false);
    app.add_option("board", options.board, "the board file, as boards/tarn-12bay.toml")
        ->type_name("BOARD.toml")
        ->required();
    app.add_option("--state", options.state, "keep the board and the BMC's folders in DIR")
        ->type_name("DIR");
    app.add_option("--fault,--faults", options.faults, "put a fault on the board (may be repeated)")
        ->type_name("SPEC")
        ->allow_extra_args(false);
    app.add_flag("--account", options.account,
                 "print accesses, bus time and sleeps on standard error at the end");
    app.add_flag("--real-time", options.real_time, "sleep when the program sleeps");
    app.add_option("--log", options.log, "diagnostics from this level up (default: error)")
        ->type_name("none|error|warn|info|debug")
        ->check(CLI::IsMember({"none", "error", "warn", "info", "debug"}));
    app.add_option("--emulator", options.emulator,
                   "run a program of another machine through this command, as \"qemu-arm -L DIR\"")
        ->type_name("COMMAND");
    app.add_option("program", options.program, "the program and its arguments, after --")
        ->type_name("PROGRAM ARGS...")
        ->required();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : exit_usage;
    }
    try {
        return run(options);
    } catch (const Failure &failure) {
        fmt::print(stderr, "boardsim: {}\n", failure.text);
        return failure.status;
    } catch (const Error &error) {
        fmt::print(stderr, "boardsim: {}\n", error.what());
        return exit_bad_state;
    } catch (const std::exception &error) {
        fmt::print(stderr, "boardsim: {}\n", error.what());
        return exit_bad_state;
    }
}
