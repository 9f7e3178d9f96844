// The backplane rules as a person reads them off the board's documentation, kept apart from the
// library's own rows: a text table, and a plain reading of it that asks a scripted platform of its
// own. Tests compare answers, outputs and the exact order of accesses.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "boardfeatures/storage.h"
#include "support/scripted_platform.h"

namespace rules {

// slots: first..last@bus-less (bay = slot less that), the first bay being 1
// type: for the fields 0, 1, 2 what is written (- nothing) = result
// routes: slot:channel/name number, on the bus of the slot
inline constexpr char table[] = R"(
bpra 21604 50..52@3-50,60..62@6-60           21          bprahddpres  bprahddpres  1=0,0=0,1=2 lists 2  counts 2  buses 3,6
bprb 21605 52..54@4-52,56..58@5-56           21          bprbhddpres  bprbhddpres  1=0,0=0,1=2 lists 2  counts 2  buses 4,5
bpfa 21593 0..8@7-0,9..16@8-8,17..24@9-16    21          bpfahddpres  bpfahddpres  1=0,0=0,1=2 lists 8  counts 8  buses 7,8,9
bpfb 21743 0..8@8-0                          21          bpfahddpres  bpfahddpres  1=0,0=0,1=2 lists 8  counts 8  buses -
bpfc 21595 0..12@8-0,25..36@9-24             21,22       bpfchddpres  bpfchddpres  1=0,0=0,1=0 lists 12 counts 12 buses -
bpfg 21618 0..12@8-0,25..36@9-24             21,22       bpfghddpres  bpfghddpres  1=0,0=0,1=0 lists 12 counts 12 buses -
bpfd 21598 0..25@8-0                         21,22,23,24 bpfchddpres  bpfdhddpres  1=0,0=0,-=0 lists 25 counts 25 buses -
bpfe 21615 0..25@8-0                         21,22,23    bpfchddpres  -            1=0,0=0,1=0 lists 24 counts 0  buses -
bpff 21619 0..24@8-0                         29,22,23    bpfchddpres  bpffhddpres  1=0,0=0,1=0 lists 24 counts 24 buses -
bpma 21620 99..100@10-98,101..102@3-100      21          bpmaphddpres -            1=0,1=0,1=0 lists 0  counts 0  buses -
)";

inline const std::map<std::string, std::string> &routes() {
    static const std::string odd_bays = "2:0/1 4:1/3 6:2/5 8:3/7 18:4/17 20:5/19 22:6/21 24:7/23";
    static const std::map<std::string, std::string> all = {
        {"bpra", "50:0/50 51:1/51 60:0/60 61:1/61"},
        {"bprb", "52:0/52 53:1/53 56:0/56 57:1/57"},
        {"bpfa",
         "1:0/0 2:1/1 3:2/2 4:3/3 5:4/4 6:5/5 7:6/6 8:7/7 9:0/8 10:1/9 11:2/10 12:3/11 13:4/12 "
         "14:5/13 15:6/14 16:7/15 17:0/16 18:1/17 19:2/18 20:3/19 21:4/20 22:5/21 23:6/22 24:7/23"},
        {"bpfb", "1:0/0 2:1/1 3:2/2 4:3/3 5:4/4 6:5/5 7:6/6 8:7/7"},
        {"bpfc",
         "1:0/0 2:1/1 3:2/2 4:3/3 5:4/4 6:5/5 7:6/6 8:7/7 9:8/8 10:9/9 11:10/10 12:11/11 "
         "25:0/0 26:1/1 27:2/2 28:3/3 29:4/4 30:5/5 31:6/6 32:7/7 33:8/8 34:9/9 35:10/10 36:11/11"},
        {"bpfg",
         "1:1/0 2:0/1 4:3/3 5:2/4 7:4/6 8:5/7 10:6/9 11:7/10 "
         "25:1/0 26:0/1 28:3/3 29:2/4 31:4/6 32:5/7 34:6/9 35:7/10"},
        {"bpfd", odd_bays},
        {"bpfe", odd_bays},
        {"bpff", odd_bays},
        {"bpma", ""},
    };
    return all;
}

