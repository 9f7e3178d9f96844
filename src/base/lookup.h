// Searching and copying rows of constant tables.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace bf {

// The first row whose `field` equals `key`, compared as 32-bit values (a key above the field's
// width therefore matches nothing); null when there is none.
template <typename Table, typename Row, typename Field>
constexpr const Row *find_row(const Table &table, Field Row::*field, uint32_t key) {
    for (const Row &row : table) {
        if (static_cast<uint32_t>(row.*field) == key) {
            return &row;
        }
    }
    return nullptr;
}

// The row at `index`, null outside the table.
template <typename Table>
constexpr auto row_at(const Table &table, uint32_t index) -> decltype(&table[0]) {
    return index < std::size(table) ? &table[index] : nullptr;
}

// Copies a row into the caller's buffer: 0, or -1 when either is missing.
template <typename Row>
int32_t copy_row(const Row *row, Row *out) {
    if (row == nullptr || out == nullptr) {
        return -1;
    }
    *out = *row;
    return 0;
}

// Copies a fixed text field, padding included.
template <std::size_t N>
void copy_text(char *out, const char (&text)[N]) {
    std::memcpy(out, text, N);
}

}  // namespace bf
