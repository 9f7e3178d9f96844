// Every getter in both configurations: its answer, what it reads and what it logs.
#include "cooling/getters.h"

using namespace cooling;

// The platform's bounded clearing, recorded with the accesses; it can fail like them.
extern "C" int vel_memset_s(void *dest, size_t dest_size, int value, size_t count) {
    platform().calls.push_back("vel_memset_s " + std::to_string(dest_size) + " " +
                               std::to_string(value) + " " + std::to_string(count));
    if (platform().fail_if && platform().fail_if(platform().calls.back())) {
        return platform().failure;
    }
    std::memset(dest, value, count);
    return 0;
}

namespace {

// The state as the library is loaded with it.
const uint32_t state_at_load[] = {g_wSubCardID_SLOT10, g_wSubCardID_SLOT11, g_dwGetNoBoardIDTimes,
                                  g_bIsFell};

struct Cards {
    uint16_t position_10;
    uint16_t position_11;
    bool fell;
};

const std::vector<Cards> &fitted_cards() {
    static const std::vector<Cards> all = {
        {no_card, no_card, false}, {0x5459, no_card, false}, {no_card, 0x5459, false},
        {0x5459, 0x545A, false},   {0x545B, 0x5473, false},  {0x545B, 0x546F, false},
        {0x5472, 0x545A, false},   {0x5473, no_card, true},  {0x546F, no_card, true},
        {no_card, 0x545B, true},   {0x5459, 0x545B, true},   {0x5473, 0x5459, true},
        {0x546F, 0x545B, true},
    };
    return all;
}

std::vector<std::string> calls_of(const Getter &getter, bool look_up) {
    std::vector<std::string> calls;
    if (getter.cleared != 0) {
        const std::string size = std::to_string(getter.cleared);
        calls.push_back("vel_memset_s " + size + " 0 " + size);
    }
    if (look_up && getter.member != nullptr) {
        calls.insert(calls.end(), look_up_reads().begin(), look_up_reads().end());
    }
    return calls;
}

// What the audit log says of a look-up, behind the line number: by the member's own name.
std::vector<std::string> log_of(const Getter &getter, const Cards &cards, unsigned count) {
    if (getter.member == nullptr) {
        return {};
    }
    const std::string by = std::string(", ") + getter.member + "(), ***********";
    std::vector<std::string> lines;
    char id[8];
    if (cards.position_10 != no_card) {
        std::snprintf(id, sizeof(id), "%x", cards.position_10);
        lines.push_back(by + "get slot10 BoardID ID is " + id + ".\n");
    }
    if (cards.position_11 != no_card) {
        std::snprintf(id, sizeof(id), "%x", cards.position_11);
        lines.push_back(by + "get slot11 BoardID ID is " + id + ".\n");
    }
    if (cards.position_10 == no_card && cards.position_11 == no_card) {
        lines.push_back(by + "get no BoardID and times is " + std::to_string(count) + "\n");
    }
    return lines;
}

// The audit lines, of which each begins with a source line.
std::vector<std::string> audit_log() {
    std::vector<std::string> lines;
    for (const scripted::Message &message : platform().messages) {
        EXPECT_EQ(message.channel, "audit");
        EXPECT_EQ(message.number, 178u);
        const size_t digits = message.text.find_first_not_of("0123456789");
        EXPECT_NE(digits, 0u) << message.text;
        EXPECT_NE(message.text[0], '0');
        lines.push_back(message.text.substr(digits));
    }
    return lines;
}

const Answer &answer_of(const Getter &getter, bool fell) {
    return fell ? getter.fell : getter.tarn;
}

class Getters : public CoolingTest {};
class Configuration : public CoolingTest {};

}  // namespace

TEST(CoolingState, StartsEmpty) {
    for (const uint32_t value : state_at_load) {
        EXPECT_EQ(value, 0u);
    }
}

