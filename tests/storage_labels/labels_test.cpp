// Customers' disk labels, and the comparison of disk topologies.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include "boardfeatures/storage.h"
#include "support/libc_layer.h"
#include "support/scripted_platform.h"

using libc_layer::layer;
using scripted::platform;
using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

namespace {

constexpr char path[] = "/var/custom_location_config.ini";
constexpr int semaphore_key = 12306;
constexpr uint8_t untouched = 0xA5;
constexpr char source[] = "common/harddisk/harddisk_common_info";

struct Label {
    uint32_t zone, disk, custom_zone, custom_silk;
};

void write_text(const std::string &text) {
    std::ofstream file(path, std::ios::trunc);
    file << text;
    ASSERT_TRUE(file.good());
}

void write_labels(const std::vector<Label> &labels) {
    std::string text = "[disk custom config]\n";
    for (const Label &label : labels) {
        const std::string key = "origine_zone" + std::to_string(label.zone) + "_disk" +
                                std::to_string(label.disk) + "_custom";
        text += key + "zone=" + std::to_string(label.custom_zone) + "\n";
        text += key + "slik=" + std::to_string(label.custom_silk) + "\n";
    }
    write_text(text);
}

CustomDiskConfig marked() {
    CustomDiskConfig config;
    std::memset(&config, untouched, sizeof(config));
    return config;
}

// The record as bytes, by offset.
std::vector<uint8_t> record_of(const std::vector<Label> &labels) {
    std::vector<uint8_t> bytes(264, 0);
    bytes[0] = labels.empty() ? 0 : 1;
    bytes[4] = static_cast<uint8_t>(labels.size());
    for (size_t i = 0; i < labels.size(); ++i) {
        bytes[8 + 4 * i] = static_cast<uint8_t>(labels[i].zone);
        bytes[9 + 4 * i] = static_cast<uint8_t>(labels[i].disk);
        bytes[10 + 4 * i] = static_cast<uint8_t>(labels[i].custom_zone);
        bytes[11 + 4 * i] = static_cast<uint8_t>(labels[i].custom_silk);
    }
    return bytes;
}
std::vector<uint8_t> bytes_of(const CustomDiskConfig &config) {
    const auto *bytes = reinterpret_cast<const uint8_t *>(&config);
    return {bytes, bytes + sizeof(config)};
}

// Texts with the line number of their place, where they repeat it, as N.
std::vector<std::string> texts() {
    std::vector<std::string> found;
    for (const scripted::Message &message : platform().messages) {
        EXPECT_EQ(message.source, source);
        std::string text = message.text;
        const std::string line = std::to_string(message.line);
        for (const auto &[before, after] :
             {std::pair{"line=", "\n"}, {" ", "]"}, {" ", ": load "}}) {
            if (const size_t at = text.find(before + line + after); at != text.npos) {
                text.replace(at + std::strlen(before), line.size(), "N");
                break;
            }
        }
        found.push_back(text);
    }
    return found;
}

int semaphore_value() {
    const int id = semget(semaphore_key, 0, 0);
    return id < 0 ? -1 : semctl(id, 0, GETVAL);
}

template <typename Body>
void in_child(Body body) {
    std::fflush(stdout);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        body();
        std::fflush(stdout);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
}

constexpr char read_well[] = "[HDD_COM_GetCustomConfig N] HDD custom config init successful.";
constexpr char full[] =
    "[HDD_COM_GetCustomConfig N] HDD custom config is up to max(hddcustomcount=64)";

}  // namespace

// ---- reading the file ----

