// FRU data: card EEPROMs and the main board's file.
#include <cerrno>
#include <cstdio>

#include "base/log.h"
#include "base/lookup.h"
#include "boardfeatures/host.h"
#include "main/fru_table.h"

static constexpr char log_source[] = "fru_common_info";

namespace {

constexpr uint32_t log_module = 43;
constexpr uint32_t main_board_key = 0;

// Positions have 32 bits; the upper half of them are none.
long file_position(uint32_t offset) {
    return static_cast<int32_t>(
        offset > bf::board::fru_first_area_end ? offset - bf::board::fru_fold : offset);
}

bool is_present(uint32_t key) { return GetCardOnlineStatus(key) != 0; }

// Without a buffer a transfer that stops short is seen where it happens, and no more of the file is
// touched than what is asked for.
FILE *open_fru_file(const char *mode) {
    FILE *file = std::fopen(bf::board::fru_file, mode);
    if (file != nullptr) {
        std::setvbuf(file, nullptr, _IONBF, 0);
    }
    return file;
}

// The two are alike but for their messages, of which each has its own form.

int32_t vel_fru_file_read(uint32_t offset, uint8_t *buffer, uint32_t length) {
    FILE *file = open_fru_file("rb");
    if (file == nullptr) {
        const int error = errno;
        LOG_ERROR(log_module, "open file %s failed, errno = %d", bf::board::fru_file, error);
        return -1;
    }
    int32_t result = 0;
    const int moved = std::fseek(file, file_position(offset), SEEK_SET);
    if (moved != 0) {
        LOG_ERROR(log_module, "file seek failed, ret = %d\n", moved);
    } else {
        result = static_cast<int32_t>(std::fread(buffer, 1, length, file));
        if (static_cast<uint32_t>(result) != length) {
            LOG_ERROR(log_module,
                      "file read error, really read buffer len = %d, expect read buffer len = %d\n",
                      result, static_cast<int>(length));
        }
    }
    if (std::fclose(file) != 0) {
        const int error = errno;
        LOG_ERROR(log_module, "close file failed, errno = %d\n", error);
        return -1;
    }
    return result;
}

int32_t vel_fru_file_write(uint32_t offset, const uint8_t *buffer, uint32_t length) {
    FILE *file = open_fru_file("r+");
    if (file == nullptr) {
        const int error = errno;
        LOG_ERROR(log_module, "[%s %d]open file %s failed, errno = %d", __func__, log_line,
                  bf::board::fru_file, error);
        return -1;
    }
    int32_t result = 0;
    const int moved = std::fseek(file, file_position(offset), SEEK_SET);
    if (moved != 0) {
        LOG_ERROR(log_module, "[%s %d]file seek failed, ret = %d\n", __func__, log_line, moved);
    } else {
        result = static_cast<int32_t>(std::fwrite(buffer, 1, length, file));
        if (static_cast<uint32_t>(result) != length) {
            LOG_ERROR(log_module,
                      "[%s %d]file read error, really read buffer len = %d, expect read buffer len "
                      "= %d\n",
                      __func__, log_line, result, static_cast<int>(length));
        }
    }
    if (std::fclose(file) != 0) {
        const int error = errno;
        LOG_ERROR(log_module, "[%s %d]close file failed, errno = %d\n", __func__, log_line, error);
        return -1;
    }
    return result;
}

}  // namespace

extern "C" {

int32_t GetFruI2cinfoBySlotID(uint32_t key, FruRow *out) {
    return bf::copy_row(bf::find_row(bf::board::fru_table, &FruRow::key, key), out);
}

int32_t FruRead(uint32_t key, uint32_t offset, uint8_t *buffer, uint32_t length) {
    if (buffer == nullptr) {
        LOG_WARN(log_module, "FruRead: NULL == buf\n");
        return -1;
    }
    if (!is_present(key)) {
        LOG_WARN(log_module, "Card(%u) not present\n", key);
        return -1;
    }
    if (key == main_board_key) {
        return vel_fru_file_read(offset, buffer, length);
    }
    FruRow row;
    if (GetFruI2cinfoBySlotID(key, &row) != 0) {
        LOG_ERROR(log_module, "Get Fru I2c info By SlotID(%u) fail!\n", key);
        return -1;
    }
    return ei2c_eeprom_read(&row.route, offset, buffer, length);
}

int32_t FruWrite(uint32_t key, uint32_t offset, const uint8_t *buffer, uint32_t length) {
    if (buffer == nullptr || !is_present(key)) {
        return -1;
    }
    if (key == main_board_key) {
        return vel_fru_file_write(offset, buffer, length);
    }
    FruRow row;
    if (GetFruI2cinfoBySlotID(key, &row) != 0) {
        return -1;
    }
    return ei2c_eeprom_write(&row.route, offset, buffer, length);
}

}  // extern "C"
