// One exchange with a card: order of the accesses, polls, answers, failures, the semaphore.
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "boardfeatures/ipc.h"
#include "mailbox/pier_card.h"
#include "support/bytes.h"

using namespace mailbox;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

// ---- the accesses of an exchange, on whatever card ----

class Accesses {
public:
    explicit Accesses(std::string card) : card_(std::move(card)) {}

    std::string compose() const { return write(0, 4) + " FF FF FF FF"; }
    std::string request(const std::vector<uint8_t> &bytes) const {
        return write(8, bytes.size()) + hex(bytes);
    }
    std::string command(uint8_t a, uint8_t b, uint8_t c) const {
        return write(4, 4) + hex({a, b, c, 0});
    }
    std::string post() const { return write(0, 4) + " 00 00 00 00"; }
    std::string poll() const { return read(0, 4); }
    std::string answer(size_t length) const { return read(8, length); }

private:
    static std::string hex(const std::vector<uint8_t> &bytes) {
        std::string text;
        for (const uint8_t byte : bytes) {
            char digits[8];
            std::snprintf(digits, sizeof(digits), " %02X", byte);
            text += digits;
        }
        return text;
    }
    std::string write(int offset, size_t length) const {
        return "i2cWrite " + card_ + " width 1 offset 0x" + std::to_string(offset) + " length " +
               std::to_string(length) + ":";
    }
    std::string read(int offset, size_t length) const {
        return "i2cRead " + card_ + " width 1 offset 0x" + std::to_string(offset) + " length " +
               std::to_string(length);
    }
    std::string card_;
};

const Accesses accesses("4:0x70.3:0x50");
const char nap[] = "usleep 10000";
const std::vector<std::string> take = {"semget 12339 0 0x0", "semget 12339 0 0x0",
                                       "semget 12339 0 0x0",
                                       "semtimedop 12339 0:-1:0x1000 3.000000000"};
const std::vector<std::string> give = {"semget 12339 0 0x0",
                                       "semtimedop 12339 0:1:0x1000 3.000000000"};

// Everything that an exchange does, in one list: transfers, sleeps and semaphore calls.
std::vector<std::string> done;

void merge_records() {
    done.clear();
    layer().before = [](const std::string &call) {
        if (!call.starts_with("semctl")) {  // the test's own look at the semaphore
            done.push_back(call);
        }
    };
}

std::vector<std::string> sequence(std::initializer_list<std::vector<std::string>> parts) {
    std::vector<std::string> all;
    for (const auto &part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

// ---- an exchange and its outcome ----

constexpr uint8_t no_length = 0xA5;

struct Outcome {
    int32_t result = 0;
    std::vector<uint8_t> response = std::vector<uint8_t>(MOORING_DATA_MAX + 8, 0xA5);
    uint8_t length[2] = {no_length, 0xA5};
};

Outcome exchange(const std::optional<std::vector<uint8_t>> &request = std::nullopt) {
    Outcome outcome;
    std::vector<uint8_t> sent = request.value_or(std::vector<uint8_t>());
    const auto size = static_cast<uint32_t>(sent.size());
    sent.push_back(0xA5);  // an empty request is still one
    const Watch watch;
    outcome.result = VEL_Mooring_SmbusSendGetMsgFromPier(some_route(), 0x11, 0x22, 0x33,
                                                         request ? sent.data() : nullptr, size,
                                                         outcome.response.data(), outcome.length);
    EXPECT_EQ(outcome.length[1], 0xA5);
    EXPECT_THAT(std::vector(outcome.response.begin() + MOORING_DATA_MAX, outcome.response.end()),
                testing::Each(0xA5));
    return outcome;
}

std::vector<uint8_t> counted(size_t size, uint8_t first = 1) {
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<uint8_t>(first + i);
    }
    return bytes;
}

void expect_response(const Outcome &outcome, const std::vector<uint8_t> &answer) {
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.length[0], answer.size());
    std::vector<uint8_t> expected = answer;
    expected.resize(outcome.response.size(), 0xA5);
    EXPECT_EQ(outcome.response, expected);
}
void expect_no_response(const Outcome &outcome) {
    EXPECT_EQ(outcome.length[0], no_length);
    EXPECT_THAT(outcome.response, testing::Each(0xA5));
}

