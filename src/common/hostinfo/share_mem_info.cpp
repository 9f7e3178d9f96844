// The video memory strap, what follows from it, and the VGA switch that this board does not have.
#include <fcntl.h>
#include <sys/mman.h>

#include <atomic>
#include <optional>

#include "base/log.h"
#include "base/lookup.h"
#include "base/stream.h"
#include "boardfeatures/soc.h"
#include "main/video_memory_table.h"

namespace {

constexpr char log_source[] = "share_mem_info";

constexpr char physical_memory[] = "/dev/mem";
constexpr off_t control_unit_page = 0x1E6E2000;
constexpr std::size_t page_size = 4096;
constexpr std::size_t strap_word = 28;
constexpr uint32_t video_memory_bits = 0x0C;
constexpr unsigned video_memory_shift = 2;

constexpr uint32_t selection_16mb = 1;
constexpr uint32_t selection_64mb = 3;

constexpr int32_t vga_not_switched = 128;

constexpr uint32_t not_read = ~0u;
std::atomic<uint32_t> known_selection = not_read;

std::optional<uint32_t> read_strap() {
    const bf::Descriptor memory(open(physical_memory, O_RDWR | O_CLOEXEC));
    if (!memory) {
        return std::nullopt;
    }
    void *page = mmap(nullptr, page_size, PROT_READ | PROT_WRITE, MAP_SHARED, memory.get(),
                      control_unit_page);
    if (page == MAP_FAILED) {
        return std::nullopt;
    }
    const uint32_t strap = static_cast<const volatile uint32_t *>(page)[strap_word];
    munmap(page, page_size);
    return strap;
}

}  // namespace

extern "C" {

int32_t GetVGAMemSizeSelection(uint32_t *selection) {
    if (selection == nullptr) {
        return -1;
    }
    uint32_t value = known_selection.load();
    if (value == not_read) {
        const std::optional<uint32_t> strap = read_strap();
        if (!strap) {
            return -1;
        }
        value = (*strap & video_memory_bits) >> video_memory_shift;
        known_selection.store(value);
        IDBG_LINUXAPP_Runtime_DbgOut(
            bf::level_runtime, "[%s:%d][%s %d]VGA memory size selection: %d(3: 64MB, 1: 16MB).",
            log_source, __LINE__, __func__, __LINE__, static_cast<int>(value));
    }
    *selection = value;
    return 0;
}

int32_t GetBmcMemBasePhyAddr(int32_t index, uint32_t *address) {
    uint32_t selection = 0;
    if (index < 0 || address == nullptr || GetVGAMemSizeSelection(&selection) != 0) {
        return -1;
    }
    const auto *row = bf::row_at(bf::board::video_memory_bases, static_cast<uint32_t>(index));
    if (row == nullptr) {
        return -1;
    }
    switch (selection) {
        case selection_16mb:
            return bf::copy_row(&row->with_16mb, address);
        case selection_64mb:
            return bf::copy_row(&row->with_64mb, address);
        default:
            return -1;
    }
}

int32_t GetBmcMemType() {
    uint32_t selection = 0;
    if (GetVGAMemSizeSelection(&selection) != 0) {
        return -1;
    }
    switch (selection) {
        case selection_16mb:
            return 1;
        case selection_64mb:
            return 2;
        default:
            return -1;
    }
}

int32_t GetVGASwitchValue() { return vga_not_switched; }
int32_t SetVGASwitchValue() { return vga_not_switched; }
int32_t InitVGASwitchValue(uint32_t value) { return static_cast<int32_t>(value); }

}  // extern "C"