TEST_F(Getters, AnswerByTheFittedCards) {
    for (const Cards &cards : fitted_cards()) {
        fit_cards(cards.position_10, cards.position_11);
        for (const Getter &getter : getters()) {
            SCOPED_TRACE(testing::Message() << getter.name << " " << std::hex << cards.position_10
                                            << " " << cards.position_11);
            forget_configuration();
            platform().clear_record();
            const bool recognised = cards.fell && getter.member != nullptr;
            EXPECT_TRUE(getter.ask() == answer_of(getter, recognised));
            EXPECT_EQ(platform().calls, calls_of(getter, true));
            EXPECT_EQ(audit_log(), log_of(getter, cards, 1));
            EXPECT_EQ(g_bIsFell, recognised ? 1 : 0);
            const auto known = [&](uint16_t id) {
                return id == no_card || getter.member == nullptr ? 0 : id;
            };
            EXPECT_EQ(g_wSubCardID_SLOT10, known(cards.position_10));
            EXPECT_EQ(g_wSubCardID_SLOT11, known(cards.position_11));
            const bool none = cards.position_10 == no_card && cards.position_11 == no_card;
            EXPECT_EQ(g_dwGetNoBoardIDTimes, none && getter.member != nullptr ? 1u : 0u);
        }
    }
}

// What was recognised once holds, whatever is fitted later, and is not asked again.
TEST_F(Getters, AnswerByWhatIsKnown) {
    for (const Cards &cards : fitted_cards()) {
        if (cards.position_10 == no_card && cards.position_11 == no_card) {
            continue;
        }
        fit_cards(cards.position_10, cards.position_11);
        forget_configuration();
        FAN_GetPulse();
        fit_cards(0x5459, cards.fell ? 0x5459 : 0x545B);
        for (const Getter &getter : getters()) {
            SCOPED_TRACE(testing::Message() << getter.name << " " << std::hex << cards.position_10
                                            << " " << cards.position_11);
            platform().clear_record();
            EXPECT_TRUE(getter.ask() == answer_of(getter, cards.fell));
            EXPECT_EQ(platform().calls, calls_of(getter, false));
            EXPECT_TRUE(platform().messages.empty());
        }
    }
}

// The latch alone decides, with the identifiers of another machine or with none.
TEST_F(Getters, AnswerByTheLatch) {
    for (const uint16_t card : {no_card, uint16_t{0x5459}}) {
        fit_cards(card, card);
        for (const Getter &getter : getters()) {
            SCOPED_TRACE(testing::Message() << getter.name << " " << std::hex << card);
            forget_configuration();
            g_bIsFell = 1;
            EXPECT_TRUE(getter.ask() == answer_of(getter, true));
            EXPECT_EQ(g_bIsFell, 1);
        }
    }
}

// Two reads a call while neither position answers, at most twenty times in all.
TEST_F(Getters, EachStopsAskingAfterTwentyFailures) {
    const Cards none = {no_card, no_card, false};
    for (const Getter &getter : getters()) {
        SCOPED_TRACE(getter.name);
        forget_configuration();
        for (unsigned call = 1; call <= 25; ++call) {
            platform().clear_record();
            EXPECT_TRUE(getter.ask() == getter.tarn);
            EXPECT_EQ(platform().calls, calls_of(getter, call <= 20));
            EXPECT_EQ(audit_log(),
                      call <= 20 ? log_of(getter, none, call) : std::vector<std::string>());
        }
        EXPECT_EQ(g_dwGetNoBoardIDTimes, getter.member != nullptr ? 20u : 0u);
        fit_cards(0x5473, 0x545B);  // too late
        platform().clear_record();
        EXPECT_TRUE(getter.ask() ==
                    (getter.member != nullptr ? getter.tarn : answer_of(getter, false)));
        if (getter.member != nullptr) {
            EXPECT_EQ(platform().calls, calls_of(getter, false));
        }
        fit_cards(no_card, no_card);
    }
}

TEST_F(Getters, TheTwentyFailuresCountOverTheWholeFamily) {
    const Cards none = {no_card, no_card, false};
    unsigned failures = 0;
    for (size_t i = 0; failures < 40; i += 7) {  // a getter of every kind
        const Getter &getter = getters()[i % getters().size()];
        SCOPED_TRACE(getter.name);
        platform().clear_record();
        getter.ask();
        failures += getter.member != nullptr;
        EXPECT_EQ(platform().calls, calls_of(getter, failures <= 20));
        EXPECT_EQ(audit_log(),
                  failures <= 20 ? log_of(getter, none, failures) : std::vector<std::string>());
        EXPECT_EQ(g_dwGetNoBoardIDTimes, std::min(failures, 20u));
    }
}