struct Place {
    uint32_t bus;
    uint32_t bay;  // from 1; 0 has no field
};

struct Model {
    std::string name;
    uint32_t board_id = 0;
    std::map<uint32_t, Place> slots;
    std::vector<uint16_t> expanders;
    std::string label, count_label;
    struct Type {
        int written;  // -1: nothing
        int result;
    } types[4] = {{}, {}, {}, {-1, -1}};
    uint32_t listed = 0, counted = 0;
    std::vector<uint32_t> count_buses;
    std::map<uint32_t, NvmeRoute> routes;

    bool in_several_connectors() const {
        for (const auto &[slot, place] : slots) {
            if (place.bus != slots.begin()->second.bus) {
                return true;
            }
        }
        return false;
    }
};

inline std::vector<std::string> split(const std::string &text, char at) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, at);) {
        parts.push_back(part);
    }
    return parts;
}

inline Model parse(const std::string &line) {
    Model model;
    std::string slots, expanders, types, word, buses;
    std::istringstream(line) >> model.name >> model.board_id >> slots >> expanders >> model.label >>
        model.count_label >> types >> word >> model.listed >> word >> model.counted >> word >>
        buses;
    for (const std::string &run : split(slots, ',')) {
        unsigned first = 0, last = 0, bus = 0, less = 0;
        std::sscanf(run.c_str(), "%u..%u@%u-%u", &first, &last, &bus, &less);
        for (unsigned slot = first; slot <= last; ++slot) {
            model.slots[slot] = {bus, slot - less};
        }
    }
    for (const std::string &address : split(expanders, ',')) {
        model.expanders.push_back(static_cast<uint16_t>(std::stoul(address, nullptr, 16)));
    }
    int field = 0;
    for (const std::string &type : split(types, ',')) {
        model.types[field++] = {type[0] == '-' ? -1 : type[0] - '0', type[2] - '0'};
    }
    for (const std::string &bus : split(buses, ',')) {
        if (bus != "-") {
            model.count_buses.push_back(static_cast<uint32_t>(std::stoul(bus)));
        }
    }
    std::istringstream stream(routes().at(model.name));
    for (std::string text; stream >> text;) {
        unsigned slot = 0, channel = 0, name = 0;
        std::sscanf(text.c_str(), "%u:%u/%u", &slot, &channel, &name);
        NvmeRoute route = {model.slots.at(slot).bus, 0x6A, 0x72, channel, {}};
        std::snprintf(route.name, sizeof(route.name), "NVME%u", name);
        model.routes[slot] = route;
    }
    return model;
}

inline const std::vector<Model> &models() {
    static const std::vector<Model> all = [] {
        std::vector<Model> parsed;
        for (const std::string &line : split(table, '\n')) {
            if (!line.empty()) {
                parsed.push_back(parse(line));
            }
        }
        return parsed;
    }();
    return all;
}

inline const Model *model_of(uint32_t board_id) {
    for (const Model &model : models()) {
        if (model.board_id == board_id) {
            return &model;
        }
    }
    return nullptr;
}

inline const Model &model_named(const std::string &name) {
    for (const Model &model : models()) {
        if (model.name == name) {
            return model;
        }
    }
    std::abort();
}

// ---- the world: identifiers and expanders of the scripted platform ----

inline constexpr uint32_t no_board = 0x7FFF;
inline const std::vector<uint32_t> &cards() {
    static const std::vector<uint32_t> all = {5, 6, 7, 8, 9, 10, 11};
    return all;
}
inline uint32_t bus_of_card(uint32_t card) { return card == 14 ? 10 : card - 2; }

