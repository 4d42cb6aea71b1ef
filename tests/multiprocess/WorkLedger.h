#pragma once

#include <cstdint>
#include <string>

#include "locks/Ledger.h"

/// What players at one cache note for each other and for those who look after them.
struct WorkLedger {
    static constexpr int kPlayers = 8;
    static constexpr int kPictures = 16;  // of each player
    enum State : std::uint8_t { Gone, Adding, Kept, Removing };

    TestSupport::Ledger inside;  // counted in by whoever is in the cache
    std::int32_t bStop;
    std::int32_t nTurn;     // of those who alternate
    std::int32_t aLast[2];  // what they added last
    State states[kPlayers][kPictures];

    static int NumberOf(int slot, int picture) { return 1 + slot * kPictures + picture; }

    /// A folder of the source is shared by all players.
    static std::u16string PathOf(int number) {
        const std::string name = std::to_string(number);
        return u"/busy/" + std::u16string(1, static_cast<char16_t>(u'a' + number % 3)) + u"/" +
               std::u16string(name.begin(), name.end());
    }
};