// A card that answers at the last look-up is still recognised.
TEST_F(Configuration, IsRecognisedAtTheTwentiethLookUp) {
    for (int call = 1; call <= 19; ++call) {
        EXPECT_EQ(FAN_GetCoolingModeCnt(), 30);
    }
    fit_cards(no_card, 0x545B);
    EXPECT_EQ(FAN_GetCoolingModeCnt(), 6);
    EXPECT_EQ(g_dwGetNoBoardIDTimes, 19u);
}

// A read that fails, with whatever code, is a position that does not answer.
TEST_F(Configuration, FailedReadsAreNoAnswer) {
    for (const int failure : {-5, -1, 1, 7, INT32_MIN, INT32_MAX}) {
        for (const size_t failing : {1u, 2u}) {
            SCOPED_TRACE(testing::Message() << failure << " at read " << failing);
            forget_configuration();
            platform() = {};
            fit_cards(0x5473, 0x545B);
            platform().failure = failure;
            platform().fail_call = failing;
            EXPECT_EQ(FAN_GetCoolingModeCnt(), 6);
            EXPECT_EQ(platform().calls, look_up_reads());
            EXPECT_EQ(platform().messages.size(), 1u);
            EXPECT_EQ(g_wSubCardID_SLOT10, failing == 1 ? 0 : 0x5473);
            EXPECT_EQ(g_wSubCardID_SLOT11, failing == 2 ? 0 : 0x545B);
            EXPECT_EQ(g_dwGetNoBoardIDTimes, 0u);
        }
        forget_configuration();
        platform().fail_call.reset();
        platform().fail_if = [](const std::string &) { return true; };
        EXPECT_EQ(FAN_GetCoolingModeCnt(), 30);
        EXPECT_EQ(g_dwGetNoBoardIDTimes, 1u);
    }
}

// An identifier with broken parity is none.
TEST_F(Configuration, BrokenIdentifiersAreNoAnswer) {
    platform().identifier(8, 0x20, 0, 0, identifier_word(0x5473) ^ 0x8000);
    platform().identifier(9, 0x20, 0, 0, identifier_word(0x545B) ^ 0x8000);
    EXPECT_EQ(FAN_GetCoolingModeCnt(), 30);
    EXPECT_EQ(g_dwGetNoBoardIDTimes, 1u);
    EXPECT_EQ(g_wSubCardID_SLOT10, 0);
    EXPECT_EQ(g_wSubCardID_SLOT11, 0);
}

// The count is what the state holds, up to its end.
TEST_F(Configuration, FollowsItsExportedState) {
    g_dwGetNoBoardIDTimes = UINT32_MAX;
    EXPECT_EQ(FAN_GetCoolingModeCnt(), 30);
    EXPECT_TRUE(platform().calls.empty());
    g_wSubCardID_SLOT10 = 0x546F;
    EXPECT_EQ(FAN_GetCoolingModeCnt(), 6);
    EXPECT_EQ(g_bIsFell, 1);
    g_wSubCardID_SLOT10 = 0x5459;
    EXPECT_EQ(FAN_GetCoolingModeCnt(), 6);
    EXPECT_TRUE(platform().calls.empty());
}

// The fan's highest duty follows the latch and does not look for itself.
TEST_F(Configuration, IsNotLookedUpForTheHighestDuty) {
    fit_cards(0x546F, no_card);
    EXPECT_EQ(FAN_GetMaxPwmFanType(8), 220);
    EXPECT_TRUE(platform().calls.empty());
    FanPidParas paras;
    EXPECT_EQ(FAN_GetOtherPIDParas(&paras), 0);
    EXPECT_EQ(paras.dwPidCycle, 2u);
    EXPECT_EQ(FAN_GetMaxPwmFanType(8), 255);
}