// The word that straps a board id: odd parity, the low ten bits of the id.
inline uint16_t identifier_word(uint32_t board_id) {
    const auto word = static_cast<uint16_t>((board_id & 0x3FF) << 5);
    return __builtin_popcount(word) % 2 == 1 ? word : static_cast<uint16_t>(word | 0x8000);
}
inline void fit(uint32_t card, uint32_t board_id) {
    scripted::platform().identifier(bus_of_card(card), 0x20, 0, 0, identifier_word(board_id));
}
inline void unfit(uint32_t card) {
    scripted::platform().expanders.erase({bus_of_card(card), 0x20, 0, 0});
}
inline void set_word(uint32_t bus, uint16_t address, uint16_t word) {
    scripted::platform().expanders[{bus, address, 0, 0}].input = word;
}
// The status field of a bay of a model; the other bays keep theirs.
inline void set_bay(const Model &model, uint32_t bus, uint32_t bay, uint32_t field) {
    uint16_t &word =
        scripted::platform().expanders[{bus, model.expanders.at((bay - 1) / 8), 0, 0}].input;
    const unsigned shift = 2 * ((bay - 1) % 8);
    word = static_cast<uint16_t>((word & ~(3u << shift)) | (field << shift));
}
inline bool has_field(const Model &model, uint32_t bay) {
    return bay != 0 && (bay - 1) / 8 < model.expanders.size();
}

// Every expander of every model on every bus, with words that differ.
inline void noise(uint32_t seed) {
    uint32_t state = seed * 2654435761u + 1;
    for (uint32_t bus = 3; bus <= 10; ++bus) {
        for (const uint16_t address : {0x21, 0x22, 0x23, 0x24, 0x29}) {
            state = state * 1664525u + 1013904223u;
            set_word(bus, address, static_cast<uint16_t>(state >> 16));
        }
    }
}

// ---- a plain reading of the rules ----

class Reading {
public:
    std::vector<std::string> calls;
    std::optional<size_t> fail_call;

    std::optional<uint32_t> word(uint32_t bus, uint32_t address) {
        char call[64];
        std::snprintf(call, sizeof(call), "ei2c_pca9535_get_word_value %u:0x%02X 0xFFFF", bus,
                      address);
        calls.push_back(call);
        if (fail_call && *fail_call == calls.size()) {
            return std::nullopt;
        }
        const auto &chips = scripted::platform().expanders;
        const auto chip = chips.find({bus, static_cast<uint16_t>(address), 0, 0});
        if (chip == chips.end()) {
            return std::nullopt;
        }
        return chip->second.input;
    }
    uint32_t board(uint32_t card) {
        const auto strapped = word(bus_of_card(card), 0x20);
        return strapped && __builtin_popcount(*strapped) % 2 == 1
                   ? 0x5400u | ((*strapped >> 5) & 0x3FF)
                   : no_board;
    }
    bool fitted(uint32_t card) { return board(card) != no_board; }

    // The fields of bays 1, 2, ... of a model on a bus; nothing after a failed read.
    std::optional<std::vector<uint32_t>> fields(const Model &model, uint32_t bus) {
        std::vector<uint32_t> all;
        for (const uint16_t address : model.expanders) {
            const auto bits = word(bus, address);
            if (!bits) {
                return std::nullopt;
            }
            for (int bay = 0; bay < 8; ++bay) {
                all.push_back((*bits >> (2 * bay)) & 3);
            }
        }
        return all;
    }
    static uint32_t field(const std::vector<uint32_t> &fields, uint32_t bay) {
        return bay == 0 || bay > fields.size() ? 0 : fields[bay - 1];
    }

    int32_t present(const Model &model, uint32_t slot) {
        const auto place = model.slots.find(slot);
        if (place == model.slots.end()) {
            return -1;
        }
        const auto bays = fields(model, place->second.bus);
        return bays && field(*bays, place->second.bay) != 3 ? 0 : -1;
    }
    int32_t type(const Model &model, uint32_t slot, uint8_t *type) {
        const auto place = model.slots.find(slot);
        if (place == model.slots.end()) {
            return -1;
        }
        const auto bays = fields(model, place->second.bus);
        if (!bays) {
            return -1;
        }
        const Model::Type answer = model.types[field(*bays, place->second.bay)];
        if (answer.written >= 0) {
            *type = static_cast<uint8_t>(answer.written);
        }
        return answer.result;
    }
    int32_t route(const Model &model, uint32_t slot, NvmeRoute *out) {
        const auto found = model.routes.find(slot);
        if (found == model.routes.end()) {
            return -1;
        }
        *out = found->second;
        return 0;
    }
    // The indexes of the bays that hold a field.
    std::optional<std::vector<uint32_t>> listed(const Model &model, uint32_t card,
                                                uint32_t wanted) {
        const uint32_t bus = model.in_several_connectors() ? bus_of_card(card) : 8;
        const auto bays = fields(model, bus);
        if (!bays) {
            return std::nullopt;
        }
        std::vector<uint32_t> found;
        for (uint32_t bay = 0; bay < model.listed; ++bay) {
            if (field(*bays, bay + 1) == wanted) {
                found.push_back(bay);
            }
        }
        return found;
    }

