// The EPLD's user flash behind its sixteen-bit registers.
#include <pthread.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/lookup.h"
#include "base/stream.h"
#include "boardfeatures/pcieid.h"
#include "common/pcieid/pciecfg_image.h"
#include "common/pcieid/pcieid_log.h"

static constexpr char log_source[] = "pciecfg_io_dev";

pthread_mutex_t ufm_dev_mutex = PTHREAD_MUTEX_INITIALIZER;

namespace {

constexpr char written_copy[] = "/var/mc2pld.pecd";
constexpr char read_copy[] = "/var/pld2mc.pecd";

enum Register : uint32_t {
    reg_control = 0x344,
    reg_page = 0x346,
    reg_status1 = 0x348,
    reg_status2 = 0x34A,
    reg_status3 = 0x34C,
    reg_write_data = 0x34E,
    reg_read_data = 0x35E,
};

// Control register.
constexpr uint32_t command_bits = 0x000F;
constexpr uint32_t start_bit = 0x0010;
constexpr uint32_t bmc_owns_bit = 0x0020;
// Page address register.
constexpr uint32_t page_bits = 0x0FFF;

struct Command {
    char letter;
    uint16_t code;
    uint16_t done;  // in STATUS3
};
constexpr Command commands[] = {{'R', 0x2, 0x0400}, {'W', 0x1, 0x0200}, {'E', 0xF, 0x0100}};

constexpr uint32_t page_timeout_ms = 1000;
constexpr uint32_t erase_timeout_ms = 30000;
constexpr uint32_t poll_us = 20000;
constexpr uint32_t page_settle_us = 10000;
constexpr uint32_t erase_settle_s = 5;

constexpr uint32_t image_pages = PCIECFG_IMAGE_SIZE / UFM_PAGE_SIZE;

using PageWords = std::array<uint16_t, UFM_PAGE_SIZE / 2>;

void pack_words(const uint8_t *bytes, PageWords &words) {
    for (uint16_t &word : words) {
        word = static_cast<uint16_t>(bytes[0] << 8 | bytes[1]);
        bytes += 2;
    }
}

void unpack_words(const PageWords &words, uint8_t *bytes) {
    for (const uint16_t word : words) {
        *bytes++ = static_cast<uint8_t>(word >> 8);
        *bytes++ = static_cast<uint8_t>(word);
    }
}

int32_t _epldread(uint32_t reg, uint16_t *value) {
    *value = 0;
    const int32_t result = epldio_read(reg, value);
    if (result < 0) {
        PCIEID_WARN("%s(@%d) epldio_read(reg=%04x, *val=%04x) = %d.\n", reg, *value, result);
        return result;
    }
    return 0;
}

int32_t _epldwrite(uint32_t reg, uint16_t value) {
    const int32_t result = epldio_write(reg, value);
    if (result < 0) {
        PCIEID_WARN("%s(@%d) epldio_write(reg=%04x, val=%04x) = %d.\n", reg, value, result);
        return result;
    }
    return 0;
}

// Clears and sets bits of a register. Nothing is written when it cannot be read.
int32_t change_bits(uint32_t reg, uint32_t clear, uint32_t set) {
    uint16_t value = 0;
    const int32_t result = _epldread(reg, &value);
    if (result < 0) {
        return result;
    }
    return _epldwrite(reg, static_cast<uint16_t>((value & ~clear) | set));
}

// Whether the BMC owns the flash. A register that cannot be read counts as owned: the BMC goes on
// and the CRCs tell whether that was right.
bool ufm_access_ok() {
    uint16_t control = 0;
    return _epldread(reg_control, &control) < 0 || (control & bmc_owns_bit) != 0;
}

int32_t ufm_access_acquire() {
    if (ufm_access_ok()) {
        PCIEID_WARN("%s(@%d), BMC can not take over control.\n");
    }
    return change_bits(reg_control, 0, bmc_owns_bit);
}

// 0 with the mutex held and the flash owned.
int32_t ufm_dev_lock() {
    int32_t result = pthread_mutex_lock(&ufm_dev_mutex);
    if (result != 0) {
        PCIEID_WARN("%s(@%d), pthread_mutex_lock() failed retval %d.\n", result);
        return result;
    }
    result = ufm_access_acquire();
    if (result < 0) {
        PCIEID_WARN("%s(@%d), ufm_access_acquire() failed retval %d.\n", result);
        return result | pthread_mutex_unlock(&ufm_dev_mutex);
    }
    if (!ufm_access_ok()) {
        PCIEID_WARN("%s(@%d), ufm_access_ok() failed.\n");
        pthread_mutex_unlock(&ufm_dev_mutex);
        return -1;
    }
    return 0;
}

// The mutex is released whatever the registers say.
int32_t ufm_dev_unlock() {
    const int32_t released = change_bits(reg_control, command_bits | start_bit | bmc_owns_bit, 0);
    if (released < 0) {
        PCIEID_WARN("%s(@%d), ufm_access_acquire() failed retval %d.\n", released);
    }
    if (ufm_access_ok()) {
        PCIEID_WARN("%s(@%d), ufm_access_ok() failed.\n");
    }
    const int32_t result = pthread_mutex_unlock(&ufm_dev_mutex) | released;
    if (result < 0) {
        PCIEID_WARN("%s(@%d), pthread_mutex_unlock() failed retval %d.\n", result);
    }
    return result;
}

// The flash for as long as it is taken: given back at the end of the scope at the latest.
class UfmDevice {
public:
    UfmDevice() : taken_(ufm_dev_lock()), held_(taken_ == 0) {}
    ~UfmDevice() {
        if (held_) {
            ufm_dev_unlock();
        }
    }
    UfmDevice(const UfmDevice &) = delete;
    UfmDevice &operator=(const UfmDevice &) = delete;

