// fans: the fans of the board, where each is, and how it turns.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "boardfeatures/cooling.h"
#include "command.h"
#include "cooling.h"

namespace boardctl {

namespace {

// While this exists the library answers for presence what it remembers, which here is nothing.
constexpr char epld_reset_flag[] = "/var/epldresetflag";

template <typename Value>
Json answer_of(int32_t (*ask)(uint32_t, uint8_t *), Value index) {
    uint8_t value = 0;
    return ask(index, &value) == 0 ? Json(value) : Json();
}

Json label_of(uint32_t fan, uint32_t fan_type) {
    char mark[sizeof(FanRow::mark) + 1] = {};
    return GetFanMarkByFanIndex(fan, mark, fan_type) == 0 ? Json(mark) : Json();
}

const char *rotor_of(uint32_t fan, uint32_t fan_type) {
    if (fan_type == FAN_TYPE_SINGLE_ROTOR) {
        return "single";
    }
    return FAN_GetFantype_Tarn(1, fan) == FAN_TYPE_DUAL_ROTOR ? "rear" : "front";
}

// A fan that is there and whose speed cannot be read is a failure.
Json speed_of(Session &session, const Json &label, const Json &tachometer, const Json &present) {
    uint32_t rpm = 0;
    if (present == Json(false) || tachometer.is_null()) {
        return nullptr;
    }
    if (get_fan_speed(0, tachometer.get<uint32_t>(), &rpm) != 0) {
        session.fail(fmt::format("the speed of fan {} cannot be read", value_text(label)));
        return nullptr;
    }
    return rpm;
}

Json fan_row(Session &session, uint32_t fan, uint32_t fan_type, bool in_reset) {
    const Json label = label_of(fan, fan_type);
    const Json tachometer = answer_of(GetTachNumByFanIndex, fan);
    const Json present = in_reset ? Json() : Json(GetFanOnlineStatus(fan) == 1);
    const Json rpm = speed_of(session, label, tachometer, present);
    const int32_t least = FAN_GetMinRPM(fan, fan_type);
    const int32_t most = FAN_GetMaxRPM(fan, fan_type);
    return {{"index", fan},
            {"label", label},
            {"module", FAN_GetFanSlotNum(fan)},
            {"rotor", rotor_of(fan, fan_type)},
            {"pwm_index", answer_of(GetFanPwmIndexByFanIndex, fan)},
            {"tachometer", tachometer},
            {"present", present},
            {"controlled", IsFanNeedControl(fan) == 1},
            {"control_mode", answer_of(GetFanControlModeByFanIndex, fan)},
            {"rpm", rpm},
            {"min_rpm", least},
            {"max_rpm", most},
            {"within_limits", rpm.is_null() ? Json() : Json(rpm >= least && rpm <= most)}};
}

Json fans(Session &session, uint32_t asked_type) {
    const uint32_t fan_type = fan_type_or(asked_type);
    const bool in_reset = access(epld_reset_flag, F_OK) == 0;
    if (in_reset) {
        session.fail("the EPLD is being reset: which fans are there cannot be read");
    }
    Json rows = Json::array();
    const int32_t count = GetFanCountSharedBoard(fan_type);
    for (int32_t fan = 0; fan < count; ++fan) {
        rows.push_back(fan_row(session, static_cast<uint32_t>(fan), fan_type, in_reset));
    }
    return {{"fan_type", fan_type},
            {"modules", GetFanRealCount()},
            {"max_count", GetFanMaxCount()},
            {"inlet_sensors", GetInletSensorMaxCount()},
            {"fans", std::move(rows)}};
}

void show_fans(Page &page, const Json &document) {
    page.heading(fmt::format("Fans of type {} in {} modules", document["fan_type"].dump(),
                             document["modules"].dump()));
    page.table(document["fans"], {{"Index", "/index"},
                                  {"Label", "/label"},
                                  {"Module", "/module"},
                                  {"Rotor", "/rotor"},
                                  {"PWM", "/pwm_index"},
                                  {"Tachometer", "/tachometer"},
                                  {"Present", "/present"},
                                  {"Controlled", "/controlled"},
                                  {"RPM", "/rpm"},
                                  {"Least", "/min_rpm"},
                                  {"Most", "/max_rpm"},
                                  {"Within", "/within_limits"}});
}

}  // namespace

void add_fans(Cli &cli) {
    const auto fan_type = std::make_shared<uint32_t>(0);
    CLI::App &command =
        cli.add({.name = "fans",
                 .title = "Fans",
                 .summary = "The fans, where each is, and how it turns",
                 .run = [fan_type](Session &session) { return fans(session, *fan_type); },
                 .show = show_fans});
    add_fan_type_option(command, *fan_type);
}

}  // namespace boardctl