    template <typename Ask>
    int32_t ask_all(Ask ask) {
        int32_t result = -1;
        for (const uint32_t card : cards()) {
            if (!fitted(card)) {
                continue;
            }
            const Model *model = model_of(board(card));
            result = model == nullptr ? -1 : ask(*model);
            if (result == 0) {
                return 0;
            }
        }
        return result;
    }
    int32_t onboard(uint32_t slot) {
        return ask_all([&](const Model &model) { return present(model, slot); });
    }
    int32_t gettype(uint32_t slot, uint8_t *out) {
        return ask_all([&](const Model &model) { return type(model, slot, out); });
    }
    int32_t nvme_route(uint32_t slot, NvmeRoute *out) {
        return ask_all([&](const Model &model) { return route(model, slot, out); });
    }
};

// ---- the models' functions by name ----

struct Functions {
    int32_t (*present)(uint32_t);
    int32_t (*type)(uint32_t, uint8_t *);
    int32_t (*route)(uint32_t, void *);
    int32_t (*u2_list)(uint32_t, uint32_t, void *);
    int32_t (*disk_list)(uint32_t, uint32_t, void *);  // with position
    int32_t (*disk_list_fixed)(uint32_t, void *);      // without
    int32_t (*count)(uint32_t);
    int32_t (*count_fixed)();
};
inline const Functions &functions(const std::string &model) {
#define MODEL_COMMON(m) _##m##_hdd_present, _##m##_hdd_type, _##m##_hdd_nvme_i2c_info
    static const std::map<std::string, Functions> all = {
        {"bpra",
         {MODEL_COMMON(bpra), _bpra_get_u2_nvme_list, bpra_get_hdd_list, nullptr,
          get_bpra_online_hdd_count, nullptr}},
        {"bprb",
         {MODEL_COMMON(bprb), _bprb_get_u2_nvme_list, bprb_get_hdd_list, nullptr,
          get_bprb_online_hdd_count, nullptr}},
        {"bpfa",
         {MODEL_COMMON(bpfa), _bpfa_get_u2_nvme_list, bpfa_get_hdd_list, nullptr,
          get_bpfa_online_hdd_count, nullptr}},
        {"bpfb",
         {MODEL_COMMON(bpfb), _bpfb_get_u2_nvme_list, nullptr, bpfb_get_hdd_list, nullptr,
          get_bpfb_online_hdd_count}},
        {"bpfc",
         {MODEL_COMMON(bpfc), _bpfc_get_u2_nvme_list, bpfc_get_hdd_list, nullptr, nullptr,
          get_bpfc_online_hdd_count}},
        {"bpfg",
         {MODEL_COMMON(bpfg), _bpfg_get_u2_nvme_list, bpfg_get_hdd_list, nullptr, nullptr,
          get_bpfg_online_hdd_count}},
        {"bpfd",
         {MODEL_COMMON(bpfd), _bpfd_get_u2_nvme_list, nullptr, bpfd_get_hdd_list, nullptr,
          get_bpfd_online_hdd_count}},
        {"bpfe",
         {MODEL_COMMON(bpfe), _bpfe_get_u2_nvme_list, nullptr, bpfe_get_hdd_list, nullptr,
          nullptr}},
        {"bpff",
         {MODEL_COMMON(bpff), _bpff_get_u2_nvme_list, nullptr, bpff_get_hdd_list, nullptr,
          get_bpff_online_hdd_count}},
        {"bpma", {MODEL_COMMON(bpma), nullptr, nullptr, nullptr, nullptr, nullptr}},
    };
#undef MODEL_COMMON
    return all.at(model);
}

}  // namespace rules
