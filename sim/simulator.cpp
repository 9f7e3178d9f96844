#include "simulator.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <system_error>

#include "access.h"
#include "board_file.h"
#include "chips.h"
#include "flash.h"
#include "scu.h"

namespace boardsim {

namespace {

std::unique_ptr<State> new_state(std::string_view text, const std::string &file_name) {
    auto state = std::make_unique<State>();
    read_board(text, file_name, state->board);
    std::memcpy(state->header.magic, state_magic, sizeof(state_magic));
    state->header.version = state_version;
    state->header.size = sizeof(State);
    state->header.source_hash = hash_of(text);
    state->header.loaded = 1;
    return state;
}

Route needed_route(std::string_view text) {
    const auto route = parse_route(text);
    if (!route) {
        throw Error(std::string(text) + ": is no route");
    }
    return *route;
}

ChipRecord &needed_chip(Board &board, std::string_view route) {
    ChipRecord *chip = find_chip(board, needed_route(route));
    if (chip == nullptr) {
        throw Error(std::string(route) + ": no chip is there");
    }
    return *chip;
}

uint32_t checked(uint32_t index, uint32_t count, const char *what) {
    if (index >= count) {
        throw Error(std::string(what) + ' ' + std::to_string(index) + ": is not on a board");
    }
    return index;
}

MemoryWord &needed_word(Board &board, uint32_t physical) {
    for (uint32_t i = 0; i < board.memory_count; ++i) {
        if (board.memory[i].address == physical) {
            return board.memory[i];
        }
    }
    throw Error("physical register " + std::to_string(physical) + ": is not on the board");
}

uint16_t pair(std::span<const uint8_t> cells, uint32_t first) {
    return static_cast<uint16_t>(cells[first] | cells[first + 1] << 8);
}

}  // namespace

std::string read_text_file(const std::string &path) {
    FILE *file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        throw Error(path + ": " + std::generic_category().message(errno));
    }
    std::string text;
    char part[4096];
    size_t length = 0;
    while ((length = std::fread(part, 1, sizeof(part), file)) > 0) {
        text.append(part, length);
    }
    const bool failed = std::ferror(file) != 0;
    const int code = errno;
    std::fclose(file);
    if (failed) {
        throw Error(path + ": " + std::generic_category().message(code));
    }
    return text;
}

void make_state(const std::string &board_file, const std::string &state_file) {
    write_state_file(*new_state(read_text_file(board_file), board_file), state_file);
}

void make_state_from_text(std::string_view board, const std::string &state_file) {
    write_state_file(*new_state(board, "board"), state_file);
}

std::string Simulator::board_name() {
    return locked([](State &state) { return std::string(state.board.name); });
}
uint64_t Simulator::source_hash() {
    return locked([](State &state) { return state.header.source_hash; });
}

std::vector<BoardFile> Simulator::files() {
    return locked([](State &state) {
        std::vector<BoardFile> found;
        // The BMC's programs make this one when they reset the EPLD and remove it afterwards.
        if (state.board.epld_in_reset != 0) {
            found.push_back({"/var/epldresetflag", {}});
        }
        const ChipRecord *fru = find_chip(state.board, needed_route(fru_main_board_route));
        if (fru != nullptr && fru->answers != 0) {
            const auto cells = cells_of(state.board, *fru);
            found.push_back({"/resvz/firmware/FRU/FRU.BIN", {cells.begin(), cells.end()}});
        }
        // What the host firmware has told of its memory: a socket a line, by its number.
        std::string sockets;
        for (uint32_t socket = 0; socket < 32; ++socket) {
            if ((state.board.dimms >> socket & 1) != 0) {
                sockets += std::to_string(socket + 1) + '\n';
            }
        }
        if (!sockets.empty()) {
            found.push_back({"/var/host_dimms", {sockets.begin(), sockets.end()}});
        }
        return found;
    });
}
uint16_t Simulator::epld(uint32_t reg) {
    return locked([&](State &state) {
        return state.board.epld[checked(reg, epld_registers, "EPLD register")];
    });
}
void Simulator::set_epld(uint32_t reg, uint16_t value) {
    locked([&](State &state) {
        state.board.epld[checked(reg, epld_registers, "EPLD register")] = value;
    });
}
void Simulator::set_gpio(uint32_t line, bool level) {
    locked([&](State &state) {
        state.board.gpio[checked(line, gpio_lines, "GPIO line")] = level ? 1 : 0;
    });
}
void Simulator::set_fan(uint32_t tachometer, uint32_t rpm, bool answers) {
    locked([&](State &state) {
        state.board.fans[checked(tachometer, fan_tachometers, "tachometer")] = {answers ? 1u : 0u,
                                                                                rpm};
    });
}
uint32_t Simulator::memory(uint32_t physical) {
    return locked([&](State &state) { return needed_word(state.board, physical).value; });
}
void Simulator::set_memory(uint32_t physical, uint32_t value) {
    locked([&](State &state) { needed_word(state.board, physical).value = value; });
}

