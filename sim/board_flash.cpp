// [flash]: the EPLD's user flash, what is in it and what is wrong with it.
#include <algorithm>

#include "board_reader.h"
#include "flash.h"

namespace boardsim {

namespace {

constexpr int64_t longest_ms = 600'000;

struct OwnershipName {
    const char *name;
    Ownership ownership;
};
constexpr OwnershipName ownerships[] = {
    {"free", Ownership::free}, {"stuck", Ownership::stuck}, {"refused", Ownership::refused}};

void read_time(Table &table, const char *key, uint32_t &microseconds) {
    if (const auto milliseconds = table.number(key, 0, longest_ms)) {
        microseconds = *milliseconds * 1000;
    }
}

// Pages are kept as their number plus one, so that 0 is none.
uint32_t read_page(Table &table, const char *key) {
    const auto page = table.number(key, 0, flash_pages - 1);
    return page ? *page + 1 : 0;
}

}  // namespace

void read_flash(Builder &builder, Table &table) {
    FlashRecord &flash = builder.board.flash;
    if (const auto bytes = table.bytes("bytes", sizeof(flash.cells))) {
        std::copy(bytes->begin(), bytes->end(), flash.cells);
    }
    if (const auto name = table.text("ownership", 16)) {
        const auto *const found =
            std::find_if(std::begin(ownerships), std::end(ownerships),
                         [&](const OwnershipName &each) { return *name == each.name; });
        if (found == std::end(ownerships)) {
            table.fail("ownership", '"' + *name + "\" is neither free nor stuck nor refused");
        }
        flash.ownership = static_cast<uint32_t>(found->ownership);
    }
    flash.never_completes = table.flag("never_completes").value_or(false) ? 1 : 0;
    flash.erase_fails = table.flag("erase_fails").value_or(false) ? 1 : 0;
    flash.write_fails = read_page(table, "write_fails");
    flash.misreads = read_page(table, "misreads");
    read_time(table, "erase_ms", flash.erase_us);
    read_time(table, "write_ms", flash.write_us);
    read_time(table, "read_ms", flash.read_us);
}

}  // namespace boardsim
