// Which cards are fitted, and how that is known.
#include <map>
#include <optional>

#include "boardfeatures/identity.h"
#include "host/host_support.h"

using namespace host;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

enum class By { epld, identifier, pin };

struct Card {
    uint32_t key;
    std::string name;
    By by;
    uint32_t number;  // bit or pin
    uint32_t bus;
    bool mux;
};

// The documentation's table, family by family.
std::vector<Card> cards() {
    std::vector<Card> all = {{1, "sas", By::epld, 3, 0, false}};
    const char *const rear[] = {"bpra_1", "bprb_1", "bprb_2", "bpra_2"};
    for (uint32_t i = 0; i < 4; ++i) {
        all.push_back({5 + i, rear[i], By::identifier, 0, 3 + i, false});
    }
    for (uint32_t i = 0; i < 3; ++i) {
        all.push_back({9 + i, "bpfa_" + std::to_string(i + 1), By::identifier, 0, 7 + i, false});
    }
    all.push_back({14, "M-I2C-6", By::identifier, 0, 10, false});
    all.push_back({16, "TPM", By::epld, 5, 0, false});
    for (uint32_t fan = 1; fan <= 4; ++fan) {
        all.push_back({16 + fan, "FAN" + std::to_string(fan), By::epld, 5 + fan, 0, false});
    }
    all.push_back({21, "RAIDKEY", By::epld, 11, 0, false});
    all.push_back({22, "OCP", By::epld, 12, 0, false});
    const uint32_t buses[] = {3, 3, 4, 4, 4, 5, 5, 5, 6, 6};
    const uint32_t pins[] = {0, 1, 2, 1, 0, 0, 1, 2, 0, 1};
    for (uint32_t slot = 1; slot <= 10; ++slot) {
        all.push_back({22 + slot, "pcie" + std::to_string(slot), By::pin, pins[slot - 1],
                       buses[slot - 1], slot >= 3 && slot <= 8});
    }
    return all;
}

const Card *card_of(const std::vector<Card> &all, uint32_t key) {
    for (const Card &card : all) {
        if (card.key == key) {
            return &card;
        }
    }
    return nullptr;
}

I2cChipRoute route_of_card(const Card &card) {
    switch (card.by) {
        case By::epld:
            return route_of(0, 0, 0, 0, card.name);
        case By::identifier:
            return route_of(card.bus, 0x20, 0, 0, card.name);
        case By::pin:
            break;
    }
    return route_of(card.bus, 0x21, card.mux ? 0x70 : 0, 0, card.name);
}

CardPresence row_of(const Card &card) {
    CardPresence row;
    std::memset(&row, 0, sizeof(row));
    row.key = static_cast<uint8_t>(card.key);
    row.method = card.by == By::epld ? 0 : card.by == By::pin ? 1 : 2;
    row.epld_bit = static_cast<uint8_t>(card.by == By::epld ? card.number : 0);
    row.pin = static_cast<uint8_t>(card.by == By::pin ? card.number : 0);
    row.route = route_of_card(card);
    return row;
}

// The call that asks whether a card is fitted.
std::string question(const Card &card) {
    switch (card.by) {
        case By::epld:
            return "epldio_read 0x208";
        case By::identifier:
            return "ei2c_pca9535_get_word_value " + std::to_string(card.bus) + ":0x20 0xFFFF";
        case By::pin:
            break;
    }
    return "ei2c_pca9535_get_value " + scripted::route_text(route_of_card(card)) + " pin " +
           std::to_string(card.number);
}

// Fits or removes one card; the rest of the board says the opposite.
void set_fitted(const Card &card, bool fitted) {
    platform().epld.clear();
    platform().expanders.clear();
    const scripted::Chip chip = scripted::chip_of(route_of_card(card));
    const uint16_t bit = static_cast<uint16_t>(1u << card.number);
    switch (card.by) {
        case By::epld:
            platform().epld[0x208] = static_cast<uint16_t>(fitted ? bit : ~bit);
            break;
        case By::identifier:
            platform().expanders[chip].input = fitted ? 0x8000 : 0x0000;
            break;
        case By::pin:  // active low
            platform().expanders[chip].input = static_cast<uint16_t>(fitted ? ~bit : bit);
            break;
    }
    platform().clear_record();
}

bool reachable(const Card &card) { return card.key <= 30; }

}  // namespace

// ---- the table ----

TEST(CardTable, EveryRowForEveryKey) {
    const std::vector<Card> all = cards();
    EXPECT_EQ(all.size(), 26u);
    for (const uint32_t key : key_space()) {
        SCOPED_TRACE(key);
        CardPresence found = untouched<CardPresence>();
        const int32_t result = GetCardOnlineInfoBySlotID(key, &found);
        if (const Card *card = card_of(all, key)) {
            EXPECT_EQ(result, 0);
            EXPECT_EQ(bytes_of(found), bytes_of(row_of(*card)));
        } else {
            EXPECT_EQ(result, -1);
            EXPECT_EQ(bytes_of(found), bytes_of(untouched<CardPresence>()));
        }
    }
    expect_silence();
}

