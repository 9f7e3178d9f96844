/* PCIe identification: what the board's connectors, risers, retimers, slimline sockets and
 * backplanes are, which of them are fitted, how the cables run, and which CPU lanes each PCIe slot
 * and each disk bay therefore has.
 *
 * pcieid_identify is the whole chain; the functions before it are its steps. Nothing is allocated
 * and nothing is kept between calls: the lists belong to the caller and all functions may be called
 * from any thread. A null pointer is refused with -1 before any hardware access. Lists that claim
 * more entries than their type holds are read up to what it holds.
 *
 * Hardware accesses are counted as platform calls. Messages are of module 56, warnings or
 * information.
 */
#ifndef BOARDFEATURES_PCIEID_ENUM_H
#define BOARDFEATURES_PCIEID_ENUM_H

#include "boardfeatures/abi.h"
#include "boardfeatures/pcieid.h"

BF_EXTERN_C_BEGIN

/* ---- the mainboard ---- */

#define MBSLOT_MAX_ITEMS 16u
#define MBSLOT_MAX_PORTS 8u

/* Connector types; a pcieslot_item has one of the first three. */
enum mbslot_type {
    MBSLOT_EMPTY = 0,
    MBSLOT_MEZZANINE = 1,
    MBSLOT_OCP = 2,
    MBSLOT_PCIE = 3,
    MBSLOT_RISER = 4
};

/* A mainboard connector. 240 bytes. */
typedef struct mbslot_item {
    uint32_t type; /* enum mbslot_type */
    char name[60];
    uint32_t hwid_index;      /* of the card in it, as hwid_of takes it */
    I2cChipRoute hwid_device; /* the card's identifier chip */
    uint32_t slot;            /* the slot's number, or the number of the riser's first slot */
    union {
        struct { /* mezzanine, OCP and PCIe slot */
            uint32_t cpu;
            uint32_t x1_start;
            uint32_t width;
            uint32_t reserved; /* PCIECAP_OBVERSE */
            uint32_t unused[30];
        } lanes;
        struct { /* riser connector */
            uint32_t virtual_slot_base;
            uint32_t port_count;
            pciecap_link ports[MBSLOT_MAX_PORTS];
        } riser;
    } wiring;
} mbslot_item;
BF_ASSERT_SIZE(mbslot_item, 240);

typedef struct mbslot_list {
    uint32_t count;
    struct mbslot_item items[MBSLOT_MAX_ITEMS];
} mbslot_list;
BF_ASSERT_SIZE(mbslot_list, 3844);

#define SLIMLINE_MAX_ITEMS 16u

/* A slimline (cable) socket. 116 bytes. */
typedef struct slimline_item {
    char name[64];
    uint32_t cpu;
    uint32_t x1_start;
    uint32_t width;
    uint32_t reserved;    /* the lanes' sequence tag */
    I2cChipRoute io;      /* the cable-detect expander */
    uint32_t vpp_address; /* 7-bit address of the VPP expander of the disks behind it */
} slimline_item;
BF_ASSERT_SIZE(slimline_item, 116);

typedef struct slimline_list {
    uint32_t count;
    struct slimline_item items[SLIMLINE_MAX_ITEMS];
} slimline_list;
BF_ASSERT_SIZE(slimline_list, 1860);

/* The VPP expander of a CPU port that has no slimline socket. 84 bytes. */
typedef struct noslimline_vpp_item {
    char name[64];
    uint32_t cpu;
    uint32_t x1_start;
    uint32_t width;
    uint32_t reserved; /* PCIECAP_OBVERSE */
    uint32_t vpp_address;
} noslimline_vpp_item;
BF_ASSERT_SIZE(noslimline_vpp_item, 84);

typedef struct noslimline_vpp_list {
    uint32_t count;
    struct noslimline_vpp_item items[16];
} noslimline_vpp_list;
BF_ASSERT_SIZE(noslimline_vpp_list, 1348);

/* ---- cards that the board supports, by hardware ID ---- */

#define HWID_MAX_REQUESTS 15u
#define PCIEID_MAX_RECORDS 16u

/* Hardware IDs to look up; at most HWID_MAX_REQUESTS. 68 bytes. */
typedef struct hwid_list {
    uint32_t count;
    uint32_t hwids[16];
} hwid_list;
BF_ASSERT_SIZE(hwid_list, 68);

