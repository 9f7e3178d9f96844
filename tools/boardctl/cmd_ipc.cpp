// ipc: the shared memory and the semaphores that the board's programs share.
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <cerrno>
#include <cstring>
#include <fstream>

#include "command.h"

namespace boardctl {

namespace {

struct Key {
    int32_t number;
    bool segment;  // besides the semaphore, which every key has
    char guards[64];
};

// In ascending order.
constexpr Key keys[] = {
    {4123, true, "PCIe effect mode"},
    {4129, true, "reset status"},
    {4138, true, "disabled alarm codes"},
    {12294, false, "signal: the clock's setting changed"},
    {12303, false, "/conf/vel/rtc_config.ini"},
    {12305, false, "/conf/vel/fanvarinfo"},
    {12306, false, "/conf/vel/custominfo and custom locations"},
    {12309, false, "/conf/vel/pcieidcfg.ini"},
    {12325, false, "/conf/vel/custom_pchdisk_config.ini"},
    {12338, false, "/conf/vel/nicinfoflag.ini"},
    {12339, false, "network card mailbox"},
    {12340, false, "/conf/vel/bmctimestamp"},
};

// The system's own argument of semctl, which programs declare themselves.
union SemaphoreArgument {
    int value;
    semid_ds *status;
    unsigned short *values;
};

// The number 0 stands for none.
Json process_json(pid_t process) {
    if (process <= 0) {
        return nullptr;
    }
    std::ifstream file(fmt::format("/proc/{}/comm", process));
    std::string program;
    return {{"pid", process}, {"program", std::getline(file, program) ? Json(program) : Json()}};
}

std::string process_text(const Json &process) {
    return process.is_null() ? "-"
           : process["program"].is_null()
               ? process["pid"].dump() + " (ended)"
               : process["pid"].dump() + " " + process["program"].get<std::string>();
}

void fail_look_up(Session &session, const char *what, int32_t key) {
    session.fail(
        fmt::format("the {} of key {} cannot be looked up: {}", what, key, std::strerror(errno)));
}

Json segment_json(Session &session, const Key &key) {
    shmid_ds status = {};
    const int id = shmget(key.number, 0, 0);
    if (id < 0 && errno == ENOENT) {
        return nullptr;
    }
    if (id < 0 || shmctl(id, IPC_STAT, &status) != 0) {
        fail_look_up(session, "segment", key.number);
        return nullptr;
    }
    return {{"size", status.shm_segsz},
            {"attached", status.shm_nattch},
            {"creator", process_json(status.shm_cpid)},
            {"last_user", process_json(status.shm_lpid)}};
}

Json semaphore_json(Session &session, const Key &key) {
    const int id = semget(key.number, 0, 0);
    if (id < 0 && errno == ENOENT) {
        return nullptr;
    }
    const int value = id < 0 ? -1 : semctl(id, 0, GETVAL, SemaphoreArgument{});
    if (value < 0) {
        fail_look_up(session, "semaphore", key.number);
        return nullptr;
    }
    return {{"value", value},
            {"waiting", semctl(id, 0, GETNCNT, SemaphoreArgument{})},
            {"last_user", process_json(semctl(id, 0, GETPID, SemaphoreArgument{}))}};
}

Json ipc(Session &session) {
    Json rows = Json::array();
    for (const Key &key : keys) {
        rows.push_back({{"key", key.number},
                        {"guards", field_text(key.guards)},
                        {"has_segment", key.segment},
                        {"segment", key.segment ? segment_json(session, key) : Json()},
                        {"semaphore", semaphore_json(session, key)}});
    }
    return {{"keys", std::move(rows)}};
}

void show_ipc(Page &page, const Json &document) {
    Json segments = Json::array();
    for (const Json &row : document["keys"]) {
        if (row["has_segment"] == true) {
            segments.push_back(row);
        }
    }
    const auto last_user = [](const char *kind) {
        return [kind](const Json &row) -> Json {
            return row[kind].is_null() ? Json() : Json(process_text(row[kind]["last_user"]));
        };
    };
    const auto exists = [](const char *kind) {
        return [kind](const Json &row) -> Json { return !row[kind].is_null(); };
    };
    page.heading("Shared memory");
    page.table(segments, {{"Key", "/key"},
                          {"Exists", "", exists("segment")},
                          {"Size", "/segment/size"},
                          {"Attached", "/segment/attached"},
                          {"Last user", "", last_user("segment")},
                          {"Holds", "/guards"}});
    page.heading("Semaphores");
    page.table(document["keys"], {{"Key", "/key"},
                                  {"Exists", "", exists("semaphore")},
                                  {"Value", "/semaphore/value"},
                                  {"Waiting", "/semaphore/waiting"},
                                  {"Last user", "", last_user("semaphore")},
                                  {"Guards", "/guards"}});
}

}  // namespace

void add_ipc(Cli &cli) {
    cli.add({.name = "ipc",
             .title = "Shared memory and semaphores",
             .summary = "The shared memory and semaphores of the board's programs",
             .run = ipc,
             .show = show_ipc,
             .in_report = false});
}

}  // namespace boardctl