TEST_F(Getters, RefuseNullBeforeAnyAccess) {
    fit_cards(0x5473, 0x545B);
    for (const Getter &getter : getters()) {
        if (getter.ask_null) {
            EXPECT_EQ(getter.ask_null(), -1) << getter.name;
        }
    }
    for (const uint32_t fan_type : {7u, 8u}) {
        EXPECT_EQ(FAN_GetCoolingModeParaByHDbk(3, fan_type, nullptr), -1);
        EXPECT_EQ(FAN_GetShareMainbaordCoolingModeParaByHDbk(3, fan_type, nullptr), -1);
    }
    EXPECT_TRUE(platform().calls.empty());
    EXPECT_TRUE(platform().messages.empty());
    EXPECT_EQ(g_bIsFell, 0);
}

TEST_F(Getters, FillABufferAtAnyAddress) {
    for (const Getter &getter : getters()) {
        if (getter.ask_at) {
            for (const size_t offset : {1u, 2u, 3u, 7u}) {
                EXPECT_TRUE(getter.ask_at(offset) == getter.tarn) << getter.name << " " << offset;
            }
        }
    }
}

// The answer is complete even where the platform's clearing fails.
TEST_F(Getters, FillTheBufferThoughClearingFails) {
    platform().fail_if = [](const std::string &call) { return call.starts_with("vel_memset_s"); };
    for (const Getter &getter : getters()) {
        EXPECT_TRUE(getter.ask() == getter.tarn) << getter.name;
    }
}

// ---- cooling modes by backplane ----

namespace {

constexpr uint8_t garbage = 0x5A;
constexpr size_t record_size = 14;

// Three records of garbage after the call, and the result.
struct Modes {
    int32_t result;
    Raw bytes;
};

template <typename Get>
Modes ask_modes(Get get, uint32_t hdbk, uint32_t fan_type, size_t offset = 0) {
    Raw space(offset + 4 * record_size, garbage);
    const int32_t result =
        get(hdbk, fan_type, reinterpret_cast<CoolingModeRecord *>(space.data() + offset));
    return {result, Raw(space.begin() + static_cast<long>(offset), space.end())};
}

// The first record cleared, then each mode's row at its place.
Modes expected_modes(const std::vector<ModeRow> &rows, bool any_hdbk, uint32_t hdbk,
                     uint32_t fan_type) {
    Modes modes = {-1, Raw(4 * record_size, garbage)};
    std::fill_n(modes.bytes.begin(), record_size, 0);
    for (const ModeRow &row : rows) {
        if (row.fan_type == fan_type && (any_hdbk || row.hdbk == hdbk)) {
            const Raw bytes = bytes_of(row);
            std::copy(bytes.begin(), bytes.end(),
                      modes.bytes.begin() + static_cast<long>(row.mode * record_size));
            modes.result = 0;
        }
    }
    return modes;
}

}  // namespace

TEST_F(Configuration, ModesOfABackplane) {
    for (const bool fell : {false, true}) {
        for (const uint32_t hdbk :
             {0u, 1u, 2u, 3u, 4u, 5u, 255u, 256u, 259u, 0x10003u, UINT32_MAX}) {
            for (const uint32_t type : {7u, 8u, 0u, 6u, 9u, 263u, 264u, UINT32_MAX}) {
                for (const size_t offset : {0u, 1u}) {
                    SCOPED_TRACE(testing::Message() << fell << " " << hdbk << " " << type);
                    const Modes expected =
                        expected_modes(fell ? fell_rows() : tarn_rows(), fell, hdbk, type);
                    for (const auto get : {FAN_GetCoolingModeParaByHDbk,
                                           FAN_GetShareMainbaordCoolingModeParaByHDbk}) {
                        forget_configuration();
                        platform() = {};
                        fit_cards(fell ? 0x5473 : 0x5459, no_card);
                        const Modes modes = ask_modes(get, hdbk, type, offset);
                        EXPECT_EQ(modes.result, expected.result);
                        EXPECT_EQ(modes.bytes, expected.bytes);
                        EXPECT_EQ(platform().calls, look_up_reads());
                        ASSERT_EQ(platform().messages.size(), 1u);
                        EXPECT_NE(platform().messages[0].text.find(
                                      ", FAN_GetShareMainbaordCoolingModeParaByHDbk(), "),
                                  std::string::npos);
                    }
                }
            }
        }
    }
}