#define PCIERISER_MAX_SLOTS 8u

/* A slot of a riser card. 44 bytes. */
typedef struct pcieriser_slot {
    I2cChipRoute route; /* to the card in it, relative to the riser's connector */
    uint32_t slot;
    uint32_t width;
    uint32_t reserved; /* the lanes' sequence tag */
} pcieriser_slot;
BF_ASSERT_SIZE(pcieriser_slot, 44);

/* A riser card. 432 bytes. */
typedef struct pcieriser_item {
    uint32_t hwid;
    I2cChipRoute hwid_device;
    uint8_t reserved[36];
    uint32_t board_numbers; /* 1: its slot numbers are the board's; else they follow the base */
    uint32_t slot_count;
    pcieriser_slot slots[PCIERISER_MAX_SLOTS];
} pcieriser_item;
BF_ASSERT_SIZE(pcieriser_item, 432);

typedef struct pcieriser_list {
    uint32_t count;
    struct pcieriser_item items[PCIEID_MAX_RECORDS];
} pcieriser_list;
BF_ASSERT_SIZE(pcieriser_list, 6916);

#define RETIMER_MAX_PORTS 4u

/* A port of a retimer card: it becomes a slimline socket. 40 bytes. */
typedef struct retimer_port {
    I2cChipRoute io; /* the cable-detect expander, relative to the card's slot */
    uint32_t width;
    uint32_t sequence;
} retimer_port;
BF_ASSERT_SIZE(retimer_port, 40);

/* A retimer card. 236 bytes. */
typedef struct retimer_item {
    uint32_t hwid;
    I2cChipRoute hwid_device;
    uint8_t reserved[36];
    uint32_t port_count;
    retimer_port ports[RETIMER_MAX_PORTS];
} retimer_item;
BF_ASSERT_SIZE(retimer_item, 236);

typedef struct retimer_list {
    uint32_t count;
    struct retimer_item items[PCIEID_MAX_RECORDS];
} retimer_list;
BF_ASSERT_SIZE(retimer_list, 3780);

#define BPDEV_MAX_UPLINKS 16u
#define BPDEV_MAX_DOWNSLOTS 32u
#define BPDEV_MAX_OFFSETS 4u /* down slots of an uplink, uplinks of a down slot */

enum bpdev_kind { BPDEV_DISK = 5, BPDEV_RISER = 6 };

/* A disk bay or slot of a backplane device. 32 bytes. */
typedef struct bpdev_downslot {
    uint32_t offset; /* what its number is made of */
    uint32_t width;
    uint32_t sequence;
    uint32_t uplink_count;
    uint32_t uplinks[BPDEV_MAX_OFFSETS]; /* indices of the uplinks that feed it */
} bpdev_downslot;
BF_ASSERT_SIZE(bpdev_downslot, 32);

/* An uplink as the device's record describes it. 56 bytes. */
typedef struct bpdev_record_uplink {
    uint32_t width;
    I2cChipRoute io; /* the cable-detect expander, relative to the interface; named as the uplink */
    uint32_t slot_count;
    uint32_t slots[BPDEV_MAX_OFFSETS]; /* indices of the down slots that it feeds */
} bpdev_record_uplink;
BF_ASSERT_SIZE(bpdev_record_uplink, 56);

/* A backplane device that the board supports. 2,004 bytes. */
typedef struct bpdev_record {
    uint32_t kind; /* enum bpdev_kind */
    uint32_t hwid;
    I2cChipRoute hwid_device; /* named as the model */
    I2cChipRoute second_device;
    uint32_t gid; /* 0: offsets count from the interface's slot base; else they are slot numbers */
    uint32_t uplink_count;
    bpdev_record_uplink uplinks[BPDEV_MAX_UPLINKS];
    uint32_t downslot_count;
    bpdev_downslot downslots[BPDEV_MAX_DOWNSLOTS];
} bpdev_record;
BF_ASSERT_SIZE(bpdev_record, 2004);

typedef struct bpdev_record_list {
    uint32_t count;
    struct bpdev_record items[PCIEID_MAX_RECORDS];
} bpdev_record_list;
BF_ASSERT_SIZE(bpdev_record_list, 32068);

/* ---- backplanes ---- */

#define MB2BPIFC_MAX_ITEMS 16u

