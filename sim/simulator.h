// What tests and tools do with a simulated board from outside: make one, look at it, change it,
// break it, and ask what was done to it. All of it throws Error with a text for people.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "state.h"

namespace boardsim {

// Reads a board file and writes the board's state file anew.
void make_state(const std::string &board_file, const std::string &state_file);
void make_state_from_text(std::string_view board, const std::string &state_file);
std::string read_text_file(const std::string &path);

// A file that programs find when they start on the board.
struct BoardFile {
    std::string path;
    std::vector<uint8_t> bytes;
};

struct ExpanderPins {
    uint16_t input;   // what the board puts on the pins
    uint16_t output;  // what the chip would drive
    uint16_t config;  // 1 = the pin is an input
};

// A state file that several processes may be using at the same time.
class Simulator {
public:
    explicit Simulator(const std::string &state_file) : shared_(state_file) {}

    std::string board_name();
    uint64_t source_hash();

    std::vector<BoardFile> files();
    uint16_t epld(uint32_t reg);
    void set_epld(uint32_t reg, uint16_t value);
    void set_gpio(uint32_t line, bool level);
    void set_fan(uint32_t tachometer, uint32_t rpm, bool answers = true);
    uint32_t memory(uint32_t physical);
    void set_memory(uint32_t physical, uint32_t value);
    // Writes the system control unit's registers to a file, each at its physical address: what a
    // program may see as /dev/mem. False, and no file, when the board has none of them.
    bool write_memory_file(const std::string &path);

    // Chips are named by their route, "4:0x70.1:0x22".
    ExpanderPins expander(std::string_view route);
    void set_expander_input(std::string_view route, uint16_t input);
    std::vector<uint8_t> cells(std::string_view route);
    void set_cells(std::string_view route, uint32_t offset, const std::vector<uint8_t> &bytes);
    void set_answers(std::string_view route, bool answers);
    void add_chip(std::string_view route, std::string_view kind);

    // The EPLD's user flash: 16 bytes a page, and what is wrong with it.
    std::vector<uint8_t> flash_page(uint32_t page);
    void set_flash_page(uint32_t page, const std::vector<uint8_t> &bytes);
    void change_flash(const std::function<void(FlashRecord &)> &change);

    void set_real_time(bool real);

    // "access=epldio_read,nth=3,result=-5", as a board file's [[fault]].
    void add_fault(const std::string &text, Origin origin = Origin::program);
    void remove_faults(Origin origin);
    uint64_t faults_fired();

    CallAccount calls(Call call);
    Accounts accounts();  // a copy

    SharedState &shared() { return shared_; }

private:
    template <typename Use>
    auto locked(Use use) {
        const StateLock lock(shared_);
        return use(shared_.state());
    }

    SharedState shared_;
};

}  // namespace boardsim
