// pcie: the list that is stored for the host firmware, and the flash that it is stored in.
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include "pcie.h"

namespace boardctl {

namespace {

constexpr uint32_t image_pages = PCIECFG_IMAGE_SIZE / UFM_PAGE_SIZE;

// The stored list, sorted; null when there is no valid one.
std::unique_ptr<pciecfg_list> read_stored() {
    const Progress progress("Reading the flash");
    auto list = std::make_unique<pciecfg_list>();
    if (pciecfg_data_parser(list.get()) != 0 || pciecfg_sort(list.get(), list.get()) != 0) {
        return nullptr;
    }
    return list;
}

// ---- stored, store ----

constexpr char none_stored[] = "the flash cannot be read or holds no valid list";

Json stored(Session &session) {
    const auto list = read_stored();
    if (list == nullptr) {
        session.fail(none_stored);
    }
    return {{"valid", list != nullptr},
            {"slots", list != nullptr ? pcie_items_json(*list) : Json::array()}};
}

void show_items(Page &page, const char *heading, const Json &slots) {
    page.heading(heading);
    page.table(slots, pcie_item_columns());
}

Json store(Session &session) {
    session.confirm("Store the identified list in the flash for the host firmware?");
    const auto work = std::make_unique<pcieid_workspace>();
    int32_t result;
    {
        const Progress progress("Storing the list");
        result = pcieid_identify_and_store(work.get());
    }
    if (result != 0) {
        session.fail("the list cannot be stored");
        return {{"written", false}, {"stored", nullptr}, {"slots", Json::array()}};
    }
    bool held = true;
    if (work->stored != 0) {
        // A flash that did not take its pages only shows when they are read back.
        const auto list = read_stored();
        held = list != nullptr && pciecfg_compare(list.get(), &work->identified) == 0;
        if (!held) {
            session.fail("the flash does not hold what was written");
        }
    }
    return {{"written", work->stored != 0},
            {"stored", held},
            {"slots", pcie_items_json(work->identified)}};
}

void show_store(Page &page, const Json &document) {
    page.fields(document, {{"Written now", "/written"},
                           {"Stored", "/stored"},
                           {"Slots", "", [](const Json &all) { return all["slots"].size(); }}});
    show_items(page, "Identified slots", document["slots"]);
}

// ---- verify ----

// What stands on one side only, and what has the same slot but differs.
Json differences(const pciecfg_list &identified, const pciecfg_list &held) {
    Json rows = Json::array();
    Json rest = pcie_items_json(held);
    const auto take = [&rest](const auto &wanted) {
        const auto found = std::find_if(rest.begin(), rest.end(), wanted);
        Json item = found != rest.end() ? *found : Json();
        if (found != rest.end()) {
            rest.erase(found);
        }
        return item;
    };
    Json unmatched = Json::array();
    for (const Json &item : pcie_items_json(identified)) {
        if (take([&item](const Json &other) { return other == item; }).is_null()) {
            unmatched.push_back(item);
        }
    }
    for (const Json &item : unmatched) {
        const Json other = take([&item](const Json &candidate) {
            return candidate["type"] == item["type"] && candidate["number"] == item["number"];
        });
        rows.push_back({{"name", item["name"]}, {"identified", item}, {"stored", other}});
    }
    for (const Json &item : rest) {
        rows.push_back({{"name", item["name"]}, {"identified", nullptr}, {"stored", item}});
    }
    return rows;
}

Json verify(Session &session) {
    const auto work = std::make_unique<pcieid_workspace>();
    Json document = {{"same", nullptr},
                     {"identified", nullptr},
                     {"stored", nullptr},
                     {"differences", Json::array()}};
    if (pcieid_identify(work.get(), &work->identified) != 0) {
        session.fail("the PCIe slots cannot be identified");
        return document;
    }
    document["identified"] = work->identified.count;
    const auto held = read_stored();
    if (held == nullptr) {
        session.fail(none_stored);
        document["same"] = false;
        return document;
    }
    const bool same = pciecfg_compare(held.get(), &work->identified) == 0;
    if (!same) {
        session.fail("the flash does not hold what is identified");
    }
    document["same"] = same;
    document["stored"] = held->count;
    document["differences"] = differences(work->identified, *held);
    return document;
}

Column side_column(const char *heading, const char *side) {
    return {heading, "", [side](const Json &row) {
                const Json &item = row[side];
                if (item.is_null()) {
                    return Json();
                }
                std::string text = fmt::format("CPU {} lane {} x{}", item["cpu"].dump(),
                                               item["x1_start"].dump(), item["width"].dump());
                if (!item["vpp"].is_null()) {
                    text +=
                        fmt::format(", VPP {} port {}", item["vpp"]["address"].get<std::string>(),
                                    item["vpp"]["port"].dump());
                }
                return Json(text);
            }};
}

void show_verify(Page &page, const Json &document) {
    page.fields(
        document,
        {{"Same", "/same"}, {"Slots identified", "/identified"}, {"Slots stored", "/stored"}});
    page.heading("Differences");
    page.table(document["differences"], {{"Slot", "/name"},
                                         side_column("Identified", "identified"),
                                         side_column("Stored", "stored")});
}

// ---- the flash's pages ----

// Standard output into memory for as long as it lives: the library prints its dump there.
class Captured {
public:
    Captured() : file_(memfd_create("dump", MFD_CLOEXEC)) {
        std::fflush(stdout);
        kept_ = dup(STDOUT_FILENO);
        if (file_ < 0 || kept_ < 0 || dup2(file_, STDOUT_FILENO) < 0) {
            give_back();
            throw Stopped(status_failed, "cannot catch the library's output");
        }
    }
    ~Captured() { give_back(); }
    Captured(const Captured &) = delete;
    Captured &operator=(const Captured &) = delete;