/* A connector of the mainboard for a backplane's management bus. 108 bytes. */
typedef struct mb2bpifc_item {
    char name[64];
    uint32_t hwid_index;
    I2cChipRoute route;
    uint32_t disk_slot_base;
    uint32_t riser_slot_base;
} mb2bpifc_item;
BF_ASSERT_SIZE(mb2bpifc_item, 108);

typedef struct mb2bpifc_list {
    uint32_t count;
    struct mb2bpifc_item items[MB2BPIFC_MAX_ITEMS];
} mb2bpifc_list;
BF_ASSERT_SIZE(mb2bpifc_list, 1732);

/* An uplink of a fitted backplane device. 172 bytes. */
typedef struct bpdev_uplink {
    uint32_t width;
    I2cChipRoute io;
    uint32_t slot_count;
    uint32_t slots[BPDEV_MAX_OFFSETS];
    slimline_item source; /* the socket that feeds it; zero until bound */
} bpdev_uplink;
BF_ASSERT_SIZE(bpdev_uplink, 172);

/* A fitted backplane device. 3,864 bytes. */
typedef struct bpdev_item {
    uint32_t kind;
    uint32_t hwid;
    I2cChipRoute hwid_device;
    I2cChipRoute second_device;
    uint32_t gid;
    uint32_t slot_base;
    uint32_t uplink_count;
    bpdev_uplink uplinks[BPDEV_MAX_UPLINKS];
    uint32_t downslot_count;
    bpdev_downslot downslots[BPDEV_MAX_DOWNSLOTS];
} bpdev_item;
BF_ASSERT_SIZE(bpdev_item, 3864);

/* One device an interface at most. 61,828 bytes: too big for most stacks. */
typedef struct bpdev_list {
    uint32_t count;
    struct bpdev_item items[MB2BPIFC_MAX_ITEMS];
} bpdev_list;
BF_ASSERT_SIZE(bpdev_list, 61828);

/* ---- the board's metadata ----
 * Each getter copies its whole table, unused entries as zeroes; those of the supported risers,
 * backplane devices and retimers leave the entries beyond their count as they were. 0, or -1 for a
 * null. No hardware access unless said otherwise. */

BF_API int32_t board_get_max_cpu_count(void);       /* 2 */
BF_API int32_t board_get_max_cpux1lane_count(void); /* 64 */
/* Stores a count of 0: the board states no lanes by CPU port. */
BF_API int32_t board_get_cpu_port_lanes_list(pciecap_list *list);
BF_API int32_t board_get_mainboard_slot_list(mbslot_list *list);       /* 4 connectors */
BF_API int32_t board_get_mainboard_slimline_list(slimline_list *list); /* 6 sockets */
/* 8 ports. The result is that of memcpy_s. */
BF_API int32_t board_get_mainboard_noslimline_vpp_list(noslimline_vpp_list *list);
/* The 7 interfaces. The cards at hardware-ID indices 10 and 11 decide two disk slot bases; both are
 * read until both answer, at most four times: 2 to 8 identifier reads. */
BF_API int32_t board_get_backplane_mbifc_list(mb2bpifc_list *list);
/* The records of the 6 risers, 11 backplane devices and 1 retimer that the board supports. */
BF_API int32_t board_get_support_pcieriser_list(pcieriser_list *list);
BF_API int32_t board_get_support_bpdev_list(bpdev_record_list *list);
BF_API int32_t board_get_support_retimer_list(retimer_list *list);

/* The records with the requested hardware IDs in the order of the request; an unknown ID adds
 * nothing, one asked for twice is there twice. Entries beyond the count are left as they are.
 * 0; -1: null, more than HWID_MAX_REQUESTS requests, *out untouched. */
BF_API int32_t get_riserlist_metadata_by_hwids(const hwid_list *hwids, pcieriser_list *out);
BF_API int32_t get_bpdevlist_metadata_by_hwids(const hwid_list *hwids, bpdev_record_list *out);
BF_API int32_t get_retimerlist_metadata_by_hwids(const hwid_list *hwids, retimer_list *out);

/* The board identifier of the card at a hardware-ID index, of which the low 8 bits count; 0x7FFF
 * when none answers, 0 for index 0. One identifier read, none for an index without a card. */
BF_API uint32_t hwid_of(uint32_t index);

