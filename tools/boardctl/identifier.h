// An identifier as the documents show it.
#pragma once

#include "boardfeatures/identity.h"
#include "format.h"

namespace boardctl {

// Every value is null without an identifier.
inline Json identifier_json(const HardIdInfo *info) {
    Json fields = {{"board_id", nullptr},
                   {"pcb_id", nullptr},
                   {"bom_id", nullptr},
                   {"hard_id", nullptr},
                   {"raw_value", nullptr}};
    if (info != nullptr) {
        fields["board_id"] = hex_id(info->board_id);
        fields["pcb_id"] = info->pcb_id;
        fields["bom_id"] = info->bom_id;
        fields["hard_id"] = hex_hard_id(info->hard_id);
        fields["raw_value"] = hex_hard_id(info->raw_value);
    }
    return fields;
}

}  // namespace boardctl