TEST(Labels, AreReadInTheOrderOfZonesAndDisks) {
    const std::vector<Label> labels = {{0, 0, 1, 2},     {0, 254, 3, 4}, {1, 7, 0, 0},
                                       {2, 9, 254, 254}, {3, 0, 2, 9},   {3, 254, 1, 1}};
    write_labels({labels.rbegin(), labels.rend()});
    CustomDiskConfig config = marked();
    EXPECT_EQ(HDD_COM_GetCustomConfig(&config), 0);
    EXPECT_EQ(bytes_of(config), record_of(labels));
    EXPECT_THAT(texts(), ElementsAre(read_well));
    EXPECT_EQ(platform().messages[0].channel, "dbgout");
    EXPECT_EQ(platform().messages[0].number, 130u);
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(Labels, TheFileIsReadWholeAndOnce) {
    write_labels({{0, 3, 1, 2}});
    CustomDiskConfig config = marked();
    EXPECT_EQ(HDD_COM_GetCustomConfig(&config), 0);
    const auto &calls = platform().calls;
    ASSERT_THAT(calls, SizeIs(1 + 4 * 255 * 2 + 1));
    EXPECT_EQ(calls.front(), "VEL_IniLoadFile /var/custom_location_config.ini");
    EXPECT_EQ(calls[1], "IniGetUInt disk custom config/origine_zone0_disk0_customzone");
    EXPECT_EQ(calls[2], "IniGetUInt disk custom config/origine_zone0_disk0_customslik");
    EXPECT_EQ(calls[calls.size() - 3],
              "IniGetUInt disk custom config/origine_zone3_disk254_customzone");
    EXPECT_EQ(calls[calls.size() - 2],
              "IniGetUInt disk custom config/origine_zone3_disk254_customslik");
    EXPECT_EQ(calls.back(), "IniCloseFile");

    write_labels({{0, 3, 7, 7}});
    platform().clear_record();
    config = marked();
    EXPECT_EQ(HDD_COM_GetCustomConfig(&config), 0);
    EXPECT_EQ(bytes_of(config), record_of({{0, 3, 1, 2}}));
    unlink(path);
    config = marked();
    EXPECT_EQ(HDD_COM_GetCustomConfig(&config), 0);
    EXPECT_EQ(bytes_of(config), record_of({{0, 3, 1, 2}}));
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(Labels, HalfAPairAndValuesOf255DoNotCount) {
    write_text(
        "[disk custom config]\n"
        "origine_zone0_disk1_customzone=1\n"
        "origine_zone0_disk2_customslik=1\n"
        "origine_zone0_disk3_customzone=255\norigine_zone0_disk3_customslik=1\n"
        "origine_zone0_disk4_customzone=1\norigine_zone0_disk4_customslik=255\n"
        "origine_zone0_disk5_customzone=511\norigine_zone0_disk5_customslik=1\n"  // 255 in 8 bits
        "origine_zone0_disk6_customzone=256\norigine_zone0_disk6_customslik=263\n"
        "origine_zone0_disk255_customzone=1\norigine_zone0_disk255_customslik=1\n"
        "origine_zone4_disk1_customzone=1\norigine_zone4_disk1_customslik=1\n"
        "[another]\norigine_zone0_disk7_customzone=1\norigine_zone0_disk7_customslik=1\n");
    CustomDiskConfig config = marked();
    EXPECT_EQ(HDD_COM_GetCustomConfig(&config), 0);
    EXPECT_EQ(bytes_of(config), record_of({{0, 6, 0, 7}}));
}

TEST(Labels, AFileWithoutLabelsIsReadAndKept) {
    write_text("[disk custom config]\n");
    CustomDiskConfig config = marked();
    EXPECT_EQ(HDD_COM_GetCustomConfig(&config), 0);
    EXPECT_EQ(bytes_of(config), record_of({}));
    write_labels({{0, 3, 1, 2}});
    platform().clear_record();
    EXPECT_EQ(HDD_COM_GetCustomConfig(&config), 0);
    EXPECT_EQ(config.valid, 0u);
    EXPECT_THAT(platform().calls, IsEmpty());
}

TEST(LabelsEdge, AFileOf9BytesCountsAsAbsent) {
    CustomDiskConfig expected = marked();
    expected.valid = 0;
    const auto check = [&](const char *what) {
        CustomDiskConfig config = marked();
        EXPECT_EQ(HDD_COM_GetCustomConfig(&config), 0) << what;
        EXPECT_EQ(bytes_of(config), bytes_of(expected)) << what;
    };
    check("missing");
    write_text("");
    check("empty");
    write_text("[disk cu\n");
    check("9 bytes");
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
    EXPECT_EQ(semaphore_value(), -1);  // nothing was locked

    // Each call looks again.
    write_labels({{0, 3, 1, 2}});
    CustomDiskConfig config = marked();
    EXPECT_EQ(HDD_COM_GetCustomConfig(&config), 0);
    EXPECT_EQ(bytes_of(config), record_of({{0, 3, 1, 2}}));
}

TEST(LabelsEdge, A65thPairIsDropped) {
    std::vector<Label> labels;
    for (uint32_t i = 0; i < 65; ++i) {
        labels.push_back({0, 2 * i, 1, i});
    }
    labels.push_back({3, 1, 2, 2});
    write_labels(labels);
    CustomDiskConfig config = marked();
    EXPECT_EQ(HDD_COM_GetCustomConfig(&config), 0);
    labels.resize(64);
    EXPECT_EQ(bytes_of(config), record_of(labels));
    // The zone is left, and each of the next is left at once.
    EXPECT_THAT(texts(), ElementsAre(full, full, full, full, read_well));
    EXPECT_EQ(platform().calls_of("IniGetUInt").size(), 2u * 127);
}

TEST(Labels, TheLastDiskOfAZoneCanFillTheRecord) {
    std::vector<Label> labels;
    for (uint32_t i = 0; i < 64; ++i) {
        labels.push_back({3, 191 + i, 1, i});
    }
    write_labels(labels);
    CustomDiskConfig config = marked();
    EXPECT_EQ(HDD_COM_GetCustomConfig(&config), 0);
    EXPECT_EQ(bytes_of(config), record_of(labels));
    EXPECT_THAT(texts(), ElementsAre(read_well));
}

TEST(Labels, NullIsRefusedBeforeAnyFile) {
    write_labels({{0, 3, 1, 2}});
    EXPECT_EQ(HDD_COM_GetCustomConfig(nullptr), -1);
    uint8_t byte = untouched;
    EXPECT_EQ(HDD_COM_CustomSliktoVelSlik(nullptr, &byte, 1, 2), -1);
    EXPECT_EQ(HDD_COM_CustomSliktoVelSlik(&byte, nullptr, 1, 2), -1);
    EXPECT_EQ(byte, untouched);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(Labels, InvalidFiles) {
    EXPECT_EQ(HDD_COM_IsfileInvalid(nullptr), 1);
    EXPECT_EQ(HDD_COM_IsfileInvalid(path), 1);
    write_text("123456789");
    EXPECT_EQ(HDD_COM_IsfileInvalid(path), 1);
    write_text("1234567890");
    EXPECT_EQ(HDD_COM_IsfileInvalid(path), 0);
    EXPECT_EQ(HDD_COM_IsfileInvalid("/var/none/none"), 1);
}

// ---- failures ----

TEST(LabelFailures, TheFileCannotBeLoaded) {
    write_labels({{0, 3, 1, 2}});
    platform().fail_call = 1;
    CustomDiskConfig config = marked();
    EXPECT_EQ(HDD_COM_GetCustomConfig(&config), -1);
    EXPECT_EQ(bytes_of(config), bytes_of(marked()));
    EXPECT_THAT(platform().calls, SizeIs(1));
    EXPECT_THAT(texts(),
                ElementsAre("HDD_COM_GetCustomConfig N: load /var/custom_location_config.ini "
                            "failed."));
    EXPECT_EQ(semaphore_value(), 1);  // given back
    platform().fail_call.reset();
    EXPECT_EQ(HDD_COM_GetCustomConfig(&config), 0);  // and tried again
    EXPECT_EQ(bytes_of(config), record_of({{0, 3, 1, 2}}));
}

TEST(LabelFailures, EveryKeyThatCannotBeRead) {
    const std::vector<Label> labels = {{0, 0, 1, 2}, {0, 1, 3, 4}};
    write_labels(labels);
    for (size_t failing = 2; failing <= 5; ++failing) {  // a key then reads as missing
        in_child([&] {
            platform().fail_call = failing;
            CustomDiskConfig config = marked();
            EXPECT_EQ(HDD_COM_GetCustomConfig(&config), 0);
            EXPECT_EQ(bytes_of(config), record_of({failing <= 3 ? labels[1] : labels[0]}));
        });
    }
}

TEST(LabelFailures, TheLockIsTaken) {
    write_labels({{0, 3, 1, 2}});
    const int id = semget(semaphore_key, 1, 0666 | IPC_CREAT);
    ASSERT_GE(id, 0);
    ASSERT_EQ(semctl(id, 0, SETVAL, 0), 0);
    CustomDiskConfig config = marked();
    EXPECT_EQ(HDD_COM_GetCustomConfig(&config), -1);
    EXPECT_EQ(bytes_of(config), bytes_of(marked()));
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(texts(), ElementsAre("sem lock failed, line=N\n",
                                     "[common/harddisk/harddisk_common_info "
                                     "HDD_COM_GetCustomConfig N]: lock failed."));
    for (const scripted::Message &message : platform().messages) {
        EXPECT_EQ(message.channel, "dbgout");
        EXPECT_EQ(message.number, 130u);
    }
    EXPECT_EQ(semaphore_value(), 0);  // not given back: it was another's
}

TEST(LabelFailures, TheSemaphoreCannotBeCreated) {
    write_labels({{0, 3, 1, 2}});
    layer().fail_with = [](const std::string &call) {
        return call.starts_with("semget 12306 1") ? ENOSPC : 0;
    };
    CustomDiskConfig config = marked();
    {
        const libc_layer::Watch watch;
        EXPECT_EQ(HDD_COM_GetCustomConfig(&config), -1);
    }
    EXPECT_EQ(bytes_of(config), bytes_of(marked()));
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(texts(), ElementsAre("sem create failed, line=N\n",
                                     "[common/harddisk/harddisk_common_info "
                                     "HDD_COM_GetCustomConfig N]: lock failed."));
}

TEST(LabelFailures, EveryFailedSystemCall) {
    const std::vector<Label> labels = {{0, 3, 1, 2}};
    write_labels(labels);
    CustomDiskConfig absent = marked();
    absent.valid = 0;
    size_t calls = 1;
    for (size_t failing = 1; failing <= calls; ++failing) {
        if (failing == 1) {  // in a process of its own: what is read is kept
            int ends[2];
            ASSERT_EQ(pipe(ends), 0);
            in_child([&] {
                CustomDiskConfig config = marked();
                {
                    const libc_layer::Watch watch;
                    HDD_COM_GetCustomConfig(&config);
                }
                const size_t made = layer().calls.size();
                ASSERT_EQ(write(ends[1], &made, sizeof(made)), ssize_t{sizeof(made)});
            });
            ASSERT_EQ(read(ends[0], &calls, sizeof(calls)), ssize_t{sizeof(calls)});
            ASSERT_GE(calls, 3u);
        }
        in_child([&] {
            SCOPED_TRACE(failing);
            semctl(semget(semaphore_key, 0, 0), 0, IPC_RMID);
            layer().fail_call = failing;
            CustomDiskConfig config = marked();
            int32_t result = 1;
            {
                const libc_layer::Watch watch;
                result = HDD_COM_GetCustomConfig(&config);
            }
            EXPECT_TRUE(result == 0 || result == -1) << result;
            // All of it or nothing.
            EXPECT_THAT(bytes_of(config),
                        AnyOf(bytes_of(marked()), bytes_of(absent), record_of(labels)));
            EXPECT_TRUE(result == -1 || config.valid == 0 || bytes_of(config) == record_of(labels));
            layer().clear();
            if (semaphore_value() == 1) {  // else the lock could not be given back
                EXPECT_EQ(HDD_COM_GetCustomConfig(&config), 0);
                EXPECT_EQ(bytes_of(config), record_of(labels));
            }
        });
    }
}

TEST(LabelFailures, TheLockCannotBeGivenBack) {
    write_labels({{0, 3, 1, 2}});
    platform().fail_if = [](const std::string &call) {
        if (call == "IniCloseFile") {
            semctl(semget(semaphore_key, 0, 0), 0, IPC_RMID);
        }
        return false;
    };
    CustomDiskConfig config = marked();
    EXPECT_EQ(HDD_COM_GetCustomConfig(&config), -1);
    EXPECT_EQ(bytes_of(config), record_of({{0, 3, 1, 2}}));  // read all the same
    EXPECT_THAT(texts(), ElementsAre(read_well,
                                     "[common/harddisk/harddisk_common_info "
                                     "HDD_COM_GetCustomConfig N]: unlock failed."));
    EXPECT_EQ(HDD_COM_GetCustomConfig(&config), 0);  // and kept
}

TEST(LabelFailures, NeitherTheFileNorTheLock) {
    write_labels({{0, 3, 1, 2}});
    platform().fail_if = [](const std::string &call) {
        if (call.starts_with("VEL_IniLoadFile")) {
            semctl(semget(semaphore_key, 0, 0), 0, IPC_RMID);
            return true;
        }
        return false;
    };
    CustomDiskConfig config = marked();
    EXPECT_EQ(HDD_COM_GetCustomConfig(&config), -1);
    EXPECT_THAT(texts(), ElementsAre("HDD_COM_GetCustomConfig N: load "
                                     "/var/custom_location_config.ini failed.",
                                     "[common/harddisk/harddisk_common_info "
                                     "HDD_COM_GetCustomConfig N]: unlock failed."));
}

// ---- from the label back to the disk ----

namespace {

struct Answer {
    int32_t result;
    uint8_t zone, slot;
    auto operator<=>(const Answer &) const = default;
};
Answer convert(uint32_t custom_zone, uint32_t custom_slot) {
    Answer answer = {0, untouched, untouched};
    answer.result =
        HDD_COM_CustomSliktoVelSlik(&answer.zone, &answer.slot, custom_zone, custom_slot);
    return answer;
}
void expect_traces() {
    for (const scripted::Message &message : platform().messages) {
        EXPECT_EQ(message.channel, "runtime");
        EXPECT_EQ(message.number, 135u);
    }
}

}  // namespace

TEST(Convert, EachLabel) {
    const std::vector<Label> labels = {{0, 3, 1, 2}, {1, 4, 0, 9}, {2, 254, 254, 0}};
    write_labels(labels);
    for (const Label &label : labels) {
        EXPECT_EQ(convert(label.custom_zone, label.custom_silk),
                  (Answer{0, static_cast<uint8_t>(label.zone), static_cast<uint8_t>(label.disk)}));
    }
    EXPECT_EQ(convert(1, 9), (Answer{0, 1, 9}));  // no disk's: handed back
    EXPECT_EQ(convert(255, 255), (Answer{0, 255, 255}));
    EXPECT_EQ(convert(257, 2), (Answer{0, 1, 2}));  // beyond a label: not found
    EXPECT_EQ(convert(1, 258), (Answer{0, 1, 2}));
}

TEST(Convert, TracesTheSearch) {
    write_labels({{0, 3, 1, 2}, {1, 4, 5, 6}, {2, 7, 8, 9}});
    convert(1, 2);
    platform().clear_record();
    EXPECT_EQ(convert(5, 6), (Answer{0, 1, 4}));
    const std::string name = "[HDD_COM_CustomSliktoVelSlik N] ";
    EXPECT_THAT(texts(),
                ElementsAre(name + "start find custom zone5-slot6 in custom config.",
                            name + "custom config 0 : zone0 slik3[custom_zone1 - custom_slik2].",
                            name + "custom config 1 : zone1 slik4[custom_zone5 - custom_slik6].",
                            name + "find zone5-slot6 in custom config[zone1-slik4]."));
    expect_traces();
    platform().clear_record();
    EXPECT_EQ(convert(5, 9), (Answer{0, 5, 9}));
    EXPECT_THAT(texts(),
                ElementsAre(name + "start find custom zone5-slot9 in custom config.",
                            name + "custom config 0 : zone0 slik3[custom_zone1 - custom_slik2].",
                            name + "custom config 1 : zone1 slik4[custom_zone5 - custom_slik6].",
                            name + "custom config 2 : zone2 slik7[custom_zone8 - custom_slik9].",
                            name + "do not find custom zone5-slot9 in custom config."));
    expect_traces();
}

TEST(Convert, WithoutLabels) {
    EXPECT_EQ(convert(5, 6), (Answer{0, 5, 6}));
    EXPECT_THAT(texts(), ElementsAre("[HDD_COM_CustomSliktoVelSlik N] there is no hdd custom "
                                     "config, just return."));
    expect_traces();
}

TEST(Convert, WhenTheLabelsCannotBeRead) {
    write_labels({{0, 3, 5, 6}});
    platform().fail_call = 1;
    EXPECT_EQ(convert(5, 6), (Answer{-1, 5, 6}));
    ASSERT_THAT(texts(), SizeIs(2));
    EXPECT_EQ(texts()[1], "[HDD_COM_CustomSliktoVelSlik N] fail to get custom hdd config.");
    EXPECT_EQ(platform().messages[1].channel, "runtime");
}

TEST(ConvertEdge, TheFirstDiskOfALabelIsTheAnswer) {
    write_labels({{1, 2, 7, 7}, {0, 9, 7, 7}, {0, 200, 7, 7}});
    EXPECT_EQ(convert(7, 7), (Answer{0, 0, 9}));
}

// ---- comparing topologies ----

TEST(BackIds, Match) {
    const auto match = [](std::vector<uint32_t> first, std::vector<uint32_t> second) {
        first.insert(first.begin(), static_cast<uint32_t>(first.size()));
        second.insert(second.begin(), static_cast<uint32_t>(second.size()));
        return HarddiskBackIdMatch(first.data(), second.data());
    };
    EXPECT_EQ(match({}, {}), 0);
    EXPECT_EQ(match({1}, {1}), 0);
    EXPECT_EQ(match({1}, {2}), 5);
    EXPECT_EQ(match({1, 2, 3}, {3, 1, 2}), 0);
    EXPECT_EQ(match({1, 2, 3}, {3, 1, 4}), 5);
    EXPECT_EQ(match({1}, {1, 2}), 4);
    EXPECT_EQ(match({}, {1}), 4);
    EXPECT_EQ(match({1, 1}, {1, 2}), 0);  // repeated ids hide the difference
    EXPECT_EQ(match({1, 1}, {1, 1}), 5);  // or make one
    const uint32_t none = 0;
    EXPECT_EQ(HarddiskBackIdMatch(nullptr, &none), -1);
    EXPECT_EQ(HarddiskBackIdMatch(&none, nullptr), -1);
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(RaidCards, TheFirstCountThatDiffers) {
    const uint32_t cards[7] = {100, 101, 102, 1, 2, 3, 4};
    EXPECT_EQ(HarddiskRaidCardMatch(cards, cards), 0);
    for (uint32_t changed = 0; changed < 7; ++changed) {
        uint32_t other[7];
        std::memcpy(other, cards, sizeof(other));
        other[changed] += 10;
        EXPECT_EQ(HarddiskRaidCardMatch(cards, other),
                  changed < 3 ? 0 : 6 + static_cast<int32_t>(changed) - 3);
    }
    const uint32_t all[7] = {0, 0, 0, 11, 12, 13, 14};
    platform().clear_record();
    EXPECT_EQ(HarddiskRaidCardMatch(cards, all), 6);
    ASSERT_THAT(platform().messages, SizeIs(1));
    EXPECT_EQ(platform().messages[0].channel, "audit");
    EXPECT_EQ(platform().messages[0].number, 174u);
    EXPECT_EQ(platform().messages[0].text,
              "(ExpCount=1,11),(IRCardCount=2,12),(MRCardCount=3,13),(PMCCardCount=4,14)");
    platform().clear_record();
    EXPECT_EQ(HarddiskRaidCardMatch(nullptr, cards), -1);
    EXPECT_EQ(HarddiskRaidCardMatch(cards, nullptr), -1);
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST(Models, AreNotCompared) {
    const int model = 0;
    EXPECT_EQ(HarddiskModelMatch(&model, &model), 3);
    ASSERT_THAT(platform().messages, SizeIs(1));
    EXPECT_EQ(platform().messages[0].channel, "audit");
    EXPECT_EQ(platform().messages[0].number, 174u);
    EXPECT_EQ(platform().messages[0].text, "Not support model match!");
    EXPECT_EQ(HarddiskModelMatch(nullptr, &model), -1);
    EXPECT_EQ(HarddiskModelMatch(&model, nullptr), -1);
    EXPECT_THAT(platform().messages, SizeIs(1));
}
