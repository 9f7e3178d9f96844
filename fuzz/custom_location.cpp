// Reads the input as the file of customers' disk labels, and compares with a look at every key.
//
// The labels are kept for the life of a process, so the source is built in here, where what it
// keeps can be dropped between inputs.
#include "common/harddisk/custom_location.cpp"  // NOLINT(bugprone-suspicious-include)

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

void write_input(const uint8_t *data, size_t size) {
    FILE *file = std::fopen(location_file, "w");
    require(file != nullptr && std::fwrite(data, 1, size, file) == size && std::fclose(file) == 0);
}

uint32_t value_at(IniHandle file, uint32_t zone, uint32_t disk, const char *what) {
    const std::string key =
        "origine_zone" + std::to_string(zone) + "_disk" + std::to_string(disk) + "_" + what;
    return IniGetUInt(file, "disk custom config", key.c_str(), 255) & 0xFF;
}

CustomDiskConfig expected_of(IniHandle file) {
    CustomDiskConfig expected = {};
    for (uint32_t i = 0; i < 4 * 255; ++i) {
        const uint32_t custom_zone = value_at(file, i / 255, i % 255, "customzone");
        const uint32_t custom_silk = value_at(file, i / 255, i % 255, "customslik");
        if (custom_zone != 255 && custom_silk != 255 && expected.count < 64) {
            expected.valid = 1;
            expected.entries[expected.count++] = {
                static_cast<uint8_t>(i / 255), static_cast<uint8_t>(i % 255),
                static_cast<uint8_t>(custom_zone), static_cast<uint8_t>(custom_silk)};
        }
    }
    return expected;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    write_input(data, size);
    is_cached = false;
    cached = {};
    CustomDiskConfig config = {};
    const int32_t result = HDD_COM_GetCustomConfig(&config);

    CustomDiskConfig expected = {};
    if (size > 9) {
        const IniHandle file = VEL_IniLoadFile(location_file);
        require((result == 0) == (file != nullptr));
        if (file == nullptr) {
            return 0;
        }
        expected = expected_of(file);
        IniCloseFile(file);
    }
    require(result == 0 && std::memcmp(&config, &expected, sizeof(config)) == 0);

    for (uint32_t i = 0; i < expected.count; ++i) {
        const SlotEntry &entry = expected.entries[i];
        uint8_t zone = 0;
        uint8_t slot = 0;
        require(HDD_COM_CustomSliktoVelSlik(&zone, &slot, entry.custom_zone, entry.custom_silk) ==
                0);
        // The first disk with these labels.
        uint32_t first = 0;
        while (expected.entries[first].custom_zone != entry.custom_zone ||
               expected.entries[first].custom_silk != entry.custom_silk) {
            ++first;
        }
        require(zone == expected.entries[first].origin_zone &&
                slot == expected.entries[first].origin_disk);
    }
    return 0;
}
