// effect-mode: how a newly probed PCIe configuration takes effect.
#include <CLI/CLI.hpp>
#include <map>
#include <memory>

#include "boardfeatures/pcieid_settings.h"
#include "command.h"
#include "settings.h"

namespace boardctl {

namespace {

constexpr char setting_name[] = "pcie-effect-mode";

Json effect_mode(Session &session) {
    const Chosen setting = find_setting(setting_name).value();
    std::optional<std::string> problem;
    const Json row = setting_rows(*setting.record, "", problem).front();
    if (problem) {
        session.fail(*problem);
    }
    return {{"mode", row["value"]}, {"default", row["default"]},         {"source", row["source"]},
            {"file", row["file"]},  {"file_exists", row["file_exists"]}, {"stored", row["stored"]}};
}

void show_effect_mode(Page &page, const Json &document) {
    page.heading("How a new PCIe configuration takes effect");
    page.fields(document, {{"Mode", "/mode"},
                           {"Default", "/default"},
                           {"From", "/source"},
                           {"File", "/file"},
                           {"File exists", "/file_exists"},
                           {"Stored text", "/stored"}});
}

void add_set_mode(Cli &cli, CLI::App &parent) {
    const auto mode = std::make_shared<uint32_t>(0);
    CLI::App &command = cli.add(
        {.name = "set",
         .title = "",
         .summary = "Choose the mode",
         .run = [mode](Session &session) -> Json {
             if (pcieidcfg_set_effect_mode(*mode) != 0) {
                 session.fail(fmt::format("{} cannot be saved: the mode lasts until the next start",
                                          find_setting(setting_name)->record->file));
             }
             return effect_mode(session);
         },
         .show = show_effect_mode,
         .in_report = false},
        &parent);
    command.add_option("mode", *mode, "the mode")
        ->required()
        ->type_name("automatic|intelligent")
        ->transform(CLI::CheckedTransformer(
                        std::map<std::string, uint32_t>{{"automatic", PCIEID_EFFECT_AUTOMATIC},
                                                        {"intelligent", PCIEID_EFFECT_INTELLIGENT}})
                        .description(""));
}

}  // namespace

void add_effect_mode(Cli &cli) {
    CLI::App &command = cli.add({.name = "effect-mode",
                                 .title = "PCIe effect mode",
                                 .summary = "How a new PCIe configuration takes effect",
                                 .run = effect_mode,
                                 .show = show_effect_mode,
                                 .in_report = false});
    add_set_mode(cli, command);
}

}  // namespace boardctl
