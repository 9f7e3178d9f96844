// Expected records, written byte by byte as the target lays them out.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

class Bytes {
public:
    Bytes &u8(uint32_t value) {
        bytes_.push_back(static_cast<uint8_t>(value));
        return *this;
    }
    Bytes &u16(uint32_t value) { return u8(value & 0xFF).u8(value >> 8); }
    Bytes &u32(uint32_t value) { return u16(value & 0xFFFF).u16(value >> 16); }
    Bytes &text(const std::string &value, size_t size) {
        EXPECT_LT(value.size(), size);
        bytes_.insert(bytes_.end(), value.begin(), value.end());
        return zeros(size - value.size());
    }
    Bytes &zeros(size_t count) {
        bytes_.insert(bytes_.end(), count, 0);
        return *this;
    }
    // Zeroes up to an offset from the beginning.
    Bytes &until(size_t offset) {
        EXPECT_LE(bytes_.size(), offset);
        bytes_.resize(offset, 0);
        return *this;
    }
    Bytes &chip(uint32_t bus, uint32_t address, uint32_t mux, uint32_t channel,
                const std::string &name) {
        return u32(bus).u16(address).u16(0).u32(mux).u32(channel).text(name, 16);
    }
    Bytes &append(const Bytes &other) {
        bytes_.insert(bytes_.end(), other.bytes_.begin(), other.bytes_.end());
        return *this;
    }
    size_t size() const { return bytes_.size(); }
    const std::vector<uint8_t> &get() const { return bytes_; }

private:
    std::vector<uint8_t> bytes_;
};

// Compares a record with its expected bytes and names the first that differs.
inline void expect_bytes(const void *record, size_t size, const Bytes &expected) {
    ASSERT_EQ(size, expected.size());
    const auto *actual = static_cast<const uint8_t *>(record);
    for (size_t i = 0; i < size; ++i) {
        ASSERT_EQ(actual[i], expected.get()[i]) << "byte " << i << " of " << size;
    }
}

// A buffer that an exact copy must fill completely.
template <typename Record>
void fill_with_garbage(Record &record) {
    std::memset(static_cast<void *>(&record), 0xA5, sizeof(record));
}
