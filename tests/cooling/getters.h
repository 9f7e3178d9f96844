// Every getter of cooling parameters with the answers it gives in the two configurations.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "cooling/component_rows.h"
#include "cooling/curves.h"
#include "support/bytes.h"
#include "support/cooling_machine.h"

namespace cooling {

// The result, and a buffer of which nothing but the answer is written.
struct Answer {
    double result = 0;
    std::vector<uint8_t> buffer = {};
    bool operator==(const Answer &) const = default;
};

inline constexpr size_t buffer_size = 1024;
inline constexpr uint8_t untouched = 0xA5;

struct Getter {
    std::string name;
    const char *member;  // who looks the configuration up, as the audit log names it, or null
    std::function<Answer()> ask;
    Answer tarn;
    Answer fell;
    size_t cleared = 0;                         // bytes cleared with the platform's function first
    std::function<double()> ask_null = {};      // a null for the buffer
    std::function<Answer(size_t)> ask_at = {};  // the buffer at an offset from an aligned address
};

using Raw = std::vector<uint8_t>;

inline Raw pid_bytes(double kp, double ki, double kd, uint32_t cycle) {
    Raw bytes(32, 0);
    const double coefficients[] = {kp, ki, kd};
    std::memcpy(bytes.data(), coefficients, 24);
    bytes[24] = static_cast<uint8_t>(cycle);
    return bytes;
}

inline Raw gpu_bytes(const GpuRow &row) {
    Raw bytes(88, 0);
    std::memcpy(bytes.data(), row.triples.data(), 72);
    const uint32_t words[] = {row.a, row.b, row.target, row.cycle};
    std::memcpy(bytes.data() + 72, words, 16);
    return bytes;
}

inline Raw power_bytes(bool fell, uint32_t fan_type) {
    const PowerCurve curve(power_points(fell, fan_type));
    Raw bytes(808);
    for (uint32_t percent = 0; percent <= 100; ++percent) {
        const auto watts = static_cast<float>(curve.watts(percent));
        std::memcpy(bytes.data() + 8 * percent, &percent, 4);
        std::memcpy(bytes.data() + 8 * percent + 4, &watts, 4);
    }
    return bytes;
}

inline Raw table_bytes(const std::vector<ModeRow> &rows) {
    Raw bytes;
    for (const ModeRow &row : rows) {
        const Raw one = bytes_of(row);
        bytes.insert(bytes.end(), one.begin(), one.end());
    }
    return bytes;
}

inline Raw card_bytes(bool fell) {
    Bytes bytes;
    for (const CardIds &card : sensorless_cards(fell)) {
        for (const uint16_t id : card) {
            bytes.u16(id);
        }
    }
    return bytes.get();
}

class GetterList {
public:
    // A number: of one kind in `Tarn`, of another in `Fell`.
    void number(std::string name, const char *member, std::function<double()> ask, double tarn,
                double fell) {
        getters.push_back({std::move(name),
                           member,
                           [ask] {
                               return Answer{ask(), {}};
                           },
                           {tarn, {}},
                           {fell, {}}});
    }

    template <typename Get>
    void filled(std::string name, const char *member, Get get, Raw tarn, Raw fell,
                double result = 0, size_t cleared = 0) {
        const auto ask_at = [get](size_t offset) {
            std::vector<uint64_t> space(buffer_size / 8 + 1, 0xA5A5A5A5A5A5A5A5u);
            auto *buffer = reinterpret_cast<uint8_t *>(space.data()) + offset;
            Answer answer;
            answer.result = get(buffer);
            answer.buffer.assign(buffer, buffer + buffer_size);
            return answer;
        };
        tarn.resize(buffer_size, untouched);
        fell.resize(buffer_size, untouched);
        getters.push_back({std::move(name),
                           member,
                           [ask_at] { return ask_at(0); },
                           {result, std::move(tarn)},
                           {result, std::move(fell)},
                           cleared,
                           [get] { return static_cast<double>(get(nullptr)); },
                           ask_at});
    }

