// power: the power supplies, the regulators behind them, and the registers that tell of faults.
#include "boardfeatures/power.h"
#include "command.h"

namespace boardctl {

namespace {

Json epld_word(uint32_t reg) {
    uint16_t word = 0;
    return GetPemVRInfoByEpld(reg, &word) == 0 ? Json(word) : Json();
}

Json hex_word_json(const Json &word) {
    return word.is_null() ? Json() : Json(hex_id(word.get<uint32_t>()));
}

Json power_supplies() {
    Json rows = Json::array();
    const auto count = static_cast<uint32_t>(GetPemMaxCount());
    for (uint32_t pem = 0; pem < count; ++pem) {
        I2cChipRoute route = {};
        const bool known = GetPemPmbusInfoBySlotID(pem, &route) == 0;
        const int32_t online = GetPemOnlineStatus(pem);
        rows.push_back({{"index", pem},
                        {"name", known ? Json(field_text(route.name)) : Json()},
                        {"fitted", online >= 0 ? Json(online == 1) : Json()},
                        {"pmbus", known ? route_json(route) : Json()}});
    }
    return rows;
}

// Null when the two readings of the register differ.
Json power_ok(Session &session) {
    uint32_t any = 0;
    const bool read = GetPsuPowerOkStatus(&any) == 0;
    if (!read) {
        session.fail("the power-ok register cannot be read");
        return {{"any", nullptr}, {"register", nullptr}};
    }
    uint16_t word = 0;
    const bool steady = ScanPsuPowerokStatus(&word) == 0;
    if (!steady) {
        session.fail("the power-ok register does not settle");
    }
    return {{"any", any == 1}, {"register", steady ? Json(hex_id(word)) : Json()}};
}

Json status_bit_json(uint8_t bit, const Json &word) {
    if (bit == VR_NO_BIT) {
        return nullptr;
    }
    return {{"bit", bit},
            {"level", word.is_null() ? Json() : Json(word.get<uint32_t>() >> bit & 1)}};
}

Json rail_regulators() {
    const VrRow *first = nullptr;
    const int32_t count = GetPemVRInfoBy9548(&first);
    Json rows = Json::array();
    std::vector<std::pair<uint32_t, Json>> words;  // each register is read once
    for (int32_t i = 0; i < count; ++i) {
        const VrRow &row = first[i];
        if (words.empty() || words.back().first != row.status_register) {
            words.emplace_back(row.status_register, epld_word(row.status_register));
        }
        const Json &word = words.back().second;
        rows.push_back({{"cpu", row.cpu},
                        {"rail", field_text(row.route.name)},
                        {"rail_code", unless(VR_NO_RAIL_CODE, row.rail_code)},
                        {"model", field_text(row.model)},
                        {"instance", row.instance},
                        {"route", route_json(row.route)},
                        {"status_register", hex_register(row.status_register)},
                        {"first_status", status_bit_json(row.first_bit, word)},
                        {"second_status", status_bit_json(row.second_bit, word)}});
    }
    return rows;
}

// The library answers 0 for a regulator that cannot be read.
Json regulator_firmware() {
    const bool supported = isSupportedVrFw() == 1;
    Json rows = Json::array();
    const auto count = static_cast<uint32_t>(GetVrChipMaxNum());
    for (uint32_t index = 0; index < count; ++index) {
        const VrFirmwareRow *row = GetVrFwI2cRegInfoByIndex(index);
        if (row == nullptr) {
            continue;
        }
        const uint32_t revision = supported ? GetVrVersionByIndex(index) : 0;
        rows.push_back({{"index", index},
                        {"chip", field_text(row->route.name)},
                        {"route", route_json(row->route)},
                        {"revision", revision != 0 ? Json(hex_byte(revision)) : Json()}});
    }
    return {{"supported", supported}, {"regulators", std::move(rows)}};
}

using PowerFaultTable = int32_t (*)(const PowerFaultRow **, uint8_t *);

Json power_faults(PowerFaultTable get) {
    const PowerFaultRow *table = nullptr;
    uint8_t count = 0;
    Json rows = Json::array();
    if (get(&table, &count) != 0) {
        return rows;
    }
    for (uint8_t i = 0; i < count; ++i) {
        const PowerFaultRow &row = table[i];
        const Json word = epld_word(row.epld_register);
        rows.push_back({{"group", row.group},
                        {"register", hex_register(row.epld_register)},
                        {"mask", row.mask != 0 ? Json(hex_byte(row.mask)) : Json()},
                        {"value", hex_word_json(word)},
                        {"masked", row.mask == 0 || word.is_null()
                                       ? Json()
                                       : Json(hex_byte(word.get<uint32_t>() & row.mask))}});
    }
    return rows;
}

Json power(Session &session) {
    return {{"supplies", power_supplies()},
            {"power_ok", power_ok(session)},
            {"regulators", rail_regulators()},
            {"firmware", regulator_firmware()},
            {"faults",
             {{"cpu", power_faults(GetCPUPowerFaultTable)},
              {"dimm", power_faults(GetDIMMPowerFaultTable)},
              {"abnormal", power_faults(GetAbnormalPowerFaultTable)}}},
            {"support",
             {{"supplies", GetPemSupportFlag() == 1},
              {"gpu", GetGPUSupportFlag() == 1},
              {"pcie_self_test_alarm", GetPcieSelfTestAlarmSupportFlag() == 1},
              {"ai_adapter", GetAIAdapterSupportFlag() == 1}}}};
}

std::string status_bit_text(const Json &status) {
    return status.is_null()
               ? "-"
               : fmt::format("bit {}: {}", status["bit"].dump(), value_text(status["level"]));
}

const Column regulator_route = {"Route", "",
                                [](const Json &row) { return route_text(row["route"]); }};

void show_power(Page &page, const Json &document) {
    page.heading("Power supplies");
    page.table(document["supplies"],
               {{"Index", "/index"},
                {"Name", "/name"},
                {"Fitted", "/fitted"},
                {"PMBus", "", [](const Json &row) {
                     return row["pmbus"].is_null() ? Json() : Json(route_text(row["pmbus"]));
                 }}});
    page.fields(document["power_ok"],
                {{"Any gives power-ok", "/any"}, {"Power-ok register", "/register"}});
    page.heading("Voltage regulators");
    page.table(
        document["regulators"],
        {{"CPU", "/cpu"},
         {"Rail", "/rail"},
         {"Model", "/model"},
         {"Instance", "/instance"},
         regulator_route,
         {"Status", "/status_register"},
         {"First", "", [](const Json &row) { return status_bit_text(row["first_status"]); }},
         {"Second", "", [](const Json &row) { return status_bit_text(row["second_status"]); }},
         {"Rail code", "/rail_code"}});
    page.heading("Regulator firmware");
    if (document["firmware"]["supported"] != true) {
        page.line("  not supported by this main board");
    }
    page.table(
        document["firmware"]["regulators"],
        {{"Index", "/index"}, {"Chip", "/chip"}, regulator_route, {"Revision", "/revision"}});
    for (const auto &[key, heading] : {std::pair{"cpu", "CPU power-fault registers"},
                                       {"dimm", "DIMM power-fault registers"},
                                       {"abnormal", "Other power-fault registers"}}) {
        page.heading(heading);
        page.table(document["faults"][key], {{"Group", "/group"},
                                             {"Register", "/register"},
                                             {"Value", "/value"},
                                             {"Mask", "/mask"},
                                             {"Masked", "/masked"}});
    }
}

}  // namespace

void add_power(Cli &cli) {
    cli.add({.name = "power",
             .title = "Power",
             .summary = "Power supplies, voltage regulators and the power-fault registers",
             .run = power,
             .show = show_power});
}

}  // namespace boardctl