/* ---- the slots of older callers ---- */

#define PCIE_SLOT_COUNT 12u

/* A PCIe slot and the route to its card. 76 bytes. */
typedef struct PcieSlotInfo {
    uint32_t slot;
    uint32_t card_id; /* card key; 255: none */
    uint32_t bus;
    uint16_t address;
    uint16_t flags;
    uint32_t reserved;
    uint32_t switch_address;
    uint32_t switch_channel;
    char name[16];
    uint8_t unused[32];
} PcieSlotInfo;
BF_ASSERT_SIZE(PcieSlotInfo, 76);

typedef struct PcieSlotRate {
    uint32_t slot;
    uint32_t rate; /* PCIe generation */
} PcieSlotRate;
BF_ASSERT_SIZE(PcieSlotRate, 8);
typedef struct PcieSlotRateList {
    uint32_t count;
    PcieSlotRate entries[PCIE_SLOT_COUNT];
} PcieSlotRateList;
BF_ASSERT_SIZE(PcieSlotRateList, 100);

/* No hardware access. -1: null, a slot or an index (0..11) that does not exist; nothing is written
 * then. */
BF_API int32_t GetPcieSlotCounts(void);   /* 12 */
BF_API int32_t GetPcieSoltTotalNum(void); /* 12 */
BF_API int32_t GetPcieI2cinfoByPcieSlot(uint32_t slot, PcieSlotInfo *out);
BF_API int32_t GetPcieInfoByIndex(uint32_t index, PcieSlotInfo *out);
BF_API int32_t GetCardIdByPcieSlot(uint32_t slot, uint8_t *card_id); /* -1 also for no card id */
BF_API int32_t GetPcieSoltAndRate(PcieSlotRateList *out);
BF_API int32_t get_specialBoardPcieSoltNum(void); /* 12 */
/* Fills the 12 entries, not the count, from a table of 12 rows. */
BF_API int32_t get_specialBoardPcieSoltAndRate(const PcieSlotInfo *table, PcieSlotRateList *out);
/* Not supported by this board: -1. */
BF_API int32_t PCIE_GetOnlineDeviceSlot(void);
BF_API int32_t PCIE_GetInvalidSlotInLowCpuConfigMode(void);

/* ---- I2C routes ---- */

/* The route to a chip behind another: the parent's bus, the child's address, flags and name, and
 * the switches of both, the parent's as the outer (second) level. A parent with switches and a
 * child without keeps its own. `out` may be one of the two.
 * 0; -1: null, more than two levels of switches (logged), *out untouched. */
BF_API int32_t i2c_topo_merge(const I2cChipRoute *parent, const I2cChipRoute *child,
                              I2cChipRoute *out);
/* The route as a line of text: bus, address, flags, switches, channels (hexadecimal but for the
 * bus) and name, cut to the buffer, which always ends in NUL. Nothing for a null or a size of 0. */
BF_API void i2c_to_string(const I2cChipRoute *route, char *buffer, uint32_t size);

/* ---- mainboard slots ---- */

#define PCIESLOT_MAX_ITEMS 128u

/* A slot of the mainboard or of a riser in it. 120 bytes. */
typedef struct pcieslot_item {
    uint32_t type; /* MBSLOT_MEZZANINE, MBSLOT_OCP or MBSLOT_PCIE */
    char name[60];
    uint32_t virtual_slot; /* hardware-ID index of the card in it */
    I2cChipRoute hwid_device;
    uint32_t cpu;
    uint32_t x1_start;
    uint32_t width;
    uint32_t reserved; /* the lanes' sequence tag */
    uint32_t slot;     /* number */
} pcieslot_item;
BF_ASSERT_SIZE(pcieslot_item, 120);

typedef struct pcieslot_list {
    uint32_t count;
    struct pcieslot_item items[PCIESLOT_MAX_ITEMS];
} pcieslot_list;
BF_ASSERT_SIZE(pcieslot_list, 15364);

/* Expands the connectors into slots; a riser connector becomes the slots of the riser in it. One
 * whose riser is not known, or whose lanes or routes do not work out, is logged and left out.
 * 0; -1: null, more than 16 connectors (logged), *out untouched. One identifier read for each riser
 * connector. */
BF_API int32_t mbslot_enum(const mbslot_list *mbslots, const pcieriser_list *risers,
                           pcieslot_list *out);
