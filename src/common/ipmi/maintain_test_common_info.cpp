// The EPLD registers of the maintenance test.
#include "base/log.h"
#include "base/lookup.h"
#include "boardfeatures/identity.h"
#include "main/maintain_test_table.h"

static constexpr char log_source[] = "maintain_test_common_info";

extern "C" {

int32_t getMaintainTestEpldAddrCnt() {
    return static_cast<int32_t>(std::size(bf::board::maintain_test_registers));
}

int32_t getMaintainTestEpldAddrByIndex(uint32_t index) {
    const uint16_t *address = bf::row_at(bf::board::maintain_test_registers, index);
    if (address == nullptr) {
        IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]getEpldAddrByIndex dwIndex oversize!\n",
                             log_source, __LINE__);
        return -1;
    }
    return *address;
}

}  // extern "C"
