// Power-ok and the presence of the power supplies.
#include "power/power_support.h"

using namespace power;
using testing::ElementsAre;

namespace {

const char ok_read[] = "epldio_read 0x192";
const char wait_20ms[] = "select_sleep 0 20000";

const char gpio_read[] = "get_gpio_data 201";
const char presence_read[] = "epldio_read 0x190";
const char wait_100ms[] = "select_sleep 0 100000";
const char *const probes[] = {"ei2c_smbus_read_byte_data 1:0x58 0x19",
                              "ei2c_smbus_read_byte_data 1:0x59 0x19"};

// Each read of the power-ok register: its result and, when that is 0, the word. What a failed read
// leaves in the caller's word may be anything: `leaves` is written by it.
struct OkRead {
    int result;
    uint16_t word;
    std::optional<uint16_t> leaves = std::nullopt;
};

void script_ok_reads(const std::vector<OkRead> &reads) {
    platform().on_epld_read = [reads, n = size_t{0}](uint32_t, uint16_t *value) mutable {
        const OkRead &read = reads.at(n++);
        if (read.result == 0) {
            *value = read.word;
        } else if (read.leaves) {
            *value = *read.leaves;
        }
        return read.result;
    };
}

std::string failed_read(uint32_t word, int result) {
    return "epldio_read failed, offset: 192, PsuPowerOkSstatus: " + std::to_string(word) +
           ", ret:" + std::to_string(result);
}

}  // namespace

// ---- the double read ----

TEST(ScanPowerOk, TwoEqualReads) {
    for (const uint16_t word : {0x0000, 0x0001, 0x0003, 0x8000, 0xFFFF}) {
        platform().clear_record();
        script_ok_reads({{0, word}, {0, word}});
        uint16_t status[2] = {0xA5A5, 0xA5A5};
        EXPECT_EQ(ScanPsuPowerokStatus(status), 0);
        EXPECT_THAT(status, ElementsAre(word, 0xA5A5));
        EXPECT_THAT(platform().calls, ElementsAre(ok_read, wait_20ms, ok_read));
        expect_errors("", {});
    }
}

TEST(ScanPowerOk, TwoReadsThatDiffer) {
    script_ok_reads({{0, 0x0003}, {0, 0x0001}});
    uint16_t status = 0xA5A5;
    EXPECT_EQ(ScanPsuPowerokStatus(&status), -1);
    EXPECT_EQ(status, 0x0001);
    EXPECT_THAT(platform().calls, ElementsAre(ok_read, wait_20ms, ok_read));
    expect_errors("ScanPsuPowerokStatus",
                  {"epldio_read failed, offset: 192, first read:3, second read:1"});
}

// The words are compared whatever the reads answered: a failed first read counts as 0, a failed
// second one as what the caller's word held.
TEST(ScanPowerOk, FailedReadsCountOnlyByTheWordsTheyLeave) {
    for (const int failure : failures) {
        SCOPED_TRACE(failure);
        uint16_t status = 0xA5A5;
        platform().clear_record();
        script_ok_reads({{failure, 0}, {0, 0}});
        EXPECT_EQ(ScanPsuPowerokStatus(&status), 0);
        EXPECT_EQ(status, 0);
        expect_errors("ScanPsuPowerokStatus", {failed_read(0, failure)});

        platform().clear_record();
        script_ok_reads({{failure, 0}, {0, 3}});
        EXPECT_EQ(ScanPsuPowerokStatus(&status), -1);
        EXPECT_EQ(status, 3);
        expect_errors("ScanPsuPowerokStatus",
                      {failed_read(0, failure),
                       "epldio_read failed, offset: 192, first read:0, second read:3"});

        platform().clear_record();
        status = 2;
        script_ok_reads({{0, 2}, {failure, 0}});
        EXPECT_EQ(ScanPsuPowerokStatus(&status), 0);
        EXPECT_EQ(status, 2);
        expect_errors("ScanPsuPowerokStatus", {failed_read(2, failure)});

        platform().clear_record();
        status = 1;
        script_ok_reads({{0, 2}, {failure, 0}});
        EXPECT_EQ(ScanPsuPowerokStatus(&status), -1);
        EXPECT_EQ(status, 1);
        expect_errors("ScanPsuPowerokStatus",
                      {failed_read(1, failure),
                       "epldio_read failed, offset: 192, first read:2, second read:1"});

        platform().clear_record();
        status = 0;
        script_ok_reads({{failure, 0}, {failure, 0}});
        EXPECT_EQ(ScanPsuPowerokStatus(&status), 0);
        EXPECT_EQ(status, 0);
        EXPECT_THAT(platform().calls, ElementsAre(ok_read, wait_20ms, ok_read));
        expect_errors("ScanPsuPowerokStatus", {failed_read(0, failure), failed_read(0, failure)});
    }
}