/* Turns slots that hold a retimer card into slimline sockets (`slimlines`) and all others into
 * configuration items (`cfg`, whose reserved field is 0). A retimer whose lanes or routes do not
 * work out yields neither. What does not fit a list is logged and dropped.
 * 0; -1: null. One identifier read for each slot of type MBSLOT_PCIE. */
BF_API int32_t pcieslot_enum(const pcieslot_list *pcieslots, const retimer_list *retimers,
                             const noslimline_vpp_list *vpps, slimline_list *slimlines,
                             pciecfg_list *cfg);

/* ---- slimline cables ----
 * A socket's index in the slimline list and the low bits of its VPP address are written as a word
 * of odd parity to the expander at the cable's other end, where the backplane's side reads them.
 * Bits 0-6 index, 7 parity, 13-15 VPP address; the backplane's own index comes in on the expander's
 * input pins: bits 0-3, of odd parity over bits 0-12. */

/* The platform's expander calls, for which they check the pointers; one access each. */
BF_API int32_t iobits_direction_output(const I2cChipRoute *io, uint32_t mask, uint32_t value);
BF_API int32_t iobits_write_output(const I2cChipRoute *io, uint32_t mask, uint32_t value);
BF_API int32_t iobits_read_output(const I2cChipRoute *io, uint32_t mask, uint32_t *value);
BF_API int32_t iobits_read_input(const I2cChipRoute *io, uint32_t mask, uint32_t *value);

/* Writes the socket's word and drives its bits 13-15. 0, -1 for a null, or the negative result of
 * the access that failed, which is logged. 2 accesses, 1 when the first fails. */
BF_API int32_t src_slimline_set_odata(const I2cChipRoute *io, uint32_t vpp_address, uint32_t index);
/* Reads the word of the socket at the other end: vpp 0..7, index 0..127.
 * 0; -1: null, failed read, even parity, outputs untouched. 1 access. */
BF_API int32_t dest_slimline_get_odata(const I2cChipRoute *io, uint32_t *vpp, uint32_t *index);
/* Reads the backplane's own slimline index, 0..15. 0; -1 as above. 1 access. */
BF_API int32_t dest_slimline_get_idata(const I2cChipRoute *io, uint32_t *index);

/* src_slimline_set_odata for a socket, or for every socket of a list with its place in it as the
 * index, where one that fails is logged and passed over. */
BF_API int32_t src_slimline_output_single(uint32_t index, const slimline_item *slimline);
BF_API void src_slimline_output_all(const slimline_list *slimlines);

/* ---- backplane devices ---- */

/* A device of `record` on an interface: routes merged, nothing bound. 0; -1: null, routes that do
 * not merge (logged; *out is then partly filled). */
BF_API int32_t merge_bpdev_with_mb2bpifc(const mb2bpifc_item *ifc, const bpdev_record *record,
                                         bpdev_item *out);
/* The devices that are fitted, in the order of the interfaces; an interface without a known device
 * yields none. 0; -1: null, more than 16 interfaces (logged), *out untouched. One identifier read
 * an interface. */
BF_API int32_t bpdev_enum(const mb2bpifc_list *ifcs, const bpdev_record_list *metadata,
                          bpdev_list *out);
/* Finds the socket that feeds each uplink. An uplink for which there is none gets a placeholder
 * named "NOSLIMLINE", whose lanes no CPU has, so that its slots are left out later.
 * The number of uplinks bound; -1: null, none bound. 2 accesses an uplink, 1 when the first
 * fails. */
BF_API int32_t bpdev_slimline_bind(bpdev_item *device, const slimline_list *slimlines);
/* Replaces *cfg by the items of a bound device's slots; `reserved` holds the lanes' sequence tag.
 * Slots whose lanes do not work out are logged and left out. No hardware access.
 * 0; -1: null, a device whose counts or indices do not fit together, an unknown kind (both logged),
 * *cfg untouched. */
BF_API int32_t bpdev_slot_identity(const bpdev_item *device, pciecfg_list *cfg);

/* ---- the whole chain ---- */

#define PCIEID_NONE 0xFFFFFFFFu

/* How an item of the list came about: indices into the workspace's lists, PCIEID_NONE where there
 * is none. */
