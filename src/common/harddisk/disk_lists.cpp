// Lists of the disks behind all connectors.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <iterator>

#include "boardfeatures/host.h"
#include "boardfeatures/identity.h"
#include "boardfeatures/storage.h"
#include "common/harddisk/backplane.h"
#include "main/harddisk_special_info.h"

namespace {

using bf::board::connector_cards;
using bf::harddisk::Backplane;

// An empty connector stops costing I2C traffic after this many questions.
constexpr uint32_t last_question = 20;

// What one kind of list has learned about the connectors. It only ever moves toward known, so that
// concurrent callers at worst ask once too often.
struct ConnectorWalk {
    uint8_t online[std::size(connector_cards)];
    uint16_t board_id[std::size(connector_cards)];
    uint32_t questions;
};
ConnectorWalk u2_nvme_walk;
ConnectorWalk disk_walk;

// A walk is traced while its marker file exists.
struct WalkTrace {
    char marker[16];
    char question_name[16];
};
constexpr WalkTrace u2_nvme_trace = {"/var/nvmetest", "try_count"};
constexpr WalkTrace disk_trace = {"/var/oobdbg", "hdd_try_count"};

bool is_online(ConnectorWalk &walk, uint32_t position) {
    if (walk.online[position] == 0 && walk.questions <= last_question) {
        ++walk.questions;
        walk.online[position] =
            static_cast<uint8_t>(GetCardOnlineStatus(connector_cards[position]) != 0);
    }
    return walk.online[position] != 0;
}

uint32_t board_id_of(ConnectorWalk &walk, uint32_t position) {
    uint16_t &kept = walk.board_id[position];
    if (kept == 0 || kept == BF_NO_BOARD_ID) {
        kept = static_cast<uint16_t>(GetCardBoardId(connector_cards[position]));
    }
    return kept;
}

using ListModel = int32_t(const Backplane &, uint32_t board_id, uint32_t position, void *list);

int32_t list_all(ConnectorWalk &walk, const WalkTrace &trace, ListModel *list_model, void *list) {
    if (list == nullptr) {
        return -1;
    }
    for (uint32_t position = 0; position < std::size(connector_cards); ++position) {
        if (!is_online(walk, position)) {
            continue;
        }
        const uint32_t board_id = board_id_of(walk, position);
        if (access(trace.marker, F_OK) == 0) {
            std::printf("cardid[%u] = 0x%x, %s = %u\n", position, board_id, trace.question_name,
                        walk.questions);
        }
        // A backplane that cannot be read does not keep the others from the list.
        const Backplane *model = bf::harddisk::backplane_of(board_id);
        if (model != nullptr && model->listed_bays != 0) {
            list_model(*model, board_id, position, list);
        }
    }
    return 0;
}

}  // namespace

extern "C" {

int32_t hdd_get_u2_nvme_list(void *list) {
    return list_all(u2_nvme_walk, u2_nvme_trace, bf::harddisk::list_u2_nvme, list);
}
int32_t GetAllU2NVMeSlotInfo(void *list) { return hdd_get_u2_nvme_list(list); }

int32_t HDD_GetOnlinePdList(void *list) {
    return list_all(disk_walk, disk_trace, bf::harddisk::list_disks, list);
}
int32_t HDD_CollectAllPdListFromHardSignal(void *list) { return HDD_GetOnlinePdList(list); }

}  // extern "C"