TEST_F(Configuration, ModesOfABackplaneFollowTheLatch) {
    g_bIsFell = 1;
    const Modes modes = ask_modes(FAN_GetCoolingModeParaByHDbk, 0, 8);
    const Modes expected = expected_modes(fell_rows(), true, 0, 8);
    EXPECT_EQ(modes.result, 0);
    EXPECT_EQ(modes.bytes, expected.bytes);
}

TEST_F(Configuration, ModesOfABackplaneAreLookedUpTwentyTimes) {
    for (int call = 1; call <= 21; ++call) {
        platform().clear_record();
        ask_modes(FAN_GetCoolingModeParaByHDbk, 0, 7);
        EXPECT_EQ(platform().calls, call <= 20 ? look_up_reads() : std::vector<std::string>());
    }
}

// ---- what the tables must hold whatever their values ----

TEST_F(Configuration, CurvesRiseAndStayBelowTheHighestDuty) {
    CoolingModeRecord records[30];
    ASSERT_EQ(FAN_GetCoolingMode(records), 0);
    for (const CoolingModeRecord &record : records) {
        for (int level = 0; level < 8; ++level) {
            EXPECT_LE(record.pwm[level], FAN_GetMaxPwmFanType(record.fan_type));
            EXPECT_TRUE(level == 0 || record.pwm[level] >= record.pwm[level - 1]);
        }
    }
}

TEST_F(Configuration, FanPowerNeverFallsAndIsSmooth) {
    for (const bool fell : {false, true}) {
        forget_configuration();
        fit_cards(fell ? 0x5473 : 0x5459, no_card);
        for (const uint32_t type : {7u, 8u}) {
            FanPower power[101];
            ASSERT_EQ(FAN_GetTotalPower(power, type), 0);
            const PowerPoints points = power_points(fell, type);
            EXPECT_EQ(power[10].watts, static_cast<float>(points.at_10));
            EXPECT_EQ(power[50].watts, static_cast<float>(points.at_50));
            EXPECT_EQ(power[100].watts, static_cast<float>(points.at_100));
            for (uint32_t percent = 0; percent <= 100; ++percent) {
                SCOPED_TRACE(percent);
                EXPECT_EQ(power[percent].pwm_percent, percent);
                if (percent < 10) {
                    EXPECT_EQ(power[percent].watts, 0.0f);
                } else {
                    EXPECT_GE(power[percent].watts, power[percent - 1].watts);
                }
                if (percent >= 12) {  // no step stands out from its neighbour
                    const float step = power[percent].watts - power[percent - 1].watts;
                    const float before = power[percent - 1].watts - power[percent - 2].watts;
                    EXPECT_NEAR(step, before, 0.08f);
                }
            }
        }
    }
}

// Of all components' parameters only one has a derivative term in each band.
TEST_F(Configuration, OneRecordHasDerivativeTermsInAllBands) {
    int found = 0;
    for (const GpuRow &row : gpu_rows()) {
        FanGpuPidParas paras;
        ASSERT_EQ(row.get(&paras), 0);
        const bool all =
            paras.triple[0].Kd != 0 && paras.triple[1].Kd != 0 && paras.triple[2].Kd != 0;
        EXPECT_EQ(all, row.get == FAN_GetGpuL2PIDParas);
        found += all;
    }
    EXPECT_EQ(found, 1);
}

// ---- thermal limits ----

TEST_F(Getters, ThermalLimits) {
    uint8_t low = untouched;
    uint8_t high = untouched;
    EXPECT_EQ(FAN_GetPCHThermalParams(&low, &high), 0);
    EXPECT_EQ(low, 78);
    EXPECT_EQ(high, 90);
    EXPECT_EQ(FAN_GetMemThermalParams(&low, &high), 0);
    EXPECT_EQ(low, 70);
    EXPECT_EQ(high, 80);
    for (const auto get : {FAN_GetPCHThermalParams, FAN_GetMemThermalParams}) {
        low = high = untouched;
        EXPECT_EQ(get(nullptr, &high), -1);
        EXPECT_EQ(get(&low, nullptr), -1);
        EXPECT_EQ(get(nullptr, nullptr), -1);
        EXPECT_EQ(low, untouched);
        EXPECT_EQ(high, untouched);
    }
    EXPECT_TRUE(platform().calls.empty());
    EXPECT_TRUE(platform().messages.empty());
}