typedef struct pcieid_origin {
    uint32_t connector;    /* mbslots; none behind a backplane */
    uint32_t riser;        /* risers: the card in the connector; none for its own slot */
    uint32_t pcieslot;     /* pcieslots; none behind a backplane */
    uint32_t device;       /* devices; none for a mainboard slot */
    uint32_t downslot;     /* the device's down slots */
    uint32_t uplink_count; /* uplinks that feed it */
    uint32_t uplinks[BPDEV_MAX_OFFSETS]; /* the device's uplinks */
    uint32_t sockets[BPDEV_MAX_OFFSETS]; /* slimlines: what feeds each of these uplinks */
} pcieid_origin;
BF_ASSERT_SIZE(pcieid_origin, 56);

enum pcieid_cable_state {
    PCIEID_CABLE_BOUND = 0,
    PCIEID_CABLE_NO_INDEX = 1, /* the uplink's own index was not read, or of even parity */
    PCIEID_CABLE_NO_WORD = 2,  /* the socket's word was not read, or of even parity: no cable */
    PCIEID_CABLE_NO_SOCKET = 3 /* the word names a socket that the board does not have */
};

/* What was found at an uplink. */
typedef struct pcieid_cable {
    uint32_t state;        /* enum pcieid_cable_state */
    uint32_t uplink_index; /* what the backplane says that the uplink's index is */
    uint32_t word_index;   /* the socket that the word names; when bound, one of slimlines */
} pcieid_cable;
BF_ASSERT_SIZE(pcieid_cable, 12);

/* The chain's intermediate lists, some 160 KB, owned by the caller. It needs no initialisation;
 * afterwards it shows what was found. */
typedef struct pcieid_workspace {
    mbslot_list mbslots;
    pcieriser_list risers;
    retimer_list retimers;
    noslimline_vpp_list vpps;
    pcieslot_list pcieslots;
    uint32_t slot_connectors[PCIESLOT_MAX_ITEMS]; /* of each pcieslot: mbslots */
    uint32_t slot_risers[PCIESLOT_MAX_ITEMS];     /* of each pcieslot: risers or none */
    slimline_list retimer_slimlines;              /* of the retimer cards */
    slimline_list slimlines;                      /* the mainboard's, then the retimers' */
    uint32_t slimline_slots[SLIMLINE_MAX_ITEMS];  /* of each slimline: pcieslots or none */
    mb2bpifc_list interfaces;
    bpdev_record_list records;
    bpdev_list devices;
    uint32_t device_interfaces[MB2BPIFC_MAX_ITEMS];             /* of each device: interfaces */
    pcieid_cable cables[MB2BPIFC_MAX_ITEMS][BPDEV_MAX_UPLINKS]; /* of each device's uplinks */
    pciecfg_list identified;                                    /* the result */
    pcieid_origin origins[PCIECFG_MAX_ITEMS];                   /* of each item of the result */
    /* pcieid_identify_and_store: */
    pciecfg_list held; /* what the flash held, sorted; empty when it held nothing valid */
    uint32_t stored;   /* 1 when the flash was written */
} pcieid_workspace;
BF_ASSERT_SIZE(pcieid_workspace, 163508);

/* Identifies every slot and disk bay: expands the mainboard's connectors, tells retimers from
 * slots, announces the sockets to the cables, finds the backplane devices, binds their uplinks,
 * works out their slots, and sorts everything by CPU and lane. The list is as one that is stored:
 * reserved fields are 0, entries beyond the count zero.
 * A card, cable or backplane that does not answer or fit is logged and left out.
 * 0; -1: null; a step's result when one fails as a whole (logged); *cfg is untouched then. `cfg`
 * may be the workspace's own result.
 * Accesses: an identifier read for each riser connector, PCIe slot and interface, 2 to 8 for the
 * slot bases, 2 a socket and 2 an uplink. */
BF_API int32_t pcieid_identify(pcieid_workspace *work, pciecfg_list *cfg);
/* Identifies and stores the result in the flash when it holds anything else.
 * 0 also when nothing had to be stored; otherwise the result of pcieid_identify (nothing
 * is written then) or of pciecfg_data_update. Accesses: those of pcieid_identify and of
 * pciecfg_data_parser, and of pciecfg_data_update when the lists differ. */
BF_API int32_t pcieid_identify_and_store(pcieid_workspace *work);

BF_EXTERN_C_END

#endif
