// Messages of PCIe identification in a form that a test can state: "channel source function text",
// where "@" stands for the place that the format begins with ("function(@line)") and "[@]" for
// "[Func:function,Line:line]". A place that names another function or line stays as it is.
#pragma once

#include <string>
#include <vector>

#include "support/scripted_platform.h"

inline std::string said_of(const scripted::Message &message) {
    const std::string line = std::to_string(message.line);
    std::string text = message.text;
    for (const auto &[place, mark] :
         {std::pair{message.function + "(@" + line + ")", std::string("@")},
          std::pair{"[Func:" + message.function + ",Line:" + line + "]", std::string("[@]")}}) {
        if (text.starts_with(place)) {
            text = mark + text.substr(place.size());
        }
    }
    const std::string module = message.number == 56 ? "" : std::to_string(message.number) + " ";
    return message.channel + " " + module + message.source + " " + message.function + " " + text;
}

inline std::vector<std::string> said() {
    std::vector<std::string> all;
    for (const scripted::Message &message : scripted::platform().messages) {
        all.push_back(said_of(message));
    }
    return all;
}

// The word that a one-chip identifier straps: the board id's low 10 bits and a parity bit.
inline uint16_t identifier_word(uint32_t board_id) {
    const uint32_t word = (board_id & 0x3FF) << 5;
    return static_cast<uint16_t>(__builtin_popcount(word) % 2 != 0 ? word : word | 0x8000);
}