    // 0, or why it could not be taken.
    int32_t taken() const { return taken_; }
    int32_t release() {
        held_ = false;
        return ufm_dev_unlock();
    }

private:
    int32_t taken_;
    bool held_;
};

int32_t set_page(uint32_t page) { return change_bits(reg_page, page_bits, page & page_bits); }

int32_t issue_command(char letter) {
    const Command *command =
        bf::find_row(commands, &Command::letter, static_cast<uint32_t>(letter));
    if (command == nullptr) {
        return -1;
    }
    return change_bits(reg_control, command_bits, bmc_owns_bit | start_bit | command->code);
}

int64_t now_us() {
    struct timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000000 + now.tv_nsec / 1000;
}

// A flash that never reports completion is taken as done.
void ufm_wait_status(char letter, uint32_t timeout_ms) {
    const Command *command =
        bf::find_row(commands, &Command::letter, static_cast<uint32_t>(letter));
    if (command == nullptr) {
        return;
    }
    const int64_t start = now_us();
    for (;;) {
        uint16_t status1 = 0;
        uint16_t status2 = 0;
        uint16_t status3 = 0;
        _epldread(reg_status1, &status1);
        _epldread(reg_status2, &status2);
        if (_epldread(reg_status3, &status3) < 0 || (status3 & command->done) != 0) {
            return;
        }
        if (now_us() - start > static_cast<int64_t>(timeout_ms) * 1000) {
            PCIEID_WARN(
                "%s(@%d) wait %c timeout(%u ms), STATUS1(%04x) STATUS2(%04x) STATUS3(%04x) "
                "MASK3(%04x).\n",
                letter, timeout_ms, status1, status2, status3, command->done);
            return;
        }
        select_sleep(0, poll_us);
    }
}

int32_t ufm_erase() {
    const int32_t result = issue_command('E');
    if (result < 0) {
        return result;
    }
    ufm_wait_status('E', erase_timeout_ms);
    select_sleep(erase_settle_s, 0);
    return 0;
}

int32_t erase_from_page_0() {
    const int32_t result = set_page(0);
    return result < 0 ? result : ufm_erase();
}

int32_t ufm_page_write(uint32_t page, const PageWords &words) {
    for (uint32_t i = 0; i < words.size(); ++i) {
        const int32_t result = _epldwrite(reg_write_data + 2 * i, words[i]);
        if (result < 0) {
            return result;
        }
    }
    int32_t result = set_page(page);
    if (result < 0) {
        return result;
    }
    result = issue_command('W');
    if (result < 0) {
        return result;
    }
    ufm_wait_status('W', page_timeout_ms);
    select_sleep(0, page_settle_us);
    return 0;
}

// A page that the flash does not have reads the one that was addressed before.
int32_t ufm_page_read(uint32_t page, PageWords &words) {
    int32_t result = page < UFM_PAGE_COUNT ? set_page(page) : 0;
    if (result < 0) {
        return result;
    }
    result = issue_command('R');
    if (result < 0) {
        return result;
    }
    ufm_wait_status('R', page_timeout_ms);
    select_sleep(0, page_settle_us);
    for (uint32_t i = 0; i < words.size(); ++i) {
        result = _epldread(reg_read_data + 2 * i, &words[i]);
        if (result < 0) {
            return result;
        }
    }
    return 0;
}

// The copy is for inspection: that it cannot be written stops nothing.
void pciecfg_write_file(const char *path, const pciecfg_image &image) {
    const bf::Stream file(path, "w+", bf::Buffer::none);
    const size_t written = file.write(&image, sizeof(image));
    if (written != sizeof(image)) {
        const int error = errno;
        PCIEID_WARN("%s(@%d) errno=%d, %s, wsize=%d, expect is %d\n", error, std::strerror(error),
                    static_cast<int>(written), static_cast<int>(sizeof(image)));
    }
}

const uint8_t *page_of(const pciecfg_image &image, uint32_t page) {
    return page == 0 ? image.header : image.items[page - 1];
}
uint8_t *page_of(pciecfg_image &image, uint32_t page) {
    return page == 0 ? image.header : image.items[page - 1];
}

}  // namespace

