// soc: why the management SoC came out of reset, and how its video memory is strapped.
#include "boardfeatures/soc.h"
#include "command.h"

namespace boardctl {

namespace {

std::string hex_word(uint32_t value) { return hex(value, 8); }

// The first question of a boot clears the register; its value is then kept for everybody.
Json reset_status() {
    const uint32_t status = VEL_readSCU3C();
    return {{"value", status == 0 ? Json() : Json(hex_word(status))},
            {"ac_power_on", status == 0 ? Json() : Json(VEL_PDKIsACPowerOn() == 1)}};
}

Json video_memory(Session &session) {
    uint32_t selection = 0;
    const bool known = GetVGAMemSizeSelection(&selection) == 0;
    if (!known) {
        session.fail("the video memory's strap cannot be read from /dev/mem");
    }
    const int32_t type = known ? GetBmcMemType() : -1;
    Json bases = Json::array();
    uint32_t base = 0;
    for (int32_t region = 0; known && GetBmcMemBasePhyAddr(region, &base) == 0; ++region) {
        bases.push_back(hex_word(base));
    }
    return {{"selection", known ? Json(selection) : Json()},
            {"size_mib", type == 1   ? Json(16)
                         : type == 2 ? Json(64)
                                     : Json()},
            {"type", unless(-1, type)},
            {"base_addresses", bases.empty() ? Json() : std::move(bases)}};
}

Json soc(Session &session) {
    return {{"reset_status", reset_status()},
            {"video_memory", video_memory(session)},
            {"vga_switch", GetVGASwitchValue()},
            {"power_button_shielded", GetShieldPowerButtonStatus() == 1}};
}

void show_soc(Page &page, const Json &document) {
    page.heading("Management SoC");
    page.fields(document, {{"Reset status", "/reset_status/value"},
                           {"AC power came on", "/reset_status/ac_power_on"},
                           {"Video memory strap", "/video_memory/selection"},
                           {"Video memory in MiB", "/video_memory/size_mib"},
                           {"Video memory type", "/video_memory/type"},
                           {"Base addresses", "/video_memory/base_addresses"},
                           {"VGA switch", "/vga_switch"},
                           {"Power button shielded", "/power_button_shielded"}});
}

}  // namespace

void add_soc(Cli &cli) {
    cli.add({.name = "soc",
             .title = "Management SoC",
             .summary = "Why the SoC came out of reset, its video memory, the power button",
             .run = soc,
             .show = show_soc,
             .in_report = false});
}

}  // namespace boardctl