    std::vector<Getter> getters;
};

// A getter of any record as one that fills bytes.
template <typename Record>
auto into(int32_t (*get)(Record *)) {
    return [get](void *buffer) { return get(static_cast<Record *>(buffer)); };
}

inline std::vector<Getter> make_getters() {
    GetterList list;

    // A wrapper and the family member behind it that answers.
#define FAMILY(wrapper, member, tarn, fell)                       \
    list.number(                                                  \
        #wrapper, #member, [] { return wrapper(); }, tarn, fell); \
    list.number(                                                  \
        #member, #member, [] { return member(); }, tarn, fell)
#define BOTH(wrapper, member, value) FAMILY(wrapper, member, value, value)
    BOTH(FAN_GetPulse, FAN_GetShareMainbaordPulseRpm, 1000);
    BOTH(FAN_GetMaxDownPwm, FAN_GetShareMainbaordMaxDownPwm, 0);
    BOTH(FAN_GetCallBackPwmByPower, FAN_GetShareMainbaordCallBackPwmByPower, 0);
    BOTH(FAN_GetOtherTMarginOffset, FAN_GetShareMainbaordOtherTMarginOffset, 3);
    BOTH(FAN_GetGPUTMarginBnry, FAN_GetShareMainbaordGPUTMarginBnry, 10);
    BOTH(FAN_GetCPUTime, FAN_GetShareMainbaordCPUTime, 2);
    FAMILY(FAN_GetCoolingModeCnt, FAN_GetShareMainbaordCoolingModeCnt, 30, 6);
    BOTH(FAN_GetRAIDParas, FAN_GetShareMainbaordRAIDParas, 5);
    BOTH(FAN_GetGPUParas, FAN_GetShareMainbaordGPUParas, 1);
    BOTH(FAN_GetSmartNicParas, FAN_GetShareMainbaordSmartNicParas, 1);
    BOTH(FAN_GetMaxIntempLevel, FAN_GetShareMainbaordMaxIntempLevel, 45);
    BOTH(FAN_GetIntempRevises, FAN_GetShareMainbaordIntempRevises, 0);
    FAMILY(FAN_GetNoTempComponentsCountsInBoard, FAN_GetNoTempComponentsCounts, 5, 7);
    FAMILY(IsSupportA4000Gpu, FAN_IsSupportA4000GPU, 1, 0);
    FAMILY(IsSupport3080Gpu, FAN_IsSupport3080GPU, 1, 0);
    FAMILY(IsSupportDualRotorsSpeedLimit, FAN_IsSupportDualRotorsSpeedLimit, 1, 0);

    // Answered without looking the configuration up.
#define KNOWN(function, tarn, fell) \
    list.number(                    \
        #function, nullptr, [] { return function(); }, tarn, fell)
    KNOWN(FAN_GetAIAdapterParas, 0, 0);
    KNOWN(FAN_GetHarddiskTempFailed, 178.0, 178.0);
    KNOWN(FAN_HarddiskTempAbGetMaxPwm, 178.0, 178.0);
    KNOWN(FAN_GetMaxPwmNvmeGetFailed, 178.0, 178.0);
    KNOWN(_FAN_GetMaxPwmByNvme, 178.0, 178.0);
    KNOWN(IsCrag_3080Gpu, 0, 0);
    KNOWN(FAN_GetServerTypeForGearCooling, 4, 5);
    KNOWN(GetServerTypeForGearCooling, 4, 5);
    KNOWN(FanGetNvmeStartTemp, 60, 60);
    KNOWN(IsSupportPartitionCtrolFan, 1, 0);

    // By fan type, and by fan: of the rear rotors, 4 to 7, and of the front ones.
    for (const uint32_t type : {7u, 8u, 0u, 6u, 9u, 263u, 264u, UINT32_MAX}) {
        const std::string of_type = " type " + std::to_string(type);
        const double type_8 = type == 8 ? 220 : 255;
        list.number(
            "FAN_GetMaxPwmFanType" + of_type, nullptr,
            [type] { return FAN_GetMaxPwmFanType(type); }, type_8, 255);
        list.number(
            "_FAN_GetShareMainbaordMaxPwmByFanType" + of_type, nullptr,
            [type] { return _FAN_GetShareMainbaordMaxPwmByFanType(type); }, type_8, 255);
        for (const uint32_t fan : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 255u, 256u, UINT32_MAX}) {
            const bool rear = fan >= 4;
            const bool there = fan < 8;
            const double least = type == 7 ? 1200 : !there ? 0 : rear ? 1100 : 1350;
            const double most = type == 7 ? 15000 : !there ? 0 : rear ? 14500 : 17000;
            const std::string of_fan = of_type + " fan " + std::to_string(fan);
#define OF_FAN(wrapper, member, value)                                                         \
    list.number(                                                                               \
        #wrapper + of_fan, #member, [fan, type] { return wrapper(fan, type); }, value, value); \
    list.number(                                                                               \
        #member + of_fan, #member, [fan, type] { return member(fan, type); }, value, value)
            OF_FAN(FAN_GetMinRPM, FAN_GetShareMainbaordMinRpm, least);
            OF_FAN(FAN_GetMaxRPM, FAN_GetShareMainbaordMaxRpm, most);
        }
    }
    for (const uint32_t flag : {0u, 1u, 2u, 255u, 256u}) {  // a byte counts
        for (const uint32_t fan : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 256u, UINT32_MAX}) {
            const double type = fan >= 8 ? 255 : fan >= 4 && flag % 256 != 0 ? 8 : 7;
            const std::string of_fan =
                " flag " + std::to_string(flag) + " fan " + std::to_string(fan);
            constexpr char member[] = "FAN_GetShareMainbaordFantrayType";
            list.number(
                "FAN_GetFantrayType" + of_fan, "FAN_GetShareMainbaordFantrayType",
                [=] { return FAN_GetFantrayType(flag, fan); }, type, type);
            list.number(
                member + of_fan, "FAN_GetShareMainbaordFantrayType",
                [=] { return FAN_GetShareMainbaordFantrayType(flag, fan); }, type, type);
            list.number(
                "FAN_GetFantype_Tarn" + of_fan, nullptr,
                [=] { return FAN_GetFantype_Tarn(flag, fan); }, type, type);
        }
    }

    // Lists.
#define FAMILY_LIST(wrapper, member, cleared, tarn, fell)                  \
    list.filled(#wrapper, #member, into(wrapper), tarn, fell, 0, cleared); \
    list.filled(#member, #member, into(member), tarn, fell, 0, 0)
    const Raw no_curve(10, 0);
    const Raw watts = {235, 0, 260 & 0xFF, 1, 300 & 0xFF, 1, 330 & 0xFF, 1, 360 & 0xFF, 1};
    const Raw margins = {3, 5, 1};
    const Raw tarn_no_sensor = {75, 90, 120, 150, 200, 240, 255, 255, 0, 0};
    const Raw fell_no_sensor = {75, 90, 120, 150, 225, 255, 255, 255, 0, 0};
    FAMILY_LIST(FAN_GetPowerLstPwm, FAN_GetShareMainbaordPowerLstPwm, 0, no_curve, no_curve);
    FAMILY_LIST(FAN_GetPowerLevel, FAN_GetShareMainbaordPowerLevel, 0, watts, watts);
    FAMILY_LIST(FAN_GetCPUTMarginOffset, FAN_GetShareMainbaordCPUTMarginOffset, 3, margins,
                margins);
    FAMILY_LIST(FAN_GetCoolingMode, FAN_GetShareMainbaordCoolingMode, 0, table_bytes(tarn_rows()),
                table_bytes(fell_rows()));
    FAMILY_LIST(FAN_GetNoTempComponentsInBoard, FAN_GetNoTempComponents, 0, card_bytes(false),
                card_bytes(true));
    FAMILY_LIST(FAN_GetNoTempComponentsPWM, FAN_GetNoTempComponentsPWMLevel, 0, tarn_no_sensor,
                fell_no_sensor);
    FAMILY_LIST(FAN_GetBottomDevPwm, FAN_GetBottomDevPwmLevel, 0, tarn_no_sensor, fell_no_sensor);
    const Raw inlet = {15, 20, 25, 30, 35, 40, 45, 127, 0, 0};
    list.filled("FAN_GetIntemp", "FAN_GetIntemp", into(FAN_GetIntemp), inlet, inlet, 127);

#define KNOWN_LIST(function, value) list.filled(#function, nullptr, into(function), value, value)
    KNOWN_LIST(FAN_GetIntempLstPwm, (Raw{70, 70, 100, 140, 210, 240, 255, 255, 0, 0}));
    KNOWN_LIST(FAN_GetIntempLstPwmOf36LargeTop, no_curve);
    KNOWN_LIST(FAN_GetIntempLstPwmOf36LargeBottom, no_curve);
    KNOWN_LIST(FAN_GetIntempLstPwmOf24LargeTop, no_curve);
    KNOWN_LIST(FAN_GetIntempLstPwmOf24LargeBottom, no_curve);
    KNOWN_LIST(FAN_GetIntempLstPwmOf9000RpmTop, no_curve);
    KNOWN_LIST(FAN_GetIntempLstPwmOf9000RpmBottom, no_curve);
    KNOWN_LIST(FAN_GetNoTempFcPWM, no_curve);

    // Control parameters: Kp, Ki, Kd, cycle.
#define FAMILY_PID(wrapper, member, cleared, tarn, fell) \
    FAMILY_LIST(wrapper, member, cleared, (pid_bytes tarn), (pid_bytes fell))
#define BOTH_PID(wrapper, member, cleared, value) FAMILY_PID(wrapper, member, cleared, value, value)
    BOTH_PID(FAN_GetNvmePIDParas, FAN_GetShareMainbaordNvmePIDParas, 0, (4.0, 0.0, 0.0, 3));
    BOTH_PID(FAN_GetCPULargePIDParas, FAN_GetShareMainbaordCPULargePIDParas, 0, (2.0, 4.0, 2.0, 2));
    BOTH_PID(FAN_GetCPUSmallPIDParas, FAN_GetShareMainbaordCPUSmallPIDParas, 0, (5.0, 5.0, 0.0, 2));
    FAMILY_PID(FAN_GetOtherPIDParas, FAN_GetShareMainbaordOtherPIDParas, 0, (4.0, 16.0, 0.0, 4),
               (4.0, 16.0, 0.0, 2));
    BOTH_PID(FAN_GetGpuPIDParas, FAN_GetShareMainbaordGpuPIDParas, 32, (3.0, 2.0, 1.0, 1));
    BOTH_PID(FAN_GetGpuPIDForT4Paras, FAN_GetShareMainbaordGpuPIDForT4Paras, 32,
             (3.0, 2.0, 3.0, 1));
#define KNOWN_PID(function, value) \
    list.filled(#function, nullptr, into(function), (pid_bytes value), (pid_bytes value), 0, 32)
    KNOWN_PID(FAN_GetNicPIDParas, (2.0, 3.0, 0.0, 1));
    KNOWN_PID(FAN_GetRaidPIDParas, (2.0, 3.0, 0.0, 1));
    KNOWN_PID(FAN_GetOptModPIDParas, (2.0, 6.0, 0.0, 1));
    KNOWN_PID(FAN_GetFcModPIDParas, (2.0, 3.0, 0.0, 1));
    KNOWN_PID(FAN_GetGpuPIDForR420Paras, (3.0, 2.0, 0.0, 1));
    for (const GpuRow &row : gpu_rows()) {
        list.filled(row.name, nullptr, into(row.get), gpu_bytes(row), gpu_bytes(row), 0, 88);
    }

    // Fan power by fan type.
    for (const uint32_t type : {7u, 8u, 0u, 6u, 9u, 263u, UINT32_MAX}) {
        const std::string of_type = " type " + std::to_string(type);
        list.filled(
            "FAN_GetTotalPower" + of_type, "FAN_GetFanPower",
            [type](void *buffer) {
                return FAN_GetTotalPower(static_cast<FanPower *>(buffer), type);
            },
            power_bytes(false, type), power_bytes(true, type));
        list.filled(
            "FAN_GetFanPower" + of_type, "FAN_GetFanPower",
            [type](void *buffer) { return FAN_GetFanPower(static_cast<FanPower *>(buffer), type); },
            power_bytes(false, type), power_bytes(true, type));
    }
    return list.getters;
}

inline const std::vector<Getter> &getters() {
    static const std::vector<Getter> all = make_getters();
    return all;
}

}  // namespace cooling