int semaphore_value() {
    const int set = semget(semaphore_key, 0, 0);
    return set < 0 ? -1 : semctl(set, 0, GETVAL);
}

// ---- messages ----

struct Said {
    std::string channel, function, text;
    bool operator==(const Said &) const = default;
    friend std::ostream &operator<<(std::ostream &out, const Said &said) {
        return out << said.channel << ' ' << said.function << ' '
                   << testing::PrintToString(said.text);
    }
};

std::vector<Said> said() {
    std::vector<Said> all;
    size_t errors = 0;
    for (const scripted::Message &message : platform().messages) {
        EXPECT_EQ(message.number, 39u);
        EXPECT_EQ(message.source, "vel_mooring_pier_msg");
        EXPECT_GT(message.line, 0);
        if (message.channel == "error" && errors < platform().failed_stats.size()) {
            EXPECT_EQ(platform().failed_stats[errors++],
                      std::make_pair(std::string("vel_mooring_pier_msg"), message.line));
        }
        all.push_back({message.channel, message.function, message.text});
    }
    EXPECT_EQ(errors, platform().failed_stats.size());
    return all;
}
std::vector<Said> errors() {
    std::vector<Said> all = said();
    std::erase_if(all, [](const Said &line) { return line.channel == "debug"; });
    return all;
}
Said failed(const std::string &text) {
    return {"error", "VEL_Mooring_SmbusSendGetMsgFromPier", text};
}

std::string process(const char *colon = "") {
    return "PID: " + std::to_string(getpid()) + ", TID:" + std::to_string(gettid()) + colon;
}

// The semaphore is there and free.
class Exchange : public testing::Test {
protected:
    void SetUp() override {
        OAL_SemCreate(semaphore_key);
        card.attach();
    }
    PierCard card;
};

}  // namespace

// ---- order ----