    std::string text() {
        std::fflush(stdout);
        std::string all;
        char buffer[4096];
        off_t at = 0;
        for (ssize_t got; (got = pread(file_, buffer, sizeof(buffer), at)) > 0; at += got) {
            all.append(buffer, static_cast<std::size_t>(got));
        }
        return all;
    }

private:
    void give_back() {
        std::fflush(stdout);
        if (kept_ >= 0) {
            dup2(kept_, STDOUT_FILENO);
            close(kept_);
        }
        if (file_ >= 0) {
            close(file_);
        }
    }
    int file_;
    int kept_ = -1;
};

// The pages among the lines of a dump: " PAGE | WORD ...", without words when it was not read.
Json dumped_pages(const std::string &dump) {
    Json pages = Json::array();
    std::istringstream lines(dump);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream parts(line);
        uint32_t page = 0;
        std::string bar;
        if (!(parts >> page >> bar) || bar != "|") {
            continue;
        }
        Json words = Json::array();
        for (uint32_t word; parts >> std::hex >> word;) {
            words.push_back(hex_id(word));
        }
        pages.push_back({{"page", page}, {"words", words.empty() ? Json() : words}});
    }
    return pages;
}

std::string pages_of(std::size_t done, uint32_t all) {
    return fmt::format("{} of {} pages", done, all);
}

Json dump(Session &session, uint32_t pages) {
    Json rows;
    int32_t result;
    {
        Captured captured;
        {
            const Progress progress("Reading the flash", [&captured, pages] {
                return pages_of(dumped_pages(captured.text()).size(), pages);
            });
            result = pciecfg_dev_dump(pages);
        }
        rows = dumped_pages(captured.text());
    }
    if (result != 0) {
        session.fail("the flash cannot be taken or given back");
    }
    const auto unread = std::count_if(rows.begin(), rows.end(),
                                      [](const Json &row) { return row["words"].is_null(); });
    if (unread != 0) {
        session.fail(fmt::format("{} pages cannot be read", unread));
    }
    return {{"flash_pages", UFM_PAGE_COUNT}, {"page_size", UFM_PAGE_SIZE}, {"pages", rows}};
}

void show_dump(Page &page, const Json &document) {
    page.line(" PAGE | 0000 0002 0004 0006 0008 000A 000C 000E");
    page.line(std::string(48, '-'));
    for (const Json &row : document["pages"]) {
        std::string text = fmt::format(" {:>4} |", row["page"].get<uint32_t>());
        for (const Json &word : row["words"]) {
            text += fmt::format(" {}", word.get<std::string>().substr(2));
        }
        page.line(row["words"].is_null() ? text + " -" : text);
    }
}

Json dumpfile(Session &session, const std::string &path) {
    Json document = {{"path", path},
                     {"flash_pages", UFM_PAGE_COUNT},
                     {"bytes", nullptr},
                     {"unread_pages", Json::array()}};
    // Found out before the minute that the flash takes; the library only logs it.
    if (!std::ofstream(path, std::ios::binary)) {
        session.fail(fmt::format("{} cannot be written: {}", path, std::strerror(errno)));
        return document;
    }
    int32_t result;
    {
        const Progress progress("Reading the flash", [&path] {
            struct stat so_far = {};
            stat(path.c_str(), &so_far);
            return pages_of(static_cast<std::size_t>(so_far.st_size) / UFM_PAGE_SIZE,
                            UFM_PAGE_COUNT);
        });
        result = pciecfg_dev_dumpfile(path.c_str());
    }
    if (result != 0) {
        session.fail("the flash cannot be taken or given back");
    }
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return document;  // a device or pipe tells nothing afterwards
    }
    document["bytes"] = status.st_size;
    if (result == 0 && status.st_size != static_cast<off_t>(UFM_PAGE_COUNT * UFM_PAGE_SIZE)) {
        session.fail(path + " is not complete");
    }
    std::ifstream file(path, std::ios::binary);
    char record[UFM_PAGE_SIZE];
    for (uint32_t page = 0; file.read(record, sizeof(record)); ++page) {
        if (std::memcmp(record, "DEADBEAFDEADBEAF", sizeof(record)) == 0) {
            document["unread_pages"].push_back(page);
        }
    }
    if (!document["unread_pages"].empty()) {
        session.fail(fmt::format("{} pages cannot be read", document["unread_pages"].size()));
    }
    return document;
}

