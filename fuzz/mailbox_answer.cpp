// A card that answers with arbitrary bytes, and transfers that fail where the input says so:
// nothing is written beyond the response, at most ten polls are made, and the semaphore is free
// afterwards.
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "boardfeatures/ipc.h"
#include "boardfeatures/mailbox.h"

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

constexpr int32_t semaphore_key = 12339;
constexpr uint8_t untouched = 0xA5;

const uint8_t *input;
size_t left;
int polls;
int sleeps;

uint8_t next_byte() {
    if (left == 0) {
        return 0;
    }
    --left;
    return *input++;
}
// One in sixteen fails.
int outcome() { return next_byte() % 16 == 15 ? -5 : 0; }

}  // namespace

extern "C" {

int i2cWrite(const I2cChipRoute *, uint32_t length, const uint8_t *, uint32_t, uint32_t) {
    require(length <= MOORING_DATA_MAX);
    return outcome();
}
int i2cRead(const I2cChipRoute *, uint32_t length, uint8_t *buffer, uint32_t, uint32_t offset) {
    require(length <= MOORING_DATA_MAX);
    polls += offset == 0 ? 1 : 0;
    for (uint32_t i = 0; i < length; ++i) {
        buffer[i] = next_byte();
    }
    return outcome();
}
int usleep(useconds_t) {
    ++sleeps;
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    input = data;
    left = size;
    polls = 0;
    sleeps = 0;
    const uint32_t slot = next_byte() % 12;
    const uint32_t request_length = next_byte();
    uint8_t request[255] = {};
    uint8_t response[MOORING_DATA_MAX + 8];
    std::memset(response, untouched, sizeof(response));
    uint8_t length[2] = {untouched, untouched};
    const int32_t result = VEL_Mooring_SendGetMsgFromPier(
        slot, next_byte(), next_byte(), next_byte(), request_length % 2 != 0 ? request : nullptr,
        request_length, response, length);
    require(result == 0 || result == -1);
    require(polls <= 10 && sleeps <= polls && length[1] == untouched);
    require(length[0] == untouched || (length[0] >= 1 && length[0] <= MOORING_DATA_MAX));
    for (size_t i = result == 0 && length[0] != untouched ? length[0] : 0; i < sizeof(response);
         ++i) {
        require(response[i] == untouched);
    }
    const int set = semget(semaphore_key, 0, 0);
    require(set < 0 || semctl(set, 0, GETVAL) == 1);
    return 0;
}

}  // extern "C"
