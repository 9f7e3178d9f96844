// A board's state: one fixed layout that every process maps, on every machine the same.
//
// Fields have fixed widths and no pointers, so that a 32-bit ARM program and a native one share a
// board. A change of the layout changes the version.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>

#include "calls.h"
#include "route.h"

namespace boardsim {

// What a user is told: a board file or a state file that cannot be used.
struct Error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// ---- the board ----

constexpr uint32_t epld_registers = 0x1000;
constexpr uint32_t gpio_lines = 256;
constexpr uint32_t fan_tachometers = 16;
constexpr uint32_t most_chips = 384;
constexpr uint32_t chip_pool_size = 512 * 1024;
constexpr uint32_t most_memory_words = 256;
constexpr uint32_t most_faults = 64;

// A chip on a route; its registers or cells are `size` bytes of the pool. Two with the same bytes
// are one chip that is reached in two ways.
struct ChipRecord {
    Route route;
    uint32_t model;  // index in the list of chip models
    uint32_t answers;
    uint32_t data;
    uint32_t size;
    char name[32];
};
static_assert(sizeof(ChipRecord) == 64);

struct FanRecord {
    uint32_t answers;
    uint32_t rpm;
};
static_assert(sizeof(FanRecord) == 8);

struct MemoryWord {
    uint32_t address;
    uint32_t value;
};
static_assert(sizeof(MemoryWord) == 8);

// What a fault looks at.
enum class Target : uint32_t { any, epld, gpio, fan, memory, chip, chip_offset };
constexpr uint32_t any_call = 0xFFFFFFFF;
enum class Origin : uint32_t { unused, board_file, command_line, program };

struct FaultRecord {
    uint32_t origin;  // Origin; unused marks a free record
    uint32_t call;    // index of a Call, or any_call
    uint32_t target;  // Target
    uint32_t number;  // register, line, fan, physical address, or offset in the chip
    Route route;
    uint32_t nth;  // only the n-th access that matches, from 1; 0 = every
    uint32_t fails;
    int32_t result;  // of an access that fails
    uint32_t has_value;
    uint32_t value;  // read in place of the real one
    uint32_t flips;  // bits of it that are read inverted
    uint32_t delay_us;
    uint32_t reserved;
    uint64_t seen;   // accesses that matched
    uint64_t fired;  // accesses that it changed
};
static_assert(sizeof(FaultRecord) == 80 && alignof(FaultRecord) == 8);
static_assert(offsetof(FaultRecord, seen) == 64);

constexpr uint32_t flash_pages = 2046;
constexpr uint32_t flash_page_size = 16;

// How the flash's ownership bit answers: as written, always set (the other side holds it and shows
// it), or never (the other side does not let go).
enum class Ownership : uint32_t { free, stuck, refused };

// The EPLD's user flash. Its registers are the EPLD's.
struct FlashRecord {
    uint32_t ownership;        // Ownership
    uint32_t never_completes;  // commands work but do not report it
    uint32_t erase_fails;      // an erase changes nothing
    uint32_t write_fails;      // this page + 1 cannot be written; 0 = none
    uint32_t misreads;         // this page + 1 reads back wrong; 0 = none
    uint32_t erase_us;
    uint32_t write_us;
    uint32_t read_us;
    uint32_t done_bits;  // of the last command
    uint32_t reserved;
    uint64_t done_at_us;  // on the clock of slept_us
    uint8_t cells[flash_pages * flash_page_size];
};
static_assert(sizeof(FlashRecord) == 48 + 2046 * 16 && alignof(FlashRecord) == 8);

struct Board {
    char name[64];
    uint32_t bus_clock_hz;
    uint32_t real_time;
    uint32_t has_back_panel_id;
    uint32_t back_panel_id;
    uint32_t epld_in_reset;  // programs find the file that says so
    uint32_t dimms;          // fitted ones, the first socket in bit 0; likewise
    uint16_t epld[epld_registers];
    uint8_t gpio[gpio_lines];
    FanRecord fans[fan_tachometers];
    uint32_t memory_count;
    uint32_t chip_count;
    uint32_t pool_used;
    uint32_t fault_count;  // records in use; read without the lock
    MemoryWord memory[most_memory_words];
    ChipRecord chips[most_chips];
    FaultRecord faults[most_faults];
    FlashRecord flash;
    uint8_t pool[chip_pool_size];
};
static_assert(offsetof(Board, epld) == 88 && offsetof(Board, memory) == 8680);
static_assert(offsetof(Board, faults) == 8680 + 2048 + 384 * 64);
static_assert(sizeof(Board) ==
              8680 + 2048 + 384 * 64 + 64 * 80 + sizeof(FlashRecord) + chip_pool_size);

// ---- what happened ----

constexpr uint32_t call_slots = 96;
constexpr uint32_t account_buses = 64;  // buses from 63 up share the last row
static_assert(call_count <= call_slots);

struct CallAccount {
    uint64_t made;
    uint64_t failed;
};

struct BusAccount {
    uint64_t transfers;
    uint64_t bytes;  // data bytes
    uint64_t clocks;
    uint64_t nanoseconds;
    uint64_t calls[call_slots];
};

struct Accounts {
    CallAccount calls[call_slots];
    BusAccount buses[account_buses];
    uint64_t slept_us;
    uint64_t delayed_us;
};
static_assert(sizeof(Accounts) == 96 * 16 + 64 * (32 + 96 * 8) + 16);

struct Header {
    char magic[8];
    uint32_t version;
    uint32_t size;
    uint64_t source_hash;  // of the board file's text
    uint64_t loaded;
};
static_assert(sizeof(Header) == 32);

struct State {
    Header header;
    Accounts accounts;
    Board board;
};
static_assert(sizeof(State) == sizeof(Header) + sizeof(Accounts) + sizeof(Board));

constexpr char state_magic[8] = {'B', 'O', 'A', 'R', 'D', 'S', 'I', 'M'};
constexpr uint32_t state_version = 4;

uint64_t hash_of(std::string_view text);

// ---- sharing it ----

// A mapped state and its lock. The lock is the file's own (flock), so that the kernel frees it when
// a holder is killed; threads of one process are kept apart by a mutex in front of it.
class SharedState {
public:
    // Maps an existing state file; throws Error.
    explicit SharedState(const std::string &path);
    // A state of this process alone, all zero.
    SharedState();
    ~SharedState();
    SharedState(const SharedState &) = delete;
    SharedState &operator=(const SharedState &) = delete;

    State &state() { return *state_; }

    void lock();
    void unlock();

    // Around a fork: the child opens a lock of its own.
    static void before_fork();
    static void after_fork_in_parent();
    static void after_fork_in_child();

private:
    void enlist();
    bool lock_file_is_open() const;
    void open_lock_file();

    State *state_ = nullptr;
    std::string path_;  // empty: this process's own
    std::mutex mutex_;
    int file_ = -1;
    dev_t device_ = 0;
    ino_t inode_ = 0;
    SharedState *next_ = nullptr;
};

using StateLock = std::lock_guard<SharedState>;

// Writes a whole state file; what was there under that name stays until the new one is complete.
void write_state_file(const State &state, const std::string &path);

// ---- the state that the contract's functions of this process work on ----

// BOARDSIM_STATE names the file; without it the state is this process's own. Null, with a message
// on standard error the first time, when the file cannot be used.
SharedState *process_state();

}  // namespace boardsim