TEST_F(Exchange, ACardThatAnswersAtOnce) {
    card.answer = counted(3);
    expect_response(exchange(std::vector<uint8_t>{0xAA, 0xBB}), card.answer);
    EXPECT_THAT(platform().calls, ElementsAre(accesses.compose(), accesses.request({0xAA, 0xBB}),
                                              accesses.command(0x11, 0x22, 0x33), accesses.post(),
                                              accesses.poll(), accesses.answer(3)));
    EXPECT_EQ(layer().calls, sequence({take, give})) << "no sleep";
    EXPECT_EQ(card.command, (std::vector<uint8_t>{0x11, 0x22, 0x33, 0}));
    EXPECT_EQ(card.status[1], 1) << "left in the card's last state";
    EXPECT_EQ(semaphore_value(), 1);
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(Exchange, WithoutARequestTheDataRegisterIsNotWritten) {
    card.answer = counted(1);
    expect_response(exchange(), card.answer);
    EXPECT_THAT(platform().calls,
                ElementsAre(accesses.compose(), accesses.command(0x11, 0x22, 0x33), accesses.post(),
                            accesses.poll(), accesses.answer(1)));
}

// Everything between taking and giving back, sleeps included.
TEST_F(Exchange, IsHeldAsAWhole) {
    card.answer = counted(1);
    card.busy_polls = 2;
    merge_records();
    const auto write = platform().on_i2c_write;
    const auto read = platform().on_i2c_read;
    const int set = semget(semaphore_key, 0, 0);
    platform().on_i2c_write = [&](const I2cChipRoute &route, uint32_t length, const uint8_t *bytes,
                                  uint32_t offset) {
        done.push_back("write " + std::to_string(offset));
        EXPECT_EQ(semctl(set, 0, GETVAL), 0);
        return write(route, length, bytes, offset);
    };
    platform().on_i2c_read = [&](const I2cChipRoute &route, uint32_t length, uint8_t *bytes,
                                 uint32_t offset) {
        done.push_back("read " + std::to_string(offset));
        EXPECT_EQ(semctl(set, 0, GETVAL), 0);
        return read(route, length, bytes, offset);
    };
    expect_response(exchange(std::vector<uint8_t>{1}), card.answer);
    EXPECT_EQ(done, sequence({take,
                              {"write 0", "write 8", "write 4", "write 0", "read 0", nap, "read 0",
                               nap, "read 0", "read 8"},
                              give}));
}

TEST_F(Exchange, TheWholeRouteGoesToThePlatform) {
    card.answer = counted(1);
    std::vector<std::vector<uint8_t>> routes;
    const auto keep = [&](const I2cChipRoute &route) {
        const auto *bytes = reinterpret_cast<const uint8_t *>(&route);
        routes.emplace_back(bytes, bytes + sizeof(route));
    };
    const auto write = platform().on_i2c_write;
    platform().on_i2c_write = [&](const I2cChipRoute &route, uint32_t length, const uint8_t *bytes,
                                  uint32_t offset) {
        keep(route);
        return write(route, length, bytes, offset);
    };
    exchange();
    EXPECT_EQ(routes.size(), 3u);
    const Bytes expected = Bytes().u32(4).u16(0x50).u16(7).u32(0x70).u32(3).zeros(16);
    EXPECT_THAT(routes, testing::Each(expected.get()));
}

TEST_F(Exchange, CommandBytesAreBytes) {
    uint8_t response[MOORING_DATA_MAX], length = 0;
    EXPECT_EQ(VEL_Mooring_SmbusSendGetMsgFromPier(some_route(), 0xFF, 0x80, 0xFE, nullptr, 0,
                                                  response, &length),
              0);
    EXPECT_EQ(card.command, (std::vector<uint8_t>{0xFF, 0x80, 0xFE, 0}));
}

// ---- requests ----

TEST_F(Exchange, RequestsOfEveryLength) {
    for (size_t size = 0; size <= 255; ++size) {
        SCOPED_TRACE(size);
        platform().clear_record();
        const std::vector<uint8_t> request = counted(size);
        EXPECT_EQ(exchange(request).result, 0);
        const std::vector<uint8_t> sent(
            request.begin(), request.begin() + static_cast<long>(std::min<size_t>(size, 120)));
        EXPECT_EQ(platform().calls.at(1), accesses.request(sent));
    }
}

// ---- answers ----

TEST_F(Exchange, AnswersOfEveryLength) {
    for (uint32_t length = 0; length <= 255; ++length) {
        SCOPED_TRACE(length);
        platform().clear_record();
        card.answer = counted(std::min(length, 240u), 0x40);
        card.claimed_length = static_cast<uint8_t>(length);
        const Outcome outcome = exchange();
        if (length >= 1 && length <= 120) {
            expect_response(outcome, card.answer);
            EXPECT_EQ(platform().calls.back(), accesses.answer(length));
        } else {
            EXPECT_EQ(outcome.result, 0);
            expect_no_response(outcome);
            EXPECT_EQ(platform().calls.back(), accesses.poll()) << "nothing is read";
        }
        EXPECT_EQ(semaphore_value(), 1);
        EXPECT_THAT(errors(), IsEmpty());
    }
}

TEST_F(Exchange, EveryErrorCode) {
    card.answer = counted(5);
    for (uint32_t code = 2; code <= 255; ++code) {
        platform().clear_record();
        card.acknowledge = static_cast<uint8_t>(code);
        const Outcome outcome = exchange();
        EXPECT_EQ(outcome.result, -1);
        expect_no_response(outcome);
        char text[64];
        std::snprintf(text, sizeof(text), "cmd error, tStatusReg.ucAckStatus = %02x!\n", code);
        EXPECT_THAT(errors(), ElementsAre(failed(text)));
        EXPECT_EQ(platform().calls.size(), 4u);
        EXPECT_EQ(semaphore_value(), 1);
    }
}

// ---- polls ----

TEST_F(Exchange, PollsUntilTheCardIsDone) {
    card.answer = counted(2);
    for (int busy = 0; busy <= 12; ++busy) {
        SCOPED_TRACE(busy);
        platform().clear_record();
        layer().calls.clear();
        card.busy_polls = busy;
        const Outcome outcome = exchange();
        const bool answered = busy < 10;
        EXPECT_EQ(outcome.result, answered ? 0 : -1);
        EXPECT_EQ(platform().calls_of(accesses.poll()).size(),
                  static_cast<size_t>(std::min(busy + 1, 10)));
        EXPECT_EQ(layer().calls_of("usleep"),
                  std::vector<std::string>(static_cast<size_t>(std::min(busy, 10)), nap));
        if (answered) {
            expect_response(outcome, card.answer);
            EXPECT_THAT(errors(), IsEmpty());
        } else {
            expect_no_response(outcome);
            EXPECT_THAT(errors(), ElementsAre(failed("cmd error, tStatusReg.ucAckStatus = 00!\n")));
            EXPECT_EQ(layer().calls, sequence({take, std::vector<std::string>(10, nap), give}));
        }
        EXPECT_EQ(semaphore_value(), 1);
    }
}

// By the clock: a card has until its tenth status read, 90 ms after the first, to answer.
TEST_F(Exchange, TheCardHasNinetyMilliseconds) {
    card.answer = counted(1);
    int64_t now = 0, needs = 0;  // microseconds since the request was posted
    card.finished = [&] { return now >= needs; };
    layer().before = [&](const std::string &call) { now += call == nap ? 10000 : 0; };
    for (const auto &[time, result, naps] : {std::tuple{0, 0, 0u},
                                             {1, 0, 1u},
                                             {10000, 0, 1u},
                                             {10001, 0, 2u},
                                             {89999, 0, 9u},
                                             {90000, 0, 9u},
                                             {90001, -1, 10u},
                                             {1000000, -1, 10u}}) {
        SCOPED_TRACE(time);
        platform().clear_record();
        layer().calls.clear();
        now = 0;
        needs = time;
        EXPECT_EQ(exchange().result, result);
        EXPECT_EQ(layer().calls_of("usleep").size(), naps);
        EXPECT_EQ(now, naps * 10000);
    }
}

// A sleep that a signal ends is over.
TEST_F(Exchange, AnInterruptedSleepCounts) {
    card.answer = counted(1);
    card.busy_polls = 3;
    layer().fail_with = [](const std::string &call) { return call == nap ? EINTR : 0; };
    expect_response(exchange(), card.answer);
    EXPECT_EQ(layer().calls_of("usleep").size(), 3u);
}

// ---- failures ----

TEST_F(Exchange, EachFailingTransfer) {
    card.answer = counted(2);
    card.busy_polls = 1;
    const std::string wrote = "i2cWrite tPierEclient fail!\n";
    const std::string read = "i2cRead tPierEclient fail!\n";
    const struct {
        std::string transfer, text;
    } steps[] = {
        {wrote, "Set PIER eeprom status reg 0xFF error!\n"},
        {wrote, "Set PIER eeprom data reg error!\n"},
        {wrote, "Set PIER eeprom cmd reg error!\n"},
        {wrote, "Set PIER eeprom status reg 0x00 error!\n"},
        {read, "Get PIER eeprom status reg error!\n"},
        {read, "Get PIER eeprom status reg error!\n"},
        {read, "Get PIER eeprom data reg error!\n"},
    };
    for (const int failure : {-1, -5, INT_MIN}) {
        for (size_t n = 1; n <= std::size(steps); ++n) {
            SCOPED_TRACE(n);
            platform().clear_record();
            platform().failure = failure;
            platform().fail_call = n;
            layer().calls.clear();
            const Outcome outcome = exchange(std::vector<uint8_t>{1, 2});
            EXPECT_EQ(outcome.result, -1);
            EXPECT_EQ(platform().calls.size(), n) << "nothing follows a failed transfer";
            EXPECT_THAT(errors(), ElementsAre(Said{"error",
                                                   steps[n - 1].transfer == read
                                                       ? "VEL_Mooring_ReadDataFromPier"
                                                       : "VEL_Mooring_WriteDataToPier",
                                                   steps[n - 1].transfer},
                                              failed(steps[n - 1].text)));
            EXPECT_EQ(layer().calls_of("semtimedop").back(), give.back());
            EXPECT_EQ(semaphore_value(), 1);
            // The length is handed out before the data are read.
            EXPECT_EQ(outcome.length[0], n == 7 ? 2 : no_length);
            EXPECT_THAT(outcome.response, testing::Each(0xA5));
        }
    }
    // The next exchange is a good one.
    platform().fail_call.reset();
    expect_response(exchange(std::vector<uint8_t>{1, 2}), card.answer);
}

// Positive results are successes.
TEST_F(Exchange, OnlyNegativeResultsFail) {
    for (const int result : {0, 1, 4, INT_MAX}) {
        platform().on_i2c_write = [&](const I2cChipRoute &, uint32_t, const uint8_t *, uint32_t) {
            return result;
        };
        platform().on_i2c_read = [&](const I2cChipRoute &, uint32_t length, uint8_t *bytes,
                                     uint32_t) {
            std::fill_n(bytes, length, uint8_t{1});
            return result;
        };
        expect_response(exchange(), {1});
    }
}

TEST_F(Exchange, WithoutPlaceForAnAnswerNothingHappens) {
    uint8_t response[MOORING_DATA_MAX], length = 0;
    const uint8_t request[1] = {};
    const Watch watch;
    EXPECT_EQ(
        VEL_Mooring_SmbusSendGetMsgFromPier(some_route(), 1, 2, 3, request, 1, nullptr, &length),
        -1);
    EXPECT_EQ(
        VEL_Mooring_SmbusSendGetMsgFromPier(some_route(), 1, 2, 3, request, 1, response, nullptr),
        -1);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(layer().calls, IsEmpty());
    EXPECT_THAT(said(), IsEmpty());
}

// ---- the semaphore ----

TEST(MailboxLock, IsMadeOnFirstUse) {
    const Watch watch;
    EXPECT_EQ(VEL_Mooring_MRPIER_SemLock(), 0);
    EXPECT_THAT(layer().calls,
                ElementsAre("semget 12339 0 0x0", "semget 12339 1 0x7B6", "semctl 12339 0 SETVAL 1",
                            "semget 12339 0 0x0", "semtimedop 12339 0:-1:0x1000 3.000000000"));
    const std::string id = std::to_string(semget(semaphore_key, 0, 0));
    EXPECT_EQ(said(), (std::vector<Said>{{"debug", "VEL_Mooring_MRPIER_SemLock",
                                          process() + " sem create successded(" + id + ")\n"},
                                         {"debug", "VEL_Mooring_MRPIER_SemLock",
                                          process() + " sem *LOCK* successded(0)\n"}}));
    EXPECT_EQ(semaphore_value(), 0);

    platform().clear_record();
    layer().calls.clear();
    EXPECT_EQ(VEL_Mooring_MRPIER_SemUnlock(), 0);
    EXPECT_EQ(layer().calls, give);
    EXPECT_EQ(said(), (std::vector<Said>{{"debug", "VEL_Mooring_MRPIER_SemUnlock",
                                          process() + " sem UNLOCK successed(0)\n"}}));
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(MailboxLock, CannotBeMade) {
    layer().fail_with = [](const std::string &call) {
        return call.find("0x7B6") != std::string::npos ? ENOSPC : 0;
    };
    uint8_t response[MOORING_DATA_MAX], length = 0;
    const Watch watch;
    EXPECT_EQ(
        VEL_Mooring_SmbusSendGetMsgFromPier(some_route(), 1, 2, 3, nullptr, 0, response, &length),
        -1);
    // 0x80108303
    EXPECT_EQ(said(), (std::vector<Said>{{"warn", "VEL_Mooring_MRPIER_SemLock",
                                          process(".") + " sem create failed(-2146401533)\n"},
                                         failed("Get MRPIER SemLock failed\n")}));
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_EQ(semaphore_value(), -1);
}

TEST(MailboxLock, IsNotGivenBackWhenItWasNotTaken) {
    OAL_SemCreate(semaphore_key);
    layer().fail_with = [](const std::string &call) {
        return call.starts_with("semtimedop") ? EAGAIN : 0;
    };
    uint8_t response[MOORING_DATA_MAX], length = 0;
    const Watch watch;
    EXPECT_EQ(
        VEL_Mooring_SmbusSendGetMsgFromPier(some_route(), 1, 2, 3, nullptr, 0, response, &length),
        -1);
    std::vector<Said> lines = said();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[1], (Said{"warn", "VEL_Mooring_MRPIER_SemLock",
                              process() + " sem *LOCK* failed(-2146401532)\n"}));  // 0x80108304
    EXPECT_EQ(lines[2], failed("Get MRPIER SemLock failed\n"));
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_EQ(layer().calls, take);
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(MailboxLock, CannotBeGivenBack) {
    EXPECT_EQ(VEL_Mooring_MRPIER_SemUnlock(), -1) << "there is none";
    EXPECT_EQ(said(), (std::vector<Said>{{"error", "VEL_Mooring_MRPIER_SemUnlock",
                                          process() + " sem UNLOCK failed(-2146401534)\n"}}));

    platform().clear_record();
    OAL_SemCreate(semaphore_key);
    layer().fail_with = [](const std::string &call) {
        return call.starts_with("semtimedop") ? EINVAL : 0;
    };
    const Watch watch;
    EXPECT_EQ(VEL_Mooring_MRPIER_SemUnlock(), -1);
    EXPECT_EQ(said(), (std::vector<Said>{{"error", "VEL_Mooring_MRPIER_SemUnlock",
                                          process() + " sem UNLOCK failed(-2146401531)\n"}}));
}

// The exchange has succeeded all the same.
TEST_F(Exchange, AFailedUnlockIsOnlySaid) {
    card.answer = counted(1);
    layer().fail_with = [](const std::string &call) {
        return call.find("0:1:0x1000") != std::string::npos ? EIDRM : 0;
    };
    expect_response(exchange(), card.answer);
    ASSERT_EQ(errors().size(), 1u);
    EXPECT_EQ(errors()[0].function, "VEL_Mooring_MRPIER_SemUnlock");
}

// Each of the system's calls fails in turn: the semaphore is free afterwards, unless giving it back
// is what failed.
TEST_F(Exchange, EachFailingSystemCall) {
    card.answer = counted(1);
    card.busy_polls = 1;
    ASSERT_EQ(exchange().result, 0);
    const std::vector<std::string> calls = layer().calls;
    for (size_t n = 1; n <= calls.size(); ++n) {
        SCOPED_TRACE(calls[n - 1]);
        layer().clear();
        layer().fail_call = n;
        platform().clear_record();
        const bool sleeps = calls[n - 1] == nap;
        const bool gives = n > calls.size() - give.size();
        EXPECT_EQ(exchange().result, sleeps || gives ? 0 : -1);
        EXPECT_EQ(platform().calls.empty(), !sleeps && !gives);
        EXPECT_EQ(semaphore_value(), gives ? 0 : 1);
        if (gives) {
            EXPECT_EQ(OAL_SemUnLockByKey(semaphore_key, 0), 0u);
        }
    }
}

// ---- by PCIe slot ----

TEST_F(Exchange, EverySlot) {
    card.answer = counted(2);
    const char *const places[] = {"3:0x70.2", "3:0x70.1", "4:0x70.3", "4:0x70.2", "4:0x70.1",
                                  "5:0x70.1", "5:0x70.2", "5:0x70.3", "6:0x70.2", "6:0x70.1"};
    for (uint32_t slot = 1; slot <= 10; ++slot) {
        SCOPED_TRACE(slot);
        platform().clear_record();
        const std::string place = places[slot - 1];
        const Accesses here(place + ":0x50");
        uint8_t response[MOORING_DATA_MAX], length = 0;
        const uint8_t request[] = {0x77};
        EXPECT_EQ(VEL_Mooring_SendGetMsgFromPier(slot, 9, 8, 7, request, 1, response, &length), 0);
        EXPECT_EQ(length, 2);
        EXPECT_THAT(platform().calls,
                    ElementsAre(here.compose(), here.request({0x77}), here.command(9, 8, 7),
                                here.post(), here.poll(), here.answer(2)));
        std::vector<Said> lines = said();
        lines.resize(2);
        EXPECT_THAT(
            lines,
            ElementsAre(Said{"debug", "VEL_Mooring_SendGetMsgFromPier",
                             "Find Mooring DPU index:" + std::to_string(slot - 1) + "\n"},
                        Said{"debug", "VEL_Mooring_SendGetMsgFromPier",
                             "i2cTopo:bus:" + place.substr(0, 1) + ", addr:50, swi_addr:70, " +
                                 "swi_chn:" + place.substr(7)}));
    }
}

TEST_F(Exchange, AnUnknownSlotNeverTakesTheSemaphore) {
    for (const uint32_t slot :
         {0u, 11u, 23u, 255u, 256u, 257u, 0x10001u, 0x80000001u, UINT32_MAX}) {
        platform().clear_record();
        uint8_t response[MOORING_DATA_MAX], length = no_length;
        const Watch watch;
        EXPECT_EQ(VEL_Mooring_SendGetMsgFromPier(slot, 1, 2, 3, nullptr, 0, response, &length), -1);
        EXPECT_EQ(said(), (std::vector<Said>{{"error", "VEL_Mooring_SendGetMsgFromPier",
                                              "cannot Find Mooring DPU index\n"}}));
        EXPECT_THAT(platform().calls, IsEmpty());
        EXPECT_THAT(layer().calls, IsEmpty());
        EXPECT_EQ(length, no_length);
    }
}

TEST_F(Exchange, AFailedExchangeNamesTheSlot) {
    card.acknowledge = 0x7F;
    uint8_t response[MOORING_DATA_MAX], length = 0;
    EXPECT_EQ(VEL_Mooring_SendGetMsgFromPier(10, 1, 2, 3, nullptr, 0, response, &length), -1);
    EXPECT_THAT(errors(),
                ElementsAre(failed("cmd error, tStatusReg.ucAckStatus = 7f!\n"),
                            Said{"error", "VEL_Mooring_SendGetMsgFromPier",
                                 "Read/Write PIER2.0 Card info failed (PcieSlot: 10).\n"}));
    platform().clear_record();
    EXPECT_EQ(VEL_Mooring_SendGetMsgFromPier(1, 1, 2, 3, nullptr, 0, nullptr, &length), -1);
    EXPECT_EQ(VEL_Mooring_SendGetMsgFromPier(1, 1, 2, 3, nullptr, 0, response, nullptr), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
}

// Only the address of the card's route becomes the mailbox's.
TEST_F(Exchange, TheRestOfTheCardsRouteStays) {
    card.answer = counted(1);
    uint8_t response[MOORING_DATA_MAX], length = 0;
    for (uint32_t slot = 1; slot <= 10; ++slot) {
        platform().clear_record();
        I2cChipRoute route = {};
        EXPECT_EQ(GetSmbusNetCardI2cInfo(static_cast<int32_t>(slot) - 1, &route), 0);
        EXPECT_NE(route.name[0], '\0');
        route.address = 0x50;
        EXPECT_EQ(VEL_Mooring_SendGetMsgFromPier(slot, 1, 2, 3, nullptr, 0, response, &length), 0);
        ASSERT_FALSE(platform().routes.empty());
        for (const I2cChipRoute &used : platform().routes) {
            EXPECT_TRUE(scripted::same_route(used, route));
        }
    }
}

TEST_F(Exchange, TheRequestsLengthIsAByte) {
    card.answer = counted(1);
    const Accesses here(scripted::route_text(some_route()));
    const std::vector<uint8_t> bytes(300, 0x11);
    for (const uint32_t length : {256u, 257u, 300u, 0x80000003u}) {
        platform().clear_record();
        uint8_t response[MOORING_DATA_MAX], got = 0;
        EXPECT_EQ(VEL_Mooring_SmbusSendGetMsgFromPier(some_route(), 1, 2, 3, bytes.data(), length,
                                                      response, &got),
                  0);
        EXPECT_EQ(platform().calls.at(1), here.request(std::vector<uint8_t>(length & 0xFF, 0x11)))
            << length;
    }
}

// ---- single registers ----

TEST(MailboxRegisters, OneTransferEach) {
    PierCard card;
    card.attach();
    uint8_t bytes[255] = {0x10, 0x20, 0x30};
    const std::string place = "4:0x70.3:0x50 width 1 offset ";
    const I2cChipRoute route = some_route();
    EXPECT_EQ(VEL_Mooring_SetStatusReg(route, 0x04030201), 0);
    EXPECT_EQ(VEL_Mooring_SetCmdReg(route, 0xF4F3F2F1), 0);
    EXPECT_EQ(VEL_Mooring_SetDataReg(route, bytes, 3), 0);
    EXPECT_EQ(VEL_Mooring_WriteDataToPier(route, 0xFE, bytes, 1), 0);
    EXPECT_EQ(VEL_Mooring_WriteDataToPier(route, 0, bytes, 0), 0);
    EXPECT_EQ(VEL_Mooring_WriteDataToPier(route, 0x102, bytes, 0x80000002), 0);
    EXPECT_THAT(platform().calls, ElementsAre("i2cWrite " + place + "0x0 length 4: 01 02 03 04",
                                              "i2cWrite " + place + "0x4 length 4: F1 F2 F3 F4",
                                              "i2cWrite " + place + "0x8 length 3: 10 20 30",
                                              "i2cWrite " + place + "0xFE length 1: 10",
                                              "i2cWrite " + place + "0x0 length 0:",
                                              "i2cWrite " + place + "0x2 length 2: 10 20"));
    platform().clear_record();
    card.status = {9, 8, 7, 6};
    card.data[0] = 0x42;
    uint8_t status[5] = {0, 0, 0, 0, 0xA5};
    EXPECT_EQ(VEL_Mooring_GetStatusReg(route, status), 0);
    EXPECT_THAT(status, ElementsAre(9, 8, 7, 6, 0xA5));
    EXPECT_EQ(VEL_Mooring_GetDataReg(route, bytes, 120), 0);
    EXPECT_EQ(bytes[0], 0x42);
    EXPECT_EQ(VEL_Mooring_ReadDataFromPier(route, 8, bytes, 2), 0);
    EXPECT_EQ(VEL_Mooring_ReadDataFromPier(route, 0x108, bytes, 0x103), 0);
    EXPECT_THAT(
        platform().calls,
        ElementsAre("i2cRead " + place + "0x0 length 4", "i2cRead " + place + "0x8 length 120",
                    "i2cRead " + place + "0x8 length 2", "i2cRead " + place + "0x8 length 3"));
    EXPECT_THAT(said(), IsEmpty());
}

TEST(MailboxRegisters, AFailedTransfer) {
    uint8_t bytes[4] = {};
    const I2cChipRoute route = some_route();
    platform().fail_if = [](const std::string &) { return true; };
    for (const int failure : {-1, -5, INT_MIN}) {
        platform().failure = failure;
        platform().clear_record();
        EXPECT_EQ(VEL_Mooring_SetStatusReg(route, 0), -1);
        EXPECT_EQ(VEL_Mooring_SetCmdReg(route, 0), -1);
        EXPECT_EQ(VEL_Mooring_SetDataReg(route, bytes, 4), -1);
        EXPECT_EQ(VEL_Mooring_WriteDataToPier(route, 0, bytes, 4), -1);
        EXPECT_THAT(said(), testing::Each(Said{"error", "VEL_Mooring_WriteDataToPier",
                                               "i2cWrite tPierEclient fail!\n"}));
        EXPECT_EQ(said().size(), 4u);
        platform().clear_record();
        EXPECT_EQ(VEL_Mooring_GetStatusReg(route, bytes), -1);
        EXPECT_EQ(VEL_Mooring_GetDataReg(route, bytes, 4), -1);
        EXPECT_EQ(VEL_Mooring_ReadDataFromPier(route, 0, bytes, 4), -1);
        EXPECT_THAT(said(), testing::Each(Said{"error", "VEL_Mooring_ReadDataFromPier",
                                               "i2cRead tPierEclient fail!\n"}));
        EXPECT_EQ(said().size(), 3u);
    }
}

TEST(MailboxRegisters, NullIsRefused) {
    const I2cChipRoute route = some_route();
    EXPECT_EQ(VEL_Mooring_WriteDataToPier(route, 0, nullptr, 4), -1);
    EXPECT_EQ(VEL_Mooring_ReadDataFromPier(route, 0, nullptr, 4), -1);
    EXPECT_EQ(VEL_Mooring_GetStatusReg(route, nullptr), -1);
    EXPECT_EQ(VEL_Mooring_SetDataReg(route, nullptr, 4), -1);
    EXPECT_EQ(VEL_Mooring_GetDataReg(route, nullptr, 4), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(said(), IsEmpty());
}