TEST(ScanPowerOk, AFailedReadMayLeaveAnything) {
    uint16_t status = 0;
    script_ok_reads({{-5, 0, 7}, {-5, 0, 7}});
    EXPECT_EQ(ScanPsuPowerokStatus(&status), 0);
    EXPECT_EQ(status, 7);
    expect_errors("ScanPsuPowerokStatus", {failed_read(7, -5), failed_read(7, -5)});
}

TEST(ScanPowerOk, AFailedWaitIsNoFailure) {
    platform().epld[0x192] = 3;
    platform().fail_call = 2;
    uint16_t status = 0;
    EXPECT_EQ(ScanPsuPowerokStatus(&status), 0);
    EXPECT_EQ(status, 3);
    EXPECT_THAT(platform().calls, ElementsAre(ok_read, wait_20ms, ok_read));
}

TEST(ScanPowerOk, NullIsRefused) {
    EXPECT_EQ(ScanPsuPowerokStatus(nullptr), -1);
    expect_silence();
}

// ---- one read ----

TEST(PowerOk, AnyBitMeansOk) {
    for (uint32_t word = 0; word <= 0xFFFF; word += word < 4 ? 1 : 0x1111) {
        platform().epld[0x192] = static_cast<uint16_t>(word);
        for (const uint32_t unused : {0u, 1u, UINT32_MAX}) {
            platform().clear_record();
            uint32_t status[2] = {0xA5A5A5A5, 0xA5A5A5A5};
            EXPECT_EQ(_GetPsuPowerOkStatus(status, unused, ~unused), 0);
            EXPECT_THAT(status, ElementsAre(word == 0 ? 0u : 1u, 0xA5A5A5A5));
            EXPECT_THAT(platform().calls, ElementsAre(ok_read));
        }
        platform().clear_record();
        uint32_t status = 0xA5A5A5A5;
        EXPECT_EQ(GetPsuPowerOkStatus(&status), 0);
        EXPECT_EQ(status, word == 0 ? 0u : 1u);
        EXPECT_THAT(platform().calls, ElementsAre(ok_read));
        expect_errors("", {});
    }
}

TEST(PowerOk, AFailedReadIsHandedOn) {
    for (const int failure : failures) {
        platform().clear_record();
        platform().fail_if = [](const std::string &) { return true; };
        platform().failure = failure;
        uint32_t status = 0xA5A5A5A5;
        EXPECT_EQ(GetPsuPowerOkStatus(&status), failure);
        EXPECT_EQ(_GetPsuPowerOkStatus(&status, 0, 0), failure);
        EXPECT_EQ(status, 0xA5A5A5A5);
        EXPECT_THAT(platform().calls, ElementsAre(ok_read, ok_read));
        expect_errors("", {});
    }
}

TEST(PowerOk, NullIsRefused) {
    EXPECT_EQ(GetPsuPowerOkStatus(nullptr), -1);
    EXPECT_EQ(_GetPsuPowerOkStatus(nullptr, 0, 0), -1);
    expect_silence();
}