void show_dumpfile(Page &page, const Json &document) {
    page.fields(document, {{"File", "/path"},
                           {"Bytes", "/bytes"},
                           {"Pages", "/flash_pages"},
                           {"Pages not read", "/unread_pages"}});
}

Json erase_flash(Session &session) {
    session.confirm(
        "Erase the whole flash? The host firmware finds no slots until they are stored.");
    int32_t result;
    {
        const Progress progress("Erasing the flash");
        result = pciecfg_dev_erase();
    }
    // The result does not tell whether the flash did it, the pages do.
    const auto image = std::make_unique<pciecfg_image>();
    if (result == 0) {
        const Progress progress("Reading the flash");
        pciecfg_dev_read(image.get());
    }
    const auto *bytes = reinterpret_cast<const uint8_t *>(image.get());
    const bool erased =
        std::all_of(bytes, bytes + sizeof(*image), [](uint8_t byte) { return byte == 0xFF; });
    if (!erased) {
        session.fail("the flash is not erased");
    }
    return {{"erased", erased}};
}

void show_erase(Page &page, const Json &document) {
    page.fields(document, {{"Erased", "/erased"}});
}

}  // namespace

void add_pcie_flash(Cli &cli, CLI::App &pcie_command) {
    cli.add({.name = "store",
             .title = "",
             .summary = "Identify, and store the list for the host firmware when it changed",
             .run = store,
             .show = show_store,
             .in_report = false,
             .changes = true},
            &pcie_command);
    cli.add(
        {.name = "stored",
         .title = "",
         .summary = "The list that is stored in the flash",
         .run = stored,
         .show = [](Page &page,
                    const Json &document) { show_items(page, "Stored slots", document["slots"]); },
         .in_report = false},
        &pcie_command);
    cli.add({.name = "verify",
             .title = "",
             .summary = "Compare the flash with what is identified now: status 1 if they differ",
             .run = verify,
             .show = show_verify,
             .in_report = false},
            &pcie_command);
    const auto pages = std::make_shared<uint32_t>(image_pages);
    cli.add({.name = "dump",
             .title = "",
             .summary = "Print the flash's first pages",
             .run = [pages](Session &session) { return dump(session, *pages); },
             .show = show_dump,
             .in_report = false},
            &pcie_command)
        .add_option("pages", *pages, "How many; without it those that a list can take")
        ->type_name("PAGES")
        ->check(CLI::Range(1u, UFM_PAGE_COUNT));
    const auto path = std::make_shared<std::string>();
    cli.add({.name = "dumpfile",
             .title = "",
             .summary = "Write all of the flash's pages to a file",
             .run = [path](Session &session) { return dumpfile(session, *path); },
             .show = show_dumpfile,
             .in_report = false},
            &pcie_command)
        .add_option("path", *path, "The file")
        ->type_name("PATH")
        ->required();
    cli.add({.name = "erase",
             .title = "",
             .summary = "Erase the whole flash",
             .run = erase_flash,
             .show = show_erase,
             .in_report = false,
             .changes = true},
            &pcie_command);
}

}  // namespace boardctl
