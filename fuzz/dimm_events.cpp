// Memory events with arbitrary bytes, and arbitrary words in their place: every answer names a
// socket that there is, or none, and all answers agree.
#include <cstdlib>
#include <cstring>

#include "boardfeatures/dimm.h"

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

constexpr char untouched = 0x5A;

// What a label and a number say is the same socket.
void check(int32_t number, const char label[12], bool direct) {
    require(label[10] == untouched && label[11] == untouched);
    if (direct) {
        require(number >= 0 && number < 128 && label[0] == untouched);
        return;
    }
    require(number >= 0 && number <= 32);
    if (number == 0) {
        require(label[0] == '\0' || label[0] == untouched);
        return;
    }
    DimmDevInfo socket = {};
    require(GetDimmDevInfoByDimmNum(static_cast<uint32_t>(number), &socket) == 0);
    require(std::strncmp(label, socket.silk_screen, 10) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    uint32_t words[3] = {};
    if (size < sizeof(words)) {
        return 0;
    }
    std::memcpy(words, data, sizeof(words));
    const auto [type, data2, data3] = words;

    char label[12];
    std::memset(label, untouched, sizeof(label));
    require(GetDimmSilkScreenBySelInfo(data2, data3, label) == 0);
    check(GetDimmNumberBySelInfo(data2, data3), label, (data3 & 1) != 0);
    require(GetDimmIndexBySelInfo(data2, data3) == GetDimmNumberBySelInfo(data2, data3));

    std::memset(label, untouched, sizeof(label));
    require(DiofluADDDCGetDimmSilkScreenBySelInfo(data3, label) == 0);
    DimmDevInfo packed = {};
    require(diofluADDCGetMemMaskInfoBySel(data3, &packed) == 0);
    check(packed.dimm_num, label, false);

    const int32_t by_type = GetDimmNumByBiosSelInfo(type, data2, data3);
    require(by_type ==
            ((type & 0x0F) == 5 ? packed.dimm_num : GetDimmNumberBySelInfo(data2, data3)));
    const int32_t card = GetDimmCardIndexByBiosSelInfo(type, data2, data3);
    require(card == 0 || card == DIMM_ON_MAIN_BOARD);
    return 0;
}
