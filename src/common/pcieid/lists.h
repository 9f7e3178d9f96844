// Lists of PCIe identification: a count and a fixed array.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

namespace bf {

// The entries in use, at most what the array holds whatever the count claims.
template <typename Item, std::size_t N>
constexpr std::span<Item> entries(Item (&items)[N], uint32_t count) {
    return {items, std::min<std::size_t>(count, N)};
}

template <typename List>
constexpr auto entries(List &list) {
    return entries(list.items, list.count);
}

// False when the list is full; nothing is added then.
template <typename List, typename Item>
constexpr bool append(List &list, const Item &item) {
    if (list.count >= std::size(list.items)) {
        return false;
    }
    list.items[list.count++] = item;
    return true;
}

// Copies a name, cut so that it ends in NUL; what is behind it becomes zero.
template <std::size_t Size, std::size_t Length>
constexpr void copy_name(char (&out)[Size], const char (&name)[Length]) {
    std::size_t i = 0;
    for (; i < std::min(Size - 1, Length) && name[i] != '\0'; ++i) {
        out[i] = name[i];
    }
    std::fill(out + i, out + Size, '\0');
}

// A name for a message, with its end even where the record has none.
template <std::size_t Size>
struct Terminated {
    char text[Size + 1];
    explicit Terminated(const char (&name)[Size]) { copy_name(text, name); }
};

}  // namespace bf