bool Simulator::write_memory_file(const std::string &path) {
    return locked([&](State &state) { return scu_write_file(state.board, path); });
}

ExpanderPins Simulator::expander(std::string_view route) {
    return locked([&](State &state) {
        const auto cells = cells_of(state.board, needed_chip(state.board, route));
        if (cells.size() != pca9535_model.default_size) {
            throw Error(std::string(route) + ": is no expander");
        }
        return ExpanderPins{pair(cells, input_port), pair(cells, output_port),
                            pair(cells, config_port)};
    });
}
void Simulator::set_expander_input(std::string_view route, uint16_t input) {
    set_cells(route, input_port, {static_cast<uint8_t>(input), static_cast<uint8_t>(input >> 8)});
}
std::vector<uint8_t> Simulator::cells(std::string_view route) {
    return locked([&](State &state) {
        const auto cells = cells_of(state.board, needed_chip(state.board, route));
        return std::vector<uint8_t>(cells.begin(), cells.end());
    });
}
void Simulator::set_cells(std::string_view route, uint32_t offset,
                          const std::vector<uint8_t> &bytes) {
    locked([&](State &state) {
        const auto cells = cells_of(state.board, needed_chip(state.board, route));
        if (offset > cells.size() || bytes.size() > cells.size() - offset) {
            throw Error(std::string(route) + ": the chip is smaller");
        }
        std::copy(bytes.begin(), bytes.end(), cells.subspan(offset).begin());
    });
}
void Simulator::set_answers(std::string_view route, bool answers) {
    locked([&](State &state) { needed_chip(state.board, route).answers = answers ? 1 : 0; });
}
void Simulator::add_chip(std::string_view route, std::string_view kind) {
    locked([&](State &state) {
        const Route at = needed_route(route);
        const auto model = find_model(kind);
        if (!model) {
            throw Error(std::string(kind) + ": is no kind of chip");
        }
        if (find_chip(state.board, at) != nullptr) {
            throw Error(std::string(route) + ": a chip is already there");
        }
        boardsim::add_chip(state.board, at, *model, default_size(*model), kind);
    });
}

std::vector<uint8_t> Simulator::flash_page(uint32_t page) {
    return locked([&](State &state) {
        const auto cells =
            boardsim::flash_page(state.board, checked(page, flash_pages, "flash page"));
        return std::vector<uint8_t>(cells.begin(), cells.end());
    });
}
void Simulator::set_flash_page(uint32_t page, const std::vector<uint8_t> &bytes) {
    locked([&](State &state) {
        const auto cells =
            boardsim::flash_page(state.board, checked(page, flash_pages, "flash page"));
        if (bytes.size() > cells.size()) {
            throw Error("flash page " + std::to_string(page) + ": holds 16 bytes");
        }
        std::copy(bytes.begin(), bytes.end(), cells.begin());
    });
}
void Simulator::change_flash(const std::function<void(FlashRecord &)> &change) {
    locked([&](State &state) { change(state.board.flash); });
}

void Simulator::set_real_time(bool real) {
    locked([&](State &state) { state.board.real_time = real ? 1 : 0; });
}

void Simulator::add_fault(const std::string &text, Origin origin) {
    const FaultRecord fault = parse_fault_text(text, origin);
    locked([&](State &state) {
        if (!put_fault(state.board, fault)) {
            throw Error("the board has no room for another fault");
        }
    });
}
void Simulator::remove_faults(Origin origin) {
    locked([&](State &state) { boardsim::remove_faults(state.board, origin); });
}
uint64_t Simulator::faults_fired() {
    return locked([](State &state) {
        uint64_t fired = 0;
        for (const FaultRecord &fault : state.board.faults) {
            fired += fault.fired;
        }
        return fired;
    });
}

CallAccount Simulator::calls(Call call) {
    return locked([&](State &state) { return state.accounts.calls[index_of(call)]; });
}
Accounts Simulator::accounts() {
    return locked([](State &state) { return state.accounts; });
}

}  // namespace boardsim