// ---- presence ----

// Every combination of the GPIO line, the register and the two probes, with the accesses that each
// makes.
TEST(PemPresence, EveryCombination) {
    struct Register {
        int result;
        uint16_t word;
    };
    std::vector<Register> registers = {{0, 0}, {0, 1}, {0, 2}, {0, 3}, {0, 0xFFFC}, {0, 0xFFFF}};
    for (const int failure : failures) {
        registers.push_back({failure, 3});
    }
    for (const int line : {0, 1, 2, -1, -5, INT_MIN, INT_MAX}) {
        for (const Register &reg : registers) {
            for (int answers = 0; answers < 4; ++answers) {  // bit 0: first probe, bit 1: second
                for (uint32_t pem = 0; pem < 2; ++pem) {
                    SCOPED_TRACE(testing::Message()
                                 << "line " << line << " register " << reg.result << " " << reg.word
                                 << " answers " << answers << " pem " << pem);
                    platform().clear_record();
                    platform().gpio[201] = line;
                    platform().on_epld_read = [&](uint32_t, uint16_t *value) {
                        if (reg.result == 0) {
                            *value = reg.word;
                        }
                        return reg.result;
                    };
                    int probe = 0;
                    platform().fail_if = [&](const std::string &call) {
                        return call.starts_with("ei2c_smbus") && (answers >> probe++ & 1) == 0;
                    };
                    platform().bytes[{1, 0x58, 0, 0}] = std::vector<uint8_t>(0x20, 0);
                    platform().bytes[{1, 0x59, 0, 0}] = std::vector<uint8_t>(0x20, 0);

                    std::vector<std::string> calls = {gpio_read};
                    bool present = false;
                    if (line != 0) {
                        calls.push_back(presence_read);
                        present = reg.result == 0 && (reg.word & (pem == 0 ? 1 : 2)) != 0;
                    }
                    if (!present) {
                        calls.push_back(probes[pem]);
                        if ((answers & 1) == 0) {
                            calls.push_back(wait_100ms);
                            calls.push_back(probes[pem]);
                        }
                        present = answers != 0;
                    }
                    const auto texts =
                        line != 0 && reg.result != 0
                            ? std::vector<std::string>{"epldio_read failed, offset: 190, dwdata: "
                                                       "0, dwRet:" +
                                                       std::to_string(reg.result)}
                            : std::vector<std::string>{};

                    EXPECT_EQ(_GetPemOnlineStatusByEpld(pem), present ? 1 : 0);
                    EXPECT_EQ(platform().calls, calls);
                    for (const I2cChipRoute &route : platform().routes) {
                        EXPECT_EQ(route.flags, 4) << "handed on as it stands";
                    }
                    expect_errors("_GetPemOnlineStatusByEpld", texts);

                    platform().clear_record();
                    probe = 0;
                    EXPECT_EQ(GetPemOnlineStatus(pem), present ? 1 : 0);
                    EXPECT_EQ(platform().calls, calls);
                }
            }
        }
    }
}

// A probe counts as answered unless its result is negative.
TEST(PemPresence, AProbeFailsWithANegativeResultOnly) {
    for (const int result : failures) {
        platform().clear_record();
        platform().gpio[201] = 0;
        platform().failure = result;
        platform().fail_if = [](const std::string &call) { return call.starts_with("ei2c_smbus"); };
        EXPECT_EQ(GetPemOnlineStatus(0), result >= 0 ? 1 : 0) << result;
        EXPECT_EQ(platform().calls.size(), result >= 0 ? 2u : 4u);
    }
}

TEST(PemPresence, ThereIsNoThirdSupply) {
    for (const uint32_t pem : strange_indexes) {
        EXPECT_EQ(GetPemOnlineStatus(pem), -1) << pem;
        EXPECT_EQ(_GetPemOnlineStatusByEpld(pem), 0) << pem;
    }
    expect_silence();
}
