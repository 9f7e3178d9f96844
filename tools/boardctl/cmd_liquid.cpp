// liquid: the liquid-cooling kit, its leak sensor and the flange card.
#include "boardfeatures/cooling.h"
#include "command.h"

namespace boardctl {

namespace {

// A flag, or null when its expander does not answer.
Json flag_of(int32_t (*read)(uint8_t *)) {
    uint8_t flag = 0;
    return read(&flag) >= 0 ? Json(flag == 1) : Json();
}

// Not to be read is not to be fitted.
Json fitted(const Json &flag) { return flag == Json(true); }

Json liquid(Session &session) {
    const Json kit = flag_of(I2C_GetLiquidCoolingFlag);
    const Json flange_card = flag_of(I2C_GetLiquidFlangecardFlag);
    const Json leaking = flag_of(I2C_GetLiquidLeakageFlag);
    const Json broken = flag_of(I2C_GetLiquidLeakageLineFlag);
    const Json absent = flag_of(I2C_GetLiquidLeakageLineAbsentFlag);
    const bool unread = leaking.is_null() || broken.is_null() || absent.is_null();
    if (unread && fitted(kit)) {
        session.fail("the leak sensor of the liquid-cooling kit cannot be read");
    }
    return {
        {"kit", {{"fitted", fitted(kit)}, {"bus", GetLiquidBUS()}}},
        {"flange_card", {{"fitted", fitted(flange_card)}, {"bus", GetFlangeBUS()}}},
        {"leak_sensor", {{"leaking", leaking}, {"line_broken", broken}, {"line_absent", absent}}},
        {"fc_level", IsSupportSetFcLevel() == 1},
        {"device_mask", hex_id(static_cast<uint32_t>(GetLiquidSupportDevice()))}};
}

void show_liquid(Page &page, const Json &document) {
    page.heading("Liquid cooling");
    page.fields(document, {{"Kit fitted", "/kit/fitted"},
                           {"Bus of the kit", "/kit/bus"},
                           {"Leaking", "/leak_sensor/leaking"},
                           {"Sensing line broken", "/leak_sensor/line_broken"},
                           {"Sensing line absent", "/leak_sensor/line_absent"},
                           {"Flange card fitted", "/flange_card/fitted"},
                           {"Bus of the flange card", "/flange_card/bus"},
                           {"FC level can be set", "/fc_level"},
                           {"Device mask", "/device_mask"}});
}

}  // namespace

void add_liquid(Cli &cli) {
    cli.add({.name = "liquid",
             .title = "Liquid cooling",
             .summary = "The liquid-cooling kit, its leak sensor and the flange card",
             .run = liquid,
             .show = show_liquid});
}

}  // namespace boardctl
