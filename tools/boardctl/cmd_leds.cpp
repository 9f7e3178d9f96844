// leds: the front-panel LEDs and the EPLD bits that drive them.
#include "boardfeatures/host.h"
#include "command.h"

namespace boardctl {

namespace {

Json leds(Session &) {
    Json rows = Json::array();
    const int32_t count = GetAllLedCount();
    for (int32_t index = 0; index < count; ++index) {
        LedInfo led = {};
        if (GetLedCommonInfoByIndex(static_cast<uint32_t>(index), &led) != 0) {
            continue;
        }
        LedEpldInfo epld = {};
        Json driver;
        if (GetLedEpldInfoByLedId(led.led_id, &epld) == 0) {
            const uint32_t reg = epld.register_low | uint32_t{epld.register_high} << 8;
            driver = {{"register", hex_register(reg)},
                      {"mask", hex_byte(epld.mask)},
                      {"on_value", epld.on_value},
                      {"off_value", epld.off_value}};
        }
        rows.push_back({{"index", index},
                        {"led_id", hex_byte(led.led_id)},
                        {"kind", hex_byte(led.kind)},
                        {"attribute", hex_byte(led.attribute)},
                        {"epld", std::move(driver)}});
    }
    return {{"counts",
             {{"all", count},
              {"epld", GetEpldLedCount()},
              {"i2c", GetI2cLedCount()},
              {"gpio", GetGpioLedCount()}}},
            {"leds", std::move(rows)}};
}

void show_leds(Page &page, const Json &document) {
    page.heading(
        fmt::format("LEDs: {} in all, {} on the EPLD, {} on I2C, {} on GPIO",
                    value_text(document["counts"]["all"]), value_text(document["counts"]["epld"]),
                    value_text(document["counts"]["i2c"]), value_text(document["counts"]["gpio"])));
    page.table(document["leds"], {{"Index", "/index"},
                                  {"LED id", "/led_id"},
                                  {"Kind", "/kind"},
                                  {"Attribute", "/attribute"},
                                  {"EPLD register", "/epld/register"},
                                  {"Mask", "/epld/mask"},
                                  {"On", "/epld/on_value"},
                                  {"Off", "/epld/off_value"}});
}

}  // namespace

void add_leds(Cli &cli) {
    cli.add({.name = "leds",
             .title = "LEDs",
             .summary = "The front-panel LEDs and what drives them",
             .run = leds,
             .show = show_leds});
}

}  // namespace boardctl
