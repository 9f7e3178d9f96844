// cpus: which CPUs are fitted, and what the board states about them.
#include "boardfeatures/host.h"
#include "command.h"

namespace boardctl {

namespace {

// A register address or an offset that the board may not have.
Json hex_or_none(int32_t value) {
    constexpr int32_t none = 0xFFFF;
    return value == none ? Json() : Json(hex_register(static_cast<uint32_t>(value)));
}

Json limit(int32_t (*get)(uint8_t *)) {
    uint8_t value = 0;
    return get(&value) == 0 ? Json(value) : Json();
}

Json cpus(Session &) {
    Json rows = Json::array();
    const int32_t count = GetCpuMaxCount();
    for (int32_t cpu = 0; cpu < count; ++cpu) {
        rows.push_back({{"index", cpu},
                        {"silk_screen", cpu + GetCpuSilkScreenIndexFixValue()},
                        {"entity_instance", cpu + GetCpuEntityInsStartIndex()},
                        {"fitted", GetCpuOnlineStatus(static_cast<uint32_t>(cpu)) == 1}});
    }
    return {{"cpus", std::move(rows)},
            {"location_register", hex_id(static_cast<uint32_t>(getScreeCpuLocationData()))},
            {"constants",
             {{"type", GetCpuType()},
              {"platform", GetCpuPlatform()},
              {"max_count", count},
              {"temperature_limits",
               {{"tjmax", limit(GETBoardCpuTempTjmax)},
                {"critical", limit(GETBoardCpuTempTcritical)},
                {"non_recoverable", limit(GETBoardCpuTempTnonrecoverable)}}},
              {"epld_temperature", GetEpldCpuTempSupportFlag() == 1},
              {"epld_temperature_offset", hex_or_none(GetEpldCpuTempOffset())},
              {"iss", GETBoardCpuSupportISSFlag() == 1},
              {"reduce_flag", GetCpuReduceFlag()},
              {"bios_post_end_flag", limit(GETCpuBiosPostEndFlag)},
              {"frb2_watchdog_timeout", GetFrb2WdtTimeout()},
              {"os_time_register", hex_or_none(GetOsTimeEPLDRegAddr())},
              {"os_sync_time", unless(-1, OsSyncTimeEnable())},
              {"sync_time_save_path", GetSyncTimeSavePath()},
              {"temperature_non_critical_disable", unless(-1, TempNonCritlDisable())}}}};
}

void show_cpus(Page &page, const Json &document) {
    page.heading("CPUs");
    page.table(document["cpus"], {{"Index", "/index"},
                                  {"Silk screen", "/silk_screen"},
                                  {"Entity instance", "/entity_instance"},
                                  {"Fitted", "/fitted"}});
    page.heading("CPU facts");
    page.fields(document,
                {{"Location register", "/location_register"},
                 {"CPU type", "/constants/type"},
                 {"CPU platform", "/constants/platform"},
                 {"CPUs at most", "/constants/max_count"},
                 {"Tjmax", "/constants/temperature_limits/tjmax"},
                 {"Critical temperature", "/constants/temperature_limits/critical"},
                 {"Non-recoverable temperature", "/constants/temperature_limits/non_recoverable"},
                 {"Temperature in the EPLD", "/constants/epld_temperature"},
                 {"EPLD temperature offset", "/constants/epld_temperature_offset"},
                 {"ISS", "/constants/iss"},
                 {"Reduce flag", "/constants/reduce_flag"},
                 {"BIOS POST end flag", "/constants/bios_post_end_flag"},
                 {"FRB-2 watchdog timeout", "/constants/frb2_watchdog_timeout"},
                 {"OS time register", "/constants/os_time_register"},
                 {"OS time synchronised", "/constants/os_sync_time"},
                 {"Time save path", "/constants/sync_time_save_path"},
                 {"Non-critical disabled", "/constants/temperature_non_critical_disable"}});
}

}  // namespace

void add_cpus(Cli &cli) {
    cli.add({.name = "cpus",
             .title = "CPUs",
             .summary = "The CPUs that are fitted, and the CPU facts of the board",
             .run = cpus,
             .show = show_cpus});
}

}  // namespace boardctl