TEST(CardTable, NullIsRefused) {
    for (const uint32_t key : key_space()) {
        EXPECT_EQ(GetCardOnlineInfoBySlotID(key, nullptr), -1);
    }
    expect_silence();
}

// ---- presence ----

TEST(CardPresence, EveryKeyFittedAndNot) {
    const std::vector<Card> all = cards();
    for (const uint32_t key : key_space()) {
        SCOPED_TRACE(key);
        const Card *card = card_of(all, key);
        if (key == 0 || key > 30) {
            platform().clear_record();
            EXPECT_EQ(GetCardOnlineStatus(key), -1);
            expect_silence();
        } else if (card == nullptr) {
            platform().clear_record();
            EXPECT_EQ(GetCardOnlineStatus(key), 0);
            expect_silence();
        } else {
            for (const bool fitted : {true, false, true}) {
                set_fitted(*card, fitted);
                EXPECT_EQ(GetCardOnlineStatus(key), fitted ? 1 : 0);
                EXPECT_THAT(platform().calls, ElementsAre(question(*card)));
                EXPECT_THAT(platform().messages, IsEmpty());
            }
        }
    }
}

TEST(CardPresence, TheOcpCardIsBitTwelve) {
    platform().epld[0x208] = 0x1000;
    EXPECT_EQ(GetCardOnlineStatus(22), 1);
    platform().epld[0x208] = 0xEFFF;
    EXPECT_EQ(GetCardOnlineStatus(22), 0);
    EXPECT_THAT(platform().calls, ElementsAre("epldio_read 0x208", "epldio_read 0x208"));
}

TEST(CardPresence, AKeyThatNoCardHasIsNotFitted) {
    EXPECT_EQ(GetCardOnlineStatus(15), 0);
    expect_silence();
}

TEST(CardPresence, AKeyAboveTheHighestIsAnError) {
    EXPECT_EQ(GetCardOnlineStatus(31), -1);
    EXPECT_EQ(GetCardOnlineStatus(32), -1);
    EXPECT_EQ(GetCardOnlineStatus(0), -1);
    expect_silence();
}

TEST(CardPresence, TheExpanderIsAskedWithItsWholeRoute) {
    for (const Card &card : cards()) {
        if (card.by != By::pin || !reachable(card)) {
            continue;
        }
        std::optional<I2cChipRoute> asked;
        platform().on_pin_read = [&](const I2cChipRoute &route, uint32_t, uint32_t *value) {
            asked = route;
            *value = 0;
            return 0;
        };
        EXPECT_EQ(GetCardOnlineStatus(card.key), 1);
        ASSERT_TRUE(asked.has_value());
        EXPECT_EQ(bytes_of(*asked), bytes_of(route_of_card(card)));
    }
}

TEST(CardPresence, AnyIdentifierButNoneMeansFitted) {
    for (uint32_t word = 0; word <= 0xFFFF; word += 11) {
        platform().identifier(7, 0x20, 0, 0, static_cast<uint16_t>(word));
        platform().calls.clear();
        const uint32_t board_id = GetCardBoardId(9);
        ASSERT_EQ(GetCardOnlineStatus(9), board_id == 0x7FFF ? 0 : 1) << word;
    }
}

TEST(CardPresence, AFailedReadMeansNotFitted) {
    for (const Card &card : cards()) {
        if (!reachable(card)) {
            continue;
        }
        for (const int failure : failures) {
            SCOPED_TRACE(testing::Message() << card.name << " " << failure);
            set_fitted(card, true);
            platform().failure = failure;
            platform().fail_call = 1;
            // A pin read fails when negative; what else it answers leaves the level at 0, low.
            const bool failed = card.by != By::pin || failure < 0;
            EXPECT_EQ(GetCardOnlineStatus(card.key), failed ? 0 : 1);
            EXPECT_THAT(platform().calls, ElementsAre(question(card)));
            platform().fail_call.reset();
            EXPECT_EQ(GetCardOnlineStatus(card.key), 1);
            EXPECT_THAT(platform().messages, IsEmpty());
        }
    }
}

TEST(CardPresence, AFailedReadsValueIsNotUsed) {
    platform().on_epld_read = [](uint32_t, uint16_t *value) {
        *value = 0xFFFF;
        return -1;
    };
    platform().on_pin_read = [](const I2cChipRoute &, uint32_t, uint32_t *value) {
        *value = 0;
        return -1;
    };
    platform().on_word_read = [](const I2cChipRoute &, uint32_t, uint32_t *value) {
        *value = 0x8000;
        return -1;
    };
    for (uint32_t key = 1; key <= 30; ++key) {
        EXPECT_EQ(GetCardOnlineStatus(key), 0) << key;
    }
}

TEST(CardPresence, NothingIsSoftDetected) {
    for (const uint32_t kind : key_space()) {
        EXPECT_EQ(GetPresentBySoft(kind), kind == 4 ? 0 : -1) << kind;
        EXPECT_EQ(GetPresentBySoft(kind, 1, 2), kind == 4 ? 0 : -1) << kind;
    }
    expect_silence();
}
