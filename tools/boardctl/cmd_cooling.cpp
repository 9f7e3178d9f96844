// cooling: the policy that the fan-control daemon gets for the fitted configuration.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>

#include "boardfeatures/identity.h"
#include "cooling.h"

namespace boardctl {

namespace {

constexpr uint32_t highest_duty = 255;
constexpr unsigned percents = 100;

Json list_of(int32_t (*get)(uint8_t *), std::size_t count) {
    uint8_t values[FAN_LIST_SIZE] = {};
    get(values);
    Json list = Json::array();
    for (std::size_t i = 0; i < count; ++i) {
        list.push_back(values[i]);
    }
    return list;
}

Json pwm_list(const CoolingModeRecord &record) {
    Json list = Json::array();
    for (const uint8_t pwm : record.pwm) {
        list.push_back(pwm);
    }
    return list;
}

Json fan_types() {
    uint8_t types[2] = {};
    uint8_t count = 0;
    GetMultiFanType(types, &count);
    Json list = Json::array();
    for (uint8_t i = 0; i < count; ++i) {
        list.push_back(types[i]);
    }
    return list;
}

// ---- PID parameters ----

struct PidGetter {
    const char *component;
    int32_t (*get)(FanPidParas *);
};
constexpr PidGetter pid_getters[] = {
    {"NVMe disk", FAN_GetNvmePIDParas},
    {"CPU, large margin", FAN_GetCPULargePIDParas},
    {"CPU, small margin", FAN_GetCPUSmallPIDParas},
    {"other", FAN_GetOtherPIDParas},
    {"network card", FAN_GetNicPIDParas},
    {"RAID card", FAN_GetRaidPIDParas},
    {"optical module", FAN_GetOptModPIDParas},
    {"FC module", FAN_GetFcModPIDParas},
    {"GPU", FAN_GetGpuPIDParas},
    {"GPU R420", FAN_GetGpuPIDForR420Paras},
    {"GPU T4", FAN_GetGpuPIDForT4Paras},
};

struct BandedPidGetter {
    const char *component;
    int32_t (*get)(FanGpuPidParas *);
};
constexpr BandedPidGetter banded_pid_getters[] = {
    {"RAID card 34X", FAN_Get34XRaidPIDParas}, {"GPU L40S", FAN_GetGpuL40sPIDParas},
    {"GPU L20", FAN_GetGpuL20PIDParas},        {"GPU L2", FAN_GetGpuL2PIDParas},
    {"GPU 4080", FAN_GetGpu4080PIDParas},      {"GPU 4090", FAN_GetGpu4090PIDParas},
    {"GPU 4090D", FAN_GetGpu4090DPIDParas},    {"GPU X8", FAN_GetGpuX8PIDParas},
    {"GPU T20", FAN_GetGpuT20PIDParas},        {"GPU I20", FAN_GetGpuI20PIDParas},
    {"GPU S3000", FAN_GetGpuS3000PIDParas},    {"GPU VG1000", FAN_GetGpuVG1000PIDParas},
};

Json coefficients(double kp, double ki, double kd) { return {{"kp", kp}, {"ki", ki}, {"kd", kd}}; }

Json pid_rows() {
    Json rows = Json::array();
    for (const PidGetter &getter : pid_getters) {
        FanPidParas paras = {};
        getter.get(&paras);
        Json row = {{"component", getter.component}};
        row.update(coefficients(paras.Kp, paras.Ki, paras.Kd));
        row["cycle"] = paras.dwPidCycle;
        rows.push_back(std::move(row));
    }
    return rows;
}

Json banded_pid_rows() {
    Json rows = Json::array();
    for (const BandedPidGetter &getter : banded_pid_getters) {
        FanGpuPidParas paras = {};
        getter.get(&paras);
        Json bands = Json::array();
        for (const FanPidTriple &band : paras.triple) {
            bands.push_back(coefficients(band.Kp, band.Ki, band.Kd));
        }
        rows.push_back({{"component", getter.component},
                        {"bands", std::move(bands)},
                        {"a", paras.dwParamA},
                        {"b", paras.dwParamB},
                        {"target", paras.dwTargetTemp},
                        {"cycle", paras.dwPidCycle}});
    }
    return rows;
}

// ---- the rest of the policy ----

Json mode_rows(const Json &backplanes, uint32_t fan_type) {
    const Json in_use = modes_of(backplanes, fan_type);
    std::vector<CoolingModeRecord> records(std::max<std::size_t>(
        FAN_COOLING_MODES_MAX, static_cast<std::size_t>(FAN_GetCoolingModeCnt())));
    FAN_GetCoolingMode(records.data());
    records.resize(static_cast<std::size_t>(FAN_GetCoolingModeCnt()));
    Json rows = Json::array();
    for (const CoolingModeRecord &record : records) {
        // The rows of these backplanes are the ones that the policy hands out for them.
        const bool used = record.fan_type == fan_type && !in_use.empty() &&
                          (g_bIsFell != 0 || backplanes == Json(record.hdbk_id));
        rows.push_back({{"backplanes", record.hdbk_id},
                        {"fan_type", record.fan_type},
                        {"mode", record.mode},
                        {"in_use", used},
                        {"pwm", pwm_list(record)}});
    }
    return rows;
}

Json sensorless_cards() {
    NoTempComponent cards[FAN_NO_TEMP_COMPONENTS_MAX] = {};
    FAN_GetNoTempComponentsInBoard(cards);
    Json rows = Json::array();
    for (int32_t i = 0; i < FAN_GetNoTempComponentsCountsInBoard(); ++i) {
        rows.push_back({{"vendor_id", hex_id(cards[i].vendor_id)},
                        {"device_id", hex_id(cards[i].device_id)},
                        {"subsystem_vendor_id", hex_id(cards[i].subsystem_vendor_id)},
                        {"subsystem_device_id", hex_id(cards[i].subsystem_device_id)}});
    }
    return rows;
}

Json power_levels() {
    uint16_t watts[5] = {};
    FAN_GetPowerLevel(watts);
    Json list = Json::array();
    for (const uint16_t each : watts) {
        list.push_back(each);
    }
    return list;
}

Json limits_json() {
    uint8_t pch[2] = {}, memory[2] = {};
    FAN_GetPCHThermalParams(&pch[0], &pch[1]);
    FAN_GetMemThermalParams(&memory[0], &memory[1]);
    return {{"inlet", FAN_GetMaxIntempLevel()},
            {"pch_low", pch[0]},
            {"pch_high", pch[1]},
            {"memory_low", memory[0]},
            {"memory_high", memory[1]},
            {"nvme_start", FanGetNvmeStartTemp()}};
}

Json highest_pwm() {
    Json rows = Json::array();
    for (const Json &type : fan_types()) {
        rows.push_back({{"fan_type", type}, {"pwm", FAN_GetMaxPwmFanType(type.get<uint32_t>())}});
    }
    return rows;
}

Json margins_json() {
    uint8_t cpu[3] = {};
    FAN_GetCPUTMarginOffset(cpu);
    return {{"cpu", {cpu[0], cpu[1], cpu[2]}},
            {"other", FAN_GetOtherTMarginOffset()},
            {"gpu", FAN_GetGPUTMarginBnry()}};
}

Json parameters_json() {
    return {{"pulse_rpm", FAN_GetPulse()},
            {"max_down_pwm", FAN_GetMaxDownPwm()},
            {"call_back_pwm_by_power", FAN_GetCallBackPwmByPower()},
            {"inlet_revises", FAN_GetIntempRevises()},
            {"cpu_time", FAN_GetCPUTime()},
            {"raid", FAN_GetRAIDParas()},
            {"gpu", FAN_GetGPUParas()},
            {"smart_nic", FAN_GetSmartNicParas()},
            {"ai_adapter", FAN_GetAIAdapterParas()},
            {"pwm_without_disk_temperature", FAN_GetHarddiskTempFailed()},
            {"pwm_without_nvme_temperature", FAN_GetMaxPwmNvmeGetFailed()},
            {"offline_fans_for_full_speed", GetFanOfflineLowerstCountOfFullSpeed()},
            {"gear_cooling_server_type", FAN_GetServerTypeForGearCooling()},
            {"fan_tray_alarm_configuration", GetFantrayAlarmCfg()},
            {"device_mask", hex_id(static_cast<uint32_t>(GetSupportDevice()))}};
}

struct Switch {
    const char *name;
    const char *meaning;
    int32_t (*ask)();
};
constexpr Switch switch_table[] = {
    {"fans", "Fans", GetFanSupportFlag},
    {"cooling_modes", "Cooling modes", IsSupportCoolingMode},
    {"fan_types", "Several fan types", GetIsSupportMultiFanType},
    {"fan_types_8038_8056", "Fan types 8038 and 8056", IsSupportFantype8038Or8056},
    {"fan_control_by_host", "Fan control by the host", GetFanControlByHostFlag},
    {"linear_lowest_pwm", "Lowest PWM is linear", IsFanLowestPWMCtlLinear},
    {"fan_index_map_file", "Fan map from a file", IsSupportFanIndexMapCfg},
    {"hard_disk_configuration", "Hard disk configuration mode", IsSupportHDConfMode},
    {"power_module_inlet", "Inlet temperature of power modules", IsSupportInputTempOfMpema},
    {"reduced_fan_trays", "Reduced fan trays", IsFantrayReduce},
    {"partition_control", "Fans controlled by partition", IsSupportPartitionCtrolFan},
    {"gpu_a4000", "GPU A4000", IsSupportA4000Gpu},
    {"gpu_3080", "GPU 3080", IsSupport3080Gpu},
    {"gpu_3080_crag", "GPU 3080 in a Crag", IsCrag_3080Gpu},
    {"dual_rotor_speed_limit", "Speed limit of dual rotors", IsSupportDualRotorsSpeedLimit},
};

Json support_json() {
    Json support = Json::object();
    for (const Switch &each : switch_table) {
        support[each.name] = each.ask() == 1;
    }
    return support;
}

Json policy(const PolicyOptions &options) {
    const Json configuration = cooling_configuration();
    const uint32_t fan_type = fan_type_or(options.fan_type);
    const Json backplanes = backplanes_or(options.asked_backplanes());
    return {{"configuration", configuration},
            {"backplanes", backplanes},
            {"fan_type", fan_type},
            {"highest_pwm", highest_pwm()},
            {"inlet_limits", inlet_limits()},
            {"inlet_pwm", list_of(FAN_GetIntempLstPwm, inlet_levels)},
            {"modes", mode_rows(backplanes, fan_type)},
            {"power_levels", power_levels()},
            {"power_level_pwm", list_of(FAN_GetPowerLstPwm, 5)},
            {"pid", pid_rows()},
            {"banded_pid", banded_pid_rows()},
            {"sensorless_cards", sensorless_cards()},
            {"sensorless_pwm", list_of(FAN_GetNoTempComponentsPWM, inlet_levels)},
            {"bottom_device_pwm", list_of(FAN_GetBottomDevPwm, inlet_levels)},
            {"limits", limits_json()},
            {"margins", margins_json()},
            {"parameters", parameters_json()},
            {"support", support_json()}};
}

// ---- what a person reads ----

void show_configuration(Page &page, const Json &document) {
    page.heading("Cooling configuration");
    page.fields(document, {{"Configuration", "/configuration/name"},
                           {"Because", "/configuration/reason"},
                           {"Board id in position 10", "/configuration/position_10"},
                           {"Board id in position 11", "/configuration/position_11"},
                           {"Backplane combination", "/backplanes"},
                           {"Fan type", "/fan_type"}});
}

std::vector<Column> level_columns(const Json &limits, std::vector<Column> columns,
                                  const std::string &list) {
    for (std::size_t level = 0; level < inlet_levels; ++level) {
        const std::string limit =
            limits[level].is_null() ? "above" : fmt::format("to {}", limits[level].dump());
        columns.push_back({limit, fmt::format("{}/{}", list, level)});
    }
    return columns;
}

void show_curves(Page &page, const Json &document) {
    const Json &limits = document["inlet_limits"];
    page.heading("PWM, 0 to 255, by inlet temperature in degrees Celsius");
    const Json rows = {
        {{"curve", "without a mode"}, {"pwm", document["inlet_pwm"]}},
        {{"curve", "cards without a sensor"}, {"pwm", document["sensorless_pwm"]}},
        {{"curve", "devices at the bottom"}, {"pwm", document["bottom_device_pwm"]}}};
    page.table(rows, level_columns(limits, {{"Curve", "/curve"}}, "/pwm"));
    page.heading("Cooling modes");
    page.table(document["modes"], level_columns(limits,
                                                {{"Backplanes", "/backplanes"},
                                                 {"Fan type", "/fan_type"},
                                                 {"Mode", "/mode"},
                                                 {"In use", "/in_use"}},
                                                "/pwm"));
    page.heading("Highest PWM");
    page.table(document["highest_pwm"], {{"Fan type", "/fan_type"}, {"PWM", "/pwm"}});
}

void show_pid(Page &page, const Json &document) {
    page.heading("PID parameters");
    page.table(document["pid"], {{"Component", "/component"},
                                 {"Kp", "/kp"},
                                 {"Ki", "/ki"},
                                 {"Kd", "/kd"},
                                 {"Cycle", "/cycle"}});
    page.heading("PID parameters of three bands: Kp/Ki/Kd");
    const auto band = [](std::size_t number) {
        return Column{fmt::format("Band {}", number + 1), "", [number](const Json &row) {
                          const Json &k = row["bands"][number];
                          return Json(fmt::format("{:g}/{:g}/{:g}", k["kp"].get<double>(),
                                                  k["ki"].get<double>(), k["kd"].get<double>()));
                      }};
    };
    page.table(document["banded_pid"], {{"Component", "/component"},
                                        band(0),
                                        band(1),
                                        band(2),
                                        {"A", "/a"},
                                        {"B", "/b"},
                                        {"Target", "/target"},
                                        {"Cycle", "/cycle"}});
}

void show_policy(Page &page, const Json &document) {
    show_configuration(page, document);
    show_curves(page, document);
    page.heading("Power levels");
    page.fields(document, {{"Watts", "/power_levels"}, {"PWM by level", "/power_level_pwm"}});
    show_pid(page, document);
    page.heading("Cards without a temperature sensor");
    page.table(document["sensorless_cards"], {{"Vendor", "/vendor_id"},
                                              {"Device", "/device_id"},
                                              {"Subsystem vendor", "/subsystem_vendor_id"},
                                              {"Subsystem device", "/subsystem_device_id"}});
    page.heading("Limits in degrees Celsius, and parameters");
    page.fields(document,
                {{"Inlet, highest level", "/limits/inlet"},
                 {"PCH, low", "/limits/pch_low"},
                 {"PCH, high", "/limits/pch_high"},
                 {"Memory, low", "/limits/memory_low"},
                 {"Memory, high", "/limits/memory_high"},
                 {"NVMe, start", "/limits/nvme_start"},
                 {"CPU margin offsets", "/margins/cpu"},
                 {"Other margin offset", "/margins/other"},
                 {"GPU margin boundary", "/margins/gpu"},
                 {"Pulse in RPM", "/parameters/pulse_rpm"},
                 {"Largest PWM step down", "/parameters/max_down_pwm"},
                 {"PWM called back by power", "/parameters/call_back_pwm_by_power"},
                 {"Inlet revision", "/parameters/inlet_revises"},
                 {"CPU time", "/parameters/cpu_time"},
                 {"RAID parameter", "/parameters/raid"},
                 {"GPU parameter", "/parameters/gpu"},
                 {"Smart NIC parameter", "/parameters/smart_nic"},
                 {"AI adapter parameter", "/parameters/ai_adapter"},
                 {"PWM without disk temperature", "/parameters/pwm_without_disk_temperature"},
                 {"PWM without NVMe temperature", "/parameters/pwm_without_nvme_temperature"},
                 {"Missing fans for full speed", "/parameters/offline_fans_for_full_speed"},
                 {"Server type for gear cooling", "/parameters/gear_cooling_server_type"},
                 {"Fan tray alarm configuration", "/parameters/fan_tray_alarm_configuration"},
                 {"Device mask", "/parameters/device_mask"}});
    page.heading("Supported");
    std::vector<Column> columns;
    for (const Switch &each : switch_table) {
        columns.push_back({each.meaning, fmt::format("/support/{}", each.name)});
    }
    page.fields(document, columns);
}

// ---- the plot ----

std::vector<Chart> plot_charts(const Json &document) {
    Chart inlet = inlet_chart(document["inlet_limits"], document["modes"]);
    inlet.title = fmt::format("{}: PWM over inlet temperature, fan type {}",
                              document["configuration"]["name"].get<std::string>(),
                              document["fan_type"].dump());
    Chart power = {"Fan power over PWM",
                   {"PWM in percent", percents, 5},
                   {"fan power in W", 80, 4},
                   false,
                   {}};
    for (const Json &row : document["fan_power"]) {
        const std::string type = row["fan_type"].dump();
        power.curves.push_back(
            {"fan type " + type, type.back(), row["watts"].get<std::vector<double>>()});
    }
    return {inlet, power};
}

Json plot(Session &session, const PolicyOptions &options) {
    const Json configuration = cooling_configuration();
    const uint32_t fan_type = fan_type_or(options.fan_type);
    const Json backplanes = backplanes_or(options.asked_backplanes());
    Json power = Json::array();
    for (const Json &type : fan_types()) {
        power.push_back({{"fan_type", type}, {"watts", fan_power(type.get<uint32_t>())}});
    }
    Json document = {{"configuration", configuration},
                     {"backplanes", backplanes},
                     {"fan_type", fan_type},
                     {"inlet_limits", inlet_limits()},
                     {"modes", modes_of(backplanes, fan_type)},
                     {"fan_power", std::move(power)},
                     {"svg", nullptr}};
    if (document["modes"].empty()) {
        session.fail(
            "there are no cooling modes for these backplanes: name others with "
            "--backplanes");
    }
    if (!options.svg.empty()) {
        document["svg"] =
            write_svg(session, options.svg, svg_of("Cooling policy", plot_charts(document)));
    }
    return document;
}

void show_plot(Page &page, const Json &document) {
    show_configuration(page, document);
    for (const Chart &chart : plot_charts(document)) {
        if (!chart.curves.empty()) {
            draw(page, chart);
        }
    }
}

}  // namespace

Json cooling_configuration() {
    FAN_GetCoolingModeCnt();  // looks it up
    const Json first = g_wSubCardID_SLOT10 == 0 ? Json() : Json(hex_id(g_wSubCardID_SLOT10));
    const Json second = g_wSubCardID_SLOT11 == 0 ? Json() : Json(hex_id(g_wSubCardID_SLOT11));
    const bool fell = g_bIsFell != 0;
    std::string reason = "no card answers in position 10 or 11";
    if (!first.is_null() || !second.is_null()) {
        reason = fmt::format("the cards in positions 10 ({}) and 11 ({}) {} a Fell",
                             first.is_null() ? "none" : first.get<std::string>(),
                             second.is_null() ? "none" : second.get<std::string>(),
                             fell ? "make it" : "do not make it");
    }
    return {{"name", fell ? "Fell" : "Tarn"},
            {"reason", reason},
            {"position_10", first},
            {"position_11", second}};
}

uint32_t fan_type_or(uint32_t asked) {
    return asked != 0 ? asked : static_cast<uint32_t>(FAN_GetFanTypeByBoard());
}

Json backplanes_or(const Json &asked) {
    constexpr uint32_t none = 255;
    return asked.is_null() ? unless(none, static_cast<uint32_t>(GetHDbkBoardId())) : asked;
}

Json inlet_limits() {
    uint8_t degrees[FAN_LIST_SIZE] = {};
    const int32_t without_limit = FAN_GetIntemp(degrees);
    Json limits = Json::array();
    for (std::size_t level = 0; level < inlet_levels; ++level) {
        limits.push_back(degrees[level] == without_limit ? Json() : Json(degrees[level]));
    }
    return limits;
}

std::size_t level_of(const Json &limits, int degrees) {
    std::size_t level = 0;
    while (level < inlet_levels - 1 && !limits[level].is_null() &&
           degrees > limits[level].get<int>()) {
        ++level;
    }
    return level;
}

int end_of_sweep(const Json &limits) {
    constexpr int beyond = 5;
    int last = 0;
    for (const Json &limit : limits) {
        last = limit.is_null() ? last : limit.get<int>();
    }
    return last + beyond;
}

Json modes_of(const Json &backplanes, uint32_t fan_type) {
    // Outside every combination, for a policy that does not ask for it.
    constexpr uint32_t no_combination = 255;
    CoolingModeRecord records[FAN_COOLING_MODES] = {};
    const uint32_t code = backplanes.is_null() ? no_combination : backplanes.get<uint32_t>();
    Json modes = Json::array();
    if (FAN_GetCoolingModeParaByHDbk(code, fan_type, records) == 0) {
        for (const CoolingModeRecord &record : records) {
            modes.push_back({{"mode", record.mode}, {"pwm", pwm_list(record)}});
        }
    }
    return modes;
}

std::vector<double> fan_power(uint32_t fan_type) {
    FanPower rows[FAN_POWER_ROWS] = {};
    FAN_GetTotalPower(rows, fan_type);
    std::vector<double> watts;
    for (const FanPower &row : rows) {
        watts.push_back(std::round(static_cast<double>(row.watts) * 100) / 100);  // as it is kept
    }
    return watts;
}

Chart inlet_chart(const Json &limits, const Json &modes) {
    const int end = end_of_sweep(limits);
    Chart chart = {"",
                   {"inlet in degrees Celsius", static_cast<unsigned>(end), 5},
                   {"PWM, 0 to 255", highest_duty, 5},
                   true,
                   {}};
    for (const Json &mode : modes) {
        const std::string number = mode["mode"].dump();
        Curve curve = {"mode " + number, number.back(), {}};
        for (int degrees = 0; degrees <= end; ++degrees) {
            curve.values.push_back(mode["pwm"][level_of(limits, degrees)].get<double>());
        }
        chart.curves.push_back(std::move(curve));
    }
    return chart;
}

Json write_svg(Session &session, const std::string &path, const std::string &svg) {
    std::FILE *file = std::fopen(path.c_str(), "w");
    bool written = file != nullptr && std::fwrite(svg.data(), 1, svg.size(), file) == svg.size();
    const int reason = errno;
    written = (file == nullptr || std::fclose(file) == 0) && written;
    if (!written) {
        session.fail(fmt::format("{}: cannot be written: {}", path,
                                 std::strerror(reason != 0 ? reason : errno)));
    }
    return written ? Json(path) : Json();
}

void add_fan_type_option(CLI::App &command, uint32_t &fan_type) {
    command.add_option("--fan-type", fan_type, "7 single or 8 dual rotors (the board's)")
        ->check(CLI::Range(FAN_TYPE_SINGLE_ROTOR, FAN_TYPE_DUAL_ROTOR).description(""))
        ->type_name("7|8");
}

void add_policy_options(CLI::App &command, PolicyOptions &options) {
    add_fan_type_option(command, options.fan_type);
    command
        .add_option("--backplanes", options.backplanes, "Backplane combination (the fitted one)")
        ->check(CLI::Range(0, 254).description(""))
        ->type_name("CODE");
    command.add_option("--svg", options.svg, "Write the curves to a file as SVG")
        ->type_name("FILE");
}

void add_cooling(Cli &cli) {
    struct Options : PolicyOptions {
        bool plot = false;
    };
    const auto options = std::make_shared<Options>();
    CLI::App &command = cli.add({.name = "cooling",
                                 .title = "Cooling policy",
                                 .summary = "Curves, modes and parameters of fan control",
                                 .run =
                                     [options](Session &session) {
                                         return options->plot || !options->svg.empty()
                                                    ? plot(session, *options)
                                                    : policy(*options);
                                     },
                                 .show =
                                     [](Page &page, const Json &document) {
                                         document.contains("svg") ? show_plot(page, document)
                                                                  : show_policy(page, document);
                                     }});
    command.add_flag("--plot", options->plot, "Draw curves and fan power");
    add_policy_options(command, *options);
    add_cooling_what_if(cli, command);
}

}  // namespace boardctl