extern "C" {

int32_t pciecfg_dev_write(const pciecfg_image *image) {
    if (image == nullptr) {
        return -1;
    }
    pciecfg_write_file(written_copy, *image);
    if (!bf::image_valid(*image)) {
        PCIEID_WARN("%s(@%d), idata check failed.\n");
        return -1;
    }
    const uint32_t pages = bf::image_data_length(*image) / UFM_PAGE_SIZE + 1;

    UfmDevice device;
    if (device.taken() != 0) {
        return device.taken();
    }
    int32_t result = erase_from_page_0();
    if (result < 0) {
        PCIEID_WARN("%s(@%d), ufm_erase() faild retval = %d.\n", result);
        return device.release();
    }
    for (uint32_t page = 0; page < pages; ++page) {
        PageWords words;
        pack_words(page_of(*image, page), words);
        result = ufm_page_write(page, words);
        if (result < 0) {
            PCIEID_WARN("%s(@%d), ufm_page_write(pageidx=%u, &regs=%p) faild retval = %d.\n", page,
                        static_cast<const void *>(words.data()), result);
            break;
        }
    }
    return device.release();
}

int32_t pciecfg_dev_read(pciecfg_image *image) {
    if (image == nullptr) {
        return -1;
    }
    std::memset(image, 0, sizeof(*image));
    UfmDevice device;
    if (device.taken() != 0) {
        PCIEID_WARN("%s(@%d) ufm_dev_lock is false.\n");
        return device.taken();
    }
    for (uint32_t page = 0; page < image_pages; ++page) {
        PageWords words = {};
        const int32_t result = ufm_page_read(page, words);
        if (result < 0) {
            PCIEID_WARN("%s(@%d), ufm_page_read(pageidx=%u, &regs=%p) faild retval = %d.\n", page,
                        static_cast<const void *>(words.data()), result);
            break;
        }
        unpack_words(words, page_of(*image, page));
    }
    const int32_t released = device.release();
    if (released != 0) {
        PCIEID_WARN("%s(@%d) ufm_dev_unlock is false.\n");
        return released;
    }
    pciecfg_write_file(read_copy, *image);
    if (!bf::image_valid(*image)) {
        PCIEID_WARN("%s(@%d) IS_PCIEDATA_VALID is false.\n");
        return -1;
    }
    return 0;
}

int32_t pciecfg_dev_erase(void) {
    UfmDevice device;
    if (device.taken() != 0) {
        return device.taken();
    }
    const int32_t result = erase_from_page_0();
    if (result < 0) {
        PCIEID_WARN("%s(@%d), ufm_erase() faild retval = %d.\n", result);
    }
    return device.release();
}

int32_t pciecfg_dev_dump(uint32_t pages) {
    static constexpr char rule[] = "------------------------------------------------";
    static_assert(sizeof(rule) - 1 == 48);
    std::printf("\n");
    std::puts(" PAGE | 0000 0002 0004 0006 0008 000A 000C 000E");
    std::puts(rule);
    UfmDevice device;
    if (device.taken() != 0) {
        return device.taken();
    }
    for (uint32_t page = 0; page < std::min(pages, UFM_PAGE_COUNT); ++page) {
        PageWords words = {};
        const int32_t result = ufm_page_read(page, words);
        std::printf(" %4u | ", page);
        if (result >= 0) {
            for (const uint16_t word : words) {
                std::printf("%04x ", word);
            }
        }
        std::printf("\n");
    }
    const int32_t released = device.release();
    if (released != 0) {
        return released;
    }
    std::puts(rule);
    return 0;
}

int32_t pciecfg_dev_dumpfile(const char *path) {
    if (path == nullptr) {
        return -1;
    }
    UfmDevice device;
    if (device.taken() != 0) {
        return device.taken();
    }
    {
        const bf::Stream file(path, "w+", bf::Buffer::none);
        for (uint32_t page = 0; file && page < UFM_PAGE_COUNT; ++page) {
            uint8_t record[UFM_PAGE_SIZE];
            std::memcpy(record, "DEADBEAFDEADBEAF", sizeof(record));
            PageWords words = {};
            const int32_t result = ufm_page_read(page, words);
            if (result >= 0) {
                unpack_words(words, record);
            } else {
                PCIEID_WARN("%s(@%d), ufm_page_read(page=%u, &regs=%p) = %d.\n", page,
                            static_cast<const void *>(words.data()), result);
            }
            if (file.write(record, sizeof(record)) != sizeof(record)) {
                const int error = errno;
                PCIEID_WARN("%s(@%d) fwrite() failed, errno=%d, %s\n", error, std::strerror(error));
            }
        }
    }
    return device.release();
}

}  // extern "C"
